// SPDX-License-Identifier: Apache-2.0
// The board's shared parameter area: a System V segment of 748 bytes in host byte order, created by
// the start-up process and attached read-only by every other process.
#pragma once

#include <cstddef>

#include "basetypes.h"

constexpr int MPU_K_PARAMS_KEY_MIN = 100;  // the least System V key of an area
constexpr U32_t MPU_K_PARAMS_VERSION = 16;
constexpr int MPU_K_DIRECTORY_SIZE = 128;  // characters, terminating zero included

constexpr U32_t MPU_K_FLAG_RCP_COMPLETE = 0x00001000;
constexpr U32_t MPU_K_FLAG_TRACE_VERBOSE = 0x01000000;

struct MPU_PARAMS_t {
    U32_t version;  // MPU_K_PARAMS_VERSION
    U32_t flags;    // MPU_K_FLAG_ bits, changed by other processes at any time: read with mpuFlags
    U8_t reserved[356];
    char mmsgDirectory[MPU_K_DIRECTORY_SIZE];         // sockets of the message switch
    char nonVolatileDirectory[MPU_K_DIRECTORY_SIZE];  // the alternate event log
    char logDirectory[MPU_K_DIRECTORY_SIZE];          // trace log files
};
static_assert(sizeof(MPU_PARAMS_t) == 748);
static_assert(offsetof(MPU_PARAMS_t, version) == 0);
static_assert(offsetof(MPU_PARAMS_t, flags) == 4);
static_assert(offsetof(MPU_PARAMS_t, mmsgDirectory) == 364);
static_assert(offsetof(MPU_PARAMS_t, nonVolatileDirectory) == 492);
static_assert(offsetof(MPU_PARAMS_t, logDirectory) == 620);

// The attached area; null until attached and after a version mismatch.
extern const MPU_PARAMS_t* pMpuParams;

// Attaches the area of System V key `key` read-only. Null on failure, which is reported on standard
// error; nothing stays attached then.
const MPU_PARAMS_t* MPU_getMpuParams(int key);

// As above, and stores the segment identifier through `shmid`.
const MPU_PARAMS_t* MPU_getMpuParamsAndShmid(int* shmid, int key);

// The flags as they stand now.
inline U32_t mpuFlags(const MPU_PARAMS_t* params) {
    return *static_cast<const volatile U32_t*>(&params->flags);
}
