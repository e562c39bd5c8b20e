// SPDX-License-Identifier: Apache-2.0
// Message types of the controller's processes (message_type of the common header).
#pragma once

#include "basetypes.h"

enum MSG_TYPE : U8_t {
    MSG_E_TYPE_INVALID = 0,
    MSG_E_TYPE_ISURP = 1,
    MSG_E_TYPE_SGT = 2,
    MSG_E_TYPE_CLH = 3,
    MSG_E_TYPE_DSD = 4,
    MSG_E_TYPE_VT = 5,
    MSG_E_TYPE_DRP = 6,
    MSG_E_TYPE_EXT = 7,
    MSG_E_TYPE_URGENT = 8,
    MSG_E_TYPE_IOMGR_VT = 9,
    MSG_E_TYPE_RWR = 10,
    MSG_E_TYPE_RCD = 11,
    MSG_E_TYPE_DLM = 12,
    MSG_E_TYPE_FER = 13,
    MSG_E_TYPE_MMSG = 14,  // a management message
    MSG_E_TYPE_DROP = 15,
    MSG_E_TYPE_RCPM = 16,
    MSG_E_TYPE_BCD = 17,
    MSG_E_TYPE_CMSP = 18,
};
