// SPDX-License-Identifier: Apache-2.0
// What the benchmark's bus and its driver share: a file both have mapped.
#pragma once

#include <cstdint>

struct BenchBus {
    static constexpr std::int16_t NO_DEVICE = -1;  // in registers: not acknowledged
    std::int16_t registers[128][256];              // by address and number
    std::uint32_t allocations;                     // calls of the allocation functions so far
};
