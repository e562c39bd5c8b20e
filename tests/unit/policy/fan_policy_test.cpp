// SPDX-License-Identifier: Apache-2.0
// The load ladder: steps, thresholds, floor, override, and what counts as the temperature.
#include "policy/esa_policy.h"
#include "tests/unit/policy/policy_rig.h"

namespace {

constexpr S16_t UNREADABLE = 32767;

class FanPolicy : public PolicyRig {
  protected:
    FanPolicy() {
        esaControl.coolingMaxNumber = 1;
        esaControl.temperatureSensorMaxNumber = 1;
        esaControl.fanPwm25To50TemperatureThreshold = 30;
        esaControl.fanPwm50To75TemperatureThreshold = 40;
        esaControl.fanPwm75To100TemperatureThreshold = 50;
        esaControl.fanPwm50To25TemperatureThreshold = 25;
        esaControl.fanPwm75To50TemperatureThreshold = 35;
        esaControl.fanPwm100To75TemperatureThreshold = 45;
    }

    void sensors(std::vector<S16_t> values) {
        esaControl.temperatureSensorMaxNumber = static_cast<U8_t>(values.size());
        std::copy(values.begin(), values.end(), esaControl.temperatureSensor);
    }
};

TEST_F(FanPolicy, LadderMovesOneStepOrStays) {
    const struct {
        U8_t load;
        S16_t temperature;
        U32_t floor;
        U8_t expected;
    } cases[] = {
        // clang-format off
        // up: above the threshold, not at it
        {25, 30, 0, 25}, {25, 31, 0, 50}, {50, 40, 0, 50}, {50, 41, 0, 75},
        {75, 50, 0, 75}, {75, 51, 0, 100}, {100, 90, 0, 100},
        // one step however hot it is
        {25, 60, 0, 50},
        // down: below the threshold, not at it
        {100, 45, 0, 100}, {100, 44, 0, 75}, {75, 35, 0, 75}, {75, 34, 0, 50},
        {50, 25, 0, 50}, {50, 24, 0, 25}, {25, 0, 0, 25}, {100, 1, 0, 75},
        // the hysteresis band
        {50, 35, 0, 50},
        // the floor stops steps down below it
        {100, 1, 75, 75}, {100, 1, 76, 100}, {75, 1, 50, 50}, {75, 1, 75, 75},
        {50, 1, 25, 25}, {50, 1, 50, 50},
        // but lifts no fan
        {25, 26, 100, 25},
        // below zero counts as very hot
        {25, -1, 0, 50}, {50, -40, 0, 75}, {100, -1, 0, 100},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << int{c.load} << " percent at " << c.temperature
                                        << " degrees, floor " << c.floor);
        sensors({c.temperature});
        esaControl.fanPwmLoad[0] = c.load;
        esaControl.fanPwmLoadMinimum = c.floor;
        trace.take();
        esaTemperatureFanPolicyFlexibleThreshold();
        EXPECT_EQ(esaControl.fanPwmLoad[0], c.expected);
        const std::string degrees = std::to_string(c.temperature);
        Lines lines = {"temperatureSensorAverage = [" + degrees + "] degrees Celsius."};
        Lines loads;
        if (c.load != c.expected) {
            lines.push_back("Temperature = [" + degrees + "], Fan [0] set to " +
                            std::to_string(c.expected) + " percent PWM");
            loads.push_back("load 0=" + std::to_string(c.expected));
        }
        EXPECT_EQ(trace.take(), lines);
        EXPECT_EQ(takeCalls(), loads);
    }
}

TEST_F(FanPolicy, HeatAndCoolingTakeOneStepAPoll) {
    esaControl.fanPwmLoad[0] = 25;
    Lines loads;
    for (S16_t degrees : std::vector<S16_t>{60, 60, 60, 60, 20, 20, 20, 20}) {
        sensors({degrees});
        esaTemperatureFanPolicyFlexibleThreshold();
        loads.push_back(std::to_string(esaControl.fanPwmLoad[0]));
    }
    EXPECT_EQ(loads, (Lines{"50", "75", "100", "100", "75", "50", "25", "25"}));
}

TEST_F(FanPolicy, LoadOffTheLadderIsReportedAndLeft) {
    esaControl.coolingMaxNumber = 2;
    esaControl.fanPwmLoad[0] = 0;  // switched off by a peer
    esaControl.fanPwmLoad[1] = 25;
    sensors({31});
    esaTemperatureFanPolicyFlexibleThreshold();
    EXPECT_EQ(takeCalls(), (Lines{"load 1=50"}));
    EXPECT_EQ(trace.take()[1], "ESA never set this PWM Load [0] on Fan [0]?");
}

TEST_F(FanPolicy, FailedFanSendsAllFansToFullLoad) {
    esaControl.coolingMaxNumber = 3;
    esaControl.fanFaultStatus = 0x2;
    esaControl.temperatureSensorAverage = 11;
    sensors({40});
    U8_t loads[] = {50, 100, 0};
    std::copy(std::begin(loads), std::end(loads), esaControl.fanPwmLoad);
    esaTemperatureFanPolicyFlexibleThreshold();
    EXPECT_EQ(takeCalls(), (Lines{"load 0=100", "load 2=100"}));
    EXPECT_EQ(trace.take(), (Lines{"At least 1 Fan Fault, FanFaultStatus = [0x2]",
                                   "Fan [0] sets to 100 percent PWM Load",
                                   "At least 1 Fan Fault, FanFaultStatus = [0x2]",
                                   "Fan [2] sets to 100 percent PWM Load"}));
    EXPECT_EQ(esaControl.fanPwmLoad[2], 100);
    EXPECT_EQ(esaControl.temperatureSensorAverage, 11);  // not computed in such a poll
}

TEST_F(FanPolicy, AverageIsTruncatedAndLeavesOutUnreadableSensors) {
    const struct {
        std::vector<S16_t> values;
        S16_t average;
    } cases[] = {
        {{30, 33}, 31},
        {{UNREADABLE, 40, UNREADABLE, 20}, 30},
        {{-1, -2}, -1},                        // toward zero
        {{30000, 30000}, -2768},               // the sum is 16 bits wide: 60000 - 65536, halved
        {{20000, 20000, 20000, 20000}, 3616},  // 80000 - 65536, by four
    };
    for (const auto& c : cases) {
        sensors(c.values);
        esaTemperatureFanPolicyFlexibleThreshold();
        EXPECT_EQ(esaControl.temperatureSensorAverage, c.average);
    }
}

TEST_F(FanPolicy, WithoutReadableSensorTheAverageStaysAndTheLadderRests) {
    esaControl.temperatureSensorAverage = 42;
    esaControl.fanPwmLoad[0] = 25;
    for (std::vector<S16_t> values : {std::vector<S16_t>{}, {UNREADABLE, UNREADABLE}}) {
        sensors(values);
        esaTemperatureFanPolicyFlexibleThreshold();
        EXPECT_EQ(esaControl.temperatureSensorAverage, 42);
        EXPECT_EQ(takeCalls(), Lines{});
        EXPECT_EQ(trace.take(),
                  (Lines{"No readable temperature sensor, temperatureSensorAverage stays [42]."}));
    }
}

TEST_F(FanPolicy, ChassisWithFanGroupsHandlesItsGroupsOnly) {
    chassis.policyFans = 2;
    esaControl.coolingMaxNumber = 5;
    std::fill(std::begin(esaControl.fanPwmLoad), std::end(esaControl.fanPwmLoad), U8_t{25});
    sensors({31});
    esaTemperatureFanPolicyFlexibleThreshold();
    EXPECT_EQ(takeCalls(), (Lines{"load 0=50", "load 1=50"}));
}

TEST_F(FanPolicy, CountsAboveTheArraysActOnTheArraysOnly) {
    for (U8_t count : {U8_t{44}, U8_t{255}}) {
        esaControl.coolingMaxNumber = count;
        esaControl.temperatureSensorMaxNumber = count;
        std::fill(std::begin(esaControl.temperatureSensor), std::end(esaControl.temperatureSensor),
                  S16_t{31});
        std::fill(std::begin(esaControl.fanPwmLoad), std::end(esaControl.fanPwmLoad), U8_t{25});
        esaTemperatureFanPolicyFlexibleThreshold();
        EXPECT_EQ(esaControl.temperatureSensorAverage, 31);
        EXPECT_EQ(takeCalls(), (Lines{"load 0=50", "load 1=50", "load 2=50", "load 3=50",
                                      "load 4=50", "load 5=50", "load 6=50", "load 7=50"}));

        esaControl.fanFaultStatus = 0x1;
        esaTemperatureFanPolicyFlexibleThreshold();
        EXPECT_EQ(takeCalls().size(), 8u);
        esaControl.fanFaultStatus = 0;
    }
}

TEST_F(FanPolicy, ChassisWithoutFansIsLeftAlone) {
    sensors({50});
    esaControl.fanPwmLoad[0] = 25;
    chassis.fanLoad = ESA_NOT_FITTED;
    esaTemperatureFanPolicyFlexibleThreshold();
    chassisKnown = false;
    esaTemperatureFanPolicyFlexibleThreshold();
    EXPECT_EQ(esaControl.temperatureSensorAverage, 0);
    EXPECT_EQ(trace.take(), Lines{});
}

}  // namespace
