// SPDX-License-Identifier: Apache-2.0
// Divides what a process waits by ENCLAB_SPEED: sleeps, and the time-outs of select, poll and
// sockets. Waits until an absolute time are left alone, and so are invalid ones, which the C
// library rejects. On 32-bit machines each call exists once more with 64-bit time.
#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "lab/encdev/next.h"

namespace encdev {
namespace {

constexpr std::int64_t kMaxSpeed = 1000000;
constexpr std::int64_t kNanoseconds = 1000000000;
constexpr std::int64_t kMicroseconds = 1000000;

std::int64_t readSpeed() {
    const char* text = std::getenv("ENCLAB_SPEED");
    const long long speed = text != nullptr ? std::strtoll(text, nullptr, 10) : 1;
    return speed >= 1 && speed <= kMaxSpeed ? speed : 1;
}

std::int64_t speed() {
    static std::int64_t value = 0;
    if (value == 0) {
        value = readSpeed();
    }
    return value;
}

std::int64_t divideUp(std::int64_t value) {
    return (value + speed() - 1) / speed();
}

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
    ? kNanoseconds : kMicroseconds;
}

template <class Time>
void set(Time& time, std::int64_t seconds, std::int64_t part) {
    time.tv_sec = static_cast<decltype(time.tv_sec)>(seconds);
    auto& field = fraction(time);
    field = static_cast<std::remove_reference_t<decltype(field)>>(part);
}

// Rounded up, so that a wait stays a wait.
template <class Time>
Time divided(Time time) {
    const std::int64_t unit = perSecond<Time>();
    if (time.tv_sec < 0 || fraction(time) < 0 || fraction(time) >= unit) {
        return time;
    }
    const std::int64_t rest = divideUp(time.tv_sec % speed() * unit + fraction(time));
    set(time, time.tv_sec / speed() + rest / unit, rest % unit);
    return time;
}

// What is left of a divided wait, in the caller's time.
template <class Time>
void multiply(Time& time) {
    const std::int64_t unit = perSecond<Time>();
    const std::int64_t part = fraction(time) * speed();
    set(time, time.tv_sec * speed() + part / unit, part % unit);
}

using SetsockoptCall = int(int, int, int, const void*, socklen_t);

template <class Call, class Time>
int sleepDivided(Next<Call>& call, const Time* wait, Time* left) {
    const Time shorter = divided(*wait);
    const int result = call(&shorter, left);
    if (result != 0 && errno == EINTR && left != nullptr) {
        multiply(*left);
    }
    return result;
}

template <class Call, class Time>
int sleepDivided(Next<Call>& call, clockid_t clock, int flags, const Time* wait, Time* left) {
    if ((flags & TIMER_ABSTIME) != 0) {
        return call(clock, flags, wait, left);
    }
    const Time shorter = divided(*wait);
    const int result = call(clock, flags, &shorter, left);
    if (result == EINTR && left != nullptr) {
        multiply(*left);
    }
    return result;
}

// Linux leaves in the time-out what was not waited, and programs rely on it.
template <class Call, class Time>
int selectDivided(Next<Call>& call, int count, fd_set* in, fd_set* out, fd_set* except,
                  Time* wait) {
    if (wait == nullptr) {
        return call(count, in, out, except, wait);
    }
    Time shorter = divided(*wait);
    const int result = call(count, in, out, except, &shorter);
    if (result >= 0 || errno == EINTR) {
        multiply(shorter);
        *wait = shorter;
    }
    return result;
}

template <class Call, class Time>
int pselectDivided(Next<Call>& call, int count, fd_set* in, fd_set* out, fd_set* except,
                   const Time* wait, const sigset_t* mask) {
    const Time shorter = wait != nullptr ? divided(*wait) : Time{};
    return call(count, in, out, except, wait != nullptr ? &shorter : nullptr, mask);
}

template <class Call, class Time>
int ppollDivided(Next<Call>& call, pollfd* fds, nfds_t count, const Time* wait,
                 const sigset_t* mask) {
    const Time shorter = wait != nullptr ? divided(*wait) : Time{};
    return call(fds, count, wait != nullptr ? &shorter : nullptr, mask);
}

// A socket's time-out for receiving or sending; other options pass unchanged.
template <class Time>
int setsockoptDivided(Next<SetsockoptCall>& call, int fd, int level, int option, const void* value,
                      socklen_t length) {
    const bool isWait =
        level == SOL_SOCKET && (option == SO_RCVTIMEO_OLD || option == SO_SNDTIMEO_OLD ||
                                option == SO_RCVTIMEO_NEW || option == SO_SNDTIMEO_NEW);
    if (!isWait || length != sizeof(Time)) {
        return call(fd, level, option, value, length);
    }
    Time wait;
    std::memcpy(&wait, value, sizeof wait);
    wait = divided(wait);
    return call(fd, level, option, &wait, length);
}

int milliseconds(int wait) {
    return wait > 0 ? static_cast<int>(divideUp(wait)) : wait;
}

template <class Time>
using SleepCall = int(const Time*, Time*);
template <class Time>
using ClockSleepCall = int(clockid_t, int, const Time*, Time*);
template <class Time>
using SelectCall = int(int, fd_set*, fd_set*, fd_set*, Time*);
template <class Time>
using PselectCall = int(int, fd_set*, fd_set*, fd_set*, const Time*, const sigset_t*);
template <class Time>
using PpollCall = int(pollfd*, nfds_t, const Time*, const sigset_t*);

constinit Next<SleepCall<timespec>> nextNanosleep("nanosleep");
constinit Next<ClockSleepCall<timespec>> nextClockNanosleep("clock_nanosleep");
constinit Next<SelectCall<timeval>> nextSelect("select");
constinit Next<PselectCall<timespec>> nextPselect("pselect");
constinit Next<PpollCall<timespec>> nextPpoll("ppoll");
constinit Next<int(pollfd*, nfds_t, int)> nextPoll("poll");
constinit Next<SetsockoptCall> nextSetsockopt("setsockopt");
#if __WORDSIZE == 32
constinit Next<SleepCall<Timespec64>> nextNanosleep64("__nanosleep64");
constinit Next<ClockSleepCall<Timespec64>> nextClockNanosleep64("__clock_nanosleep_time64");
constinit Next<SelectCall<Timeval64>> nextSelect64("__select64");
constinit Next<PselectCall<Timespec64>> nextPselect64("__pselect64");
constinit Next<PpollCall<Timespec64>> nextPpoll64("__ppoll64");
constinit Next<SetsockoptCall> nextSetsockopt64("__setsockopt64");
#endif

}  // namespace
}  // namespace encdev

using namespace encdev;

ENCDEV_CALL unsigned int sleep(unsigned int seconds) {
    const timespec wait{static_cast<time_t>(seconds), 0};
    timespec left{};
    const int result = sleepDivided(nextNanosleep, &wait, &left);
    return result == 0 ? 0 : static_cast<unsigned int>(left.tv_sec + (left.tv_nsec > 0));
}

ENCDEV_CALL int usleep(useconds_t microseconds) {
    const timespec wait{static_cast<time_t>(microseconds / kMicroseconds),
                        static_cast<long>(microseconds % kMicroseconds * 1000)};
    return sleepDivided(nextNanosleep, &wait, static_cast<timespec*>(nullptr));
}

ENCDEV_CALL int nanosleep(const timespec* wait, timespec* left) {
    return sleepDivided(nextNanosleep, wait, left);
}

ENCDEV_CALL int clock_nanosleep(clockid_t clock, int flags, const timespec* wait, timespec* left) {
    return sleepDivided(nextClockNanosleep, clock, flags, wait, left);
}

ENCDEV_CALL int select(int count, fd_set* in, fd_set* out, fd_set* except, timeval* wait) {
    return selectDivided(nextSelect, count, in, out, except, wait);
}

ENCDEV_CALL int pselect(int count, fd_set* in, fd_set* out, fd_set* except, const timespec* wait,
                        const sigset_t* mask) {
    return pselectDivided(nextPselect, count, in, out, except, wait, mask);
}

ENCDEV_CALL int poll(pollfd* fds, nfds_t count, int wait) {
    return nextPoll(fds, count, milliseconds(wait));
}

ENCDEV_CALL int ppoll(pollfd* fds, nfds_t count, const timespec* wait, const sigset_t* mask) {
    return ppollDivided(nextPpoll, fds, count, wait, mask);
}

ENCDEV_CALL int setsockopt(int fd, int level, int option, const void* value, socklen_t length) {
    return setsockoptDivided<timeval>(nextSetsockopt, fd, level, option, value, length);
}

// Fortified programs call these two, with the size of the array behind. The size is not checked.
ENCDEV_CALL int __poll_chk(pollfd* fds, nfds_t count, int wait, std::size_t) {
    return nextPoll(fds, count, milliseconds(wait));
}

ENCDEV_CALL int __ppoll_chk(pollfd* fds, nfds_t count, const timespec* wait, const sigset_t* mask,
                            std::size_t) {
    return ppollDivided(nextPpoll, fds, count, wait, mask);
}

#if __WORDSIZE == 32
ENCDEV_CALL int __nanosleep64(const Timespec64* wait, Timespec64* left) {
    return sleepDivided(nextNanosleep64, wait, left);
}

ENCDEV_CALL int __clock_nanosleep_time64(clockid_t clock, int flags, const Timespec64* wait,
                                         Timespec64* left) {
    return sleepDivided(nextClockNanosleep64, clock, flags, wait, left);
}

ENCDEV_CALL int __select64(int count, fd_set* in, fd_set* out, fd_set* except, Timeval64* wait) {
    return selectDivided(nextSelect64, count, in, out, except, wait);
}

ENCDEV_CALL int __pselect64(int count, fd_set* in, fd_set* out, fd_set* except,
                            const Timespec64* wait, const sigset_t* mask) {
    return pselectDivided(nextPselect64, count, in, out, except, wait, mask);
}

ENCDEV_CALL int __ppoll64(pollfd* fds, nfds_t count, const Timespec64* wait, const sigset_t* mask) {
    return ppollDivided(nextPpoll64, fds, count, wait, mask);
}

ENCDEV_CALL int __setsockopt64(int fd, int level, int option, const void* value, socklen_t length) {
    return setsockoptDivided<Timeval64>(nextSetsockopt64, fd, level, option, value, length);
}
#endif
