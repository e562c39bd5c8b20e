// SPDX-License-Identifier: Apache-2.0
// W83792AD: fans and temperatures; the voltages are a file of their own.
#include "chips/w83792ad.h"

#include "bus/esa_i2c.h"
#include "chips/half_degrees.h"
#include "chips/winbond.h"
#include "state/esa_trace.h"

namespace {

constexpr U8_t DUTY_MASK = 0x0F;
constexpr U8_t DUTY_PWM_MODE = 0x80;

// Sensors 2 and 3, index 1 and 2.
struct HalfDegreeSensor {
    U8_t high;
    U8_t low;
};
constexpr HalfDegreeSensor HALF_DEGREE_SENSORS[] = {
    {W83792AD_REG_TEMPERATURE_2_HIGH, W83792AD_REG_TEMPERATURE_2_LOW},
    {W83792AD_REG_TEMPERATURE_3_HIGH, W83792AD_REG_TEMPERATURE_3_LOW}};

ESA_CODE_e registerRead(U8_t number, U8_t* value) {
    return esaI2CDataRead(esaControl.i2cAddressW83792ad, number, value, 1);
}

// Sensor 1 holds whole degrees, unsigned.
ESA_CODE_e wholeDegreesRead(S16_t* degrees) {
    U8_t value = 0;
    const ESA_CODE_e code = registerRead(W83792AD_REG_TEMPERATURE_1, &value);
    *degrees = value;
    return code;
}

ESA_CODE_e halfDegreesRead(const HalfDegreeSensor& sensor, S16_t* degrees) {
    U8_t low = 0;
    U8_t high = 0;
    ESA_CODE_e code = registerRead(sensor.low, &low);
    if (code == ESA_E_OK) {
        code = registerRead(sensor.high, &high);
    }
    *degrees = esaHalfDegrees(high, low);
    return code;
}

}  // namespace

ESA_CODE_e esaW83792adFanSpeedRead(U8_t fanInx, U16_t* fanRpmSpeedPtr) {
    ESA_TRACE("Read speed with Fan Inx = [%d].", fanInx);
    if (fanInx >= W83792AD_FANS) {
        ESA_TRACE("Unsupported W83792AD Fan Index = [%d].", fanInx);
        return ESA_E_GENERR;
    }
    return winbondFanCountRead(esaControl.i2cAddressW83792ad, W83792AD_REG_FAN_COUNT[fanInx],
                               fanInx, "Fan with W83792AD", fanRpmSpeedPtr);
}

void esaW83792adFanPwmLoad(U8_t fanInx, U8_t w83792adPwmPercentage) {
    ESA_TRACE("Load PWM Winbond[%d] Percent to Fan [%d]", w83792adPwmPercentage, fanInx);
    if (fanInx >= W83792AD_FANS) {
        ESA_TRACE("The Fan index [%d] is not supported.", fanInx);
        return;
    }
    U8_t& shadow = esaControl.w83792ad.fanDutyCycle[fanInx];
    shadow = (w83792adPwmPercentage & DUTY_MASK) | DUTY_PWM_MODE;
    esaI2CDataWrite(esaControl.i2cAddressW83792ad, W83792AD_REG_FAN_DUTY[fanInx], &shadow, 1);
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

void esaW83792adAlarmStateBackplaneSet(EsaAlarmState_e alarmState) {
    winbondAlarmStateTrace(alarmState);
}
