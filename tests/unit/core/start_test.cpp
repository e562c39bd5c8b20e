// SPDX-License-Identifier: Apache-2.0
// From the arguments to the loop: what a personality file makes of the service, beside a model, and
// how far start-up goes when something is missing.
#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>
#include <utility>

#include "esa_evl.h"
#include "link/esa_mmsg.h"
#include "start/esa_init.h"
#include "start/personality.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/fake_system_calls.h"
#include "tests/support/trace_capture.h"
#include "tests/unit/core/core.h"

namespace {

// ---- the personality file ----

struct Name {
    const char *name, *traced;
    U8_t type, drives, supplies, vsc055, w83792ad, pca9539;
    const char* lm75;
};
#define TYPE(traced) "Enclosure Type in XML File = [" traced "]"
constexpr char PREQUALIFIED[] = TYPE("VSC055 Based Prequalified Enclosure");
constexpr char LM75[] = "\x4C\x4B\x4A\x4D\x4E\x4F\0";
// In the order in which they win; the last is none.
const Name NAMES[] = {
    {"Korvo Standard", TYPE("ESA_K_NAME_STRING_KORVO_STANDARD"), 1, 16, 3, 0, 0, 0, ""},
    {"Xyratex 2U12ATX", TYPE("ESA_K_NAME_STRING_XYRATEX_2U12ATX"), 2, 12, 2, 0x63, 0, 0, ""},
    {"PeltoTolvex", PREQUALIFIED, 5, 16, 2, 0x41, 0, 0, LM75},
    {"ChenbroRM325", PREQUALIFIED, 5, 16, 2, 0x41, 0, 0, LM75},
    {"ChenbroRM326", PREQUALIFIED, 5, 16, 2, 0x41, 0, 0, LM75},
    {"ASUSi104", PREQUALIFIED, 5, 16, 2, 0x41, 0, 0, LM75},
    {"ASUSi316", PREQUALIFIED, 5, 16, 2, 0x41, 0, 0, LM75},
    {"Accusys3U16ATX", PREQUALIFIED, 5, 16, 2, 0x41, 0, 0, LM75},
    {"Vitesse VSC055 Custom", TYPE("ESA_K_NAME_STRING_VITESSE_VSC055_CUSTOM"), 5, 16, 2, 0x41, 0, 0,
     LM75},
    {"Winbond W83792AD Custom", TYPE("ESA_K_NAME_STRING_WINBOND_W83792AD_CUSTOM"), 7, 16, 2, 0,
     0x2C, 0x74, ""},
    {"Enclosure", "No Enclosure Type in XML File!", 1, 16, 3, 0, 0, 0, ""},
};

struct Key {
    const char *name, *traced;
    U8_t EsaControl_t::*narrow;
    U32_t EsaControl_t::*wide;
    int array = 0x7FFFFFFF;  // elements kept
};
#define NARROW(field, traced, array) \
    { #field, traced, &EsaControl_t::field, nullptr, array }
#define WIDE(field, traced) \
    { #field, traced, nullptr, &EsaControl_t::field }
const Key KEYS[] = {
    NARROW(fanSpeedDivisor, "Fan Speed Divisor", 255),
    NARROW(coolingMaxNumber, "Cooling Max Number", 8),
    NARROW(temperatureSensorMaxNumber, "Temperature Sensor Max Number", 8),
    WIDE(overheatTemperatureLimit, "Overheat Temperature Limit"),
    WIDE(fanPwm25To50TemperatureThreshold, "Fan Pwm 25 To 50 Temperature Threshold"),
    WIDE(fanPwm50To75TemperatureThreshold, "Fan Pwm 50 To 75 Temperature Threshold"),
    WIDE(fanPwm75To100TemperatureThreshold, "Fan Pwm 75 To 100 Temperature Threshold"),
    WIDE(fanPwm100To75TemperatureThreshold, "Fan Pwm 100 To 75 Temperature Threshold"),
    WIDE(fanPwm75To50TemperatureThreshold, "Fan Pwm 75 To 50 Temperature Threshold"),
    WIDE(fanPwm50To25TemperatureThreshold, "Fan Pwm 50 To 25 Temperature Threshold"),
    WIDE(fanFaultRpmLimit, "Fan Fault Rpm Limit"),
    WIDE(fanPwmLoadMinimum, "Fan PWM Load Minimum"),
};

// Names and keys with their values, and what is nearly one.
std::string anyText(Random& random) {
    std::string all;
    for (std::size_t left = random.below(14); left > 0; --left) {
        const std::string name = NAMES[random.below(std::size(NAMES))].name,
                          key = KEYS[random.below(std::size(KEYS))].name,
                          number = random.of({"0", "7", "8", "9", "44", "255", "256", " 7",
                                              "7 fans", "0x10", "", "-1", "65537", "2147483648",
                                              "-2147483649", "99999999999999999999"});
        const std::string whole = "\"" + key + "\" value=\"" + number + "\"/>";
        all += random.of<std::string>(
            {whole, whole, whole, whole, whole, whole, "<\"" + name + "\">", "\"" + name + "5\"",
             name, "\"" + key + "\" value='" + number + "'", "\"" + key + "\"",
             key + " value=\"" + number + "\"", "value=", "value", " valu", "values "});
    }
    return all;
}

// What initialisation makes of a personality file.
struct InitModel {
    InitModel() {
        std::memset(&control, 0, sizeof control);
        control.enclosureType = 1;
        control.elementTypeMaxNumber = 5;
        control.deviceMaxNumber = 16;
        control.powerSupplyMaxNumber = 3;
        control.audibleAlarmMaxNumber = 1;
        std::memcpy(control.sesTypeDescriptorList, "\x01\x02\x03\x04\x06", 5);
        control.esaDebug = 1;
        control.pollTimeout = {10, 0};
    }

    // The first name of the table counts, then each key.
    void read(const std::string& text) {
        const Name* name = NAMES;
        while (name != std::end(NAMES) - 1 &&
               text.find(std::string("\"") + name->name + '"') == text.npos) {
            ++name;
        }
        control.enclosureType = name->type;
        control.deviceMaxNumber = name->drives;
        control.powerSupplyMaxNumber = name->supplies;
        control.i2cAddressVsc055 = name->vsc055;
        control.i2cAddressW83792ad = name->w83792ad;
        control.i2cAddressPca9539 = name->pca9539;
        std::strncpy(reinterpret_cast<char*>(control.i2cAddressLM75), name->lm75, 8);
        traced.push_back(name->traced);
        for (const Key& key : KEYS) {
            keyRead(text, key);
        }
        if (control.enclosureType != 1 && control.overheatTemperatureLimit == 0) {
            traced.push_back(
                "Overheat Temperature Limit is 0, every temperature above it is an overheat.");
        }
    }

    // The first one with its quotes counts, and behind it the first "value" and seven characters.
    void keyRead(const std::string& xml, const Key& key) {
        const std::string quoted = std::string("\"") + key.name + "\"";
        const std::size_t at = xml.find(quoted), value = xml.find("value", at);
        if (at == xml.npos) {
            return;
        }
        if (value == xml.npos || value + 7 > xml.size()) {
            traced.push_back("The key " + quoted + " in the XML File has no value.");
            return;
        }
        auto number = static_cast<S32_t>(
            std::clamp(std::strtoll(&xml[value + 7], nullptr, 10), -2147483648LL, 2147483647LL));
        if (key.narrow != nullptr) {
            number = control.*key.narrow = static_cast<U8_t>(number);
        } else {
            control.*key.wide = static_cast<U32_t>(number);
        }
        traced.push_back(text(key.traced, " = [", number, "]."));
        if (number > key.array) {
            traced.push_back(text(key.traced, " [", number, "] exceeds the 8 elements handled."));
        }
    }

    // Values go out in pairs that are not masked: a high one spills into the other half.
    EsaEventData_t event(int information) const {
        const EsaControl_t& c = control;
        EsaEventData_t data = {};
        data.enclosureType = c.enclosureType;
        data.information = static_cast<U32_t>(information);
        data.numberOfFan = c.coolingMaxNumber;
        data.numberOfTemperatureSensor = c.temperatureSensorMaxNumber;
        Be32* pair = &data.general_use1;
        *pair = c.fanSpeedDivisor;
        for (const Key& key : std::span(KEYS).subspan(3)) {
            const bool isHigh = (&key - KEYS) % 2 == 1;
            *pair = isHigh ? *pair | c.*key.wide << 16 : c.*key.wide;
            pair += isHigh ? 1 : 0;
        }
        return data;
    }

    EsaControl_t control;
    Lines traced;
};

class Start : public Core {
  protected:
    // Writes a file or not, and tells the model. False when there is nothing to read.
    bool fileMake(InitModel* model) {
        std::string content = anyText(random);
        content.insert(0, random.onceIn(9) ? 8192 - random.below(200) : 0, ' ');
        std::filesystem::remove_all(dir.file());
        model->traced = {"Personality Toolkit XML File Path = [" + dir.path() + "]."};
        if (random.onceIn(20)) {
            model->traced.push_back("No Personality Toolkit XML file.");
            model->traced.push_back("esaControl.enclosureType = [KORVO_E_CHASSIS_NONE]");
            return false;
        }
        const bool isDirectory = random.onceIn(20);  // which counts as empty
        if (isDirectory) {
            std::filesystem::create_directory(dir.file());
        } else {
            dir.write(content);
        }
        content.resize(isDirectory ? 0 : std::min<std::size_t>(content.size(), 8192));
        model->traced.push_back(text("Personality Toolkit XML File with size [",
                                     isDirectory ? -1 : static_cast<int>(content.size()), "] = [",
                                     content, "]."));
        model->read(content);
        return true;
    }

    // The process as far as the first wait of its loop, or its end: what it did and printed.
    static Lines run(std::vector<std::string> arguments) {
        std::vector<char*> argv;
        for (std::string& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        static std::jmp_buf loopReached;
        systemCalls.onSelect = [] { std::longjmp(loopReached, 1); };
        std::signal(SIGPIPE, SIG_DFL);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        if (setjmp(loopReached) == 0) {
            const int status = esaMain(static_cast<int>(arguments.size()), argv.data());
            stage.calls.push_back(text("exit ", status));
        } else {
            TRACE__done();
        }
        EXPECT_EQ(std::signal(SIGPIPE, SIG_IGN), SIG_IGN);
        EXPECT_STREQ(ProgName, arguments.empty() ? "" : "esa");
        stage.calls.push_back(testing::internal::GetCapturedStdout());
        stage.calls.push_back(testing::internal::GetCapturedStderr());
        return std::exchange(stage.calls, {});
    }
};

const std::string BEGIN = "main(): Start the Enclosure Services Adapter.";

TEST_F(Start, InitialisationDoesWhatThePersonalityFileSays) {
    TraceCapture trace(0x0010);
    for (int round = 0; round < 1000; ++round) {
        SCOPED_TRACE(round);
        std::memset(&esaControl, 0xEE, sizeof esaControl);
        const bool hasDevice = !random.onceIn(20);
        systemCalls.enclosureDevice = hasDevice ? "/dev/null" : "";
        InitModel model;
        model.traced = {"Failed to open the i2c device."};
        const int information = hasDevice && fileMake(&model) ? 11 : 10;
        EXPECT_EQ(esaInit(), hasDevice ? 360 : -1);
        model.traced.insert(model.traced.begin(),
                            {"esaDebug set to TRUE",
                             text("Enclosure Services Adapter connects to MSM with socket [",
                                  esaControl.socketFdMSM, "]")});
        Lines said = trace.take();
        for (Lines* lines : {&said, &model.traced}) {
            std::ranges::for_each(*lines, [](auto& line) { line = line.substr(0, 150); });
        }
        ASSERT_EQ(said, model.traced);
        ASSERT_TRUE(listener.accept());
        const std::vector<Bytes> messages = listener.take();
        ASSERT_EQ(messageNames(messages), Lines(hasDevice ? 1 : 0, "event 10/1"));
        if (hasDevice) {
            const EsaEventData_t data = model.event(information);
            ASSERT_EQ(std::memcmp(&messages[0][216], &data, sizeof data), 0);
        }
        EsaControl_t& expected = model.control;
        expected.socketFdMSM = esaControl.socketFdMSM;
        expected.socketAddressMSM = esaControl.socketAddressMSM;
        expected.i2cFileFd = esaControl.i2cFileFd;
        std::memcpy(expected.esaWorkSpace, esaControl.esaWorkSpace, sizeof expected.esaWorkSpace);
        ASSERT_EQ(std::memcmp(&expected, &esaControl, sizeof expected), 0);
        close(esaControl.i2cFileFd);
        esaLinkDown();
        trace.take();
    }
}

// One that, cut off at the system's limit, would name another file, is not opened.
TEST_F(Start, ThePathBeginsWithStartup) {
    TraceCapture trace(0x0010);
    dir.write("text");
    const std::string path = dir.file().string();
    setenv("STARTUP", (std::string(4095 - path.size(), '/') + path + "/x").c_str(), 1);
    EXPECT_FALSE(esaPersonalityRead());
    unsetenv("STARTUP");
    trace.take();
    EXPECT_FALSE(esaPersonalityRead());
    EXPECT_EQ(trace.take(),
              Lines{"Personality Toolkit XML File Path = [/../web/OEM/EnvPersonalityParams.xml]."});
}

TEST_F(Start, ItsStepsRunInOrderAndAreTraced) {
    area.flags = MPU_K_FLAG_RCP_COMPLETE | MPU_K_FLAG_TRACE_VERBOSE;
    dir.write("\"Korvo Standard");
    EXPECT_EQ(run({"/a/esa", "100"}), (Lines{"area of key 100", "ready", BEGIN, ""}));
    EXPECT_EQ(systemCalls.selectMicroseconds, 1000000);
    Lines lines;
    std::ifstream log(listener.directory() + "/esa_01.log");
    for (std::string line; std::getline(log, line);) {
        lines.push_back(line.substr(line.find(":  ") + 3));
    }
    lines.erase(lines.begin(), std::ranges::find(lines, "No Enclosure Type in XML File!"));
    EXPECT_EQ(lines,
              (Lines{"No Enclosure Type in XML File!",
                     "Finish initializing the Enclosure Services Adapter internal data structures.",
                     "ESA finishes initialization and sends the message to the Startup process.",
                     "RCP Complete flag is marked now.", "rcpWaitRetryCount = [0]"}));
    ASSERT_TRUE(listener.accept());
    EXPECT_EQ(sent(), (Lines{"event 10/1", "init", "event 10/1"}));
}

TEST_F(Start, WithoutASwitchItGoesOnToTheLoopAndWithoutTheFlagItTracesNothing) {
    systemCalls.connectErrors = {ECONNREFUSED};
    dir.write("\"PeltoTolvex\"");
    EXPECT_EQ(run({"esa", "0x64"}), (Lines{"area of key 100", "ready", "bring-up", BEGIN, ""}));
    EXPECT_EQ(std::filesystem::file_size(listener.directory() + "/esa_01.log"), 0U);
    EXPECT_EQ(
        takeFaults(),
        (Lines{"esaInit(): Linux connect function fails for MSM/ESA socket!",
               "esaEventMmsgToEmpSend(): Linux send function fails, sendSize = [360] is wrong",
               "main(): Linux send function fails, sendSize = [64] is wrong"}));
}

TEST_F(Start, ArgumentsDecideHowFarItGoes) {
    stage.areaAttaches = false;
    EXPECT_EQ(run({}), (Lines{"exit 1", BEGIN + "main(): Arguments few than 2.\n", ""}));
    EXPECT_EQ(run({"./esa"}), (Lines{"exit 1", BEGIN + "main(): Arguments few than 2.\n", ""}));
    for (const char* key : {"99", "0", "-5", "abc", "0x63", "0143", "-2147483649"}) {
        EXPECT_EQ(run({"/usr/sbin/esa", key}),
                  (Lines{"exit 2", BEGIN + "main(): shared memory key less than 100.\n", ""}));
    }
    const std::pair<const char*, const char*> keys[] = {
        {"100", "100"}, {"0144", "100"}, {"101st", "101"}, {"4294967396", "2147483647"}};
    for (const auto& [key, number] : keys) {
        EXPECT_EQ(run({"a/b/esa", key}),
                  (Lines{text("area of key ", number), "exit 3", BEGIN,
                         "esa: Unable to share parameters.esa: Giving up."}));
    }
}

// Every ten seconds for three minutes, and the service manager hears of life.
TEST_F(Start, PlatformIsWaitedFor) {
    TraceCapture trace(0x0010);
    for (int last = -1; last < 20; ++last) {
        const bool comes = last >= 0 && last < 18;
        const int sleeps = comes ? last : 18;
        area.flags = last == 0 ? ~0U : ~MPU_K_FLAG_RCP_COMPLETE;
        systemCalls.sleptSec = 0;
        systemCalls.onSleep = [last, n = 0]() mutable {
            area.flags |= ++n == last ? MPU_K_FLAG_RCP_COMPLETE : 0;
        };
        stage.isManaged = true;
        stage.calls.clear();
        esaRcpCompleteWait(&area);
        EXPECT_EQ(systemCalls.sleptSec, 10U * static_cast<unsigned>(sleeps));
        EXPECT_EQ(std::ranges::count(stage.calls, "alive"), sleeps);
        Lines lines(comes ? 1 : 0, "RCP Complete flag is marked now.");
        lines.push_back(text("rcpWaitRetryCount = [", sleeps, "]"));
        EXPECT_EQ(trace.take(), lines);
    }
}

TEST_F(Start, TheOutcomeOfTheBackEndIsTracedAndReported) {
    ASSERT_TRUE(esaLinkOpen() && listener.accept());
    TraceCapture trace(0x0010);
    for (const int type : {0, 1, 2, 5, 7, 8}) {
        for (const auto result : {ESA_E_OK, ESA_E_GENERR, ESA_E_GENERR_I2C_UNAVAILABLE}) {
            esaControl.enclosureType = static_cast<U8_t>(type);
            stage.initResult = result;
            esaBackendInit();
            const bool isKnown = type > 0 && type < 8, isFitted = isKnown && type != 1;
            const bool isGood = isFitted && result == ESA_E_OK;
            EXPECT_EQ(std::exchange(stage.calls, {}), Lines(isFitted ? 1 : 0, "bring-up"));
            EXPECT_EQ(trace.take(), Lines(isFitted ? 1 : 0,
                                          isGood ? "Bring-up succeeds." : "Bring-up fails, %s."));
            EsaEventData_t data = {};
            data.enclosureType = esaControl.enclosureType;
            data.information = isKnown && !isFitted ? 8 : 2;
            data.general_use1 = isKnown ? 0 : ~0U;
            const std::vector<Bytes> messages = listener.take();
            ASSERT_EQ(messages.size(), !isFitted || isGood ? 1U : 0U);
            if (!messages.empty()) {
                EXPECT_EQ(messageNames(messages), Lines{isKnown ? "event 10/1" : "event 10/2"});
                EXPECT_EQ(std::memcmp(&messages[0][216], &data, sizeof data), 0);
            }
        }
    }
}

}  // namespace
