// SPDX-License-Identifier: Apache-2.0
// W83782D hardware monitor at register level: seven voltages of eight bits, one temperature, three
// tachometers, four PWM outputs, limits, configuration. One register a message: the pointer stays.
#pragma once

#include <array>
#include <cstdint>

#include "lab/chips/register_chip.h"

namespace enclab {

class W83782d : public RegisterChip {
  public:
    enum Channel { kVcoreA, kVinR0, k3_3Vin, k5Vin, k12Vin, kNegative12Vin, kNegative5Vin };
    static constexpr int kChannels = 7;
    static constexpr int kFans = 3;
    static constexpr int kPwmOutputs = 4;

    // Power-on state: PWM at full duty, no pulses, no voltage, 25 degrees.
    explicit W83782d(std::uint8_t address);

    // Volts of the rail a channel watches, through the dividers the chip's formulas assume.
    void setVoltage(int channel, double volts);
    // Degrees Celsius, whole, -128 to 127.
    void setTemperature(double degrees);
    // Speed at a tachometer input, measured with divisor 2; 0: no pulses.
    void setRpm(int fan, double rpm);
    // Duty of PWM output 0 to 3 (the chip's PWMOUT1 to PWMOUT4) in percent.
    double dutyPercent(int output) const;
    // Configuration bit 6.
    bool configurationBit6() const;

    // Whether the register belongs to a fan: its count or its PWM output.
    static bool isFanRegister(std::uint8_t number);

  private:
    bool writable(std::uint8_t number) const override;
    std::uint8_t next(std::uint8_t number) const override { return number; }
};

}  // namespace enclab
