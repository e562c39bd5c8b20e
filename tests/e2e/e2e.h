// SPDX-License-Identifier: Apache-2.0
// The shipped daemon in a lab of its own, time divided, for whole-program tests.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
    // The next reply with the handle; others are passed over.
    std::optional<Message> replyTo(std::uint32_t handle, std::chrono::milliseconds patience = 10s);
    // Sends the message and gives the reply with its handle.
    std::optional<Message> request(const Message& message,
                                   std::chrono::milliseconds patience = 10s);
    // Nothing comes for as long as `time`.
    bool staysSilent(std::chrono::milliseconds time = 300ms) { return !receive(time); }

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
    // Back-end polls begun so far, where nobody asks for status pages.
    int polls() const { return polls_; }
    bool untilPolls(int count) {
        return lab().runUntil([&] { return polls() >= count; });
    }
    // Runs until `count` more polls have ended: until the one after them begins.
    bool pollsPass(int count = 1) { return untilPolls(polls() + count + 1); }

    // Event records from the daemon with this id, and with this `information`.
    std::vector<EsaEvent_t> events(std::uint16_t id) const;
    int informationEvents(std::uint32_t information) const;
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
    int polls_ = 0;
};

}  // namespace enclab
