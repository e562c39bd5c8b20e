// SPDX-License-Identifier: Apache-2.0
#include "backend/lm75.h"

#include "tests/support/enclosure_rig.h"

namespace {

class Lm75 : public EnclosureRig {
  protected:
    Lm75() {
        healthyVsc055();
        esaControl.i2cConnected = 1;
    }
};

TEST_F(Lm75, SecondByteReadHoldsTheDegreesAndTheFirstTheHalf) {
    const struct {
        U8_t first;
        U8_t second;
        S16_t degrees;
    } cases[] = {
        {0x00, 0x7D, 125},  {0x00, 0x19, 25},  {0x80, 0x19, 25},  {0x00, 0x01, 1},
        {0x80, 0x00, 0},    {0x00, 0x00, 0},   {0x80, 0xFF, 0},   {0x00, 0xFF, -1},
        {0x80, 0xFE, -1},   {0x00, 0xE7, -25}, {0x80, 0xE7, -24}, {0x00, 0xC9, -55},
        {0x00, 0x80, -128}, {0x7F, 0x19, 25},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << int{c.first} << ", " << int{c.second});
        bus.script(0x4C, 0x00, {c.first, c.second});
        EXPECT_EQ(lm75TemperatureRead(0x4C), c.degrees);
    }
    EXPECT_EQ(bus.takeLog().size(), 2 * std::size(cases));
}

TEST_F(Lm75, EitherFailedReadMakesItUnreadable) {
    bus.failTransfer(1);
    EXPECT_EQ(lm75TemperatureRead(0x4C), 32767);
    EXPECT_EQ(bus.takeLog(), (Lines{"R 4C 00 fails"}));
    bus.failTransfer(2);
    EXPECT_EQ(lm75TemperatureRead(0x4C), 32767);
    EXPECT_EQ(bus.takeLog(), (Lines{"R 4C 00=19", "R 4C 00 fails"}));
}

}  // namespace
