// SPDX-License-Identifier: Apache-2.0
// An enclosure bus of plain registers: what is written is read, and registers give any value a
// story asks for, also those no chip of good health would give.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <vector>

#include "lab/chassis/chassis.h"

class RegisterChip : public enclab::Chip {
  public:
    // The register's value.
    void set(std::uint8_t number, std::uint8_t value) { values_[number] = value; }
    // What the next reads of the register give, one after the other.
    void setNext(std::uint8_t number, const std::vector<std::uint8_t>& values) {
        next_[number].assign(values.begin(), values.end());
    }
    // Bits of the register that writes leave alone.
    void setInputs(std::uint8_t number, std::uint8_t mask) { inputs_[number] = mask; }

    bool write(std::span<const std::uint8_t> bytes) override;
    void read(std::span<std::uint8_t> bytes) override;

  private:
    std::map<std::uint8_t, std::uint8_t> values_;
    std::map<std::uint8_t, std::deque<std::uint8_t>> next_;
    std::map<std::uint8_t, std::uint8_t> inputs_;
    std::uint8_t pointer_ = 0;
};

// Devices come with the first look at them. It has no fans, sensors or slots to handle.
class RegisterChassis : public enclab::Chassis {
  public:
    RegisterChassis() : Chassis({}) {}
    RegisterChip& chip(std::uint8_t address);

  private:
    double drivenPercent(int) const override { return 0; }
    void wireFan(int, double) override {}
    void wireTemperature(int, double) override {}

    std::map<std::uint8_t, RegisterChip> chips_;
};
