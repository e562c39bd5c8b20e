// SPDX-License-Identifier: Apache-2.0
#include "tests/support/fake_system_calls.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "basetypes.h"

SystemCalls systemCalls;

int select(int descriptors, fd_set* readable, fd_set* writable, fd_set* failed,
           struct timeval* timeout) {
    ++systemCalls.selects;
    systemCalls.selectDescriptors = descriptors;
    systemCalls.selectMicroseconds = timeout->tv_sec * 1000000 + timeout->tv_usec;
    if (systemCalls.onSelect) {
        systemCalls.onSelect();
    }
    if (systemCalls.selectError != 0) {
        errno = systemCalls.selectError;
        systemCalls.selectError = 0;
        return -1;
    }
    const auto left =
        std::max<std::int64_t>(systemCalls.selectMicroseconds - systemCalls.selectUses, 0);
    timeout->tv_sec = narrowTo<time_t>(left / 1000000);
    timeout->tv_usec = narrowTo<suseconds_t>(left % 1000000);
    const struct timespec now = {};
    return pselect(descriptors, readable, writable, failed, &now, nullptr);
}

int poll(struct pollfd* watched, nfds_t count, int) {
    ++systemCalls.polls;
    if (systemCalls.onPoll) {
        systemCalls.onPoll();
    }
    const struct timespec now = {};
    return ppoll(watched, count, &now, nullptr);
}

// The next scripted result. Sets errno, to a passing error where the call succeeds: a caller must
// not look at it then.
static int scripted(std::deque<int>* results) {
    const int result = results->empty() ? 0 : results->front();
    if (!results->empty()) {
        results->pop_front();
    }
    errno = result > 0 ? result : EAGAIN;
    return result;
}

ssize_t recv(int fd, void* buffer, size_t size, int flags) {
    ++systemCalls.receives;
    if (scripted(&systemCalls.receiveErrors) > 0) {
        return -1;
    }
    return recvfrom(fd, buffer, size, flags, nullptr, nullptr);
}

// What the optimizer makes of a receive whose size it does not know.
extern "C" ssize_t __recv_chk(int, void*, size_t, size_t, int);
ssize_t __recv_chk(int fd, void* buffer, size_t size, size_t, int flags) {
    return recv(fd, buffer, size, flags);
}

ssize_t send(int fd, const void* buffer, size_t size, int flags) {
    ++systemCalls.sends;
    systemCalls.sendFlags = flags;
    const int result = scripted(&systemCalls.sendErrors);
    if (result > 0) {
        return -1;
    }
    size = result < 0 ? static_cast<size_t>(-result) : size;
    return sendto(fd, buffer, size, flags, nullptr, 0);
}

int socket(int family, int type, int protocol) noexcept {
    if (systemCalls.nextSocket == 0) {
        return static_cast<int>(syscall(SYS_socket, family, type, protocol));
    }
    const int given = systemCalls.nextSocket;
    systemCalls.nextSocket = 0;
    errno = EMFILE;
    return given;
}

int connect(int fd, const struct sockaddr* address, socklen_t length) {
    ++systemCalls.connects;
    if (systemCalls.onConnect) {
        systemCalls.onConnect(fd);
    }
    if (scripted(&systemCalls.connectErrors) > 0) {
        return -1;
    }
    return static_cast<int>(syscall(SYS_connect, fd, address, length));
}

int open(const char* path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const auto mode = (flags & O_CREAT) != 0 ? va_arg(values, mode_t) : mode_t{};
    va_end(values);
    if (std::strcmp(path, "/dev/enc-0") != 0) {
        return openat(AT_FDCWD, path, flags, mode);
    }
    return openat(AT_FDCWD, systemCalls.enclosureDevice.c_str(), flags);
}

unsigned sleep(unsigned seconds) {
    systemCalls.sleptSec += seconds;
    if (systemCalls.onSleep) {
        systemCalls.onSleep();
    }
    return 0;
}
