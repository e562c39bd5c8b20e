// SPDX-License-Identifier: Apache-2.0
// The personality file: which name selects which chassis, how a key finds its value, and files that
// are too long, cut off or not there.
#include "core/personality.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "core/esa_control.h"
#include "tests/support/personality_dir.h"
#include "tests/support/trace_capture.h"

using testing::ElementsAre;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

namespace {

class PersonalityTest : public testing::Test {
  protected:
    PersonalityTest() { esaControl = {}; }
    Lines chassisOf(const std::string& text) {
        esaControl = {};
        dir_.write(text);
        esaPersonalityRead();
        trace_.take();
        esaPersonalityChassisChoose();
        return trace_.take();
    }
    Lines tuningOf(const std::string& text) {
        esaControl = {};
        dir_.write(text);
        esaPersonalityRead();
        trace_.take();
        esaPersonalityTuningRead();
        return trace_.take();
    }

    PersonalityDir dir_;
    TraceCapture trace_;
};

// As the file writes a key.
std::string keyOf(const std::string& name, const std::string& value) {
    return "<parameter name=\"" + name + "\" value=\"" + value + "\"/>\n";
}

std::string setupText() {
    char text[128];
    const EsaControl_t& c = esaControl;
    std::snprintf(text, sizeof text,
                  "%d: %d %d, %02X, %02X %02X %02X %02X %02X %02X %02X %02X, %02X %02X %02X",
                  c.enclosureType, c.deviceMaxNumber, c.powerSupplyMaxNumber, c.i2cAddressVsc055,
                  c.i2cAddressLM75[0], c.i2cAddressLM75[1], c.i2cAddressLM75[2],
                  c.i2cAddressLM75[3], c.i2cAddressLM75[4], c.i2cAddressLM75[5],
                  c.i2cAddressLM75[6], c.i2cAddressLM75[7], c.i2cAddressW83792ad,
                  c.i2cAddressPca9539, c.i2cAddressW83782d);
    return text;
}

constexpr char NONE[] = "1: 16 3, 00, 00 00 00 00 00 00 00 00, 00 00 00";
constexpr char XYRATEX[] = "2: 12 2, 63, 00 00 00 00 00 00 00 00, 00 00 00";
constexpr char VSC055[] = "5: 16 2, 41, 4C 4B 4A 4D 4E 4F 00 00, 00 00 00";
constexpr char W83792AD[] = "7: 16 2, 00, 00 00 00 00 00 00 00 00, 2C 74 00";
constexpr char PREQUALIFIED[] =
    "Enclosure Type in XML File = [VSC055 Based Prequalified Enclosure]";
constexpr char NO_TYPE[] = "No Enclosure Type in XML File!";

}  // namespace

// ---- the chassis ----

TEST_F(PersonalityTest, QuotedNameSelectsTheChassisWithItsCountsAndAddresses) {
    struct Case {
        const char* text;
        const char* setup;
        const char* line;
    };
    const Case cases[] = {
        {"\"Korvo Standard\"", NONE,
         "Enclosure Type in XML File = [ESA_K_NAME_STRING_KORVO_STANDARD]"},
        {"\"Xyratex 2U12ATX\"", XYRATEX,
         "Enclosure Type in XML File = [ESA_K_NAME_STRING_XYRATEX_2U12ATX]"},
        {"\"PeltoTolvex\"", VSC055, PREQUALIFIED},
        {"\"ChenbroRM325\"", VSC055, PREQUALIFIED},
        {"\"ChenbroRM326\"", VSC055, PREQUALIFIED},
        {"\"ASUSi104\"", VSC055, PREQUALIFIED},
        {"\"ASUSi316\"", VSC055, PREQUALIFIED},
        {"\"Accusys3U16ATX\"", VSC055, PREQUALIFIED},
        {"\"Vitesse VSC055 Custom\"", VSC055,
         "Enclosure Type in XML File = [ESA_K_NAME_STRING_VITESSE_VSC055_CUSTOM]"},
        {"\"Winbond W83792AD Custom\"", W83792AD,
         "Enclosure Type in XML File = [ESA_K_NAME_STRING_WINBOND_W83792AD_CUSTOM]"},
        // The table's order counts, not the file's.
        {"\"Winbond W83792AD Custom\" \"Xyratex 2U12ATX\"", XYRATEX,
         "Enclosure Type in XML File = [ESA_K_NAME_STRING_XYRATEX_2U12ATX]"},
        {"\"Vitesse VSC055 Custom\" \"ASUSi316\"", VSC055, PREQUALIFIED},
        {"\"PeltoTolvex\" \"Korvo Standard\"", NONE,
         "Enclosure Type in XML File = [ESA_K_NAME_STRING_KORVO_STANDARD]"},
        {"ChenbroRM325", NONE, NO_TYPE},
        {"\"ChenbroRM3255\"", NONE, NO_TYPE},
        {"\"peltotolvex\"", NONE, NO_TYPE},
        {"", NONE, NO_TYPE},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_THAT(chassisOf(std::string("<chassis name=") + c.text + "/>"), ElementsAre(c.line));
        EXPECT_EQ(setupText(), c.setup);
    }
}

// ---- the tuning values ----

TEST_F(PersonalityTest, EachKeySetsItsFieldWhateverTheOrderInTheFile) {
    const Lines lines = tuningOf(
        keyOf("fanPwmLoadMinimum", "12") + keyOf("fanFaultRpmLimit", "11000") +
        keyOf("fanPwm50To25TemperatureThreshold", "10") +
        keyOf("fanPwm75To50TemperatureThreshold", "9") +
        keyOf("fanPwm100To75TemperatureThreshold", "8") +
        keyOf("fanPwm75To100TemperatureThreshold", "7") +
        keyOf("fanPwm50To75TemperatureThreshold", "6") +
        keyOf("fanPwm25To50TemperatureThreshold", "5") + keyOf("overheatTemperatureLimit", "400") +
        keyOf("temperatureSensorMaxNumber", "3") + keyOf("coolingMaxNumber", "2") +
        keyOf("fanSpeedDivisor", "1"));
    EXPECT_EQ(esaControl.fanSpeedDivisor, 1);
    EXPECT_EQ(esaControl.coolingMaxNumber, 2);
    EXPECT_EQ(esaControl.temperatureSensorMaxNumber, 3);
    EXPECT_EQ(esaControl.overheatTemperatureLimit, 400U);
    EXPECT_EQ(esaControl.fanPwm25To50TemperatureThreshold, 5U);
    EXPECT_EQ(esaControl.fanPwm50To75TemperatureThreshold, 6U);
    EXPECT_EQ(esaControl.fanPwm75To100TemperatureThreshold, 7U);
    EXPECT_EQ(esaControl.fanPwm100To75TemperatureThreshold, 8U);
    EXPECT_EQ(esaControl.fanPwm75To50TemperatureThreshold, 9U);
    EXPECT_EQ(esaControl.fanPwm50To25TemperatureThreshold, 10U);
    EXPECT_EQ(esaControl.fanFaultRpmLimit, 11000U);
    EXPECT_EQ(esaControl.fanPwmLoadMinimum, 12U);
    EXPECT_THAT(
        lines,
        ElementsAre("Fan Speed Divisor = [1].", "Cooling Max Number = [2].",
                    "Temperature Sensor Max Number = [3].", "Overheat Temperature Limit = [400].",
                    "Fan Pwm 25 To 50 Temperature Threshold = [5].",
                    "Fan Pwm 50 To 75 Temperature Threshold = [6].",
                    "Fan Pwm 75 To 100 Temperature Threshold = [7].",
                    "Fan Pwm 100 To 75 Temperature Threshold = [8].",
                    "Fan Pwm 75 To 50 Temperature Threshold = [9].",
                    "Fan Pwm 50 To 25 Temperature Threshold = [10].",
                    "Fan Fault Rpm Limit = [11000].", "Fan PWM Load Minimum = [12]."));
}

TEST_F(PersonalityTest, NumberIsReadLikeTextThenCutToItsField) {
    struct Case {
        const char* text;
        U8_t narrow;
        U32_t wide;
    };
    for (const Case& c :
         {Case{"0", 0, 0}, Case{"255", 255, 255}, Case{"300", 44, 300}, Case{" 7", 7, 7},
          Case{"7 fans", 7, 7}, Case{"0x10", 0, 0}, Case{"abc", 0, 0}, Case{"", 0, 0},
          Case{"-1", 0xFF, 0xFFFFFFFF}, Case{"2147483647", 0xFF, 0x7FFFFFFF},
          Case{"2147483648", 0xFF, 0x7FFFFFFF}, Case{"-2147483649", 0x00, 0x80000000},
          Case{"99999999999999999999", 0xFF, 0x7FFFFFFF}}) {
        SCOPED_TRACE(c.text);
        tuningOf(keyOf("fanSpeedDivisor", c.text) + keyOf("fanFaultRpmLimit", c.text));
        EXPECT_EQ(esaControl.fanSpeedDivisor, c.narrow);
        EXPECT_EQ(esaControl.fanFaultRpmLimit, c.wide);
    }
}

TEST_F(PersonalityTest, AbsentAndUnquotedKeysLeaveTheirFieldsAlone) {
    EXPECT_THAT(tuningOf("fanSpeedDivisor value=\"4\""), IsEmpty());
    EXPECT_EQ(esaControl.fanSpeedDivisor, 0);
}

TEST_F(PersonalityTest, FirstKeyCountsAndTheFirstValueBehindIt) {
    tuningOf(keyOf("fanSpeedDivisor", "4") + keyOf("fanSpeedDivisor", "5"));
    EXPECT_EQ(esaControl.fanSpeedDivisor, 4);
    tuningOf("value=\"1\" name=\"fanSpeedDivisor\" unit=\"values\" value=\"6\"");
    EXPECT_EQ(esaControl.fanSpeedDivisor, 0);  // "values" is the first, and no number is behind it
    tuningOf("\"fanSpeedDivisor\" \"coolingMaxNumber\" value='3'");
    EXPECT_EQ(esaControl.fanSpeedDivisor, 3);
    EXPECT_EQ(esaControl.coolingMaxNumber, 3);
}

TEST_F(PersonalityTest, KeyWithoutAValueKeepsZeroAndCostsOneLine) {
    for (const char* rest : {"", " ", "valu", "value", "value=", " x='1' v"}) {
        SCOPED_TRACE(rest);
        EXPECT_THAT(tuningOf(std::string("\"fanSpeedDivisor\"") + rest),
                    ElementsAre("The key \"fanSpeedDivisor\" in the XML File has no value."));
        EXPECT_EQ(esaControl.fanSpeedDivisor, 0);
    }
    EXPECT_THAT(tuningOf("\"fanSpeedDivisor\"value=\""), ElementsAre("Fan Speed Divisor = [0]."));
}

TEST_F(PersonalityTest, CountAboveItsArrayIsKeptAndCostsOneLine) {
    struct Case {
        const char* text;
        U8_t count;
        std::size_t lines;
    };
    for (const Case& c : {Case{"8", 8, 1}, Case{"9", 9, 2}, Case{"300", 44, 2}, Case{"255", 255, 2},
                          Case{"256", 0, 1}}) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(tuningOf(keyOf("coolingMaxNumber", c.text)).size(), c.lines);
        EXPECT_EQ(esaControl.coolingMaxNumber, c.count);
        EXPECT_EQ(tuningOf(keyOf("temperatureSensorMaxNumber", c.text)).size(), c.lines);
        EXPECT_EQ(esaControl.temperatureSensorMaxNumber, c.count);
    }
    EXPECT_EQ(tuningOf(keyOf("fanSpeedDivisor", "200")).size(), 1U);  // counts nothing
}

// ---- the file ----

TEST_F(PersonalityTest, FileIsReadWholeAndTraced) {
    dir_.write("<x/>");
    EXPECT_TRUE(esaPersonalityRead());
    EXPECT_THAT(trace_.take(),
                ElementsAre("Personality Toolkit XML File Path = [" + dir_.path() + "].",
                            "Personality Toolkit XML File with size [4] = [<x/>]."));
    EXPECT_STREQ(esPersonalityToolkitXmlFilePtr, "<x/>");
}

TEST_F(PersonalityTest, OnlyTheFirst8192BytesCount) {
    const std::string end = "\"fanSpeedDivisor\"value=\"4";
    for (const std::size_t size : {8192U, 8193U, 20000U}) {
        SCOPED_TRACE(size);
        std::string text = std::string(8192 - end.size(), ' ') + end;
        text.resize(size, '2');
        dir_.write(text);
        EXPECT_TRUE(esaPersonalityRead());
        EXPECT_EQ(std::strlen(esPersonalityToolkitXmlFilePtr), 8192U);
        esaPersonalityTuningRead();
        EXPECT_EQ(esaControl.fanSpeedDivisor, 4);
    }
}

TEST_F(PersonalityTest, FullBufferThatEndsInTheWordValueIsNotReadPast) {
    const std::string end = "\"fanSpeedDivisor\"value";
    tuningOf(std::string(8192 - end.size(), ' ') + end);
    EXPECT_EQ(esaControl.fanSpeedDivisor, 0);
}

TEST_F(PersonalityTest, LongerFileBeforeLeavesNothingBehind) {
    dir_.write("\"PeltoTolvex\" and more text");
    esaPersonalityRead();
    dir_.write("<x/>");
    esaPersonalityRead();
    EXPECT_STREQ(esPersonalityToolkitXmlFilePtr, "<x/>");
}

TEST_F(PersonalityTest, MissingFileIsNotRead) {
    EXPECT_FALSE(esaPersonalityRead());
}

TEST_F(PersonalityTest, DirectoryInPlaceOfTheFileCountsAsEmpty) {
    std::filesystem::create_directory(dir_.file());
    EXPECT_TRUE(esaPersonalityRead());
    EXPECT_STREQ(esPersonalityToolkitXmlFilePtr, "");
}

TEST_F(PersonalityTest, UnsetStartupCountsAsAnEmptyPrefix) {
    unsetenv("STARTUP");
    EXPECT_FALSE(esaPersonalityRead());
    EXPECT_THAT(trace_.take(), ElementsAre("Personality Toolkit XML File Path = "
                                           "[/../web/OEM/EnvPersonalityParams.xml]."));
}

TEST_F(PersonalityTest, PathLongerThanTheSystemTakesIsNotOpened) {
    dir_.write("\"PeltoTolvex\"");
    // Cut off at the system's limit, this would name the file itself.
    const std::string path = dir_.file().string();
    setenv("STARTUP", (std::string(4095 - path.size(), '/') + path + "/x").c_str(), 1);
    EXPECT_FALSE(esaPersonalityRead());
}
