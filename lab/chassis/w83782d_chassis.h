// SPDX-License-Identifier: Apache-2.0
// The chassis with one W83782D hardware monitor: three fans, one sensor, no inputs or LEDs besides.
#pragma once

#include "lab/chassis/w83782d_board.h"

namespace enclab {

class W83782dChassis : public W83782dBoard {
  public:
    static constexpr std::uint8_t kMonitorAddress = 0x2D;

    explicit W83782dChassis(const W83782dBoardOptions& options = {});
};

}  // namespace enclab
