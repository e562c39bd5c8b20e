// SPDX-License-Identifier: Apache-2.0
// Temperatures as sensors hold them: nine bits of two's complement half degrees in two bytes.
#pragma once

#include "state/esa_control.h"

// `high` holds the whole degrees, bit 7 of `low` the half one. Degrees Celsius, truncated toward
// zero: 25.5 gives 25, -0.5 gives 0.
constexpr S16_t esaHalfDegrees(U8_t high, U8_t low) {
    constexpr int signBit = 0x100;
    constexpr double degreesPerStep = 0.5;
    constexpr double degreesPerTurn = 256.0;  // what a set sign bit takes away
    const int value = (high << 1) | (low >> 7);
    const double degrees = value * degreesPerStep;
    return static_cast<S16_t>((value & signBit) != 0 ? degrees - degreesPerTurn : degrees);
}
