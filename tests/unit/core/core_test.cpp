// SPDX-License-Identifier: Apache-2.0
// The process from its arguments to its loop: start-up, personality, timers and passes, critical
// faults. Time is the fakes': a select that would wait comes back at once.
#include <algorithm>
#include <array>
#include <csetjmp>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <numeric>
#include <regex>

#include "chassis/table.h"
#include "esamain.h"
#include "link/esa_mmsg.h"
#include "link/esa_startup.h"
#include "ses/esa_dispatch.h"
#include "start/esa_init.h"
#include "start/personality.h"
#include "state/chassis.h"
#include "state/esa_fault.h"
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

// ---- a state whose fields are all different ----

template <typename... Fields>
void countUp(U8_t value, Fields&... fields) {
    const auto fill = [&value](U8_t* bytes, std::size_t count) {
        std::iota(bytes, bytes + count, value);
        value = static_cast<U8_t>(value + count);
    };
    (fill(reinterpret_cast<U8_t*>(&fields), sizeof fields), ...);
}

void stateSet() {
    EsaControl_t& c = esaControl;
    c = {};
    c.socketFdMSM = 0x01020304;
    c.socketAddressMSM.sun_family = 1;
    std::strcpy(c.socketAddressMSM.sun_path, "/m/esadapter");
    c.i2cFileFd = -2;
    countUp(0x19, c.sesTypeDescriptorList);
    countUp(0x11, c.enclosureType, c.elementTypeMaxNumber, c.deviceMaxNumber,
            c.powerSupplyMaxNumber, c.coolingMaxNumber, c.temperatureSensorMaxNumber,
            c.audibleAlarmMaxNumber);
    c.pageCodeInRecentSndDiagCmd = 0xFF;
    U32_t overall = 1001;
    for (auto* const field :
         {&c.deviceElementControlOverall, &c.deviceElementStatusOverall,
          &c.powerSupplyElementControlOverall, &c.powerSupplyElementStatusOverall,
          &c.coolingElementControlOverall, &c.coolingElementStatusOverall,
          &c.audibleAlarmElementControlOverall, &c.audibleAlarmElementStatusOverall}) {
        *field = overall++;
    }
    countUp(0x40, c.deviceElementControl, c.deviceElementStatus, c.powerSupplyElementControl,
            c.powerSupplyElementStatus);
    countUp(0x01, c.coolingElementControl, c.coolingElementStatus);
    countUp(0xF0, c.audibleAlarmElementControl, c.audibleAlarmElementStatus);
    countUp(0xE0, c.coolingElementOnOff);
    countUp(0x51, c.vitesse);
    countUp(0x00, c.esaInMsg);
    countUp(0x07, c.esaWorkSpace);
    c.driveFaultLedStatus0 = 0x89ABCDEF;
    c.driveFaultLedStatus1 = 0x12;
    c.powerSupplyStatus = 3;
    c.fanFaultStatus = 0x81;
    std::ranges::copy(std::vector<S16_t>{1, -1, 32767, -32768, 25, 258, 0, -40},
                      c.temperatureSensor);
    std::ranges::copy(std::vector<U32_t>{1, 2, 3, 4, 0x01020304, 0xFFFFFFFF, 0, 9},
                      c.temperatureReportStatus);
    c.alarmState = 4;
    c.compositeFaultStatus = 0x80000004;
    c.selectTimeout = {1, 999};
    c.pollTimeout = {10, 5};
}

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
        personalityCommands();
        loopCommands();
        faultCommands();
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
            if (w[1] == "startup") {
                unsetenv("STARTUP");
            }
        };
        commands["flags"] = [](auto& w) { area.flags = w.u32(1); };
        commands["level"] = [](auto& w) { TRACE__setTraceLevel(0, w.u16(1)); };
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
            int sleeps = 0;
            systemCalls.sleptSec = 0;
            area.flags = w.number(1) == 0 ? ~0U : ~MPU_K_FLAG_RCP_COMPLETE;
            systemCalls.onSleep = [&, last = w.number(1)] {
                area.flags |= ++sleeps == last ? MPU_K_FLAG_RCP_COMPLETE : 0;
            };
            esaRcpCompleteWait(&area);
            say("slept ", systemCalls.sleptSec, " s");
        };
        commands["back-end"] = [](auto&) { esaBackendInit(); };
    }
    void personalityCommands() {
        commands["file"] = [this](auto& w) { dir_.write(w.from(1)); };
        // full N C TEXT: the text ends where the buffer does, and N times C follow.
        commands["full"] = [this](auto& w) {
            const std::string text = w.from(3);
            reread(std::string(8192 - text.size(), ' ') + text + std::string(w.u32(1), w[2][0]));
            esaPersonalityTuningRead();
            silence();
            say(std::strlen(esPersonalityToolkitXmlFilePtr), " bytes, divisor ",
                esaControl.fanSpeedDivisor);
        };
        commands["directory"] = [this](auto&) { std::filesystem::create_directory(dir_.file()); };
        // A path that, cut off at the system's limit, would name the file itself.
        commands["longpath"] = [this](auto&) {
            const std::string path = dir_.file().string();
            setenv("STARTUP", (std::string(4095 - path.size(), '/') + path + "/x").c_str(), 1);
            EXPECT_FALSE(esaPersonalityRead());
            silence();
        };
        commands["read"] = [this](auto&) {
            say(esaPersonalityRead() ? "read" : "not read");
            say(std::strlen(esPersonalityToolkitXmlFilePtr), " bytes");
        };
        commands["chassis"] = [this](auto& w) {
            reread(w.from(1));
            esaPersonalityChassisChoose();
            const EsaControl_t& c = esaControl;
            say(c.enclosureType, ": ", c.deviceMaxNumber, " ", c.powerSupplyMaxNumber, " ",
                hexLine({c.i2cAddressVsc055}), ", ",
                hexLine({c.i2cAddressLM75, c.i2cAddressLM75 + 8}), ", ",
                hexLine({c.i2cAddressW83792ad, c.i2cAddressPca9539, c.i2cAddressW83782d}));
        };
        commands["tuning"] = [this](auto& w) {
            reread(w.from(1));
            esaPersonalityTuningRead();
            const EsaControl_t& c = esaControl;
            std::string all;
            for (const U32_t value :
                 {U32_t{c.fanSpeedDivisor}, U32_t{c.coolingMaxNumber},
                  U32_t{c.temperatureSensorMaxNumber}, c.overheatTemperatureLimit,
                  c.fanPwm25To50TemperatureThreshold, c.fanPwm50To75TemperatureThreshold,
                  c.fanPwm75To100TemperatureThreshold, c.fanPwm100To75TemperatureThreshold,
                  c.fanPwm75To50TemperatureThreshold, c.fanPwm50To25TemperatureThreshold,
                  c.fanFaultRpmLimit, c.fanPwmLoadMinimum}) {
                all += " " + std::to_string(value);
            }
            say("values" + all);
        };
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
        // timer COUNTDOWN PASS, both in microseconds
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
        commands["faults"] = [](auto& w) { esaControl.compositeFaultStatus = w.u32(1); };
        commands["complete"] = [](auto&) { esaInitCompleteSend(); };
        commands["mail"] = [](auto&) { esaEmailNotificationMmsgToStartupSend(); };
        commands["led"] = [](auto& w) {
            esaCompositeFaultMmsgToStartupSend(static_cast<ESA_CODE_e>(w.number(1)));
        };
    }
    void faultCommands() {
        commands["state"] = [](auto&) { stateSet(); };
        commands["path"] = [](auto& w) {
            std::ranges::fill(esaControl.socketAddressMSM.sun_path, w[1][0]);
        };
        // fault FILE LINE FUNCTION TEXT
        commands["fault"] = [this](auto& w) {
            auto expected = esaControl;
            expected.esaDebug = TRUE;
            esaFault(w[1].c_str(), w.number(2), w[3].c_str(), "%s", w.from(4).c_str());
            EXPECT_EQ(std::memcmp(&expected, &esaControl, sizeof expected), 0);
            records_ = takeAltRecords();
            say(records_.size(), " records, message of ", std::strlen(esaDebugMsg));
        };
        commands["record"] = [this](auto& w) {
            const AltRecord& record = records_.at(w.u32(1));
            record.logM ? say("altEventLogM") : say("altEventLog ", record.argument);
            say(hexRows(record.bytes));
        };
    }

    void reread(const std::string& text) {
        esaControl = {};
        esaControl.socketFdMSM = -1;
        dir_.write(text);
        esaPersonalityRead();
        silence();
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
            {std::regex(R"(^(esamain\.cpp:esaFault):\d+)"), "$1"},
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
    std::vector<AltRecord> records_;
    bool accepted_ = false;
};

}  // namespace

TEST(Core, StartUpAndLoopComeOutAsWritten) {
    scriptPlay<CorePlayer>(CORE_TESTS "/start.txt");
    scriptPlay<CorePlayer>(CORE_TESTS "/loop.txt");
}
TEST(Core, PersonalityComesOutAsWritten) {
    scriptPlay<CorePlayer>(CORE_TESTS "/personality.txt");
}
TEST(Core, FaultsComeOutAsWritten) {
    scriptPlay<CorePlayer>(CORE_TESTS "/fault.txt");
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
