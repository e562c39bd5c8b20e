// SPDX-License-Identifier: Apache-2.0
// Winbond W83792AD hardware monitor. Every access is one byte at i2cAddressW83792ad; a write sends
// the shadow byte.
#pragma once

#include "state/esa_control.h"

// Registers.
constexpr U8_t W83792AD_REG_GPIO_ENABLE = 0x1A;
constexpr U8_t W83792AD_REG_GPIOA_OUTPUT_CONTROL = 0x1B;
constexpr U8_t W83792AD_REG_GPIOA_DATA_STATUS = 0x1C;
constexpr U8_t W83792AD_REG_GPIOB_OUTPUT_CONTROL = 0x1D;
constexpr U8_t W83792AD_REG_GPIOB_DATA_STATUS = 0x1E;
constexpr U8_t W83792AD_REG_VCOREA = 0x20;  // readings: upper eight of ten bits
constexpr U8_t W83792AD_REG_VCOREB = 0x21;
constexpr U8_t W83792AD_REG_VIN0 = 0x22;
constexpr U8_t W83792AD_REG_VIN1 = 0x23;
constexpr U8_t W83792AD_REG_VIN2 = 0x24;
constexpr U8_t W83792AD_REG_VIN3 = 0x25;
constexpr U8_t W83792AD_REG_POSITIVE_5VCC = 0x26;
constexpr U8_t W83792AD_REG_TEMPERATURE_1 = 0x27;  // whole degrees Celsius, read as unsigned
constexpr U8_t W83792AD_REG_VCOREA_HIGH_LIMIT = 0x2B;
constexpr U8_t W83792AD_REG_VCOREA_LOW_LIMIT = 0x2C;
constexpr U8_t W83792AD_REG_VCOREB_HIGH_LIMIT = 0x2D;
constexpr U8_t W83792AD_REG_VCOREB_LOW_LIMIT = 0x2E;
constexpr U8_t W83792AD_REG_VIN0_HIGH_LIMIT = 0x2F;
constexpr U8_t W83792AD_REG_VIN0_LOW_LIMIT = 0x30;
constexpr U8_t W83792AD_REG_VIN1_HIGH_LIMIT = 0x31;
constexpr U8_t W83792AD_REG_VIN1_LOW_LIMIT = 0x32;
constexpr U8_t W83792AD_REG_VIN2_HIGH_LIMIT = 0x33;
constexpr U8_t W83792AD_REG_VIN2_LOW_LIMIT = 0x34;
constexpr U8_t W83792AD_REG_VIN3_HIGH_LIMIT = 0x35;
constexpr U8_t W83792AD_REG_VIN3_LOW_LIMIT = 0x36;
constexpr U8_t W83792AD_REG_POSITIVE_5VCC_HIGH_LIMIT = 0x37;
constexpr U8_t W83792AD_REG_POSITIVE_5VCC_LOW_LIMIT = 0x38;
constexpr U8_t W83792AD_REG_TEMPERATURE_1_HIGH_LIMIT = 0x39;
constexpr U8_t W83792AD_REG_TEMPERATURE_1_LOW_LIMIT = 0x3A;
constexpr U8_t W83792AD_REG_FAN1_COUNT_HIGH_LIMIT = 0x3B;
constexpr U8_t W83792AD_REG_FAN2_COUNT_HIGH_LIMIT = 0x3C;
constexpr U8_t W83792AD_REG_FAN3_COUNT_HIGH_LIMIT = 0x3D;
constexpr U8_t W83792AD_REG_LOW_BITS_1 = 0x3E;  // the two low bits of four readings each
constexpr U8_t W83792AD_REG_LOW_BITS_2 = 0x3F;
constexpr U8_t W83792AD_REG_FAN_DIVISOR_1 = 0x47;
constexpr U8_t W83792AD_REG_TEMPERATURE_2_3_ADDRESS = 0x4A;
constexpr U8_t W83792AD_REG_PIN_CONTROL = 0x4B;
constexpr U8_t W83792AD_REG_SMI_OVT_PROPERTY = 0x4C;
constexpr U8_t W83792AD_REG_THERMAL_DIODE_SELECT = 0x59;
constexpr U8_t W83792AD_REG_FAN_DIVISOR_2 = 0x5B;
constexpr U8_t W83792AD_REG_FAN_DIVISOR_3 = 0x5C;
constexpr U8_t W83792AD_REG_TEMPERATURE_2_HIGH = 0xC0;
constexpr U8_t W83792AD_REG_TEMPERATURE_2_LOW = 0xC1;
constexpr U8_t W83792AD_REG_TEMPERATURE_3_HIGH = 0xC8;
constexpr U8_t W83792AD_REG_TEMPERATURE_3_LOW = 0xC9;

// By fan, 0..5: tachometer count, PWM clock, duty.
constexpr int W83792AD_FANS = 6;
constexpr U8_t W83792AD_REG_FAN_COUNT[W83792AD_FANS] = {0x28, 0x29, 0x2A, 0xB8, 0xB9, 0xBA};
constexpr U8_t W83792AD_REG_FAN_PRE_SCALE[W83792AD_FANS] = {0x80, 0x82, 0x93, 0xA0, 0xA1, 0xA2};
constexpr U8_t W83792AD_REG_FAN_DUTY[W83792AD_FANS] = {0x81, 0x83, 0x94, 0xA3, 0xA4, 0xA5};

// A nibble of a fan divisor register: the divisor, and a bit that is written as set.
constexpr U8_t W83792AD_DIVISOR_MASK = 0x7;
constexpr U8_t W83792AD_DIVISOR_KEPT = 0x8;

constexpr int W83792AD_SENSORS = 3;

// Reads all voltage channels and judges +5Vcc, kept in powerSupplyVoltage5V. ESA_E_OK,
// ESA_E_GENERR: out of tolerance, or the code of the failed read.
ESA_CODE_e esaW83792adPowerVoltageToleranceStatusRead();

// Speed of fan 0..5 in RPM; untouched when the result is not ESA_E_OK.
ESA_CODE_e esaW83792adFanSpeedRead(U8_t fanInx, U16_t* fanRpmSpeedPtr);
// Duty of fan 0..5 in sixteenths: the low four bits count.
void esaW83792adFanPwmLoad(U8_t fanInx, U8_t w83792adPwmPercentage);

// Degrees Celsius of sensor 0..2, or ESA_K_TEMPERATURE_UNREADABLE.
S16_t esaW83792adTemperatureRead(U8_t temperatureSensorInx);

// This chip has no alarm output: traces only.
void esaW83792adAlarmStateBackplaneSet(EsaAlarmState_e alarmState);
