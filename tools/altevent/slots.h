// SPDX-License-Identifier: Apache-2.0
// The slots of an alternate event log file.
#pragma once

#include <string>
#include <vector>

#include "alt_event_log.h"

namespace altevent {

struct Record {
    U32_t index;  // of the slot
    AltEventSlot_t slot;
};

struct DamagedSlot {
    U32_t index;
    bool foreign;  // never was a slot of this log; else torn
};

struct Log {
    std::vector<Record> records;  // oldest first
    std::vector<DamagedSlot> damaged;
};

// Throws std::runtime_error, its text one line, when the file cannot be read or is no such log.
Log readLog(const std::string& path);

}  // namespace altevent
