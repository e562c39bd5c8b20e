// SPDX-License-Identifier: Apache-2.0
// What stands for the system calls of the service, and for the platform library.
#include "tests/fuzz/world.h"

#include <poll.h>
#include <sanitizer/asan_interface.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "i2c.h"
#include "state/esa_trace.h"

#pragma weak __asan_region_is_poisoned  // the fast build is without the sanitizers

bool isFailing(Call call) {
    auto& failing = life.failures[call];
    errno = failing.error;
    return failing.count > 0 && failing.error != 0 && failing.count-- > 0;
}

namespace {

Byte* registerOf(Byte address, Byte number, U32_t length) {
    require(length == 1, "a transfer is a byte");
    const auto chip = std::ranges::find(CHIPS, address) - CHIPS;
    if (isFailing(TRANSFER)) {
        return nullptr;
    }
    errno = chip < 16 ? life.silent[chip] : ENXIO;
    return errno == 0 ? &registers[chip][number] : nullptr;
}

void readable(const void* data, std::size_t size) {
    require(__asan_region_is_poisoned == nullptr ||
                __asan_region_is_poisoned(const_cast<void*>(data), size) == nullptr,
            "bytes of nobody");
}

// What leaves is one whole message of the service.
void messageCheck(const Byte* message, std::size_t size) {
    readable(message, size);
    require(!life.broken, "a message inside another one");
    require(size >= 64 && size <= MMSG_K_MESSAGE_MAX, "a message of a wrong size");
    require(wordAt(message, 8) == (0x0E010000 | size) && message[16] == 33, "not one message");
    require((wordAt(message, 20) | wordAt(message, 24)) != 0, "a message to nobody");
}

void messageTake(const Byte* message, std::size_t size) {
    if (wordAt(message, 12) == 0x0C00000E) {
        life.ledLit = wordAt(message, 48) == 2;
    }
    if (message[12] == 0x12 && message[43] == LAST_HANDLE) {
        life.replySize = size;
        std::copy_n(message, std::min(size, sizeof life.reply), life.reply);
    }
}

// The service may read a message once its header is there, and then as far as it goes.
void frameFollow(const Byte* bytes, std::size_t size) {
    require(life.frameLeft != 0 || visible() >= 64, "a message is read before its header is there");
    if (life.frameLeft == 0) {
        life.frameLeft = std::max(wordAt(bytes, 8) & 0xFFFF, 64U);
    }
    require(size <= life.frameLeft, "read beyond the end of a message");
    life.frameLeft -= size;
}

}  // namespace

// ---- the platform library's functions ----

void begin_i2c_data(int) {}

int read_i2c_data(int, U8_t address, U8_t number, U8_t* buffer, U32_t length) {
    const Byte* const cell = registerOf(address, number, length);
    if (cell != nullptr) {
        *buffer = life.answers.empty() ? *cell : life.answers[0];
        life.answers = life.answers.subspan(life.answers.empty() ? 0 : 1);
    }
    return cell != nullptr ? 0 : -1;
}

int write_i2c_data(int, U8_t address, U8_t number, const U8_t* buffer, U32_t length) {
    Byte* const cell = registerOf(address, number, length);
    if (cell != nullptr) {
        *cell = *buffer;
    }
    return cell != nullptr ? 0 : -1;
}

// ---- the renamed calls ----

extern "C" {
#pragma GCC diagnostic ignored "-Wmissing-prototypes"

int world_socket() {
    require(life.socket < 0, "a socket is lost");
    return life.socket = !isFailing(SOCKET) ? LINK : errno == EBADF ? HIGH_SOCKET : -1;
}

int world_connect(int descriptor) {
    require(descriptor == life.socket && !life.connected, "connect on no new socket");
    life.connected = !isFailing(CONNECT) && !life.refuses;
    if (life.connected) {
        life.ended = life.broken = life.sendFailed = false;
        life.head = life.tail = life.held = life.frameLeft = 0;
    }
    errno = life.refuses ? ECONNREFUSED : errno;
    return life.connected ? 0 : -1;
}

ssize_t world_recv(int descriptor, void* buffer, std::size_t size, int flags) {
    require(descriptor == life.socket && life.connected, "recv without a link");
    const bool peeks = (flags & MSG_PEEK) != 0;
    size = std::min({size, visible(), peeks || life.pieceMax == 0 ? size : life.pieceMax});
    if (isFailing(RECV) || size == 0) {
        errno = size == 0 ? EAGAIN : errno;
        return size == 0 && life.ended ? 0 : -1;
    }
    if (!peeks) {
        frameFollow(stream + life.head, size);
    }
    std::memcpy(buffer, stream + life.head, size);
    life.head += peeks ? 0 : size;
    life.head = life.head == life.tail ? life.tail = 0 : life.head;
    return static_cast<ssize_t>(size);
}

ssize_t world_send(int descriptor, const void* data, std::size_t size, int flags) {
    const auto* const message = static_cast<const Byte*>(data);
    require(descriptor == life.socket && life.connected, "send without a link");
    messageCheck(message, size);
    const bool failing = isFailing(SEND) || life.ended;
    errno = life.ended ? EPIPE : errno;
    life.broken = !failing && life.sendPart >= 0 && life.sendPart < static_cast<int>(size);
    life.sendFailed |= failing || life.broken;
    if (failing || life.broken) {
        life.now += failing && errno == EAGAIN && (flags & MSG_DONTWAIT) == 0 ? SECOND : 0;
        return failing ? -1 : life.sendPart;
    }
    messageTake(message, size);
    return static_cast<ssize_t>(size);
}

int world_poll(pollfd* watched, nfds_t, int milliseconds) {
    require(watched->fd == life.socket && life.connected, "poll without a link");
    life.held = life.heldWaits > 0 && --life.heldWaits == 0 ? 0 : life.held;
    const bool arrived = (watched->events & POLLIN) != 0 && visible() > 0;
    const bool failing = isFailing(POLL);
    life.now += failing || arrived || life.ended ? 0 : milliseconds * 1000;
    return failing ? -1 : arrived || life.ended;
}

int world_open(const char* path) {
    return isFailing(OPEN) ? -1 : std::strcmp(path, "/dev/enc-0") == 0 ? DEVICE : FILE_OPEN;
}

ssize_t world_read(int descriptor, void* buffer, std::size_t size) {
    require(descriptor == FILE_OPEN, "read of no file");
    size = std::min(size, life.personality.size());
    std::copy_n(life.personality.data(), size, static_cast<Byte*>(buffer));
    return static_cast<ssize_t>(size);
}

int world_close(int descriptor) {
    require(descriptor == FILE_OPEN || descriptor == life.socket, "close of what is not open");
    if (descriptor == life.socket) {
        life.socket = -1;
        life.connected = false;
    }
    return 0;
}

std::size_t world_fwrite(const void* data, std::size_t, std::size_t count) {
    readable(data, count);
    if (--life.traceLines < 0) {
        traceData.modLevels[ESA_K_TRACE_MODULE] = 0;
    }
    return count;
}

unsigned world_sleep(unsigned seconds) {
    life.now += long{seconds} * SECOND;
    area.flags |= MPU_K_FLAG_RCP_COMPLETE;
    esaControl.i2cAddressW83782d = 0x2D;  // no personality file has it
    if (life.forcedType != 0 && esaControl.i2cFileFd >= 0) {
        esaControl.enclosureType = life.forcedType;
    }
    return 0;
}

std::time_t world_time() {
    return static_cast<std::time_t>(life.now / SECOND);
}
MPU_PARAMS_t* world_shmat() {
    return &area;
}
void world_exit() {
    require(false, "the service ends itself");
}
// What prints, or changes how descriptors and signals behave.
long world_nothing() {
    return 0;
}
}
