// SPDX-License-Identifier: Apache-2.0
// W83782D: limits, fans, one temperature, the alarm bit. Its own limits are left wide open: the
// service judges the readings itself. The configuration shadow is never loaded from the chip: it
// starts as the chip does, so that the first mute leaves the monitor measuring.
// (compatibility: configuration-shadow)
#include "chips/w83782d.h"

#include <cstdio>
#include <iterator>

#include "bus/esa_i2c.h"
#include "chips/register_rows.h"
#include "chips/winbond.h"
#include "state/esa_trace.h"

namespace {

using Shadows = WinbondControl_t;
using Row = EsaRegisterRow_t<Shadows>;

constexpr U8_t FAN_COUNTS[] = {W83782D_REG_FAN1_COUNT, W83782D_REG_FAN2_COUNT,
                               W83782D_REG_FAN3_COUNT};

constexpr U8_t LIMIT_HIGH = 0xFF;
constexpr U8_t LIMIT_LOW = 0x01;
constexpr U8_t CONFIGURATION_START = 0x01;  // measuring; so the chip powers up
constexpr U8_t CONFIGURATION_MUTE = 0x40;
constexpr U8_t BEEP_GPO = 0x80;
constexpr int DEGREES_PER_TURN = 256;
constexpr U8_t SENSOR_SIGN = 0x80;

constexpr Row LIMITS[] = {
    {W83782D_REG_VCOREA_HIGH_LIMIT, LIMIT_HIGH, &Shadows::vcoreaHighLimitRegister,
     "Set Vcorea High Limit", nullptr},
    {W83782D_REG_VCOREA_LOW_LIMIT, LIMIT_LOW, &Shadows::vcoreaLowLimitRegister,
     "Set Vcorea Low Limit", nullptr},
    {W83782D_REG_VINR0_HIGH_LIMIT, LIMIT_HIGH, &Shadows::vinr0HighLimitRegister,
     "Set Vinr0 High Limit", nullptr},
    {W83782D_REG_VINR0_LOW_LIMIT, LIMIT_LOW, &Shadows::vinr0LowLimitRegister, "Set Vinr0 Low Limit",
     nullptr},
    {W83782D_REG_POSITIVE_3_3VIN_HIGH_LIMIT, LIMIT_HIGH, &Shadows::positive3_3VinHighLimitRegister,
     "Set +3.3Vin High Limit", nullptr},
    {W83782D_REG_POSITIVE_3_3VIN_LOW_LIMIT, LIMIT_LOW, &Shadows::positive3_3VinLowLimitRegister,
     "Set +3.3Vin Low Limit", nullptr},
    // Without "Set": log readers match on the line. (compatibility: limit-names)
    {W83782D_REG_POSITIVE_5VIN_HIGH_LIMIT, LIMIT_HIGH, &Shadows::positive5VinHighLimitRegister,
     "+5Vin High Limit", nullptr},
    {W83782D_REG_POSITIVE_5VIN_LOW_LIMIT, LIMIT_LOW, &Shadows::positive5VinLowLimitRegister,
     "Set +5Vin Low Limit", nullptr},
    {W83782D_REG_POSITIVE_12VIN_HIGH_LIMIT, LIMIT_HIGH, &Shadows::positive12VinHighLimitRegister,
     "Set +12Vin High Limit", nullptr},
    {W83782D_REG_POSITIVE_12VIN_LOW_LIMIT, LIMIT_LOW, &Shadows::positive12VinLowLimitRegister,
     "Set +12Vin Low Limit", nullptr},
    {W83782D_REG_NEGATIVE_12VIN_HIGH_LIMIT, LIMIT_HIGH, &Shadows::negative12VinHighLimitRegister,
     "Set -12Vin High Limit", nullptr},
    {W83782D_REG_NEGATIVE_12VIN_LOW_LIMIT, LIMIT_LOW, &Shadows::negative12VinLowLimitRegister,
     "Set -12Vin Low Limit", nullptr},
    {W83782D_REG_NEGATIVE_5VIN_HIGH_LIMIT, LIMIT_HIGH, &Shadows::negative5VinHighLimitRegister,
     "Set -5Vin High Limit", nullptr},
    {W83782D_REG_NEGATIVE_5VIN_LOW_LIMIT, LIMIT_LOW, &Shadows::negative5VinLowLimitRegister,
     "Set -5Vin Low Limit", nullptr},
};

constexpr Row TEMPERATURE_LIMITS[] = {
    {W83782D_REG_TEMPERATURE_1_HIGH_LIMIT, 60, &Shadows::temperatureSensor1HighLimitRegister,
     nullptr, "temperatureSensor1HighLimitRegister"},
    {W83782D_REG_TEMPERATURE_1_HYSTERESIS, 127, &Shadows::temperatureSensor1HysteresisRegister,
     nullptr, "temperatureSensor1HysteresisRegister"},
};

struct PwmOutput {
    U8_t duty;               // register
    U8_t Shadows::*stored;   // takes the new value
    U8_t Shadows::*written;  // is sent
};
// The single-monitor design.
constexpr PwmOutput PWM_OUTPUTS[] = {
    {W83782D_REG_PWMOUT1, &Shadows::pwmOut1ControlRegister, &Shadows::pwmOut1ControlRegister},
    {W83782D_REG_PWMOUT3, &Shadows::pwmOut2ControlRegister, &Shadows::pwmOut2ControlRegister},
    {W83782D_REG_PWMOUT4, &Shadows::pwmOut3ControlRegister, &Shadows::pwmOut3ControlRegister},
};
// Backplanes number their outputs in another order; the fourth stores its value in the first
// output's shadow and sends its own, old one: backplanes rely on a fourth output that stays put.
// (compatibility: fourth-output)
constexpr PwmOutput BACKPLANE_PWM_OUTPUTS[] = {
    {W83782D_REG_PWMOUT1, &Shadows::pwmOut1ControlRegister, &Shadows::pwmOut1ControlRegister},
    {W83782D_REG_PWMOUT2, &Shadows::pwmOut2ControlRegister, &Shadows::pwmOut2ControlRegister},
    {W83782D_REG_PWMOUT3, &Shadows::pwmOut3ControlRegister, &Shadows::pwmOut3ControlRegister},
    {W83782D_REG_PWMOUT4, &Shadows::pwmOut1ControlRegister, &Shadows::pwmOut4ControlRegister},
};

ESA_CODE_e beepSetup(const EsaRegisterTarget_t<Shadows>& target, const char* readFailedVerb) {
    U8_t& shadow = target.shadows.fanInOutBeepGpoRegister;
    if (esaI2CDataRead(target.i2cAddr, W83782D_REG_FAN_BEEP_GPO, &shadow, 1) != ESA_E_OK) {
        ESA_TRACE("%s fanInOutBeepGpoRegister on %s failed", readFailedVerb, target.chip);
        return ESA_E_GENERR;
    }
    const Row row = {W83782D_REG_FAN_BEEP_GPO, static_cast<U8_t>(shadow | BEEP_GPO),
                     &Shadows::fanInOutBeepGpoRegister, nullptr, "fanInOutBeepGpoRegister"};
    return esaRegisterRowWrite(target, row);
}

bool backplaneKnown(U8_t backplaneInx) {
    if (backplaneInx < ESA_K_BACKPLANES_MAX) {
        return true;
    }
    ESA_TRACE("Unsupported Winbond Backplane Index = [%d].", backplaneInx);
    return false;
}

template <std::size_t N>
void pwmLoad(U8_t i2cAddr, U8_t backplaneInx, const PwmOutput (&outputs)[N], U8_t fanInx,
             U8_t duty) {
    ESA_TRACE("Load PWM Winbond[%d] Percent to Fan [%d]", duty, fanInx);
    if (fanInx >= N) {
        ESA_TRACE("Unsupported Winbond Fan Index = [%d].", fanInx);
        return;
    }
    if (!backplaneKnown(backplaneInx)) {
        return;
    }
    const PwmOutput& output = outputs[fanInx];
    Shadows& shadows = esaControl.winbond[backplaneInx];
    shadows.*output.stored = duty;
    esaI2CDataWrite(i2cAddr, output.duty, &(shadows.*output.written), 1);
}

S16_t sensorRead(U8_t i2cAddr, U8_t sensor) {
    U8_t value = 0;
    if (sensor != 0 || esaI2CDataRead(i2cAddr, W83782D_REG_TEMPERATURE_1, &value, 1) != ESA_E_OK) {
        return ESA_K_TEMPERATURE_UNREADABLE;
    }
    return static_cast<S16_t>((value & SENSOR_SIGN) != 0 ? value - DEGREES_PER_TURN : value);
}

}  // namespace

// ---- start-up ----

void w83782dShadowReset(U8_t backplaneInx) {
    esaControl.winbond[backplaneInx].configurationRegister = CONFIGURATION_START;
}

ESA_CODE_e w83782dProbe(U8_t i2cAddr, U8_t backplaneInx) {
    char place[24];
    std::snprintf(place, sizeof place, "Backplane[%d]", backplaneInx);
    return winbondProbe(i2cAddr, &esaControl.winbond[backplaneInx].serialBusAddressRegister,
                        ESA_E_EVENT_INFO_I2C_BUS_STATUS_W83782D, place);
}

ESA_CODE_e w83782dLimitsSetup(U8_t i2cAddr, U8_t backplaneInx) {
    const EsaRegisterTarget_t<Shadows> target = {i2cAddr, esaControl.winbond[backplaneInx], ""};
    return esaRegisterRowsWrite(target, LIMITS);
}

ESA_CODE_e w83782dSensorSetup(U8_t i2cAddr, U8_t backplaneInx, const char* readFailedVerb) {
    char place[24];
    std::snprintf(place, sizeof place, "Backplane [%d]", backplaneInx);
    const EsaRegisterTarget_t<Shadows> target = {i2cAddr, esaControl.winbond[backplaneInx], place};
    if (esaRegisterRowsWrite(target, TEMPERATURE_LIMITS) != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    return beepSetup(target, readFailedVerb);
}

// ---- fans ----

ESA_CODE_e esaW83782dFanSpeedRead(U8_t i2cAddr, U8_t w83782dReadFanInx, U16_t* fanRpmSpeedPtr) {
    ESA_TRACE("Read speed with Fan, I2C address = [0x%x], w83782dFanInx = [%d].", i2cAddr,
              w83782dReadFanInx);
    if (w83782dReadFanInx >= std::size(FAN_COUNTS)) {
        ESA_TRACE("Unsupported Winbond Fan Index = [%d].", w83782dReadFanInx);
        return ESA_E_GENERR;
    }
    char device[40];
    std::snprintf(device, sizeof device, "Fan with I2C address [0x%x]", i2cAddr);
    return winbondFanCountRead(i2cAddr, FAN_COUNTS[w83782dReadFanInx], w83782dReadFanInx, device,
                               fanRpmSpeedPtr);
}

void esaW83782dFanPwmLoad(U8_t w83782dPwmFanInx, U8_t winbondPwmPercentage) {
    pwmLoad(esaControl.i2cAddressW83782d, ESA_E_CHENBRO_WINBOND_BACKPLANE_INDEX_0, PWM_OUTPUTS,
            w83782dPwmFanInx, winbondPwmPercentage);
}

void winbondFanPwmLoad(U8_t i2cAddr, U8_t backplaneInx, U8_t winbondPwmFanInx,
                       U8_t winbondPwmPercentage) {
    pwmLoad(i2cAddr, backplaneInx, BACKPLANE_PWM_OUTPUTS, winbondPwmFanInx, winbondPwmPercentage);
}

// ---- temperature and alarm ----

S16_t esaW83782dTemperatureRead(U8_t i2cAddr, U8_t temperatureSensorInx) {
    const S16_t degrees = sensorRead(i2cAddr, temperatureSensorInx);
    // The design's own address, whichever was read: log readers know the line like this.
    // (compatibility: own-address)
    ESA_TRACE("Temperature Sensor [%d] for I2C address [0x%x] = [%d] degrees Celsius.",
              temperatureSensorInx, esaControl.i2cAddressW83782d, degrees);
    return degrees;
}

void esaW83782dAlarmStateSet(U8_t i2cAddr, U8_t backplaneInx, EsaAlarmState_e alarmState) {
    if (!backplaneKnown(backplaneInx)) {
        return;
    }
    U8_t& shadow = esaControl.winbond[backplaneInx].configurationRegister;
    if (alarmState == ESA_E_ALARM_STATE_FAULT_S1) {
        shadow &= static_cast<U8_t>(~CONFIGURATION_MUTE);
    } else if (alarmState == ESA_E_ALARM_STATE_MUTE_S3) {
        shadow |= CONFIGURATION_MUTE;
    } else {
        winbondAlarmStateTrace(alarmState);
        return;
    }
    esaI2CDataWrite(i2cAddr, W83782D_REG_CONFIGURATION, &shadow, 1);
    winbondAlarmStateTrace(alarmState);
}
