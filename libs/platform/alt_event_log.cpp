// SPDX-License-Identifier: Apache-2.0
// The alternate event log. Runs in signal handlers of dying processes: no heap, no stdio, no lock
// and no state between calls, so that a call may interrupt another one. The newest record is looked
// up in the file each time; of two processes that append in the same instant the later one wins.
#include "alt_event_log.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "platform/plain_file.h"

namespace {

constexpr char MAGIC[] = {'A', 'E', 'L', '1'};
constexpr U64_t SEQUENCE_MAX = ~U64_t{0} - 1;  // leaves room for one more

constexpr U32_t CRC_POLYNOMIAL = 0xEDB88320;  // IEEE 802.3, bits reversed

constexpr std::array<U32_t, 256> crcTableMake() {
    std::array<U32_t, 256> table = {};
    for (U32_t byte = 0; byte < table.size(); ++byte) {
        U32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? (crc >> 1) ^ CRC_POLYNOMIAL : crc >> 1;
        }
        table[byte] = crc;
    }
    return table;
}
constexpr std::array<U32_t, 256> CRC_TABLE = crcTableMake();

U32_t recordCrc(const U8_t (&record)[ALT_EVENT_K_RECORD_SIZE]) {
    U32_t crc = 0xFFFFFFFF;
    for (const U8_t byte : record) {
        crc = (crc >> 8) ^ CRC_TABLE[(crc ^ byte) & 0xFF];
    }
    return ~crc;
}

bool headerFits(const AltEventSlotHdr_t& header, U32_t index) {
    const U64_t sequenceNumber = header.sequenceNumber;
    return std::memcmp(header.magic, MAGIC, sizeof MAGIC) == 0 &&
           header.formatVersion == ALT_EVENT_K_FORMAT_VERSION && sequenceNumber > 0 &&
           sequenceNumber <= SEQUENCE_MAX && altEventSlotIndex(sequenceNumber) == index;
}

bool allZero(const void* data, std::size_t count) {
    const auto* const bytes = static_cast<const U8_t*>(data);
    return bytes[0] == 0 && std::memcmp(bytes, bytes + 1, count - 1) == 0;
}

off_t slotOffset(U32_t index) {
    return static_cast<off_t>(index) * ALT_EVENT_K_SLOT_SIZE;
}

bool readSlot(int fd, U32_t index, AltEventSlot_t& slot) {
    return pread(fd, &slot, sizeof slot, slotOffset(index)) == static_cast<ssize_t>(sizeof slot);
}

// Whole ones.
U32_t slotsIn(int fd) {
    const off_t size = lseek(fd, 0, SEEK_END);
    return static_cast<U32_t>(
        std::clamp<off_t>(size / ALT_EVENT_K_SLOT_SIZE, 0, ALT_EVENT_K_SLOTS));
}

// What the header of a slot says; 0: the slot is free.
U64_t sequenceNumberAt(int fd, U32_t index) {
    AltEventSlotHdr_t header;
    const ssize_t size = pread(fd, &header, sizeof header, slotOffset(index));
    const bool used = size == static_cast<ssize_t>(sizeof header) && headerFits(header, index);
    return used ? U64_t{header.sequenceNumber} : 0;
}

struct UsedSlot {
    U32_t index;
    U64_t sequenceNumber;  // 0: there is none
};

UsedSlot firstUsedSlot(int fd, U32_t slots) {
    UsedSlot slot = {0, 0};
    while (slot.index < slots && (slot.sequenceNumber = sequenceNumberAt(fd, slot.index)) == 0) {
        ++slot.index;
    }
    return slot;
}

// From `index` down, above `floor`.
UsedSlot lastUsedSlot(int fd, U32_t index, U32_t floor) {
    UsedSlot slot = {index, 0};
    while (slot.index > floor && (slot.sequenceNumber = sequenceNumberAt(fd, slot.index)) == 0) {
        --slot.index;
    }
    return slot;
}

// By bisection: numbers rise up to the newest one, behind it stand those of the round before. A
// free slot says nothing of its place; the next used one in front of it speaks for it.
UsedSlot newestSlot(int fd, U32_t slots) {
    UsedSlot newest = firstUsedSlot(fd, slots);
    U32_t low = newest.index;
    for (U32_t high = slots; high - low > 1;) {
        const U32_t middle = (low + high) / 2;
        const UsedSlot slot = lastUsedSlot(fd, middle, low);
        if (slot.sequenceNumber != 0 && slot.sequenceNumber < newest.sequenceNumber) {
            high = slot.index;
            continue;
        }
        low = middle;
        newest = slot.sequenceNumber != 0 ? slot : newest;
    }
    return newest;
}

// Sequence number of the newest good slot, 0 when there is none: records that were torn are passed
// over, from the newest slot down and around.
U64_t newestSequenceNumber(int fd, AltEventSlot_t& slot) {
    const U32_t slots = slotsIn(fd);
    const U32_t newest = newestSlot(fd, slots).index;
    for (U32_t back = 0; newest < slots && back < slots; ++back) {
        const U32_t index = (newest + slots - back) % slots;
        if (readSlot(fd, index, slot) && altEventSlotCheck(slot, index) == ALT_EVENT_E_SLOT_GOOD) {
            return slot.header.sequenceNumber;
        }
    }
    return 0;
}

// Writes the slot behind the newest one. altEventLog's record is the last of its event: then the
// medium must have them all.
bool appendSlot(int fd, const void* record, ALT_EVENT_CALL call, int argument) {
    AltEventSlot_t slot;
    const U64_t sequenceNumber = newestSequenceNumber(fd, slot) + 1;
    std::memcpy(slot.record, record, sizeof slot.record);
    std::memcpy(slot.header.magic, MAGIC, sizeof MAGIC);
    slot.header.formatVersion = ALT_EVENT_K_FORMAT_VERSION;
    slot.header.call = call;
    slot.header.argument = static_cast<U32_t>(argument);
    slot.header.recordCrc = recordCrc(slot.record);
    slot.header.sequenceNumber = sequenceNumber;
    slot.header.time = static_cast<U64_t>(time(nullptr));
    const ssize_t written =
        pwrite(fd, &slot, sizeof slot, slotOffset(altEventSlotIndex(sequenceNumber)));
    if (written >= 0 && written < static_cast<ssize_t>(sizeof slot)) {
        errno = ENOSPC;
    }
    return written == static_cast<ssize_t>(sizeof slot) &&
           (call == ALT_EVENT_E_CALL_LOG_M || fdatasync(fd) == 0);
}

struct LogPath {
    char text[MPU_K_DIRECTORY_SIZE + 1 + sizeof ALT_EVENT_K_FILE_NAME];
    std::size_t directoryLength;  // 0: there is no directory
};

LogPath logPath(const MPU_PARAMS_t* mpuParams) {
    LogPath path = {};
    if (mpuParams != nullptr) {
        path.directoryLength = strnlen(mpuParams->nonVolatileDirectory, MPU_K_DIRECTORY_SIZE);
        std::memcpy(path.text, mpuParams->nonVolatileDirectory, path.directoryLength);
    }
    path.text[path.directoryLength] = '/';
    std::memcpy(path.text + path.directoryLength + 1, ALT_EVENT_K_FILE_NAME,
                sizeof ALT_EVENT_K_FILE_NAME);
    return path;
}

// A new file is lost with its directory entry.
void flushDirectory(LogPath path) {
    path.text[path.directoryLength] = '\0';
    const int fd = open(path.text, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        fsync(fd);
        close(fd);
    }
}

// Descriptor of the log, made when it is not there; -1 with errno set.
int openLog(const LogPath& path) {
    if (path.directoryLength == 0) {
        errno = ENOENT;
        return -1;
    }
    struct stat file;
    const int fd = plainFileOpen(path.text, O_RDWR, file);
    if (fd >= 0 && file.st_size == 0) {
        flushDirectory(path);
    }
    return fd;
}

// 0 or the error number.
int append(const LogPath& path, const void* record, ALT_EVENT_CALL call, int argument) {
    const int fd = openLog(path);
    if (fd < 0) {
        return errno;
    }
    const int error = appendSlot(fd, record, call, argument) ? 0 : errno;
    close(fd);
    return error;
}

// One line on standard error, unless that would wait for a reader.
void reportLost(const LogPath& path, int error) {
    char line[320];
    std::size_t length = 0;
    for (const char* text :
         {"event record not stored in ", path.text, ": ", strerrordesc_np(error), "\n"}) {
        const std::size_t piece = std::min(std::strlen(text), sizeof line - length);
        std::memcpy(line + length, text, piece);
        length += piece;
    }
    pollfd room = {STDERR_FILENO, POLLOUT, 0};
    if (poll(&room, 1, 0) == 1 && (room.revents & POLLOUT) != 0) {
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, length);
    }
}

int store(const void* record, const MPU_PARAMS_t* mpuParams, ALT_EVENT_CALL call, int argument) {
    const int callersErrno = errno;  // the interrupted code may be about to look at it
    const LogPath path = logPath(mpuParams);
    const int error = append(path, record, call, argument);
    if (error != 0) {
        reportLost(path, error);
    }
    errno = callersErrno;
    return error == 0 ? 0 : -1;
}

}  // namespace

ALT_EVENT_SLOT_e altEventSlotCheck(const AltEventSlot_t& slot, U32_t index) {
    if (headerFits(slot.header, index)) {
        return slot.header.recordCrc == recordCrc(slot.record) ? ALT_EVENT_E_SLOT_GOOD
                                                               : ALT_EVENT_E_SLOT_TORN;
    }
    if (!allZero(&slot.header, sizeof slot.header)) {
        return ALT_EVENT_E_SLOT_FOREIGN;
    }
    return allZero(slot.record, sizeof slot.record) ? ALT_EVENT_E_SLOT_EMPTY
                                                    : ALT_EVENT_E_SLOT_TORN;
}

int altEventLog(const void* record, const MPU_PARAMS_t* mpuParams, int argument) {
    return store(record, mpuParams, ALT_EVENT_E_CALL_LOG, argument);
}

int altEventLogM(const void* record, const MPU_PARAMS_t* mpuParams) {
    return store(record, mpuParams, ALT_EVENT_E_CALL_LOG_M, 0);
}

void altEventFlush(const MPU_PARAMS_t* mpuParams) {
    const int callersErrno = errno;
    const int fd = openLog(logPath(mpuParams));
    if (fd >= 0) {
        fdatasync(fd);
        close(fd);
    }
    errno = callersErrno;
}
