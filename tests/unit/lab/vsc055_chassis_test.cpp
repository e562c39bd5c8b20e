// SPDX-License-Identifier: Apache-2.0
// The VSC055 chassis as its registers show it: every engineer's action must be seen on the bus.
#include "lab/chassis/vsc055_chassis.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace enclab {
namespace {

constexpr std::uint8_t kController = 0x41;

class Vsc055ChassisTest : public testing::Test {
  protected:
    int reg(std::uint8_t number) { return chassis.bus().readRegister(kController, number).value(); }
    void write(std::uint8_t number, std::uint8_t value) {
        ASSERT_TRUE(chassis.bus().writeRegister(kController, number, value));
    }

    Vsc055Chassis chassis;
};

TEST_F(Vsc055ChassisTest, FansFollowTheirLoadAtOnce) {
    const struct {
        std::uint8_t duty;
        double percent, rpm;
        int count;
    } rows[] = {{0x27, 25, 2250, 133},
                {0x2F, 50, 4500, 67},
                {0x37, 75, 6750, 44},
                {0x3F, 100, 9000, 33},
                {0x00, 0, 0, 0xFF}};
    EXPECT_EQ(chassis.fanRpm(3), 9000) << "full speed before anybody takes over";
    for (const auto& row : rows) {
        write(0x9B, row.duty);
        EXPECT_EQ(chassis.fanLoadPercent(3), row.percent);
        EXPECT_EQ(chassis.fanRpm(3), row.rpm);
        EXPECT_EQ(reg(0x3E), row.count);
        EXPECT_EQ(reg(0x32), 33) << "fan 0 keeps its own load";
    }
}

TEST_F(Vsc055ChassisTest, PulledFanGivesNoPulsesUntilItReturns) {
    chassis.pullFan(1);
    EXPECT_FALSE(chassis.fanPresent(1));
    EXPECT_EQ(reg(0x36), 0xFF);
    EXPECT_EQ(reg(0x32), 33);
    write(0x99, 0x2F);
    EXPECT_EQ(reg(0x36), 0xFF);
    chassis.returnFan(1);
    EXPECT_TRUE(chassis.fanPresent(1));
    EXPECT_EQ(reg(0x36), 67);
}

TEST_F(Vsc055ChassisTest, FanWithoutPowerStands) {
    write(0x11, 0x00);
    write(0x01, 0xFB);
    EXPECT_EQ(chassis.fanLoadPercent(2), 0);
    EXPECT_EQ(reg(0x3A), 0xFF);
    EXPECT_EQ(reg(0x36), 33);
    write(0x01, 0xFF);
    EXPECT_EQ(reg(0x3A), 33);
}

TEST_F(Vsc055ChassisTest, PlacesWithoutAFanGiveNoPulses) {
    EXPECT_EQ(reg(0x42), 0xFF);
}

TEST_F(Vsc055ChassisTest, EachSensorHasItsAddress) {
    const std::uint8_t addresses[] = {0x4C, 0x4B, 0x4A, 0x4D};
    for (int n = 0; n < 4; ++n) {
        EXPECT_EQ(chassis.bus().readRegister(addresses[n], 0), 30);
        chassis.setTemperature(n, 40 + n);
        EXPECT_EQ(chassis.bus().readRegister(addresses[n], 0), 40 + n);
        EXPECT_EQ(chassis.temperature(n), 40 + n);
    }
    EXPECT_EQ(chassis.bus().readRegister(0x4E, 0), std::nullopt) << "sensor 4 is not fitted";
}

TEST_F(Vsc055ChassisTest, RedundancyIsBitSevenOfPortFour) {
    write(0x14, 0x80);
    write(0x04, 0x50);
    EXPECT_TRUE(chassis.redundancy());
    EXPECT_EQ(reg(0x04), 0xD0);
    chassis.setRedundancy(false);
    EXPECT_FALSE(chassis.redundancy());
    EXPECT_EQ(reg(0x04), 0x50);
    chassis.setRedundancy(true);
    EXPECT_EQ(reg(0x04), 0xD0);
}

TEST_F(Vsc055ChassisTest, DriveLedsAreLitByALowPin) {
    write(0x16, 0x00);
    write(0x17, 0x00);
    EXPECT_FALSE(chassis.driveFaultLed(0)) << "the latches start high";
    write(0x06, 0x7E);
    write(0x07, 0xFD);
    std::vector<int> lit;
    for (int slot = 0; slot < chassis.slots(); ++slot) {
        if (chassis.driveFaultLed(slot)) {
            lit.push_back(slot);
        }
    }
    EXPECT_EQ(lit, (std::vector<int>{0, 7, 9}));
}

TEST_F(Vsc055ChassisTest, DevicesGoByNameOrAddress) {
    EXPECT_EQ(chassis.addressOf("vsc055"), 0x41);
    EXPECT_EQ(chassis.addressOf("lm75-2"), 0x4A);
    EXPECT_EQ(chassis.addressOf("0x4d"), 0x4D);
    EXPECT_EQ(chassis.nameOf(0x4B), "lm75-1");
    EXPECT_EQ(chassis.nameOf(0x20), "0x20");
    for (const char* wrong :
         {"lm75-4", "lm75", "", "0x", "0x80", "0x1ff", "0x4g", "77", "vsc055 "}) {
        EXPECT_THROW(chassis.addressOf(wrong), std::out_of_range) << wrong;
    }
}

TEST_F(Vsc055ChassisTest, WhatIsNotFittedIsNamedInTheError) {
    EXPECT_THAT([&] { chassis.pullFan(4); },
                testing::ThrowsMessage<std::out_of_range>("no fan 4: the chassis has 4, from 0"));
    EXPECT_THROW(chassis.fanRpm(-1), std::out_of_range);
    EXPECT_THROW(chassis.setTemperature(4, 1), std::out_of_range);
    EXPECT_THROW(chassis.driveFaultLed(16), std::out_of_range);
}

TEST(Vsc055ChassisOptions, CountsAreChecked) {
    Vsc055Chassis full({.fans = 8, .sensors = 6, .fanSpeedDivisor = 2, .temperature = 20});
    EXPECT_EQ(full.bus().readRegister(0x41, 0x4E), 67) << "fan 7";
    EXPECT_EQ(full.bus().readRegister(0x4F, 0), 20) << "sensor 5";
    Vsc055Chassis bare({.fans = 0, .sensors = 0});
    EXPECT_EQ(bare.devices().size(), 1U);
    EXPECT_THROW(bare.pullFan(0), std::out_of_range);
    EXPECT_THROW(Vsc055Chassis({.fans = 9}), std::out_of_range);
    EXPECT_THROW(Vsc055Chassis({.sensors = 7}), std::out_of_range);
    EXPECT_THROW(Vsc055Chassis({.fanSpeedDivisor = 0}), std::out_of_range);
}

}  // namespace
}  // namespace enclab
