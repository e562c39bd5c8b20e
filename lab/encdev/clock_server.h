// SPDX-License-Identifier: Apache-2.0
// Serves time on a Unix socket to a process that runs with the preload library: knows when the
// process waits and for how long, and tells it the time. One process at a time: a new one takes the
// place of the one before.
#pragma once

#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>

namespace enclab {

class ClockServer {
  public:
    using Time = std::chrono::nanoseconds;
    struct Now {
        Time sinceStart;
        Time sinceEpoch;  // of the wall clock
    };
    struct Wait {
        Time until;  // Time::max(): no limit
        bool ready;  // what is waited for is there already
    };

    // Listens on `socket`. The io_context must not run any more when the server goes. Throws
    // std::system_error.
    ClockServer(asio::io_context& io, std::filesystem::path socket);
    ~ClockServer();
    ClockServer(const ClockServer&) = delete;
    ClockServer& operator=(const ClockServer&) = delete;

    // What a process is told that connects.
    void setNow(const Now& now) { now_ = now; }
    // The wait the process is in; none: it runs, or there is none.
    const std::optional<Wait>& wait() const { return wait_; }
    // Tells the waiting process the time: it looks whether its wait is over, and if not waits on.
    void answer();

  private:
    class Connection;
    void accept();

    std::filesystem::path path_;
    asio::local::stream_protocol::acceptor acceptor_;
    Now now_{};
    std::optional<Wait> wait_;
    std::shared_ptr<Connection> connection_;
};

}  // namespace enclab
