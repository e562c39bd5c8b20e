// SPDX-License-Identifier: Apache-2.0
// The chassis built on a VSC055 controller with LM75 sensors: 16 slots, up to eight fans on the
// controller's tachometers and PWM outputs, up to six sensors.
#pragma once

#include <array>

#include "lab/chassis/vsc055_board.h"

namespace enclab {

struct Vsc055ChassisOptions {
    int fans = 4;                // 0 to 8
    int sensors = 4;             // 0 to 6: the ones that are fitted
    int fanSpeedDivisor = 4;     // tachometer divisor, 1 to 255
    double fullSpeedRpm = 9000;  // of a fan at 100 percent
    double temperature = 30;     // of every sensor at the start, degrees Celsius
};

class Vsc055Chassis : public Vsc055Board {
  public:
    static constexpr std::uint8_t kControllerAddress = 0x41;
    static constexpr std::array<std::uint8_t, 6> kSensorAddresses{0x4C, 0x4B, 0x4A,
                                                                  0x4D, 0x4E, 0x4F};

    explicit Vsc055Chassis(const Vsc055ChassisOptions& options = {});

  private:
    double drivenPercent(int fan) const override;
    void wireRedundancy(bool good) override;
    bool driveLedLit(int slot) const override;
};

}  // namespace enclab
