// SPDX-License-Identifier: Apache-2.0
// The preload library's end of the clock socket.
#include "lab/encdev/virtual_time.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "lab/encdev/bus_link.h"
#include "lab/encdev/clock_proto.h"

namespace encdev {
namespace {

constexpr int kHighDescriptor = 900;  // out of the way of the process's own numbers
constexpr int kExitLabGone = 125;

enum class State { kUnknown, kReal, kVirtual };
State state = State::kUnknown;
int clockFd = -1;
Nanoseconds now;
Nanoseconds wall;

void takeTime() {
    ClockTime time;
    if (receiveAll(clockFd, &time, sizeof time) != 0) {
        _exit(kExitLabGone);
    }
    now = static_cast<Nanoseconds>(std::uint64_t{time.now});
    wall = static_cast<Nanoseconds>(std::uint64_t{time.wall});
}

void connectClock(const char* socketPath) {
    const int fd = connectBus(socketPath, O_CLOEXEC);
    if (fd < 0) {
        _exit(kExitLabGone);
    }
    clockFd = fcntl(fd, F_DUPFD_CLOEXEC, kHighDescriptor);
    if (clockFd < 0) {
        clockFd = fd;
    } else {
        close(fd);
    }
    takeTime();
}

}  // namespace

bool timeIsVirtual() {
    if (state == State::kUnknown) {
        const int error = errno;
        const char* const socketPath = std::getenv("ENCLAB_CLOCK");
        state = socketPath != nullptr ? State::kVirtual : State::kReal;
        if (socketPath != nullptr) {
            connectClock(socketPath);
        }
        errno = error;
    }
    return state == State::kVirtual;
}

Nanoseconds virtualNow() {
    return now;
}

Nanoseconds virtualWall() {
    return wall;
}

void askClock(Nanoseconds until, bool ready) {
    const int error = errno;
    ClockWait wait{static_cast<std::uint64_t>(until), ready, {}};
    if (sendAll(clockFd, &wait, sizeof wait) != 0) {
        _exit(kExitLabGone);
    }
    takeTime();
    errno = error;
}

}  // namespace encdev
