// SPDX-License-Identifier: Apache-2.0
// A file of one-byte registers behind a pointer.
#include "lab/chips/register_chip.h"

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

void RegisterChip::read(std::span<std::uint8_t> bytes) {
    for (std::uint8_t& byte : bytes) {
        byte = valueOf(pointer_);
        pointer_ = next(pointer_);
    }
}

}  // namespace enclab
