// SPDX-License-Identifier: Apache-2.0
// A chassis as its bus shows it.
#pragma once

#include <gtest/gtest.h>

#include "lab/chassis/chassis.h"

namespace enclab {

// -1: not acknowledged.
inline int readAt(Chassis& chassis, int address, int number) {
    const auto value = chassis.bus().readRegister(static_cast<std::uint8_t>(address),
                                                  static_cast<std::uint8_t>(number));
    return value ? int{*value} : -1;
}

inline void writeAt(Chassis& chassis, int address, int number, int value) {
    EXPECT_TRUE(chassis.bus().writeRegister(static_cast<std::uint8_t>(address),
                                            static_cast<std::uint8_t>(number),
                                            static_cast<std::uint8_t>(value)));
}

}  // namespace enclab
