// SPDX-License-Identifier: Apache-2.0
// Frames between the preload library and the bus server, big-endian, so that a process of one
// machine type can use the lab of another. The library sends a request, the server one reply.
#pragma once

#include <cerrno>

#include "wire.h"

enum class EncdevOp : std::uint8_t {
    kFunctionality = 1,  // reply value: I2C_FUNC_ bits
    kTransfer = 2,       // I2C_RDWR
    kSmbus = 3,          // an SMBus command, as the messages it is made of
    kTimeout = 4,        // I2C_TIMEOUT, value in units of 10 ms
    kRetries = 5,        // I2C_RETRIES
};

// Followed, for a transfer, by `count` messages in `value` bytes.
struct EncdevRequest {
    EncdevOp op;
    std::uint8_t reserved;
    Be16 count;
    Be32 value;
};
static_assert(sizeof(EncdevRequest) == 8 && alignof(EncdevRequest) == 1);

// Followed by the `length` bytes of a write.
struct EncdevMessage {
    std::uint8_t address;  // 7 bits
    std::uint8_t read;     // 1 or 0
    Be16 length;
};
static_assert(sizeof(EncdevMessage) == 4 && alignof(EncdevMessage) == 1);

// Followed, after a transfer without error, by the data of all read messages: `value` bytes.
struct EncdevReply {
    EncdevOp op;
    std::uint8_t reserved;
    Be16 error;  // 0 or an errno value of generic Linux
    Be32 value;
};
static_assert(sizeof(EncdevReply) == 8 && alignof(EncdevReply) == 1);

// The errno values that travel are the same on x86 and PowerPC.
static_assert(EIO == 5 && ENXIO == 6 && EINVAL == 22 && EOPNOTSUPP == 95 && ETIMEDOUT == 110);

// What a request or a reply carries after its head, at most.
inline constexpr std::size_t kEncdevMaxPayload = 16384;
