// SPDX-License-Identifier: Apache-2.0
// The process: its arguments and exit codes, the order of start-up, what a pass does and when the
// timers fire. Time is the fakes': a select that would wait comes back at once.
#include "esamain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "backend/chassis.h"
#include "core/esa_init.h"
#include "msg/esa_dispatch.h"
#include "msg/esa_mmsg.h"
#include "msg/esa_startup.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/fake_system_calls.h"
#include "tests/support/hex.h"
#include "tests/support/personality_dir.h"
#include "tests/support/switch_listener.h"
#include "tests/support/switch_peer.h"
#include "tests/support/trace_capture.h"
#include "tests/unit/core/bare_chassis.h"

using testing::ElementsAre;
using testing::IsEmpty;

// ---- what the process stands on, in the test's hands ----

namespace {

MPU_PARAMS_t area;
bool areaAttaches = true;
int attachedKey = 0;

ESA_CODE_e initResult = ESA_E_OK;
int inits = 0;
int polls = 0;

// Messages handed to the dispatcher, as it sees them.
std::vector<Bytes> dispatched;
std::function<void()> onDispatch;

ESA_CODE_e backendInit() {
    ++inits;
    return initResult;
}
void backendPoll() {
    ++polls;
}

}  // namespace

const EsaChassis_t* esaChassis() {
    static const EsaChassis_t none =
        bareChassisRow(KORVO_E_CHASSIS_NONE, ESA_NOT_FITTED, ESA_NOT_FITTED);
    static const EsaChassis_t fitted =
        bareChassisRow(KORVO_E_CHASSIS_KORVO_VSC055, backendInit, backendPoll);
    switch (esaControl.enclosureType) {
        case KORVO_E_CHASSIS_NONE:
            return &none;
        case KORVO_E_CHASSIS_KORVO_VSC055:
            return &fitted;
        default:
            return nullptr;
    }
}

void esaMmsgMsgProc(MMSG_t* message) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(message);
    dispatched.emplace_back(bytes, bytes + message->mmch.mmsg_length);
    if (onDispatch) {
        onDispatch();
    }
}

const MPU_PARAMS_t* pMpuParams = nullptr;
const MPU_PARAMS_t* MPU_getMpuParams(int key) {
    attachedKey = key;
    pMpuParams = areaAttaches ? &area : nullptr;
    return pMpuParams;
}

namespace {

// Start-up: a switch that listens, an enclosure device, a directory for the trace log.
class StartTest : public testing::Test {
  protected:
    StartTest() {
        systemCalls = {};
        systemCalls.enclosureDevice = "/dev/null";
        std::memset(&area, 0, sizeof area);
        area.flags = MPU_K_FLAG_RCP_COMPLETE;
        wireTextSet(area.mmsgDirectory, listener_.directory().c_str());
        wireTextSet(area.logDirectory, listener_.directory().c_str());
        areaAttaches = true;
        attachedKey = 0;
        inits = 0;
        initResult = ESA_E_OK;
        listener_.open();
        takeAltRecords();
    }
    ~StartTest() override {
        esaLinkDown();
        TRACE__done();
    }
    int run(std::vector<std::string> arguments) {
        arguments_ = std::move(arguments);
        std::vector<char*> argv;
        for (std::string& argument : arguments_) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        return esaMain(static_cast<int>(arguments_.size()), argv.data());
    }
    // Start-up as far as the first wait of the loop.
    void runToTheLoop() {
        struct LoopReached {};
        systemCalls.onSelect = [] { throw LoopReached(); };
        EXPECT_THROW(run({"esa", "100"}), LoopReached);
        systemCalls.onSelect = nullptr;
    }
    // The trace log's texts, without what stands in front of them.
    std::vector<std::string> log() {
        std::ifstream file(listener_.directory() + "/esa_01.log");
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            const std::size_t text = line.find(":  ");
            lines.push_back(text == line.npos ? line : line.substr(text + 3));
        }
        return lines;
    }

    SwitchListener listener_;
    PersonalityDir dir_;
    std::vector<std::string> arguments_;  // ProgName points into them
};

// A running loop with a chassis of type 5 and a connected switch.
class LoopTest : public testing::Test {
  protected:
    LoopTest() {
        std::signal(SIGPIPE, SIG_IGN);
        systemCalls = {};
        esaControl.enclosureType = KORVO_E_CHASSIS_KORVO_VSC055;
        esaControl.i2cConnected = 1;
        esaControl.selectTimeout = {1, 0};
        esaControl.pollTimeout = {10, 0};
        polls = 0;
        dispatched.clear();
        onDispatch = nullptr;
        takeAltRecords();
    }
    ~LoopTest() override { esaLinkDown(); }
    void passes(int count) {
        for (int pass = 0; pass < count; ++pass) {
            esaLoopPass();
        }
    }
    // Passes until the next poll.
    int passesToPoll() {
        const int before = polls;
        int pass = 0;
        while (polls == before && pass < 1000) {
            esaLoopPass();
            ++pass;
        }
        return pass;
    }

    struct Cleared {
        Cleared() { esaControl = {}; }
    } cleared_;  // before the peer enters its descriptor
    SwitchPeer peer_;
};

Bytes request(std::uint16_t length = 72) {
    Bytes message(length, 0x5A);
    message.at(10) = static_cast<std::uint8_t>(length >> 8);
    message.at(11) = static_cast<std::uint8_t>(length);
    return message;
}

}  // namespace

// ---- arguments ----

TEST_F(StartTest, TooFewArgumentsEndWith1) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(run({"esa"}), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "main(): Start the Enclosure Services Adapter."
              "main(): Arguments few than 2.\n");
    EXPECT_EQ(attachedKey, 0);
}

TEST_F(StartTest, KeyBelow100EndsWith2) {
    for (const char* key : {"99", "0", "-5", "abc", "", "0x63", "0143", "-2147483649"}) {
        SCOPED_TRACE(key);
        testing::internal::CaptureStdout();
        EXPECT_EQ(run({"esa", key}), 2);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "main(): Start the Enclosure Services Adapter."
                  "main(): shared memory key less than 100.\n");
        EXPECT_EQ(attachedKey, 0);
    }
}

TEST_F(StartTest, KeyIsReadInAnyBaseAndAnAreaThatDoesNotAttachEndsWith3) {
    areaAttaches = false;
    struct Case {
        const char* text;
        int key;
    };
    for (const Case& c : {Case{"100", 100}, Case{"0x64", 100}, Case{"0144", 100},
                          Case{"101st", 101}, Case{"4294967396", 2147483647}}) {
        SCOPED_TRACE(c.text);
        testing::internal::CaptureStderr();
        EXPECT_EQ(run({"/usr/sbin/esa", c.text}), 3);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "esa: Unable to share parameters.esa: Giving up.");
        EXPECT_EQ(attachedKey, c.key);
        EXPECT_EQ(shmKey, c.key);
    }
}

TEST_F(StartTest, ProgramNameIsWhatFollowsTheLastSlash) {
    for (const char* path : {"esa", "./esa", "/usr/sbin/esa", "a/b/esa"}) {
        run({path});
        EXPECT_STREQ(ProgName, "esa") << path;
    }
}

TEST_F(StartTest, BrokenPipesAreIgnoredFromTheFirstMoment) {
    std::signal(SIGPIPE, SIG_DFL);
    run({"esa"});
    EXPECT_EQ(std::signal(SIGPIPE, SIG_IGN), SIG_IGN);
}

// ---- start-up ----

TEST_F(StartTest, StepsRunInOrderAndAreTraced) {
    area.flags = MPU_K_FLAG_RCP_COMPLETE | MPU_K_FLAG_TRACE_VERBOSE;
    dir_.write("\"Vitesse VSC055 Custom\" \"overheatTemperatureLimit\" value=\"60\"");
    runToTheLoop();
    ASSERT_TRUE(listener_.accept());
    const std::vector<Bytes> messages = listener_.take();
    EXPECT_THAT(messageNames(messages), ElementsAre("event 10/1", "init", "event 10/1"));
    EXPECT_EQ(hexText(Bytes(messages.at(1).begin() + 8, messages.at(1).end())), hexText(R"(
        0E 01 0040  0C000001  21 00 00 00
        00040000 00000000 00000000 00000000
        00000000 00000000 00000000 00000000 00000000 00000000 00000000)"));
    EXPECT_EQ(esaControl.selectTimeout.sec, 1U);
    EXPECT_EQ(esaControl.selectTimeout.usec, 0U);
    const std::vector<std::string> lines = log();
    const auto from = std::ranges::find(lines, "Overheat Temperature Limit = [60].");
    EXPECT_THAT(
        std::vector(from, lines.end()),
        ElementsAre("Overheat Temperature Limit = [60].",
                    "Finish initializing the Enclosure Services Adapter internal data structures.",
                    "ESA finishes initialization and sends the message to the Startup process.",
                    "RCP Complete flag is marked now.", "rcpWaitRetryCount = [0]",
                    "Bring-up succeeds."));
}

TEST_F(StartTest, TraceFileStaysEmptyWithoutTheFlag) {
    runToTheLoop();
    EXPECT_TRUE(std::filesystem::exists(listener_.directory() + "/esa_01.log"));
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(StartTest, WithoutTheSwitchStartUpGoesOnToTheLoop) {
    wireTextSet(area.mmsgDirectory, "/nonexistent");
    dir_.write("\"Vitesse VSC055 Custom\"");
    runToTheLoop();
    EXPECT_THAT(takeFaults(),
                ElementsAre("esaInit(): Linux connect function fails for MSM/ESA socket!"));
    EXPECT_EQ(inits, 1);
}

TEST_F(StartTest, RcpWaitLooksEveryTenSecondsForThreeMinutes) {
    struct Case {
        int setAfterSleeps;  // -1: never
        unsigned slept;
        std::vector<std::string> lines;
    };
    const Case cases[] = {
        {0, 0, {"RCP Complete flag is marked now.", "rcpWaitRetryCount = [0]"}},
        {3, 30, {"RCP Complete flag is marked now.", "rcpWaitRetryCount = [3]"}},
        {17, 170, {"RCP Complete flag is marked now.", "rcpWaitRetryCount = [17]"}},
        {18, 180, {"rcpWaitRetryCount = [18]"}},
        {-1, 180, {"rcpWaitRetryCount = [18]"}},
    };
    TraceCapture trace;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.setAfterSleeps);
        int sleeps = 0;
        systemCalls.sleptSec = 0;
        area.flags = c.setAfterSleeps == 0 ? ~0U : ~MPU_K_FLAG_RCP_COMPLETE;
        systemCalls.onSleep = [&] {
            if (++sleeps == c.setAfterSleeps) {
                area.flags = MPU_K_FLAG_RCP_COMPLETE;
            }
        };
        esaRcpCompleteWait(&area);
        EXPECT_EQ(systemCalls.sleptSec, c.slept);
        EXPECT_EQ(trace.take(), c.lines);
    }
}

TEST_F(LoopTest, LostNotificationIsAFaultOfMain) {
    peer_.close();
    esaInitCompleteSend();
    EXPECT_THAT(takeFaults(),
                ElementsAre("main(): Linux send function fails, sendSize = [64] is wrong"));
    EXPECT_TRUE(esaMmsgIsUndelivered(SUS_E_MMSG_NOTIFY_INIT_COMPLETE));
}

// ---- the back-end ----

TEST_F(LoopTest, BackEndOutcomeIsTracedAndReported) {
    struct Case {
        U8_t type;
        ESA_CODE_e result;
        std::vector<std::string> events;
        std::vector<std::string> lines;
        U32_t information;
        U32_t generalUse1;
    };
    const Case cases[] = {
        {1, ESA_E_OK, {"event 10/1"}, {}, 8, 0},
        {5, ESA_E_OK, {"event 10/1"}, {"Bring-up succeeds."}, 2, 0},
        {5, ESA_E_GENERR_I2C_UNAVAILABLE, {}, {"Bring-up fails, %s."}, 0, 0},
        {5, ESA_E_GENERR, {}, {"Bring-up fails, %s."}, 0, 0},
        {0, ESA_E_OK, {"event 10/2"}, {}, 2, 0xFFFFFFFF},
        {8, ESA_E_OK, {"event 10/2"}, {}, 2, 0xFFFFFFFF},
    };
    TraceCapture trace;
    for (const Case& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.type));
        esaControl.enclosureType = c.type;
        initResult = c.result;
        esaBackendInit();
        EXPECT_EQ(trace.take(), c.lines);
        const std::vector<Bytes> messages = peer_.take();
        EXPECT_EQ(messageNames(messages), c.events);
        if (!messages.empty()) {
            EXPECT_EQ(messages[0].at(216), c.type);
            EXPECT_EQ(be32At(messages[0], 64 + 208), c.information);
            EXPECT_EQ(be32At(messages[0], 64 + 264), c.generalUse1);
        }
    }
}

// ---- the timers ----

TEST_F(LoopTest, PollComesOnEveryEleventhPass) {
    EXPECT_EQ(passesToPoll(), 11);
    EXPECT_EQ(passesToPoll(), 11);
}

TEST_F(LoopTest, PassEndedByAMessageCountsLikeAnyOther) {
    for (int n = 0; n < 10; ++n) {
        peer_.send(request());
    }
    EXPECT_EQ(passesToPoll(), 11);
    EXPECT_EQ(dispatched.size(), 10U);
}

TEST_F(LoopTest, NoPollWithoutConnectedDevicesOrBackEndButTheTimerIsArmedAgain) {
    struct Case {
        U8_t type;
        U8_t connected;
    };
    for (const Case& c : {Case{5, 0}, Case{5, 2}, Case{1, 1}, Case{0, 1}, Case{9, 1}}) {
        esaControl.enclosureType = c.type;
        esaControl.i2cConnected = c.connected;
        esaControl.pollTimeout = {0, 999999};
        passes(1);
        EXPECT_EQ(polls, 0);
        EXPECT_EQ(esaControl.pollTimeout.sec, 10U);
        EXPECT_EQ(esaControl.pollTimeout.usec, 0U);
    }
}

TEST_F(LoopTest, CountdownBorrowsFromTheSeconds) {
    struct Case {
        MPU_TIME_t countdown;
        MPU_TIME_t pass;
        MPU_TIME_t left;  // 10 s: it was due
    };
    for (const Case& c :
         {Case{{10, 0}, {1, 0}, {9, 0}}, Case{{1, 0}, {1, 0}, {0, 0}},
          Case{{0, 0}, {1, 0}, {10, 0}}, Case{{0, 999999}, {1, 0}, {10, 0}},
          Case{{1, 1}, {0, 2}, {0, 999999}}, Case{{2, 250000}, {1, 500000}, {0, 750000}},
          Case{{1, 500000}, {1, 500000}, {0, 0}}, Case{{1, 499999}, {1, 500000}, {10, 0}},
          Case{{2, 0}, {1, 999999}, {0, 1}}}) {
        esaControl.pollTimeout = c.countdown;
        esaControl.selectTimeout = c.pass;
        esaPollTimeoutProcess();
        EXPECT_EQ(esaControl.pollTimeout.sec, c.left.sec);
        EXPECT_EQ(esaControl.pollTimeout.usec, c.left.usec);
    }
}

TEST_F(LoopTest, ReportGoesOutWithItsPeriodAndIsOffAtZero) {
    passes(50);
    EXPECT_THAT(peer_.take(), IsEmpty());
    esaControl.reportTimeoutUserInput = 5;
    esaControl.reportTimeout = {5, 0};
    passes(5);
    EXPECT_THAT(peer_.take(), IsEmpty());
    passes(1);
    EXPECT_THAT(messageNames(peer_.take()), ElementsAre("event 10/1"));
    passes(11);
    EXPECT_THAT(messageNames(peer_.take()), ElementsAre("event 10/1"));
}

// ---- a pass ----

TEST_F(LoopTest, RequestCostsFourCalls) {
    onDispatch = [] {
        auto* reply = wireView<MMCH_t>(esaControl.esaWorkSpace);
        esaMmsgHeaderInit(reply, MMSG_E_PROTOCOL_SES, 28, 136);
        esaMmsgSend("esaSndDiagPage()");
    };
    peer_.send(request());
    passes(1);
    EXPECT_EQ(peer_.take().size(), 1U);
    EXPECT_EQ(systemCalls.selects, 1);
    EXPECT_EQ(systemCalls.receives, 2);
    EXPECT_EQ(systemCalls.sends, 1);
    EXPECT_EQ(systemCalls.polls, 0);
}

TEST_F(LoopTest, EveryWaitAsksForAWholeSelectTimeout) {
    for (int pass = 0; pass < 3; ++pass) {
        passes(1);
        EXPECT_EQ(systemCalls.selectMicroseconds, 1000000);
        EXPECT_EQ(systemCalls.selectDescriptors, esaControl.socketFdMSM + 1);
    }
    esaControl.selectTimeout = {2, 345678};
    passes(1);
    EXPECT_EQ(systemCalls.selectMicroseconds, 2345678);
}

TEST_F(LoopTest, MessageIsDispatchedOnce) {
    peer_.send(request(80));
    passes(5);
    EXPECT_THAT(dispatched, ElementsAre(request(80)));
}

TEST_F(LoopTest, HalfAMessageDoesNotStopThePolls) {
    peer_.send(Bytes(20, 0));
    EXPECT_EQ(passesToPoll(), 11);
    EXPECT_THAT(dispatched, IsEmpty());
    EXPECT_EQ(systemCalls.polls, 11 * 100);  // short waits, a second of them in each pass
    EXPECT_THAT(takeFaults(), IsEmpty());
}

TEST_F(LoopTest, InterruptedSelectIsAFaultAndThePassGoesOn) {
    systemCalls.selectError = EINTR;
    peer_.send(request());
    passes(1);
    EXPECT_THAT(takeFaults(), ElementsAre("main(): Linux select function fails"));
    EXPECT_THAT(dispatched, IsEmpty());
    EXPECT_EQ(esaControl.pollTimeout.sec, 9U);
    passes(1);
    EXPECT_EQ(dispatched.size(), 1U);
    EXPECT_THAT(takeFaults(), IsEmpty());
}

TEST_F(LoopTest, FailedSelectTakesTheLinkDown) {
    systemCalls.selectError = EBADF;
    passes(1);
    EXPECT_THAT(takeFaults(), ElementsAre("main(): Linux select function fails"));
    EXPECT_FALSE(esaLinkIsUp());
    EXPECT_EQ(esaControl.pollTimeout.sec, 9U);
}

TEST_F(LoopTest, WithTheSwitchGonePassesKeepTheirRhythmAndThePollsGoOn) {
    peer_.close();
    EXPECT_EQ(passesToPoll(), 11);
    EXPECT_EQ(passesToPoll(), 11);
    EXPECT_EQ(takeFaults().size(), 1U);
    EXPECT_EQ(systemCalls.selects, 22);
    EXPECT_EQ(systemCalls.selectDescriptors, 0);
    EXPECT_EQ(systemCalls.selectMicroseconds, 1000000);
    EXPECT_EQ(systemCalls.receives, 1);
}

// ---- the switch comes back ----

namespace {

class ReturnTest : public LoopTest {
  protected:
    ReturnTest() {
        esaLinkDown();
        std::memset(&area, 0, sizeof area);
        wireTextSet(area.mmsgDirectory, listener_.directory().c_str());
        pMpuParams = &area;
    }
    // Connects at once or, while nobody listens, stays down.
    void linkOpen() {
        esaLinkOpen();
        takeAltRecords();
    }
    std::vector<std::string> sentOnReturn() {
        passes(10);
        return listener_.accept() ? messageNames(listener_.take())
                                  : std::vector<std::string>{"down"};
    }

    SwitchListener listener_;
};

}  // namespace

TEST_F(ReturnTest, WhatTheStartUpProcessMissedIsSent) {
    linkOpen();
    esaInitCompleteSend();
    esaControl.compositeFaultStatus = 0x80000004;
    esaCompositeFaultMmsgToStartupSend(ESA_E_GENERR);
    esaEmailNotificationMmsgToStartupSend();
    EXPECT_THAT(sentOnReturn(), ElementsAre("down"));
    listener_.open();
    EXPECT_THAT(sentOnReturn(), ElementsAre("init", "led on"));
    passes(30);
    EXPECT_THAT(listener_.take(), IsEmpty());
    EXPECT_THAT(takeFaults(), IsEmpty());
}

TEST_F(ReturnTest, LedIsAskedForAsItShouldBeNow) {
    linkOpen();
    esaCompositeFaultMmsgToStartupSend(ESA_E_GENERR);
    esaCompositeFaultMmsgToStartupSend(ESA_E_OK);
    esaCompositeFaultMmsgToStartupSend(ESA_E_GENERR);
    esaControl.compositeFaultStatus = 0;
    listener_.open();
    EXPECT_THAT(sentOnReturn(), ElementsAre("led off"));
}

TEST_F(ReturnTest, WhatWasDeliveredIsNotSentAgain) {
    listener_.open();
    linkOpen();
    ASSERT_TRUE(listener_.accept());
    esaInitCompleteSend();
    esaCompositeFaultMmsgToStartupSend(ESA_E_GENERR);
    EXPECT_THAT(messageNames(listener_.take()), ElementsAre("init", "led on"));
    listener_.drop();
    passes(1);
    EXPECT_FALSE(esaLinkIsUp());
    EXPECT_THAT(sentOnReturn(), IsEmpty());
}

TEST_F(ReturnTest, MessagesOfTheNewLinkAreRead) {
    linkOpen();
    listener_.open();
    EXPECT_THAT(sentOnReturn(), IsEmpty());
    listener_.send(request());
    passes(1);
    EXPECT_THAT(dispatched, ElementsAre(request()));
    EXPECT_EQ(systemCalls.selectDescriptors, esaControl.socketFdMSM + 1);
}
