// SPDX-License-Identifier: Apache-2.0
// The policies from any state, also those no enclosure brings about, beside the model.
#include "policy/esa_policy.h"
#include "tests/story/walk.h"

namespace {

class PolicyLaw : public testing::TestWithParam<StoryRow> {
  protected:
    PolicyLaw() { walk.step("start"); }
    Model& model() { return walk.model; }

    Random random{1};
    Walk walk{GetParam()};
};

// Several bits at once go together; those that are no fault light nothing.
TEST_P(PolicyLaw, Faults) {
    for (int n = 0; n < STEPS; ++n) {
        const U32_t bits = random.of<U32_t>({0x1, 0x2, 0x4, 0x8, 0x10, 0x10, 0xC, 0x13, 0x20, 0});
        const ESA_CODE_e code = random.of<ESA_CODE_e>(
            {ESA_E_OK, ESA_E_OK, ESA_E_GENERR, ESA_E_GENERR, ESA_E_GENERR_I2C_UNAVAILABLE});
        model().alarm = random.of<U32_t>({0, 1, 2, 3, 4, 5, 6, 7});
        esaControl.alarmState = model().alarm;
        const U32_t before = model().faults;
        model().fault(bits, code);
        esaCompositeFaultManage(bits, code);
        ASSERT_TRUE(walk.agree(fmt::format("{}: {:#x}, {} with {:#x}", n, bits, code, before)));
    }
}

// Loads on the ladder and off it, averages at thresholds, below zero and beyond 16 bits.
TEST_P(PolicyLaw, LoadsFollowTheAverage) {
    for (int n = 0; n < STEPS; ++n) {
        const int around = random.of<int>({32, 38, 44, 41, 35, 29, -1, 30000, -20000});
        for (std::size_t sensor = 0; sensor < Model::SENSORS; ++sensor) {
            const int degrees = random.of<int>({around, around, around + 1, 32767});
            model().readings[sensor] = degrees;
            esaControl.temperatureSensor[sensor] = static_cast<S16_t>(degrees);
        }
        for (std::size_t fan = 0; fan < Model::FANS; ++fan) {
            const int load = random.of<int>({0, 25, 50, 60, 75, 100, 25, 50, 75, 100});
            model().loads[fan] = load;
            esaControl.fanPwmLoad[fan] = static_cast<U8_t>(load);
        }
        const int floor = random.of<int>({0, 25, 26, 50, 51, 75, 76, 100});
        model().key["fanPwmLoadMinimum"] = floor;
        esaControl.fanPwmLoadMinimum = static_cast<U32_t>(floor);
        model().failed = random.of<U32_t>({0, 0, 0, 0x2});
        esaControl.fanFaultStatus = model().failed;
        model().fanPolicy();
        esaTemperatureFanPolicyFlexibleThreshold();
        ASSERT_TRUE(walk.agree(fmt::format("{}: around {}, floor {}", n, around, floor)));
    }
}

TEST_P(PolicyLaw, BandsAndOverheat) {
    for (int n = 0; n < STEPS; ++n) {
        for (std::size_t sensor = 0; sensor < Model::SENSORS; ++sensor) {
            const int degrees = random.of<int>({-40, 0, 35, 36, 45, 46, 55, 56, 120, 32767});
            const int band = random.of<int>({0, 1, 2, 3});
            model().readings[sensor] = degrees;
            model().bands[sensor] = band;
            esaControl.temperatureSensor[sensor] = static_cast<S16_t>(degrees);
            esaControl.temperatureReportStatus[sensor] = band == 0 ? 0 : U32_t{1} << (band - 1);
        }
        const int limit = model().key["overheatTemperatureLimit"] = random.of<int>({0, 50, 60});
        esaControl.overheatTemperatureLimit = static_cast<U32_t>(limit);
        model().average = limit + random.of<int>({-1, 0, 1, -1 - limit});
        esaControl.temperatureSensorAverage = static_cast<S16_t>(model().average);
        for (int sensor = 0; sensor < model().policySensors(); ++sensor) {
            model().band(sensor);
        }
        model().overheat();
        esaTemperatureEventLog();
        esaTemperatureOverheatCheck();
        ASSERT_TRUE(walk.agree(fmt::format("{}: average {}", n, model().average)));
    }
}

INSTANTIATE_TEST_SUITE_P(Of, PolicyLaw, testing::ValuesIn(storyRows()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
