// SPDX-License-Identifier: Apache-2.0
// A chassis as its bus shows it, and the LEDs an engineer sees.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

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

inline std::vector<int> litSlots(const Chassis& chassis) {
    std::vector<int> lit;
    for (int slot = 0; slot < chassis.slots(); ++slot) {
        if (chassis.driveFaultLed(slot)) {
            lit.push_back(slot);
        }
    }
    return lit;
}

// Names of the lit status LEDs, separated by blanks.
inline std::string litStatusLeds(const Chassis& chassis) {
    std::string lit;
    for (const ChassisLed& led : chassis.statusLeds()) {
        if (led.lit) {
            lit += (lit.empty() ? "" : " ") + led.name;
        }
    }
    return lit;
}

}  // namespace enclab
