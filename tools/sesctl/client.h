// SPDX-License-Identifier: Apache-2.0
// A connection to the message switch as the environment process: one command at a time, each with
// its own handle, because every connection of the endpoint gets a copy of every reply.
#pragma once

#include <chrono>
#include <string>

#include "tools/sesctl/codec.h"

namespace sesctl {

class Client {
  public:
    // Throws Failure: unreachable.
    Client(const std::string& socketPath, std::chrono::milliseconds timeout);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // Sends a command and waits for the reply to it, passing over other messages. The time-out is
    // for both together. Throws Failure: unreachable (the switch hung up), noReply, malformedReply.
    Reply call(Bytes request);

  private:
    using Deadline = std::chrono::steady_clock::time_point;

    std::uint32_t nextHandle();
    void send(View message, Deadline deadline);
    Bytes nextMessage(Deadline deadline);
    void receive(Deadline deadline);
    void waitFor(short events, Deadline deadline);

    const std::chrono::milliseconds timeout_;
    int fd_;
    const std::uint32_t handleBase_;
    std::uint32_t calls_ = 0;
    Bytes pending_;  // received and not yet cut into messages
};

}  // namespace sesctl
