// SPDX-License-Identifier: Apache-2.0
// Loads of fans as start-up and the ladder set them.
#pragma once

#include "state/chassis.h"

// Loads a fan, or fan group, and keeps the load.
void esaFanLoad(const EsaChassis_t& chassis, U8_t fan, EsaPercent_t load);
// Fans, or fan groups, the policy of a chassis handles, 0..8.
int esaPolicyFans(const EsaChassis_t& chassis);

// Start-up: every fan runs at the row's loadAtStart.
void esaFansStart(const EsaChassis_t& chassis);
