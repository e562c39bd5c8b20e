// SPDX-License-Identifier: Apache-2.0
// The link to the switch: what is taken off the stream for which length, what a pass does with half
// a message, when the link goes down and how it comes back.
#include "msg/esa_mmsg.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

#include "core/esa_control.h"
#include "mpu_gbl.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/fake_system_calls.h"
#include "tests/support/hex.h"
#include "tests/support/switch_listener.h"
#include "tests/support/switch_peer.h"
#include "tests/support/trace_capture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The selectTimeout of these tests, in the short steps of a pass.
constexpr int STEPS = 5;

// A message whose header says `length`, with `total` bytes that count up from `first`.
Bytes messageOf(std::uint16_t length, std::size_t total, std::uint8_t first = 1) {
    Bytes message(total);
    std::uint8_t value = first;
    std::ranges::generate(message, [&] { return value++; });
    message.at(10) = static_cast<std::uint8_t>(length >> 8);
    message.at(11) = static_cast<std::uint8_t>(length);
    return message;
}
Bytes messageOf(std::uint16_t length) {
    return messageOf(length, length);
}

Bytes slice(const Bytes& bytes, std::size_t from, std::size_t to) {
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from),
            bytes.begin() + static_cast<std::ptrdiff_t>(to)};
}

Bytes received(std::size_t from, std::size_t to) {
    return {esaControl.esaInMsg + from, esaControl.esaInMsg + to};
}

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

class LinkTest : public testing::Test {
  protected:
    LinkTest() {
        std::signal(SIGPIPE, SIG_IGN);
        systemCalls = {};
        pMpuParams = &params_;
        esaControl = {};
        esaControl.socketFdMSM = -1;
        esaControl.selectTimeout = {0, STEPS * 10000};
        takeAltRecords();
    }
    ~LinkTest() override {
        esaLinkDown();
        pMpuParams = nullptr;
    }

    MPU_PARAMS_t params_ = {};
};

class ReceiveTest : public LinkTest {
  protected:
    ~ReceiveTest() override { esaLinkDown(); }  // before the peer's end goes

    // Passes until the message is there; how many it took, 0 when the link went down.
    int passesForMessage() {
        for (int pass = 1; esaLinkIsUp() && pass < 100; ++pass) {
            if (esaMmsgReceive()) {
                return pass;
            }
        }
        return 0;
    }
    // `pieces` arrive one by one, each in the next short wait.
    void arriveInSteps(std::vector<Bytes> pieces) {
        systemCalls.onPoll = [this, pieces, next = std::size_t{0}]() mutable {
            if (next < pieces.size()) {
                peer_.send(pieces[next++]);
            }
        };
    }
    void expectNextMessageFramed() {
        systemCalls.onPoll = nullptr;
        const Bytes next = messageOf(80, 80, 0x90);
        peer_.send(next);
        ASSERT_TRUE(esaMmsgReceive());
        EXPECT_EQ(received(0, 80), next);
    }

    SwitchPeer peer_;
};

}  // namespace

// ---- framing ----

TEST_F(ReceiveTest, MessageThatIsThereCostsOnePeekAndOneReadAndNoWait) {
    peer_.send(messageOf(72));
    ASSERT_TRUE(esaMmsgReceive());
    EXPECT_EQ(systemCalls.receives, 2);
    EXPECT_EQ(systemCalls.polls, 0);
}

TEST_F(ReceiveTest, TakesWhatTheLengthSaysAndAtLeastTheHeader) {
    struct Case {
        std::uint16_t length;
        std::size_t taken;
        std::size_t stored;
    };
    for (const Case& c : {Case{64, 64, 64}, Case{65, 65, 65}, Case{4064, 4064, 4064},
                          // The dispatcher rejects these; the stream goes on behind them.
                          Case{0, 64, 64}, Case{1, 64, 64}, Case{63, 64, 64},
                          Case{4065, 4065, 4064}, Case{65535, 65535, 4064}}) {
        SCOPED_TRACE(c.length);
        const Bytes message = messageOf(c.length, c.taken);
        peer_.send(message);
        EXPECT_GE(passesForMessage(), 1);
        EXPECT_EQ(received(0, c.stored), slice(message, 0, c.stored));
        expectNextMessageFramed();
    }
    EXPECT_THAT(takeFaults(), IsEmpty());
}

TEST_F(ReceiveTest, NothingIsWrittenPastTheMessageBuffer) {
    std::ranges::fill(esaControl.esaWorkSpace, U8_t{0xEE});
    peer_.send(messageOf(65535));
    passesForMessage();
    EXPECT_THAT(esaControl.esaWorkSpace, testing::Each(0xEE));
}

TEST_F(ReceiveTest, TwoMessagesInOneGoAreTwoMessages) {
    Bytes both = messageOf(64, 64, 0x10);
    const Bytes second = messageOf(100, 100, 0x40);
    both.insert(both.end(), second.begin(), second.end());
    peer_.send(both);
    ASSERT_TRUE(esaMmsgReceive());
    EXPECT_EQ(received(0, 64), messageOf(64, 64, 0x10));
    ASSERT_TRUE(esaMmsgReceive());
    EXPECT_EQ(received(0, 100), second);
}

// ---- pieces ----

TEST_F(ReceiveTest, WaitsInStepsForTheRestOfAHeader) {
    const Bytes message = messageOf(64);
    peer_.send(slice(message, 0, 1));
    arriveInSteps({{}, {}, slice(message, 1, 64)});
    ASSERT_TRUE(esaMmsgReceive());
    EXPECT_EQ(systemCalls.polls, 3);
    EXPECT_EQ(received(0, 64), message);
}

TEST_F(ReceiveTest, HalfAHeaderEndsThePassAfterOneSelectTimeout) {
    const Bytes message = messageOf(64);
    peer_.send(slice(message, 0, 63));
    EXPECT_FALSE(esaMmsgReceive());
    EXPECT_EQ(systemCalls.polls, STEPS);
    EXPECT_TRUE(esaLinkIsUp());
    peer_.send(slice(message, 63, 64));
    EXPECT_TRUE(esaMmsgReceive());
    EXPECT_EQ(received(0, 64), message);
    EXPECT_THAT(takeFaults(), IsEmpty());
}

TEST_F(ReceiveTest, EachPieceOfABodyIsPlacedAtTheStart) {
    peer_.send(messageOf(72, 72, 0xA0));  // an older message
    ASSERT_TRUE(esaMmsgReceive());
    const Bytes message = messageOf(72);
    peer_.send(slice(message, 0, 64));
    arriveInSteps({slice(message, 64, 72)});
    ASSERT_TRUE(esaMmsgReceive());
    EXPECT_EQ(received(0, 8), slice(message, 64, 72));
    EXPECT_EQ(received(8, 64), slice(message, 8, 64));
    EXPECT_EQ(received(64, 72), slice(messageOf(72, 72, 0xA0), 64, 72));
    systemCalls.onPoll = nullptr;
    expectNextMessageFramed();
}

TEST_F(ReceiveTest, BodyGoesOnInTheNextPassAndIsHandedOverOnce) {
    const Bytes message = messageOf(200);
    peer_.send(slice(message, 0, 64));
    EXPECT_FALSE(esaMmsgReceive());
    EXPECT_EQ(systemCalls.polls, STEPS);
    peer_.send(slice(message, 64, 150));
    EXPECT_FALSE(esaMmsgReceive());
    peer_.send(slice(message, 150, 200));
    EXPECT_TRUE(esaMmsgReceive());
    EXPECT_EQ(received(0, 50), slice(message, 150, 200));
    EXPECT_EQ(received(50, 86), slice(message, 114, 150));
    EXPECT_EQ(systemCalls.receives, 4);  // the header is peeked once
    EXPECT_THAT(takeFaults(), IsEmpty());
    expectNextMessageFramed();
}

TEST_F(ReceiveTest, TricklingBodyKeepsThePassShort) {
    const Bytes message = messageOf(100);
    peer_.send(slice(message, 0, 64));
    std::vector<Bytes> trickle;
    for (std::size_t at = 64; at < 100; ++at) {
        trickle.push_back(slice(message, at, at + 1));
    }
    arriveInSteps(trickle);
    EXPECT_FALSE(esaMmsgReceive());
    EXPECT_EQ(systemCalls.polls, STEPS);
    systemCalls.onPoll = nullptr;
    peer_.send(slice(message, 64 + STEPS, 100));
    EXPECT_TRUE(esaMmsgReceive());
}

TEST_F(ReceiveTest, TooLongMessageInPiecesKeepsTheHeaderItIsRejectedBy) {
    const Bytes message = messageOf(4100);
    peer_.send(slice(message, 0, 64));
    EXPECT_FALSE(esaMmsgReceive());
    peer_.send(slice(message, 64, 4080));
    EXPECT_FALSE(esaMmsgReceive());
    peer_.send(slice(message, 4080, 4100));
    EXPECT_TRUE(esaMmsgReceive());
    EXPECT_EQ(received(0, 64), slice(message, 0, 64));
    expectNextMessageFramed();
}

// ---- failures ----

TEST_F(ReceiveTest, EndOfStreamTakesTheLinkDownAndIsReportedOnce) {
    struct Case {
        std::size_t arrived;
        const char* fault;
    };
    for (const Case& c :
         {Case{0, "main(): Linux recv function fails, MSG_PEEK readSize = [0] is wrong"},
          Case{10, "main(): Linux recv function fails, MSG_PEEK readSize = [10] is wrong"},
          Case{100, "main(): Linux recv function fails, mmsg_length readSize = [0] is wrong"}}) {
        SCOPED_TRACE(c.arrived);
        SwitchPeer peer;
        const int fd = esaControl.socketFdMSM;
        peer.send(slice(messageOf(200), 0, c.arrived));
        peer.close();
        EXPECT_EQ(passesForMessage(), 0);
        EXPECT_EQ(esaControl.socketFdMSM, -1);
        EXPECT_FALSE(isOpen(fd));
        esaLinkDown();
        EXPECT_THAT(takeFaults(), ElementsAre(c.fault));
    }
}

TEST_F(ReceiveTest, MessageThatWasCutOffIsForgotten) {
    peer_.send(slice(messageOf(200), 0, 100));
    EXPECT_FALSE(esaMmsgReceive());
    esaLinkDown();
    SwitchPeer again;
    const Bytes message = messageOf(70);
    again.send(message);
    ASSERT_TRUE(esaMmsgReceive());
    EXPECT_EQ(received(0, 70), message);
}

TEST_F(ReceiveTest, FailedReceiveIsDumpedAndReportedAndOnlyPassingErrorsKeepTheLink) {
    struct Case {
        std::deque<int> errors;  // of the peek, then of the read
        bool goesOn;
    };
    for (const Case& c : {Case{{EINTR}, true}, Case{{EAGAIN}, true}, Case{{0, EINTR}, true},
                          Case{{0, EAGAIN}, true}, Case{{ECONNRESET}, false}, Case{{EBADF}, false},
                          Case{{0, ECONNRESET}, false}, Case{{0, ENOMEM}, false}}) {
        const bool peek = c.errors.size() == 1;
        SCOPED_TRACE(std::string(peek ? "peek " : "read ") + std::to_string(c.errors.back()));
        SwitchPeer peer;
        TraceCapture trace(0x0010);
        systemCalls.receiveErrors = c.errors;
        peer.send(messageOf(72));
        EXPECT_FALSE(esaMmsgReceive());
        EXPECT_EQ(esaLinkIsUp(), c.goesOn);
        const char* fault =
            peek ? "main(): Linux recv function fails, MSG_PEEK readSize = [-1] is wrong"
                 : "main(): Linux recv function fails, mmsg_length readSize = [-1] is wrong";
        EXPECT_THAT(takeFaults(), ElementsAre(fault));
        EXPECT_EQ(trace.take().at(0), peek ? "tmpMMCH  =" : "esaMMSG =");
        if (c.goesOn) {
            ASSERT_TRUE(esaMmsgReceive());
            EXPECT_EQ(received(0, 72), messageOf(72));
        }
        esaLinkDown();
    }
}

TEST_F(ReceiveTest, LinkThatOnlySeemedReadableDoesNotBlockThePass) {
    EXPECT_FALSE(esaMmsgReceive());
    EXPECT_TRUE(esaLinkIsUp());
}

// ---- header and sending ----

class SendTest : public ReceiveTest {
  protected:
    MMCH_t& message() { return *wireView<MMCH_t>(esaControl.esaWorkSpace); }
    Bytes workSpace(std::size_t from, std::size_t to) {
        return {esaControl.esaWorkSpace + from, esaControl.esaWorkSpace + to};
    }
    void requestBuild(U32_t type = SUS_E_MMSG_CHANGE_LED_COLOR) {
        esaMmsgHeaderInit(&message(), MMSG_E_PROTOCOL_STARTUP, type, 64);
    }
};

TEST_F(SendTest, HeaderStartsWithTheValuesEveryMessageHas) {
    std::ranges::fill(esaControl.esaWorkSpace, U8_t{0xEE});
    esaMmsgHeaderInit(&message(), MMSG_E_PROTOCOL_EVENTMGR, 0x010203, 72);
    const auto address = static_cast<U32_t>(reinterpret_cast<std::uintptr_t>(&message()));
    EXPECT_EQ(be32At(workSpace(0, 4), 0), address);
    EXPECT_EQ(be32At(workSpace(4, 8), 0), address);
    EXPECT_EQ(hexText(workSpace(8, 76)), hexText(R"(
        0E 01 00 48  08 01 02 03  21 00 00 00   # type, version, length; opcode; requestor
        00000000 00000000 00000000 00000000     # recipients
        00000000 00000000                       # return code, handle
        00000000 00000000 00000000              # general use
        00000000 00000000                       # timestamp
        00000000 00000000                       # user data is cleared as far as the length goes
        EEEEEEEE)"));
}

TEST_F(SendTest, RecipientsAreAddedToTheMapOfThisBlade) {
    requestBuild();
    for (const U32_t endpoint : {0U, 18U, 27U, 31U, 32U, 33U, 63U}) {
        esaMmsgRecipientAdd(&message(), endpoint);
    }
    EXPECT_EQ(hexText(workSpace(20, 36)), hexText("88040001 80000003 00000000 00000000"));
}

TEST_F(SendTest, MessageGoesOutWithOneCall) {
    requestBuild();
    EXPECT_EQ(esaMmsgSend("sender()"), 64);
    EXPECT_EQ(systemCalls.sends, 1);
    EXPECT_THAT(peer_.take(), ElementsAre(workSpace(0, 64)));
    EXPECT_THAT(takeFaults(), IsEmpty());
}

TEST_F(SendTest, SwitchThatDoesNotReadCostsAFaultAndKeepsTheLink) {
    const struct timeval soon = {0, 1000};
    setsockopt(esaControl.socketFdMSM, SOL_SOCKET, SO_SNDTIMEO, &soon, sizeof soon);
    requestBuild();
    while (esaMmsgSend("sender()") == 64) {
    }
    EXPECT_THAT(takeFaults(),
                ElementsAre("sender(): Linux send function fails, sendSize = [64] is wrong"));
    EXPECT_TRUE(esaLinkIsUp());
    peer_.take();
    EXPECT_EQ(esaMmsgSend("sender()"), 64);
}

TEST_F(SendTest, LostSwitchCostsOneFaultThenOneTraceLineAMessage) {
    peer_.close();
    requestBuild();
    EXPECT_EQ(esaMmsgSend("sender()"), -1);
    EXPECT_THAT(takeFaults(),
                ElementsAre("sender(): Linux send function fails, sendSize = [64] is wrong"));
    TraceCapture trace;
    EXPECT_EQ(esaMmsgSend("sender()"), -1);
    EXPECT_THAT(takeFaults(), IsEmpty());
    EXPECT_THAT(trace.take(),
                ElementsAre("MMSG with opcode [0xc00000e] is not sent, the link to MSM is down."));
    EXPECT_EQ(systemCalls.sends, 1);
}

TEST_F(SendTest, LatestOutcomeOfEachStartupRequestIsRemembered) {
    requestBuild();
    esaMmsgSend("sender()");
    EXPECT_FALSE(esaMmsgIsUndelivered(SUS_E_MMSG_CHANGE_LED_COLOR));
    esaLinkDown();
    esaMmsgSend("sender()");
    EXPECT_TRUE(esaMmsgIsUndelivered(SUS_E_MMSG_CHANGE_LED_COLOR));
    EXPECT_FALSE(esaMmsgIsUndelivered(SUS_E_MMSG_NOTIFY_INIT_COMPLETE));
    // An event of the same type number is no request.
    esaMmsgHeaderInit(&message(), MMSG_E_PROTOCOL_EVENTMGR, SUS_E_MMSG_NOTIFY_INIT_COMPLETE, 64);
    esaMmsgSend("sender()");
    EXPECT_FALSE(esaMmsgIsUndelivered(SUS_E_MMSG_NOTIFY_INIT_COMPLETE));
    SwitchPeer again;
    requestBuild();
    esaMmsgSend("sender()");
    EXPECT_FALSE(esaMmsgIsUndelivered(SUS_E_MMSG_CHANGE_LED_COLOR));
}

// ---- connecting ----

namespace {

class ConnectTest : public LinkTest {
  protected:
    ConnectTest() { wireTextSet(params_.mmsgDirectory, listener_.directory().c_str()); }
    // Passes until one connects; how many it took.
    int passesToConnect() {
        for (int pass = 1; pass <= 50; ++pass) {
            if (esaLinkPass()) {
                return pass;
            }
        }
        return 0;
    }

    SwitchListener listener_;
};

constexpr char CONNECT_FAULT[] = "esaInit(): Linux connect function fails for MSM/ESA socket!";
constexpr char SOCKET_FAULT[] = "esaInit(): Linux socket function fails for ESA socket!";

}  // namespace

TEST_F(ConnectTest, ConnectsToTheAdapterSocketOfTheMessageDirectory) {
    listener_.open();
    EXPECT_TRUE(esaLinkOpen());
    EXPECT_TRUE(esaLinkIsUp());
    EXPECT_TRUE(listener_.accept());
    EXPECT_EQ(esaControl.socketAddressMSM.sun_family, AF_UNIX);
    EXPECT_EQ(esaControl.socketAddressMSM.sun_path, listener_.directory() + "/esadapter");
    EXPECT_THAT(takeFaults(), IsEmpty());
}

TEST_F(ConnectTest, SendWaitsOneSecondForRoomThenIsShort) {
    listener_.open();
    esaLinkOpen();
    esaMmsgHeaderInit(wireView<MMCH_t>(esaControl.esaWorkSpace), MMSG_E_PROTOCOL_SES, 28, 4064);
    while (send(esaControl.socketFdMSM, esaControl.esaWorkSpace, 4064, MSG_DONTWAIT) == 4064) {
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(esaMmsgSend("sender()"), -1);
    const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - start;
    EXPECT_GT(waited.count(), 0.9);
    EXPECT_LT(waited.count(), 3.0);
    EXPECT_EQ(takeFaults().size(), 1U);
    EXPECT_TRUE(esaLinkIsUp());
}

TEST_F(ConnectTest, MissingSwitchIsReportedOnceAndTheLinkStaysDown) {
    EXPECT_FALSE(esaLinkOpen());
    EXPECT_EQ(esaControl.socketFdMSM, -1);
    EXPECT_THAT(takeFaults(), ElementsAre(CONNECT_FAULT));
}

TEST_F(ConnectTest, DescriptorThatCannotBeWatchedIsNoSocket) {
    for (const int given : {-1, 1024, 5000}) {
        SCOPED_TRACE(given);
        listener_.open();
        systemCalls.nextSocket = given;
        EXPECT_FALSE(esaLinkOpen());
        EXPECT_EQ(esaControl.socketFdMSM, -1);
        EXPECT_EQ(systemCalls.connects, 0);
        EXPECT_THAT(takeFaults(), ElementsAre(SOCKET_FAULT));
    }
}

TEST_F(ConnectTest, PathThatDoesNotFitTheAddressIsNotConnectedTo) {
    constexpr std::size_t longest = 107 - sizeof "/esadapter" + 1;
    for (const std::size_t length : {longest + 1, std::size_t{128}}) {
        SCOPED_TRACE(length);
        std::fill_n(params_.mmsgDirectory, length, '/');
        EXPECT_FALSE(esaLinkOpen());
        EXPECT_EQ(systemCalls.connects, 0);
        EXPECT_THAT(takeFaults(), ElementsAre(CONNECT_FAULT));
        EXPECT_EQ(passesToConnect(), 0);
        EXPECT_EQ(systemCalls.connects, 0);
    }
    listener_.open();
    const std::string padded = std::string(longest - listener_.directory().size(), '/');
    wireTextSet(params_.mmsgDirectory, (padded + listener_.directory()).c_str());
    EXPECT_TRUE(esaLinkOpen());
}

TEST_F(ConnectTest, DownLinkIsTriedSilentlyEveryTenthPassUntilItIsBack) {
    esaLinkOpen();
    takeFaults();
    systemCalls.connects = 0;
    TraceCapture trace;
    for (int pass = 1; pass <= 29; ++pass) {
        EXPECT_FALSE(esaLinkPass());
        EXPECT_EQ(systemCalls.connects, pass / 10) << pass;
    }
    EXPECT_THAT(trace.take(), IsEmpty());
    EXPECT_THAT(takeFaults(), IsEmpty());
    listener_.open();
    EXPECT_TRUE(esaLinkPass());
    EXPECT_EQ(trace.take().size(), 1U);
    EXPECT_TRUE(listener_.accept());
    EXPECT_FALSE(esaLinkPass());
    EXPECT_EQ(systemCalls.connects, 3);
}

TEST_F(ConnectTest, LinkThatGoesDownAgainComesBackAgain) {
    listener_.open();
    esaLinkOpen();
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(listener_.accept());
        listener_.drop();
        EXPECT_FALSE(esaMmsgReceive());
        EXPECT_EQ(takeFaults().size(), 1U);
        EXPECT_EQ(passesToConnect(), 10);
    }
}
