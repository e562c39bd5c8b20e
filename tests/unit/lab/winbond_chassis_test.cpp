// SPDX-License-Identifier: Apache-2.0
// The chassis with Winbond monitors as their registers show them: W83792AD with its expander, one
// W83782D, and the four of the Chenbro chassis under each of their address rules.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "lab/chassis/chenbro_chassis.h"
#include "lab/chassis/w83782d_chassis.h"
#include "lab/chassis/w83792ad_chassis.h"
#include "tests/unit/lab/chassis_access.h"

namespace enclab {
namespace {

using testing::ElementsAre;
using testing::Throws;
using testing::ThrowsMessage;

TEST(W83792adChassis, FansFollowTheirDutyAtOnce) {
    W83792adChassis chassis;
    const int duty[] = {0x81, 0x83, 0x94, 0xA3, 0xA4, 0xA5};
    const int count[] = {0x28, 0x29, 0x2A, 0xB8, 0xB9, 0xBA};
    for (int number : {0x47, 0x5B, 0x5C}) {
        writeAt(chassis, 0x2C, number, 0xCC);
    }
    for (int fan = 0; fan < 6; ++fan) {
        EXPECT_EQ(readAt(chassis, 0x2C, count[fan]), 40) << "15/16 of 9000 RPM, divisor 4";
        writeAt(chassis, 0x2C, duty[fan], 0x88);
        EXPECT_EQ(chassis.fanLoadPercent(fan), 50);
        EXPECT_EQ(chassis.fanRpm(fan), 4500);
        EXPECT_EQ(readAt(chassis, 0x2C, count[fan]), 75);
    }
    chassis.pullFan(3);
    EXPECT_EQ(readAt(chassis, 0x2C, 0xB8), 255);
    EXPECT_EQ(readAt(chassis, 0x2C, 0xB9), 75);
    chassis.returnFan(3);
    EXPECT_EQ(readAt(chassis, 0x2C, 0xB8), 75);
}

TEST(W83792adChassis, SensorsAreTheMonitorsOwn) {
    W83792adChassis chassis;
    const int registers[] = {0x27, 0xC0, 0xC8};
    for (int sensor = 0; sensor < 3; ++sensor) {
        EXPECT_EQ(readAt(chassis, 0x2C, registers[sensor]), 30);
        chassis.setTemperature(sensor, 40 + sensor);
        EXPECT_EQ(readAt(chassis, 0x2C, registers[sensor]), 40 + sensor);
    }
}

TEST(W83792adChassis, RailsReachTheirChannels) {
    W83792adChassis chassis;
    const int readings[] = {150, 150, 187, 206, 0, 0, 208};
    for (int channel = 0; channel < 7; ++channel) {
        EXPECT_EQ(readAt(chassis, 0x2C, 0x20 + channel), readings[channel]) << channel;
    }
    chassis.setRail("5", 4.2);
    EXPECT_EQ(readAt(chassis, 0x2C, 0x26), 175);
    chassis.setRail("12", 13.6);
    EXPECT_EQ(readAt(chassis, 0x2C, 0x22), 212) << "a quarter at the pin";
    EXPECT_THAT([&] { chassis.setRail("-12", 1); },
                ThrowsMessage<std::out_of_range>(
                    "no rail \"-12\": the chassis has 5, 12, 3.3, vcorea, vcoreb"));
}

TEST(W83792adChassis, RedundancyIsBitSevenOfGpioA) {
    W83792adChassis chassis;
    writeAt(chassis, 0x2C, 0x1B, 0x45);
    writeAt(chassis, 0x2C, 0x1C, 0x40);
    EXPECT_EQ(readAt(chassis, 0x2C, 0x1C), 0xFA);
    chassis.setRedundancy(false);
    EXPECT_EQ(readAt(chassis, 0x2C, 0x1C), 0x7A);
    EXPECT_FALSE(chassis.redundancy());
    chassis.setRedundancy(true);
    EXPECT_EQ(readAt(chassis, 0x2C, 0x1C), 0xFA);
}

TEST(W83792adChassis, DriveLedsHangOnTheExpanderLitByAHighPin) {
    W83792adChassis chassis;
    EXPECT_THAT(litSlots(chassis), ElementsAre()) << "nothing drives them";
    writeAt(chassis, 0x74, 6, 0x00);
    EXPECT_THAT(litSlots(chassis), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7)) << "latches start high";
    writeAt(chassis, 0x74, 7, 0x00);
    writeAt(chassis, 0x74, 2, 0x28);
    writeAt(chassis, 0x74, 3, 0x81);
    EXPECT_THAT(litSlots(chassis), ElementsAre(3, 5, 8, 15));
}

TEST(W83792adChassis, HasNeitherPresenceNorAlarm) {
    W83792adChassis chassis;
    EXPECT_THAT([&] { chassis.setDrivePresent(0, false); },
                ThrowsMessage<std::out_of_range>("the chassis has no drive presence inputs"));
    EXPECT_EQ(chassis.alarm(), "");
    EXPECT_EQ(chassis.addressOf("pca9539"), 0x74);
    EXPECT_EQ(chassis.nameOf(0x2C), "w83792ad");
    EXPECT_THROW(W83792adChassis({.fans = 7}), std::out_of_range);
    EXPECT_THROW(W83792adChassis({.sensors = 4}), std::out_of_range);
}

TEST(W83782dChassis, FansHangOnOutputsOneThreeAndFour) {
    W83782dChassis chassis;
    const int duty[] = {0x5B, 0x5E, 0x5F};
    for (int fan = 0; fan < 3; ++fan) {
        EXPECT_EQ(readAt(chassis, 0x2D, 0x28 + fan), 56) << "12000 RPM";
        writeAt(chassis, 0x2D, duty[fan], 51);
        EXPECT_EQ(chassis.fanLoadPercent(fan), 20);
        EXPECT_EQ(chassis.fanRpm(fan), 2400);
    }
    writeAt(chassis, 0x2D, 0x5A, 0);
    EXPECT_EQ(chassis.fanRpm(1), 2400) << "PWMOUT2 drives none";
    writeAt(chassis, 0x2D, 0x5E, 255);
    chassis.pullFan(2);
    EXPECT_EQ(readAt(chassis, 0x2D, 0x28), 254);
    EXPECT_EQ(readAt(chassis, 0x2D, 0x29), 56);
    EXPECT_EQ(readAt(chassis, 0x2D, 0x2A), 255);
}

TEST(W83782dChassis, RailsSensorAndAlarm) {
    W83782dChassis chassis;
    const int readings[] = {94, 94, 206, 186, 197, 35, 54};
    for (int channel = 0; channel < 7; ++channel) {
        EXPECT_EQ(readAt(chassis, 0x2D, 0x20 + channel), readings[channel]) << channel;
    }
    chassis.setRail("12", 10.7616);
    EXPECT_EQ(readAt(chassis, 0x2D, 0x24), 0xB1);
    chassis.setRail("-5", -4.5);
    EXPECT_EQ(readAt(chassis, 0x2D, 0x26), 64);
    EXPECT_EQ(readAt(chassis, 0x2D, 0x27), 30);
    chassis.setTemperature(0, -10);
    EXPECT_EQ(readAt(chassis, 0x2D, 0x27), 0xF6);
    EXPECT_EQ(chassis.alarm(), "sounding on monitor 0");
    writeAt(chassis, 0x2D, 0x40, 0x40);
    EXPECT_EQ(chassis.alarm(), "muted");
}

TEST(W83782dChassis, HasOneSensorAndNoInputsOrLeds) {
    W83782dChassis chassis;
    EXPECT_EQ(chassis.sensors(), 1);
    EXPECT_EQ(chassis.slots(), 16);
    EXPECT_THROW(chassis.setTemperature(1, 30), std::out_of_range);
    EXPECT_THAT([&] { chassis.setRedundancy(false); },
                ThrowsMessage<std::out_of_range>("the chassis has no redundancy input"));
    EXPECT_THAT([&] { chassis.driveFaultLed(0); },
                ThrowsMessage<std::out_of_range>("the chassis has no drive fault LEDs"));
}

std::vector<int> answering(Chassis& chassis) {
    std::vector<int> addresses;
    for (int address = 0; address < 0x80; ++address) {
        if (readAt(chassis, address, 0x48) >= 0) {
            addresses.push_back(address);
        }
    }
    return addresses;
}

TEST(ChenbroChassis, EachWiringAnswersAtItsAddresses) {
    ChenbroChassis both;
    ChenbroChassis byShift(ChenbroChassis::Wiring::kByShift);
    ChenbroChassis inSequence(ChenbroChassis::Wiring::kInSequence);
    EXPECT_THAT(answering(both), ElementsAre(0x28, 0x29, 0x2A, 0x2B, 0x2C, 0x30));
    EXPECT_THAT(answering(byShift), ElementsAre(0x28, 0x2A, 0x2C, 0x30));
    EXPECT_THAT(answering(inSequence), ElementsAre(0x28, 0x29, 0x2A, 0x2B));
}

// Backplane by one rule for temperatures and voltages, by the other for fans.
TEST(ChenbroChassis, BothRulesReachTheBackplaneTheyMean) {
    ChenbroChassis chassis;
    const int byShift[] = {0x28, 0x2A, 0x2C, 0x30};
    for (int backplane = 0; backplane < 4; ++backplane) {
        chassis.setTemperature(backplane, 40 + backplane);
        chassis.setRail("5@" + std::to_string(backplane), 4.0 + backplane * 0.5);
    }
    const int volts[] = {149, 167, 186, 205};
    for (int backplane = 0; backplane < 4; ++backplane) {
        EXPECT_EQ(readAt(chassis, byShift[backplane], 0x27), 40 + backplane);
        EXPECT_EQ(readAt(chassis, byShift[backplane], 0x23), volts[backplane]);
    }
    const struct {
        int address, duty, count;
    } fans[] = {{0x28, 0x5B, 0x28}, {0x28, 0x5A, 0x29}, {0x29, 0x5B, 0x28},
                {0x2A, 0x5B, 0x28}, {0x2B, 0x5B, 0x28}, {0x2B, 0x5A, 0x29}};
    for (int fan = 0; fan < 6; ++fan) {
        writeAt(chassis, fans[fan].address, fans[fan].duty, 51 * fan);
    }
    for (int fan = 0; fan < 6; ++fan) {
        EXPECT_EQ(chassis.fanLoadPercent(fan), 20 * fan);
        writeAt(chassis, fans[fan].address, fans[fan].duty, 255);
    }
    for (int fan = 0; fan < 6; ++fan) {
        chassis.pullFan(fan);
        for (int other = 0; other < 6; ++other) {
            EXPECT_EQ(readAt(chassis, fans[other].address, fans[other].count),
                      other == fan ? 255 : 56)
                << "fan " << fan << " pulled, fan " << other;
        }
        chassis.returnFan(fan);
    }
}

TEST(ChenbroChassis, SharedAddressStoresFanRegistersInOneMonitorAndTheRestInTheOther) {
    ChenbroChassis chassis;
    writeAt(chassis, 0x2A, 0x2B, 0x11);
    writeAt(chassis, 0x2A, 0x5A, 0x22);
    EXPECT_EQ(readAt(chassis, 0x29, 0x2B), 0x11) << "monitor 1";
    EXPECT_EQ(readAt(chassis, 0x2C, 0x2B), 0x00) << "monitor 2";
    EXPECT_EQ(readAt(chassis, 0x29, 0x5A), 0xFF);
    EXPECT_EQ(readAt(chassis, 0x2C, 0x5A), 0x22);
}

TEST(ChenbroChassis, CutMonitorIsGoneAtAllItsAddresses) {
    const struct {
        const char* device;
        bool answers28, answers29, answersShared, answersSharedFans, answers2B, answers2C,
            answers30;
    } rows[] = {
        {"w83782d-0", false, true, true, true, true, true, true},
        {"w83782d-1", true, false, false, true, true, true, true},
        {"w83782d-2", true, true, true, false, true, false, true},
        {"w83782d-3", true, true, true, true, false, true, false},
        {"w83782d-1/2", true, true, false, false, true, true, true},
        {"0x30", true, true, true, true, false, true, false},
    };
    for (const auto& row : rows) {
        ChenbroChassis chassis;
        chassis.bus().cut(chassis.addressOf(row.device));
        EXPECT_EQ(readAt(chassis, 0x28, 0x27) >= 0, row.answers28) << row.device;
        EXPECT_EQ(readAt(chassis, 0x29, 0x27) >= 0, row.answers29) << row.device;
        EXPECT_EQ(readAt(chassis, 0x2A, 0x27) >= 0, row.answersShared) << row.device;
        EXPECT_EQ(readAt(chassis, 0x2A, 0x28) >= 0, row.answersSharedFans) << row.device;
        EXPECT_EQ(readAt(chassis, 0x2B, 0x27) >= 0, row.answers2B) << row.device;
        EXPECT_EQ(readAt(chassis, 0x2C, 0x27) >= 0, row.answers2C) << row.device;
        EXPECT_EQ(readAt(chassis, 0x30, 0x27) >= 0, row.answers30) << row.device;
        chassis.bus().mend(chassis.addressOf(row.device));
        EXPECT_EQ(answering(chassis).size(), 6U) << row.device;
    }
}

TEST(ChenbroChassis, SingleRuleHasNoSharedAddress) {
    ChenbroChassis byShift(ChenbroChassis::Wiring::kByShift);
    byShift.setTemperature(1, 41);
    byShift.pullFan(2);
    EXPECT_EQ(readAt(byShift, 0x2A, 0x27), 41);
    EXPECT_EQ(readAt(byShift, 0x2A, 0x28), 255) << "fan 2, on monitor 1";
    ChenbroChassis inSequence(ChenbroChassis::Wiring::kInSequence);
    inSequence.setTemperature(2, 42);
    EXPECT_EQ(readAt(inSequence, 0x2A, 0x27), 42);
    EXPECT_EQ(readAt(inSequence, 0x2A, 0x48), 0x2A);
    EXPECT_EQ(inSequence.addressOf("w83782d-3"), 0x2B);
}

TEST(ChenbroChassis, RailOfEveryBackplaneGoesByItsPlainName) {
    ChenbroChassis chassis;
    chassis.setRail("12", 10.7616);
    for (int address : {0x28, 0x2A, 0x2C, 0x30}) {
        EXPECT_EQ(readAt(chassis, address, 0x24), 0xB1);
        EXPECT_EQ(readAt(chassis, address, 0x25), 35) << "-12 is another rail";
    }
    chassis.setRail("-12@2", -10);
    EXPECT_EQ(readAt(chassis, 0x2C, 0x25), 60);
    EXPECT_EQ(readAt(chassis, 0x30, 0x25), 35);
    for (const char* wrong : {"", "@2", "5@4", "5@", "1"}) {
        EXPECT_THAT([&] { chassis.setRail(wrong, 1); }, Throws<std::out_of_range>()) << wrong;
    }
}

TEST(ChenbroChassis, AlarmNamesTheMonitorsThatSound) {
    ChenbroChassis chassis;
    EXPECT_EQ(chassis.alarm(), "sounding on monitor 0 1 2 3");
    for (int address : {0x28, 0x2A, 0x30}) {
        writeAt(chassis, address, 0x40, 0x40);
    }
    EXPECT_EQ(chassis.alarm(), "sounding on monitor 2");
    writeAt(chassis, 0x2C, 0x40, 0x40);
    EXPECT_EQ(chassis.alarm(), "muted");
}

}  // namespace
}  // namespace enclab
