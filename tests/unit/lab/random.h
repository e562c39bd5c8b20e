// SPDX-License-Identifier: Apache-2.0
// Numbers for laws: the same ones in every run of a test program.
#pragma once

#include <cstdint>
#include <random>

namespace enclab {

inline std::mt19937 numbers(1);

inline std::uint8_t byteOf(std::uint64_t value) {
    return static_cast<std::uint8_t>(value);
}
inline int below(int end) {
    return static_cast<int>(numbers() % static_cast<unsigned>(end));
}

}  // namespace enclab
