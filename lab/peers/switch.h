// SPDX-License-Identifier: Apache-2.0
// The message switch: sockets for the daemon and for client processes, in-process endpoints, and
// routing by the recipient map of each message. It can also fail the way a switch fails: stop
// reading, or drop the daemon and refuse it.
#pragma once

#include <asio/io_context.hpp>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lab/peers/message.h"

namespace enclab {

class MessageSwitch {
  public:
    using Handler = std::function<void(const Message&)>;
    // A message that entered the switch: the endpoint it came from, the message.
    using Observer = std::function<void(std::uint8_t from, const Message&)>;

    // Sockets are made in `directory`. Handlers are called from the context's loop, which must not
    // run any more once the switch is gone.
    MessageSwitch(asio::io_context& io, std::filesystem::path directory);
    ~MessageSwitch();
    MessageSwitch(const MessageSwitch&) = delete;
    MessageSwitch& operator=(const MessageSwitch&) = delete;

    // Processes that connect to `socketName` are the endpoint. Throws std::system_error.
    void listen(std::uint8_t endpoint, const std::string& socketName);
    // The endpoint lives in this process.
    void attach(std::uint8_t endpoint, Handler handler);
    // Sees every message before it is routed.
    void observe(Observer observer) { observer_ = std::move(observer); }

    // Messages for the connections of this endpoint go to `outlet` instead, which puts them there
    // with sendRaw(), as they are or as a bad link makes them.
    using Outlet = std::function<void(const Bytes&)>;
    void lead(std::uint8_t endpoint, Outlet outlet) { outlets_[endpoint] = std::move(outlet); }

    // Routes a message to each of its recipients on this blade.
    void route(std::uint8_t from, const Message& message);
    // Puts bytes, which need not be a message, on every connection of a listening endpoint.
    void sendRaw(std::uint8_t endpoint, const Bytes& bytes);

    // The switch no longer reads what the endpoint's connections send; they stay open.
    void stopReading(std::uint8_t endpoint);
    void resumeReading(std::uint8_t endpoint);
    // Drops the endpoint's connections and refuses new ones, until open().
    void close(std::uint8_t endpoint);
    void open(std::uint8_t endpoint);

    bool isReading(std::uint8_t endpoint) const;
    bool isOpen(std::uint8_t endpoint) const;
    std::size_t connections(std::uint8_t endpoint) const;
    // Connections of the endpoint since the start, the newest included.
    std::uint64_t accepted(std::uint8_t endpoint) const;
    // Messages nobody took: no such endpoint here, nobody connected, or a full queue.
    std::uint64_t undelivered() const { return undelivered_; }
    // Connections dropped because what came was not a stream of messages.
    std::uint64_t brokenStreams() const { return brokenStreams_; }

  private:
    class Connection;
    struct Port;

    void accept(Port& port);
    void lost(std::uint8_t endpoint, const std::shared_ptr<Connection>& connection, bool broken);
    bool deliver(std::uint8_t endpoint, const Message& message);
    Port& port(std::uint8_t endpoint);

    asio::io_context& io_;
    std::filesystem::path directory_;
    std::map<std::uint8_t, std::unique_ptr<Port>> ports_;
    std::map<std::uint8_t, Handler> handlers_;
    std::map<std::uint8_t, Outlet> outlets_;
    Observer observer_;
    std::uint64_t undelivered_ = 0;
    std::uint64_t brokenStreams_ = 0;
};

}  // namespace enclab
