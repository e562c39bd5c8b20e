// SPDX-License-Identifier: Apache-2.0
// What hangs on which port of the Xyratex 2U12ATX's VSC055; the alarm controller is a file of its
// own.
#pragma once

#include "chips/vsc055.h"

constexpr int XYRATEX_SLOTS = 12;
constexpr int XYRATEX_PORT_STATUS_LEDS = 6;  // with the LEDs of drives 8 to 11
constexpr U8_t XYRATEX_LED_FAN_FAIL = 0x80;
