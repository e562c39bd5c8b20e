// SPDX-License-Identifier: Apache-2.0
// The record a dying process leaves in the alternate event log: a message to the event manager with
// an event header and a payload. All other bytes are zero.
#pragma once

#include <cstdlib>

#include "alt_event_log.h"
#include "emp_mesgs.h"
#include "mmsg.h"

// Source and id of the events, numbers of the platform's.
constexpr U8_t BUGCHECK_K_SOURCE = 23;
constexpr U16_t BUGCHECK_K_EVENT_ID = 2000;
constexpr U8_t SIGNAL_K_SOURCE = 18;
constexpr U16_t SIGNAL_K_EVENT_ID = 4;
constexpr U8_t BUGCHECK_K_CATEGORY = 1;

struct BugCheckRecord_t {
    MMCH_t mmch;
    EmpEvLogHeader_t header;
    U8_t payload[ALT_EVENT_K_RECORD_SIZE - sizeof(MMCH_t) - sizeof(EmpEvLogHeader_t)];
};
WIRE_RECORD(BugCheckRecord_t, ALT_EVENT_K_RECORD_SIZE);
WIRE_OFFSET(BugCheckRecord_t, payload, 216);

// Payload of a bug check of the trace log.
struct BugCheckPayload_t {
    Be16 lineNumber;
    char names[30];  // file name without its extension, zero, function name
    char text[256];
};
WIRE_RECORD(BugCheckPayload_t, 288);

// Payload of a fatal signal; siginfo_t and registers are the kernel's own bytes.
struct SignalPayload_t {
    Be32 processId;
    char programName[20];  // at most 19 characters
    U8_t signalInfo[128];
    U8_t registers[176];
    U8_t reserved[16];
};
WIRE_RECORD(SignalPayload_t, 344);

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

// The end of the process: the record is on the medium before. Without an area of its own it goes to
// the attached one's directory.
[[noreturn]] inline void bugCheckRecordLeave(const BugCheckRecord_t& record,
                                             const MPU_PARAMS_t* mpuParams) {
    const MPU_PARAMS_t* const area = mpuParams != nullptr ? mpuParams : pMpuParams;
    altEventLogM(&record, area);
    altEventFlush(area);
    std::abort();
}
