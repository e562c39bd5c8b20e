// SPDX-License-Identifier: Apache-2.0
// Requests to the start-up process and its answers.
#pragma once

#include "basetypes.h"

// opcode.request.type of MMSG_E_PROTOCOL_STARTUP
enum SUS_MMSG : U32_t {
    SUS_E_MMSG_NOTIFY_INIT_COMPLETE = 1,
    SUS_E_MMSG_CHANGE_LED_COLOR = 14,
    SUS_E_MMSG_SEND_EMAIL_NOTIFICATION = 16,
};

// opcode.request.type of MMSG_E_PROTOCOL_SHUTDOWN
enum SHDN_MMSG : U32_t {
    SHDN_E_MMSG_REQ_ORDRLY_SHUTDOWN = 1,
};

// return_code of a response
enum SUS_MMSG_RESP : U32_t {
    SUS_E_MMSG_RESP_OK = 1,
    SUS_E_MMSG_RESP_REJECTED = 2,
};

// Arguments of SUS_E_MMSG_CHANGE_LED_COLOR.
constexpr U32_t SUS_K_LED_COMPOSITE_FAULT = 2;  // general_use1: which LED
constexpr U32_t SUS_K_LED_OFF = 1;              // general_use2
constexpr U32_t SUS_K_LED_ON = 2;               // general_use2

// general_use2 of SHDN_E_MMSG_REQ_ORDRLY_SHUTDOWN
constexpr U32_t SHDN_K_ORDERLY = 1;
