// SPDX-License-Identifier: Apache-2.0
// The Xyratex 2U12ATX chassis: a VSC055 controller with drive presence inputs, status LEDs and an
// alarm controller on its ports, two LM75 sensors, twelve slots, eight fans in two groups of four.
#pragma once

#include <array>

#include "lab/chassis/vsc055_board.h"
#include "lab/chips/xyratex_alarm.h"

namespace enclab {

struct XyratexChassisOptions {
    int fans = 8;  // 0 to 8: the ones that are fitted, front ones first
    // High enough for the slowest load to be within the count of a tachometer with divisor 1.
    double fullSpeedRpm = 20000;
    double temperature = 30;  // of both sensors at the start, degrees Celsius
};

class XyratexChassis : public Vsc055Board {
  public:
    static constexpr std::uint8_t kControllerAddress = 0x63;
    static constexpr std::array<std::uint8_t, 2> kSensorAddresses{0x4C, 0x4D};

    explicit XyratexChassis(const XyratexChassisOptions& options = {});

    std::vector<ChassisLed> statusLeds() const override;
    std::string alarm() const override;
    void advance(std::chrono::duration<double> time) override;

  private:
    double drivenPercent(int fan) const override;
    void wireRail(std::size_t rail, double volts) override;
    void wireRedundancy(bool good) override;
    void wireDrive(int slot, bool present) override;
    bool driveLedLit(int slot) const override;

    bool railsGood() const;
    void wireSupplies();
    void wireAlarm();

    XyratexAlarm alarm_;
    bool redundancyGood_ = true;
};

}  // namespace enclab
