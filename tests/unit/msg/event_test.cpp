// SPDX-License-Identifier: Apache-2.0
// Events to the event manager, byte for byte.
#include "msg/esa_event.h"

#include <gmock/gmock.h>

#include <string>

#include "tests/unit/msg/sender.h"

using testing::ElementsAre;

namespace {

using Event = Sender;

// Header of the message and, all zero, of the event up to its source.
std::string front() {
    return "00000000 00000000 0E010168 08000001 21000000 08000000 00000000 00000000 00000000"
           "00000000 00000000 00000000 00000000 00000000 00000000 00000000" +
           std::string(2 * 147, '0');
}

TEST_F(Event, EveryFieldHasItsPlace) {
    EsaEventData_t data = {};
    data.enclosureType = 7;
    data.numberOfDrive = 0x01020304;
    data.numberOfPowerSupply = 0x05060708;
    data.numberOfFan = 0x090A0B0C;
    data.numberOfTemperatureSensor = 0x0D0E0F10;
    data.numberOfAlarm = 0x11121314;
    data.driveFaultLedStatus0 = 0x15161718;
    data.driveFaultLedStatus1 = 0x191A1B1C;
    data.powerSupplyStatus = 0x1D1E1F20;
    data.fanFaultStatus = 0x21222324;
    data.temperatureStatus = 0x25262728;
    data.temperatureSensorPosition = 0x292A2B2C;
    data.temperature = -2;
    data.alarmState = 0x31323334;
    data.information = 0x35363738;
    data.powerSupplyVoltage5V = 5.0;
    data.powerSupplyVoltage12V = -12.5;
    for (int i = 0; i < 8; ++i) {
        data.fanRpmSpeed[i] = static_cast<U16_t>(0xA000 + i);
        data.temperatureSensor[i] = static_cast<S16_t>(i - 4);
    }
    data.general_use1 = 0x51525354;
    data.general_use2 = 0x55565758;
    data.general_use3 = 0x595A5B5C;
    data.general_use4 = 0x5D5E5F60;
    data.general_use5 = 0x61626364;
    data.reserved5 = 0x65666768;
    data.reserved6 = 0x696A6B6C;
    EXPECT_EQ(esaEventMmsgToEmpSend(0x0108, 3, &data), 360);
    EXPECT_EQ(sent(), hexText(front() + R"(
        03 03 01 0108                        # type, category, version, id
        07 000000
        01020304 05060708 090A0B0C 0D0E0F10 11121314 15161718 191A1B1C 1D1E1F20
        21222324 25262728 292A2B2C
        FFFE 0000                            # -2 degrees
        31323334 35363738 00000000
        4014000000000000 C029000000000000    # 5.0 and -12.5 volts
        A000 A001 A002 A003 A004 A005 A006 A007
        FFFC FFFD FFFE FFFF 0000 0001 0002 0003
        51525354 55565758 595A5B5C 5D5E5F60 61626364 65666768 696A6B6C 00000000
    )"));
}

TEST_F(Event, StatisticsCarryWhatTheCountsCover) {
    esaControl.enclosureType = 5;
    esaControl.coolingMaxNumber = 3;
    esaControl.temperatureSensorMaxNumber = 2;
    esaControl.powerSupplyVoltage5V = 5.25;
    esaControl.powerSupplyVoltage12V = 11.75;
    for (int i = 0; i < 8; ++i) {
        esaControl.fanRpmSpeed[i] = static_cast<U16_t>(0x1001 + i);
        esaControl.temperatureSensor[i] = static_cast<S16_t>(0x7FFF - i);
    }
    EXPECT_EQ(esaReportTimeoutProcess(), 360);
    EXPECT_EQ(sent(), hexText(front() + R"(
        01 03 01 000A
        05 000000
        00000000 00000000 00000003 00000002 00000000 00000000 00000000 00000000
        00000000 00000000 00000000
        0000 0000
        00000000 00000009 00000000
        4015000000000000 4027800000000000    # 5.25 and 11.75 volts
        1001 1002 1003 0000 0000 0000 0000 0000
        7FFF 7FFE 0000 0000 0000 0000 0000 0000
        00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
    )"));
    EXPECT_THAT(trace_.take(), ElementsAre("Send the Enclosure Services Statistics Event Log."));
}

// Counts are reported as they are read; only what there is room for is copied.
TEST_F(Event, StatisticsStayInsideTheirArrays) {
    esaControl.fanRpmSpeed[0] = 0x1234;
    esaControl.temperatureSensor[0] = 0x5678;
    esaControl.fanRpmSpeed[7] = 0x4321;
    esaControl.temperatureSensor[7] = 0x4765;
    const struct {
        U8_t fans;
        U8_t sensors;
        U16_t firstSpeed;
        U16_t firstTemperature;
        U16_t lastSpeed;
        U16_t lastTemperature;
    } cases[] = {
        {0, 0, 0, 0, 0, 0},
        {1, 0, 0x1234, 0, 0, 0},
        {0, 8, 0, 0x5678, 0, 0x4765},
        {44, 255, 0x1234, 0x5678, 0x4321, 0x4765},
        {255, 44, 0x1234, 0x5678, 0x4321, 0x4765},
    };
    for (const auto& c : cases) {
        esaControl.coolingMaxNumber = c.fans;
        esaControl.temperatureSensorMaxNumber = c.sensors;
        esaReportTimeoutProcess();
        const Bytes event = peer_.take().at(0);
        EXPECT_EQ(be32At(event, 64 + 164), c.fans);
        EXPECT_EQ(be32At(event, 64 + 168), c.sensors);
        EXPECT_EQ(be16At(event, 64 + 232), c.firstSpeed);
        EXPECT_EQ(be16At(event, 64 + 246), c.lastSpeed);
        EXPECT_EQ(be16At(event, 64 + 248), c.firstTemperature);
        EXPECT_EQ(be16At(event, 64 + 262), c.lastTemperature);
        EXPECT_EQ(be32At(event, 64 + 264), 0u);
    }
}

TEST_F(Event, NamesItsSenderWhenLost) {
    EXPECT_THAT(faultOf(esaReportTimeoutProcess),
                ElementsAre("| Function:  esaEventMmsgToEmpSend()",
                            "| Message:   Linux send function fails, sendSize = [360] is wrong"));
}

}  // namespace
