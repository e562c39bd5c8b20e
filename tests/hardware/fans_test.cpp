// SPDX-License-Identifier: Apache-2.0
// Loads of fans as duties of each chip, and tachometer counts as speeds.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "chassis/chenbro.h"
#include "chips/vsc055.h"
#include "chips/w83782d.h"
#include "chips/w83792ad.h"
#include "tests/hardware/bench.h"

namespace {

using fmt::format;

// Where a chassis of W83782D backplanes has its fans: monitor's address, backplane, output.
constexpr int CHENBRO_FANS[][3] = {{0x28, 0, 0}, {0x28, 0, 1}, {0x29, 1, 0},
                                   {0x2A, 2, 0}, {0x2B, 3, 0}, {0x2B, 3, 1}};
constexpr int W83792AD_DUTY[] = {0x81, 0x83, 0x94, 0xA3, 0xA4, 0xA5};
constexpr int W83792AD_COUNT[] = {0x28, 0x29, 0x2A, 0xB8, 0xB9, 0xBA};

bool isQuarter(int percent) {
    return percent % 25 == 0 && percent <= 100;
}

// ---- loads ----

TEST(Fans, LoadOfAVsc055IsADutyOf32AndNoLoadTakesTheFansPower) {
    Bench bench(KORVO_E_CHASSIS_KORVO_VSC055);
    esaControl.i2cAddressVsc055 = 0x41;
    for (int n = 0; n < 12 * 256; ++n) {
        const int fan = n % 12, percent = n / 12;
        const U8_t power = esaControl.vitesse.vsc055GPD[1] = bench.byte();
        std::string expected = format("Load PWM [{}] Percent to Fan [{}]\n", percent, fan);
        if (!isQuarter(percent)) {
            expected += format("Un-supported PWM Percentage [{}]\n", percent);
        } else if (fan > 7) {
            expected += format("Un-supported Fan Number = [{}]\n", fan);
        } else {
            const int code = percent == 0 ? 0 : 0x20 + percent * 32 / 100 - 1;
            expected += wrote(0x41, 0x98 + fan, code);
            expected += percent == 0 ? wrote(0x41, 1, power & ~(1 << fan)) : "";
        }
        esaVsc055FanPwmLoad(u8(fan), u8(percent));
        EXPECT_EQ(bench.take(), expected);
    }
}

TEST(Fans, LoadOfAW83792adIsItsLowFourBits) {
    Bench bench(KORVO_E_CHASSIS_KORVO_W83792AD);
    esaControl.i2cAddressW83792ad = 0x2C;
    for (int n = 0; n < 9 * 256; ++n) {
        const int fan = n % 9, load = n / 9;
        esaW83792adFanPwmLoad(u8(fan), u8(load));
        EXPECT_EQ(bench.take(),
                  format("Load PWM Winbond[{}] Percent to Fan [{}]\n", load, fan) +
                      (fan < 6 ? wrote(0x2C, W83792AD_DUTY[fan], 0x80 | load % 16)
                               : format("The Fan index [{}] is not supported.\n", fan)));
    }
}

// The two routines number the outputs differently; the fourth of a backplane sends its old value
// and keeps the new one as the first's.
TEST(Fans, LoadOfAW83782dIsADutyOf255) {
    Bench bench(KORVO_E_CHASSIS_KORVO_W83782D);
    esaControl.i2cAddressW83782d = 0x2D;
    constexpr int OUTPUTS[2][4] = {{0x5B, 0x5E, 0x5F, 0}, {0x5B, 0x5A, 0x5E, 0x5F}};
    for (int n = 0; n < 4000; ++n) {
        const bool isBackplane = n % 2 == 1;
        const int fan = bench.below(6), backplane = isBackplane ? bench.below(6) : 0;
        const U8_t duty = bench.byte();
        bench.randomize(&esaControl.winbond);
        const WinbondControl_t* const old = esaControl.winbond;
        const U8_t fourth = old[backplane % 4].pwmOut4ControlRegister;
        if (isBackplane) {
            winbondFanPwmLoad(0x30, u8(backplane), u8(fan), duty);
        } else {
            esaW83782dFanPwmLoad(u8(fan), duty);
        }
        std::string expected = format("Load PWM Winbond[{}] Percent to Fan [{}]\n", duty, fan);
        if (fan > (isBackplane ? 3 : 2)) {
            expected += format("Unsupported Winbond Fan Index = [{}].\n", fan);
        } else if (backplane > 3) {
            expected += format("Unsupported Winbond Backplane Index = [{}].\n", backplane);
        } else {
            expected += wrote(isBackplane ? 0x30 : 0x2D, OUTPUTS[isBackplane][fan],
                              fan == 3 ? fourth : duty);
            const WinbondControl_t& kept = esaControl.winbond[backplane];
            EXPECT_EQ(fan == 0 || fan == 3 ? kept.pwmOut1ControlRegister
                      : fan == 1           ? kept.pwmOut2ControlRegister
                                           : kept.pwmOut3ControlRegister,
                      duty);
        }
        EXPECT_EQ(bench.take(), expected);
    }
}

TEST(Fans, LoadOfAChenbroFanGoesToItsBackplane) {
    Bench bench(KORVO_E_CHASSIS_CHENBRO_3U16ATX);
    for (int n = 0; n < 9 * 256; ++n) {
        const int fan = n % 9, percent = n / 9;
        std::string expected = format("Load PWM Esa[{}] Percent to Fan [{}]\n", percent, fan);
        if (!isQuarter(percent)) {
            expected += format("Unsupported ESA PWM Percentage = [{}].\n", percent);
        } else if (fan > 5) {
            expected += format("Unsupported Fan Index = [{}].\n", fan);
        } else {
            const auto& [address, backplane, output] = CHENBRO_FANS[fan];
            const int duty = std::min(percent * 256 / 100, 255);
            expected += format("Load PWM Winbond[{}] Percent to Fan [{}]\n", duty, output) +
                        wrote(address, output == 0 ? 0x5B : 0x5A, duty);
        }
        chenbroW83782dFanPwmLoad(u8(fan), u8(percent));
        EXPECT_EQ(bench.take(), expected);
    }
}

TEST(Fans, StepsOfTheLadderAreDutiesOfTheChip) {
    for (const auto& [type, folder] : FOLDERS) {
        Bench bench(type);
        bench.use(folder);
        bench.log = false;
        for (int percent = 25; percent <= 100; percent += 25) {
            esaChassis()->fanLoad(1, {u8(percent)});
            const int of256 = std::min(percent * 256 / 100, 255);
            const std::map<std::string, std::string> expected = {
                {"xyratex", wrote(0x63, 0x99, 0x20 + percent * 32 / 100 - 1)},
                {"vsc055", wrote(0x41, 0x99, 0x20 + percent * 32 / 100 - 1)},
                {"w83792ad", wrote(0x2C, 0x83, 0x80 + std::min(percent * 16 / 100, 15))},
                {"w83782d", wrote(0x2D, 0x5E, of256)},
                {"chenbro", wrote(0x28, 0x5A, of256)}};
            EXPECT_EQ(bench.take(), expected.at(folder));
        }
    }
}

// ---- speeds ----

// A chip's tachometers: how a count is read, and which words stand around the transfer.
struct Tachometer {
    KORVO_E_CHASSIS_t type;
    int clock;
    int fans;
    ESA_CODE_e (*read)(int fan, U16_t* rpm);
    int address, (*number)(int fan);
    const char* before;  // of fan {0}
    const char* unknown;
    const char* after;  // of fan {0}, register {1}, count {2}
    const char* speed;  // of {3} RPM
};

const char WINBOND_AFTER[] = "{4}, fanSpeedReading Reg [{1:#x}], read speed value = [{2}].\n";
const char WINBOND_SPEED[] = "{4}, fanSpeedReading Reg [{1:#x}] has {3}].\n";

const Tachometer TACHOMETERS[] = {
    {KORVO_E_CHASSIS_KORVO_VSC055, 1200000, 8, esaVsc055FanSpeedRead, 0x41,
     [](int fan) { return 0x32 + 4 * fan; }, "", "Un-supported Fan Number = [{0}]\n",
     "Fan [{0}] has Vitesse Fan Speed value = [{2}].\n", ""},
    {KORVO_E_CHASSIS_KORVO_W83792AD, 1350000, 6,
     [](int fan, U16_t* rpm) { return esaW83792adFanSpeedRead(u8(fan), rpm); }, 0x2C,
     [](int fan) { return W83792AD_COUNT[fan]; }, "Read speed with Fan Inx = [{0}].\n",
     "Unsupported W83792AD Fan Index = [{0}].\n", WINBOND_AFTER, WINBOND_SPEED},
    {KORVO_E_CHASSIS_KORVO_W83782D, 1350000, 3,
     [](int fan, U16_t* rpm) { return esaW83782dFanSpeedRead(0x2D, u8(fan), rpm); }, 0x2D,
     [](int fan) { return 0x28 + fan; },
     "Read speed with Fan, I2C address = [0x2d], w83782dFanInx = [{0}].\n",
     "Unsupported Winbond Fan Index = [{0}].\n", WINBOND_AFTER, WINBOND_SPEED},
};

std::string speedTexts(const Tachometer& chip, int fan, int count, int divisor, int* rpm) {
    const bool isVsc055 = chip.clock == 1200000;
    const int number = chip.number(fan);
    const std::string device =
        chip.address == 0x2D ? "Fan with I2C address [0x2d]" : "Fan with W83792AD";
    const auto said = [&](const char* text, const std::string& last) {
        return format(fmt::runtime(text), fan, number, count, last, device);
    };
    const std::string text = readGave(chip.address, number, count) + said(chip.after, "");
    *rpm = count * divisor == 0 ? 0 : chip.clock / (count * divisor) % 0x10000;
    if (count == 255) {
        *rpm = isVsc055 ? -1 : 0;
        return text + (isVsc055 ? format("No tachometer pulses present, NOT able to read speed for "
                                         "Fan [{0}].\nReturn read error for Fan [{0}].\n",
                                         fan)
                                : said(chip.speed, "Speed value = [0"));
    }
    if (isVsc055 && count == 0) {
        return text + format("Fan [{}] has speed [0].\n", fan);
    }
    return text +
           (count * divisor == 0 ? format("Fan [{}] has count [{}] and divisor [{}], taken as [0] "
                                          "RPM.\n",
                                          fan, count, divisor)
                                 : "") +
           said(chip.speed, format("RPM [{}", *rpm));
}

TEST(Fans, SpeedIsTheClockByCountAndDivisor) {
    for (const Tachometer& chip : TACHOMETERS) {
        Bench bench(chip.type);
        bench.use(FOLDERS.at(chip.type));
        for (int n = 0; n < 256 * 9; ++n) {
            const int fan = n % 9, count = n / 9;
            const int divisor = esaControl.fanSpeedDivisor = u8(n % 4 == 0 ? bench.byte() : n % 5);
            U16_t rpm = 4711;
            int expectedRpm = -1;
            std::string expected = format(fmt::runtime(chip.before), fan);
            if (fan < chip.fans) {
                bench.registers[chip.address][chip.number(fan)] = u8(count);
                expected += speedTexts(chip, fan, count, divisor, &expectedRpm);
            } else {
                expected += format(fmt::runtime(chip.unknown), fan);
            }
            EXPECT_EQ(chip.read(fan, &rpm), expectedRpm < 0 ? ESA_E_GENERR : ESA_E_OK);
            EXPECT_EQ(rpm, expectedRpm < 0 ? 4711 : expectedRpm);
            EXPECT_EQ(bench.take(), expected);
        }
    }
}

TEST(Fans, SpeedOfAFanThatIsNotReachedIsLeftAlone) {
    for (const Tachometer& chip : TACHOMETERS) {
        Bench bench(chip.type);
        bench.use(FOLDERS.at(chip.type));
        bench.cut.set();
        U16_t rpm = 4711;
        EXPECT_EQ(chip.read(1, &rpm), ESA_E_GENERR_I2C_UNAVAILABLE);
        EXPECT_EQ(chip.read(-1, &rpm), ESA_E_GENERR) << "no such fan";
        EXPECT_EQ(rpm, 4711);
    }
}

TEST(Fans, SpeedOfAChenbroFanIsReadAtItsBackplane) {
    Bench bench(KORVO_E_CHASSIS_CHENBRO_3U16ATX);
    esaControl.fanSpeedDivisor = 2;
    for (U8_t fan = 0; fan < 8; ++fan) {
        U16_t rpm = 4711;
        const bool known = fan < std::size(CHENBRO_FANS);
        const auto& [address, backplane, output] = CHENBRO_FANS[fan % 6];
        bench.registers[address][0x28 + output] = 135;
        EXPECT_EQ(chenbroW83782dFanSpeedRead(fan, &rpm), known ? ESA_E_OK : ESA_E_GENERR);
        EXPECT_EQ(rpm, known ? 5000 : 4711);
        const std::string said = bench.take();
        const std::string begin = format("Read speed with Fan, chenbroFanInx = [{}].\n", fan);
        EXPECT_EQ(said.substr(0, begin.size()), begin);
        EXPECT_NE(said.find(known ? readGave(address, 0x28 + output, 135)
                                  : format("Unsupported Fan Index = [{}].\n", fan)),
                  said.npos);
        bench.failing = 1;
        EXPECT_EQ(chenbroW83782dFanSpeedRead(fan, &rpm), ESA_E_GENERR) << "an ordinary error";
        bench.take();
    }
}

// ---- the LED of a Xyratex chassis ----

// A poll shows whether any fan has failed; a page judges each fan by itself, with 500 RPM as
// failed.
TEST(Fans, LedOfAXyratexFollowsTheirMarks) {
    Bench bench(KORVO_E_CHASSIS_XYRATEX_2U12ATX);
    bench.use("xyratex");
    for (int n = 0; n < 200; ++n) {
        const int before = esaControl.vitesse.vsc055GPD[6] = bench.byte();
        const bool isPage = n % 2 == 1, lit = before >= 0x80;
        const int fan = bench.below(8), rpm = n % 4 < 2 ? 499 + n % 3 : bench.below(1000);
        const U32_t marks = esaControl.fanFaultStatus = n % 8 < 4 ? 0 : 1U << bench.below(8);
        const U32_t marked = rpm <= 500 ? marks | 1U << fan : marks & ~(1U << fan);
        CoolingElementStat_t element = {};
        bool failed = rpm < 500;
        if (isPage) {
            failed = marked != 0;
            EXPECT_EQ(esaChassis()->fanPageStatus(fan, static_cast<U16_t>(rpm), &element),
                      marked != marks);
            EXPECT_EQ(element.fail != 0, rpm <= 500);
            EXPECT_EQ(esaControl.fanFaultStatus, marked);
        } else {
            esaChassis()->fanFaultShow(failed);
        }
        const char* const state = failed ? "ON" : "OFF";
        EXPECT_EQ(linesWith(bench.take(), {"LED", "FAN_FAIL", "W "}),
                  failed == lit
                      ? format("FAN Fail LED already [{}].\n", state)
                      : format("Turn [{}] FAN_FAIL LED.\n", state) + wrote(0x63, 6, before ^ 0x80) +
                            format("Turn [{}] FAN Fail LED.\n", state));
    }
}

}  // namespace
