// SPDX-License-Identifier: Apache-2.0
// Takes the place of the alternate event log: keeps every record it is handed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct AltRecord {
    bool logM;     // stored by altEventLogM
    int argument;  // altEventLog's third argument
    std::vector<std::uint8_t> bytes;
};

// Records since the last call.
std::vector<AltRecord> takeAltRecords();

// The same, as critical faults: "main(): Linux select function fails", the text cut to 64 bytes.
std::vector<std::string> takeFaults();
