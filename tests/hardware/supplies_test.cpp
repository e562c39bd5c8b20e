// SPDX-License-Identifier: Apache-2.0
// Voltages, redundancy inputs, and what polls and pages make of them.
#include <gtest/gtest.h>

#include "chassis/chenbro.h"
#include "chassis/vsc055.h"
#include "chassis/w83792ad.h"
#include "chassis/xyratex.h"
#include "chips/w83782d.h"
#include "chips/w83792ad.h"
#include "policy/supply.h"
#include "tests/hardware/bench.h"

namespace {

using fmt::format;

std::string judged(const char* rail, double low, double high, bool good) {
    return format("{0} low limit = [{1:f}]V. {0} high limit = [{2:f}].\n", rail, low, high) +
           (good ? ""
                 : format("Return Power Voltage Tolerance Status [ERROR] because of {} "
                          "measurement.\n",
                          rail));
}

// ---- W83782D ----

// 16 mV a step at the pin; +5 and +12 are judged as they are read, which ends with the first bad
// one: 168 to 204 steps are 4.5 to 5.5 V, 178 to 217 are 10.8 to 13.2 V.
ESA_CODE_e w83782dTexts(const U8_t* readings, std::string* text) {
    *text = "Read Voltage Tolerance, I2C address = [0x2d].\n";
    const char* const names[] = {"Vcorea", "Vinr0",  "+3.3Vin", "+5Vin",
                                 "+12Vin", "-12Vin", "-5Vin"};
    for (int n = 0; n < 7; ++n) {
        const int reading = readings[n];
        const double pin = reading * 0.016;
        const double volts[] = {
            pin, pin, pin, pin * 1.68, pin * 3.8, (pin - 2.9) * 36 / 7, (pin - 27.0 / 11) * 22 / 7};
        *text += readGave(0x2D, 0x20 + n, reading) +
                 format("{0} = [{1}]{2}\nConverted {0} = [{3:f}]V.\n", names[n], reading,
                        n == 0 ? "." : "", volts[n]);
        if (n == 3 || n == 4) {
            const bool good =
                n == 3 ? reading >= 168 && reading <= 204 : reading >= 178 && reading <= 217;
            *text += judged(names[n], n == 3 ? 4.5 : 10.8, n == 3 ? 5.5 : 13.2, good);
            EXPECT_DOUBLE_EQ(
                n == 3 ? esaControl.powerSupplyVoltage5V : esaControl.powerSupplyVoltage12V,
                volts[n]);
            if (!good) {
                return ESA_E_GENERR;
            }
        }
    }
    return ESA_E_OK;
}

TEST(Supplies, VoltagesOfAW83782dAreJudgedAsTheyAreRead) {
    Bench bench(KORVO_E_CHASSIS_KORVO_W83782D);
    U8_t* const readings = &bench.registers[0x2D][0x20];
    for (int n = 0; n < 1024; ++n) {
        for (int channel = 0; channel < 7; ++channel) {
            readings[channel] = bench.byte();
        }
        readings[3] = u8(n < 256 ? n : 186);
        readings[4] = u8(n < 512 ? n : 160 + n % 64);
        const ESA_CODE_e code = esaW83782dPowerVoltageToleranceStatusRead(0x2D);
        std::string expected;
        EXPECT_EQ(code, w83782dTexts(readings, &expected));
        EXPECT_EQ(bench.take(), expected);
    }
    bench.failing = 3;
    EXPECT_EQ(esaW83782dPowerVoltageToleranceStatusRead(0x2D), ESA_E_GENERR_I2C_UNAVAILABLE);
}

// The first backplane that is not good or not reached ends it.
TEST(Supplies, VoltagesOfAChenbroChassisAreThoseOfItsBackplanes) {
    constexpr int ADDRESSES[] = {0x28, 0x2A, 0x2C, 0x30};
    Bench bench(KORVO_E_CHASSIS_CHENBRO_3U16ATX);
    bench.log = false;
    for (int n = 0; n < 10; ++n) {
        bench.use("chenbro");
        std::string expected;
        for (int backplane = 0; backplane < 4 && backplane <= n % 5; ++backplane) {
            const int address = ADDRESSES[backplane];
            const bool bad = backplane == n % 5;
            bench.registers[address][0x23] = bad && n >= 5 ? 0 : 186;
            bench.cut[static_cast<std::size_t>(address)] = bad && n < 5;
            for (int number = 0x20; number < (bad ? n < 5 ? 0x20 : 0x24 : 0x27); ++number) {
                expected += readGave(address, number, bench.registers[address][number]);
            }
        }
        EXPECT_EQ(chenbroPowerVoltageToleranceStatusRead(), n % 5 < 4 ? ESA_E_GENERR : ESA_E_OK);
        EXPECT_EQ(linesWith(bench.take(), {"="}).substr(0, expected.size()), expected);
        bench.restart(KORVO_E_CHASSIS_CHENBRO_3U16ATX);
    }
}

// ---- W83792AD ----

// Ten bits, the low two in a register of four channels. But for the two Vcore channels the low bits
// take the place of the value, so that +5Vcc is never good and the limits are never read.
TEST(Supplies, VoltagesOfAW83792adAreNeverGood) {
    struct {
        const char *name, *high, *whole;
        double step;
    } const channels[] = {
        {"Vcorea", "Vcorea", "Vcorea", 0.002}, {"Vcoreb", "Vcoreb", "Vcoreb", 0.002},
        {"Vin0", "Vinr0", "Vin0", 0.004},      {"Vin1", "Vin1", "Vin1", 0.004},
        {"Vin2", "Vin2", "Vin2", 0.004},       {"Vin3", "Vin3", "Vin3", 0.004},
        {"+5Vcc", nullptr, "=5Vcc", 0.006}};
    Bench bench(KORVO_E_CHASSIS_KORVO_W83792AD);
    for (int n = 0; n < 256; ++n) {
        bench.randomize(&bench.registers[0x2C]);
        bench.restart(KORVO_E_CHASSIS_KORVO_W83792AD);
        esaControl.i2cAddressW83792ad = 0x2C;
        std::string expected = "Read Voltage Tolerance, I2C address = [0x2c].\n";
        for (int channel = 0; channel < 7; ++channel) {
            const auto& [name, high, whole, step] = channels[channel];
            const int reading = bench.registers[0x2C][0x20 + channel], second = channel / 4;
            const int packed = bench.registers[0x2C][0x3E + second];
            const int low = packed >> channel % 4 * 2 & 3;
            const char* const end = channel < 2 ? "." : "";
            expected += readGave(0x2C, 0x20 + channel, reading) +
                        format("{} = [{}]{}\n", name, reading, end);
            expected += high == nullptr
                            ? ""
                            : format("Converted {} = [{:f}]V.\n", high, reading * 4 * step);
            expected += readGave(0x2C, 0x3E + second, packed) +
                        format("Low Bits {} = [{}]{}\n", second + 1, low, end) +
                        format("Converted {} = [{:f}]V.\n", whole,
                               (channel < 2 ? reading * 4 + low : low) * step);
        }
        const int low5 = bench.registers[0x2C][0x3F] >> 4 & 3;
        EXPECT_EQ(esaW83792adPowerVoltageToleranceStatusRead(), ESA_E_GENERR);
        EXPECT_EQ(bench.take(), expected + judged("+5Vin", 4.5, 5.5, false));
        EXPECT_DOUBLE_EQ(esaControl.powerSupplyVoltage5V, low5 * 0.006);
        bench.failing = 1 + n % 14;
        EXPECT_EQ(esaW83792adPowerVoltageToleranceStatusRead(), ESA_E_GENERR_I2C_UNAVAILABLE);
    }
}

// ---- inputs ----

TEST(Supplies, EachInputIsOneBit) {
    const struct {
        KORVO_E_CHASSIS_t type;
        ESA_CODE_e (*read)();
        int address, number, bit;
        const char *good, *bad;
    } inputs[] = {
        {KORVO_E_CHASSIS_KORVO_VSC055, esaVsc055PowerRedundancyFailStatusRead, 0x41, 4, 0x80,
         "Return Power Fail Status [OK].\n", "Return Power Fail Status [ERROR].\n"},
        {KORVO_E_CHASSIS_XYRATEX_2U12ATX, xyratexPowerVoltageStatusRead, 0x63, 4, 0x10, "",
         "Return Power Voltage Status [ERROR].\n"},
        {KORVO_E_CHASSIS_XYRATEX_2U12ATX, xyratexPowerRedundancyFailStatusRead, 0x63, 4, 0x20,
         "Return Power Redundancy Fail Status [OK].\n",
         "Return Power Redundancy Fail Status [ERROR].\n"},
        {KORVO_E_CHASSIS_KORVO_W83792AD, esaW83792adPowerRedundancyStatusRead, 0x2C, 0x1C, 0x80,
         "Return Power Redundancy Status [OK].\n", "Return Power Redundancy Status [ERROR].\n"},
    };
    for (const auto& input : inputs) {
        Bench bench(input.type);
        bench.use(FOLDERS.at(input.type));
        for (int value = 0; value < 256; ++value) {
            const bool good = (value & input.bit) != 0;
            bench.registers[input.address][input.number] = u8(value);
            EXPECT_EQ(input.read(), good ? ESA_E_OK : ESA_E_GENERR);
            EXPECT_EQ(bench.take(), readGave(input.address, input.number, value) +
                                        (good ? input.good : input.bad));
        }
        bench.cut.set();
        EXPECT_EQ(input.read(), ESA_E_GENERR_I2C_UNAVAILABLE);
        EXPECT_EQ(linesWith(bench.take(), {"Return"}), "");
    }
}

// ---- conditions ----

// A condition: its bit in the status and of its fault, and how to make it good or bad.
struct Condition {
    KORVO_E_CHASSIS_t type;
    unsigned bit;  // 1: voltage, 2: redundancy; of powerSupplyStatus and of its fault
    int address, number;
    int good, bad;  // values of that register
    bool keptWhenLost;
    const char* polled[2][2];  // line of: is not good, is good; was not good, was good
    const char* onPage[2][2];
};

#define REDUNDANCY                                             \
    {                                                          \
        {"Power Redundancy Status already [NOT OK].\n", ""}, { \
            "", "Power Redundancy Status already [OK].\n"      \
        }                                                      \
    }
#define VOLTAGE                                                                \
    {                                                                          \
        {"Power Voltage Tolerance Status already [NOT OK].\n",                 \
         "Power Voltage Tolerance Status changed from [OK] to [NOT OK].\n"},   \
        {                                                                      \
            "Power Voltage Tolerance Status changed from [NOT OK] to [OK].\n", \
                "Power Voltage Tolerance Status already [OK].\n"               \
        }                                                                      \
    }
// A voltage that stays bad is said in the words of redundancy.
#define VOLTAGE_PAGE                                             \
    {                                                            \
        {"Power Redundancy Status already [NOT OK].\n", ""}, {   \
            "", "Power Voltage Tolerance Status already [OK].\n" \
        }                                                        \
    }

// In the order of a poll.
const Condition CONDITIONS[] = {
    {KORVO_E_CHASSIS_KORVO_VSC055, 2, 0x41, 4, 0x80, 0x7F, true, REDUNDANCY, REDUNDANCY},
    {KORVO_E_CHASSIS_XYRATEX_2U12ATX,
     1,
     0x63,
     4,
     0x30,
     0x20,
     true,
     {{"", "Turn [OFF] PSU_OK LED.\n"}, {"Turn [ON] PSU_OK LED.\n", ""}},
     {{"PSU OK LED already [OFF].\n", "Turn [OFF] PSU_OK LED.\n"},
      {"Turn [ON] PSU_OK LED.\n", "PSU OK LED already [ON].\n"}}},
    {KORVO_E_CHASSIS_XYRATEX_2U12ATX,
     2,
     0x63,
     4,
     0x30,
     0x10,
     true,
     {{"", "Turn [ON] Power Redundancy Fail LED.\n"},
      {"Turn [OFF] Power Redundancy Fail LED.\n", ""}},
     {{"Power Redundancy Fail LED already [ON].\n", "Turn [ON] Power Redundancy Fail LED.\n"},
      {"Turn [OFF] Power Redundancy Fail LED.\n", "Power Redundancy Fail LED already [OFF].\n"}}},
    {KORVO_E_CHASSIS_KORVO_W83792AD, 2, 0x2C, 0x1C, 0x80, 0, false, REDUNDANCY, REDUNDANCY},
    {KORVO_E_CHASSIS_KORVO_W83792AD, 1, 0x2C, 0x26, 0, 0, false, VOLTAGE, VOLTAGE_PAGE},
    {KORVO_E_CHASSIS_KORVO_W83782D, 1, 0x2D, 0x23, 186, 0, false, VOLTAGE, VOLTAGE_PAGE},
    {KORVO_E_CHASSIS_CHENBRO_3U16ATX, 1, 0x2C, 0x23, 186, 0, false, VOLTAGE, VOLTAGE_PAGE},
};
const std::initializer_list<const char*> WORDS = {"already [", "changed from", "Turn [O",
                                                  "event 6"};

// The input of a row that keeps this condition.
const EsaSupplyInput_t& inputOf(const Condition& condition) {
    for (const EsaSupplyInput_t& input : esaChassis()->supplyInputs) {
        if (input.polled.statusBit == condition.bit) {
            return input;
        }
    }
    throw std::out_of_range("no such input");
}

TEST(Supplies, APollKeepsToldStateAndFaultInStep) {
    for (const Condition& condition : CONDITIONS) {
        Bench bench(condition.type);
        for (int n = 0; n < 64; ++n) {
            bench.restart(condition.type);
            bench.use(FOLDERS.at(condition.type));
            const bool lost = n % 8 == 0, neverGood = condition.good == condition.bad;
            const bool good = bench.below(2) == 1 && !lost && !neverGood;
            const U32_t status = esaControl.powerSupplyStatus = static_cast<U32_t>(bench.below(8));
            const U32_t faults = esaControl.compositeFaultStatus =
                0x80000004U + static_cast<U32_t>(bench.below(4));
            const bool was = (status & condition.bit) != 0;
            bench.registers[condition.address][condition.number] =
                u8(good ? condition.good : condition.bad);
            bench.cut[static_cast<std::size_t>(condition.address)] = lost;
            esaSupplyPoll(inputOf(condition));
            const bool kept = lost && condition.keptWhenLost;
            const U32_t changed = (status & ~condition.bit) | (good ? condition.bit : 0);
            EXPECT_EQ(esaControl.powerSupplyStatus, kept ? status : changed);
            EXPECT_EQ(esaControl.compositeFaultStatus & condition.bit, kept ? faults & condition.bit
                                                                       : good ? 0U
                                                                              : condition.bit);
            const std::string event = format("event 6/{} supplies={}{}\n", good ? 1 : 2,
                                             int{esaControl.powerSupplyMaxNumber},
                                             changed == 0 ? "" : format(" supply={}", changed));
            const std::string counted = esaControl.powerSupplyMaxNumber == 0
                                            ? event.substr(0, 9) + event.substr(20)
                                            : event;
            EXPECT_EQ(linesWith(bench.take(), WORDS),
                      kept ? "" : condition.polled[good][was] + (good == was ? "" : counted));
        }
    }
}

// A page judges all conditions for each supply, those of a Xyratex the other way round and without
// a word to the fault manager; the last one says what the element is like.
TEST(Supplies, APageKeepsStateAndElementInStep) {
    for (const auto& [type, folder] : FOLDERS) {
        std::vector<const Condition*> conditions;
        for (const Condition& condition : CONDITIONS) {
            if (condition.type == type) {
                conditions.push_back(&condition);
            }
        }
        const bool isXyratex = type == KORVO_E_CHASSIS_XYRATEX_2U12ATX;
        if (isXyratex) {
            std::swap(conditions[0], conditions[1]);
        }
        Bench bench(type);
        for (int n = 0; n < 64 && !conditions.empty(); ++n) {
            bench.restart(type);
            bench.use(folder);
            const U32_t status = esaControl.powerSupplyStatus = static_cast<U32_t>(bench.below(8));
            const U32_t faults = esaControl.compositeFaultStatus =
                0x80000004U + static_cast<U32_t>(bench.below(4));
            const int supply = bench.below(3);
            const bool requested = bench.below(2) == 1;
            esaControl.powerSupplyElementControl[supply].rqstFail = requested;
            std::string expected;
            U32_t statusAfter = status, faultsAfter = faults;
            PowerSupplyElementStat_t element = {};
            bool allGood = true, mainsGood = true, lastGood = true;
            int port = 0xFF;  // both conditions of a Xyratex are bits of one port
            for (const Condition* condition : conditions) {
                const bool good = bench.below(2) == 1 && condition->good != condition->bad;
                const bool was = (status & condition->bit) != 0;
                port &= good ? condition->good | ~0x30 : condition->bad | ~0x30;
                bench.registers[condition->address][condition->number] =
                    u8(isXyratex ? port
                       : good    ? condition->good
                                 : condition->bad);
                expected += condition->onPage[good][was];
                statusAfter = (statusAfter & ~condition->bit) | (good ? condition->bit : 0);
                faultsAfter = (faultsAfter & ~condition->bit) | (good ? 0 : condition->bit);
                allGood = allGood && good;
                mainsGood = condition->bit == 1 ? good : mainsGood;
                lastGood = good;
            }
            EXPECT_EQ(esaChassis()->supplyPageStatus(supply, &element), status != statusAfter);
            EXPECT_EQ(linesWith(bench.take(), WORDS), expected);
            EXPECT_EQ(esaControl.powerSupplyStatus, statusAfter);
            EXPECT_EQ(esaControl.compositeFaultStatus, isXyratex ? faults : faultsAfter);
            EXPECT_EQ(element.acFail != 0, !mainsGood);
            EXPECT_EQ(element.commonStatus,
                      (isXyratex ? (statusAfter & 2) != 0 : lastGood) ? 1 : 5);
            EXPECT_EQ(element.fail != 0, requested || (isXyratex ? !allGood : !lastGood));
        }
    }
}

// A Xyratex's PSU OK LED and that of lost redundancy are bits 5 and 6 of port 6.
TEST(Supplies, LedsOfAXyratexFollow) {
    const struct {
        void (*write)();
        const char* text;
        int set, cleared;
    } leds[] = {
        {xyratexPsuOkLEDSet, "Turn [ON] PSU_OK LED.\n", 0x20, 0},
        {xyratexPsuOkLEDClear, "Turn [OFF] PSU_OK LED.\n", 0, 0x20},
        {xyratexPowerRedundancyFailLEDSet, "Turn [ON] Power Redundancy Fail LED.\n", 0x40, 0},
        {xyratexPowerRedundancyFailLEDClear, "Turn [OFF] Power Redundancy Fail LED.\n", 0, 0x40},
        {xyratexFanFailLEDSet, "Turn [ON] FAN_FAIL LED.\n", 0x80, 0},
        {xyratexFanFailLEDClear, "Turn [OFF] FAN_FAIL LED.\n", 0, 0x80}};
    Bench bench(KORVO_E_CHASSIS_XYRATEX_2U12ATX);
    bench.use("xyratex");
    for (int n = 0; n < 60; ++n) {
        const auto& led = leds[n % 6];
        const int before = esaControl.vitesse.vsc055GPD[6] = bench.byte();
        led.write();
        EXPECT_EQ(bench.take(), led.text + wrote(0x63, 6, (before | led.set) & ~led.cleared));
    }
}

// Redundancy that is good and was before: an alarm that still reminds of its loss is set to idle.
TEST(Supplies, ReminderOfALossThatIsOverEnds) {
    Bench bench(KORVO_E_CHASSIS_XYRATEX_2U12ATX);
    for (int n = 0; n < 64; ++n) {
        bench.restart(KORVO_E_CHASSIS_XYRATEX_2U12ATX);
        bench.use("xyratex");
        const bool was = n % 2 == 1, good = n / 2 % 2 == 1, reminds = n / 4 % 2 == 1;
        const U32_t kept = esaControl.alarmState = static_cast<U32_t>(n / 8 % 3);
        esaControl.powerSupplyStatus = was ? 7 : 5;
        bench.registers[0x63][4] = good ? 0x20 : 0;
        bench.next[0x6305] = {0, u8(reminds ? 0x10 : 0), 0};
        PowerSupplyElementStat_t element;
        n < 32 ? esaSupplyPoll(esaChassis()->supplyInputs[1])
               : void(esaChassis()->supplyPageStatus(0, &element));
        const std::string said = linesWith(bench.take(), {"event 9", "IDEL", "05="});
        const bool ends = was && good && reminds;
        EXPECT_EQ(said.find("R 63 05") != said.npos, was && good);
        EXPECT_EQ(
            said.find("Set the Alarm State to [IDEL_S0].\nW 63 05=08\nW 63 05=00\n") != said.npos,
            ends);
        EXPECT_EQ(said.find("event 9/1 alarms=1\n") != said.npos, ends && kept != 0);
        EXPECT_EQ(esaControl.alarmState, ends ? 0 : kept);
    }
}

}  // namespace
