// SPDX-License-Identifier: Apache-2.0
// The guideline design with one W83792AD and a PCA9539.
#pragma once

#include "state/esa_control.h"

// Probes and sets up the monitor and the PCA9539. ESA_E_OK, ESA_E_GENERR when a write failed,
// ESA_E_GENERR_I2C_UNAVAILABLE when the monitor does not answer.
ESA_CODE_e esaW83792adInit();
void esaW83792adPollTimeoutProcess();

// ESA_E_OK: redundant; ESA_E_GENERR: not; else the code of the failed read.
ESA_CODE_e esaW83792adPowerRedundancyStatusRead();
