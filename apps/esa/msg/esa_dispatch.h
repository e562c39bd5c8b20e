// SPDX-License-Identifier: Apache-2.0
// Dispatch of inbound messages, and a developer's test message to the service itself.
#pragma once

#include "basetypes.h"
#include "mmsg.h"

// Checks and routes one message; `mmsgPtr` stands in a buffer of 4064 bytes whatever its
// mmsg_length says.
void esaMmsgMsgProc(MMSG_t* mmsgPtr);

// Builds SES command `commandType` (28 or 29) for page `pageCode` and sends it through the switch
// to this service. Returns what send returned. For developers: nothing in the service calls it.
S32_t esaTestMsg(U8_t commandType, U8_t pageCode);
