// SPDX-License-Identifier: Apache-2.0
// The Chenbro chassis on top of the W83782D routines. Two address rules: sensors, voltages and
// alarm find the monitors at 0x28, 0x2A, 0x2C, 0x30; fans at 0x28 to 0x2B. Backplanes answer at
// both sets. All addresses share one fault bit, so where one set is missing the bus fault flaps.
// (compatibility: two-addresses-chenbro)
#include "chassis/chenbro.h"

#include <iterator>

#include "bus/esa_i2c.h"
#include "chassis/table.h"
#include "chips/w83782d.h"
#include "chips/winbond.h"
#include "policy/esa_policy.h"
#include "policy/fan_load.h"
#include "policy/poll.h"
#include "policy/supply.h"
#include "state/esa_trace.h"

namespace {

constexpr U8_t MONITOR_ADDRESSES[ESA_K_BACKPLANES_MAX] = {0x28, 0x2A, 0x2C, 0x30};

struct Fan {
    U8_t address;
    U8_t backplane;
    U8_t output;  // fan index on that monitor
};
constexpr Fan FANS[] = {
    {0x28, 0, 0}, {0x28, 0, 1}, {0x29, 1, 0}, {0x2A, 2, 0}, {0x2B, 3, 0}, {0x2B, 3, 1},
};

struct Duty {
    U8_t percent;
    U8_t duty;  // of 255
};
constexpr Duty DUTIES[] = {{0, 0}, {25, 64}, {50, 128}, {75, 192}, {100, 255}};

// ---- register dump ----

// The dump, from W83782D_REG_VCOREA up; the configuration register ends it.
constexpr const char* REGISTER_NAMES[] = {
    "ESA_K_W83782D_VCOREA_READING_REG",
    "ESA_K_W83782D_VINR0_READING_REG",
    "ESA_K_W83782D_POSITIVE_3_3VIN_READING_REG",
    "ESA_K_W83782D_POSITIVE_5VIN_READING_REG",
    "ESA_K_W83782D_POSITIVE_12VIN_READING_REG",
    "ESA_K_W83782D_NEGATIVE_12VIN_READING_REG",
    "ESA_K_W83782D_NEGATIVE_5VIN_READING_REG",
    "ESA_K_W83782D_TEMPERATURE_READING_REG",
    "ESA_K_W83782D_FAN1_READING_REG",
    "ESA_K_W83782D_FAN2_READING_REG",
    "ESA_K_W83782D_FAN3_READING_REG",
    "ESA_K_W83782D_VCOREA_HIGH_LIMIT_REG",
    "ESA_K_W83782D_VCOREA_LOW_LIMIT_REG",
    "ESA_K_W83782D_VINR0_HIGH_LIMIT_REG",
    "ESA_K_W83782D_VINR0_LOW_LIMIT_REG",
    "ESA_K_W83782D_POSITIVE_3_3VIN_HIGH_LIMIT_REG",
    "ESA_K_W83782D_POSITIVE_3_3VIN_LOW_LIMIT_REG",
    "ESA_K_W83782D_POSITIVE_5VIN_HIGH_LIMIT_REG",
    "ESA_K_W83782D_POSITIVE_5VIN_LOW_LIMIT_REG",
    "ESA_K_W83782D_POSITIVE_12VIN_HIGH_LIMIT_REG",
    "ESA_K_W83782D_POSITIVE_12VIN_LOW_LIMIT_REG",
    "ESA_K_W83782D_NEGATIVE_12VIN_HIGH_LIMIT_REG",
    "ESA_K_W83782D_NEGATIVE_12VIN_LOW_LIMIT_REG",
    "ESA_K_W83782D_NEGATIVE_5VIN_HIGH_LIMIT_REG",
    "ESA_K_W83782D_NEGATIVE_5VIN_LOW_LIMIT_REG",
    "ESA_K_W83782D_TEMPERATURE_SENSOR1_HIGH_LIMIT_REG",
    "ESA_K_W83782D_TEMPERATURE_SENSOR1_HYSTERESIS_REG",
    "ESA_K_W83782D_FAN1_FAN_COUNT_LIMIT_REG",
    "ESA_K_W83782D_FAN2_FAN_COUNT_LIMIT_REG",
    "ESA_K_W83782D_FAN3_FAN_COUNT_LIMIT_REG",
};
static_assert(W83782D_REG_VCOREA + std::size(REGISTER_NAMES) == W83782D_REG_FAN3_COUNT_LIMIT + 1);

bool registerTrace(int backplane, U8_t number, const char* name) {
    U8_t value = 0;
    if (esaI2CDataRead(MONITOR_ADDRESSES[backplane], number, &value, 1) != ESA_E_OK) {
        return false;
    }
    ESA_TRACE("Chenbro Backplane [%d], %s = [%d]", backplane, name, value);
    return true;
}

bool backplaneTrace(int backplane) {
    U8_t number = W83782D_REG_VCOREA;
    for (const char* name : REGISTER_NAMES) {
        if (!registerTrace(backplane, number++, name)) {
            return false;
        }
    }
    return registerTrace(backplane, W83782D_REG_CONFIGURATION, "configurationRegister");
}

// ---- start-up ----

// Runs `step` for each backplane up to the first that fails.
template <typename Step>
ESA_CODE_e eachBackplane(Step step) {
    for (U8_t backplane = 0; backplane < ESA_K_BACKPLANES_MAX; ++backplane) {
        const ESA_CODE_e code = step(MONITOR_ADDRESSES[backplane], backplane);
        if (code != ESA_E_OK) {
            return code;
        }
    }
    return ESA_E_OK;
}

void countsSetup() {
    esaControl.elementTypeMaxNumber = SES_K_ELEMENT_TYPES;
    esaControl.deviceMaxNumber = ESA_CHASSIS_CHENBRO.setup.deviceMaxNumber;
    esaControl.powerSupplyMaxNumber = ESA_CHASSIS_CHENBRO.setup.powerSupplyMaxNumber;
    esaControl.coolingMaxNumber = std::size(FANS);
    esaControl.temperatureSensorMaxNumber = ESA_K_BACKPLANES_MAX;
    esaControl.audibleAlarmMaxNumber = 1;
    esaControl.fanFaultRpmLimit = 500;
}

ESA_CODE_e sensorSetup(U8_t address, U8_t backplane) {
    return w83782dSensorSetup(address, backplane, "Reading");
}

// ---- run time ----

const Fan* fanOf(U8_t chenbroFanInx) {
    if (chenbroFanInx < std::size(FANS)) {
        return &FANS[chenbroFanInx];
    }
    ESA_TRACE("Unsupported Fan Index = [%d].", chenbroFanInx);
    return nullptr;
}

const Duty* dutyOf(U8_t percent) {
    for (const Duty& duty : DUTIES) {
        if (duty.percent == percent) {
            return &duty;
        }
    }
    ESA_TRACE("Unsupported ESA PWM Percentage = [%d].", percent);
    return nullptr;
}

ESA_CODE_e fanSpeedRead(int fan, U16_t* rpm) {
    return chenbroW83782dFanSpeedRead(static_cast<U8_t>(fan), rpm);
}

void fanLoad(U8_t fan, EsaPercent_t load) {
    chenbroW83782dFanPwmLoad(fan, load.percent);
}

void fanSwitch(U8_t fan, bool on) {
    chenbroW83782dFanPwmLoad(fan, on ? 100 : 0);
}

S16_t temperatureRead(int backplane) {
    return esaW83782dTemperatureRead(MONITOR_ADDRESSES[backplane], 0);
}

constexpr EsaSupplyInput_t SUPPLY_INPUTS[] = {
    {.read = chenbroPowerVoltageToleranceStatusRead,
     .polled = ESA_SUPPLY_VOLTAGE,
     .onPage = ESA_SUPPLY_VOLTAGE_PAGE,
     .keptWhenUnavailable = false,
     .isMains = true,
     .follow = ESA_NOT_FITTED},
};

}  // namespace

constexpr EsaChassis_t ESA_CHASSIS_CHENBRO = {
    .facts = {.title = "Chenbro 3U16ATX",
              .words = "Chenbro 3U16ATX, four W83782D backplanes",
              .fans = std::size(FANS),
              .sensors = ESA_K_BACKPLANES_MAX,
              .surplusSensors = EsaSurplusSensors_e::COUNT_AS_ZERO,
              .tachometerClock = WINBOND_TACHOMETER_CLOCK,
              .slowLooksStopped = true,
              .divisorHighest = 255,
              .hottest = 127},
    .names = {},
    .setup = {.deviceMaxNumber = 16, .powerSupplyMaxNumber = 3},
    .init = chenbroInit,
    .initSuccessText = "Finish initializing for the Chenbro Enclosure.",
    .initFailureText = "Initializing for the Chenbro Enclosure fails.",
    .poll = chenbroEsaPollTimeoutProcess,
    .supplyInputs = SUPPLY_INPUTS,
    .supplyPageStatus = esaSupplyPageStatus,
    .supplyFaultIndicate = esaSupplyVoltageFaultIndicate,
    .fanSpeedRead = fanSpeedRead,
    .fanSweepEndsWhenUnavailable = false,
    .fanSpeedDivisor = 0,
    .fanLoad = fanLoad,
    .loadAtStart = {50},
    .policyFans = 0,
    .fanFaultShow = ESA_NOT_FITTED,
    .fanSwitch = fanSwitch,
    .fanGroupSize = 1,
    .fanPageStatus = ESA_NOT_FITTED,
    .temperatureRead = temperatureRead,
    .temperatureSensors = ESA_K_BACKPLANES_MAX,
    .temperaturesPoll = esaTemperaturesPoll,
    .temperaturesPageRead = esaTemperaturesRead,
    .alarmSet = chenbroAlarmStateSet,
    .alarmRunsByItself = false,
    .alarmSilenced = ESA_NOT_FITTED,
    .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
    .alarmPageState = esaAlarmStateKept,
    .alarmPoll = ESA_NOT_FITTED,
    .driveLedSet = ESA_NOT_FITTED,
    .driveLedClear = ESA_NOT_FITTED,
    .drivePresent = ESA_NOT_FITTED,
    .i2cDevices = {},
};
static_assert(esaChassisIsSound(ESA_CHASSIS_CHENBRO));

void chenbroWinbondRegistersRead() {
    int backplane = 0;
    while (backplane < ESA_K_BACKPLANES_MAX && backplaneTrace(backplane)) {
        ++backplane;
    }
}

ESA_CODE_e chenbroInit() {
    for (U8_t backplane = 0; backplane < ESA_K_BACKPLANES_MAX; ++backplane) {
        w83782dShadowReset(backplane);
    }
    const ESA_CODE_e code = eachBackplane(w83782dProbe);
    if (code != ESA_E_OK) {
        return code;
    }
    countsSetup();
    chenbroWinbondRegistersRead();
    if (eachBackplane(w83782dLimitsSetup) != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    esaFansStart(ESA_CHASSIS_CHENBRO);
    esaControl.powerSupplyStatus |= ESA_K_POWER_VOLTAGE_OK;
    if (eachBackplane(sensorSetup) != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    esaAlarmMute(ESA_CHASSIS_CHENBRO);
    ESA_TRACE("Finish the Chenbro initialization.");
    return ESA_E_OK;
}

void chenbroEsaPollTimeoutProcess() {
    esaPoll();
}

ESA_CODE_e chenbroPowerVoltageToleranceStatusRead() {
    return eachBackplane([](U8_t address, U8_t) {
        return esaW83782dPowerVoltageToleranceStatusRead(address) == ESA_E_OK ? ESA_E_OK
                                                                              : ESA_E_GENERR;
    });
}

ESA_CODE_e chenbroW83782dFanSpeedRead(U8_t chenbroFanInx, U16_t* fanRpmSpeedPtr) {
    ESA_TRACE("Read speed with Fan, chenbroFanInx = [%d].", chenbroFanInx);
    const Fan* fan = fanOf(chenbroFanInx);
    if (fan == nullptr ||
        esaW83782dFanSpeedRead(fan->address, fan->output, fanRpmSpeedPtr) != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    return ESA_E_OK;
}

void chenbroW83782dFanPwmLoad(U8_t chenbroFanInx, U8_t pwmPercentage) {
    ESA_TRACE("Load PWM Esa[%d] Percent to Fan [%d]", pwmPercentage, chenbroFanInx);
    const Duty* duty = dutyOf(pwmPercentage);
    if (duty == nullptr) {
        return;
    }
    const Fan* fan = fanOf(chenbroFanInx);
    if (fan != nullptr) {
        winbondFanPwmLoad(fan->address, fan->backplane, fan->output, duty->duty);
    }
}

void chenbroAlarmStateSet(EsaAlarmState_e alarmState) {
    eachBackplane([alarmState](U8_t address, U8_t backplane) {
        esaW83782dAlarmStateSet(address, backplane, alarmState);
        return ESA_E_OK;
    });
}
