// SPDX-License-Identifier: Apache-2.0
// One-register accesses to a chip model, as a bus master makes them.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "lab/chips/chip.h"

namespace enclab {

using Bytes = std::vector<std::uint8_t>;

inline Bytes readBytes(Chip& chip, std::uint8_t number, std::size_t count) {
    Bytes bytes(count);
    EXPECT_TRUE(chip.write(Bytes{number}));
    chip.read(bytes);
    return bytes;
}

inline int readAt(Chip& chip, int number) {
    return readBytes(chip, static_cast<std::uint8_t>(number), 1)[0];
}

inline void writeAt(Chip& chip, int number, int value) {
    EXPECT_TRUE(
        chip.write(Bytes{static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(value)}));
}

}  // namespace enclab
