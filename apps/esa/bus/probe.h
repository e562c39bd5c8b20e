// SPDX-License-Identifier: Apache-2.0
// Presence probes at start-up: they go round the fault tracking, so that a missing device yields
// the chassis' own messages.
#pragma once

#include "state/esa_control.h"

// Reads `number` of the device at `i2cAddr` into `value`. An answer is traced and counts the bus as
// connected.
bool esaProbe(U8_t i2cAddr, U8_t number, U8_t* value);

// Marks a missing device by hand: its bit in i2cDeviceFaultStatus and the bus fault.
void esaProbeMark(U32_t faultBit);
