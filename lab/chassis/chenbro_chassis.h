// SPDX-License-Identifier: Apache-2.0
// The Chenbro chassis: four backplanes with a W83782D monitor each, six fans, one sensor a
// backplane. Its service addresses the monitors by two rules that do not agree, see Wiring.
#pragma once

#include "lab/chassis/w83782d_board.h"

namespace enclab {

class ChenbroChassis : public W83782dBoard {
  public:
    enum class Wiring {
        // Monitors 0 to 3 answer at 0x28, 0x2A, 0x2C, 0x30: the rule of start-up, voltages,
        // temperatures and alarm.
        kByShift,
        // At 0x28, 0x29, 0x2A, 0x2B: the rule of the fans.
        kInSequence,
        // At both. 0x2A, monitor 1 by the one rule and monitor 2 by the other, is shared: registers
        // of fans are those of monitor 2, all others those of monitor 1.
        kBoth,
    };

    explicit ChenbroChassis(Wiring wiring = Wiring::kBoth, const W83782dBoardOptions& options = {});

  private:
    // One address in front of two monitors; either answers only while it is not cut.
    class SharedAddress : public Chip {
      public:
        explicit SharedAddress(ChenbroChassis& chassis) : chassis_(chassis) {}
        bool write(std::span<const std::uint8_t> bytes) override;
        void read(std::span<std::uint8_t> bytes) override;

      private:
        W83782d& chip();

        ChenbroChassis& chassis_;
        int monitor_ = 1;  // the one the last write was for
    };

    SharedAddress shared_{*this};
};

}  // namespace enclab
