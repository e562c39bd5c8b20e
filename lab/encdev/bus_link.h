// SPDX-License-Identifier: Apache-2.0
// The preload library's end of the bus socket. All results as a system call gives them: -1 with
// errno, EIO when the lab is gone. No heap; a descriptor belongs to one thread at a time.
#pragma once

#include <linux/i2c.h>

#include <cstddef>
#include <cstdint>

#include "lab/encdev/encdev_proto.h"

namespace encdev {

// A descriptor connected to the lab; `flags` as of open(), of which O_CLOEXEC counts.
int connectBus(const char* socketPath, int flags);

// All of the bytes; 0, or -1.
int sendAll(int fd, const void* bytes, std::size_t length);
int receiveAll(int fd, void* bytes, std::size_t length);

// Asks for a value, or sets one.
int exchangeValue(int fd, EncdevOp op, std::uint32_t value, std::uint32_t* result);

// One transfer of `count` messages; op says whether as plain I2C or as an SMBus command.
int transfer(int fd, EncdevOp op, i2c_msg* messages, std::size_t count);

}  // namespace encdev
