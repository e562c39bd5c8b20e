// SPDX-License-Identifier: Apache-2.0
// The record a dying process leaves in the alternate event log: a message to the event manager with
// an event header and a payload. All other bytes are zero.
#pragma once

#include "alt_event_log.h"
#include "emp_mesgs.h"
#include "mmsg.h"

constexpr U8_t BUGCHECK_K_CATEGORY = 1;

struct BugCheckRecord_t {
    MMCH_t mmch;
    EmpEvLogHeader_t header;
    U8_t payload[ALT_EVENT_K_RECORD_SIZE - sizeof(MMCH_t) - sizeof(EmpEvLogHeader_t)];
};
WIRE_RECORD(BugCheckRecord_t, ALT_EVENT_K_RECORD_SIZE);
WIRE_OFFSET(BugCheckRecord_t, payload, 216);

// Zeroes `record` and fills its headers for event `evId` of the platform's source `evSource`.
inline void bugCheckRecordBegin(BugCheckRecord_t& record, U8_t evSource, U16_t evId) {
    record = {};
    record.mmch.opcode.request.protocol = MMSG_E_PROTOCOL_EVENTMGR;
    record.mmch.opcode.request.type = EMP_E_MSGS_LOG;
    record.header.evSource = evSource;
    record.header.evType = EMP_E_TYPE_ERROR;
    record.header.evCategory = BUGCHECK_K_CATEGORY;
    record.header.evIdVersion = 1;
    record.header.evId = evId;
}
