// SPDX-License-Identifier: Apache-2.0
// Self-test of the W83782D model, from the monitor's register description.
#include "lab/chips/w83782d.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/unit/lab/chip_access.h"

namespace enclab {
namespace {

class W83782dModel : public testing::Test {
  protected:
    int reg(int number) { return readAt(chip, number); }
    void write(int number, int value) { writeAt(chip, number, value); }

    W83782d chip{0x2D};
};

TEST_F(W83782dModel, PowerOnState) {
    EXPECT_EQ(reg(0x48), 0x2D) << "serial bus address";
    EXPECT_EQ(reg(0x40), 0x01) << "configuration";
    EXPECT_EQ(reg(0x4D), 0x15) << "fan in/out and beep";
    EXPECT_FALSE(chip.configurationBit6());
    for (int number : {0x5A, 0x5B, 0x5E, 0x5F}) {
        EXPECT_EQ(reg(number), 0xFF) << "full duty";
    }
    for (int number : {0x28, 0x29, 0x2A}) {
        EXPECT_EQ(reg(number), 0xFF) << "no pulses";
    }
    EXPECT_EQ(reg(0x27), 25);
}

// Volts of a reading r: r x 0.016, +5 V: x 1.68, +12 V: x 3.8, -12 V: (r x 0.016 - 2.9) / 0.19444,
// -5 V: (r x 0.016 - 2.45454) / 0.31818.
TEST_F(W83782dModel, VoltagesHaveEightBits) {
    const struct {
        W83782d::Channel channel;
        double volts;
        int number, value;
    } rows[] = {
        {W83782d::kVcoreA, 1.5, 0x20, 94},        {W83782d::kVinR0, 2.5, 0x21, 156},
        {W83782d::k3_3Vin, 3.3, 0x22, 206},       {W83782d::k5Vin, 4.99968, 0x23, 0xBA},
        {W83782d::k5Vin, 4.48896, 0x23, 0xA7},    {W83782d::k12Vin, 12.0384, 0x24, 0xC6},
        {W83782d::k12Vin, 10.7616, 0x24, 0xB1},   {W83782d::kNegative12Vin, -12, 0x25, 35},
        {W83782d::kNegative12Vin, -10, 0x25, 60}, {W83782d::kNegative5Vin, -5, 0x26, 54},
        {W83782d::kNegative5Vin, -4.5, 0x26, 64}, {W83782d::kVcoreA, -1, 0x20, 0},
        {W83782d::k5Vin, 9, 0x23, 255},
    };
    for (const auto& row : rows) {
        W83782d fresh(0x2D);
        fresh.setVoltage(row.channel, row.volts);
        EXPECT_EQ(readAt(fresh, row.number), row.value) << row.channel << " at " << row.volts;
        EXPECT_EQ(readAt(fresh, row.number == 0x20 ? 0x21 : 0x20), 0) << "the others stay";
    }
}

TEST_F(W83782dModel, TemperatureIsASignedByteOfWholeDegrees) {
    const struct {
        double degrees;
        int value;
    } rows[] = {{30, 30},    {0, 0},      {-10, 0xF6},  {-0.4, 0},    {-0.6, 0xFF},
                {127, 0x7F}, {200, 0x7F}, {-128, 0x80}, {-200, 0x80}, {60.5, 61}};
    for (const auto& row : rows) {
        chip.setTemperature(row.degrees);
        EXPECT_EQ(reg(0x27), row.value) << row.degrees;
    }
}

TEST_F(W83782dModel, TachometerCountsWithDivisorTwo) {
    const struct {
        double rpm;
        int count;
    } rows[] = {{12000, 56}, {9000, 75}, {6000, 113},   {3000, 225},
                {2657, 254}, {500, 254}, {10000000, 1}, {0, 255}};
    for (const auto& row : rows) {
        chip.setRpm(1, row.rpm);
        EXPECT_EQ(reg(0x29), row.count) << row.rpm << " RPM";
        EXPECT_EQ(reg(0x28), 255);
    }
    chip.setRpm(0, 9000);
    chip.setRpm(2, 6000);
    EXPECT_EQ(reg(0x28), 75);
    EXPECT_EQ(reg(0x2A), 113);
}

TEST_F(W83782dModel, PwmRegistersAreNotInTheOrderOfTheOutputs) {
    write(0x5B, 0);
    write(0x5A, 51);
    write(0x5E, 102);
    write(0x5F, 255);
    const double percent[] = {0, 20, 40, 100};
    for (int output = 0; output < 4; ++output) {
        EXPECT_EQ(chip.dutyPercent(output), percent[output]) << "PWMOUT" << output + 1;
    }
}

TEST_F(W83782dModel, ConfigurationBitSix) {
    write(0x40, 0x40);
    EXPECT_TRUE(chip.configurationBit6());
    write(0x40, 0xBF);
    EXPECT_FALSE(chip.configurationBit6());
    EXPECT_EQ(reg(0x40), 0xBF);
}

TEST_F(W83782dModel, StoresWhatIsWritableAndNothingElse) {
    for (int number = 0x2B; number <= 0x3D; ++number) {
        write(number, 0x5A);
        EXPECT_EQ(reg(number), 0x5A) << number;
    }
    write(0x4D, 0x95);
    EXPECT_EQ(reg(0x4D), 0x95);
    for (int number : {0x20, 0x26, 0x27, 0x28, 0x2A, 0x3E, 0x3F, 0x41, 0x5C, 0x5D, 0x60, 0xFF}) {
        const int before = reg(number);
        write(number, before ^ 0x5A);
        EXPECT_EQ(reg(number), before) << number;
    }
}

TEST_F(W83782dModel, PointerStaysWithinAMessage) {
    EXPECT_EQ(readBytes(chip, 0x48, 3), (Bytes{0x2D, 0x2D, 0x2D}));
}

TEST_F(W83782dModel, FanRegistersAreCountsAndPwm) {
    for (int number = 0; number <= 0xFF; ++number) {
        const bool fan = (number >= 0x28 && number <= 0x2A) || number == 0x5A || number == 0x5B ||
                         number == 0x5E || number == 0x5F;
        EXPECT_EQ(W83782d::isFanRegister(static_cast<std::uint8_t>(number)), fan) << number;
    }
}

TEST_F(W83782dModel, WhatItDoesNotHaveThrows) {
    EXPECT_THROW(chip.setVoltage(7, 1), std::out_of_range);
    EXPECT_THROW(chip.setRpm(3, 1), std::out_of_range);
    EXPECT_THROW(chip.dutyPercent(4), std::out_of_range);
}

}  // namespace
}  // namespace enclab
