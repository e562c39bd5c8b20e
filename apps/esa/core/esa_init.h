// SPDX-License-Identifier: Apache-2.0
// Initialisation: defaults of the control block, the link to the switch, the enclosure device and
// the personality file, which names the chassis and holds the tuning values.
#pragma once

#include "basetypes.h"

constexpr int ESA_K_PERSONALITY_SIZE = 8192;  // bytes read at most

// The personality file's text, zero-terminated.
extern char esPersonalityToolkitXmlFilePtr[ESA_K_PERSONALITY_SIZE + 1];

// Prepares esaControl and tells the event manager what was found. Result of the last open or of
// the closing event's send; no caller uses it.
S32_t esaInit();
