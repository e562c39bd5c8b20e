// SPDX-License-Identifier: Apache-2.0
// Winbond W83792AD hardware monitor. Every access is one byte at i2cAddressW83792ad; a write sends
// the shadow byte.
#pragma once

#include "state/chassis.h"
#include "state/esa_control.h"

// Probes and sets up the monitor and the PCA9539. ESA_E_OK, ESA_E_GENERR when a write failed,
// ESA_E_GENERR_I2C_UNAVAILABLE when the monitor does not answer.
ESA_CODE_e esaW83792adInit();
void esaW83792adPollTimeoutProcess();

// ESA_E_OK, ESA_E_GENERR: fault, or the code of the failed read.
ESA_CODE_e esaW83792adPowerRedundancyStatusRead();
ESA_CODE_e esaW83792adPowerVoltageToleranceStatusRead();

// Speed of fan 0..5 in RPM; untouched when the result is not ESA_E_OK.
ESA_CODE_e esaW83792adFanSpeedRead(U8_t fanInx, U16_t* fanRpmSpeedPtr);
// Duty of fan 0..5 in sixteenths: the low four bits count.
void esaW83792adFanPwmLoad(U8_t fanInx, U8_t w83792adPwmPercentage);

// Degrees Celsius of sensor 0..2, or ESA_K_TEMPERATURE_UNREADABLE.
S16_t esaW83792adTemperatureRead(U8_t temperatureSensorInx);

// This chip has no alarm output: traces only.
void esaW83792adAlarmStateBackplaneSet(EsaAlarmState_e alarmState);

// Status page entries of the chassis row.
void esaW83792adSupplyPageStatus(int supply, PowerSupplyElementStat_t* element,
                                 EsaPageChange_t* change);
void esaW83792adTemperaturesRead();
