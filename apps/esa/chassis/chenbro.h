// SPDX-License-Identifier: Apache-2.0
// Chenbro 3U16ATX: four backplanes, each with a W83782D.
#pragma once

#include "state/esa_control.h"

// Probes and sets up all monitors. ESA_E_OK, ESA_E_GENERR when a transfer failed,
// ESA_E_GENERR_I2C_UNAVAILABLE when one does not answer.
ESA_CODE_e chenbroInit();
void chenbroEsaPollTimeoutProcess();

// Traces the monitors' registers up to the first read that fails.
void chenbroWinbondRegistersRead();

// ESA_E_OK, or ESA_E_GENERR when a backplane is out of tolerance or unreadable.
ESA_CODE_e chenbroPowerVoltageToleranceStatusRead();

// Speed of fan 0..5 in RPM; ESA_E_GENERR when it cannot be read.
ESA_CODE_e chenbroW83782dFanSpeedRead(U8_t chenbroFanInx, U16_t* fanRpmSpeedPtr);
// 0, 25, 50, 75 or 100 percent to fan 0..5; anything else is traced only.
void chenbroW83782dFanPwmLoad(U8_t chenbroFanInx, U8_t pwmPercentage);

// Sets the alarm of all backplanes.
void chenbroAlarmStateSet(EsaAlarmState_e alarmState);
