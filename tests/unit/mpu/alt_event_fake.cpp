// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/mpu/alt_event_fake.h"

#include <cstdio>

#include "alt_event_log.h"

static std::size_t shownOffset;
static std::size_t shownCount;

void altEventFakeShow(std::size_t offset, std::size_t count) {
    shownOffset = offset;
    shownCount = count;
}

int altEventLogM(const void* record, const MPU_PARAMS_t* mpuParams) {
    const auto* const bytes = static_cast<const U8_t*>(record);
    std::fprintf(stderr, "params=%s record=", mpuParams == nullptr ? "none" : "given");
    for (std::size_t i = shownOffset; i < shownOffset + shownCount; i++) {
        std::fprintf(stderr, "%02X", bytes[i]);
    }
    std::size_t sum = 0;
    for (std::size_t i = 0; i < ALT_EVENT_K_RECORD_SIZE; i++) {
        sum += bytes[i] != 0;
    }
    std::fprintf(stderr, " set=%zu\n", sum);
    return 0;
}
