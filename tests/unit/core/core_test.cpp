// SPDX-License-Identifier: Apache-2.0
// The process from its arguments to its loop: start-up, personality, timers and passes, critical
// faults. Time is the fakes': a select that would wait comes back at once.
#include <algorithm>
#include <array>
#include <csetjmp>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <random>
#include <regex>

#include "chassis/table.h"
#include "esamain.h"
#include "link/esa_mmsg.h"
#include "link/esa_startup.h"
#include "ses/esa_dispatch.h"
#include "start/esa_init.h"
#include "state/chassis.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/fake_system_calls.h"
#include "tests/support/hex.h"
#include "tests/support/personality_dir.h"
#include "tests/support/script.h"
#include "tests/support/switch_listener.h"

// ---- what the process stands on, in the test's hands ----

static Lines events;  // what the stand-ins were called for
static MPU_PARAMS_t area;
static bool areaAttaches;
static ESA_CODE_e initResult;

const MPU_PARAMS_t* pMpuParams = nullptr;
const MPU_PARAMS_t* MPU_getMpuParams(int key) {
    events.push_back("area of key " + std::to_string(key));
    pMpuParams = areaAttaches ? &area : nullptr;
    return pMpuParams;
}

void esaMmsgMsgProc(MMSG_t* message) {
    events.push_back("dispatched " + std::to_string(U16_t{message->mmch.mmsg_length}) + " bytes");
}

static ESA_CODE_e backendInit() {
    events.push_back("bring-up");
    return initResult;
}
static void backendPoll() {
    events.push_back("poll");
}

// The shipped rows, but what they bring up and poll only says so.
EsaChassisTable_t esaChassisTable() {
    static const auto watched = [](EsaChassis_t row) {
        if (row.init) {
            row.init = backendInit;
            row.initSuccessText = "Bring-up succeeds.";
            row.initFailureText = "Bring-up fails, %s.";
            row.poll = backendPoll;
        }
        return row;
    };
#define WATCHED(type, row) watched(row),
    static const EsaChassis_t rows[] = {ESA_CHASSIS_TABLE(WATCHED)};
#undef WATCHED
    static const auto table = [] {
        std::array<const EsaChassis_t*, std::size(rows)> pointers{};
        std::ranges::transform(rows, pointers.begin(), [](const auto& row) { return &row; });
        return pointers;
    }();
    return table;
}

namespace {

// ---- the process ----

// An enclosure device, the area, and the trace log at level 0x10; nobody listens at first.
class CorePlayer : public Player {
  public:
    CorePlayer() {
        std::signal(SIGPIPE, SIG_IGN);
        systemCalls = {};
        systemCalls.enclosureDevice = "/dev/null";
        area = {};
        area.flags = MPU_K_FLAG_RCP_COMPLETE;
        wireTextSet(area.mmsgDirectory, listener_.directory().c_str());
        wireTextSet(area.logDirectory, listener_.directory().c_str());
        pMpuParams = &area;
        areaAttaches = true;
        initResult = ESA_E_OK;
        esaChassisTableUse(esaChassisTable());
        esaControl = {};
        esaControl.socketFdMSM = -1;
        takeAltRecords();
        static const char* const names[] = {"ESA"};
        TRACE__init(&area, "esa_%02d.log", 1, names);
        TRACE__setTraceLevel(0, 0x10);
        settings();
        startCommands();
        loopCommands();
    }
    ~CorePlayer() override {
        esaLinkDown();
        traceClose();
        pMpuParams = nullptr;
    }

  private:
    static void traceClose() {
        if (traceData.numModLevels != 0) {
            TRACE__done();
        }
    }
    void settings() {
        commands["listen"] = [this](auto&) { listener_.open(); };
        commands["no"] = [](auto& w) {
            areaAttaches = w[1] != "area";
            systemCalls.enclosureDevice = w[1] == "device" ? "" : "/dev/null";
        };
        commands["flags"] = [](auto& w) { area.flags = w.u32(1); };
        commands["bring-up"] = [](auto& w) { initResult = static_cast<ESA_CODE_e>(w.number(1)); };
        commands["type"] = [](auto& w) { esaControl.enclosureType = w.u8(1); };
    }
    void startCommands() {
        // As far as the first wait of the loop.
        commands["main"] = [this](auto& w) {
            static std::vector<std::string> arguments;  // ProgName points into them
            arguments.assign(w.all.begin() + 1, w.all.end());
            std::vector<char*> argv;
            for (std::string& argument : arguments) {
                argv.push_back(argument.data());
            }
            argv.push_back(nullptr);
            std::signal(SIGPIPE, SIG_DFL);
            traceClose();
            static std::jmp_buf loopReached;
            systemCalls.onSelect = [] { std::longjmp(loopReached, 1); };
            if (setjmp(loopReached) == 0) {
                say("exit ", esaMain(static_cast<int>(arguments.size()), argv.data()));
            } else {
                say("loop");
            }
            systemCalls.onSelect = nullptr;
            EXPECT_EQ(std::signal(SIGPIPE, SIG_IGN), SIG_IGN);
            EXPECT_STREQ(ProgName, arguments.empty() ? "" : "esa");
        };
        commands["init"] = [this](auto&) { say("sent ", esaInit()); };
        // wait N: the flag is set after N sleeps.
        commands["wait"] = [this](auto& w) {
            area.flags = w.number(1) == 0 ? ~0U : ~MPU_K_FLAG_RCP_COMPLETE;
            systemCalls.onSleep = [sleeps = 0, last = w.number(1)]() mutable {
                area.flags |= ++sleeps == last ? MPU_K_FLAG_RCP_COMPLETE : 0;
            };
            esaRcpCompleteWait(&area);
            say("slept ", systemCalls.sleptSec, " s");
        };
        commands["file"] = [this](auto& w) { dir_.write(w.from(1)); };
        commands["back-end"] = [](auto&) { esaBackendInit(); };
    }
    void loopCommands() {
        // A running loop with a back-end.
        commands["loop"] = [this](auto&) {
            esaLinkOpen();
            esaControl.enclosureType = KORVO_E_CHASSIS_KORVO_VSC055;
            esaControl.i2cConnected = 1;
            esaControl.selectTimeout = {1, 0};
            esaControl.pollTimeout = {10, 0};
            takeAltRecords();
            silence();
        };
        commands["pass"] = [this](auto& w) {
            for (int pass = 1; pass <= std::max(w.number(1), 1); ++pass) {
                esaLoopPass();
                for (const std::string& event : std::exchange(events, {})) {
                    say(event, " in pass ", pass);
                }
                if (accept()) {
                    say("connected in pass ", pass);
                }
            }
        };
        commands["arrive"] = [this](auto& w) {
            for (int n = 0; n < w.number(2); ++n) {
                Bytes message(w.u32(1), 0x5A);
                message.at(10) = 0;
                message.at(11) = w.u8(1);
                listener_.send(message);
            }
        };
        // The beginning of a message, `uses` microseconds after a pass began; how often it is
        // waited for the rest.
        commands["half"] = [this](auto&) { listener_.send(Bytes(40)); };
        commands["uses"] = [](auto& w) { systemCalls.selectUses = w.number(1); };
        commands["waits"] = [this](auto&) { say(std::exchange(systemCalls.polls, 0), " waits"); };
        commands["gone"] = [this](auto&) {
            std::filesystem::remove(listener_.directory() + "/esadapter");
            commands["drop"](Words(""));
        };
        commands["drop"] = [this](auto&) {
            listener_.drop();
            accepted_ = false;
        };
        commands["selecterror"] = [](auto& w) { systemCalls.selectError = w.number(1); };
        commands["connected"] = [](auto& w) { esaControl.i2cConnected = w.u8(1); };
        commands["timer"] = [this](auto& w) {
            esaControl.pollTimeout = {w.u32(1) / 1000000, w.u32(1) % 1000000};
            esaControl.selectTimeout = {w.u32(2) / 1000000, w.u32(2) % 1000000};
            esaPollTimeoutProcess();
            say(esaControl.pollTimeout.sec, " s ", esaControl.pollTimeout.usec, " us");
        };
        commands["report"] = [](auto& w) {
            esaControl.reportTimeoutUserInput = w.u32(1);
            esaControl.reportTimeout = {esaControl.reportTimeoutUserInput, 0};
        };
        commands["waited"] = [this](auto&) {
            const int count = systemCalls.selectDescriptors;
            const bool wrong = esaLinkIsUp() && count != esaControl.socketFdMSM + 1;
            say(std::exchange(systemCalls.selects, 0), " selects of ",
                systemCalls.selectMicroseconds, " us, ",
                wrong        ? "another"
                : count == 0 ? "nothing"
                             : "link",
                " watched");
        };
        commands["complete"] = [](auto&) { esaInitCompleteSend(); };
        commands["mail"] = [](auto&) { esaEmailNotificationMmsgToStartupSend(); };
        commands["led"] = [](auto& w) {
            esaControl.compositeFaultStatus = w.u32(2);
            esaCompositeFaultMmsgToStartupSend(w.number(1) != 0 ? ESA_E_GENERR : ESA_E_OK);
        };
    }

    std::filesystem::path log() const { return listener_.directory() + "/esa_01.log"; }
    void silence() { shown_ = std::filesystem::file_size(log()); }
    // True when the service has connected anew.
    bool accept() { return !accepted_ && esaLinkIsUp() && (accepted_ = listener_.accept()); }

    // What the stand-ins were called for, faults, the trace log's texts without what differs in
    // each run, and the messages sent, with the data of events.
    void finish() override {
        say(std::exchange(events, {}));
        say(takeFaults());
        std::ifstream file(log());
        shown_ = std::min(shown_, std::filesystem::file_size(log()));
        file.seekg(static_cast<std::streamoff>(shown_));
        static const std::pair<std::regex, const char*> same[] = {
            {std::regex(R"(^[A-Z][a-z]{2} [ \d]\d [\d:]{8}  \w+:\d+:  )"), ""},
            {std::regex(R"(^0x\w{8}| socket \[-?\d+\]| \[/tmp/[^\]]*/\.\.)"), "@"}};
        for (std::string line; std::getline(file, line);) {
            for (const auto& [differs, text] : same) {
                line = std::regex_replace(line, differs, text);
            }
            say(line);
        }
        silence();
        accept();
        for (const Bytes& message : listener_.take()) {
            say(messageNames({message}));
            say(hexRows({message.begin() + (message.size() == 360 ? 216 : 64), message.end()}));
        }
    }

    SwitchListener listener_;
    PersonalityDir dir_;
    std::uintmax_t shown_ = 0;
    bool accepted_ = false;
};

}  // namespace

TEST(Core, StartUpAndLoopComeOutAsWritten) {
    scriptPlay<CorePlayer>(CORE_TESTS "/start.txt");
    scriptPlay<CorePlayer>(CORE_TESTS "/loop.txt");
}

TEST(Core, ArgumentsDecideHowFarItGoes) {
    const auto said = [](const std::string& arguments) {
        CorePlayer player;
        player.run("no area");
        return player.run("main" + arguments);
    };
    const std::string begin = "main(): Start the Enclosure Services Adapter.";
    for (const char* arguments : {"", " ./esa"}) {
        EXPECT_EQ(said(arguments), "exit 1\n" + begin + "main(): Arguments few than 2.\n");
    }
    for (const char* key : {"99", "0", "-5", "abc", "0x63", "0143", "-2147483649"}) {
        EXPECT_EQ(said(std::string(" /usr/sbin/esa ") + key),
                  "exit 2\n" + begin + "main(): shared memory key less than 100.\n");
    }
    const char* const keys[] = {"100", "0x64", "0144", "101st", "4294967396"};
    const char* const numbers[] = {"100", "100", "100", "101", "2147483647"};
    for (std::size_t n = 0; n < std::size(keys); ++n) {
        EXPECT_EQ(said(std::string(" a/b/esa ") + keys[n]),
                  std::string("exit 3\narea of key ") + numbers[n] + "\n" + begin +
                      "\nesa: Unable to share parameters.esa: Giving up.\n");
    }
}

// Values go out in pairs that are not masked: a high one spills into the other half.
TEST(Core, PersonalityGoesOutInAnEvent) {
    auto random = [engine = std::mt19937(1)]() mutable { return static_cast<int>(engine() >> 1); };
    std::vector<std::string> names = {"fanSpeedDivisor", "overheatTemperatureLimit"};
    for (const char* step : {"25To50", "50To75", "75To100", "100To75", "75To50", "50To25"}) {
        names.push_back("fanPwm" + std::string(step) + "TemperatureThreshold");
    }
    names.insert(names.end(), {"fanFaultRpmLimit", "fanPwmLoadMinimum"});
    for (int n = 0; n < 20; ++n) {
        std::string text = R"("PeltoTolvex" "coolingMaxNumber" value="44")";
        Bytes data(144);
        data[0] = 5;    // enclosure type
        data[15] = 44;  // fans
        data[59] = 11;  // information
        U32_t low = 0;
        for (std::size_t key = 0; key < names.size(); ++key) {
            const U32_t value = random() % (key == 0 ? 256 : n % 3 == 0 ? 0x7FFFFFFF : 0x10000);
            text += " \"" + names[key] + "\" value=\"" + std::to_string(value) + "\"";
            const U32_t pair = low | value << 16;
            for (std::size_t byte = 0; byte < 4 && key % 2 == 1; ++byte) {
                data[112 + key / 2 * 4 + byte] = static_cast<U8_t>(pair >> (24 - 8 * byte));
            }
            low = value;
        }
        std::string event = "event 10/1\n";
        std::ranges::for_each(hexRows(data), [&](const auto& row) { event += row + "\n"; });
        CorePlayer player;
        player.run("listen");
        player.run("file " + text);
        const std::string said = player.run("init");
        EXPECT_TRUE(said.starts_with("sent 360\n") && said.ends_with(event)) << said << event;
    }
}

TEST(Core, OverheatLimitOf0IsWarnedOfWhereThereIsABackEnd) {
    const std::pair<const char*, bool> rows[] = {
        {"\"PeltoTolvex\"", true},
        {"\"Xyratex 2U12ATX\"", true},
        {"\"PeltoTolvex\" \"overheatTemperatureLimit\" value=\"1\"", false},
        {"\"Korvo Standard\"", false},
        {"text", false}};
    const char* const warning =
        "Overheat Temperature Limit is 0, every temperature above it is an overheat.\n";
    for (const auto& [text, isWarned] : rows) {
        CorePlayer player;
        player.run(std::string("file ") + text);
        EXPECT_EQ(player.run("init").find(warning) != std::string::npos, isWarned) << text;
    }
}

// Every ten seconds for three minutes.
TEST(Core, PlatformIsWaitedFor) {
    for (int sleeps = -1; sleeps < 20; ++sleeps) {
        const bool comes = sleeps >= 0 && sleeps < 18;
        const std::string slept = std::to_string(comes ? sleeps : 18);
        CorePlayer player;
        EXPECT_EQ(player.run("wait " + std::to_string(sleeps)),
                  "slept " + std::to_string(std::stoi(slept) * 10) + " s\n" +
                      (comes ? "RCP Complete flag is marked now.\n" : "") +
                      "rcpWaitRetryCount = [" + slept + "]\n");
    }
}

// Less than a pass left is due; otherwise a pass is taken off, in microseconds.
TEST(Core, CountdownLosesAPassOrIsDue) {
    auto random = [engine = std::mt19937(1)]() mutable { return static_cast<int>(engine() >> 1); };
    CorePlayer player;
    player.run("loop");
    for (int n = 0; n < 300; ++n) {
        const unsigned pass = 1 + random() % 3000000;
        const unsigned left = n % 4 == 0 ? pass + random() % 3 - 1 : random() % 10000000;
        const bool due = left < pass, polls = n % 3 != 0;
        player.run(polls ? "type 5" : n % 2 == 0 ? "type 9" : "type 1");
        const unsigned after = due ? 10000000 : left - pass;
        EXPECT_EQ(player.run("timer " + std::to_string(left) + " " + std::to_string(pass)),
                  std::to_string(after / 1000000) + " s " + std::to_string(after % 1000000) +
                      " us\n" + (due && polls ? "poll\n" : ""));
    }
}

TEST(Core, InitialisationSetsTheDefaultsAndClearsAllElse) {
    CorePlayer player;
    std::memset(&esaControl, 0xEE, sizeof esaControl);
    player.run("init");
    EsaControl_t expected;
    std::memset(&expected, 0, sizeof expected);
    expected.socketFdMSM = esaControl.socketFdMSM;
    expected.socketAddressMSM = esaControl.socketAddressMSM;
    expected.i2cFileFd = esaControl.i2cFileFd;
    expected.enclosureType = 1;
    expected.elementTypeMaxNumber = 5;
    expected.deviceMaxNumber = 16;
    expected.powerSupplyMaxNumber = 3;
    expected.audibleAlarmMaxNumber = 1;
    std::memcpy(expected.sesTypeDescriptorList, "\x01\x02\x03\x04\x06", 5);
    expected.esaDebug = 1;
    expected.pollTimeout = {10, 0};
    std::memcpy(expected.esaWorkSpace, esaControl.esaWorkSpace, sizeof expected.esaWorkSpace);
    EXPECT_EQ(std::memcmp(&expected, &esaControl, sizeof expected), 0);
}
