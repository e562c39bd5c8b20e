// SPDX-License-Identifier: Apache-2.0
// The link to the switch under everything a switch can do to it.
#include <fmt/format.h>

#include "tests/e2e/e2e.h"

using namespace enclab;

namespace {

class LinkTest : public LabTest {
  protected:
    LinkTest() {
        options.trace = true;
        start();
    }
    void sendToDaemon(const Bytes& bytes) { lab().messageSwitch().sendRaw(kDaemon, bytes); }
    bool untilConnected() {
        return lab().runUntil([&] { return lab().messageSwitch().connections(kDaemon) == 1; });
    }
    // A message that claims `length` and has as many bytes, at least a header.
    static Bytes claiming(unsigned length) {
        Bytes bytes = getPage(1, 4000, 0xBAD).bytes();
        bytes.resize(std::max<std::size_t>(length, 64), 0xEE);
        bytes[10] = static_cast<std::uint8_t>(length >> 8);
        bytes[11] = static_cast<std::uint8_t>(length);
        return bytes;
    }
    static Bytes burst(std::uint32_t count) {
        Bytes all;
        for (std::uint32_t handle = 1; handle <= count; ++handle) {
            const Bytes bytes = getPage(1, 4000, handle).bytes();
            all.insert(all.end(), bytes.begin(), bytes.end());
        }
        return all;
    }
};

}  // namespace

TEST_F(LinkTest, AMessageSplitAnywhereIsOneMessageAndHalfOfItStopsNoPoll) {
    SesClient client(lab());
    const auto whole = client.request(getPage(1, 4000, 1000));
    ASSERT_TRUE(whole);
    // A body that came in pieces overwrites its own start; the command is still there from the
    // message before.
    for (std::uint32_t split = 1; split < 72; ++split) {
        const Bytes bytes = getPage(1, 4000, split).bytes();
        const auto middle = bytes.begin() + static_cast<std::ptrdiff_t>(split);
        sendToDaemon(Bytes(bytes.begin(), middle));
        if (split == 1 || split == 63 || split == 64 || split == 70) {
            ASSERT_TRUE(pollsPass(1)) << split;
        } else {
            lab().runFor(2ms);
        }
        sendToDaemon(Bytes(middle, bytes.end()));
        const auto reply = client.receive();
        ASSERT_TRUE(reply) << "split at " << split;
        EXPECT_EQ(reply->header().handle, split);
        EXPECT_EQ(userData(*reply), userData(*whole)) << "split at " << split;
    }
}

TEST_F(LinkTest, WhateverComesIsFramedOrDropped) {
    SesClient client(lab());
    for (const unsigned length : {0u, 1u, 63u, 4065u, 65535u}) {
        sendToDaemon(claiming(length));
        const auto reply = client.receive(1ms);
        ASSERT_FALSE(reply);
        ASSERT_TRUE(client.request(getPage(1, 4000, length + 1))) << length;
        EXPECT_EQ(traced(fmt::format("MMSG mmsh_length [{}] is out of range", length)), 1);
    }
    EXPECT_EQ(traced("MMSG requestor [26] sends wrong mmsg_length!!!"), 5);
    // The shortest and the longest; no command came with the first: nothing to answer.
    sendToDaemon(claiming(64));
    sendToDaemon(claiming(4064));
    const auto longest = client.receive();
    ASSERT_TRUE(longest);
    EXPECT_EQ(longest->header().handle, 0xBADu);
    EXPECT_EQ(traced("is out of range"), 5);

    sendToDaemon(burst(200));
    for (std::uint32_t handle = 1; handle <= 200; ++handle) {
        const auto reply = client.receive();
        ASSERT_TRUE(reply) << handle;
        EXPECT_EQ(reply->header().handle, handle);
    }
    Bytes noise;
    std::uint32_t state = 1;
    for (int n = 0; n < 200000; ++n) {
        state = state * 1664525u + 1013904223u;
        noise.push_back(static_cast<std::uint8_t>(state >> 24));
    }
    sendToDaemon(noise);
    lab().runFor(300ms);
    ASSERT_TRUE(lab().daemonRunning());
    // A new link begins with a new message.
    lab().messageSwitch().close(kDaemon);
    lab().messageSwitch().open(kDaemon);
    ASSERT_TRUE(untilConnected());
    EXPECT_TRUE(answers());
}

TEST_F(LinkTest, TheSwitchGoesAndComesBack) {
    ASSERT_TRUE(pollsPass(1));
    lab().messageSwitch().close(kDaemon);
    ASSERT_TRUE(untilTraced("The link to MSM on socket ["));
    lab().clearReceived();
    lab().chassis().pullFan(0);
    ASSERT_TRUE(pollsPass(2)) << "polls go on";
    EXPECT_THAT(fanLoads(), testing::Each(100));
    lab().messageSwitch().open(kDaemon);
    const double opened = lab().time();
    ASSERT_TRUE(untilConnected());
    EXPECT_LE(lab().time() - opened, 30) << "an attempt every ten seconds";
    ASSERT_TRUE(lab().runUntil([&] { return lab().startupProcess().compositeLedLit(); }))
        << "the LED request that was not delivered";
    EXPECT_TRUE(answers());
    EXPECT_EQ(traced("The link to MSM on socket ["), 1) << "said once";
    EXPECT_EQ(traced("Linux connect function fails"), 0) << "attempts are silent";
    for (int n = 0; n < 3; ++n) {  // dropped at once
        lab().messageSwitch().close(kDaemon);
        lab().messageSwitch().open(kDaemon);
        ASSERT_TRUE(untilConnected());
        EXPECT_TRUE(answers());
    }
    EXPECT_EQ(lab().startupProcess().initCompletes(), 1);
}

TEST_F(LinkTest, ASwitchThatDoesNotReadDelaysButDoesNotStopThePolls) {
    lab().messageSwitch().stopReading(kDaemon);
    // Replies enough to fill the socket and then some, each of which waits for room.
    sendToDaemon(burst(400));
    ASSERT_TRUE(pollsPass(400 / 11 + 1));
    ASSERT_TRUE(lab().daemonRunning());
    lab().messageSwitch().resumeReading(kDaemon);
    lab().runFor(500ms);
    EXPECT_TRUE(answers());
}
