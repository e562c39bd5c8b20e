// SPDX-License-Identifier: Apache-2.0
// Encodings that several chips share.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace enclab {

// Tachometer count of a fan: the chip counts `countsPerMinute` / (RPM x divisor) periods of its
// clock, 1 to 254 at the ends of its counter. 255: no pulses.
inline std::uint8_t tachometerCount(double countsPerMinute, double rpm, int divisor) {
    if (rpm <= 0) {
        return 0xFF;
    }
    const double periods = std::round(countsPerMinute / (rpm * divisor));
    return static_cast<std::uint8_t>(std::clamp(periods, 1.0, 254.0));
}

// Temperature in half degrees, nine bits of two's complement, left-aligned in two bytes.
//   125.0   0111 1101 0    0x7D00
//    25.0   0001 1001 0    0x1900
//     0.5   0000 0000 1    0x0080
//     0.0   0000 0000 0    0x0000
//    -0.5   1111 1111 1    0xFF80
//   -25.0   1110 0111 0    0xE700
//   -55.0   1100 1001 0    0xC900
inline std::uint16_t halfDegrees(double degrees, double least, double most) {
    const double halves = std::round(std::clamp(degrees, least, most) * 2);
    return static_cast<std::uint16_t>(static_cast<int>(halves) * 0x80);
}

}  // namespace enclab
