// SPDX-License-Identifier: Apache-2.0
// Register transfers on a Linux i2c-dev descriptor. One transfer a call, no retry; one system call
// on an adapter that does plain I2C, two (address, byte data) on one that does SMBus only.
#pragma once

#include "basetypes.h"

// For whoever has opened `fd`, once: forgets what was known of an earlier adapter of that number.
// The first transfer asks the new one for its functions and sets its time-out (40 ms) and retries
// (0) as far as it allows; so does the next one after a failure with EBADF or ENOTTY.
void begin_i2c_data(int fd);

// Reads `length` bytes from `registerNumber` of the device at the 7-bit address `i2cAddress` into
// `buffer`. 0 on success, -1 with errno kept.
int read_i2c_data(int fd, U8_t i2cAddress, U8_t registerNumber, U8_t* buffer, U32_t length);

// Writes `length` bytes to `registerNumber`. 0 on success, -1 with errno kept.
int write_i2c_data(int fd, U8_t i2cAddress, U8_t registerNumber, const U8_t* buffer, U32_t length);
