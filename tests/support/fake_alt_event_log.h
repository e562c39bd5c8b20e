// SPDX-License-Identifier: Apache-2.0
// Takes the place of the alternate event log: keeps every record it is handed.
#pragma once

#include <cstdint>
#include <vector>

struct AltRecord {
    bool logM;     // stored by altEventLogM
    int argument;  // altEventLog's third argument
    std::vector<std::uint8_t> bytes;
};

// Records since the last call.
std::vector<AltRecord> takeAltRecords();
