// SPDX-License-Identifier: Apache-2.0
// Names of the alarm states in log lines. State 0 is "IDEL_S0": log readers match on the spelling.
// (compatibility: idel)
#pragma once

#include "state/esa_control.h"

// The name routines that set or report a state use; null for a value outside 0..7.
const char* esaAlarmStateName(U32_t state);
// The name routines that read the state use: 5 to 7 are invalid there.
const char* esaAlarmStateNameAsRead(U32_t state);
