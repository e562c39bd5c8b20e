// SPDX-License-Identifier: Apache-2.0
// Register dumps: their text, what is no such text, and chips that start from one.
#include "lab/chips/register_dump.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "lab/chassis/catalog.h"
#include "lab/chips/pca9539.h"

namespace enclab {
namespace {

using testing::ElementsAre;

void writeAt(Chassis& chassis, int address, int number, int value) {
    EXPECT_TRUE(chassis.bus().writeRegister(static_cast<std::uint8_t>(address),
                                            static_cast<std::uint8_t>(number),
                                            static_cast<std::uint8_t>(value)));
}

const std::string kColumnNumbers =
    "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef\n";

TEST(RegisterDumpText, IsThatOfTheTool) {
    RegisterDump dump;
    dump[0x00] = 0x00;
    dump[0x01] = 0xFF;
    dump[0x02] = 0x41;
    dump[0x0F] = 0x7F;
    dump[0xF3] = 0x1F;
    const std::string text = dumpText(dump);
    EXPECT_THAT(text,
                testing::StartsWith(
                    kColumnNumbers +
                    "00: 00 ff 41 XX XX XX XX XX XX XX XX XX XX XX XX 7f    ..AXXXXXXXXXXXX?\n"
                    "10: XX XX"));
    EXPECT_THAT(text,
                testing::EndsWith(
                    "f0: XX XX XX 1f XX XX XX XX XX XX XX XX XX XX XX XX    XXX?XXXXXXXXXXXX\n"));
    EXPECT_EQ(parseDump(text), dump);
}

TEST(RegisterDumpText, MayComeFromATerminalOrAMail) {
    RegisterDump dump;
    dump[0x12] = 0x3F;
    dump[0x13] = 0x0A;
    dump[0x90] = 0xC4;
    EXPECT_EQ(parseDump("# i2cdump -y -r 0x12-0x13 1 0x41\nNo size specified (using byte-data "
                        "access)\r\n" +
                        kColumnNumbers +
                        "10:       3f 0A                                                 ?? \r\n\n"
                        "90: C4\r\n"),
              dump);
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

TEST(RegisterDump, OfEveryChipMakesAnotherOneLikeIt) {
    for (const std::string_view name : chassisNames()) {
        if (name == "chenbro") {
            continue;
        }
        const auto chassis = makeChassis(name);
        const auto copy = makeChassis(name);
        for (int n = 0; n < 256; ++n) {  // whatever can be written
            for (const ChassisDevice& device : chassis->devices()) {
                writeAt(*chassis, device.address, n, n * 7 + device.address);
            }
        }
        chassis->pullFan(0);
        chassis->setTemperature(0, 51);
        for (const ChassisDevice& device : chassis->devices()) {
            const std::string text = dumpText(readAll(chassis->chip(device.name)));
            EXPECT_NE(dumpText(readAll(copy->chip(device.name))), text) << device.name;
            copy->chip(device.name).load(parseDump(text));
            EXPECT_EQ(dumpText(readAll(copy->chip(device.name))), text) << device.name;
        }
    }
    EXPECT_THROW(makeChassis("chenbro")->chip("w83782d-1/2").load({}), std::invalid_argument)
        << "two chips behind one address";
}

TEST(RegisterDump, HoldsWhatTheWorldMovesUntilAHandDoes) {
    const auto chassis = makeChassis("w83792ad");
    Chip& chip = chassis->chip("w83792ad");
    RegisterDump dump;
    dump[0x28] = 0xFF;  // fans 0 and 1, temperature 0, rail 12, duty of fan 1
    dump[0x29] = 200;
    dump[0x27] = 70;
    dump[0x22] = 100;
    dump[0x83] = 0x84;
    dump[0x94] = 0x84;  // and of fan 2, without its count
    chip.load(dump);
    EXPECT_EQ(chassis->fanLoadPercent(1), 25);
    chassis->warmSensor(0, 33);
    chassis->driftRail(1, 11);
    writeAt(*chassis, 0x2C, 0x83, 0x88);
    const auto readings = [&] {
        const RegisterDump now = readAll(chip);
        return std::vector<int>{*now[0x28], *now[0x29], *now[0x2A], *now[0x27], *now[0x22]};
    };
    EXPECT_THAT(readings(), ElementsAre(0xFF, 200, 254, 70, 100));
    EXPECT_EQ(chip.held(), 4);
    chassis->returnFan(1);
    EXPECT_THAT(readings(), ElementsAre(0xFF, 254, 254, 70, 100));
    chassis->setTemperature(0, 33);
    EXPECT_THAT(readings(), ElementsAre(0xFF, 254, 254, 33, 100));
    chassis->setRail("12", 12);
    EXPECT_THAT(readings(), ElementsAre(0xFF, 254, 254, 33, 750 >> 2));
    EXPECT_EQ(readAll(chip)[0x83], 0x88) << "the service's own";
    EXPECT_EQ(chip.held(), 1);
}

TEST(RegisterDump, HoldsTheTemperatureOfAnLm75) {
    const auto chassis = makeChassis("vsc055");
    RegisterDump dump;
    dump[0] = 0xF6;
    chassis->chip("lm75-1").load(dump);
    chassis->warmSensor(1, 33);
    EXPECT_EQ(chassis->bus().readRegister(0x4B, 0), 0xF6);
    chassis->setTemperature(1, 34);
    EXPECT_EQ(chassis->bus().readRegister(0x4B, 0), 34);
}

TEST(RegisterDump, OfPinsDrivesThemWhicheverWayTheyPoint) {
    Pca9539 chip;
    RegisterDump dump;
    dump[0] = 0x5A;
    dump[2] = 0x11;
    dump[4] = 0xF0;
    dump[6] = 0xFF;
    chip.load(dump);
    EXPECT_EQ(readAll(chip)[0], 0x5A);
    EXPECT_EQ(chip.pins(0), 0xAA);
    chip.drivePin(0, 0, true);
    EXPECT_EQ(chip.pins(0), 0xAB) << "a pin is moved by who drives it";
}

}  // namespace
}  // namespace enclab
