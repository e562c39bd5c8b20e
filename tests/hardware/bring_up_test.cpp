// SPDX-License-Identifier: Apache-2.0
// Bring-up: what it says, the state it leaves, and that counts above the arrays do what full arrays
// do. Its transfers stand in tests/golden.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "chassis/w83782d.h"
#include "ses/status_page.h"
#include "tests/hardware/bench.h"

namespace {

using fmt::format;

class BringUp : public testing::TestWithParam<std::pair<const KORVO_E_CHASSIS_t, const char*>> {
  protected:
    BringUp() : bench_(type()) { prepare(); }
    KORVO_E_CHASSIS_t type() const { return GetParam().first; }
    std::string folder() const { return GetParam().second; }
    void prepare() {
        bench_.restart(type());
        bench_.use(folder());
    }
    Bench bench_;
};

// ---- what it says ----

constexpr char ANSWERS[] = "Read I2C succeeds. I2C cable is connected\n";
constexpr char MUTED[] = "Set Backplane Alarm State to [MUTE_S3].\n";

std::string directionsTexts(const std::vector<int>& directions) {
    std::string text = "Setup the data direction for all VSC055 ports.\n";
    for (std::size_t port = 0; port < 8; ++port) {
        text += format(
            "ESA internal database, esaControl.vitesse.vsc055DDP[{0}] = [{1:#x}]\n"
            "Read VSC055_DDP[{0}] Register, returned value = [{1:#x}]\n",
            port, directions[port]);
    }
    return text;
}

std::string fansTexts(int first, int end, const char* text) {
    std::string all;
    for (int fan = first; fan < end; ++fan) {
        all += format(fmt::runtime(text), fan);
    }
    return all;
}

// Pairs of a high limit of 255 and a low one of 1.
std::string limitsTexts(const std::vector<const char*>& names) {
    std::string text;
    for (std::size_t n = 0; n < names.size(); ++n) {
        text += format("{} = [{}]\n", names[n], n % 2 == 0 ? 255 : 1);
    }
    return text;
}

// One of them without "Set".
const std::vector<const char*> W83782D_LIMITS = {
    "Set Vcorea High Limit", "Set Vcorea Low Limit",   "Set Vinr0 High Limit",
    "Set Vinr0 Low Limit",   "Set +3.3Vin High Limit", "Set +3.3Vin Low Limit",
    "+5Vin High Limit",      "Set +5Vin Low Limit",    "Set +12Vin High Limit",
    "Set +12Vin Low Limit",  "Set -12Vin High Limit",  "Set -12Vin Low Limit",
    "Set -5Vin High Limit",  "Set -5Vin Low Limit"};
const std::vector<const char*> W83792AD_LIMITS = {
    "Set Vcorea High Limit", "Set Vcorea Low Limit", "Set Vcoreb High Limit",
    "Set Vcoreb Low Limit",  "Set Vin0 High Limit",  "Set VIN0 Low Limit",
    "Set Vin1 High Limit",   "Set VIN1 Low Limit",   "Set Vin2 High Limit",
    "Set VIN2 Low Limit",    "Set Vin3 High Limit",  "Set VIN3 Low Limit",
    "Set +5VCC High Limit",  "Set +5VCC Low Limit"};

std::string dumpTexts(const Bench& bench, int backplane) {
    std::vector<std::string> names;
    const char* const rails[] = {"VCOREA",        "VINR0",          "POSITIVE_3_3VIN",
                                 "POSITIVE_5VIN", "POSITIVE_12VIN", "NEGATIVE_12VIN",
                                 "NEGATIVE_5VIN"};
    for (const char* rail : rails) {
        names.push_back(format("{}_READING", rail));
    }
    for (const char* name :
         {"TEMPERATURE_READING", "FAN1_READING", "FAN2_READING", "FAN3_READING"}) {
        names.emplace_back(name);
    }
    for (const char* rail : rails) {
        names.push_back(format("{}_HIGH_LIMIT", rail));
        names.push_back(format("{}_LOW_LIMIT", rail));
    }
    for (const char* name :
         {"TEMPERATURE_SENSOR1_HIGH_LIMIT", "TEMPERATURE_SENSOR1_HYSTERESIS",
          "FAN1_FAN_COUNT_LIMIT", "FAN2_FAN_COUNT_LIMIT", "FAN3_FAN_COUNT_LIMIT"}) {
        names.emplace_back(name);
    }
    const U8_t* const registers = bench.registers[std::to_array({0x28, 0x2A, 0x2C, 0x30})
                                                      .at(static_cast<std::size_t>(backplane))];
    std::string text;
    for (std::size_t n = 0; n < names.size(); ++n) {
        text += format("Chenbro Backplane [{}], ESA_K_W83782D_{}_REG = [{}]\n", backplane, names[n],
                       registers[0x20 + n]);
    }
    return text + format("Chenbro Backplane [{}], configurationRegister = [{}]\n", backplane,
                         registers[0x40]);
}

std::string chenbroTexts(const Bench& bench) {
    std::string text = fansTexts(0, 4, ANSWERS), limits, muted;
    for (int backplane = 0; backplane < 4; ++backplane) {
        text += dumpTexts(bench, backplane);
        limits += limitsTexts(W83782D_LIMITS);
        muted += MUTED;
    }
    text += limits;
    for (int fan = 0; fan < 6; ++fan) {
        text += format(
            "Load PWM Esa[50] Percent to Fan [{}]\nLoad PWM Winbond[128] Percent to Fan [{}]\n",
            fan, fan == 1 || fan == 5 ? 1 : 0);
    }
    return text + muted + "Finish the Chenbro initialization.\n";
}

TEST_P(BringUp, SaysWhatItSets) {
    bench_.traffic = false;
    bench_.randomize(&bench_.registers[0x2A]);
    std::string ports;
    for (int port = 0; port < 8; ++port) {
        bench_.registers[0x41][port] = port == 4 ? 0x80 : u8(port * 3);
        ports += format("Read VSC055_GPD[{}] Register, returned value = [{:#x}]\n", port,
                        port == 4 ? 0xD0 : port * 3);
    }
    const std::string texts =
        folder() == "xyratex"
            ? ANSWERS + directionsTexts({0xFF, 0, 0xFF, 0x0F, 0x30, 0x10, 0, 0}) +
                  fansTexts(0, 2, "Load PWM [25] Percent to Fan [{}]\n") +
                  fansTexts(0, 8, "Initialize VSC055_FSC[{}] Register with value = [0x80]\n") +
                  "Set the Alarm State to [IDEL_S0].\n"
        : folder() == "vsc055"
            ? std::string(ANSWERS) + MUTED + directionsTexts({0xFF, 0, 0xFF, 0xFF, 0x80, 0, 0, 0}) +
                  "Read VSC055_GPD Register\n" + ports + ANSWERS + ANSWERS +
                  fansTexts(0, 3, "Load PWM [50] Percent to Fan [{}]\n") +
                  fansTexts(0, 3, "Initialize vsc055FSC[{}] Register with value = [0x81]\n")
        : folder() == "w83792ad"
            ? ANSWERS + limitsTexts(W83792AD_LIMITS) +
                  "Set Temperature Sensor1 High Limit = [60]\nSet Temperature Sensor1 Low Limit = "
                  "[1]\n" +
                  fansTexts(1, 4, "Set Fan{} Count High Limit = [255]\n") +
                  fansTexts(0, 6, "Load PWM Winbond[8] Percent to Fan [{}]\n") + MUTED +
                  "Finish the initialization for the W83792AD guideline based enclosure.\n"
                  "Finish the initialization for the PCA9539.\n"
        : folder() == "w83782d"
            ? ANSWERS + limitsTexts(W83782D_LIMITS) +
                  fansTexts(0, 3, "Load PWM Winbond[255] Percent to Fan [{}]\n") + MUTED +
                  "Finish the initialization for the W83782D guideline based enclosure.\n"
            : chenbroTexts(bench_);
    EXPECT_EQ(esaChassis()->init(), ESA_E_OK);
    EXPECT_EQ(bench_.take(), texts);
}

// ---- the state it leaves ----

TEST_P(BringUp, LeavesFansLoadedAndSuppliesGood) {
    const bool isVsc055 = folder() == "vsc055" || folder() == "xyratex";
    const int load = folder() == "xyratex" ? 25 : folder() == "w83782d" ? 100 : 50;
    bench_.randomize(&esaControl.fanSpeedDivisor);
    const int divisor = folder() == "xyratex"   ? 1
                        : folder() == "w83782d" ? 2
                                                : esaControl.fanSpeedDivisor;
    esaControl.powerSupplyStatus = 4;
    esaControl.i2cConnected = 0;
    EXPECT_EQ(esaChassis()->init(), ESA_E_OK);
    EXPECT_EQ(esaControl.i2cConnected, 1);
    EXPECT_EQ(esaControl.powerSupplyStatus, isVsc055 ? 7U : 5U);
    EXPECT_EQ(esaControl.fanSpeedDivisor, divisor);
    EXPECT_EQ(esaControl.alarmState, folder() == "xyratex" ? 0U : 3U);
    const int loaded = folder() == "xyratex" ? 2 : esaControl.coolingMaxNumber;
    for (int fan = 0; fan < 8; ++fan) {
        EXPECT_EQ(esaControl.fanPwmLoad[fan], fan < loaded ? load : 0) << fan;
        EXPECT_EQ(esaControl.coolingElementOnOff[fan], fan < esaControl.coolingMaxNumber ? 2 : 0)
            << fan;
    }
}

// Designs that no personality file selects bring their own counts and limits.
TEST_P(BringUp, OfMonitorsSetsCountsAndLimits) {
    const EsaControl_t& c = esaControl;
    const std::vector<U32_t> thresholds = {60, 35, 38, 40, 35, 34, 32};
    const auto thresholdsNow = [&c] {
        return std::vector<U32_t>{
            c.overheatTemperatureLimit,          c.fanPwm25To50TemperatureThreshold,
            c.fanPwm50To75TemperatureThreshold,  c.fanPwm75To100TemperatureThreshold,
            c.fanPwm100To75TemperatureThreshold, c.fanPwm75To50TemperatureThreshold,
            c.fanPwm50To25TemperatureThreshold};
    };
    const auto countsNow = [&c] {
        return std::vector<int>{c.elementTypeMaxNumber,       c.deviceMaxNumber,
                                c.powerSupplyMaxNumber,       c.coolingMaxNumber,
                                c.temperatureSensorMaxNumber, c.audibleAlarmMaxNumber};
    };
    std::vector<U32_t> limits = thresholdsNow();
    std::vector<int> counts = countsNow();
    esaChassis()->init();
    if (folder() == "w83782d") {
        limits = thresholds;
        counts = {5, 16, 2, 3, 3, 1};
    } else if (folder() == "chenbro") {
        counts = {5, 16, 3, 6, 4, 1};
    }
    EXPECT_EQ(thresholdsNow(), limits);
    EXPECT_EQ(countsNow(), counts);
    EXPECT_EQ(c.fanFaultRpmLimit, counts[0] == 5 ? 500U : 1000U);

    prepare();
    esaControl.i2cAddressW83782d = 0x2D;
    counts = countsNow();
    EXPECT_EQ(esaW83782dInit(), ESA_E_OK) << "whatever the type";
    EXPECT_EQ(thresholdsNow(), thresholds);
    EXPECT_EQ(countsNow(), folder() == "w83782d" ? std::vector<int>({5, 16, 2, 3, 3, 1}) : counts);
}

// Three bits of the divisor reach a W83792AD; the limit is cut to its register.
TEST(BringUpOfAW83792ad, SetsDivisorsAndTheOverheatLimit) {
    Bench bench(KORVO_E_CHASSIS_KORVO_W83792AD);
    for (int n = 0; n < 256; n += 5) {
        bench.restart(KORVO_E_CHASSIS_KORVO_W83792AD);
        bench.use("w83792ad");
        esaControl.fanSpeedDivisor = u8(n);
        esaControl.overheatTemperatureLimit = 3U * static_cast<U32_t>(n);
        esaChassis()->init();
        for (const int number : {0x47, 0x5B, 0x5C}) {
            EXPECT_EQ(bench.registers[0x2C][number], 0x88 + n % 8 * 0x11);
        }
        EXPECT_EQ(bench.registers[0x2C][0x39], 3 * n % 256);
    }
}

// Of the beep register bit 7 is set and nothing else touched.
TEST_P(BringUp, TurnsTheBeepOutputOn) {
    for (int n = 0; n < 8; ++n) {
        prepare();
        const U8_t addresses[] = {0x28, 0x2A, 0x2C, 0x30, 0x2D};
        U8_t before[5];
        for (int monitor = 0; monitor < 5; ++monitor) {
            before[monitor] = bench_.registers[addresses[monitor]][0x4D] = bench_.byte();
        }
        esaChassis()->init();
        for (int monitor = 0; monitor < 5; ++monitor) {
            const bool set = folder() == (monitor < 4 ? "chenbro" : "w83782d");
            EXPECT_EQ(bench_.registers[addresses[monitor]][0x4D],
                      before[monitor] | (set ? 0x80 : 0));
        }
    }
}

// ---- counts ----

std::string said(Bench* bench) {
    static U8_t page[6000];
    esaChassis()->init();
    esaChassis()->poll();
    statusPageBuild(page);
    return linesWith(bench->take(), {"W ", "R ", "sleep"});
}

// The monitors' designs set their counts at bring-up: what a file claims does not matter there.
TEST_P(BringUp, PollAndPageGoAsFarAsTheArrays) {
    for (int n = 0; n < 12; ++n) {
        const U8_t counts[] = {bench_.byte(), bench_.byte(), bench_.byte(), bench_.byte()};
        const int sizes[] = {16, 3, 8, 8};
        std::string traffic[2];
        for (const bool cut : {false, true}) {
            prepare();
            bench_.log = false;
            U8_t EsaControl_t::*const fields[] = {
                &EsaControl_t::deviceMaxNumber, &EsaControl_t::powerSupplyMaxNumber,
                &EsaControl_t::coolingMaxNumber, &EsaControl_t::temperatureSensorMaxNumber};
            for (int field = 0; field < 4; ++field) {
                const int count = n % 2 == 0 ? counts[field] : counts[field] % 10;
                esaControl.*fields[field] = u8(cut ? std::min(count, sizes[field]) : count);
            }
            traffic[cut] = said(&bench_);
        }
        EXPECT_EQ(traffic[0], traffic[1]);
    }
}

INSTANTIATE_TEST_SUITE_P(Of, BringUp, testing::ValuesIn(FOLDERS.begin(), FOLDERS.end()),
                         [](const auto& type) {
                             return type.param.second + std::to_string(type.param.first);
                         });

}  // namespace
