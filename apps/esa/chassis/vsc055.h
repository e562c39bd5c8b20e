// SPDX-License-Identifier: Apache-2.0
// The prequalified wiring of a VSC055, with LM75 sensors beside it.
#pragma once

#include "state/esa_control.h"

// Probes and sets up the controller and its sensors. ESA_E_OK, ESA_E_GENERR_I2C_UNAVAILABLE when a
// device does not answer, or the code of a failed read-back.
ESA_CODE_e esaVsc055Init();
void esaVsc055PollTimeoutProcess();

// ESA_E_GENERR for a drive that has no LED.
ESA_CODE_e esaVsc055DriveFaultLEDSet(int driveNumber);
ESA_CODE_e esaVsc055DriveFaultLEDClear(int driveNumber);

// ESA_E_OK: redundant; ESA_E_GENERR: not; else the code of the failed read.
ESA_CODE_e esaVsc055PowerRedundancyFailStatusRead();

// The alarm of this design exists in software only: reading returns alarmState, setting traces.
EsaAlarmState_e esaVsc055AlarmStateRead();
void esaVsc055AlarmStateBackplaneSet(EsaAlarmState_e alarmState);
// Low pulse on the supplies' alarm clear line.
void esaVsc055AlarmStatePowerSupplyClear();
