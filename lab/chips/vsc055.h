// SPDX-License-Identifier: Apache-2.0
// VSC055 enclosure management controller at register level: eight general purpose ports, eight fan
// tachometers, eight PWM outputs. One-byte registers; the register pointer advances after each
// byte.
#pragma once

#include <array>
#include <cstdint>

#include "lab/chips/port_pins.h"
#include "lab/chips/register_chip.h"

namespace enclab {

class Vsc055 : public RegisterChip {
  public:
    static constexpr int kPorts = 8;
    static constexpr int kFans = 8;

    // Power-on state: all pins inputs and pulled up, PWM at full duty, no tachometer pulses.
    Vsc055();

    // Levels on a port's eight pins: the output latch (GPD) where the direction bit (DDP) is 0, the
    // level driven from outside where it is 1.
    std::uint8_t pins(int port) const;
    // Level driven from outside onto a pin, 1 when nothing drives it; seen while it is an input.
    void drivePin(int port, int bit, bool level);
    bool drivenPin(int port, int bit) const;

    // Duty of a PWM output (PWMC) in percent, 0 to 100 in steps of 1/32.
    double dutyPercent(int fan) const;

    // Pulses at a fan's tachometer input, as the count the chip measures with: RPM and the divisor
    // (pulses per turn and prescaler). 0 RPM: no pulses.
    void setTachometer(int fan, double rpm, int divisor);

  private:
    bool writable(std::uint8_t number) const override;
    std::uint8_t valueOf(std::uint8_t number) const override;
    bool loadPins(std::uint8_t number, std::uint8_t value) override;
    std::uint8_t next(std::uint8_t number) const override {
        return static_cast<std::uint8_t>(number + 1);
    }

    std::array<PortPins, kPorts> ports_;
};

}  // namespace enclab
