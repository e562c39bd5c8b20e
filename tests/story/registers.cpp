// SPDX-License-Identifier: Apache-2.0
#include "tests/story/registers.h"

#include <fmt/format.h>

bool RegisterChip::write(std::span<const std::uint8_t> bytes) {
    pointer_ = bytes[0];
    if (bytes.size() > 1) {
        const int inputs = inputs_[pointer_];
        const int value = (values_[pointer_] & inputs) | (bytes[1] & ~inputs);
        values_[pointer_] = static_cast<std::uint8_t>(value);
    }
    return true;
}

void RegisterChip::read(std::span<std::uint8_t> bytes) {
    std::deque<std::uint8_t>& next = next_[pointer_];
    bytes[0] = next.empty() ? values_[pointer_] : next.front();
    if (!next.empty()) {
        next.pop_front();
    }
}

RegisterChip& RegisterChassis::chip(std::uint8_t address) {
    const auto [chip, isNew] = chips_.try_emplace(address);
    if (isNew) {
        addDevice(fmt::format("0x{:02X}", address), address, chip->second);
    }
    return chip->second;
}
