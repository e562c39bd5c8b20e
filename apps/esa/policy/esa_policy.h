// SPDX-License-Identifier: Apache-2.0
// Chassis-independent rules for faults, fans and temperature. Hardware is reached through the
// chassis table only.
#pragma once

#include "state/chassis.h"

// Records (`compositeFaultStatus` ESA_E_GENERR) or clears (ESA_E_OK) a fault (an ESA_K_FAULT_ bit);
// drives the composite fault LED, e-mail requests and the alarm. May be entered again from an alarm
// setter that fails on the bus: the nested call does all but call an alarm setter.
void esaCompositeFaultManage(U32_t compositeFaultTypeBitMap, ESA_CODE_e compositeFaultStatus);

// Start-up: the alarm is silent.
void esaAlarmMute(const EsaChassis_t& chassis);
// Entry of a row whose alarm does not move by itself: esaControl.alarmState.
U32_t esaAlarmStateKept();

// Reads all fan speeds and reports fans that failed or came back. ESA_E_OK: all at or above the
// limit; ESA_E_GENERR: at least one below, or no fans known for this chassis;
// ESA_E_GENERR_I2C_UNAVAILABLE: the sweep ended early on an unreachable bus.
ESA_CODE_e esaFanFailStatusRead();

// Marks fan `fan` (0..7) as failed or good in fanFaultStatus. True when the mark changed.
bool esaFanFaultMark(int fan, bool failed);

// The load ladder.
struct EsaLadderStep_t {
    EsaPercent_t load;
    U32_t EsaControl_t::*stepUp;    // above this average one step up; null on the top
    U32_t EsaControl_t::*stepDown;  // below this average one step down; null at the bottom
};
constexpr EsaLadderStep_t ESA_K_LADDER[] = {
    {{25}, &EsaControl_t::fanPwm25To50TemperatureThreshold, nullptr},
    {{50},
     &EsaControl_t::fanPwm50To75TemperatureThreshold,
     &EsaControl_t::fanPwm50To25TemperatureThreshold},
    {{75},
     &EsaControl_t::fanPwm75To100TemperatureThreshold,
     &EsaControl_t::fanPwm75To50TemperatureThreshold},
    {{100}, nullptr, &EsaControl_t::fanPwm100To75TemperatureThreshold},
};

// Averages the temperatures and moves each fan at most one step on the load ladder; every fan to
// 100 percent while one has failed.
void esaTemperatureFanPolicyFlexibleThreshold();

// Reports each sensor's crossing of the bands at 35, 45 and 55 degrees.
void esaTemperatureEventLog();

// Above the overheat limit: records the fault, reports it and asks for an orderly shutdown.
void esaTemperatureOverheatCheck();
