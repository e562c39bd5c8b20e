// SPDX-License-Identifier: Apache-2.0
#include "lab/peers/switch.h"

#include <array>
#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/write.hpp>
#include <deque>
#include <optional>
#include <stdexcept>
#include <utility>

namespace enclab {

using Local = asio::local::stream_protocol;

// What a connection that does not read may leave unread before messages to it are lost.
constexpr std::size_t kQueueMax = 1 << 20;

struct MessageSwitch::Port {
    std::uint8_t endpoint;
    std::filesystem::path path;
    std::optional<Local::acceptor> acceptor;
    bool reading = true;
    std::uint64_t accepted = 0;
    std::vector<std::shared_ptr<Connection>> connections;
};

// One process connected to the switch. It owns itself through the handlers in flight and stays
// silent once it is closed.
class MessageSwitch::Connection : public std::enable_shared_from_this<Connection> {
  public:
    Connection(MessageSwitch& owner, std::uint8_t endpoint, Local::socket socket, bool reading)
        : owner_(&owner), endpoint_(endpoint), socket_(std::move(socket)), reading_(reading) {}

    void start() { waitReadable(); }

    void setReading(bool reading) {
        reading_ = reading;
        waitReadable();
    }

    bool send(const Bytes& bytes) {
        if (queued_ + bytes.size() > kQueueMax) {
            return false;
        }
        queued_ += bytes.size();
        queue_.push_back(bytes);
        if (queue_.size() == 1) {
            write();
        }
        return true;
    }

    void close() {
        owner_ = nullptr;
        asio::error_code ignored;
        socket_.close(ignored);
    }

  private:
    // Waits before it reads, so that a switch told to stop reading takes nothing off the stream.
    void waitReadable() {
        if (!reading_ || waiting_) {
            return;
        }
        waiting_ = true;
        socket_.async_wait(Local::socket::wait_read,
                           [self = shared_from_this()](const asio::error_code& error) {
                               self->waiting_ = false;
                               if (self->owner_ != nullptr && !error) {
                                   self->readable();
                               }
                           });
    }

    void readable() {
        if (!reading_) {
            return;
        }
        std::array<std::uint8_t, 8192> chunk;
        asio::error_code error;
        const std::size_t count = socket_.read_some(asio::buffer(chunk), error);
        framer_.append(std::span(chunk.data(), count));
        while (owner_ != nullptr) {
            const std::optional<Message> message = framer_.next();
            if (!message) {
                break;
            }
            owner_->route(endpoint_, *message);
        }
        if (owner_ == nullptr) {
            return;
        }
        if (error || framer_.broken()) {
            owner_->lost(endpoint_, shared_from_this(), framer_.broken());
        } else {
            waitReadable();
        }
    }

    void write() {
        asio::async_write(socket_, asio::buffer(queue_.front()),
                          [self = shared_from_this()](const asio::error_code& error, std::size_t) {
                              self->queued_ -= self->queue_.front().size();
                              self->queue_.pop_front();
                              if (self->owner_ == nullptr) {
                                  return;
                              }
                              if (error) {
                                  self->owner_->lost(self->endpoint_, self, false);
                              } else if (!self->queue_.empty()) {
                                  self->write();
                              }
                          });
    }

    MessageSwitch* owner_;  // null once closed
    std::uint8_t endpoint_;
    Local::socket socket_;
    bool reading_;
    bool waiting_ = false;
    Framer framer_;
    std::deque<Bytes> queue_;
    std::size_t queued_ = 0;  // bytes in queue_
};

MessageSwitch::MessageSwitch(asio::io_context& io, std::filesystem::path directory)
    : io_(io), directory_(std::move(directory)) {}

MessageSwitch::~MessageSwitch() {
    for (const auto& [endpoint, port] : ports_) {
        close(endpoint);
        std::error_code ignored;
        std::filesystem::remove(port->path, ignored);
    }
}

void MessageSwitch::listen(std::uint8_t endpoint, const std::string& socketName) {
    auto& port = ports_[endpoint];
    port = std::make_unique<Port>();
    port->endpoint = endpoint;
    port->path = directory_ / socketName;
    open(endpoint);
}

void MessageSwitch::attach(std::uint8_t endpoint, Handler handler) {
    handlers_[endpoint] = std::move(handler);
}

MessageSwitch::Port& MessageSwitch::port(std::uint8_t endpoint) {
    const auto found = ports_.find(endpoint);
    if (found == ports_.end()) {
        throw std::invalid_argument("the switch has no socket for this endpoint");
    }
    return *found->second;
}

void MessageSwitch::accept(Port& port) {
    port.acceptor->async_accept([this, &port](const asio::error_code& error, Local::socket socket) {
        if (error == asio::error::operation_aborted || !port.acceptor) {
            return;
        }
        if (!error) {
            socket.non_blocking(true);
            const auto connection =
                std::make_shared<Connection>(*this, port.endpoint, std::move(socket), port.reading);
            port.connections.push_back(connection);
            ++port.accepted;
            connection->start();
        }
        accept(port);
    });
}

void MessageSwitch::route(std::uint8_t from, const Message& message) {
    if (observer_) {
        observer_(from, message);
    }
    for (std::uint8_t endpoint = 0; endpoint < MMSG_K_RECIPIENTS_MAX; ++endpoint) {
        if (message.isFor(endpoint) && !deliver(endpoint, message)) {
            ++undelivered_;
        }
    }
}

bool MessageSwitch::deliver(std::uint8_t endpoint, const Message& message) {
    if (const auto handler = handlers_.find(endpoint); handler != handlers_.end()) {
        handler->second(message);
        return true;
    }
    const auto found = ports_.find(endpoint);
    if (found == ports_.end()) {
        return false;
    }
    const auto outlet = outlets_.find(endpoint);
    if (outlet != outlets_.end() && !found->second->connections.empty()) {
        outlet->second(message.bytes());
        return true;
    }
    bool taken = false;
    for (const auto& connection : found->second->connections) {
        taken = connection->send(message.bytes()) || taken;
    }
    return taken;
}

void MessageSwitch::sendRaw(std::uint8_t endpoint, const Bytes& bytes) {
    for (const auto& connection : port(endpoint).connections) {
        connection->send(bytes);
    }
}

void MessageSwitch::lost(std::uint8_t endpoint, const std::shared_ptr<Connection>& connection,
                         bool broken) {
    brokenStreams_ += broken ? 1 : 0;
    std::erase(port(endpoint).connections, connection);
    connection->close();
}

void MessageSwitch::stopReading(std::uint8_t endpoint) {
    port(endpoint).reading = false;
    for (const auto& connection : port(endpoint).connections) {
        connection->setReading(false);
    }
}

void MessageSwitch::resumeReading(std::uint8_t endpoint) {
    port(endpoint).reading = true;
    for (const auto& connection : port(endpoint).connections) {
        connection->setReading(true);
    }
}

bool MessageSwitch::isReading(std::uint8_t endpoint) const {
    return ports_.at(endpoint)->reading;
}

bool MessageSwitch::isOpen(std::uint8_t endpoint) const {
    return ports_.at(endpoint)->acceptor.has_value();
}

void MessageSwitch::close(std::uint8_t endpoint) {
    Port& target = port(endpoint);
    // The socket file stays: a connect is refused.
    target.acceptor.reset();
    for (const auto& connection : std::exchange(target.connections, {})) {
        connection->close();
    }
}

void MessageSwitch::open(std::uint8_t endpoint) {
    Port& target = port(endpoint);
    if (target.acceptor) {
        return;
    }
    std::filesystem::remove(target.path);
    target.acceptor.emplace(io_, Local::endpoint(target.path.string()));
    accept(target);
}

std::uint64_t MessageSwitch::accepted(std::uint8_t endpoint) const {
    const auto found = ports_.find(endpoint);
    return found == ports_.end() ? 0 : found->second->accepted;
}

std::size_t MessageSwitch::connections(std::uint8_t endpoint) const {
    const auto found = ports_.find(endpoint);
    return found == ports_.end() ? 0 : found->second->connections.size();
}

}  // namespace enclab
