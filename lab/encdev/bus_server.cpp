// SPDX-License-Identifier: Apache-2.0
// The I2C adapter of the lab: requests from the socket, transfers on the bus, replies.
#include "lab/encdev/bus_server.h"

#include <linux/i2c.h>

#include <algorithm>
#include <array>
#include <asio/buffer.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>
#include <cstring>
#include <optional>
#include <set>
#include <span>
#include <utility>

#include "lab/encdev/encdev_proto.h"

namespace enclab {
namespace {

constexpr std::uint32_t kSmbusFunctions = I2C_FUNC_SMBUS_QUICK | I2C_FUNC_SMBUS_BYTE |
                                          I2C_FUNC_SMBUS_BYTE_DATA | I2C_FUNC_SMBUS_WORD_DATA;

using Bytes = std::vector<std::uint8_t>;

// The messages of a request's payload; empty when it is not well-formed.
std::vector<BusMessage> parseMessages(std::span<const std::uint8_t> payload, std::size_t count) {
    std::vector<BusMessage> messages;
    std::size_t readBytes = 0;
    while (messages.size() < count && payload.size() >= sizeof(EncdevMessage)) {
        EncdevMessage head;
        std::memcpy(&head, payload.data(), sizeof(head));
        payload = payload.subspan(sizeof(head));
        const std::size_t written = head.read != 0 ? 0 : std::size_t{head.length};
        readBytes += head.length - written;
        if (written > payload.size() || readBytes > kEncdevMaxPayload) {
            return {};
        }
        Bytes bytes(payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(written));
        bytes.resize(head.length);
        messages.push_back({head.address, head.read != 0, std::move(bytes)});
        payload = payload.subspan(written);
    }
    return messages.size() == count && payload.empty() ? messages : std::vector<BusMessage>{};
}

Bytes makeReply(EncdevOp op, int error, std::uint32_t value, const Bytes& data = {}) {
    const EncdevReply head{op, 0, static_cast<std::uint16_t>(error), value};
    Bytes frame(sizeof(head));
    std::memcpy(frame.data(), &head, sizeof(head));
    frame.insert(frame.end(), data.begin(), data.end());
    return frame;
}

}  // namespace

// What all connections share.
class BusServer::Adapter {
  public:
    Adapter(Schedule& lab, Bus& bus, AdapterKind adapterKind)
        : schedule(lab), kind(adapterKind), bus_(bus) {}

    // The reply, after a delay; an empty frame for a request that breaks the protocol.
    struct Answer {
        Bytes frame;
        std::chrono::milliseconds delay{0};
    };
    Answer answer(const EncdevRequest& request, const Bytes& payload);

    Schedule& schedule;
    AdapterKind kind;
    AdapterSettings settings;
    std::set<std::shared_ptr<Connection>> connections;
    int held = 0;  // replies waiting for their time

  private:
    Answer transfer(const EncdevRequest& request, const Bytes& payload);

    Bus& bus_;
};

BusServer::Adapter::Answer BusServer::Adapter::answer(const EncdevRequest& request,
                                                      const Bytes& payload) {
    switch (request.op) {
        case EncdevOp::kFunctionality:
            return {makeReply(request.op, 0,
                              kSmbusFunctions | (kind == AdapterKind::kI2c ? I2C_FUNC_I2C : 0))};
        case EncdevOp::kTransfer:
        case EncdevOp::kSmbus:
            return transfer(request, payload);
        case EncdevOp::kTimeout:
            settings.timeoutMs = std::int64_t{request.value} * 10;
            return {makeReply(request.op, 0, 0)};
        case EncdevOp::kRetries:
            settings.retries = request.value;
            return {makeReply(request.op, 0, 0)};
    }
    return {};
}

BusServer::Adapter::Answer BusServer::Adapter::transfer(const EncdevRequest& request,
                                                        const Bytes& payload) {
    std::vector<BusMessage> messages = parseMessages(payload, request.count);
    if (messages.empty()) {
        return {};
    }
    if (request.op == EncdevOp::kTransfer && kind == AdapterKind::kSmbusOnly) {
        return {makeReply(request.op, EOPNOTSUPP, 0)};
    }
    const BusResult result = bus_.transfer(messages);
    if (result.error != 0) {
        return {makeReply(request.op, result.error, 0), result.delay};
    }
    Bytes data;
    for (const BusMessage& message : messages) {
        if (message.read) {
            data.insert(data.end(), message.bytes.begin(), message.bytes.end());
        }
    }
    return {makeReply(request.op, 0, data.size() & UINT32_MAX, data), result.delay};
}

// One client: head, payload, reply, and again. Any error or broken frame ends it.
class BusServer::Connection : public std::enable_shared_from_this<Connection> {
  public:
    Connection(asio::local::stream_protocol::socket socket, std::shared_ptr<Adapter> adapter)
        : socket_(std::move(socket)), adapter_(std::move(adapter)) {}

    void readHead() {
        asio::async_read(socket_, asio::buffer(head_),
                         [self = shared_from_this()](std::error_code error, std::size_t) {
                             error ? self->end() : self->readPayload();
                         });
    }

    void close() { socket_.close(); }

  private:
    void readPayload();
    void reply();
    void send();
    void end() { adapter_->connections.erase(shared_from_this()); }

    asio::local::stream_protocol::socket socket_;
    std::shared_ptr<Adapter> adapter_;
    std::array<std::uint8_t, sizeof(EncdevRequest)> head_{};
    EncdevRequest request_{};
    Bytes payload_;
    Bytes reply_;
};

void BusServer::Connection::readPayload() {
    std::memcpy(&request_, head_.data(), head_.size());
    const bool carries = request_.op == EncdevOp::kTransfer || request_.op == EncdevOp::kSmbus;
    const std::size_t length = carries ? std::size_t{request_.value} : 0;
    if (length > kEncdevMaxPayload) {
        return end();
    }
    payload_.resize(length);
    asio::async_read(socket_, asio::buffer(payload_),
                     [self = shared_from_this()](std::error_code error, std::size_t) {
                         error ? self->end() : self->reply();
                     });
}

void BusServer::Connection::reply() {
    Adapter::Answer answer = adapter_->answer(request_, payload_);
    reply_ = std::move(answer.frame);
    if (reply_.empty()) {
        return end();
    }
    if (answer.delay.count() == 0) {
        return send();
    }
    ++adapter_->held;
    adapter_->schedule.after(answer.delay, [self = shared_from_this()] {
        --self->adapter_->held;
        self->send();
    });
}

void BusServer::Connection::send() {
    asio::async_write(socket_, asio::buffer(reply_),
                      [self = shared_from_this()](std::error_code error, std::size_t) {
                          error ? self->end() : self->readHead();
                      });
}

BusServer::BusServer(asio::io_context& io, Schedule& schedule, Bus& bus,
                     std::filesystem::path socket, AdapterKind kind)
    : path_(std::move(socket)),
      acceptor_(io),
      adapter_(std::make_shared<Adapter>(schedule, bus, kind)) {
    std::filesystem::remove(path_);
    acceptor_.open();
    acceptor_.bind(path_.string());
    acceptor_.listen();
    accept();
}

BusServer::~BusServer() {
    for (const auto& connection : adapter_->connections) {
        connection->close();
    }
    adapter_->connections.clear();
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

void BusServer::accept() {
    acceptor_.async_accept(
        [this](std::error_code error, asio::local::stream_protocol::socket socket) {
            if (error == asio::error::operation_aborted) {
                return;
            }
            if (!error) {
                auto connection = std::make_shared<Connection>(std::move(socket), adapter_);
                adapter_->connections.insert(connection);
                connection->readHead();
            }
            accept();
        });
}

void BusServer::setKind(AdapterKind kind) {
    adapter_->kind = kind;
}

bool BusServer::holdsReply() const {
    return adapter_->held > 0;
}

const AdapterSettings& BusServer::settings() const {
    return adapter_->settings;
}

}  // namespace enclab
