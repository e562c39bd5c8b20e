// SPDX-License-Identifier: Apache-2.0
#include "tests/support/fake_alt_event_log.h"

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

int altEventLog(const void* record, const MPU_PARAMS_t*, int argument) {
    keep(false, argument, record);
    return 0;
}

int altEventLogM(const void* record, const MPU_PARAMS_t*) {
    keep(true, 0, record);
    return 0;
}
