// SPDX-License-Identifier: Apache-2.0
// The C library's time records, the 64-bit ones of 32-bit processes included, under one set of
// names.
#pragma once

#include <sys/time.h>
#include <time.h>

#include <cstdint>
#include <type_traits>

#include "lab/encdev/virtual_time.h"

namespace encdev {

#if __WORDSIZE == 32
// As the kernel lays them out for 32-bit processes.
struct Timespec64 {
    std::int64_t tv_sec;
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    std::int32_t padding;
    std::int32_t tv_nsec;
#else
    std::int32_t tv_nsec;
    std::int32_t padding;
#endif
};
struct Timeval64 {
    std::int64_t tv_sec;
    std::int64_t tv_usec;
};
static_assert(sizeof(Timespec64) == 16 && sizeof(Timeval64) == 16);
#endif

// The part below a second, and how many make one.
template <class Time>
requires requires(Time time) {
    time.tv_nsec;
}
auto& fraction(Time& time) {
    return time.tv_nsec;
}
template <class Time>
requires requires(Time time) {
    time.tv_usec;
}
auto& fraction(Time& time) {
    return time.tv_usec;
}
template <class Time>
constexpr std::int64_t perSecond() {
    return requires(Time time) {
        time.tv_nsec;
    }
    ? kSecond : kSecond / 1000;
}

template <class Time>
void set(Time& time, std::int64_t seconds, std::int64_t part) {
    time.tv_sec = static_cast<decltype(time.tv_sec)>(seconds);
    auto& field = fraction(time);
    field = static_cast<std::remove_reference_t<decltype(field)>>(part);
}

template <class Time>
void set(Time& time, Nanoseconds value) {
    set(time, value / kSecond, value % kSecond / (kSecond / perSecond<Time>()));
}

template <class Time>
bool valid(const Time& time) {
    return time.tv_sec >= 0 && fraction(time) >= 0 && fraction(time) < perSecond<Time>();
}

// Of a valid time; what does not fit is for ever.
template <class Time>
Nanoseconds nanoseconds(const Time& time) {
    constexpr Nanoseconds kMostSeconds = INT64_MAX / kSecond / 4;
    const std::int64_t seconds = time.tv_sec < kMostSeconds ? time.tv_sec : kMostSeconds;
    return seconds * kSecond + fraction(time) * (kSecond / perSecond<Time>());
}

}  // namespace encdev
