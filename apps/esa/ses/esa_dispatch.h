// SPDX-License-Identifier: Apache-2.0
// Dispatch of inbound messages.
#pragma once

#include "basetypes.h"
#include "mmsg.h"

// Checks and routes one message; `mmsgPtr` stands in a buffer of 4064 bytes whatever its
// mmsg_length says.
void esaMmsgMsgProc(MMSG_t* mmsgPtr);
