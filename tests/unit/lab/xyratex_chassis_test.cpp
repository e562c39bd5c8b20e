// SPDX-License-Identifier: Apache-2.0
// The Xyratex chassis as its registers show it: pins, fan groups, LEDs, alarm.
#include "lab/chassis/xyratex_chassis.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/unit/lab/chassis_access.h"

namespace enclab {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;

class XyratexChassisTest : public testing::Test {
  protected:
    // Directions as the service sets them.
    XyratexChassisTest() {
        const int directions[] = {0xFF, 0x00, 0xFF, 0x0F, 0x30, 0x10, 0x00, 0x00};
        for (int port = 0; port < 8; ++port) {
            write(0x10 + port, directions[port]);
        }
        setAlarm(0);
    }

    int reg(int number) { return readAt(chassis, 0x63, number); }
    void write(int number, int value) { writeAt(chassis, 0x63, number, value); }

    void setAlarm(int state) {
        write(5, 0x08 | state);
        write(5, state);
    }
    int readAlarm() {
        int state = 0;
        for (int bit = 0; bit < 3; ++bit) {
            write(5, bit);
            state |= (reg(5) >> 4 & 1) << bit;
        }
        return state;
    }

    XyratexChassis chassis;
};

TEST_F(XyratexChassisTest, EachGroupOfFourFansFollowsItsOutput) {
    const struct {
        int front, back, frontCount, backCount;
        double frontRpm, backRpm;
    } rows[] = {{0x27, 0x3F, 240, 60, 5000, 20000},
                {0x2F, 0x37, 120, 80, 10000, 15000},
                {0x00, 0x27, 255, 240, 0, 5000}};
    for (const auto& row : rows) {
        write(0x98, row.front);
        write(0x99, row.back);
        for (int fan = 0; fan < 8; ++fan) {
            const bool front = fan < 4;
            EXPECT_EQ(reg(0x32 + 4 * fan), front ? row.frontCount : row.backCount) << fan;
            EXPECT_EQ(chassis.fanRpm(fan), front ? row.frontRpm : row.backRpm) << fan;
        }
    }
}

TEST_F(XyratexChassisTest, PulledFanIsAloneInItsGroup) {
    chassis.pullFan(6);
    for (int fan = 0; fan < 8; ++fan) {
        EXPECT_EQ(reg(0x32 + 4 * fan), fan == 6 ? 255 : 60) << fan;
    }
    chassis.returnFan(6);
    EXPECT_EQ(reg(0x4A), 60);
}

TEST_F(XyratexChassisTest, FanPowerPortIsNotWired) {
    write(1, 0x00);
    EXPECT_EQ(reg(0x32), 60);
}

TEST_F(XyratexChassisTest, SensorsAreLeftAndRight) {
    chassis.setTemperature(0, 41);
    chassis.setTemperature(1, 52);
    EXPECT_EQ(readAt(chassis, 0x4C, 0), 41);
    EXPECT_EQ(readAt(chassis, 0x4D, 0), 52);
    EXPECT_EQ(readAt(chassis, 0x4B, 0), -1);
    EXPECT_EQ(chassis.sensors(), 2);
}

TEST_F(XyratexChassisTest, PresenceIsLowOnPortsZeroAndThree) {
    EXPECT_EQ(reg(0), 0x00) << "all present";
    EXPECT_EQ(reg(3) & 0x0F, 0x00);
    const struct {
        int slot, port0, port3;
    } rows[] = {{0, 0x01, 0}, {7, 0x80, 0}, {8, 0, 0x01}, {11, 0, 0x08}};
    for (const auto& row : rows) {
        chassis.setDrivePresent(row.slot, false);
        EXPECT_EQ(reg(0), row.port0) << row.slot;
        EXPECT_EQ(reg(3) & 0x0F, row.port3) << row.slot;
        EXPECT_FALSE(chassis.drivePresent(row.slot));
        chassis.setDrivePresent(row.slot, true);
        EXPECT_TRUE(chassis.drivePresent(row.slot));
    }
    EXPECT_EQ(reg(0), 0x00);
}

TEST_F(XyratexChassisTest, SuppliesAreBitsFourAndFiveOfPortFour) {
    write(4, 0xFC);
    EXPECT_EQ(reg(4), 0xFC);
    chassis.setRedundancy(false);
    EXPECT_EQ(reg(4), 0xDC);
    chassis.setRail("5", 4.4);
    EXPECT_EQ(reg(4), 0xCC);
    chassis.setRedundancy(true);
    EXPECT_EQ(reg(4), 0xEC);
    const struct {
        const char* rail;
        double volts;
        bool good;
    } rows[] = {{"5", 4.51, true},   {"5", 5.49, true},   {"5", 5.51, false},  {"5", 5, true},
                {"12", 10.7, false}, {"12", 10.81, true}, {"12", 13.19, true}, {"12", 13.3, false}};
    for (const auto& row : rows) {
        chassis.setRail(row.rail, row.volts);
        EXPECT_EQ(reg(4), row.good ? 0xFC : 0xEC) << row.rail << " at " << row.volts;
    }
}

TEST_F(XyratexChassisTest, DriveLedPortsAreReversedAndLitByALowPin) {
    write(6, 0xFF);
    EXPECT_THAT(litSlots(chassis), ElementsAre());
    write(7, 0x7E);
    write(6, 0xF5);
    EXPECT_THAT(litSlots(chassis), ElementsAre(0, 7, 9, 11));
}

TEST_F(XyratexChassisTest, StatusLedsAreLitByAHighPin) {
    const struct {
        int value;
        const char* lit;
    } rows[] = {{0x2F, "psu-ok"},
                {0x40, "redundancy-fail"},
                {0x80, "fan-fail"},
                {0xFF, "psu-ok redundancy-fail fan-fail"},
                {0x1F, ""}};
    for (const auto& row : rows) {
        write(6, row.value);
        EXPECT_EQ(litStatusLeds(chassis), row.lit);
    }
}

TEST_F(XyratexChassisTest, AlarmIsSetByStrobeAndReadOverTheSelector) {
    for (int state : {1, 2, 3, 4, 7, 0}) {
        setAlarm(state);
        EXPECT_EQ(readAlarm(), state);
    }
    EXPECT_EQ(chassis.alarm(), "S0 idle");
    setAlarm(3);
    EXPECT_EQ(chassis.alarm(), "S3 mute");
}

TEST_F(XyratexChassisTest, AlarmHearsTheSuppliesAndRunsByItself) {
    chassis.setRedundancy(false);
    EXPECT_EQ(readAlarm(), 1);
    chassis.setRail("12", 0);
    chassis.setRedundancy(true);
    EXPECT_EQ(readAlarm(), 1) << "the rail is still bad";
    setAlarm(3);
    chassis.advance(seconds(60));
    EXPECT_EQ(readAlarm(), 2);
    chassis.setRail("12", 12);
    EXPECT_EQ(readAlarm(), 2);
    setAlarm(0);
    EXPECT_EQ(readAlarm(), 0);
}

TEST_F(XyratexChassisTest, AlarmBitShowsAChangeWithoutANewSelection) {
    write(5, 0);
    EXPECT_EQ(reg(5), 0x00);
    chassis.setRedundancy(false);
    EXPECT_EQ(reg(5), 0x10);
    setAlarm(3);
    write(5, 0);
    chassis.advance(seconds(60));
    EXPECT_EQ(reg(5), 0x00) << "remind has bit 0 clear";
}

TEST(XyratexChassisStart, IsDarkAndQuietUntilSomebodyDrivesThePins) {
    XyratexChassis chassis;
    EXPECT_EQ(litStatusLeds(chassis), "");
    EXPECT_THAT(litSlots(chassis), ElementsAre());
    EXPECT_EQ(chassis.alarm(), "S0 idle");
}

TEST(XyratexChassisStart, FansAreOptional) {
    XyratexChassis chassis({.fans = 5, .temperature = 22});
    EXPECT_EQ(chassis.fans(), 5);
    EXPECT_EQ(readAt(chassis, 0x63, 0x42), 60);
    EXPECT_EQ(readAt(chassis, 0x63, 0x46), 255);
    EXPECT_EQ(readAt(chassis, 0x4D, 0), 22);
    EXPECT_THROW(XyratexChassis({.fans = 9}), std::out_of_range);
}

}  // namespace
}  // namespace enclab
