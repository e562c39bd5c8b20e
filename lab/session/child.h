// SPDX-License-Identifier: Apache-2.0
// One child process: its output line by line, its end, its processor time. It does not outlive its
// parent, even when that is killed.
#pragma once

#include <sys/types.h>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/signal_set.hpp>
#include <csignal>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace enclab {

class Child {
  public:
    // Starts `arguments[0]`, searched in PATH, with exactly `environment` ("NAME=value"). Standard
    // input is empty; `onLine` gets what comes on the two outputs. Throws std::system_error.
    Child(asio::io_context& io, const std::vector<std::string>& arguments,
          const std::vector<std::string>& environment,
          std::function<void(const std::string&)> onLine);
    // Ends it.
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // Called once, when the child has ended and its output has been read.
    void onExit(std::function<void()> handler) { onExit_ = std::move(handler); }

    pid_t pid() const { return pid_; }
    bool running() const { return !status_; }
    // Its output has been read to the end, too.
    bool ended() const { return exitReported_; }
    // Exit code, or 128 + signal number; empty while it runs.
    std::optional<int> exitStatus() const;
    // User and system time used so far, seconds.
    double cpuSeconds() const;
    // The signal to the child and what it started, SIGKILL when that does not help soon.
    void terminate(int signal = SIGTERM);

  private:
    void launch(const std::vector<std::string>& arguments,
                const std::vector<std::string>& environment, int output);
    void readOutput();
    void takeOutput(std::size_t count);
    void watch();
    bool reap();
    void reportExit();

    asio::posix::stream_descriptor output_;
    asio::signal_set childEnded_;
    std::function<void(const std::string&)> onLine_;
    std::function<void()> onExit_;
    std::string chunk_;
    std::string line_;
    pid_t pid_ = -1;
    std::optional<int> status_;  // as of waitpid
    bool outputOpen_ = true;
    bool exitReported_ = false;
    // What asio has already queued comes in spite of the end of its object.
    const std::shared_ptr<bool> alive_ = std::make_shared<bool>();
};

}  // namespace enclab
