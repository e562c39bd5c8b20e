// SPDX-License-Identifier: Apache-2.0
// From tachometer counts to revolutions.
#pragma once

#include "state/esa_control.h"

// `clock` / (`count` x fanSpeedDivisor) RPM, cut to 16 bits. 0 with a trace line when `count` or
// the divisor is 0.
U16_t esaTachometerRpm(int fan, U32_t clock, U8_t count);
