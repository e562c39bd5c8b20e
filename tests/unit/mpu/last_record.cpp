// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/mpu/last_record.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "alt_event_log.h"

static char recordPath[] = "/tmp/esa-record-XXXXXX";

int altEventLogM(const void* record, const MPU_PARAMS_t* mpuParams) {
    std::FILE* const file = std::fopen(recordPath, "w");
    std::fwrite(record, 1, ALT_EVENT_K_RECORD_SIZE, file);
    std::fclose(file);
    std::fprintf(stderr, "stored with %s\n", mpuParams == nullptr ? "no area" : "an area");
    return 0;
}

LastRecord::LastRecord() {
    std::snprintf(recordPath, sizeof recordPath, "/tmp/esa-record-XXXXXX");
    close(mkstemp(recordPath));
}

LastRecord::~LastRecord() {
    unlink(recordPath);
}

std::vector<std::uint8_t> LastRecord::all() const {
    std::vector<std::uint8_t> bytes(ALT_EVENT_K_RECORD_SIZE);
    std::FILE* const file = std::fopen(recordPath, "r");
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
    return bytes;
}

std::string LastRecord::hex(std::size_t offset, std::size_t count) const {
    const std::vector<std::uint8_t> bytes = all();
    std::string digits;
    for (std::size_t i = offset; i < offset + count; i++) {
        char two[3];
        std::snprintf(two, sizeof two, "%02X", bytes.at(i));
        digits += two;
    }
    return digits;
}

std::string LastRecord::text(std::size_t offset, std::size_t count) const {
    const std::vector<std::uint8_t> bytes = all();
    return std::string(reinterpret_cast<const char*>(bytes.data()) + offset, count);
}

bool LastRecord::zero(std::size_t offset, std::size_t end) const {
    const std::vector<std::uint8_t> bytes = all();
    const auto at = [&bytes](std::size_t i) { return bytes.begin() + static_cast<long>(i); };
    return bytes.size() >= end &&
           std::all_of(at(offset), at(end), [](std::uint8_t byte) { return byte == 0; });
}
