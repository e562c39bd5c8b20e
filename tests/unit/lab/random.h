// SPDX-License-Identifier: Apache-2.0
// Numbers for laws: the same ones in every run of a test program.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace enclab {

inline std::mt19937 numbers(1);

inline std::uint8_t byteOf(std::uint64_t value) {
    return static_cast<std::uint8_t>(value);
}
inline int below(int end) {
    return static_cast<int>(numbers() % static_cast<unsigned>(end));
}
inline double between(double least, double most) {
    return least + (most - least) * below(10001) / 1e4;
}
inline std::vector<std::uint8_t> someBytes(std::size_t most) {
    std::vector<std::uint8_t> some(numbers() % (most + 1));
    std::ranges::generate(some, [] { return byteOf(numbers()); });
    return some;
}

}  // namespace enclab
