// SPDX-License-Identifier: Apache-2.0
// Scalar types shared by all processes of the controller.
#pragma once

#include <cstdint>

using U8_t = std::uint8_t;
using U16_t = std::uint16_t;
using U32_t = std::uint32_t;
using U64_t = std::uint64_t;
using S8_t = std::int8_t;
using S16_t = std::int16_t;
using S32_t = std::int32_t;
using BOOLEAN = U8_t;

constexpr BOOLEAN TRUE = 1;
constexpr BOOLEAN FALSE = 0;

// A conversion that narrows on one target and changes nothing on the other.
template <typename To, typename From>
constexpr To narrowTo(From value) {
    return static_cast<To>(value);
}

// A span of time: whole seconds and 0..999999 microseconds.
struct MPU_TIME_t {
    U32_t sec;
    U32_t usec;
};
