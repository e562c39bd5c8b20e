// SPDX-License-Identifier: Apache-2.0
// The enclosure control page: stores the control records and acts on them.
#pragma once

#include "mmsg.h"
#include "state/esa_control.h"

// Acts on the page at message byte 72. Result of the last back-end call that gave one, else 0.
ESA_CODE_e esaEncContPageProc(const MMSG_t* rcvMmsgPtr);
