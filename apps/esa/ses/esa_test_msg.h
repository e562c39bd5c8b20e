// SPDX-License-Identifier: Apache-2.0
// A test command to the service itself. For developers: nothing in the service calls it.
#pragma once

#include "basetypes.h"

// Builds SES command `commandType` (28 or 29) for page `pageCode` and sends it through the switch
// to this service, which answers it like any other. Returns what send returned; a command or page
// that is not supported leaves the message's length at 0 and sends nothing.
S32_t esaTestMsg(U8_t commandType, U8_t pageCode);
