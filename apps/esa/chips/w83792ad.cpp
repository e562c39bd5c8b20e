// SPDX-License-Identifier: Apache-2.0
// W83792AD: limits, fans, redundancy input and temperatures. Its own limits are left wide open: the
// service judges the readings itself.
#include "chips/w83792ad.h"

#include <cstddef>
#include <iterator>

#include "bus/esa_i2c.h"
#include "chips/half_degrees.h"
#include "chips/pca9539.h"
#include "chips/register_rows.h"
#include "chips/w83792ad_voltages.h"
#include "chips/winbond.h"
#include "policy/poll.h"
#include "policy/supply.h"
#include "state/esa_trace.h"

using Shadows = W83792adControl_t;
using Row = EsaRegisterRow_t<Shadows>;

constexpr U8_t W83792AD_REG_GPIOA_DATA_STATUS = 0x1C;
constexpr U8_t GPIOA_REDUNDANT = 0x80;
constexpr U8_t W83792AD_REG_TEMPERATURE_1 = 0x27;
constexpr U8_t W83792AD_REG_TEMPERATURE_1_HIGH_LIMIT = 0x39;

constexpr U8_t LIMIT_HIGH = 0xFF;
constexpr U8_t LIMIT_LOW = 0x01;
constexpr U8_t PRE_SCALE = 0x83;
constexpr U8_t DUTY_AT_START = 8;   // sixteenths
constexpr U8_t LOAD_AT_START = 50;  // percent
constexpr U8_t DUTY_MASK = 0x0F;
constexpr U8_t DUTY_PWM_MODE = 0x80;

constexpr Row VOLTAGE_LIMITS[] = {
    {0x2B, LIMIT_HIGH, &Shadows::vcoreaHighLimitRegister, "Set Vcorea High Limit", nullptr},
    {0x2C, LIMIT_LOW, &Shadows::vcoreaLowLimitRegister, "Set Vcorea Low Limit", nullptr},
    {0x2D, LIMIT_HIGH, &Shadows::vcorebHighLimitRegister, "Set Vcoreb High Limit", nullptr},
    {0x2E, LIMIT_LOW, &Shadows::vcorebLowLimitRegister, "Set Vcoreb Low Limit", nullptr},
    {0x2F, LIMIT_HIGH, &Shadows::vin0HighLimitRegister, "Set Vin0 High Limit", nullptr},
    {0x30, LIMIT_LOW, &Shadows::vin0LowLimitRegister, "Set VIN0 Low Limit", nullptr},
    {0x31, LIMIT_HIGH, &Shadows::vin1HighLimitRegister, "Set Vin1 High Limit", nullptr},
    {0x32, LIMIT_LOW, &Shadows::vin1LowLimitRegister, "Set VIN1 Low Limit", nullptr},
    {0x33, LIMIT_HIGH, &Shadows::vin2HighLimitRegister, "Set Vin2 High Limit", nullptr},
    {0x34, LIMIT_LOW, &Shadows::vin2LowLimitRegister, "Set VIN2 Low Limit", nullptr},
    {0x35, LIMIT_HIGH, &Shadows::vin3HighLimitRegister, "Set Vin3 High Limit", nullptr},
    {0x36, LIMIT_LOW, &Shadows::vin3LowLimitRegister, "Set VIN3 Low Limit", nullptr},
    {0x37, LIMIT_HIGH, &Shadows::positive5VccHighLimitRegister, "Set +5VCC High Limit", nullptr},
    {0x38, LIMIT_LOW, &Shadows::positive5VccLowLimitRegister, "Set +5VCC Low Limit", nullptr},
};

constexpr Row LIMITS_BEHIND_TEMPERATURE[] = {
    {0x3A, LIMIT_LOW, &Shadows::temperatureSensor1LowLimitRegister,
     "Set Temperature Sensor1 Low Limit", nullptr},
    {0x3B, LIMIT_HIGH, &Shadows::fan1CountHighLimitRegister, "Set Fan1 Count High Limit", nullptr},
    {0x3C, LIMIT_HIGH, &Shadows::fan2CountHighLimitRegister, "Set Fan2 Count High Limit", nullptr},
    {0x3D, LIMIT_HIGH, &Shadows::fan3CountHighLimitRegister, "Set Fan3 Count High Limit", nullptr},
};

constexpr Row CONTROLS[] = {
    // Fails under the next register's name: log readers match on it.
    {0x4B, 0x40, &Shadows::pinControlRegister, nullptr, "smiOvtPropertyRegister"},
    {0x4C, 0x01, &Shadows::smiOvtPropertyRegister, nullptr, "smiOvtPropertyRegister"},
    {0x1A, 0x1E, &Shadows::gpioEnableRegister, nullptr, "gpioEnableRegister"},
    {0x1B, 0x45, &Shadows::gpioaOutputControlRegister, nullptr, "gpioaOutputControlRegister"},
    {W83792AD_REG_GPIOA_DATA_STATUS, 0x40, &Shadows::gpioaDataStatusRegister, nullptr,
     "gpioaDataStatusRegister"},
    {0x1D, 0x00, &Shadows::gpiobOutputControlRegister, nullptr, "gpiobOutputControlRegister"},
    {0x1E, 0x00, &Shadows::gpiobDataStatusRegister, nullptr, "gpiobDataStatusRegister"},
};

constexpr Row TEMPERATURE_SETUP[] = {
    {0x4A, 0x88, &Shadows::temperature23SerialBusAddressRegister, nullptr,
     "temperature23SerialBusAddressRegister"},
    {0x59, 0x00, &Shadows::thermalDiodeSelectRegister, nullptr, "thermalDiodeSelectRegister"},
};

struct Fan_t {
    U8_t count;     // tachometer count
    U8_t preScale;  // PWM clock
    U8_t duty;
};
constexpr Fan_t FANS[] = {
    {0x28, 0x80, 0x81}, {0x29, 0x82, 0x83}, {0x2A, 0x93, 0x94},
    {0xB8, 0xA0, 0xA3}, {0xB9, 0xA1, 0xA4}, {0xBA, 0xA2, 0xA5},
};
static_assert(std::size(FANS) == std::size(Shadows{}.fanDutyCycle) &&
              std::size(FANS) == std::size(Shadows{}.fanPreScaleRegister));

// Sensors 2 and 3, index 1 and 2.
struct HalfDegreeSensor_t {
    U8_t high;
    U8_t low;
};
constexpr HalfDegreeSensor_t HALF_DEGREE_SENSORS[] = {{0xC0, 0xC1}, {0xC8, 0xC9}};

static EsaRegisterTarget_t<Shadows> target() {
    return {esaControl.i2cAddressW83792ad, esaControl.w83792ad, "W83792AD"};
}

static ESA_CODE_e registerRead(U8_t number, U8_t* value) {
    return esaI2CDataRead(esaControl.i2cAddressW83792ad, number, value, 1);
}

// ---- start-up ----

static ESA_CODE_e limitsSetup() {
    const Row temperatureHigh = {W83792AD_REG_TEMPERATURE_1_HIGH_LIMIT,
                                 static_cast<U8_t>(esaControl.overheatTemperatureLimit),
                                 &Shadows::temperatureSensor1HighLimitRegister,
                                 "Set Temperature Sensor1 High Limit", nullptr};
    if (esaRegisterRowsWrite(target(), VOLTAGE_LIMITS) != ESA_E_OK ||
        esaRegisterRowWrite(target(), temperatureHigh) != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    return esaRegisterRowsWrite(target(), LIMITS_BEHIND_TEMPERATURE);
}

static ESA_CODE_e controlsSetup() {
    const ESA_CODE_e code = esaRegisterRowsWrite(target(), CONTROLS);
    if (code == ESA_E_OK) {
        esaControl.powerSupplyStatus |= ESA_K_POWER_VOLTAGE_OK;
    }
    return code;
}

static ESA_CODE_e fanDivisorsSetup() {
    const U8_t nibble = (esaControl.fanSpeedDivisor & 7) | 8;
    const U8_t divisor = static_cast<U8_t>(nibble * 0x11);
    const Row rows[] = {
        {0x47, divisor, &Shadows::fanDivisor1Register, nullptr, "fanDivisor1Register"},
        {0x5B, divisor, &Shadows::fanDivisor2Register, nullptr, "fanDivisor2Register"},
        {0x5C, divisor, &Shadows::fanDivisor3Register, nullptr, "fanDivisor3Register"},
    };
    return esaRegisterRowsWrite(target(), rows);
}

static ESA_CODE_e fanPreScalesSetup() {
    for (std::size_t fan = 0; fan < std::size(FANS); ++fan) {
        U8_t& shadow = esaControl.w83792ad.fanPreScaleRegister[fan];
        shadow = PRE_SCALE;
        if (esaI2CDataWrite(esaControl.i2cAddressW83792ad, FANS[fan].preScale, &shadow, 1) !=
            ESA_E_OK) {
            ESA_TRACE("Setting fanPreScaleRegister on W83792AD failed");
            return ESA_E_GENERR;
        }
    }
    return ESA_E_OK;
}

static ESA_CODE_e fansStart() {
    for (U8_t fan = 0; fan < esaBounded(esaControl.coolingMaxNumber, SES_K_FANS_MAX); ++fan) {
        esaW83792adFanPwmLoad(fan, DUTY_AT_START);
        esaControl.fanPwmLoad[fan] = LOAD_AT_START;
        esaControl.coolingElementOnOff[fan] = ESA_E_FAN_ON;
    }
    return ESA_E_OK;
}

static ESA_CODE_e temperaturesSetup() {
    return esaRegisterRowsWrite(target(), TEMPERATURE_SETUP);
}

static ESA_CODE_e alarmMute() {
    esaW83792adAlarmStateBackplaneSet(ESA_E_ALARM_STATE_MUTE_S3);
    esaControl.alarmState = ESA_E_ALARM_STATE_MUTE_S3;
    ESA_TRACE("Finish the initialization for the W83792AD guideline based enclosure.");
    return ESA_E_OK;
}

ESA_CODE_e esaW83792adInit() {
    ESA_CODE_e code =
        winbondProbe(esaControl.i2cAddressW83792ad, &esaControl.w83792ad.serialBusAddressRegister,
                     ESA_E_EVENT_INFO_I2C_BUS_STATUS_W83792AD, "Backplane");
    for (auto step : {limitsSetup, controlsSetup, fanDivisorsSetup, fanPreScalesSetup, fansStart,
                      temperaturesSetup, alarmMute, esaPca9539Init}) {
        if (code != ESA_E_OK) {
            return code;
        }
        code = step();
    }
    return code;
}

// ---- fans ----

ESA_CODE_e esaW83792adFanSpeedRead(U8_t fanInx, U16_t* fanRpmSpeedPtr) {
    ESA_TRACE("Read speed with Fan Inx = [%d].", fanInx);
    if (fanInx >= std::size(FANS)) {
        ESA_TRACE("Unsupported W83792AD Fan Index = [%d].", fanInx);
        return ESA_E_GENERR;
    }
    return winbondFanCountRead(esaControl.i2cAddressW83792ad, FANS[fanInx].count, fanInx,
                               "Fan with W83792AD", fanRpmSpeedPtr);
}

void esaW83792adFanPwmLoad(U8_t fanInx, U8_t w83792adPwmPercentage) {
    ESA_TRACE("Load PWM Winbond[%d] Percent to Fan [%d]", w83792adPwmPercentage, fanInx);
    if (fanInx >= std::size(FANS)) {
        ESA_TRACE("The Fan index [%d] is not supported.", fanInx);
        return;
    }
    U8_t& shadow = esaControl.w83792ad.fanDutyCycle[fanInx];
    shadow = (w83792adPwmPercentage & DUTY_MASK) | DUTY_PWM_MODE;
    esaI2CDataWrite(esaControl.i2cAddressW83792ad, FANS[fanInx].duty, &shadow, 1);
}

// ---- temperatures ----

// Sensor 1 holds whole degrees, unsigned.
static ESA_CODE_e wholeDegreesRead(S16_t* degrees) {
    U8_t value = 0;
    const ESA_CODE_e code = registerRead(W83792AD_REG_TEMPERATURE_1, &value);
    *degrees = value;
    return code;
}

static ESA_CODE_e halfDegreesRead(const HalfDegreeSensor_t& sensor, S16_t* degrees) {
    U8_t low = 0;
    U8_t high = 0;
    ESA_CODE_e code = registerRead(sensor.low, &low);
    if (code == ESA_E_OK) {
        code = registerRead(sensor.high, &high);
    }
    *degrees = esaHalfDegrees(high, low);
    return code;
}

S16_t esaW83792adTemperatureRead(U8_t temperatureSensorInx) {
    if (temperatureSensorInx > ESA_E_W83792AD_TEMPERATURE_SENSOR_3) {
        return ESA_K_TEMPERATURE_UNREADABLE;
    }
    S16_t degrees = 0;
    const ESA_CODE_e code =
        temperatureSensorInx == ESA_E_W83792AD_TEMPERATURE_SENSOR_1
            ? wholeDegreesRead(&degrees)
            : halfDegreesRead(HALF_DEGREE_SENSORS[temperatureSensorInx - 1], &degrees);
    if (code != ESA_E_OK) {
        return ESA_K_TEMPERATURE_UNREADABLE;
    }
    ESA_TRACE("Temperature Sensor [%d] for I2C address [0x%x] = [%d] degrees Celsius.",
              temperatureSensorInx, esaControl.i2cAddressW83792ad, degrees);
    return degrees;
}

void esaW83792adTemperaturesRead() {
    const int sensors = esaBounded(esaControl.temperatureSensorMaxNumber, SES_K_SENSORS_MAX);
    for (int sensor = 0; sensor < sensors; ++sensor) {
        esaControl.temperatureSensor[sensor] =
            esaW83792adTemperatureRead(static_cast<U8_t>(sensor));
    }
}

// ---- supplies and alarm ----

ESA_CODE_e esaW83792adPowerRedundancyStatusRead() {
    U8_t value = 0;
    const ESA_CODE_e code = registerRead(W83792AD_REG_GPIOA_DATA_STATUS, &value);
    if (code != ESA_E_OK) {
        return code;
    }
    if ((value & GPIOA_REDUNDANT) == 0) {
        ESA_TRACE("Return Power Redundancy Status [ERROR].");
        return ESA_E_GENERR;
    }
    ESA_TRACE("Return Power Redundancy Status [OK].");
    return ESA_E_OK;
}

// The voltage is judged last and overwrites what redundancy said of the element.
void esaW83792adSupplyPageStatus(int supply, PowerSupplyElementStat_t* element,
                                 EsaPageChange_t* change) {
    esaSupplyPageUpdate(ESA_SUPPLY_REDUNDANCY, esaW83792adPowerRedundancyStatusRead() == ESA_E_OK,
                        supply, element, change);
    const bool voltageOk = esaW83792adPowerVoltageToleranceStatusRead() == ESA_E_OK;
    esaSupplyPageUpdate(ESA_SUPPLY_VOLTAGE_PAGE, voltageOk, supply, element, change);
    element->acFail = !voltageOk;
}

void esaW83792adAlarmStateBackplaneSet(EsaAlarmState_e alarmState) {
    winbondAlarmStateTrace(alarmState);
}

// ---- poll ----

void esaW83792adPollTimeoutProcess() {
    esaSupplyConditionPoll(ESA_SUPPLY_REDUNDANCY,
                           esaW83792adPowerRedundancyStatusRead() == ESA_E_OK);
    esaSupplyConditionPoll(ESA_SUPPLY_VOLTAGE,
                           esaW83792adPowerVoltageToleranceStatusRead() == ESA_E_OK);
    esaFansPoll();
    const int sensors = esaBounded(esaControl.temperatureSensorMaxNumber, SES_K_SENSORS_MAX);
    for (int sensor = 0; sensor < sensors; ++sensor) {
        esaTemperatureStore(sensor, esaW83792adTemperatureRead(static_cast<U8_t>(sensor)));
    }
    esaPoliciesPoll();
}
