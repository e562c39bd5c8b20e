// SPDX-License-Identifier: Apache-2.0
// A chip that is a file of one-byte registers behind a pointer: the first byte of a write sets the
// pointer, further bytes are stored, a read starts at the pointer. What a register stores and shows
// is the chip's own matter.
#pragma once

#include <array>
#include <cstdint>
#include <functional>

#include "lab/chips/chip.h"

namespace enclab {

class RegisterChip : public Chip {
  public:
    // Called after each write message that carried data, so that the wiring can follow pins and
    // duty. At most one.
    void onWrite(std::function<void()> callback) { written_ = std::move(callback); }

    bool write(std::span<const std::uint8_t> bytes) override;
    void read(std::span<std::uint8_t> bytes) override;
    void load(const RegisterDump& dump) override;
    std::ptrdiff_t held() const override;
    std::vector<std::uint8_t> registers() const override;

  protected:
    virtual bool writable(std::uint8_t number) const = 0;
    // What a read of the register gives.
    virtual std::uint8_t valueOf(std::uint8_t number) const { return registers_[number]; }
    // The register of the byte behind this one in the same message.
    virtual std::uint8_t next(std::uint8_t number) const = 0;

    // A register that shows pins gets their levels driven; false when it is none.
    virtual bool loadPins(std::uint8_t /*number*/, std::uint8_t /*value*/) { return false; }

    // What the world gives a register that only reads.
    void sense(std::uint8_t number, std::uint8_t value);
    // The same for one whose value is made when it is read.
    void sense(std::uint8_t number);

    std::array<std::uint8_t, 256> registers_{};

  private:
    std::uint8_t shown(std::uint8_t number) const;

    RegisterDump held_;  // shown in the place of what they are
    std::uint8_t pointer_ = 0;
    std::function<void()> written_;
};

}  // namespace enclab
