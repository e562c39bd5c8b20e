// SPDX-License-Identifier: Apache-2.0
// THE chassis table, and the two-line adapters between its entries and the chips' routines.
#include "state/chassis.h"

#include <algorithm>
#include <iterator>

#include "chassis/chenbro.h"
#include "chassis/vsc055.h"
#include "chassis/xyratex.h"
#include "chips/pca9539.h"
#include "chips/w83782d.h"
#include "chips/w83792ad.h"
#include "policy/esa_policy.h"

// ---- adapters ----

static U32_t alarmStateKept() {
    return esaControl.alarmState;
}

template <U32_t FaultBit>
static void supplyFaultManage(ESA_CODE_e status) {
    esaCompositeFaultManage(FaultBit, status);
}
constexpr auto supplyRedundancyFault = supplyFaultManage<ESA_K_FAULT_POWER_SUPPLY_REDUNDANCY>;
constexpr auto supplyVoltageFault = supplyFaultManage<ESA_K_FAULT_POWER_SUPPLY_VOLTAGE_TOLERANCE>;

static void vsc055FanSwitch(U8_t fan, bool on) {
    esaVsc055FanPwmLoad(fan, on ? 100 : 0);
}

static void vsc055AlarmSilence() {
    esaVsc055AlarmStateBackplaneSet(ESA_E_ALARM_STATE_MUTE_S3);
    esaVsc055AlarmStatePowerSupplyClear();
}

constexpr U8_t XYRATEX_FAN_GROUP = 4;

static void xyratexFanSwitch(U8_t fan, bool on) {
    esaVsc055FanPwmLoad(fan / XYRATEX_FAN_GROUP, on ? 100 : 0);
}

static void xyratexAlarmSound(EsaAlarmState_e state) {
    xyratexAlarmStateSet(static_cast<EsaXyratexAlarmState_e>(state));
}

static void xyratexAlarmSilence() {
    xyratexAlarmStateSet(ESA_E_XYRATEX_ALARM_STATE_MUTE_S3);
}

static U32_t xyratexAlarmPageState() {
    return xyratexAlarmStateRead();
}

static void xyratexSupplyFaultIndicate(ESA_CODE_e status) {
    if (status == ESA_E_OK) {
        xyratexPsuOkLEDSet();
    } else {
        xyratexPsuOkLEDClear();
    }
}

static ESA_CODE_e chenbroFanSpeedRead(int fan, U16_t* rpm) {
    return chenbroW83782dFanSpeedRead(static_cast<U8_t>(fan), rpm);
}

static void chenbroFanSwitch(U8_t fan, bool on) {
    chenbroW83782dFanPwmLoad(fan, on ? 100 : 0);
}

static void chenbroAlarmSilence() {
    chenbroAlarmStateSet(ESA_E_ALARM_STATE_MUTE_S3);
}

static ESA_CODE_e w83782dFanSpeedRead(int fan, U16_t* rpm) {
    return esaW83782dFanSpeedRead(esaControl.i2cAddressW83782d, static_cast<U8_t>(fan), rpm);
}

// Duty of a quarter, of 255.
static void w83782dFanLoad(U8_t fan, U8_t percent) {
    constexpr U8_t dutyPerQuarter = 64;
    const int duty = dutyPerQuarter * (percent / 25);
    esaW83782dFanPwmLoad(fan, static_cast<U8_t>(std::min(duty, 255)));
}

// The control page hands its percentage on as a duty, deliberately: on is 100 of 255.
static void w83782dFanSwitch(U8_t fan, bool on) {
    esaW83782dFanPwmLoad(fan, on ? 100 : 0);
}

static void w83782dAlarmSet(EsaAlarmState_e state) {
    esaW83782dAlarmStateSet(esaControl.i2cAddressW83782d, ESA_E_CHENBRO_WINBOND_BACKPLANE_INDEX_0,
                            state);
}

static void w83782dAlarmSilence() {
    w83782dAlarmSet(ESA_E_ALARM_STATE_MUTE_S3);
}

static ESA_CODE_e w83792adFanSpeedRead(int fan, U16_t* rpm) {
    return esaW83792adFanSpeedRead(static_cast<U8_t>(fan), rpm);
}

constexpr U8_t W83792AD_DUTY_FULL = 15;  // of sixteenths

static void w83792adFanLoad(U8_t fan, U8_t percent) {
    constexpr U8_t dutyPerQuarter = 4;
    const int duty = dutyPerQuarter * (percent / 25);
    esaW83792adFanPwmLoad(fan, static_cast<U8_t>(std::min<int>(duty, W83792AD_DUTY_FULL)));
}

static void w83792adFanSwitch(U8_t fan, bool on) {
    esaW83792adFanPwmLoad(fan, on ? W83792AD_DUTY_FULL : U8_t{0});
}

static void w83792adAlarmSilence() {
    esaW83792adAlarmStateBackplaneSet(ESA_E_ALARM_STATE_MUTE_S3);
}

// ---- devices on the enclosure bus ----

constexpr EsaI2cDevice_t XYRATEX_DEVICES[] = {
    {0x63, 0x001, ESA_E_EVENT_INFO_I2C_BUS_STATUS_VSC055, 0},
    {0x4C, 0x002, ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75, 0},
    {0x4D, 0x004, ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75, 1},
};
constexpr EsaI2cDevice_t VSC055_DEVICES[] = {
    {0x41, 0x001, ESA_E_EVENT_INFO_I2C_BUS_STATUS_VSC055, 0},
    {0x4C, 0x002, ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75, 0},
    {0x4B, 0x004, ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75, 1},
    {0x4A, 0x008, ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75, 2},
    {0x4D, 0x010, ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75, 3},
    {0x4E, 0x020, ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75, 4},
    {0x4F, 0x040, ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75, 5},
};
constexpr EsaI2cDevice_t W83792AD_DEVICES[] = {
    {0x2C, 0x100, ESA_E_EVENT_INFO_I2C_BUS_STATUS_W83792AD, 0},
    {0x74, 0x200, ESA_E_EVENT_INFO_I2C_BUS_STATUS_PCA9539, 0},
};
constexpr EsaI2cDevices_t NO_DEVICES = {nullptr, 0};

template <std::size_t N>
constexpr EsaI2cDevices_t devices(const EsaI2cDevice_t (&rows)[N]) {
    return {rows, N};
}

// ---- the table ----

constexpr EsaChassis_t vsc055Row(KORVO_E_CHASSIS_e type) {
    return {
        .type = type,
        .init = esaVsc055Init,
        .initSuccessText = "Finish initializing for the Vsc055 based Enclosure.",
        .initFailureText = "Initializing for the Vsc055 based Enclosure fails.",
        .poll = esaVsc055PollTimeoutProcess,
        .fanSpeedRead = esaVsc055FanSpeedRead,
        .fanSweepEndsWhenUnavailable = true,
        .fanLoad = esaVsc055FanPwmLoad,
        .policyFans = 0,
        .fanSwitch = vsc055FanSwitch,
        .fanGroupSize = 1,
        .alarmSet = esaVsc055AlarmStateBackplaneSet,
        .alarmSilence = vsc055AlarmSilence,
        .alarmSound = esaVsc055AlarmStateBackplaneSet,
        .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
        .alarmPageState = alarmStateKept,
        .driveLedSet = esaVsc055DriveFaultLEDSet,
        .driveLedClear = esaVsc055DriveFaultLEDClear,
        .drivePresent = ESA_NOT_FITTED,
        .supplyPageStatus = esaVsc055SupplyPageStatus,
        .supplyFaultIndicate = supplyRedundancyFault,
        .fanPageStatus = ESA_NOT_FITTED,
        .temperaturesPageRead = esaVsc055TemperaturesRead,
        .i2cDevices = devices(VSC055_DEVICES),
    };
}

constexpr EsaChassis_t CHASSIS[] = {
    {
        .type = KORVO_E_CHASSIS_NONE,
        .init = ESA_NOT_FITTED,
        .initSuccessText = nullptr,
        .initFailureText = nullptr,
        .poll = ESA_NOT_FITTED,
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
        .i2cDevices = NO_DEVICES,
    },
    {
        .type = KORVO_E_CHASSIS_XYRATEX_2U12ATX,
        .init = xyratexInit,
        .initSuccessText = "Finish initializing for the Xyratex Enclosure.",
        .initFailureText = "Initializing for the Xyratex Enclosure fails.",
        .poll = xyratexEsaPollTimeoutProcess,
        .fanSpeedRead = esaVsc055FanSpeedRead,
        .fanSweepEndsWhenUnavailable = true,
        .fanLoad = esaVsc055FanPwmLoad,
        .policyFans = 2,
        .fanSwitch = xyratexFanSwitch,
        .fanGroupSize = XYRATEX_FAN_GROUP,
        .alarmSet = ESA_NOT_FITTED,  // the chassis' own controller drives the alarm
        .alarmSilence = xyratexAlarmSilence,
        .alarmSound = xyratexAlarmSound,
        .alarmCriticalState = ESA_E_ALARM_STATE_CRITICAL_S4,
        .alarmPageState = xyratexAlarmPageState,
        .driveLedSet = xyratexDriveFaultLEDSet,
        .driveLedClear = xyratexDriveFaultLEDClear,
        .drivePresent = xyratexIsDrivePresent,
        .supplyPageStatus = xyratexSupplyPageStatus,
        .supplyFaultIndicate = xyratexSupplyFaultIndicate,
        .fanPageStatus = xyratexFanPageStatus,
        .temperaturesPageRead = xyratexTemperaturesRead,
        .i2cDevices = devices(XYRATEX_DEVICES),
    },
    vsc055Row(KORVO_E_CHASSIS_PELTO_TOLVEX),
    {
        .type = KORVO_E_CHASSIS_CHENBRO_3U16ATX,
        .init = chenbroInit,
        .initSuccessText = "Finish initializing for the Chenbro Enclosure.",
        .initFailureText = "Initializing for the Chenbro Enclosure fails.",
        .poll = chenbroEsaPollTimeoutProcess,
        .fanSpeedRead = chenbroFanSpeedRead,
        .fanSweepEndsWhenUnavailable = false,
        .fanLoad = chenbroW83782dFanPwmLoad,
        .policyFans = 0,
        .fanSwitch = chenbroFanSwitch,
        .fanGroupSize = 1,
        .alarmSet = chenbroAlarmStateSet,
        .alarmSilence = chenbroAlarmSilence,
        .alarmSound = chenbroAlarmStateSet,
        .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
        .alarmPageState = alarmStateKept,
        .driveLedSet = ESA_NOT_FITTED,
        .driveLedClear = ESA_NOT_FITTED,
        .drivePresent = ESA_NOT_FITTED,
        .supplyPageStatus = chenbroSupplyPageStatus,
        .supplyFaultIndicate = supplyVoltageFault,
        .fanPageStatus = ESA_NOT_FITTED,
        .temperaturesPageRead = chenbroTemperaturesRead,
        .i2cDevices = NO_DEVICES,
    },
    vsc055Row(KORVO_E_CHASSIS_KORVO_VSC055),
    {
        .type = KORVO_E_CHASSIS_KORVO_W83782D,
        .init = esaW83782dInit,
        .initSuccessText = "Finish initializing for the W83782d based Enclosure.",
        .initFailureText = "Initializing for the W83782d based Enclosure fails.",
        .poll = esaW83782dPollTimeoutProcess,
        .fanSpeedRead = w83782dFanSpeedRead,
        .fanSweepEndsWhenUnavailable = false,
        .fanLoad = w83782dFanLoad,
        .policyFans = 0,
        .fanSwitch = w83782dFanSwitch,
        .fanGroupSize = 1,
        .alarmSet = w83782dAlarmSet,
        .alarmSilence = w83782dAlarmSilence,
        .alarmSound = w83782dAlarmSet,
        .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
        .alarmPageState = alarmStateKept,
        .driveLedSet = ESA_NOT_FITTED,
        .driveLedClear = ESA_NOT_FITTED,
        .drivePresent = ESA_NOT_FITTED,
        .supplyPageStatus = esaW83782dSupplyPageStatus,
        .supplyFaultIndicate = supplyVoltageFault,
        .fanPageStatus = ESA_NOT_FITTED,
        .temperaturesPageRead = esaW83782dTemperaturesRead,
        .i2cDevices = NO_DEVICES,
    },
    {
        .type = KORVO_E_CHASSIS_KORVO_W83792AD,
        .init = esaW83792adInit,
        .initSuccessText = "Finish initializing for the W83792AD based Enclosure.",
        .initFailureText = "Initializing for the W83792AD based Enclosure fails.",
        .poll = esaW83792adPollTimeoutProcess,
        .fanSpeedRead = w83792adFanSpeedRead,
        .fanSweepEndsWhenUnavailable = false,
        .fanLoad = w83792adFanLoad,
        .policyFans = 0,
        .fanSwitch = w83792adFanSwitch,
        .fanGroupSize = 1,
        .alarmSet = esaW83792adAlarmStateBackplaneSet,
        .alarmSilence = w83792adAlarmSilence,
        .alarmSound = esaW83792adAlarmStateBackplaneSet,
        .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
        .alarmPageState = alarmStateKept,
        .driveLedSet = esaPca9539DriveFaultLEDSet,
        .driveLedClear = esaPca9539DriveFaultLEDClear,
        .drivePresent = ESA_NOT_FITTED,
        .supplyPageStatus = esaW83792adSupplyPageStatus,
        .supplyFaultIndicate = supplyRedundancyFault,
        .fanPageStatus = ESA_NOT_FITTED,
        .temperaturesPageRead = esaW83792adTemperaturesRead,
        .i2cDevices = devices(W83792AD_DEVICES),
    },
};

constexpr bool rowsInOrder() {
    for (std::size_t n = 0; n < std::size(CHASSIS); ++n) {
        if (CHASSIS[n].type != n + KORVO_E_CHASSIS_NONE) {
            return false;
        }
    }
    return std::size(CHASSIS) == KORVO_E_CHASSIS_KORVO_W83792AD;
}
static_assert(rowsInOrder(), "the row of type n stands at place n - 1");

constexpr bool fanGroupsFit() {
    for (const EsaChassis_t& row : CHASSIS) {
        if (SES_K_FANS_MAX % row.fanGroupSize != 0) {
            return false;
        }
    }
    return true;
}
static_assert(fanGroupsFit(), "the control page books whole groups inside the arrays");

const EsaChassis_t* esaChassisOf(KORVO_E_CHASSIS_t enclosureType) {
    const std::size_t n = static_cast<std::size_t>(enclosureType) - KORVO_E_CHASSIS_NONE;
    return n < std::size(CHASSIS) ? &CHASSIS[n] : nullptr;
}

const EsaChassis_t* esaChassis() {
    return esaChassisOf(esaControl.enclosureType);
}
