// SPDX-License-Identifier: Apache-2.0
// From the arguments to the loop: what a personality file makes of the service, beside a model, and
// how far start-up goes when something is missing.
#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
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
    U8_t type;
};
// In the order in which they win; the last is none.
constexpr char PREQUALIFIED[] = "VSC055 Based Prequalified Enclosure";
// clang-format off
const Name NAMES[] = {
    {"Korvo Standard", "ESA_K_NAME_STRING_KORVO_STANDARD", 1},
    {"Xyratex 2U12ATX", "ESA_K_NAME_STRING_XYRATEX_2U12ATX", 2},
    {"PeltoTolvex", PREQUALIFIED, 5}, {"ChenbroRM325", PREQUALIFIED, 5},
    {"ChenbroRM326", PREQUALIFIED, 5}, {"ASUSi104", PREQUALIFIED, 5},
    {"ASUSi316", PREQUALIFIED, 5}, {"Accusys3U16ATX", PREQUALIFIED, 5},
    {"Vitesse VSC055 Custom", "ESA_K_NAME_STRING_VITESSE_VSC055_CUSTOM", 5},
    {"Winbond W83792AD Custom", "ESA_K_NAME_STRING_WINBOND_W83792AD_CUSTOM", 7},
    {"Enclosure", nullptr, 1}};
// clang-format on

// A field keeps of a number what it has room for.
struct Key {
    const char *name, *traced;
    S32_t (*store)(EsaControl_t*, S32_t);
};
#define STORE(field)                                                                               \
    [](EsaControl_t* control, S32_t number) {                                                      \
        return static_cast<S32_t>(control->field = static_cast<decltype(control->field)>(number)); \
    }
#define KEY(field, traced) \
    { #field, traced, STORE(field) }
const Key KEYS[] = {
    KEY(fanSpeedDivisor, "Fan Speed Divisor"),
    KEY(coolingMaxNumber, "Cooling Max Number"),
    KEY(temperatureSensorMaxNumber, "Temperature Sensor Max Number"),
    KEY(overheatTemperatureLimit, "Overheat Temperature Limit"),
    KEY(fanPwm25To50TemperatureThreshold, "Fan Pwm 25 To 50 Temperature Threshold"),
    KEY(fanPwm50To75TemperatureThreshold, "Fan Pwm 50 To 75 Temperature Threshold"),
    KEY(fanPwm75To100TemperatureThreshold, "Fan Pwm 75 To 100 Temperature Threshold"),
    KEY(fanPwm100To75TemperatureThreshold, "Fan Pwm 100 To 75 Temperature Threshold"),
    KEY(fanPwm75To50TemperatureThreshold, "Fan Pwm 75 To 50 Temperature Threshold"),
    KEY(fanPwm50To25TemperatureThreshold, "Fan Pwm 50 To 25 Temperature Threshold"),
    KEY(fanFaultRpmLimit, "Fan Fault Rpm Limit"),
    KEY(fanPwmLoadMinimum, "Fan PWM Load Minimum"),
};

// What stands behind the descriptors and addresses.
std::string learntOf(const EsaControl_t& control) {
    const auto* const bytes = reinterpret_cast<const char*>(&control);
    return {bytes + offsetof(EsaControl_t, i2cDeviceFaultStatus), bytes + sizeof control};
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

    // A name or none, and some of the keys; what is nearly one is judged with the tools.
    void write(Random* random) {
        const Name& name = NAMES[random->below(std::size(NAMES))];
        content = text('"', name.name, '"');
        control.enclosureType = name.type;
        traced.push_back(name.traced == nullptr
                             ? "No Enclosure Type in XML File!"
                             : text("Enclosure Type in XML File = [", name.traced, "]"));
        for (const Key& key : KEYS) {
            if (!random->onceIn(4)) {
                keyWrite(key, random->of({"0", "7", "8", "9", "44", "255", "256", " 7", "7 fans",
                                          "0x10", "", "-1", "65537", "2147483648", "-2147483649",
                                          "99999999999999999999"}));
            }
        }
        if (control.enclosureType != 1 && control.overheatTemperatureLimit == 0) {
            traced.push_back(
                "Overheat Temperature Limit is 0, every temperature above it is an overheat.");
        }
    }

    void keyWrite(const Key& key, const char* written) {
        content += text(" \"", key.name, "\" value=\"", written);
        const long long number = std::strtoll(written, nullptr, 10);
        const S32_t stored = key.store(
            &control, static_cast<S32_t>(std::clamp(number, -2147483648LL, 2147483647LL)));
        kept[&key - KEYS] = static_cast<U32_t>(stored);
        traced.push_back(text(key.traced, " = [", stored, "]."));
        if (stored > 8 && std::strstr(key.name, "MaxNumber") != nullptr) {
            traced.push_back(text(key.traced, " [", stored, "] exceeds the 8 elements handled."));
        }
    }

    // Values go out in pairs that are not masked: a high one spills into the other half.
    EsaEventData_t event(U32_t information) const {
        EsaEventData_t data = {};
        data.enclosureType = control.enclosureType;
        data.information = information;
        data.numberOfFan = control.coolingMaxNumber;
        data.numberOfTemperatureSensor = control.temperatureSensorMaxNumber;
        for (int pair = 0; pair < 5; ++pair) {
            const int low = pair == 0 ? 0 : 2 * pair + 2;
            (&data.general_use1)[pair] = kept[low] | kept[2 * pair + 3] << 16;
        }
        return data;
    }

    std::string content;
    EsaControl_t control;
    U32_t kept[std::size(KEYS)] = {};
    Lines traced;
};

class Start : public Core {
  protected:
    // The process as far as the first wait of its loop, or its end: what it did and printed.
    static Lines run(std::vector<std::string> arguments) {
        std::vector<char*> argv(arguments.size() + 1);
        std::ranges::transform(arguments, argv.begin(), [](auto& text) { return text.data(); });
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

const std::string KEY_WITHOUT_VALUE =
    R"(The key "fanPwmLoadMinimum" in the XML File has no value.)";
const std::string BEGIN = "main(): Start the Enclosure Services Adapter.";

TEST_F(Start, InitialisationDoesWhatThePersonalityFileSays) {
    TraceCapture trace(0x0010);
    for (int round = 0; round < 500; ++round) {
        SCOPED_TRACE(round);
        std::memset(&esaControl, 0xEE, sizeof esaControl);
        const bool hasDevice = !random.onceIn(20), hasFile = hasDevice && !random.onceIn(20),
                   isLong = random.onceIn(5);
        systemCalls.enclosureDevice = hasDevice ? "/dev/null" : "";
        InitModel model;
        std::filesystem::remove(dir.file());
        if (hasFile) {
            model.write(&random);
            std::string& content = model.content;
            content.insert(0, isLong ? 8192 - content.size() : 0, ' ');
            dir.write(content + (isLong ? "99" : ""));
            model.traced.insert(model.traced.begin(),
                                text("Personality Toolkit XML File with size [", content.size(),
                                     "] = [", content, "]."));
        }
        EXPECT_EQ(esaInit(), hasDevice ? 360 : -1);
        Lines said = trace.take(),
              lines = {"esaDebug set to TRUE",
                       text("Enclosure Services Adapter connects to MSM with socket [",
                            esaControl.socketFdMSM, "]"),
                       hasDevice ? "Personality Toolkit XML File Path = [" + dir.path() + "]."
                                 : "Failed to open the i2c device."};
        std::ranges::move(model.traced, std::back_inserter(lines));
        if (hasDevice && !hasFile) {
            lines.insert(lines.end(), {"No Personality Toolkit XML file.",
                                       "esaControl.enclosureType = [KORVO_E_CHASSIS_NONE]"});
        }
        for (Lines* side : {&said, &lines}) {  // a trace line has an end
            std::ranges::for_each(*side, [](auto& line) { line = line.substr(0, 150); });
        }
        ASSERT_EQ(said, lines);
        ASSERT_TRUE(listener.accept());
        const std::vector<Bytes> messages = listener.take();
        ASSERT_EQ(messageNames(messages), Lines(hasDevice ? 1 : 0, "event 10/1"));
        const EsaEventData_t data = model.event(hasFile ? 11 : 10);
        ASSERT_TRUE(!hasDevice || std::memcmp(&messages[0][216], &data, sizeof data) == 0);
        std::ranges::copy(esaControl.esaWorkSpace, model.control.esaWorkSpace);
        if (hasFile) {  // the chassis' own, as its addresses: judged in its story
            model.control.deviceMaxNumber = esaControl.deviceMaxNumber;
            model.control.powerSupplyMaxNumber = esaControl.powerSupplyMaxNumber;
        }
        ASSERT_TRUE(learntOf(model.control) == learntOf(esaControl));
        close(esaControl.i2cFileFd);
        esaLinkDown();
        trace.take();
    }
}

// One that, cut off at the system's limit, would name another file, is not opened. What cannot be
// read counts as empty.
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
    EXPECT_TRUE(esaPersonalityFileRead("/") && *esPersonalityToolkitXmlFilePtr == '\0');
}

// With a switch or without.
TEST_F(Start, ItsStepsRunInOrderAndAreTracedWhereTheAreaAsksForIt) {
    dir.write("\"PeltoTolvex\" \"fanPwmLoadMinimum\" value=");
    for (const bool isVerbose : {true, false}) {
        area.flags = MPU_K_FLAG_RCP_COMPLETE | (isVerbose ? MPU_K_FLAG_TRACE_VERBOSE : 0);
        systemCalls.connectErrors.assign(isVerbose ? 0 : 1, ECONNREFUSED);
        EXPECT_EQ(run({"/a/esa", isVerbose ? "100" : "0x64"}),
                  (Lines{"area of key 100", "ready", "bring-up", BEGIN, ""}));
        EXPECT_EQ(systemCalls.selectMicroseconds, 1000000);
        Lines lines;
        std::ifstream log(listener.directory() + "/esa_01.log");
        for (std::string line; std::getline(log, line);) {
            lines.push_back(line.substr(line.find(":  ") + 3));
        }
        lines.erase(lines.begin(), std::ranges::find(lines, KEY_WITHOUT_VALUE));
        const Lines all = {
            KEY_WITHOUT_VALUE,
            "Overheat Temperature Limit is 0, every temperature above it is an overheat.",
            "Finish initializing the Enclosure Services Adapter internal data structures.",
            "ESA finishes initialization and sends the message to the Startup process.",
            "RCP Complete flag is marked now.",
            "rcpWaitRetryCount = [0]",
            "Finish initializing for the Vsc055 based Enclosure."};
        EXPECT_EQ(lines, isVerbose ? all : Lines());
        EXPECT_EQ(listener.accept(), isVerbose);
        EXPECT_EQ(sent(), isVerbose ? Lines({"event 10/1", "init", "event 10/1"}) : Lines());
        esaLinkDown();
    }
}

TEST_F(Start, ArgumentsDecideHowFarItGoes) {
    stage.areaAttaches = false;
    const Lines few = {"exit 1", BEGIN + "main(): Arguments few than 2.\n", ""};
    EXPECT_EQ(run({}), few);
    EXPECT_EQ(run({"./esa"}), few);
    for (const char* key : {"99", "-5", "abc", "0143", "-2147483649"}) {
        EXPECT_EQ(run({"/usr/sbin/esa", key}),
                  (Lines{"exit 2", BEGIN + "main(): shared memory key less than 100.\n", ""}));
    }
    const std::pair<const char*, const char*> keys[] = {
        {"0144", "100"}, {"101st", "101"}, {"4294967396", "2147483647"}};
    for (const auto& [key, number] : keys) {
        EXPECT_EQ(run({"a/b/esa", key}),
                  (Lines{text("area of key ", number), "exit 3", BEGIN,
                         "esa: Unable to share parameters.esa: Giving up."}));
    }
}

// Every ten seconds for three minutes, and the service manager hears of life.
TEST_F(Start, PlatformIsWaitedFor) {
    TraceCapture trace(0x0010);
    stage.isManaged = true;
    for (const int last : {0, 1, 9, 17, 18}) {
        area.flags = last == 0 ? ~0U : ~MPU_K_FLAG_RCP_COMPLETE;
        systemCalls.onSleep = [last, n = 0]() mutable {
            area.flags |= ++n == last && n < 18 ? MPU_K_FLAG_RCP_COMPLETE : 0;
        };
        systemCalls.sleptSec = 0;
        stage.calls.clear();
        esaRcpCompleteWait(&area);
        EXPECT_EQ(systemCalls.sleptSec, 10U * static_cast<unsigned>(last));
        EXPECT_EQ(std::ranges::count(stage.calls, "alive"), last);
        Lines lines(last < 18 ? 1 : 0, "RCP Complete flag is marked now.");
        lines.push_back(text("rcpWaitRetryCount = [", last, "]"));
        EXPECT_EQ(trace.take(), lines);
    }
}

TEST_F(Start, TheOutcomeOfTheBackEndIsTracedAndReported) {
    ASSERT_TRUE(esaLinkOpen() && listener.accept());
    TraceCapture trace(0x0010);
    const std::map<int, const char*> names = {{2, "Xyratex"},       {3, "Vsc055 based"},
                                              {4, "Chenbro"},       {5, "Vsc055 based"},
                                              {6, "W83782d based"}, {7, "W83792AD based"}};
    for (int type = 0; type < 9; ++type) {
        for (const auto result : {ESA_E_OK, ESA_E_GENERR}) {
            esaControl.enclosureType = static_cast<U8_t>(type);
            stage.initResult = result;
            esaBackendInit();
            const bool isFitted = names.contains(type), isGood = result == ESA_E_OK;
            const std::string what =
                "nitializing for the " + text(isFitted ? names.at(type) : "") + " Enclosure";
            EXPECT_EQ(trace.take(), Lines(isFitted ? 1 : 0, isGood ? "Finish i" + what + "."
                                                                   : "I" + what + " fails."));
            EXPECT_EQ(sent(), Lines(!isFitted || isGood ? 1 : 0,
                                    type % 8 == 0 ? "event 10/2" : "event 10/1"));
        }
    }
}

}  // namespace
