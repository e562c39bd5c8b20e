// SPDX-License-Identifier: Apache-2.0
// What every chip model of the lab is to the bus: a thing that takes and gives the bytes of one bus
// message. Register meaning, pointers and encodings are the models' own matter.
#pragma once

#include <cstdint>
#include <span>

namespace enclab {

class Chip {
  public:
    virtual ~Chip() = default;

    // One write message without its address byte; empty for a bare address. False: not
    // acknowledged.
    virtual bool write(std::span<const std::uint8_t> bytes) = 0;

    // One read message: fills all of `bytes` with what the chip puts on the wire.
    virtual void read(std::span<std::uint8_t> bytes) = 0;
};

}  // namespace enclab
