// SPDX-License-Identifier: Apache-2.0
// PCA9539 16-bit I/O expander at register level: input, output, polarity and configuration of two
// ports. Within a message the bytes go to and fro between the two ports' registers of a kind.
#pragma once

#include <array>
#include <cstdint>

#include "lab/chips/port_pins.h"
#include "lab/chips/register_chip.h"

namespace enclab {

class Pca9539 : public RegisterChip {
  public:
    static constexpr int kPorts = 2;

    // Power-on state: all pins inputs, output latches high, polarity as it is.
    Pca9539();

    // Levels on a port's pins: the output latch where the configuration bit is 0, the level driven
    // from outside where it is 1.
    std::uint8_t pins(int port) const;
    void drivePin(int port, int bit, bool level);

  private:
    bool writable(std::uint8_t number) const override;
    std::uint8_t valueOf(std::uint8_t number) const override;
    bool loadPins(std::uint8_t number, std::uint8_t value) override;
    std::uint8_t next(std::uint8_t number) const override {
        return static_cast<std::uint8_t>(number ^ 1);
    }

    std::array<PortPins, kPorts> ports_;
};

}  // namespace enclab
