// SPDX-License-Identifier: Apache-2.0
// From tachometer counts to revolutions.
#pragma once

#include "state/esa_control.h"

// RPM at count 1 and divisor 1.
constexpr U32_t ESA_K_TACHOMETER_CLOCK_VSC055 = 1200000;
constexpr U32_t ESA_K_TACHOMETER_CLOCK_WINBOND = 1350000;

// `clock` / (`count` x fanSpeedDivisor) RPM, cut to 16 bits. 0 with a trace line when `count` or
// the divisor is 0.
U16_t esaTachometerRpm(int fan, U32_t clock, U8_t count);
