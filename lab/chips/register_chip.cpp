// SPDX-License-Identifier: Apache-2.0
// A file of one-byte registers behind a pointer.
#include "lab/chips/register_chip.h"

#include <algorithm>

namespace enclab {

bool RegisterChip::write(std::span<const std::uint8_t> bytes) {
    if (bytes.empty()) {
        return true;
    }
    pointer_ = bytes[0];
    for (const std::uint8_t value : bytes.subspan(1)) {
        if (writable(pointer_)) {
            registers_[pointer_] = value;
        }
        pointer_ = next(pointer_);
    }
    if (bytes.size() > 1 && written_) {
        written_();
    }
    return true;
}

std::uint8_t RegisterChip::shown(std::uint8_t number) const {
    return held_[number].value_or(valueOf(number));
}

void RegisterChip::read(std::span<std::uint8_t> bytes) {
    for (std::uint8_t& byte : bytes) {
        byte = shown(pointer_);
        pointer_ = next(pointer_);
    }
}

// From the last register down: whether a pin is shown inverted stands behind the pin.
void RegisterChip::load(const RegisterDump& dump) {
    for (std::size_t n = dump.size(); n-- > 0;) {
        if (!dump[n]) {
            continue;
        }
        const std::uint8_t number = static_cast<std::uint8_t>(n);
        registers_[n] = *dump[n];
        if (!loadPins(number, *dump[n]) && !writable(number)) {
            held_[n] = dump[n];
        }
    }
    if (written_) {
        written_();
    }
}

std::ptrdiff_t RegisterChip::held() const {
    return std::ranges::count_if(held_, [](auto& value) { return !!value; });
}

void RegisterChip::sense(std::uint8_t number, std::uint8_t value) {
    registers_[number] = value;
    sense(number);
}

void RegisterChip::sense(std::uint8_t number) {
    if (byHand()) {
        held_[number].reset();
    }
}

std::vector<std::uint8_t> RegisterChip::registers() const {
    std::vector<std::uint8_t> values;
    for (std::size_t number = 0; number < registers_.size(); ++number) {
        values.push_back(shown(static_cast<std::uint8_t>(number)));
    }
    return values;
}

}  // namespace enclab
