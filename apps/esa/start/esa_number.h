// SPDX-License-Identifier: Apache-2.0
// Numbers in text, the same on both targets whatever the width of long.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "basetypes.h"

// The number `text` begins with, as strtol reads it in `base`; 0 without one. What does not fit is
// clamped to 32 bits.
inline S32_t esaNumberOf(const char* text, int base) {
    const long long value = std::strtoll(text, nullptr, base);
    return static_cast<S32_t>(std::clamp<long long>(value, INT32_MIN, INT32_MAX));
}
