// SPDX-License-Identifier: Apache-2.0
// Self-test of the VSC055 model, from the controller's register description: ports and directions,
// duty codes, tachometer counts, register banks.
#include "lab/chips/vsc055.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/unit/lab/chip_access.h"

namespace enclab {
namespace {

TEST(Vsc055Model, PowerOnState) {
    Vsc055 chip;
    for (std::uint8_t n = 0; n < 8; ++n) {
        EXPECT_EQ(readAt(chip, n), 0xFF) << "GPD";
        EXPECT_EQ(readAt(chip, static_cast<std::uint8_t>(0x10 + n)), 0xFF) << "DDP: inputs";
        EXPECT_EQ(readAt(chip, static_cast<std::uint8_t>(0x30 + 4 * n)), 0x00) << "FSC";
        EXPECT_EQ(readAt(chip, static_cast<std::uint8_t>(0x32 + 4 * n)), 0xFF) << "no pulses";
        EXPECT_EQ(readAt(chip, static_cast<std::uint8_t>(0x98 + n)), 0x3F) << "PWMC: full duty";
    }
}

TEST(Vsc055Model, PortReadsInputsWhereDirectionIsOneAndItsLatchWhereZero) {
    const struct {
        int direction, latch, driven, pins;
    } rows[] = {
        {0x80, 0x50, 0xFF, 0xD0}, {0x80, 0x50, 0x7F, 0x50}, {0x80, 0xD0, 0x7F, 0x50},
        {0xFF, 0x00, 0xA5, 0xA5}, {0x00, 0x3C, 0xFF, 0x3C}, {0x0F, 0xAA, 0x55, 0xA5},
    };
    for (const auto& row : rows) {
        Vsc055 chip;
        writeAt(chip, 0x14, static_cast<std::uint8_t>(row.direction));
        writeAt(chip, 0x04, static_cast<std::uint8_t>(row.latch));
        for (int bit = 0; bit < 8; ++bit) {
            chip.drivePin(4, bit, (row.driven >> bit & 1) != 0);
        }
        EXPECT_EQ(readAt(chip, 0x04), row.pins);
        EXPECT_EQ(chip.pins(4), row.pins);
        EXPECT_EQ(chip.pins(5), 0xFF) << "the other ports are not touched";
        EXPECT_EQ(chip.drivenPin(4, 7), row.driven >= 0x80);
    }
}

TEST(Vsc055Model, DutyCodes) {
    const struct {
        std::uint8_t code;
        double percent;
    } rows[] = {{0x00, 0},  {0x1F, 0},  {0x20, 3.125}, {0x27, 25},
                {0x2F, 50}, {0x37, 75}, {0x3F, 100},   {0xE7, 25}};
    Vsc055 chip;
    for (const auto& row : rows) {
        writeAt(chip, 0x9A, row.code);
        EXPECT_EQ(chip.dutyPercent(2), row.percent) << int{row.code};
        EXPECT_EQ(chip.dutyPercent(1), 100);
    }
}

TEST(Vsc055Model, TachometerCountsThePeriod) {
    const struct {
        double rpm;
        int divisor, count;
    } rows[] = {
        {9000, 4, 33},  {6750, 4, 44},  {4500, 4, 67},   {2250, 4, 133},
        {9000, 1, 133}, {1200, 4, 250}, {1182, 4, 254},  {1100, 4, 254},
        {1, 1, 254},    {300000, 4, 1}, {5000000, 4, 1}, {0, 4, 255},
    };
    Vsc055 chip;
    for (const auto& row : rows) {
        chip.setTachometer(3, row.rpm, row.divisor);
        EXPECT_EQ(readAt(chip, 0x3E), row.count) << row.rpm << " RPM, divisor " << row.divisor;
        EXPECT_EQ(readAt(chip, 0x3A), 0xFF) << "fan 2 has no pulses";
    }
}

TEST(Vsc055Model, BanksEndWithTheirEighthRegister) {
    Vsc055 chip;
    const std::uint8_t stored[] = {0x07, 0x10, 0x17, 0x30, 0x34, 0x4C, 0x98, 0x9F};
    const std::uint8_t fixed[] = {0x08, 0x0F, 0x18, 0x31, 0x33, 0x50, 0x97, 0xA0, 0xFF};
    writeAt(chip, 0x17, 0x00);
    for (std::uint8_t number : stored) {
        writeAt(chip, number, 0x00);
        EXPECT_EQ(readAt(chip, number), 0x00) << int{number};
    }
    for (std::uint8_t number : fixed) {
        writeAt(chip, number, 0x5A);
        EXPECT_EQ(readAt(chip, number), 0x00) << int{number};
    }
    writeAt(chip, 0x4E, 0x5A);
    EXPECT_EQ(readAt(chip, 0x4E), 0xFF) << "fan speed is read only";
}

TEST(Vsc055Model, PointerAdvancesAfterEachByte) {
    Vsc055 chip;
    chip.write(Bytes{0x98, 0x27, 0x2F, 0x37});
    chip.write(Bytes{0x98});
    Bytes bytes(4);
    chip.read(bytes);
    EXPECT_EQ(bytes, (Bytes{0x27, 0x2F, 0x37, 0x3F}));
    chip.write(Bytes{0xFF});
    chip.read(bytes);
    EXPECT_EQ(bytes, (Bytes{0x00, 0xFF, 0xFF, 0xFF})) << "round the end, into the ports";
}

TEST(Vsc055Model, WriteOfARegisterIsToldToTheWiring) {
    Vsc055 chip;
    int told = 0;
    chip.onWrite([&] { ++told; });
    chip.write(Bytes{});
    chip.write(Bytes{0x01});
    EXPECT_EQ(told, 0);
    chip.write(Bytes{0x01, 0x00});
    EXPECT_EQ(told, 1);
}

TEST(Vsc055Model, PortsAndFansOutsideThrow) {
    Vsc055 chip;
    EXPECT_THROW(chip.pins(8), std::out_of_range);
    EXPECT_THROW(chip.drivePin(-1, 0, true), std::out_of_range);
    EXPECT_THROW(chip.dutyPercent(8), std::out_of_range);
    EXPECT_THROW(chip.setTachometer(-1, 0, 1), std::out_of_range);
}

}  // namespace
}  // namespace enclab
