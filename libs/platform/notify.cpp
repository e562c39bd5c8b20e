// SPDX-License-Identifier: Apache-2.0
#include "notify.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "basetypes.h"

namespace {

constexpr std::size_t STATUS_SIZE = 128;
constexpr long long FEEDS = 4;  // in each time of the watchdog

struct {
    int socket = -1;
    sockaddr_un address;
    socklen_t addressLength;
    long long feedUs;  // between two; 0: no watchdog
    long long fedUs;
} manager;

long long nowUs() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000LL + now.tv_nsec / 1000;
}

// An abstract name is written with '@' in front. False when it does not fit.
bool addressFill(const char* name) {
    const std::size_t length = std::strlen(name);
    if (length == 0 || length >= sizeof manager.address.sun_path) {
        return false;
    }
    manager.address = {};
    manager.address.sun_family = AF_UNIX;
    std::memcpy(manager.address.sun_path, name, length);
    if (name[0] == '@') {
        manager.address.sun_path[0] = '\0';
    }
    manager.addressLength = narrowTo<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
    return true;
}

void tell(const char* text) {
    sendto(manager.socket, text, std::strlen(text), MSG_DONTWAIT | MSG_NOSIGNAL,
           reinterpret_cast<const sockaddr*>(&manager.address), manager.addressLength);
}

}  // namespace

void notifyOpen() {
    const char* const name = std::getenv("NOTIFY_SOCKET");
    if (name == nullptr || !addressFill(name)) {
        return;
    }
    manager.socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const char* const watchdog = std::getenv("WATCHDOG_USEC");
    manager.feedUs = watchdog != nullptr ? std::max(std::atoll(watchdog), 0LL) / FEEDS : 0;
}

bool notifyIsOn() {
    return manager.socket >= 0;
}

void notifyReady() {
    if (notifyIsOn()) {
        tell("READY=1");
    }
}

void notifyStatus(const char* text) {
    if (notifyIsOn()) {
        char line[STATUS_SIZE];
        std::snprintf(line, sizeof line, "STATUS=%s", text);
        tell(line);
    }
}

void notifyAlive() {
    if (!notifyIsOn() || manager.feedUs == 0) {
        return;
    }
    const long long now = nowUs();
    if (now - manager.fedUs >= manager.feedUs) {
        manager.fedUs = now;
        tell("WATCHDOG=1");
    }
}
