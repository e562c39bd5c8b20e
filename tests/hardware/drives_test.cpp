// SPDX-License-Identifier: Apache-2.0
// Drive fault LEDs, and whether a slot has a drive.
#include <gtest/gtest.h>

#include "chassis/vsc055.h"
#include "chassis/xyratex.h"
#include "chips/pca9539.h"
#include "tests/hardware/bench.h"

namespace {

using fmt::format;

struct Leds {
    const char* folder;
    KORVO_E_CHASSIS_t type;
    ESA_CODE_e (*set)(int drive);
    ESA_CODE_e (*clear)(int drive);
    int address, number[2];  // of drives 0 to 7, and of those from 8 on
    bool litIsHigh;
    U8_t& (*shadow)(bool high);
    const char* text[2][2];  // by port, then: put out, lit
};

U8_t& vsc055Shadow(bool high) {
    return esaControl.vitesse.vsc055GPD[high ? 7 : 6];
}
U8_t& xyratexShadow(bool high) {
    return esaControl.vitesse.vsc055GPD[high ? 6 : 7];
}
U8_t& pca9539Shadow(bool high) {
    return high ? esaControl.pca9539.outputPort1Register : esaControl.pca9539.outputPort0Register;
}

const Leds LEDS[] = {
    {"vsc055",
     KORVO_E_CHASSIS_KORVO_VSC055,
     esaVsc055DriveFaultLEDSet,
     esaVsc055DriveFaultLEDClear,
     0x41,
     {6, 7},
     false,
     vsc055Shadow,
     {{"vsc055GPD[6] = [{:#x}]\n", "vsc055GPD[6] = [{:#x}]\n"},
      {"vsc055GPD[7] = [{:#x}]\n", "vsc055GPD[7] = [{:#x}]\n"}}},
    {"xyratex",
     KORVO_E_CHASSIS_XYRATEX_2U12ATX,
     xyratexDriveFaultLEDSet,
     xyratexDriveFaultLEDClear,
     0x63,
     {7, 6},
     false,
     xyratexShadow,
     {{"", ""}, {"", ""}}},
    // Set and clear name the two ports in opposite styles.
    {"w83792ad",
     KORVO_E_CHASSIS_KORVO_W83792AD,
     esaPca9539DriveFaultLEDSet,
     esaPca9539DriveFaultLEDClear,
     0x74,
     {2, 3},
     true,
     pca9539Shadow,
     {{"pca9539.outputPort0Register = [{:#x}]\n", "pca9539.outputPort0 = [{:#x}]\n"},
      {"pca9539.outputPort1 = [{:#x}]\n", "pca9539.outputPort1Register = [{:#x}]\n"}}},
};

// The first port does not depend on the number of drives, the second ends with it. What is lost is
// made up by the next write of the port.
TEST(Drives, FaultLedIsOneBitOfItsPort) {
    for (const Leds& leds : LEDS) {
        Bench bench(leds.type);
        for (int n = 0; n < 500; ++n) {
            bench.use(leds.folder);
            esaControl.deviceMaxNumber = n % 5 == 0 ? bench.byte() : u8(4 * (n % 5));
            const int drive = bench.below(20) - 1;
            const bool lit = bench.below(2) == 1, high = drive >= 8, lost = bench.below(8) == 0;
            const int before = leds.shadow(high) = bench.byte();
            const int bit = 1 << (drive & 7);
            const int after = lit == leds.litIsHigh ? before | bit : before & ~bit;
            const bool known =
                drive >= 0 && (!high || (drive < esaControl.deviceMaxNumber && drive < 16));
            std::string expected =
                format("{} Fault LED on Drive [{}]\n", lit ? "Set" : "Clear", drive) +
                (known ? format(fmt::runtime(leds.text[high][lit]), after) +
                             (lost ? format("W {:02X} {:02X} fails\n", leds.address,
                                            leds.number[high])
                                   : wrote(leds.address, leds.number[high], after))
                       : format("Un-supported Drive Number = [{}]\n", drive));
            bench.failing = lost;
            EXPECT_EQ((lit ? leds.set : leds.clear)(drive), known ? ESA_E_OK : ESA_E_GENERR);
            EXPECT_EQ(leds.shadow(high), known ? after : before);
            EXPECT_EQ(bench.take().substr(0, expected.size()), expected);
            bench.restart(leds.type);
        }
    }
}

TEST(Drives, PresenceInputIsLowWhereADriveIs) {
    Bench bench(KORVO_E_CHASSIS_XYRATEX_2U12ATX);
    bench.use("xyratex");
    for (int n = 0; n < 1000; ++n) {
        const int slot = n % 14 - 1, port = slot < 8 ? 0 : 3;
        const int inputs = bench.registers[0x63][port] = bench.byte();
        const bool present = (inputs >> slot % 8 & 1) == 0, known = slot >= 0 && slot < 12;
        EXPECT_EQ(xyratexIsDrivePresent(slot), known && present ? ESA_E_OK : ESA_E_GENERR);
        EXPECT_EQ(bench.take(), known ? readGave(0x63, port, inputs) +
                                            format("Drive in Slot [{}] is {}present.\n", slot,
                                                   present ? "" : "NOT ")
                                      : "");
    }
    bench.cut.set();
    EXPECT_EQ(xyratexIsDrivePresent(3), ESA_E_GENERR_I2C_UNAVAILABLE);
}

// Nothing is said of a port that is not read.
TEST(Drives, PresenceOfAllSlotsIsSaidPortByPort) {
    Bench bench(KORVO_E_CHASSIS_XYRATEX_2U12ATX);
    for (int n = 0; n < 60; ++n) {
        bench.restart(KORVO_E_CHASSIS_XYRATEX_2U12ATX);
        bench.use("xyratex");
        bench.randomize(&bench.registers[0x63]);
        const int lost = bench.failing = n % 3;
        std::string expected;
        for (int slot = 0; slot < 12; ++slot) {
            const bool high = slot >= 8;
            if (lost != 1 + high) {
                expected +=
                    format("Drive in Slot [{}] is {}present.\n", slot,
                           bench.registers[0x63][high ? 3 : 0] >> slot % 8 & 1 ? "NOT " : "");
            }
        }
        xyratexDrivePresenceRead();
        EXPECT_EQ(linesWith(bench.take(), {"Drive"}), expected);
    }
}

}  // namespace
