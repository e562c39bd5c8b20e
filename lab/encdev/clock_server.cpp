// SPDX-License-Identifier: Apache-2.0
#include "lab/encdev/clock_server.h"

#include <asio/buffer.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>
#include <cstring>
#include <utility>

#include "lab/encdev/clock_proto.h"

namespace enclab {

// Reads waits, as long as it is the server's connection.
class ClockServer::Connection : public std::enable_shared_from_this<Connection> {
  public:
    Connection(ClockServer& server, asio::local::stream_protocol::socket socket)
        : server_(&server), socket_(std::move(socket)) {}

    void tell(const Now& now) {
        const ClockTime frame{static_cast<std::uint64_t>(now.sinceStart.count()),
                              static_cast<std::uint64_t>(now.sinceEpoch.count())};
        asio::error_code ignored;  // the end of the stream is met in reading
        asio::write(socket_, asio::buffer(&frame, sizeof frame), ignored);
    }

    void read() {
        asio::async_read(socket_, asio::buffer(&frame_, sizeof frame_),
                         [self = shared_from_this()](std::error_code error, std::size_t) {
                             self->taken(!error);
                         });
    }

    void close() {
        server_ = nullptr;
        socket_.close();
    }

  private:
    void taken(bool whole) {
        if (server_ == nullptr) {
            return;
        }
        server_->wait_.reset();
        if (whole) {
            const std::uint64_t until = frame_.until;
            server_->wait_ = Wait{Time(static_cast<std::int64_t>(until)), frame_.ready != 0};
            read();
        }
    }

    ClockServer* server_;  // null once closed
    asio::local::stream_protocol::socket socket_;
    ClockWait frame_{};
};

static_assert(ClockServer::Time::max().count() == kClockForever);

ClockServer::ClockServer(asio::io_context& io, std::filesystem::path socket)
    : path_(std::move(socket)), acceptor_(io) {
    std::filesystem::remove(path_);
    acceptor_.open();
    acceptor_.bind(path_.string());
    acceptor_.listen();
    accept();
}

ClockServer::~ClockServer() {
    if (connection_) {
        connection_->close();
    }
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

void ClockServer::accept() {
    acceptor_.async_accept(
        [this](std::error_code error, asio::local::stream_protocol::socket socket) {
            if (error == asio::error::operation_aborted) {
                return;
            }
            if (!error) {
                if (connection_) {
                    connection_->close();
                }
                wait_.reset();
                connection_ = std::make_shared<Connection>(*this, std::move(socket));
                connection_->tell(now_);
                connection_->read();
            }
            accept();
        });
}

void ClockServer::answer() {
    wait_.reset();
    connection_->tell(now_);
}

}  // namespace enclab
