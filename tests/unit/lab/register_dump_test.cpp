// SPDX-License-Identifier: Apache-2.0
// Register dumps: their text, and chips that start from one.
#include "lab/chips/register_dump.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/chassis/catalog.h"
#include "tests/unit/lab/random.h"

namespace enclab {
namespace {

const std::string kColumnNumbers =
    "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef\n";

TEST(RegisterDumpText, IsThatOfTheToolAndReadsBack) {
    RegisterDump dump;
    dump[0xF0] = 0x00;
    dump[0xF2] = 0x41;
    dump[0xFF] = 0x7F;
    EXPECT_THAT(dumpText(dump), testing::StartsWith(kColumnNumbers + "00: XX XX"));
    EXPECT_THAT(dumpText(dump),
                testing::EndsWith(
                    "f0: 00 XX 41 XX XX XX XX XX XX XX XX XX XX XX XX 7f    .XAXXXXXXXXXXXX?\n"));
    for (int world = 0; world < 100; ++world) {
        for (auto& value : dump) {
            value = below(3) == 0 ? std::nullopt : std::optional(byteOf(numbers()));
        }
        ASSERT_EQ(parseDump(dumpText(dump)), dump);
    }
    EXPECT_THAT([] { parseDump(kColumnNumbers + "10: 00\n\n10: 00"); },
                testing::ThrowsMessage<std::invalid_argument>("line 4: row 10 behind row 10"));
}

std::string dumpsOf(const Chassis& chassis) {
    std::string text;
    for (const ChassisDevice& device : chassis.devices()) {
        text += device.name + "\n" + dumpText(readAll(chassis.chip(device.name)));
    }
    return text;
}

// By hand, or else by what turns fans, warms sensors and drains rails.
void change(Chassis& chassis, bool byHand, int degrees) {
    chassis.turnFansBy([=](int) { return 100 * degrees; });
    for (int n = 0; n < chassis.sensors(); ++n) {
        byHand ? chassis.setTemperature(n, degrees + n) : chassis.warmSensor(n, degrees + n);
    }
    for (int n = 0; byHand && n < chassis.fans(); ++n) {
        chassis.returnFan(n);
    }
    for (std::size_t n = 0; n < chassis.rails().size(); ++n) {
        const auto& [name, volts] = chassis.parts().rails[n];
        byHand ? chassis.setRail(name, volts * degrees / 55) : chassis.driftRail(n, 1);
    }
}

// What the dump says of the world holds until a hand changes it.
TEST(RegisterDump, OfEveryChipMakesAnotherOneLikeItWhateverTheWorldDoes) {
    for (const char* const name : {"vsc055", "xyratex", "w83792ad", "w83782d"}) {
        const auto chassis = makeChassis(name), copy = makeChassis(name);
        change(*chassis, true, 50);
        for (int n = 0; n < 256; ++n) {
            for (const ChassisDevice& device : chassis->devices()) {
                chassis->bus().writeRegister(device.address, byteOf(unsigned(n)),
                                             byteOf(numbers()));
            }
        }
        for (const ChassisDevice& device : chassis->devices()) {
            copy->chip(device.name).load(parseDump(dumpText(readAll(chassis->chip(device.name)))));
        }
        const std::string dump = dumpsOf(*chassis);
        EXPECT_EQ(dumpsOf(*copy), dump) << name;
        const bool hasPinnedRails = std::string(name) == "xyratex";  // a pin moves at once
        hasPinnedRails ? void() : change(*copy, false, 33);
        EXPECT_EQ(dumpsOf(*copy), dump) << name << ": held";
        change(*chassis, true, 60);
        change(*copy, true, 60);
        EXPECT_NE(dumpsOf(*copy), dump) << name;
        EXPECT_EQ(dumpsOf(*copy), dumpsOf(*chassis)) << name << ": moved";
    }
}

}  // namespace
}  // namespace enclab
