// SPDX-License-Identifier: Apache-2.0
// Which requests, alarm moves and log lines follow from a fault that comes or goes.
#include "policy/esa_policy.h"
#include "tests/unit/policy/policy_rig.h"

namespace {

constexpr U32_t VOLTAGE = 0x1;
constexpr U32_t REDUNDANCY = 0x2;
constexpr U32_t FAN = 0x4;
constexpr U32_t HEAT = 0x8;
constexpr U32_t BUS = 0x10;
constexpr U32_t LED = 0x80000000;

struct Case {
    const char* rule;
    U32_t before;
    U32_t alarmBefore;
    U32_t faults;
    ESA_CODE_e code;
    U32_t after;
    U32_t alarmAfter;
    Lines sent;
    Lines calls;
    Lines lines;
};

// clang-format off
const Case CASES[] = {
    {"the first fault lights the LED, asks for mail and unmutes a muted alarm",
     0, 3, FAN, ESA_E_GENERR, LED | FAN, 1, {"led on", "mail"}, {"alarm 1"},
     {"This Fault bit is [FAN]", "This Fault bit [0x4] does NOT exist currently.",
      "Set the new Fault bit [0x4].", "Turn on the Composite Fault LED."}},
    {"the first fault leaves an idle alarm alone",
     0, 0, VOLTAGE, ESA_E_GENERR, LED | VOLTAGE, 0, {"led on", "mail"}, {},
     {"This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]",
      "This Fault bit [0x1] does NOT exist currently.", "Set the new Fault bit [0x1].",
      "Turn on the Composite Fault LED."}},
    {"a second fault asks for mail only, and does not touch a muted alarm",
     LED | HEAT, 3, FAN, ESA_E_GENERR, LED | HEAT | FAN, 3, {"mail"}, {},
     {"This Fault bit is [FAN]", "This Fault bit [0x4] does NOT exist currently.",
      "Set the new Fault bit [0x4].", "The Composite Fault LED is currently ON for other Faults."}},
    {"a fault that is recorded already is not reported again",
     LED | FAN, 1, FAN, ESA_E_GENERR, LED | FAN, 1, {}, {},
     {"This Fault bit is [FAN]", "This Fault bit [0x4] exists currently.",
      "The Fault bit [0x4] is already set."}},
    {"for a recorded fault an unreachable bus counts as still present",
     LED | BUS, 1, BUS, ESA_E_GENERR_I2C_UNAVAILABLE, LED | BUS, 1, {}, {},
     {"This Fault bit is [I2C_BUS_FAULT]", "This Fault bit [0x10] exists currently.",
      "The Fault bit [0x10] is already set."}},
    {"an unreachable bus records no new fault",
     0, 3, BUS, ESA_E_GENERR_I2C_UNAVAILABLE, 0, 3, {}, {},
     {"This Fault bit is [I2C_BUS_FAULT]", "This Fault bit [0x10] does NOT exist currently.",
      "The Fault bit [0x10] is already clear."}},
    {"one of two faults clears silently, the LED stays on",
     LED | HEAT | FAN, 1, FAN, ESA_E_OK, LED | HEAT, 1, {}, {},
     {"This Fault bit is [FAN]", "This Fault bit [0x4] exists currently.",
      "Clear the current Fault bit [0x4]."}},
    {"the last fault puts the LED out and mutes the alarm",
     LED | HEAT, 1, HEAT, ESA_E_OK, 0, 3, {"led off"}, {"alarm 3"},
     {"This Fault bit is [TEMPERATURE_OVERHEAT]", "This Fault bit [0x8] exists currently.",
      "Clear the current Fault bit [0x8]."}},
    {"the last fault mutes an idle alarm, too",
     LED | HEAT, 0, HEAT, ESA_E_OK, 0, 3, {"led off"}, {"alarm 3"},
     {"This Fault bit is [TEMPERATURE_OVERHEAT]", "This Fault bit [0x8] exists currently.",
      "Clear the current Fault bit [0x8]."}},
    {"the last fault leaves a muted alarm as it is",
     LED | REDUNDANCY, 3, REDUNDANCY, ESA_E_OK, 0, 3, {"led off"}, {},
     {"This Fault bit is [POWER_SUPPLY_REDUNDANCY]", "This Fault bit [0x2] exists currently.",
      "Clear the current Fault bit [0x2]."}},
    {"clearing a fault that was never there says so",
     0, 3, FAN, ESA_E_OK, 0, 3, {}, {},
     {"This Fault bit is [FAN]", "This Fault bit [0x4] does NOT exist currently.",
      "The Fault bit [0x4] is already clear."}},
    {"two faults at once are set together, under the name of the lower one",
     0, 3, FAN | HEAT, ESA_E_GENERR, LED | FAN | HEAT, 1, {"led on", "mail"}, {"alarm 1"},
     {"This Fault bit is [FAN]", "This Fault bit [0xc] does NOT exist currently.",
      "Set the new Fault bit [0xc].", "Turn on the Composite Fault LED."}},
    {"two faults at once are cleared together even if only one was there",
     LED | HEAT, 3, FAN | HEAT, ESA_E_OK, 0, 3, {"led off"}, {},
     {"This Fault bit is [FAN]", "This Fault bit [0xc] exists currently.",
      "Clear the current Fault bit [0xc]."}},
    {"a bit that is no fault has no name",
     0, 3, 0x20, ESA_E_OK, 0, 3, {}, {},
     {"This Fault bit [0x20] does NOT exist currently.",
      "The Fault bit [0x20] is already clear."}},
};
// clang-format on

class CompositeFault : public PolicyRig {};

TEST_F(CompositeFault, FollowsTheTableOfComingAndGoingFaults) {
    for (const Case& c : CASES) {
        SCOPED_TRACE(c.rule);
        esaControl.compositeFaultStatus = c.before;
        esaControl.alarmState = c.alarmBefore;
        esaCompositeFaultManage(c.faults, c.code);
        EXPECT_EQ(esaControl.compositeFaultStatus, c.after);
        EXPECT_EQ(esaControl.alarmState, c.alarmAfter);
        EXPECT_EQ(sentTake(), c.sent);
        EXPECT_EQ(takeCalls(), c.calls);
        EXPECT_EQ(trace.take(), c.lines);
    }
}

TEST_F(CompositeFault, AlarmStateStaysWhereTheChassisHasNoAlarmSetter) {
    chassis.alarmSet = ESA_NOT_FITTED;
    for (bool known : {true, false}) {
        chassisKnown = known;
        esaControl.alarmState = 3;
        esaCompositeFaultManage(FAN, ESA_E_GENERR);
        EXPECT_EQ(esaControl.alarmState, 3u);
        esaControl.alarmState = 1;
        esaCompositeFaultManage(FAN, ESA_E_OK);
        EXPECT_EQ(esaControl.alarmState, 1u);
        EXPECT_EQ(sentTake(), (Lines{"led on", "mail", "led off"}));
    }
}

TEST_F(CompositeFault, AlarmSetterThatFailsOnTheBusIsNotEnteredAgain) {
    whenAlarmSet = [] { esaCompositeFaultManage(BUS, ESA_E_GENERR); };
    esaControl.alarmState = 3;
    esaCompositeFaultManage(FAN, ESA_E_GENERR);
    EXPECT_EQ(takeCalls(), (Lines{"alarm 1"}));
    EXPECT_EQ(sentTake(), (Lines{"led on", "mail", "mail"}));
    EXPECT_EQ(esaControl.compositeFaultStatus, LED | FAN | BUS);
    EXPECT_EQ(esaControl.alarmState, 1u);
}

TEST_F(CompositeFault, NestedFaultsComeAndGoWithoutMovingTheAlarm) {
    // The bus fault of the setter lights the LED again, and goes before the setter returns.
    whenAlarmSet = [] {
        esaControl.alarmState = 3;
        esaCompositeFaultManage(BUS, ESA_E_GENERR);
        esaControl.alarmState = 1;
        esaCompositeFaultManage(BUS, ESA_E_OK);
    };
    esaControl.compositeFaultStatus = LED | FAN;
    esaControl.alarmState = 1;
    esaCompositeFaultManage(FAN, ESA_E_OK);
    EXPECT_EQ(takeCalls(), (Lines{"alarm 3"}));
    EXPECT_EQ(sentTake(), (Lines{"led off", "led on", "mail", "led off"}));
    EXPECT_EQ(esaControl.compositeFaultStatus, 0u);
    EXPECT_EQ(esaControl.alarmState, 3u);

    // Afterwards the alarm moves again.
    whenAlarmSet = nullptr;
    esaCompositeFaultManage(FAN, ESA_E_GENERR);
    EXPECT_EQ(takeCalls(), (Lines{"alarm 1"}));
}

}  // namespace
