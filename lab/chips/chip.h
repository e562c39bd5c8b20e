// SPDX-License-Identifier: Apache-2.0
// What every chip model of the lab is to the bus: a thing that takes and gives the bytes of one bus
// message. Register meaning, pointers and encodings are the models' own matter.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

#include "lab/chips/register_dump.h"

namespace enclab {

class Chip {
  public:
    virtual ~Chip() = default;

    // One write message without its address byte; empty for a bare address. False: not
    // acknowledged.
    virtual bool write(std::span<const std::uint8_t> bytes) = 0;

    // One read message: fills all of `bytes` with what the chip puts on the wire.
    virtual void read(std::span<std::uint8_t> bytes) = 0;

    // What a one-byte read of each register from 0 on would give; nothing moves in the chip.
    virtual std::vector<std::uint8_t> registers() const { return {}; }

    // Makes a dump its state. What it measures of the world is held at the dumped values then,
    // whatever the world does, until it is changed by hand.
    virtual void load(const RegisterDump&) {
        throw std::invalid_argument("this device takes no register dump");
    }
    // Number of registers that are held.
    virtual std::ptrdiff_t held() const { return 0; }
    // While set, what the world gives the chip is done by hand.
    void setByHand(bool byHand) { byHand_ = byHand; }

  protected:
    bool byHand() const { return byHand_; }

  private:
    bool byHand_ = false;
};

}  // namespace enclab
