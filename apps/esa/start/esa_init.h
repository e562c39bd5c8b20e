// SPDX-License-Identifier: Apache-2.0
// Initialisation: defaults of the control block, the link to the switch, the enclosure device and
// the personality file.
#pragma once

#include "basetypes.h"

// Prepares esaControl and tells the event manager what was found. Result of the last open or of
// the closing event's send; no caller uses it.
S32_t esaInit();
