// SPDX-License-Identifier: Apache-2.0
// The set of present faults, and what follows from its changes: one LED request when the set
// becomes non-empty and one when it becomes empty, one e-mail per new fault, the alarm between mute
// and fault.
#include "link/esa_startup.h"
#include "policy/esa_policy.h"
#include "state/chassis.h"
#include "state/esa_trace.h"

namespace {

struct FaultName {
    U32_t bit;
    const char* name;
};
constexpr FaultName FAULT_NAMES[] = {
    {ESA_K_FAULT_POWER_SUPPLY_VOLTAGE_TOLERANCE, "POWER_SUPPLY_VOLTAGE_TOLERANCE"},
    {ESA_K_FAULT_POWER_SUPPLY_REDUNDANCY, "POWER_SUPPLY_REDUNDANCY"},
    {ESA_K_FAULT_FAN, "FAN"},
    {ESA_K_FAULT_TEMPERATURE_OVERHEAT, "TEMPERATURE_OVERHEAT"},
    {ESA_K_FAULT_I2C_BUS, "I2C_BUS_FAULT"},
};

void faultNameTrace(U32_t faults) {
    for (const FaultName& fault : FAULT_NAMES) {
        if ((faults & fault.bit) != 0) {
            ESA_TRACE("This Fault bit is [%s]", fault.name);
            return;
        }
    }
}

// An alarm setter that fails on the bus reports that fault here again; the nested call leaves the
// alarm alone, so the depth is two at most.
void alarmMove(EsaAlarmState_e state) {
    static bool moving = false;
    const EsaChassis_t* chassis = esaChassis();
    if (moving || chassis == nullptr || !chassis->alarmSet || chassis->alarmRunsByItself) {
        return;
    }
    moving = true;
    chassis->alarmSet(state);
    moving = false;
    esaControl.alarmState = state;
}

void ledOff() {
    esaControl.compositeFaultStatus &= ~ESA_K_FAULT_LED_ON;
    esaCompositeFaultMmsgToStartupSend(ESA_E_OK);
    if (esaControl.alarmState != ESA_E_ALARM_STATE_MUTE_S3) {
        alarmMove(ESA_E_ALARM_STATE_MUTE_S3);
    }
}

void ledOn() {
    ESA_TRACE("Turn on the Composite Fault LED.");
    esaControl.compositeFaultStatus |= ESA_K_FAULT_LED_ON;
    esaCompositeFaultMmsgToStartupSend(ESA_E_GENERR);
    if (esaControl.alarmState == ESA_E_ALARM_STATE_MUTE_S3) {
        alarmMove(ESA_E_ALARM_STATE_FAULT_S1);
    }
}

void faultClear(U32_t faults) {
    ESA_TRACE("Clear the current Fault bit [0x%x].", faults);
    esaControl.compositeFaultStatus &= ~faults;
    if ((esaControl.compositeFaultStatus & ESA_K_FAULT_LED_ON) != 0 &&
        (esaControl.compositeFaultStatus & ESA_K_FAULT_ALL) == 0) {
        ledOff();
    }
}

void faultSet(U32_t faults) {
    ESA_TRACE("Set the new Fault bit [0x%x].", faults);
    esaControl.compositeFaultStatus |= faults;
    if ((esaControl.compositeFaultStatus & ESA_K_FAULT_LED_ON) == 0) {
        ledOn();
    } else {
        ESA_TRACE("The Composite Fault LED is currently ON for other Faults.");
    }
    esaEmailNotificationMmsgToStartupSend();
}

}  // namespace

void esaCompositeFaultManage(U32_t compositeFaultTypeBitMap, ESA_CODE_e compositeFaultStatus) {
    faultNameTrace(compositeFaultTypeBitMap);
    if ((esaControl.compositeFaultStatus & compositeFaultTypeBitMap) != 0) {
        ESA_TRACE("This Fault bit [0x%x] exists currently.", compositeFaultTypeBitMap);
        // Any code but OK counts as "still present", but only GENERR records a new fault.
        // (compatibility: still-present)
        if (compositeFaultStatus == ESA_E_OK) {
            faultClear(compositeFaultTypeBitMap);
        } else {
            ESA_TRACE("The Fault bit [0x%x] is already set.", compositeFaultTypeBitMap);
        }
        return;
    }
    ESA_TRACE("This Fault bit [0x%x] does NOT exist currently.", compositeFaultTypeBitMap);
    if (compositeFaultStatus == ESA_E_GENERR) {
        faultSet(compositeFaultTypeBitMap);
    } else {
        ESA_TRACE("The Fault bit [0x%x] is already clear.", compositeFaultTypeBitMap);
    }
}

void esaAlarmMute(const EsaChassis_t& chassis) {
    chassis.alarmSet(ESA_E_ALARM_STATE_MUTE_S3);
    esaControl.alarmState = ESA_E_ALARM_STATE_MUTE_S3;
}

U32_t esaAlarmStateKept() {
    return esaControl.alarmState;
}
