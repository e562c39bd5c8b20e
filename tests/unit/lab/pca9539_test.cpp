// SPDX-License-Identifier: Apache-2.0
// Self-test of the PCA9539 model, from the expander's register description.
#include "lab/chips/pca9539.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/unit/lab/chip_access.h"

namespace enclab {
namespace {

TEST(Pca9539Model, PowerOnState) {
    Pca9539 chip;
    const int values[] = {0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0xFF, 0xFF};
    for (int number = 0; number < 8; ++number) {
        EXPECT_EQ(readAt(chip, number), values[number]) << "register " << number;
    }
}

TEST(Pca9539Model, PinsAreOutputsWhereTheConfigurationBitIsZero) {
    for (int port : {0, 1}) {
        Pca9539 chip;
        writeAt(chip, 2 + port, 0x3C);
        EXPECT_EQ(chip.pins(port), 0xFF) << "still inputs, pulled up";
        for (int bit : {0, 2, 4, 6}) {
            chip.drivePin(port, bit, false);
        }
        writeAt(chip, 6 + port, 0xF0);
        EXPECT_EQ(chip.pins(port), 0xAC);
        EXPECT_EQ(readAt(chip, port), 0xAC) << "the input register shows the pins";
        EXPECT_EQ(readAt(chip, 2 + port), 0x3C) << "the output register its latch";
        EXPECT_EQ(chip.pins(1 - port), 0xFF) << "the other port";
        writeAt(chip, 6 + port, 0x00);
        EXPECT_EQ(chip.pins(port), 0x3C);
    }
}

TEST(Pca9539Model, PolarityInvertsWhatTheInputRegisterShows) {
    Pca9539 chip;
    chip.drivePin(1, 3, false);
    writeAt(chip, 5, 0x0F);
    EXPECT_EQ(readAt(chip, 1), 0xF8);
    EXPECT_EQ(chip.pins(1), 0xF7);
    EXPECT_EQ(readAt(chip, 0), 0xFF);
    EXPECT_EQ(readAt(chip, 5), 0x0F);
}

TEST(Pca9539Model, BytesGoToAndFroBetweenThePorts) {
    Pca9539 chip;
    chip.write(Bytes{6, 0x01, 0x02});
    EXPECT_EQ(readAt(chip, 6), 0x01);
    EXPECT_EQ(readAt(chip, 7), 0x02);
    chip.write(Bytes{3, 0x33, 0x22, 0x44});
    EXPECT_EQ(readBytes(chip, 2, 3), (Bytes{0x22, 0x44, 0x22})) << "port 1 first, then 0, then 1";
}

TEST(Pca9539Model, InputsTakeNothingAndThereIsNothingBehindRegisterSeven) {
    Pca9539 chip;
    for (int number : {0, 1}) {
        writeAt(chip, number, 0x00);
        EXPECT_EQ(readAt(chip, number), 0xFF);
    }
    for (int number : {8, 0x80, 0xFF}) {
        writeAt(chip, number, 0x5A);
        EXPECT_EQ(readAt(chip, number), 0x00);
    }
}

TEST(Pca9539Model, PortsOutsideThrow) {
    Pca9539 chip;
    EXPECT_THROW(chip.pins(2), std::out_of_range);
    EXPECT_THROW(chip.drivePin(-1, 0, true), std::out_of_range);
}

}  // namespace
}  // namespace enclab
