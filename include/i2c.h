// SPDX-License-Identifier: Apache-2.0
// Register transfers on a Linux i2c-dev descriptor. One transfer a call, no retry.
#pragma once

#include "basetypes.h"

// Reads `length` bytes from `registerNumber` of the device at the 7-bit address `i2cAddress` into
// `buffer`. 0 on success, -1 with errno kept.
int read_i2c_data(int fd, U8_t i2cAddress, U8_t registerNumber, U8_t* buffer, U32_t length);

// Writes `length` bytes to `registerNumber`. 0 on success, -1 with errno kept.
int write_i2c_data(int fd, U8_t i2cAddress, U8_t registerNumber, const U8_t* buffer, U32_t length);
