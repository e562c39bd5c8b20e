// SPDX-License-Identifier: Apache-2.0
// Messages to the event manager: the log request and the header every logged event begins with.
#pragma once

#include "basetypes.h"
#include "wire.h"

// opcode.request.type of MMSG_E_PROTOCOL_EVENTMGR
enum EMP_MSGS : U32_t {
    EMP_E_MSGS_LOG = 1,
};

enum EMP_TYPE : U8_t {
    EMP_E_TYPE_INFORMATION = 1,
    EMP_E_TYPE_WARNING = 2,
    EMP_E_TYPE_ERROR = 3,
};

constexpr U8_t EMP_E_CATEGORY_ENVIRONMENTAL = 3;

struct EmpEvLogHeader_t {
    char evEnclosureId[64];
    char evBladeId[64];
    Be32 evSlotId;
    Be32 evInstanceNumber;
    Be32 evSequenceId;
    Be32 evTime;
    Be16 evStructLength;  // bytes of the payload behind this header
    U8_t evSource;        // endpoint id of the process that reports
    U8_t evType;          // an EMP_TYPE
    U8_t evCategory;
    U8_t evIdVersion;
    Be16 evId;
};
WIRE_RECORD(EmpEvLogHeader_t, 152);
WIRE_OFFSET(EmpEvLogHeader_t, evSlotId, 128);
WIRE_OFFSET(EmpEvLogHeader_t, evStructLength, 144);
WIRE_OFFSET(EmpEvLogHeader_t, evType, 147);
WIRE_OFFSET(EmpEvLogHeader_t, evId, 150);
