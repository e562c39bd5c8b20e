// SPDX-License-Identifier: Apache-2.0
// The poll of a chassis: one walk over its row.
#pragma once

#include "state/chassis.h"

// Supplies, fans, temperatures, policies and the alarm of the row in force.
void esaPoll();

// Keeps the reading of sensor `sensor` (0..7) and traces it.
void esaTemperatureStore(int sensor, S16_t degrees);

// Sensors of the row in force that are read, 0..8.
int esaTemperatureSensors();
// Entries of a row: every sensor is read and stored, with a trace line each or without.
void esaTemperaturesPoll();
void esaTemperaturesRead();
