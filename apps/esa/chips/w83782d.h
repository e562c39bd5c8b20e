// SPDX-License-Identifier: Apache-2.0
// Winbond W83782D hardware monitor. Every access is one byte; a write sends the shadow byte of the
// backplane named (0..3). The single-monitor design uses i2cAddressW83782d and backplane 0.
#pragma once

#include "state/esa_control.h"

// Registers.
constexpr U8_t W83782D_REG_VCOREA = 0x20;  // readings of the seven voltage channels
constexpr U8_t W83782D_REG_VINR0 = 0x21;
constexpr U8_t W83782D_REG_POSITIVE_3_3VIN = 0x22;
constexpr U8_t W83782D_REG_POSITIVE_5VIN = 0x23;
constexpr U8_t W83782D_REG_POSITIVE_12VIN = 0x24;
constexpr U8_t W83782D_REG_NEGATIVE_12VIN = 0x25;
constexpr U8_t W83782D_REG_NEGATIVE_5VIN = 0x26;
constexpr U8_t W83782D_REG_TEMPERATURE_1 = 0x27;  // signed whole degrees Celsius
constexpr U8_t W83782D_REG_FAN1_COUNT = 0x28;
constexpr U8_t W83782D_REG_FAN2_COUNT = 0x29;
constexpr U8_t W83782D_REG_FAN3_COUNT = 0x2A;
constexpr U8_t W83782D_REG_VCOREA_HIGH_LIMIT = 0x2B;
constexpr U8_t W83782D_REG_VCOREA_LOW_LIMIT = 0x2C;
constexpr U8_t W83782D_REG_VINR0_HIGH_LIMIT = 0x2D;
constexpr U8_t W83782D_REG_VINR0_LOW_LIMIT = 0x2E;
constexpr U8_t W83782D_REG_POSITIVE_3_3VIN_HIGH_LIMIT = 0x2F;
constexpr U8_t W83782D_REG_POSITIVE_3_3VIN_LOW_LIMIT = 0x30;
constexpr U8_t W83782D_REG_POSITIVE_5VIN_HIGH_LIMIT = 0x31;
constexpr U8_t W83782D_REG_POSITIVE_5VIN_LOW_LIMIT = 0x32;
constexpr U8_t W83782D_REG_POSITIVE_12VIN_HIGH_LIMIT = 0x33;
constexpr U8_t W83782D_REG_POSITIVE_12VIN_LOW_LIMIT = 0x34;
constexpr U8_t W83782D_REG_NEGATIVE_12VIN_HIGH_LIMIT = 0x35;
constexpr U8_t W83782D_REG_NEGATIVE_12VIN_LOW_LIMIT = 0x36;
constexpr U8_t W83782D_REG_NEGATIVE_5VIN_HIGH_LIMIT = 0x37;
constexpr U8_t W83782D_REG_NEGATIVE_5VIN_LOW_LIMIT = 0x38;
constexpr U8_t W83782D_REG_TEMPERATURE_1_HIGH_LIMIT = 0x39;
constexpr U8_t W83782D_REG_TEMPERATURE_1_HYSTERESIS = 0x3A;
constexpr U8_t W83782D_REG_FAN3_COUNT_LIMIT = 0x3D;  // fan 1's and 2's before it
constexpr U8_t W83782D_REG_CONFIGURATION = 0x40;     // bit 0 START, bit 6 driven by the alarm
constexpr U8_t W83782D_REG_FAN_BEEP_GPO = 0x4D;      // fan in/out and beep control
constexpr U8_t W83782D_REG_PWMOUT2 = 0x5A;           // duty of 255, as the three others
constexpr U8_t W83782D_REG_PWMOUT1 = 0x5B;
constexpr U8_t W83782D_REG_PWMOUT3 = 0x5E;
constexpr U8_t W83782D_REG_PWMOUT4 = 0x5F;

// Judges +5Vin and +12Vin, kept in powerSupplyVoltage5V and ...12V. ESA_E_OK, ESA_E_GENERR: out of
// tolerance, or the code of the failed read.
ESA_CODE_e esaW83782dPowerVoltageToleranceStatusRead(U8_t i2cAddr);

// Speed of fan 0..2 in RPM; untouched when the result is not ESA_E_OK.
ESA_CODE_e esaW83782dFanSpeedRead(U8_t i2cAddr, U8_t w83782dReadFanInx, U16_t* fanRpmSpeedPtr);

// Duty 0..255. The two routines number the outputs differently. A backplane above 3 is traced only,
// here and with the alarm.
void esaW83782dFanPwmLoad(U8_t w83782dPwmFanInx, U8_t winbondPwmPercentage);
void winbondFanPwmLoad(U8_t i2cAddr, U8_t backplaneInx, U8_t winbondPwmFanInx,
                       U8_t winbondPwmPercentage);

// Degrees Celsius of sensor 0, the only one, or ESA_K_TEMPERATURE_UNREADABLE.
S16_t esaW83782dTemperatureRead(U8_t i2cAddr, U8_t temperatureSensorInx);

// Moves bit 6 of the configuration register for FAULT_S1 and MUTE_S3; other states trace only.
void esaW83782dAlarmStateSet(U8_t i2cAddr, U8_t backplaneInx, EsaAlarmState_e alarmState);

// Before start-up: the configuration shadow holds what the chip powers up with.
void w83782dShadowReset(U8_t backplaneInx);
// Steps of start-up, for each monitor of a chassis; ESA_E_GENERR when a transfer failed.
ESA_CODE_e w83782dProbe(U8_t i2cAddr, U8_t backplaneInx);
ESA_CODE_e w83782dLimitsSetup(U8_t i2cAddr, U8_t backplaneInx);
// `readFailedVerb` stands in the log line of a failed read of the beep register.
ESA_CODE_e w83782dSensorSetup(U8_t i2cAddr, U8_t backplaneInx, const char* readFailedVerb);
