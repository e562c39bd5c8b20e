// SPDX-License-Identifier: Apache-2.0
// The eight pins of a chip's port, as the world outside drives them.
#pragma once

#include <cstdint>

namespace enclab {

class PortPins {
  public:
    // Level driven from outside onto a pin; 1, the pull-up, while nothing drives it.
    void drive(int bit, bool level) {
        const int mask = 1 << bit;
        driven_ = static_cast<std::uint8_t>(level ? driven_ | mask : driven_ & ~mask);
    }
    void driveAll(std::uint8_t levels) { driven_ = levels; }
    bool driven(int bit) const { return (driven_ >> bit & 1) != 0; }

    // Levels on the pins of a chip with these outputs: where `inputs` has a 1 the chip only
    // listens.
    std::uint8_t levels(int outputs, int inputs) const {
        return static_cast<std::uint8_t>((driven_ & inputs) | (outputs & ~inputs));
    }

  private:
    std::uint8_t driven_ = 0xFF;
};

}  // namespace enclab
