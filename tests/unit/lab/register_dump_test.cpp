// SPDX-License-Identifier: Apache-2.0
// Register dumps: their text, what is no such text, and chips that start from one.
#include "lab/chips/register_dump.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/chassis/catalog.h"
#include "lab/chips/pca9539.h"
#include "tests/support/script.h"
#include "tests/unit/lab/random.h"

namespace enclab {
namespace {

const std::string kColumnNumbers =
    "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef\n";

TEST(RegisterDumpText, IsThatOfTheToolAndReadsBack) {
    RegisterDump dump;
    dump[0xF0] = 0x00;
    dump[0xF1] = 0xFF;
    dump[0xF2] = 0x41;
    dump[0xF3] = 0x20;
    dump[0xFF] = 0x7F;
    EXPECT_THAT(dumpText(dump), testing::StartsWith(kColumnNumbers + "00: XX XX"));
    EXPECT_THAT(dumpText(dump),
                testing::EndsWith(
                    "f0: 00 ff 41 20 XX XX XX XX XX XX XX XX XX XX XX 7f    ..A XXXXXXXXXXX?\n"));
    for (int world = 0; world < 100; ++world) {
        for (auto& value : dump) {
            value = below(3) == 0 ? std::nullopt : std::optional(byteOf(numbers()));
        }
        ASSERT_EQ(parseDump(dumpText(dump)), dump);
    }
}

// As it may come from a terminal or in a mail.
TEST(RegisterDumpText, MayBeInCapitalsAndInPieces) {
    const RegisterDump dump =
        parseDump("# i2cdump -y -r 0x12-0x13 1 0x41\nNo size specified\r\n" + kColumnNumbers +
                  "10:       3f 0A                                                 ?? \r\n\n"
                  "90: C4\r\n");
    EXPECT_EQ(dump[0x12], 0x3F);
    EXPECT_EQ(dump[0x13], 0x0A);
    EXPECT_EQ(dump[0x90], 0xC4);
    EXPECT_EQ(std::ranges::count_if(dump, [](auto& value) { return !!value; }), 3);
}

TEST(RegisterDumpText, ThatIsNoneIsRefusedWithItsLine) {
    const struct {
        std::string text;
        const char* error;
    } rows[] = {
        {"", "line 1: no line of column numbers up to here"},
        {"00: 00\n10: 00\n", "line 2: no line of column numbers up to here"},
        {"     0,8  1,9  2,a  3,b  4,c  5,d  6,e  7,f\n", "line 1: no line of column numbers"},
        {kColumnNumbers, "line 1: no row of registers"},
        {kColumnNumbers + "00: 00\nend of report", "line 3: no row of registers, which begins"},
        {kColumnNumbers + "05: 00", "line 2: no row of registers, which begins as '00: '"},
        {kColumnNumbers + "10: 00\n\n10: 00", "line 4: row 10 behind row 10"},
        {kColumnNumbers + "00: 00 0g", "line 2: '0g' is not a register's two digits or XX"},
        {kColumnNumbers + "00: 00 1", "line 2: '1' is not"},
        {kColumnNumbers + "00: 00-11", "line 2: '-11' is not"},
        {kColumnNumbers + "00: 00  11", "line 2: ' 1' is not"},
    };
    for (const auto& row : rows) {
        EXPECT_THAT([&] { parseDump(row.text); },
                    testing::ThrowsMessage<std::invalid_argument>(testing::StartsWith(row.error)));
    }
}

std::string dumpsOf(const Chassis& chassis) {
    std::string text;
    for (const ChassisDevice& device : chassis.devices()) {
        text += device.name + "\n" + dumpText(readAll(chassis.chip(device.name)));
    }
    return text;
}

// What the dump says of the world holds until a hand changes it.
TEST(RegisterDump, OfEveryChipMakesAnotherOneLikeItWhateverTheWorldDoes) {
    for (const char* const name : {"vsc055", "xyratex", "w83792ad", "w83782d"}) {
        const auto chassis = makeChassis(name), copy = makeChassis(name);
        const auto byHand = [](Chassis& each, int degrees) {
            for (int n = 0; n < std::max(each.sensors(), each.fans()); ++n) {
                n < each.sensors() ? each.setTemperature(n, degrees + n) : void();
                n < each.fans() ? each.returnFan(n) : void();
            }
            for (const ChassisRail& rail : each.parts().rails) {
                each.setRail(rail.name, rail.volts * degrees / 55);
            }
        };
        byHand(*chassis, 50);
        chassis->pullFan(0);
        for (int n = 0; n < 256; ++n) {
            for (const ChassisDevice& device : chassis->devices()) {
                chassis->bus().writeRegister(device.address, byteOf(unsigned(n)),
                                             byteOf(numbers()));
            }
        }
        EXPECT_NE(dumpsOf(*copy), dumpsOf(*chassis)) << name;
        std::ptrdiff_t held = 0;
        for (const ChassisDevice& device : chassis->devices()) {
            Chip& chip = copy->chip(device.name);
            chip.load(parseDump(dumpText(readAll(chassis->chip(device.name)))));
            held += chip.held();
        }
        EXPECT_EQ(dumpsOf(*chassis), dumpsOf(*copy)) << name;
        copy->turnFansBy([](int) { return 3333; });
        for (int sensor = 0; sensor < copy->sensors(); ++sensor) {
            copy->warmSensor(sensor, 33);
        }
        const bool measured = name[0] == 'w';  // elsewhere a rail is a pin, which moves at once
        for (std::size_t rail = 0; measured && rail < copy->rails().size(); ++rail) {
            copy->driftRail(rail, 1);
        }
        EXPECT_EQ(dumpsOf(*chassis), dumpsOf(*copy)) << name + std::string(": held");
        for (Chassis* const each : {chassis.get(), copy.get()}) {
            each->turnFansBy([](int) { return 4444; });
            byHand(*each, 60);
        }
        EXPECT_EQ(dumpsOf(*chassis), dumpsOf(*copy)) << name + std::string(": moved");
        for (const ChassisDevice& device : copy->devices()) {
            held -= copy->chip(device.name).held();
        }
        EXPECT_GE(held, copy->sensors() + copy->fans()) << name;
    }
    EXPECT_THROW(makeChassis("chenbro")->chip("w83782d-1/2").load({}), std::invalid_argument)
        << "two chips behind one address";
}

TEST(RegisterDump, OfPinsDrivesThemWhicheverWayTheyPoint) {
    Pca9539 chip;
    RegisterDump dump;
    dump[0] = 0x5A;
    dump[4] = 0xF0;
    chip.load(dump);
    EXPECT_EQ(readAll(chip)[0], 0x5A);
    EXPECT_EQ(chip.pins(0), 0xAA);
    chip.drivePin(0, 0, true);
    EXPECT_EQ(chip.pins(0), 0xAB) << "a pin is moved by who drives it";
}

}  // namespace
}  // namespace enclab
