// SPDX-License-Identifier: Apache-2.0
// The link to the switch under everything a switch can do to it.
#include <fmt/format.h>

#include "tests/e2e/e2e.h"

using namespace enclab;
using testing::Each;

namespace {

class LinkTest : public LabTest {
  protected:
    void sendToDaemon(const Bytes& bytes) { lab().messageSwitch().sendRaw(kDaemon, bytes); }
    bool connected() { return lab().messageSwitch().connections(kDaemon) == 1; }
    // A message that claims `length` and has as many bytes, at least a header.
    static Bytes claiming(unsigned length) {
        Bytes bytes = getPage(1, 4000, 0xBAD).bytes();
        bytes.resize(std::max<std::size_t>(length, 64), 0xEE);
        bytes[10] = static_cast<std::uint8_t>(length >> 8);
        bytes[11] = static_cast<std::uint8_t>(length);
        return bytes;
    }
};

}  // namespace

TEST_F(LinkTest, AMessageSplitAnywhereIsOneMessage) {
    options.speed = 50;
    start();
    SesClient client(lab());
    const auto whole = client.request(getPage(1, 4000, 1000));
    ASSERT_TRUE(whole);
    // A body that came in pieces overwrites its own start; the command is still there from the
    // message before.
    for (std::uint32_t split = 1; split < 72; ++split) {
        const Bytes bytes = getPage(1, 4000, split).bytes();
        const auto middle = bytes.begin() + static_cast<std::ptrdiff_t>(split);
        sendToDaemon(Bytes(bytes.begin(), middle));
        lab().runFor(std::chrono::milliseconds(split % 8 == 0 ? 60 : 2));
        sendToDaemon(Bytes(middle, bytes.end()));
        const auto reply = client.receive();
        ASSERT_TRUE(reply) << "split at " << split;
        EXPECT_EQ(reply->header().handle, split);
        EXPECT_EQ(userData(*reply), userData(*whole)) << "split at " << split;
    }
    EXPECT_TRUE(client.staysSilent());
}

TEST_F(LinkTest, HalfAMessageDoesNotStopThePolls) {
    for (const std::ptrdiff_t half : {1, 63, 64, 70}) {
        start();
        SesClient client(lab());
        // Each piece of a body is placed at the start of the daemon's buffer: what lies behind must
        // be there from a message before.
        ASSERT_TRUE(client.request(getPage(1, 4000, 4)));
        const Bytes bytes = getPage(1, 4000, 5).bytes();
        sendToDaemon(Bytes(bytes.begin(), bytes.begin() + half));
        ASSERT_TRUE(untilPolls(2)) << half;
        sendToDaemon(Bytes(bytes.begin() + half, bytes.end()));
        const auto reply = client.receive();
        ASSERT_TRUE(reply) << half;
        EXPECT_EQ(reply->header().handle, 5u);
    }
}

TEST_F(LinkTest, WrongLengthsAreDroppedAndTheNextMessageIsFramedRight) {
    options.trace = true;
    start();
    SesClient client(lab());
    for (const unsigned length : {0u, 1u, 63u, 4065u, 65535u}) {
        sendToDaemon(claiming(length));
        const auto reply = client.request(getPage(1, 4000, length + 1));
        ASSERT_TRUE(reply) << length;
        EXPECT_EQ(traced(fmt::format("MMSG mmsh_length [{}] is out of range", length)), 1);
    }
    EXPECT_EQ(traced("MMSG requestor [26] sends wrong mmsg_length!!!"), 5);
}

TEST_F(LinkTest, TheShortestAndTheLongestMessageAreTaken) {
    options.trace = true;
    start();
    SesClient client(lab());
    // No command came with it: nothing to answer.
    sendToDaemon(claiming(64));
    EXPECT_TRUE(client.staysSilent());
    sendToDaemon(claiming(4064));
    const auto reply = client.receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->header().handle, 0xBADu);
    EXPECT_EQ(traced("is out of range"), 0);
}

TEST_F(LinkTest, ManyMessagesInOneGoAreAllAnswered) {
    start();
    SesClient client(lab());
    Bytes burst;
    for (std::uint32_t handle = 1; handle <= 200; ++handle) {
        const Bytes bytes = getPage(1, 4000, handle).bytes();
        burst.insert(burst.end(), bytes.begin(), bytes.end());
    }
    sendToDaemon(burst);
    for (std::uint32_t handle = 1; handle <= 200; ++handle) {
        const auto reply = client.receive();
        ASSERT_TRUE(reply) << handle;
        EXPECT_EQ(reply->header().handle, handle);
    }
}

TEST_F(LinkTest, GarbageIsSurvived) {
    start();
    Bytes noise;
    std::uint32_t state = 1;
    for (int n = 0; n < 200000; ++n) {
        state = state * 1664525u + 1013904223u;
        noise.push_back(static_cast<std::uint8_t>(state >> 24));
    }
    sendToDaemon(noise);
    lab().runFor(500ms);
    ASSERT_TRUE(lab().daemonRunning());
    // A new link begins with a new message.
    lab().messageSwitch().close(kDaemon);
    lab().messageSwitch().open(kDaemon);
    ASSERT_TRUE(lab().runUntil([&] { return connected(); }));
    EXPECT_TRUE(answers());
}

TEST_F(LinkTest, TheSwitchGoesAndComesBack) {
    options.trace = true;
    start();
    ASSERT_TRUE(untilPolls(1));
    lab().messageSwitch().close(kDaemon);
    ASSERT_TRUE(untilTraced("The link to MSM on socket ["));
    lab().clearReceived();
    lab().chassis().pullFan(0);
    ASSERT_TRUE(pollsPass(3)) << "polls go on";
    EXPECT_THAT(fanLoads(), Each(100));
    lab().messageSwitch().open(kDaemon);
    const int before = polls();
    ASSERT_TRUE(lab().runUntil([&] { return connected(); }));
    EXPECT_LE(polls() - before, 2) << "an attempt every ten seconds";
    ASSERT_TRUE(lab().runUntil([&] { return lab().startupProcess().compositeLedLit(); }))
        << "the LED request that was not delivered";
    EXPECT_TRUE(answers());
    EXPECT_EQ(traced("The link to MSM on socket ["), 1) << "said once";
    EXPECT_EQ(traced("Linux connect function fails"), 0) << "attempts are silent";
}

TEST_F(LinkTest, UpLateItSaysThenThatItIsInitialised) {
    prepare().messageSwitch().close(kDaemon);
    lab().parameters().setFlag(MPU_K_FLAG_RCP_COMPLETE);
    lab().startDaemon();
    ASSERT_TRUE(untilPolls(3));
    lab().messageSwitch().open(kDaemon);
    ASSERT_TRUE(lab().runUntil([&] { return lab().startupProcess().initCompletes() == 1; }));
    EXPECT_TRUE(answers());
    ASSERT_TRUE(pollsPass(2));
    EXPECT_EQ(lab().startupProcess().initCompletes(), 1);
}

TEST_F(LinkTest, ASwitchThatDoesNotReadDelaysButDoesNotStopThePolls) {
    options.speed = 50;
    start();
    lab().messageSwitch().stopReading(kDaemon);
    // Replies enough to fill the socket and then some, each of which waits for room.
    Bytes burst;
    for (int n = 0; n < 400; ++n) {
        const Bytes bytes = getPage(1, 4000, 1).bytes();
        burst.insert(burst.end(), bytes.begin(), bytes.end());
    }
    sendToDaemon(burst);
    ASSERT_TRUE(lab().runUntil([&] { return polls() >= 400 / 11 + 3; }, 100s));
    ASSERT_TRUE(lab().daemonRunning());
    lab().messageSwitch().resumeReading(kDaemon);
    lab().runFor(500ms);
    EXPECT_TRUE(answers());
}

TEST_F(LinkTest, TheDaemonComesBackToASwitchThatDroppedItAtOnce) {
    start();
    for (int n = 0; n < 3; ++n) {
        lab().messageSwitch().close(kDaemon);
        lab().messageSwitch().open(kDaemon);
        ASSERT_TRUE(lab().runUntil([&] { return connected(); }));
        EXPECT_TRUE(answers());
    }
    EXPECT_EQ(lab().startupProcess().initCompletes(), 1);
}
