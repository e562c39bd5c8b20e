// SPDX-License-Identifier: Apache-2.0
// Initialisation: the defaults, the order of the steps, which failure leaves out which steps, and
// the closing event to the byte.
#include "core/esa_init.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "core/esa_control.h"
#include "mpu_gbl.h"
#include "msg/esa_mmsg.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/fake_system_calls.h"
#include "tests/support/hex.h"
#include "tests/support/personality_dir.h"
#include "tests/support/switch_listener.h"
#include "tests/support/trace_capture.h"

using testing::ElementsAre;

namespace {

class InitTest : public testing::Test {
  protected:
    InitTest() {
        systemCalls = {};
        systemCalls.enclosureDevice = "/dev/null";
        wireTextSet(params_.mmsgDirectory, listener_.directory().c_str());
        pMpuParams = &params_;
        std::memset(&esaControl, 0xEE, sizeof esaControl);
        listener_.open();
        takeAltRecords();
    }
    ~InitTest() override {
        esaLinkDown();
        pMpuParams = nullptr;
    }
    // The one message sent, without the message's address; empty when there is none.
    std::string messageText() {
        listener_.accept();
        const std::vector<Bytes> messages = listener_.take();
        return messages.size() == 1 ? hexText(Bytes(messages[0].begin() + 8, messages[0].end()))
                                    : "";
    }

    MPU_PARAMS_t params_ = {};
    SwitchListener listener_;
    PersonalityDir dir_;
    TraceCapture trace_{0x0010};
};

constexpr char EVENT_HEADER[] = R"(
    0E 01 0168  08000001  21 00 00 00
    08000000 00000000 00000000 00000000  00000000 00000000
    00000000 00000000 00000000  00000000 00000000
    # event header: information, environmental, version 1, event 10
    00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
    00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
    00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
    00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
    00000000 00000000 00000000 00000000  0000 00 01 03 01 000A
)";

std::string keyOf(const std::string& name, const std::string& value) {
    return "\"" + name + "\" value=\"" + value + "\"\n";
}

}  // namespace

TEST_F(InitTest, WithoutAPersonalityFileTheDefaultsHoldAndTheEventSaysSo) {
    EXPECT_EQ(esaInit(), 360);
    EXPECT_THAT(trace_.take(),
                ElementsAre("esaDebug set to TRUE",
                            "Enclosure Services Adapter connects to MSM with socket [" +
                                std::to_string(esaControl.socketFdMSM) + "]",
                            "Personality Toolkit XML File Path = [" + dir_.path() + "].",
                            "No Personality Toolkit XML file.",
                            "esaControl.enclosureType = [KORVO_E_CHASSIS_NONE]"));
    EXPECT_EQ(messageText(), hexText(std::string(EVENT_HEADER) + R"(
        01000000 00000000 00000000 00000000 00000000 00000000   # type; counts
        00000000 00000000 00000000 00000000 00000000 00000000
        00000000 00000000 0000000A 00000000                     # information 10
        00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
        00000000 00000000 00000000 00000000
        00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000)"));

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

TEST_F(InitTest, PersonalityFileSetsTheStateAndGoesOutInTheEvent) {
    dir_.write("\"PeltoTolvex\"\n" + keyOf("coolingMaxNumber", "300") +
               keyOf("temperatureSensorMaxNumber", "6") + keyOf("fanSpeedDivisor", "4") +
               keyOf("overheatTemperatureLimit", "60") +
               keyOf("fanPwm25To50TemperatureThreshold", "65537") +  // not masked in its pair
               keyOf("fanPwm50To75TemperatureThreshold", "38") +
               keyOf("fanPwm75To100TemperatureThreshold", "44") +
               keyOf("fanPwm100To75TemperatureThreshold", "41") +
               keyOf("fanPwm75To50TemperatureThreshold", "35") +
               keyOf("fanPwm50To25TemperatureThreshold", "29") + keyOf("fanFaultRpmLimit", "1500") +
               keyOf("fanPwmLoadMinimum", "25"));
    EXPECT_EQ(esaInit(), 360);
    EXPECT_EQ(esaControl.enclosureType, 5);
    EXPECT_EQ(esaControl.i2cAddressVsc055, 0x41);
    EXPECT_EQ(esaControl.coolingMaxNumber, 44);
    EXPECT_EQ(messageText(), hexText(std::string(EVENT_HEADER) + R"(
        05000000 00000000 00000000 0000002C 00000006 00000000   # type; 44 fans, 6 sensors
        00000000 00000000 00000000 00000000 00000000 00000000
        00000000 00000000 0000000B 00000000                     # information 11
        00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
        00000000 00000000 00000000 00000000
        003C0004 00270001 0029002C 001D0023 001905DC            # pairs, high word first
        00000000 00000000 00000000)"));
}

TEST_F(InitTest, ZeroOverheatLimitIsWarnedOfOnAChassisWithABackEnd) {
    const std::string warning =
        "Overheat Temperature Limit is 0, every temperature above it is an overheat.";
    struct Case {
        const char* text;
        bool warned;
    };
    for (const Case& c : {Case{"\"PeltoTolvex\"", true}, Case{"\"Xyratex 2U12ATX\"", true},
                          Case{"\"PeltoTolvex\" \"overheatTemperatureLimit\" value=\"1\"", false},
                          Case{"\"Korvo Standard\"", false}, Case{"", false}}) {
        SCOPED_TRACE(c.text);
        dir_.write(c.text);
        esaInit();
        const std::vector<std::string> lines = trace_.take();
        EXPECT_EQ(std::ranges::count(lines, warning), c.warned ? 1 : 0);
        esaLinkDown();
    }
}

TEST_F(InitTest, WithoutTheEnclosureDeviceNothingIsReadAndNoEventSent) {
    dir_.write("\"PeltoTolvex\"");
    systemCalls.enclosureDevice = "";
    EXPECT_LT(esaInit(), 0);
    EXPECT_LT(esaControl.i2cFileFd, 0);
    EXPECT_EQ(esaControl.enclosureType, 1);
    EXPECT_EQ(trace_.take().back(), "Failed to open the i2c device.");
    EXPECT_EQ(messageText(), "");
}

TEST_F(InitTest, WithoutTheSwitchAllElseIsDone) {
    wireTextSet(params_.mmsgDirectory, "/nonexistent");
    dir_.write("\"PeltoTolvex\"");
    EXPECT_EQ(esaInit(), -1);
    EXPECT_EQ(esaControl.enclosureType, 5);
    EXPECT_GE(esaControl.i2cFileFd, 0);
    EXPECT_THAT(takeFaults(),
                ElementsAre("esaInit(): Linux connect function fails for MSM/ESA socket!"));
    EXPECT_THAT(trace_.take(), testing::Contains("Enclosure Services Adapter connects to MSM with "
                                                 "socket [-1]"));
}
