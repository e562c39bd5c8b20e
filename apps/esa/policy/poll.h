// SPDX-License-Identifier: Apache-2.0
// The steps every chassis' poll ends with.
#pragma once

#include "state/esa_control.h"

// Sweeps the fans and tells the composite fault manager. An unreachable bus leaves the fault as it
// is. Returns the sweep's result.
ESA_CODE_e esaFansPoll();

// Keeps the reading of sensor `sensor` (0..7) and traces it.
void esaTemperatureStore(int sensor, S16_t degrees);

// Fan ladder, temperature bands, overheat.
void esaPoliciesPoll();
