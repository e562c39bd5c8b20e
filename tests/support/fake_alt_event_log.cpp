// SPDX-License-Identifier: Apache-2.0
#include "tests/support/fake_alt_event_log.h"

#include <cstring>

#include "alt_event_log.h"

static std::vector<AltRecord> records;

static void keep(bool logM, int argument, const void* record) {
    const auto* bytes = static_cast<const std::uint8_t*>(record);
    records.push_back({logM, argument, {bytes, bytes + ALT_EVENT_K_RECORD_SIZE}});
}

std::vector<AltRecord> takeAltRecords() {
    std::vector<AltRecord> taken;
    taken.swap(records);
    return taken;
}

// A zero-padded text field of 64 bytes.
static std::string textAt(const AltRecord& record, std::size_t offset) {
    const auto* text = reinterpret_cast<const char*>(record.bytes.data() + offset);
    return {text, strnlen(text, 64)};
}

std::vector<std::string> takeFaults() {
    std::vector<std::string> faults;
    for (const AltRecord& record : takeAltRecords()) {
        if (record.bytes[151] == 1) {
            faults.push_back(textAt(record, 216) + ": " + textAt(record, 284));
        }
    }
    return faults;
}

int altEventLog(const void* record, const MPU_PARAMS_t*, int argument) {
    keep(false, argument, record);
    return 0;
}

int altEventLogM(const void* record, const MPU_PARAMS_t*) {
    keep(true, 0, record);
    return 0;
}

void altEventFlush(const MPU_PARAMS_t*) {}
