// SPDX-License-Identifier: Apache-2.0
// Small helpers of the chip models: numbers from outside checked, register numbers found in banks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>

namespace enclab {

// `index` as an array index; std::out_of_range with the text unless it is below `count`.
inline std::size_t checkedIndex(const char* error, int index, int count) {
    if (index < 0 || index >= count) {
        throw std::out_of_range(error);
    }
    return static_cast<std::size_t>(index);
}

// Position of a register number in a bank of them, -1 when it is none of them.
inline int indexIn(std::span<const std::uint8_t> bank, std::uint8_t number) {
    for (std::size_t n = 0; n < bank.size(); ++n) {
        if (bank[n] == number) {
            return static_cast<int>(n);
        }
    }
    return -1;
}

template <typename... Banks>
bool inAnyOf(std::uint8_t number, const Banks&... banks) {
    return ((indexIn(banks, number) >= 0) || ...);
}

}  // namespace enclab
