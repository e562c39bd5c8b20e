// SPDX-License-Identifier: Apache-2.0
// What the chassis with W83782D hardware monitors have in common: monitors at one or more
// addresses, fans on any tachometer and PWM output of any of them, one sensor a monitor, the supply
// rails as each monitor measures them.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "lab/chassis/chassis.h"
#include "lab/chips/w83782d.h"

namespace enclab {

// Where a fan hangs.
struct W83782dFan {
    int monitor;
    int tachometer;
    int output;  // PWM output from 0
};

struct W83782dBoardOptions {
    // High enough for a quarter of it to be within the count of the tachometers.
    double fullSpeedRpm = 12000;
    double temperature = 30;  // of every sensor at the start, degrees Celsius
};

class W83782dBoard : public Chassis {
  public:
    // A monitor sounds its alarm while its configuration bit 6 is 0.
    std::string alarm() const override;

    const W83782d& monitor(int number) const {
        return monitors_.at(static_cast<std::size_t>(number));
    }

  protected:
    // One monitor for each address; it knows that address as its own, and stands nowhere yet.
    W83782dBoard(const std::vector<std::uint8_t>& addresses, std::vector<W83782dFan> fans,
                 const W83782dBoardOptions& options);

    // With callbacks set: ready to start().
    std::deque<W83782d> monitors_;

  private:
    double drivenPercent(int fan) const override;
    void wireFan(int fan, double rpm) override;
    void wireTemperature(int sensor, double degrees) override;
    void wireRail(std::size_t rail, double volts) override;

    std::vector<W83782dFan> fans_;
};

}  // namespace enclab
