// SPDX-License-Identifier: Apache-2.0
// VSC055 enclosure management controller at register level: eight general purpose ports, eight fan
// tachometers, eight PWM outputs. One-byte registers; the register pointer advances after each
// byte.
#pragma once

#include <array>
#include <cstdint>
#include <functional>

#include "lab/chips/chip.h"

namespace enclab {

class Vsc055 : public Chip {
  public:
    static constexpr int kPorts = 8;
    static constexpr int kFans = 8;

    // Power-on state: all pins inputs and pulled up, PWM at full duty, no tachometer pulses.
    Vsc055();

    // Called after each write message that reached a register, so that the wiring can follow pins
    // and duty. At most one.
    void onWrite(std::function<void()> callback) { written_ = std::move(callback); }

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

    bool write(std::span<const std::uint8_t> bytes) override;
    void read(std::span<std::uint8_t> bytes) override;

  private:
    std::uint8_t valueOf(std::uint8_t number) const;

    std::array<std::uint8_t, 256> registers_{};  // GPD: the output latch
    std::array<std::uint8_t, kPorts> driven_;    // levels from outside
    std::uint8_t pointer_ = 0;
    std::function<void()> written_;
};

}  // namespace enclab
