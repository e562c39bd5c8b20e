// SPDX-License-Identifier: Apache-2.0
// Self-test of the W83792AD model, from the monitor's register description.
#include "lab/chips/w83792ad.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/unit/lab/chip_access.h"

namespace enclab {
namespace {

class W83792adModel : public testing::Test {
  protected:
    int reg(int number) { return readAt(chip, number); }
    void write(int number, int value) { writeAt(chip, number, value); }

    W83792ad chip{0x2C};
};

TEST_F(W83792adModel, PowerOnState) {
    EXPECT_EQ(reg(0x48), 0x2C) << "serial bus address";
    for (int number : {0x81, 0x83, 0x94, 0xA3, 0xA4, 0xA5}) {
        EXPECT_EQ(reg(number), 0x8F) << "full duty";
    }
    for (int number : {0x28, 0x29, 0x2A, 0xB8, 0xB9, 0xBA}) {
        EXPECT_EQ(reg(number), 0xFF) << "no pulses";
    }
    for (int number : {0x27, 0xC0, 0xC8}) {
        EXPECT_EQ(reg(number), 25) << "degrees";
    }
    for (int number = 0x20; number <= 0x26; ++number) {
        EXPECT_EQ(reg(number), 0) << "volts";
    }
    EXPECT_EQ(reg(0x1C), 0xFF) << "GPIOA: inputs, pulled up";
    EXPECT_EQ(reg(0x1E), 0xFF) << "GPIOB";
}

TEST_F(W83792adModel, VoltagesHaveTenBitsInTwoRegisters) {
    const struct {
        W83792ad::Channel channel;
        double volts;
        int reading, high, low, lowBits;
    } rows[] = {
        {W83792ad::kVcoreA, 1.206, 0x20, 150, 0x3E, 0x03},
        {W83792ad::kVcoreB, 2.046, 0x21, 255, 0x3E, 0x0C},
        {W83792ad::kVin0, 3.304, 0x22, 206, 0x3E, 0x20},
        {W83792ad::kVin1, 3.004, 0x23, 187, 0x3E, 0xC0},
        {W83792ad::kVin2, 0.004, 0x24, 0, 0x3F, 0x01},
        {W83792ad::kVin3, 4.092, 0x25, 255, 0x3F, 0x0C},
        {W83792ad::k5Vcc, 5.0, 0x26, 208, 0x3F, 0x10},
        {W83792ad::k5Vcc, 6.0, 0x26, 250, 0x3F, 0x00},
        {W83792ad::k5Vcc, 9.0, 0x26, 255, 0x3F, 0x30},
        {W83792ad::k5Vcc, -1.0, 0x26, 0, 0x3F, 0x00},
    };
    for (const auto& row : rows) {
        W83792ad fresh(0x2C);
        fresh.setVoltage(row.channel, row.volts);
        EXPECT_EQ(readAt(fresh, row.reading), row.high) << row.channel << " at " << row.volts;
        EXPECT_EQ(readAt(fresh, row.low), row.lowBits) << row.channel << " at " << row.volts;
        EXPECT_EQ(readAt(fresh, 0x3E + 0x3F - row.low), 0) << "the other low bits";
    }
}

TEST_F(W83792adModel, LowBitsOfTheChannelsStandBesideEachOther) {
    chip.setVoltage(W83792ad::kVcoreA, 2.046);
    chip.setVoltage(W83792ad::kVcoreB, 2.046);
    chip.setVoltage(W83792ad::kVin0, 4.092);
    chip.setVoltage(W83792ad::kVin1, 4.092);
    EXPECT_EQ(reg(0x3E), 0xFF);
    chip.setVoltage(W83792ad::kVcoreB, 0.004);
    EXPECT_EQ(reg(0x3E), 0xFB);
    EXPECT_EQ(reg(0x3F), 0x00);
}

TEST_F(W83792adModel, FirstSensorHasWholeDegreesWithoutASign) {
    const struct {
        double degrees;
        int value;
    } rows[] = {{0, 0}, {30, 30}, {30.4, 30}, {30.6, 31}, {127, 127}, {200, 200}, {-5, 0}};
    for (const auto& row : rows) {
        chip.setTemperature(0, row.degrees);
        EXPECT_EQ(reg(0x27), row.value) << row.degrees;
    }
}

TEST_F(W83792adModel, OtherSensorsHaveNineBitsOfHalfDegrees) {
    const struct {
        double degrees;
        int high, low;
    } rows[] = {{25.5, 0x19, 0x80},  {25, 0x19, 0x00},  {-0.5, 0xFF, 0x80}, {-25, 0xE7, 0x00},
                {127.5, 0x7F, 0x80}, {300, 0x7F, 0x80}, {-128, 0x80, 0x00}, {0.2, 0x00, 0x00}};
    for (const auto& row : rows) {
        chip.setTemperature(1, row.degrees);
        chip.setTemperature(2, -row.degrees);
        EXPECT_EQ(reg(0xC0), row.high) << row.degrees;
        EXPECT_EQ(reg(0xC1), row.low) << row.degrees;
    }
    chip.setTemperature(2, 61.5);
    EXPECT_EQ(reg(0xC8), 0x3D);
    EXPECT_EQ(reg(0xC9), 0x80);
    EXPECT_EQ(reg(0xC0), 0x00) << "sensor 1 keeps its own";
}

TEST_F(W83792adModel, TachometerCountsWithTheDivisorOfEachFan) {
    const struct {
        double rpm;
        int divisor, count;
    } rows[] = {{9000, 1, 150}, {9000, 2, 75},  {2250, 4, 150},   {5357, 2, 126}, {2657, 2, 254},
                {1000, 2, 254}, {9000, 0, 150}, {10000000, 7, 1}, {0, 2, 255}};
    for (const auto& row : rows) {
        write(0x47, row.divisor);
        chip.setRpm(0, row.rpm);
        EXPECT_EQ(reg(0x28), row.count) << row.rpm << " RPM, divisor " << row.divisor;
    }
    for (int fan = 0; fan < 6; ++fan) {
        chip.setRpm(fan, 5000);
    }
    write(0x47, 0x21);
    write(0x5B, 0xCB);
    write(0x5C, 0x65);
    const int counts[] = {254, 135, 90, 68, 54, 45};
    const int registers[] = {0x28, 0x29, 0x2A, 0xB8, 0xB9, 0xBA};
    for (int fan = 0; fan < 6; ++fan) {
        EXPECT_EQ(reg(registers[fan]), counts[fan]) << "fan " << fan;
    }
}

TEST_F(W83792adModel, DutyIsTheLowFourBitsInSixteenths) {
    const int registers[] = {0x81, 0x83, 0x94, 0xA3, 0xA4, 0xA5};
    for (int fan = 0; fan < 6; ++fan) {
        EXPECT_EQ(chip.dutyPercent(fan), 93.75);
        write(registers[fan], 0x88);
        EXPECT_EQ(chip.dutyPercent(fan), 50) << "fan " << fan;
    }
    const struct {
        int value;
        double percent;
    } rows[] = {{0x80, 0}, {0x84, 25}, {0x8C, 75}, {0x8F, 93.75}, {0x04, 25}, {0xF1, 6.25}};
    for (const auto& row : rows) {
        write(0xA4, row.value);
        EXPECT_EQ(chip.dutyPercent(4), row.percent) << row.value;
        EXPECT_EQ(reg(0xA4), row.value);
    }
}

TEST_F(W83792adModel, GeneralPurposePinsAreOutputsWhereTheControlBitIsOne) {
    write(0x1B, 0x45);
    write(0x1C, 0x40);
    EXPECT_EQ(reg(0x1C), 0xFA) << "latch in bits 0, 2, 6; pull-ups in the others";
    chip.drivePin(W83792ad::kGpioA, 7, false);
    chip.drivePin(W83792ad::kGpioA, 6, false);
    EXPECT_EQ(reg(0x1C), 0x7A);
    EXPECT_FALSE(chip.drivenPin(W83792ad::kGpioA, 7));
    EXPECT_EQ(chip.pins(W83792ad::kGpioA), 0x7A);
    EXPECT_EQ(reg(0x1E), 0xFF) << "GPIOB";
    write(0x1D, 0x0F);
    write(0x1E, 0x05);
    EXPECT_EQ(reg(0x1E), 0xF5);
}

TEST_F(W83792adModel, StoresWhatIsWritableAndNothingElse) {
    const int stored[] = {0x1A, 0x1B, 0x1D, 0x2B, 0x39, 0x3D, 0x47, 0x4A, 0x4B, 0x4C, 0x59,
                          0x5B, 0x5C, 0x80, 0x82, 0x93, 0xA0, 0xA1, 0xA2, 0x81, 0xA5};
    const int fixed[] = {0x00, 0x19, 0x1F, 0x20, 0x26, 0x27, 0x28, 0x3E, 0x3F, 0x46,
                         0x49, 0x5A, 0x7F, 0x84, 0xB8, 0xC0, 0xC1, 0xC9, 0xFF};
    for (int number : stored) {
        write(number, 0x5A);
        EXPECT_EQ(reg(number), 0x5A) << number;
    }
    for (int number : fixed) {
        const int before = reg(number);
        write(number, before ^ 0x5A);
        EXPECT_EQ(reg(number), before) << number;
    }
}

TEST_F(W83792adModel, PointerStaysWithinAMessage) {
    EXPECT_EQ(readBytes(chip, 0x48, 3), (Bytes{0x2C, 0x2C, 0x2C}));
}

TEST_F(W83792adModel, WhatItDoesNotHaveThrows) {
    EXPECT_THROW(chip.setVoltage(7, 1), std::out_of_range);
    EXPECT_THROW(chip.setTemperature(3, 1), std::out_of_range);
    EXPECT_THROW(chip.setRpm(6, 1), std::out_of_range);
    EXPECT_THROW(chip.dutyPercent(-1), std::out_of_range);
    EXPECT_THROW(chip.pins(2), std::out_of_range);
}

}  // namespace
}  // namespace enclab
