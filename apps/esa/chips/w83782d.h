// SPDX-License-Identifier: Apache-2.0
// Winbond W83782D hardware monitor. Every access is one byte; a write sends the shadow byte of the
// backplane named (0..3). The single-monitor design uses i2cAddressW83782d and backplane 0.
#pragma once

#include "state/chassis.h"
#include "state/esa_control.h"

// Probes and sets up the monitor; brings the chassis' counts and tuning values. ESA_E_OK,
// ESA_E_GENERR when a transfer failed, ESA_E_GENERR_I2C_UNAVAILABLE when it does not answer.
ESA_CODE_e esaW83782dInit();
void esaW83782dPollTimeoutProcess();

// Judges +5Vin and +12Vin, kept in powerSupplyVoltage5V and ...12V. ESA_E_OK, ESA_E_GENERR: out of
// tolerance, or the code of the failed read.
ESA_CODE_e esaW83782dPowerVoltageToleranceStatusRead(U8_t i2cAddr);

// Speed of fan 0..2 in RPM; untouched when the result is not ESA_E_OK.
ESA_CODE_e esaW83782dFanSpeedRead(U8_t i2cAddr, U8_t w83782dReadFanInx, U16_t* fanRpmSpeedPtr);

// Duty 0..255. The two routines number the outputs differently.
void esaW83782dFanPwmLoad(U8_t w83782dPwmFanInx, U8_t winbondPwmPercentage);
void winbondFanPwmLoad(U8_t i2cAddr, U8_t backplaneInx, U8_t winbondPwmFanInx,
                       U8_t winbondPwmPercentage);

// Degrees Celsius of sensor 0, the only one, or ESA_K_TEMPERATURE_UNREADABLE.
S16_t esaW83782dTemperatureRead(U8_t i2cAddr, U8_t temperatureSensorInx);

// Moves bit 6 of the configuration register for FAULT_S1 and MUTE_S3; other states trace only.
void esaW83782dAlarmStateSet(U8_t i2cAddr, U8_t backplaneInx, EsaAlarmState_e alarmState);

// Steps of start-up, for each monitor of a chassis; ESA_E_GENERR when a transfer failed.
ESA_CODE_e w83782dProbe(U8_t i2cAddr, U8_t backplaneInx);
ESA_CODE_e w83782dLimitsSetup(U8_t i2cAddr, U8_t backplaneInx);
// `readFailedVerb` stands in the log line of a failed read of the beep register.
ESA_CODE_e w83782dSensorSetup(U8_t i2cAddr, U8_t backplaneInx, const char* readFailedVerb);

// Status page entries of the chassis row.
void esaW83782dSupplyPageStatus(int supply, PowerSupplyElementStat_t* element,
                                EsaPageChange_t* change);
void esaW83782dTemperaturesRead();
