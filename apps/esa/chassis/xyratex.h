// SPDX-License-Identifier: Apache-2.0
// Xyratex 2U12ATX: a VSC055 at 0x63 wired to drive presence inputs, status LEDs and an alarm
// controller that runs by itself; two fan groups, two LM75.
#pragma once

#include "state/esa_control.h"

// ESA_E_OK, ESA_E_GENERR_I2C_UNAVAILABLE when the controller does not answer, or the code of a
// failed read-back.
ESA_CODE_e xyratexInit();
void xyratexEsaPollTimeoutProcess();

// ESA_E_GENERR for a drive that has no LED.
ESA_CODE_e xyratexDriveFaultLEDSet(int driveNumber);
ESA_CODE_e xyratexDriveFaultLEDClear(int driveNumber);

// ESA_E_OK: present; ESA_E_GENERR: absent or no such slot; else the code of the failed read.
ESA_CODE_e xyratexIsDrivePresent(int driveNumber);
// Traces the presence of all slots.
void xyratexDrivePresenceRead();

// ESA_E_OK, ESA_E_GENERR: fault, or the code of the failed read.
ESA_CODE_e xyratexPowerVoltageStatusRead();
ESA_CODE_e xyratexPowerRedundancyFailStatusRead();

void xyratexPsuOkLEDSet();
void xyratexPsuOkLEDClear();
void xyratexPowerRedundancyFailLEDSet();
void xyratexPowerRedundancyFailLEDClear();
void xyratexFanFailLEDSet();
void xyratexFanFailLEDClear();
