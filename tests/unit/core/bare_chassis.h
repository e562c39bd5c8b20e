// SPDX-License-Identifier: Apache-2.0
// A chassis row that is brought up and polled, and has nothing else.
#pragma once

#include "backend/chassis.h"

constexpr EsaChassis_t bareChassisRow(KORVO_E_CHASSIS_e type, EsaEntry<ESA_CODE_e()> init,
                                      EsaEntry<void()> poll) {
    return {
        .type = type,
        .init = init,
        .initSuccessText = "Bring-up succeeds.",
        .initFailureText = "Bring-up fails, %s.",
        .poll = poll,
        .fanSpeedRead = ESA_NOT_FITTED,
        .fanSweepEndsWhenUnavailable = false,
        .fanLoad = ESA_NOT_FITTED,
        .policyFans = 0,
        .fanSwitch = ESA_NOT_FITTED,
        .fanGroupSize = 1,
        .alarmSet = ESA_NOT_FITTED,
        .alarmSilence = ESA_NOT_FITTED,
        .alarmSound = ESA_NOT_FITTED,
        .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
        .alarmPageState = ESA_NOT_FITTED,
        .driveLedSet = ESA_NOT_FITTED,
        .driveLedClear = ESA_NOT_FITTED,
        .drivePresent = ESA_NOT_FITTED,
        .supplyPageStatus = ESA_NOT_FITTED,
        .supplyFaultIndicate = ESA_NOT_FITTED,
        .fanPageStatus = ESA_NOT_FITTED,
        .temperaturesPageRead = ESA_NOT_FITTED,
        .i2cDevices = {nullptr, 0},
    };
}
