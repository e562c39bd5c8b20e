// SPDX-License-Identifier: Apache-2.0
// The waits of a process: sleeps, select, poll, and sends to a socket with a time-out. Where the
// lab holds the time they wait for the lab; else what they wait is divided by ENCLAB_SPEED, but for
// waits until an absolute time. Invalid times are the C library's, which rejects them. On 32-bit
// machines each call exists once more with 64-bit time.
#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "lab/encdev/clock_proto.h"
#include "lab/encdev/entries.h"
#include "lab/encdev/next.h"
#include "lab/encdev/virtual_time.h"
#include "lab/encdev/wide_time.h"

namespace encdev {
namespace {

constexpr std::int64_t kMaxSpeed = 1000000;
constexpr int kMaxDescriptor = 1024;

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
using SetsockoptCall = int(int, int, int, const void*, socklen_t);

constinit Next<SleepCall<timespec>> nextNanosleep("nanosleep");
constinit Next<ClockSleepCall<timespec>> nextClockNanosleep("clock_nanosleep");
constinit Next<SelectCall<timeval>> nextSelect("select");
constinit Next<PselectCall<timespec>> nextPselect("pselect");
constinit Next<PpollCall<timespec>> nextPpoll("ppoll");
constinit Next<int(pollfd*, nfds_t, int)> nextPoll("poll");
constinit Next<SetsockoptCall> nextSetsockopt("setsockopt");
constinit Next<ssize_t(int, const void*, std::size_t, int)> nextSend("send");
#if __WORDSIZE == 32
constinit Next<SleepCall<Timespec64>> nextNanosleep64("__nanosleep64");
constinit Next<ClockSleepCall<Timespec64>> nextClockNanosleep64("__clock_nanosleep_time64");
constinit Next<SelectCall<Timeval64>> nextSelect64("__select64");
constinit Next<PselectCall<Timespec64>> nextPselect64("__pselect64");
constinit Next<PpollCall<Timespec64>> nextPpoll64("__ppoll64");
constinit Next<SetsockoptCall> nextSetsockopt64("__setsockopt64");
#endif

// ---- under a speed ----

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

// Rounded up, so that a wait stays a wait.
template <class Time>
Time divided(Time time) {
    const std::int64_t unit = perSecond<Time>();
    if (!valid(time)) {
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

// ---- under the lab's time ----

// When a wait of this length ends; without one, never.
template <class Time>
Nanoseconds deadline(const Time* wait) {
    const Nanoseconds most = kClockForever - virtualNow();
    return wait != nullptr && nanoseconds(*wait) < most ? virtualNow() + nanoseconds(*wait)
                                                        : kClockForever;
}

void sleepVirtually(Nanoseconds until) {
    waitVirtually(until, [] { return 0; });
}

// The sets of a select, which every look at them overwrites.
class WatchedSets {
  public:
    WatchedSets(fd_set* in, fd_set* out, fd_set* except) : sets_{in, out, except} {
        for (int n = 0; n < 3; ++n) {
            if (sets_[n] != nullptr) {
                wanted_[n] = *sets_[n];
            }
        }
    }

    int look(int count) {
        for (int n = 0; n < 3; ++n) {
            if (sets_[n] != nullptr) {
                *sets_[n] = wanted_[n];
            }
        }
        const timespec none{};
        return nextPselect(count, sets_[0], sets_[1], sets_[2], &none, nullptr);
    }

  private:
    fd_set* sets_[3];
    fd_set wanted_[3] = {};
};

int selectVirtually(int count, fd_set* in, fd_set* out, fd_set* except, Nanoseconds until) {
    WatchedSets sets(in, out, except);
    return waitVirtually(until, [&] { return sets.look(count); });
}

int pollVirtually(pollfd* fds, nfds_t count, Nanoseconds until) {
    return waitVirtually(until, [&] { return nextPoll(fds, count, 0); });
}

// ---- either way ----

template <class Call, class Time>
int sleepFor(Next<Call>& call, const Time* wait, Time* left) {
    if (timeIsVirtual() && valid(*wait)) {
        sleepVirtually(deadline(wait));
        return 0;
    }
    const Time shorter = divided(*wait);
    const int result = call(&shorter, left);
    if (result != 0 && errno == EINTR && left != nullptr) {
        multiply(*left);
    }
    return result;
}

template <class Call, class Time>
int clockSleep(Next<Call>& call, clockid_t clock, int flags, const Time* wait, Time* left) {
    const bool absolute = (flags & TIMER_ABSTIME) != 0;
    if (timeIsVirtual() && valid(*wait)) {
        const Nanoseconds passed = clock == CLOCK_REALTIME ? virtualWall() : virtualNow();
        sleepVirtually(absolute ? virtualNow() + nanoseconds(*wait) - passed : deadline(wait));
        return 0;
    }
    if (absolute) {
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
int selectFor(Next<Call>& call, int count, fd_set* in, fd_set* out, fd_set* except, Time* wait) {
    if (timeIsVirtual() && (wait == nullptr || valid(*wait))) {
        const Nanoseconds until = deadline(wait);
        const int result = selectVirtually(count, in, out, except, until);
        if (wait != nullptr && result >= 0) {
            set(*wait, until > virtualNow() ? until - virtualNow() : 0);
        }
        return result;
    }
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
int pselectFor(Next<Call>& call, int count, fd_set* in, fd_set* out, fd_set* except,
               const Time* wait, const sigset_t* mask) {
    if (timeIsVirtual() && (wait == nullptr || valid(*wait))) {
        return selectVirtually(count, in, out, except, deadline(wait));
    }
    const Time shorter = wait != nullptr ? divided(*wait) : Time{};
    return call(count, in, out, except, wait != nullptr ? &shorter : nullptr, mask);
}

template <class Call, class Time>
int ppollFor(Next<Call>& call, pollfd* fds, nfds_t count, const Time* wait, const sigset_t* mask) {
    if (timeIsVirtual() && (wait == nullptr || valid(*wait))) {
        return pollVirtually(fds, count, deadline(wait));
    }
    const Time shorter = wait != nullptr ? divided(*wait) : Time{};
    return call(fds, count, wait != nullptr ? &shorter : nullptr, mask);
}

int pollFor(pollfd* fds, nfds_t count, int wait) {
    if (timeIsVirtual()) {
        const timespec length{wait / 1000, wait % 1000 * 1000000};
        return pollVirtually(fds, count, deadline(wait >= 0 ? &length : nullptr));
    }
    return nextPoll(fds, count, wait > 0 ? static_cast<int>(divideUp(wait)) : wait);
}

// Time-outs for sending of the process's sockets; 0: none.
Nanoseconds sendTimeouts[kMaxDescriptor];

// Under the lab's time a socket's time-out for sending is kept here: the kernel would count real
// seconds.
bool keepsTimeout(int fd, Nanoseconds timeout) {
    if (!timeIsVirtual() || fd < 0 || fd >= kMaxDescriptor) {
        return false;
    }
    sendTimeouts[fd] = timeout;
    return true;
}

// A socket's time-out for receiving or sending; other options pass unchanged.
template <class Time>
int setTimeout(Next<SetsockoptCall>& call, int fd, int level, int option, const void* value,
               socklen_t length) {
    const bool sends = option == SO_SNDTIMEO_OLD || option == SO_SNDTIMEO_NEW;
    const bool isWait =
        level == SOL_SOCKET && (sends || option == SO_RCVTIMEO_OLD || option == SO_RCVTIMEO_NEW);
    if (!isWait || length != sizeof(Time)) {
        return call(fd, level, option, value, length);
    }
    Time wait;
    std::memcpy(&wait, value, sizeof wait);
    if (sends && valid(wait) && keepsTimeout(fd, nanoseconds(wait))) {
        return 0;
    }
    wait = divided(wait);
    return call(fd, level, option, &wait, length);
}

// Tries again and again; what has gone out when the time is over counts.
ssize_t sendUntil(Nanoseconds until, int fd, const char* bytes, std::size_t length, int flags) {
    std::size_t sent = 0;
    ssize_t result = 0;
    waitVirtually(until, [&] {
        result = nextSend(fd, bytes + sent, length - sent, flags | MSG_DONTWAIT);
        sent += result > 0 ? static_cast<std::size_t>(result) : 0;
        const bool full = result < 0 && errno == EAGAIN;
        return sent == length || (result < 0 && !full) ? 1 : 0;
    });
    return sent > 0 ? static_cast<ssize_t>(sent) : result;
}

}  // namespace
}  // namespace encdev

using namespace encdev;

ENCDEV_CALL unsigned int sleep(unsigned int seconds) {
    const timespec wait{static_cast<time_t>(seconds), 0};
    timespec left{};
    const int result = sleepFor(nextNanosleep, &wait, &left);
    return result == 0 ? 0 : static_cast<unsigned int>(left.tv_sec + (left.tv_nsec > 0));
}

ENCDEV_CALL int usleep(useconds_t microseconds) {
    const timespec wait{static_cast<time_t>(microseconds / 1000000),
                        static_cast<long>(microseconds % 1000000 * 1000)};
    return sleepFor(nextNanosleep, &wait, static_cast<timespec*>(nullptr));
}

ENCDEV_CALL int nanosleep(const timespec* wait, timespec* left) {
    return sleepFor(nextNanosleep, wait, left);
}

ENCDEV_CALL int clock_nanosleep(clockid_t clock, int flags, const timespec* wait, timespec* left) {
    return clockSleep(nextClockNanosleep, clock, flags, wait, left);
}

ENCDEV_CALL int select(int count, fd_set* in, fd_set* out, fd_set* except, timeval* wait) {
    return selectFor(nextSelect, count, in, out, except, wait);
}

ENCDEV_CALL int pselect(int count, fd_set* in, fd_set* out, fd_set* except, const timespec* wait,
                        const sigset_t* mask) {
    return pselectFor(nextPselect, count, in, out, except, wait, mask);
}

ENCDEV_CALL int poll(pollfd* fds, nfds_t count, int wait) {
    return pollFor(fds, count, wait);
}

ENCDEV_CALL int ppoll(pollfd* fds, nfds_t count, const timespec* wait, const sigset_t* mask) {
    return ppollFor(nextPpoll, fds, count, wait, mask);
}

ENCDEV_CALL int setsockopt(int fd, int level, int option, const void* value, socklen_t length) {
    return setTimeout<timeval>(nextSetsockopt, fd, level, option, value, length);
}

ENCDEV_CALL ssize_t send(int fd, const void* bytes, std::size_t length, int flags) {
    const Nanoseconds timeout = fd >= 0 && fd < kMaxDescriptor ? sendTimeouts[fd] : 0;
    if (timeout == 0 || (flags & MSG_DONTWAIT) != 0) {
        return nextSend(fd, bytes, length, flags);
    }
    return sendUntil(virtualNow() + timeout, fd, static_cast<const char*>(bytes), length, flags);
}

// Fortified programs call these two, with the size of the array behind. The size is not checked.
ENCDEV_CALL int __poll_chk(pollfd* fds, nfds_t count, int wait, std::size_t) {
    return pollFor(fds, count, wait);
}

ENCDEV_CALL int __ppoll_chk(pollfd* fds, nfds_t count, const timespec* wait, const sigset_t* mask,
                            std::size_t) {
    return ppollFor(nextPpoll, fds, count, wait, mask);
}

#if __WORDSIZE == 32
ENCDEV_CALL int __nanosleep64(const Timespec64* wait, Timespec64* left) {
    return sleepFor(nextNanosleep64, wait, left);
}

ENCDEV_CALL int __clock_nanosleep_time64(clockid_t clock, int flags, const Timespec64* wait,
                                         Timespec64* left) {
    return clockSleep(nextClockNanosleep64, clock, flags, wait, left);
}

ENCDEV_CALL int __select64(int count, fd_set* in, fd_set* out, fd_set* except, Timeval64* wait) {
    return selectFor(nextSelect64, count, in, out, except, wait);
}

ENCDEV_CALL int __pselect64(int count, fd_set* in, fd_set* out, fd_set* except,
                            const Timespec64* wait, const sigset_t* mask) {
    return pselectFor(nextPselect64, count, in, out, except, wait, mask);
}

ENCDEV_CALL int __ppoll64(pollfd* fds, nfds_t count, const Timespec64* wait, const sigset_t* mask) {
    return ppollFor(nextPpoll64, fds, count, wait, mask);
}

ENCDEV_CALL int __setsockopt64(int fd, int level, int option, const void* value, socklen_t length) {
    return setTimeout<Timeval64>(nextSetsockopt64, fd, level, option, value, length);
}
#endif
