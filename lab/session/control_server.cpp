// SPDX-License-Identifier: Apache-2.0
#include "lab/session/control_server.h"

#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/read.hpp>
#include <asio/read_until.hpp>
#include <asio/write.hpp>
#include <memory>

namespace enclab {

using Local = asio::local::stream_protocol;

constexpr std::size_t kLineMax = 4096;
constexpr char kOk[] = "ok\n";
constexpr char kError[] = "error\n";

class ControlServer::Client : public std::enable_shared_from_this<Client> {
  public:
    Client(Commands& commands, Local::socket socket)
        : commands_(commands), socket_(std::move(socket)) {}

    void start() {
        asio::async_read_until(
            socket_, asio::dynamic_buffer(line_, kLineMax), '\n',
            [self = shared_from_this()](const asio::error_code& error, std::size_t length) {
                if (!error) {
                    self->answer(self->line_.substr(0, length - 1));
                }
            });
    }

  private:
    // Written at once: a client that does not read has only itself to blame, and the answer to
    // "quit" must not be lost.
    void answer(const std::string& line) {
        const Commands::Result result = commands_.run(line);
        asio::error_code ignored;
        socket_.non_blocking(true, ignored);
        asio::write(socket_, asio::buffer((result.ok ? kOk : kError) + result.text), ignored);
    }

    Commands& commands_;
    Local::socket socket_;
    std::string line_;
};

ControlServer::ControlServer(asio::io_context& io, const std::filesystem::path& socket,
                             Commands& commands)
    : acceptor_(io, Local::endpoint(socket.string())), commands_(commands) {
    accept();
}

void ControlServer::accept() {
    acceptor_.async_accept([this](const asio::error_code& error, Local::socket socket) {
        if (error == asio::error::operation_aborted) {
            return;
        }
        if (!error) {
            std::make_shared<Client>(commands_, std::move(socket))->start();
        }
        accept();
    });
}

Commands::Result controlLab(const std::filesystem::path& socket, const std::string& line) {
    asio::io_context io;
    Local::socket connection(io);
    connection.connect(Local::endpoint(socket.string()));
    asio::write(connection, asio::buffer(line + "\n"));
    std::string answer;
    asio::error_code end;
    asio::read(connection, asio::dynamic_buffer(answer), end);
    if (answer.starts_with(kOk)) {
        return {true, answer.substr(sizeof kOk - 1)};
    }
    if (answer.starts_with(kError)) {
        return {false, answer.substr(sizeof kError - 1)};
    }
    return {false, "the lab did not answer"};
}

}  // namespace enclab
