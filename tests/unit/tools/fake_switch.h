// SPDX-License-Identifier: Apache-2.0
// A message switch for one client: a Unix socket in a directory of its own, and a thread that
// answers each request as the test says.
#pragma once

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tools/sesctl/codec.h"

class FakeSwitch {
  public:
    // What goes back for one request, byte for byte; hanging up ends the connection.
    struct Answer {
        std::vector<sesctl::Bytes> pieces;
        bool hangUp = false;
    };
    using Script = std::function<Answer(const sesctl::Bytes& request)>;

    explicit FakeSwitch(Script script);
    ~FakeSwitch();
    FakeSwitch(const FakeSwitch&) = delete;
    FakeSwitch& operator=(const FakeSwitch&) = delete;

    // The lab's directory; the socket is mmsg/environ in it.
    const std::string& directory() const { return directory_; }
    // What came; only when the client is gone.
    const std::vector<sesctl::Bytes>& requests();

  private:
    void serve();

    const Script script_;
    std::string directory_;
    int listener_;
    std::vector<sesctl::Bytes> requests_;
    std::thread thread_;
};

// The service's reply to a request: its header, the status byte, the payload.
sesctl::Bytes serviceReply(const sesctl::Bytes& request, std::uint8_t status,
                           const sesctl::Bytes& payload);
