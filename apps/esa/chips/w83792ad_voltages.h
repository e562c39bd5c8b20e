// SPDX-License-Identifier: Apache-2.0
// W83792AD voltage channels.
#pragma once

#include "state/esa_control.h"

// Reads all channels and judges +5Vcc, kept in powerSupplyVoltage5V.
ESA_CODE_e esaW83792adPowerVoltageToleranceStatusRead();
