// SPDX-License-Identifier: Apache-2.0
// THE chassis table, and the two-line adapters between its entries and the chips' routines.
#include "backend/chassis.h"

#include <cstdio>
#include <iterator>

#include "backend/vsc055.h"
#include "esa_trace.h"
#include "policy/esa_policy.h"

// ---- chassis whose back-end is still to come ----

struct ChassisName_t {
    KORVO_E_CHASSIS_e type;
    const char* name;
};
constexpr ChassisName_t NOT_BUILT[] = {
    {KORVO_E_CHASSIS_XYRATEX_2U12ATX, "Xyratex 2U12ATX"},
    {KORVO_E_CHASSIS_CHENBRO_3U16ATX, "Chenbro 3U16ATX"},
    {KORVO_E_CHASSIS_KORVO_W83782D, "W83782D"},
    {KORVO_E_CHASSIS_KORVO_W83792AD, "W83792AD"},
};

static void notBuiltSay() {
    for (const ChassisName_t& chassis : NOT_BUILT) {
        if (chassis.type == esaControl.enclosureType) {
            ESA_TRACE("The back-end of the %s chassis is not built yet.", chassis.name);
            std::fprintf(stderr, "The back-end of the %s chassis is not built yet.\n",
                         chassis.name);
        }
    }
}

// Any entry: says so, and fails.
template <typename Result, typename... Arguments>
static Result notBuilt(Arguments...) {
    notBuiltSay();
    return static_cast<Result>(ESA_E_GENERR);
}

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
        .init = notBuilt,
        .initSuccessText = "Finish initializing for the Xyratex Enclosure.",
        .initFailureText = "Initializing for the Xyratex Enclosure fails.",
        .poll = notBuilt,
        .fanSpeedRead = esaVsc055FanSpeedRead,
        .fanSweepEndsWhenUnavailable = true,
        .fanLoad = esaVsc055FanPwmLoad,
        .policyFans = 2,
        .fanSwitch = xyratexFanSwitch,
        .fanGroupSize = XYRATEX_FAN_GROUP,
        .alarmSet = ESA_NOT_FITTED,  // the chassis' own controller drives the alarm
        .alarmSilence = notBuilt,
        .alarmSound = notBuilt,
        .alarmCriticalState = ESA_E_ALARM_STATE_CRITICAL_S4,
        .alarmPageState = notBuilt,
        .driveLedSet = notBuilt,
        .driveLedClear = notBuilt,
        .drivePresent = notBuilt,
        .supplyPageStatus = notBuilt,
        .supplyFaultIndicate = notBuilt,
        .fanPageStatus = notBuilt,
        .temperaturesPageRead = notBuilt,
        .i2cDevices = devices(XYRATEX_DEVICES),
    },
    vsc055Row(KORVO_E_CHASSIS_PELTO_TOLVEX),
    {
        .type = KORVO_E_CHASSIS_CHENBRO_3U16ATX,
        .init = notBuilt,
        .initSuccessText = "Finish initializing for the Chenbro Enclosure.",
        .initFailureText = "Initializing for the Chenbro Enclosure fails.",
        .poll = notBuilt,
        .fanSpeedRead = notBuilt,
        .fanSweepEndsWhenUnavailable = false,
        .fanLoad = notBuilt,
        .policyFans = 0,
        .fanSwitch = notBuilt,
        .fanGroupSize = 1,
        .alarmSet = notBuilt,
        .alarmSilence = notBuilt,
        .alarmSound = notBuilt,
        .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
        .alarmPageState = alarmStateKept,
        .driveLedSet = ESA_NOT_FITTED,
        .driveLedClear = ESA_NOT_FITTED,
        .drivePresent = ESA_NOT_FITTED,
        .supplyPageStatus = notBuilt,
        .supplyFaultIndicate = supplyVoltageFault,
        .fanPageStatus = ESA_NOT_FITTED,
        .temperaturesPageRead = notBuilt,
        .i2cDevices = NO_DEVICES,
    },
    vsc055Row(KORVO_E_CHASSIS_KORVO_VSC055),
    {
        .type = KORVO_E_CHASSIS_KORVO_W83782D,
        .init = notBuilt,
        .initSuccessText = "Finish initializing for the W83782d based Enclosure.",
        .initFailureText = "Initializing for the W83782d based Enclosure fails.",
        .poll = notBuilt,
        .fanSpeedRead = notBuilt,
        .fanSweepEndsWhenUnavailable = false,
        .fanLoad = notBuilt,
        .policyFans = 0,
        .fanSwitch = notBuilt,
        .fanGroupSize = 1,
        .alarmSet = notBuilt,
        .alarmSilence = notBuilt,
        .alarmSound = notBuilt,
        .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
        .alarmPageState = alarmStateKept,
        .driveLedSet = ESA_NOT_FITTED,
        .driveLedClear = ESA_NOT_FITTED,
        .drivePresent = ESA_NOT_FITTED,
        .supplyPageStatus = notBuilt,
        .supplyFaultIndicate = supplyVoltageFault,
        .fanPageStatus = ESA_NOT_FITTED,
        .temperaturesPageRead = notBuilt,
        .i2cDevices = NO_DEVICES,
    },
    {
        .type = KORVO_E_CHASSIS_KORVO_W83792AD,
        .init = notBuilt,
        .initSuccessText = "Finish initializing for the W83792AD based Enclosure.",
        .initFailureText = "Initializing for the W83792AD based Enclosure fails.",
        .poll = notBuilt,
        .fanSpeedRead = notBuilt,
        .fanSweepEndsWhenUnavailable = false,
        .fanLoad = notBuilt,
        .policyFans = 0,
        .fanSwitch = notBuilt,
        .fanGroupSize = 1,
        .alarmSet = notBuilt,
        .alarmSilence = notBuilt,
        .alarmSound = notBuilt,
        .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
        .alarmPageState = alarmStateKept,
        .driveLedSet = notBuilt,
        .driveLedClear = notBuilt,
        .drivePresent = ESA_NOT_FITTED,
        .supplyPageStatus = notBuilt,
        .supplyFaultIndicate = supplyRedundancyFault,
        .fanPageStatus = ESA_NOT_FITTED,
        .temperaturesPageRead = notBuilt,
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
