// SPDX-License-Identifier: Apache-2.0
#include "tools/altevent/slots.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace altevent {

// Content of the file, as far as a log reaches.
static std::string readFile(const std::string& path) {
    if (std::error_code error;
        std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error)) {
        throw std::runtime_error(path + ": not a plain file");
    }
    std::ifstream file(path, std::ios::binary);
    std::string bytes(std::size_t{ALT_EVENT_K_SLOTS} * ALT_EVENT_K_SLOT_SIZE, '\0');
    if (!file ||
        !(file.read(bytes.data(), static_cast<std::streamsize>(bytes.size())) || file.eof())) {
        throw std::runtime_error(path + ": " + std::strerror(errno));
    }
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

static void takeSlot(Log& log, U32_t index, const AltEventSlot_t& slot) {
    switch (altEventSlotCheck(slot, index)) {
        case ALT_EVENT_E_SLOT_GOOD:
            log.records.push_back({index, slot});
            break;
        case ALT_EVENT_E_SLOT_TORN:
            log.damaged.push_back({index, false});
            break;
        case ALT_EVENT_E_SLOT_FOREIGN:
            log.damaged.push_back({index, true});
            break;
        case ALT_EVENT_E_SLOT_EMPTY:
            break;
    }
}

static bool isForeign(const Log& log) {
    return log.records.empty() && !log.damaged.empty() &&
           std::ranges::all_of(log.damaged, [](const auto& slot) { return slot.foreign; });
}

Log readLog(const std::string& path) {
    const std::string bytes = readFile(path);
    Log log;
    for (U32_t index = 0; index * sizeof(AltEventSlot_t) < bytes.size(); ++index) {
        AltEventSlot_t slot = {};  // what the file lacks at its end reads as zeros
        bytes.copy(reinterpret_cast<char*>(&slot), sizeof slot, index * sizeof slot);
        takeSlot(log, index, slot);
    }
    if (isForeign(log)) {
        throw std::runtime_error(path + ": not an alternate event log");
    }
    std::ranges::sort(log.records, {}, [](const Record& record) {
        return U64_t{record.slot.header.sequenceNumber};
    });
    return log;
}

}  // namespace altevent
