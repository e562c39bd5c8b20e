// SPDX-License-Identifier: Apache-2.0
// The personality file: which chassis and which tuning values a text stands for, and how the file
// is read. Texts are thrown together at random and searched by a model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <random>

#include "chassis/table.h"
#include "start/personality.h"
#include "tests/support/personality_dir.h"
#include "tests/support/trace_capture.h"

namespace {

using Lines = std::vector<std::string>;

void textSet(const std::string& text) {
    std::memset(esPersonalityToolkitXmlFilePtr, 0, sizeof esPersonalityToolkitXmlFilePtr);
    text.copy(esPersonalityToolkitXmlFilePtr, ESA_K_PERSONALITY_SIZE);
    esaControl = {};
}

// ---- the chassis ----

struct Name {
    const char *name, *traced;
    int type, drives, supplies, vsc055, w83792ad, pca9539;
};
constexpr char PREQUALIFIED[] = "VSC055 Based Prequalified Enclosure";
// In the order in which they win.
const Name NAMES[] = {
    {"Korvo Standard", "ESA_K_NAME_STRING_KORVO_STANDARD", 1, 16, 3, 0, 0, 0},
    {"Xyratex 2U12ATX", "ESA_K_NAME_STRING_XYRATEX_2U12ATX", 2, 12, 2, 0x63, 0, 0},
    {"PeltoTolvex", PREQUALIFIED, 5, 16, 2, 0x41, 0, 0},
    {"ChenbroRM325", PREQUALIFIED, 5, 16, 2, 0x41, 0, 0},
    {"ChenbroRM326", PREQUALIFIED, 5, 16, 2, 0x41, 0, 0},
    {"ASUSi104", PREQUALIFIED, 5, 16, 2, 0x41, 0, 0},
    {"ASUSi316", PREQUALIFIED, 5, 16, 2, 0x41, 0, 0},
    {"Accusys3U16ATX", PREQUALIFIED, 5, 16, 2, 0x41, 0, 0},
    {"Vitesse VSC055 Custom", "ESA_K_NAME_STRING_VITESSE_VSC055_CUSTOM", 5, 16, 2, 0x41, 0, 0},
    {"Winbond W83792AD Custom", "ESA_K_NAME_STRING_WINBOND_W83792AD_CUSTOM", 7, 16, 2, 0, 0x2C,
     0x74},
};
const Name NONE = {"", nullptr, 1, 16, 3, 0, 0, 0};

TEST(Personality, FirstQuotedNameOfTheTableSelectsTheChassis) {
    esaChassisTableUse(esaChassisTable());
    TraceCapture trace(0x0010);
    auto random = [engine = std::mt19937(1)]() mutable { return static_cast<int>(engine() >> 1); };
    for (unsigned n = 0; n < 500; ++n) {
        std::string text;
        const Name* selected = &NONE;
        for (std::size_t word = random() % 4; word > 0; --word) {
            const Name& name = n < 10 ? NAMES[n] : NAMES[random() % std::size(NAMES)];
            text += " ";
            const unsigned way = random() % 5;  // two of them are no name
            text += way == 0   ? name.name
                    : way == 1 ? std::string("\"") + name.name + "5\""
                               : std::string("<\"") + name.name + "\">";
            selected = way > 1 && (selected == &NONE || &name < selected) ? &name : selected;
        }
        textSet(text);
        std::memset(esaControl.i2cAddressLM75, 0xEE, 8);
        esaPersonalityChassisChoose();
        const EsaControl_t& c = esaControl;
        EXPECT_EQ(c.enclosureType, selected->type) << text;
        EXPECT_EQ(c.deviceMaxNumber, selected->drives);
        EXPECT_EQ(c.powerSupplyMaxNumber, selected->supplies);
        EXPECT_EQ(c.i2cAddressVsc055, selected->vsc055);
        EXPECT_EQ(c.i2cAddressW83792ad, selected->w83792ad);
        EXPECT_EQ(c.i2cAddressPca9539, selected->pca9539);
        EXPECT_EQ(std::memcmp(
                      c.i2cAddressLM75,
                      selected->type == 5 ? "\x4C\x4B\x4A\x4D\x4E\x4F\0\0" : "\0\0\0\0\0\0\0\0", 8),
                  0);
        EXPECT_EQ(trace.take(),
                  Lines{selected == &NONE ? "No Enclosure Type in XML File!"
                                          : std::string("Enclosure Type in XML File = [") +
                                                selected->traced + "]"});
    }
}

// ---- the tuning values ----

struct Key {
    const char *name, *traced;
    U32_t (*value)();
    bool isNarrow;
    int array = 0;  // elements kept
};
#define VALUE(field) [] { return U32_t{esaControl.field}; }
const Key KEYS[] = {
    {"fanSpeedDivisor", "Fan Speed Divisor", VALUE(fanSpeedDivisor), true},
    {"coolingMaxNumber", "Cooling Max Number", VALUE(coolingMaxNumber), true, 8},
    {"temperatureSensorMaxNumber", "Temperature Sensor Max Number",
     VALUE(temperatureSensorMaxNumber), true, 8},
    {"overheatTemperatureLimit", "Overheat Temperature Limit", VALUE(overheatTemperatureLimit),
     false},
    {"fanPwm25To50TemperatureThreshold", "Fan Pwm 25 To 50 Temperature Threshold",
     VALUE(fanPwm25To50TemperatureThreshold), false},
    {"fanPwm50To75TemperatureThreshold", "Fan Pwm 50 To 75 Temperature Threshold",
     VALUE(fanPwm50To75TemperatureThreshold), false},
    {"fanPwm75To100TemperatureThreshold", "Fan Pwm 75 To 100 Temperature Threshold",
     VALUE(fanPwm75To100TemperatureThreshold), false},
    {"fanPwm100To75TemperatureThreshold", "Fan Pwm 100 To 75 Temperature Threshold",
     VALUE(fanPwm100To75TemperatureThreshold), false},
    {"fanPwm75To50TemperatureThreshold", "Fan Pwm 75 To 50 Temperature Threshold",
     VALUE(fanPwm75To50TemperatureThreshold), false},
    {"fanPwm50To25TemperatureThreshold", "Fan Pwm 50 To 25 Temperature Threshold",
     VALUE(fanPwm50To25TemperatureThreshold), false},
    {"fanFaultRpmLimit", "Fan Fault Rpm Limit", VALUE(fanFaultRpmLimit), false},
    {"fanPwmLoadMinimum", "Fan PWM Load Minimum", VALUE(fanPwmLoadMinimum), false},
};

// A decimal number at the front of a text, held within 32 bits.
S32_t numberOf(const std::string& text) {
    std::size_t at = text.find_first_not_of(' ');
    const bool isNegative = at < text.size() && text[at] == '-';
    double value = 0;
    for (at += isNegative; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        value = value * 10 + (text[at] - '0');
    }
    return static_cast<S32_t>(std::clamp(isNegative ? -value : value, -2147483648.0, 2147483647.0));
}

// The first key with its quotes counts, and behind it the first "value" and seven characters.
Lines keyTexts(const std::string& text, const Key& key, U32_t* expected) {
    const std::string quoted = std::string("\"") + key.name + "\"", traced = key.traced;
    const std::size_t at = text.find(quoted);
    *expected = 0;
    if (at == text.npos) {
        return {};
    }
    const std::size_t value = text.find("value", at);
    if (value == text.npos || value + 7 > text.size()) {
        return {"The key " + quoted + " in the XML File has no value."};
    }
    const S32_t number = numberOf(text.substr(value + 7));
    const int stored = key.isNarrow ? number & 0xFF : number;
    *expected = static_cast<U32_t>(stored);
    const std::string shown = " [" + std::to_string(stored) + "]";
    Lines lines = {traced + " =" + shown + "."};
    if (key.array != 0 && stored > key.array) {
        lines.push_back(traced + shown + " exceeds the 8 elements handled.");
    }
    return lines;
}

TEST(Personality, EachKeySetsItsFieldAndSaysSo) {
    TraceCapture trace(0x0010);
    auto random = [engine = std::mt19937(1)]() mutable { return static_cast<int>(engine() >> 1); };
    const char* const numbers[] = {"0",
                                   "7",
                                   "8",
                                   "9",
                                   "44",
                                   "255",
                                   "256",
                                   "300",
                                   " 7",
                                   "7 fans",
                                   "0x10",
                                   "abc",
                                   "",
                                   "-1",
                                   "65537",
                                   "2147483647",
                                   "2147483648",
                                   "-2147483649",
                                   "99999999999999999999"};
    for (int n = 0; n < 3000; ++n) {
        std::string text;
        for (std::size_t words = 1 + random() % 12; words > 0; --words) {
            const std::string name = KEYS[random() % std::size(KEYS)].name,
                              number = numbers[random() % std::size(numbers)];
            const std::string ways[] = {"\"" + name + "\" value=\"" + number + "\"/>",
                                        "\"" + name + "\" value='" + number + "'",
                                        "\"" + name + "\"",
                                        name + " value=\"" + number + "\"",
                                        "value=",
                                        "value",
                                        " valu",
                                        "values ",
                                        "x"};
            text += ways[random() % 3 == 0 ? random() % std::size(ways) : 0];
        }
        textSet(text);
        esaPersonalityTuningRead();
        Lines expected;
        for (const Key& key : KEYS) {
            U32_t value = 0;
            for (const std::string& line : keyTexts(text, key, &value)) {
                expected.push_back(line);
            }
            EXPECT_EQ(key.value(), value) << key.name << " in " << text;
        }
        ASSERT_EQ(trace.take(), expected) << text;
    }
}

// ---- the file ----

// A longer file before leaves nothing behind; of a large one the first 8192 bytes count.
TEST(Personality, FileIsReadAsFarAsTheBufferGoes) {
    PersonalityDir dir;
    TraceCapture trace(0x0010);
    for (const std::size_t size : {20000U, 8193U, 8192U, 8191U, 22U, 4U, 0U}) {
        std::string text(size, '2');
        std::ranges::copy(std::string("<x/>").substr(0, std::min<std::size_t>(size, 4)),
                          text.begin());
        dir.write(text);
        EXPECT_TRUE(esaPersonalityRead());
        text.resize(std::min<std::size_t>(size, 8192));
        EXPECT_EQ(esPersonalityToolkitXmlFilePtr, text);
        const Lines said = trace.take();
        EXPECT_EQ(said.at(0), "Personality Toolkit XML File Path = [" + dir.path() + "].");
        EXPECT_TRUE(said.at(1).starts_with("Personality Toolkit XML File with size [" +
                                           std::to_string(text.size()) + "] = [" +
                                           text.substr(0, 100)));
    }
}

TEST(Personality, NothingIsReadOfAFileThatIsNotThere) {
    PersonalityDir dir;
    textSet("left");
    EXPECT_FALSE(esaPersonalityRead());
    EXPECT_STREQ(esPersonalityToolkitXmlFilePtr, "");
    TraceCapture trace(0x0010);
    std::filesystem::create_directory(dir.file());
    EXPECT_TRUE(esaPersonalityRead()) << "a directory counts as empty";
    EXPECT_EQ(trace.take().at(1), "Personality Toolkit XML File with size [-1] = [].");
    unsetenv("STARTUP");
    EXPECT_FALSE(esaPersonalityRead());
    EXPECT_EQ(trace.take(),
              Lines{"Personality Toolkit XML File Path = [/../web/OEM/EnvPersonalityParams.xml]."});
}

// One that, cut off at the system's limit, would name another file.
TEST(Personality, PathLongerThanTheSystemTakesIsNotOpened) {
    PersonalityDir dir;
    dir.write("text");
    const std::string path = dir.file().string();
    setenv("STARTUP", (std::string(4095 - path.size(), '/') + path + "/x").c_str(), 1);
    EXPECT_FALSE(esaPersonalityRead());
}

}  // namespace
