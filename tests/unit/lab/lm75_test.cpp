// SPDX-License-Identifier: Apache-2.0
// Self-test of the LM75 model, from the sensor's own register description.
#include "lab/chips/lm75.h"

#include <gtest/gtest.h>

#include "tests/unit/lab/chip_access.h"

namespace enclab {
namespace {

// Without setting the pointer.
Bytes readOn(Lm75& chip, std::size_t count) {
    Bytes bytes(count);
    chip.read(bytes);
    return bytes;
}

TEST(Lm75Model, TemperatureIsNineBitsTwosComplementMsbFirst) {
    const struct {
        double degrees;
        Bytes bytes;
    } rows[] = {
        {125, {0x7D, 0x00}},   {25, {0x19, 0x00}},   {30, {0x1E, 0x00}},    {0.5, {0x00, 0x80}},
        {0, {0x00, 0x00}},     {-0.5, {0xFF, 0x80}}, {-1, {0xFF, 0x00}},    {-25, {0xE7, 0x00}},
        {-55, {0xC9, 0x00}},   {25.5, {0x19, 0x80}}, {25.24, {0x19, 0x00}}, {25.26, {0x19, 0x80}},
        {-25.5, {0xE6, 0x80}}, {300, {0x7D, 0x00}},  {-300, {0xC9, 0x00}},
    };
    for (const auto& row : rows) {
        Lm75 chip;
        chip.setTemperature(row.degrees);
        EXPECT_EQ(readBytes(chip, 0, 2), row.bytes) << row.degrees << " degrees";
        EXPECT_EQ(chip.temperature(), row.degrees);
    }
}

TEST(Lm75Model, ReadOfOneByteStartsWithTheMsbEachTime) {
    Lm75 chip;
    chip.setTemperature(-20.5);
    EXPECT_EQ(readBytes(chip, 0, 1), Bytes{0xEB});
    EXPECT_EQ(readOn(chip, 1), Bytes{0xEB});
    EXPECT_EQ(readOn(chip, 4), (Bytes{0xEB, 0x80, 0xEB, 0x80}));
}

TEST(Lm75Model, RegistersAtPowerOn) {
    Lm75 chip;
    EXPECT_EQ(readOn(chip, 2), (Bytes{0x19, 0x00})) << "pointer 0, 25 degrees";
    EXPECT_EQ(readBytes(chip, 1, 2), (Bytes{0x00, 0x00}));
    EXPECT_EQ(readBytes(chip, 2, 2), (Bytes{0x4B, 0x00})) << "THYST 75 degrees";
    EXPECT_EQ(readBytes(chip, 3, 2), (Bytes{0x50, 0x00})) << "TOS 80 degrees";
}

TEST(Lm75Model, PointerStaysAndHasTwoBits) {
    Lm75 chip;
    chip.write(Bytes{0x03});
    EXPECT_EQ(readOn(chip, 1), Bytes{0x50});
    EXPECT_EQ(readOn(chip, 1), Bytes{0x50});
    EXPECT_TRUE(chip.write(Bytes{})) << "a bare address is acknowledged";
    EXPECT_EQ(readOn(chip, 1), Bytes{0x50}) << "and leaves the pointer";
    EXPECT_EQ(readBytes(chip, 0xFE, 1), Bytes{0x4B});
}

TEST(Lm75Model, LimitsTakeNineBitsAndTemperatureTakesNone) {
    Lm75 chip;
    chip.write(Bytes{2, 0xE7, 0xFF});
    chip.write(Bytes{3, 0x2D, 0x7F});
    chip.write(Bytes{0, 0x55, 0x55});
    EXPECT_EQ(readBytes(chip, 2, 2), (Bytes{0xE7, 0x80}));
    EXPECT_EQ(readBytes(chip, 3, 2), (Bytes{0x2D, 0x00}));
    EXPECT_EQ(readBytes(chip, 0, 2), (Bytes{0x19, 0x00}));
    chip.write(Bytes{2, 0x10});
    EXPECT_EQ(readBytes(chip, 2, 2), (Bytes{0x10, 0x80})) << "one byte: the low byte stays";
}

TEST(Lm75Model, ShutdownHoldsTheTemperatureUntilWoken) {
    Lm75 chip;
    chip.setTemperature(40);
    chip.write(Bytes{1, 0xFF});
    EXPECT_EQ(readBytes(chip, 1, 1), Bytes{0x1F}) << "the upper three bits read 0";
    chip.setTemperature(50);
    EXPECT_EQ(readBytes(chip, 0, 1), Bytes{0x28});
    chip.write(Bytes{1, 0x00});
    EXPECT_EQ(readBytes(chip, 0, 1), Bytes{0x32});
}

}  // namespace
}  // namespace enclab
