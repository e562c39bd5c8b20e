// SPDX-License-Identifier: Apache-2.0
// LM75 digital temperature sensor at register level: pointer, temperature, configuration, THYST and
// TOS. 9-bit two's complement in half degrees, left-aligned in two bytes, most significant first.
#pragma once

#include <array>
#include <cstdint>

#include "lab/chips/chip.h"

namespace enclab {

class Lm75 : public Chip {
  public:
    // One conversion, in degrees Celsius: rounded to half a degree, kept within -55 to 125. In
    // shutdown the chip does not convert: the register keeps its value until it is woken.
    void setTemperature(double degrees);
    double temperature() const { return degrees_; }

    bool write(std::span<const std::uint8_t> bytes) override;
    void read(std::span<std::uint8_t> bytes) override;
    // A dump has one byte of each register: half degrees are lost.
    void load(const RegisterDump& dump) override;
    std::ptrdiff_t held() const override { return held_ ? 1 : 0; }
    std::vector<std::uint8_t> registers() const override;

  private:
    void convert();

    double degrees_ = 25;
    bool held_ = false;  // the temperature
    std::uint8_t pointer_ = 0;
    std::uint8_t configuration_ = 0;
    std::array<std::uint16_t, 4> words_{0x1900, 0, 0x4B00, 0x5000};  // by pointer; 1 is not a word
};

}  // namespace enclab
