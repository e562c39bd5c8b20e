// SPDX-License-Identifier: Apache-2.0
// The chassis built on a W83792AD hardware monitor, with the drive fault LEDs of its 16 slots on a
// PCA9539 expander: up to six fans, up to three sensors, all in the monitor.
#pragma once

#include "lab/chassis/chassis.h"
#include "lab/chips/pca9539.h"
#include "lab/chips/w83792ad.h"

namespace enclab {

struct W83792adChassisOptions {
    int fans = 6;                // 0 to 6
    int sensors = 3;             // 0 to 3
    double fullSpeedRpm = 9000;  // of a fan at 100 percent
    double temperature = 30;     // of every sensor at the start, degrees Celsius
};

class W83792adChassis : public Chassis {
  public:
    static constexpr std::uint8_t kMonitorAddress = 0x2C;
    static constexpr std::uint8_t kExpanderAddress = 0x74;

    explicit W83792adChassis(const W83792adChassisOptions& options = {});

    const W83792ad& monitor() const { return monitor_; }

  private:
    double drivenPercent(int fan) const override;
    void wireFan(int fan, double rpm) override;
    void wireTemperature(int sensor, double degrees) override;
    void wireRail(std::size_t rail, double volts) override;
    void wireRedundancy(bool good) override;
    bool driveLedLit(int slot) const override;

    W83792ad monitor_{kMonitorAddress};
    Pca9539 expander_;
};

}  // namespace enclab
