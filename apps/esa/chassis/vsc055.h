// SPDX-License-Identifier: Apache-2.0
// Vitesse VSC055 enclosure management controller with LM75 sensors beside it, the prequalified
// wiring.
#pragma once

#include "state/chassis.h"
#include "state/esa_control.h"

// Probes and sets up the controller and its sensors. ESA_E_OK, ESA_E_GENERR_I2C_UNAVAILABLE when a
// device does not answer, or the code of a failed read-back.
ESA_CODE_e esaVsc055Init();
void esaVsc055PollTimeoutProcess();

// 0, 25, 50, 75 or 100 percent to fan 0..7; anything else is traced only. 0 also takes the fan's
// power, which a later load does not give back.
void esaVsc055FanPwmLoad(U8_t fanInx, U8_t pwmPercentage);
// Speed of fan 0..7 in RPM; untouched when the result is not ESA_E_OK.
ESA_CODE_e esaVsc055FanSpeedRead(int fanInx, U16_t* fanRpmSpeedPtr);

// ESA_E_GENERR for a drive that has no LED.
ESA_CODE_e esaVsc055DriveFaultLEDSet(int driveNumber);
ESA_CODE_e esaVsc055DriveFaultLEDClear(int driveNumber);

// ESA_E_OK: redundant; ESA_E_GENERR: not; else the code of the failed read.
ESA_CODE_e esaVsc055PowerRedundancyFailStatusRead();

// The alarm of this chip exists in software only: reading returns alarmState, setting traces.
EsaAlarmState_e esaVsc055AlarmStateRead();
void esaVsc055AlarmStateBackplaneSet(EsaAlarmState_e alarmState);
// Low pulse on the supplies' alarm clear line.
void esaVsc055AlarmStatePowerSupplyClear();

// Status page entries of the chassis row.
void esaVsc055SupplyPageStatus(int supply, PowerSupplyElementStat_t* element,
                               EsaPageChange_t* change);
void esaVsc055TemperaturesRead();
