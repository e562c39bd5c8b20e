// SPDX-License-Identifier: Apache-2.0
// The guideline design with one W83782D.
#pragma once

#include "state/esa_control.h"

// Probes and sets up the monitor; brings the chassis' counts and tuning values. ESA_E_OK,
// ESA_E_GENERR when a transfer failed, ESA_E_GENERR_I2C_UNAVAILABLE when it does not answer.
ESA_CODE_e esaW83782dInit();
void esaW83782dPollTimeoutProcess();
