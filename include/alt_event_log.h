// SPDX-License-Identifier: Apache-2.0
// The alternate event log: complete 4064-byte event records kept in `altevent.log` of the parameter
// area's non-volatile directory. Safe in a signal handler; never blocks long, never aborts.
#pragma once

#include "basetypes.h"
#include "mpu_gbl.h"
#include "wire.h"

constexpr U32_t ALT_EVENT_K_RECORD_SIZE = 4064;
constexpr U32_t ALT_EVENT_K_SLOT_SIZE = 4096;
constexpr U32_t ALT_EVENT_K_SLOTS = 256;  // then the oldest is overwritten
constexpr U32_t ALT_EVENT_K_FORMAT_VERSION = 1;

enum ALT_EVENT_CALL : U16_t {
    ALT_EVENT_E_CALL_LOG = 1,    // altEventLog
    ALT_EVENT_E_CALL_LOG_M = 2,  // altEventLogM
};

constexpr char ALT_EVENT_K_FILE_NAME[] = "altevent.log";

// In front of each record of the file.
struct AltEventSlotHdr_t {
    char magic[4];        // "AEL1"
    Be16 formatVersion;   // ALT_EVENT_K_FORMAT_VERSION
    Be16 call;            // an ALT_EVENT_CALL
    Be32 argument;        // altEventLog's third argument, signed; 0 for altEventLogM
    Be32 recordCrc;       // CRC-32 (IEEE 802.3) of the record
    Be64 sequenceNumber;  // from 1, one more than the newest slot's
    Be64 time;            // seconds since 1970, UTC
};
WIRE_RECORD(AltEventSlotHdr_t, 32);
WIRE_OFFSET(AltEventSlotHdr_t, argument, 8);
WIRE_OFFSET(AltEventSlotHdr_t, sequenceNumber, 16);

struct AltEventSlot_t {
    AltEventSlotHdr_t header;
    U8_t record[ALT_EVENT_K_RECORD_SIZE];
};
WIRE_RECORD(AltEventSlot_t, ALT_EVENT_K_SLOT_SIZE);

// The number of a record's slot in the file follows from its sequence number, so that a slot that
// was torn is the next to be written.
constexpr U32_t altEventSlotIndex(U64_t sequenceNumber) {
    return static_cast<U32_t>((sequenceNumber - 1) % ALT_EVENT_K_SLOTS);
}

enum ALT_EVENT_SLOT_e {
    ALT_EVENT_E_SLOT_GOOD,
    ALT_EVENT_E_SLOT_EMPTY,    // never written: all zero
    ALT_EVENT_E_SLOT_FOREIGN,  // another magic or version, or a sequence number of another place
    ALT_EVENT_E_SLOT_TORN,     // the record is not the one the header was written for, or has none
};

// What slot `index` of the file holds. All but good slots count as free.
ALT_EVENT_SLOT_e altEventSlotCheck(const AltEventSlot_t& slot, U32_t index);

// Append `record` (ALT_EVENT_K_RECORD_SIZE bytes). altEventLogM says that more records of the event
// follow; altEventLog stores the last one and waits until the medium has them all. 0, or -1 when it
// could not be stored, which costs one line on standard error. errno is left alone. A null
// `mpuParams` has no directory.
int altEventLog(const void* record, const MPU_PARAMS_t* mpuParams, int argument);
int altEventLogM(const void* record, const MPU_PARAMS_t* mpuParams);

// Waits until the medium has what was stored: for a process that dies behind an altEventLogM.
void altEventFlush(const MPU_PARAMS_t* mpuParams);
