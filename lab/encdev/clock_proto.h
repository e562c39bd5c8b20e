// SPDX-License-Identifier: Apache-2.0
// Frames between the preload library and the clock server, big-endian. A process that connects is
// told the time. From then on its time stands still but in its waits: for each it sends a
// ClockWait, and gets a ClockTime when the wait is over or when it had better look whether it is.
#pragma once

#include "wire.h"

// Times are nanoseconds since the lab began.
struct ClockWait {
    Be64 until;          // kClockForever: no limit
    std::uint8_t ready;  // 1: what is waited for is there already; time need not pass
    std::uint8_t reserved[7];
};
static_assert(sizeof(ClockWait) == 16 && alignof(ClockWait) == 1);

struct ClockTime {
    Be64 now;
    Be64 wall;  // nanoseconds since 1970, as the process's wall clock is to show
};
static_assert(sizeof(ClockTime) == 16 && alignof(ClockTime) == 1);

inline constexpr std::int64_t kClockForever = 0x7FFF'FFFF'FFFF'FFFF;
