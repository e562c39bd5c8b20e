// SPDX-License-Identifier: Apache-2.0
// PCA9539 16-bit I/O expander: drive fault LEDs, a set bit lights. The output shadows are the only
// record of what is lit.
#pragma once

#include "state/esa_control.h"

// Makes all pins outputs. ESA_E_GENERR when a write failed. The outputs themselves are first
// written by the first set or clear.
ESA_CODE_e esaPca9539Init();

// ESA_E_GENERR for a drive that has no LED. A failed transfer is not told here, the fault tracking
// knows it.
ESA_CODE_e esaPca9539DriveFaultLEDSet(int driveNumber);
ESA_CODE_e esaPca9539DriveFaultLEDClear(int driveNumber);
