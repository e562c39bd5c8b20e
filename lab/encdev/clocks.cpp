// SPDX-License-Identifier: Apache-2.0
// The clocks of a process whose time the lab holds. Clocks of processor time are left alone.
#include <sys/time.h>
#include <time.h>

#include "lab/encdev/entries.h"
#include "lab/encdev/next.h"
#include "lab/encdev/virtual_time.h"
#include "lab/encdev/wide_time.h"

namespace encdev {
namespace {

template <class Time>
using ClockCall = int(clockid_t, Time*);
template <class Time>
using DayCall = int(Time*, void*);
template <class Seconds>
using SecondsCall = Seconds(Seconds*);

constinit Next<ClockCall<timespec>> nextClock("clock_gettime");
constinit Next<DayCall<timeval>> nextDay("gettimeofday");
constinit Next<SecondsCall<time_t>> nextTime("time");
#if __WORDSIZE == 32
constinit Next<ClockCall<Timespec64>> nextClock64("__clock_gettime64");
constinit Next<DayCall<Timeval64>> nextDay64("__gettimeofday64");
constinit Next<SecondsCall<std::int64_t>> nextTime64("__time64");
#endif

bool isWallClock(clockid_t clock) {
    return clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE || clock == CLOCK_TAI;
}

bool isSteadyClock(clockid_t clock) {
    return clock == CLOCK_MONOTONIC || clock == CLOCK_MONOTONIC_COARSE ||
           clock == CLOCK_MONOTONIC_RAW || clock == CLOCK_BOOTTIME;
}

template <class Call, class Time>
int readClock(Next<Call>& call, clockid_t clock, Time* time) {
    if ((!isWallClock(clock) && !isSteadyClock(clock)) || !timeIsVirtual()) {
        return call(clock, time);
    }
    set(*time, isWallClock(clock) ? virtualWall() : virtualNow());
    return 0;
}

template <class Call, class Time>
int readDay(Next<Call>& call, Time* time, void* zone) {
    if (time == nullptr || !timeIsVirtual()) {
        return call(time, zone);
    }
    set(*time, virtualWall());
    return 0;
}

template <class Call, class Seconds>
Seconds readSeconds(Next<Call>& call, Seconds* result) {
    if (!timeIsVirtual()) {
        return call(result);
    }
    const auto seconds = static_cast<Seconds>(virtualWall() / kSecond);
    if (result != nullptr) {
        *result = seconds;
    }
    return seconds;
}

}  // namespace
}  // namespace encdev

using namespace encdev;

ENCDEV_CALL int clock_gettime(clockid_t clock, timespec* time) noexcept {
    return readClock(nextClock, clock, time);
}

ENCDEV_CALL int gettimeofday(timeval* time, void* zone) noexcept {
    return readDay(nextDay, time, zone);
}

ENCDEV_CALL time_t time(time_t* result) noexcept {
    return readSeconds(nextTime, result);
}

#if __WORDSIZE == 32
ENCDEV_CALL int __clock_gettime64(clockid_t clock, Timespec64* time) noexcept {
    return readClock(nextClock64, clock, time);
}

ENCDEV_CALL int __gettimeofday64(Timeval64* time, void* zone) noexcept {
    return readDay(nextDay64, time, zone);
}

ENCDEV_CALL std::int64_t __time64(std::int64_t* result) noexcept {
    return readSeconds(nextTime64, result);
}
#endif
