// SPDX-License-Identifier: Apache-2.0
// What the fuzz target's world is at a time: the switch, the chips, files, the clock, in memory.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <span>

#include "mpu_gbl.h"
#include "state/esa_control.h"

using Byte = std::uint8_t;
using Bytes = std::span<const Byte>;

constexpr int SECOND = 1'000'000;  // in microseconds

constexpr int DEVICE = 5, FILE_OPEN = 6, LINK = 7, HIGH_SOCKET = FD_SETSIZE;  // descriptors
constexpr Byte LAST_HANDLE = 0x5A;  // of the request that ends a life
constexpr Byte CHIPS[16] = {0x28, 0x29, 0x2A, 0x2B, 0x2C, 0x2D, 0x30, 0x63,
                            0x4A, 0x4B, 0x4C, 0x4D, 0x4E, 0x4F, 0x41, 0x74};
enum Call : Byte { RECV, SEND, CONNECT, SELECT, SOCKET, POLL, OPEN, TRANSFER, CALLS };
enum Stage { RUNS, SETTLES, ASKED };

// One life. The service sees the switch's bytes up to those held, pieceMax at a time (0: all).
struct Life {
    Stage stage;
    int passes, idle, traced;  // settling; without a step; with trace, left
    bool reachable, refuses, connected, ended, broken, sendFailed, ledLit, glued;
    int socket = -1, sendPart = -1, heldWaits, traceLines;
    std::size_t head, tail, held, pieceMax, frameLeft;  // frameLeft: of the message being read
    struct {
        Byte error, count;
    } failures[CALLS];
    Byte silent[16], forcedType;  // errno of each chip; type that no personality file chooses
    Bytes answers, personality;   // answers: in place of what the next reads would give
    Byte patches[8][2];           // of the next header: place, value
    std::size_t patchCount, replySize;
    Byte reply[72];
    long now, passBegan;  // microseconds; 0: the service is starting
};
inline Life life;
inline MPU_PARAMS_t area;
inline Byte stream[1 << 17], registers[16][256];

inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "FINDING: %s\n", what);
        std::abort();
    }
}

inline U32_t wordAt(const Byte* bytes, int offset) {
    return *wireView<Be32>(bytes + offset);
}

inline std::size_t visible() {
    return life.tail - life.head - std::min(life.held, life.tail - life.head);
}

bool isFailing(Call call);  // sets errno
