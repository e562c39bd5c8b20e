// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/policy/policy_rig.h"

static PolicyRig* rig = nullptr;
static Lines calls;

const EsaChassis_t* esaChassis() {
    return rig->chassisKnown ? &rig->chassis : nullptr;
}

static ESA_CODE_e fanSpeedRead(int fan, U16_t* rpm) {
    calls.push_back("fan " + std::to_string(fan));
    if (!rig->fans.contains(fan)) {
        *rpm = 5000;
        return ESA_E_OK;
    }
    *rpm = rig->fans[fan].rpm;
    return rig->fans[fan].code;
}

static void fanLoad(U8_t fan, U8_t percent) {
    calls.push_back("load " + std::to_string(fan) + "=" + std::to_string(percent));
}

static void alarmSet(EsaAlarmState_e state) {
    calls.push_back("alarm " + std::to_string(state));
    if (rig->whenAlarmSet != nullptr) {
        rig->whenAlarmSet();
    }
}

static constexpr EsaChassis_t CHASSIS = {
    .type = KORVO_E_CHASSIS_KORVO_VSC055,
    .init = ESA_NOT_FITTED,
    .initSuccessText = "",
    .initFailureText = "",
    .poll = ESA_NOT_FITTED,
    .fanSpeedRead = fanSpeedRead,
    .fanSweepEndsWhenUnavailable = true,
    .fanLoad = fanLoad,
    .policyFans = 0,
    .fanSwitch = ESA_NOT_FITTED,
    .fanGroupSize = 1,
    .alarmSet = alarmSet,
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

PolicyRig::PolicyRig() : chassis(CHASSIS) {
    rig = this;
    esaControl = {};
    esaControl.enclosureType = KORVO_E_CHASSIS_KORVO_VSC055;
    sentTake();
    calls.clear();
}

PolicyRig::~PolicyRig() {
    rig = nullptr;
}

Lines PolicyRig::takeCalls() {
    Lines taken;
    taken.swap(calls);
    return taken;
}
