// SPDX-License-Identifier: Apache-2.0
// The Chenbro chassis on top of the W83782D routines. Two address rules: sensors, voltages and
// alarm find the monitors at 0x28, 0x2A, 0x2C, 0x30; fans at 0x28 to 0x2B. Backplanes answer at
// both sets. All addresses share one fault bit, so where one set is missing the bus fault flaps.
#include "chassis/chenbro.h"

#include <iterator>

#include "bus/esa_i2c.h"
#include "chips/w83782d.h"
#include "policy/poll.h"
#include "policy/supply.h"
#include "state/esa_trace.h"

constexpr U8_t LOAD_AT_START = 50;  // percent

constexpr U8_t MONITOR_ADDRESSES[ESA_K_BACKPLANES_MAX] = {0x28, 0x2A, 0x2C, 0x30};

struct Fan_t {
    U8_t address;
    U8_t backplane;
    U8_t output;  // fan index on that monitor
};
constexpr Fan_t FANS[] = {
    {0x28, 0, 0}, {0x28, 0, 1}, {0x29, 1, 0}, {0x2A, 2, 0}, {0x2B, 3, 0}, {0x2B, 3, 1},
};

struct Duty_t {
    U8_t percent;
    U8_t duty;  // of 255
};
constexpr Duty_t DUTIES[] = {{0, 0}, {25, 64}, {50, 128}, {75, 192}, {100, 255}};

// ---- register dump ----

constexpr U8_t W83782D_REG_FIRST_DUMPED = 0x20;
constexpr U8_t W83782D_REG_CONFIGURATION = 0x40;
// From W83782D_REG_FIRST_DUMPED up.
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
static_assert(W83782D_REG_FIRST_DUMPED + std::size(REGISTER_NAMES) == 0x3E);

static bool registerTrace(int backplane, U8_t number, const char* name) {
    U8_t value = 0;
    if (esaI2CDataRead(MONITOR_ADDRESSES[backplane], number, &value, 1) != ESA_E_OK) {
        return false;
    }
    ESA_TRACE("Chenbro Backplane [%d], %s = [%d]", backplane, name, value);
    return true;
}

static bool backplaneTrace(int backplane) {
    U8_t number = W83782D_REG_FIRST_DUMPED;
    for (const char* name : REGISTER_NAMES) {
        if (!registerTrace(backplane, number++, name)) {
            return false;
        }
    }
    return registerTrace(backplane, W83782D_REG_CONFIGURATION, "configurationRegister");
}

void chenbroWinbondRegistersRead() {
    int backplane = 0;
    while (backplane < ESA_K_BACKPLANES_MAX && backplaneTrace(backplane)) {
        ++backplane;
    }
}

// ---- start-up ----

// Runs `step` for each backplane up to the first that fails.
template <typename Step>
static ESA_CODE_e eachBackplane(Step step) {
    for (U8_t backplane = 0; backplane < ESA_K_BACKPLANES_MAX; ++backplane) {
        const ESA_CODE_e code = step(MONITOR_ADDRESSES[backplane], backplane);
        if (code != ESA_E_OK) {
            return code;
        }
    }
    return ESA_E_OK;
}

static void countsSetup() {
    esaControl.elementTypeMaxNumber = SES_K_ELEMENT_TYPES;
    esaControl.deviceMaxNumber = 16;
    esaControl.powerSupplyMaxNumber = 3;
    esaControl.coolingMaxNumber = std::size(FANS);
    esaControl.temperatureSensorMaxNumber = ESA_K_BACKPLANES_MAX;
    esaControl.audibleAlarmMaxNumber = 1;
    esaControl.fanFaultRpmLimit = 500;
}

static void fansStart() {
    for (U8_t fan = 0; fan < esaControl.coolingMaxNumber; ++fan) {
        chenbroW83782dFanPwmLoad(fan, LOAD_AT_START);
        esaControl.fanPwmLoad[fan] = LOAD_AT_START;
        esaControl.coolingElementOnOff[fan] = ESA_E_FAN_ON;
    }
}

static ESA_CODE_e sensorSetup(U8_t address, U8_t backplane) {
    return w83782dSensorSetup(address, backplane, "Reading");
}

ESA_CODE_e chenbroInit() {
    const ESA_CODE_e code = eachBackplane(w83782dProbe);
    if (code != ESA_E_OK) {
        return code;
    }
    countsSetup();
    chenbroWinbondRegistersRead();
    if (eachBackplane(w83782dLimitsSetup) != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    fansStart();
    esaControl.powerSupplyStatus |= ESA_K_POWER_VOLTAGE_OK;
    if (eachBackplane(sensorSetup) != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    chenbroAlarmStateSet(ESA_E_ALARM_STATE_MUTE_S3);
    esaControl.alarmState = ESA_E_ALARM_STATE_MUTE_S3;
    ESA_TRACE("Finish the Chenbro initialization.");
    return ESA_E_OK;
}

// ---- run time ----

ESA_CODE_e chenbroPowerVoltageToleranceStatusRead() {
    return eachBackplane([](U8_t address, U8_t) {
        return esaW83782dPowerVoltageToleranceStatusRead(address) == ESA_E_OK ? ESA_E_OK
                                                                              : ESA_E_GENERR;
    });
}

static const Fan_t* fanOf(U8_t chenbroFanInx) {
    if (chenbroFanInx < std::size(FANS)) {
        return &FANS[chenbroFanInx];
    }
    ESA_TRACE("Unsupported Fan Index = [%d].", chenbroFanInx);
    return nullptr;
}

ESA_CODE_e chenbroW83782dFanSpeedRead(U8_t chenbroFanInx, U16_t* fanRpmSpeedPtr) {
    ESA_TRACE("Read speed with Fan, chenbroFanInx = [%d].", chenbroFanInx);
    const Fan_t* fan = fanOf(chenbroFanInx);
    if (fan == nullptr ||
        esaW83782dFanSpeedRead(fan->address, fan->output, fanRpmSpeedPtr) != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    return ESA_E_OK;
}

static const Duty_t* dutyOf(U8_t percent) {
    for (const Duty_t& duty : DUTIES) {
        if (duty.percent == percent) {
            return &duty;
        }
    }
    ESA_TRACE("Unsupported ESA PWM Percentage = [%d].", percent);
    return nullptr;
}

void chenbroW83782dFanPwmLoad(U8_t chenbroFanInx, U8_t pwmPercentage) {
    ESA_TRACE("Load PWM Esa[%d] Percent to Fan [%d]", pwmPercentage, chenbroFanInx);
    const Duty_t* duty = dutyOf(pwmPercentage);
    if (duty == nullptr) {
        return;
    }
    const Fan_t* fan = fanOf(chenbroFanInx);
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

void chenbroSupplyPageStatus(int supply, PowerSupplyElementStat_t* element,
                             EsaPageChange_t* change) {
    const bool ok = chenbroPowerVoltageToleranceStatusRead() == ESA_E_OK;
    esaSupplyPageUpdate(ESA_SUPPLY_VOLTAGE_PAGE, ok, supply, element, change);
    element->acFail = !ok;
}

void chenbroTemperaturesRead() {
    for (int backplane = 0; backplane < ESA_K_BACKPLANES_MAX; ++backplane) {
        esaControl.temperatureSensor[backplane] =
            esaW83782dTemperatureRead(MONITOR_ADDRESSES[backplane], 0);
    }
}

void chenbroEsaPollTimeoutProcess() {
    esaSupplyConditionPoll(ESA_SUPPLY_VOLTAGE,
                           chenbroPowerVoltageToleranceStatusRead() == ESA_E_OK);
    esaFansPoll();
    for (int backplane = 0; backplane < ESA_K_BACKPLANES_MAX; ++backplane) {
        esaTemperatureStore(backplane, esaW83782dTemperatureRead(MONITOR_ADDRESSES[backplane], 0));
    }
    esaPoliciesPoll();
}
