// SPDX-License-Identifier: Apache-2.0
// The shipped daemon in a lab of its own, time divided, for whole-program tests.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <asio/local/stream_protocol.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lab/session/lab.h"

namespace enclab {

using namespace std::chrono_literals;

constexpr std::uint8_t kDaemon = 33;
constexpr std::uint8_t kEnvironment = 26;
constexpr std::uint8_t kVolumeManager = 20;

// A process at one of the switch's client sockets.
class SesClient {
  public:
    SesClient(Lab& lab, const std::string& socketName = "environ");

    void send(const Bytes& bytes);
    // The next message that comes, if one does in time.
    std::optional<Message> receive(std::chrono::milliseconds patience = 10s);
    // Sends the message and gives the reply with its handle; others are passed over.
    std::optional<Message> request(const Message& message,
                                   std::chrono::milliseconds patience = 10s);

  private:
    Lab& lab_;
    asio::local::stream_protocol::socket socket_;
    Framer framer_;
};

// RECEIVE DIAGNOSTIC RESULTS of a page.
Message getPage(std::uint8_t page, std::uint16_t allocation = 4000, std::uint32_t handle = 1,
                std::uint8_t requestor = kEnvironment);
// SEND DIAGNOSTIC with a page.
Message putPage(const Bytes& page, std::uint32_t handle = 1, std::uint8_t requestor = kEnvironment);
// Bytes behind the header.
Bytes userData(const Message& message);

class LabTest : public testing::Test {
  protected:
    LabTest();
    ~LabTest() override;

    // The lab without the daemon; `options` count until here.
    Lab& prepare();
    // Lab and daemon, up to the daemon's loop.
    Lab& start();
    // Waits for the event that is the last thing before the loop.
    bool untilLoop();

    Lab& lab() { return *lab_; }
    // Runs until `count` more polls have ended: until the one after them begins. Nobody may ask for
    // status pages meanwhile.
    bool pollsPass(int count = 1);

    // What the daemon sent, one line each, and how often a text is in it.
    std::vector<std::string> said() const;
    int timesSaid(const std::string& text) const;
    std::vector<int> fanLoads() const;
    // Lines of the trace file so far.
    std::vector<std::string> trace() const;
    bool untilTraced(const std::string& text);
    int traced(const std::string& text) const;
    // The daemon still runs and answers.
    bool answers();

    LabOptions options;

  private:
    std::unique_ptr<Lab> lab_;
    int polls_ = 0;  // begun so far
};

}  // namespace enclab
