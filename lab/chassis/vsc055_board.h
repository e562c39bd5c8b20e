// SPDX-License-Identifier: Apache-2.0
// What the chassis with a VSC055 controller and LM75 sensors have in common: fan n on tachometer n,
// sensors at addresses of their own.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "lab/chassis/chassis.h"
#include "lab/chips/lm75.h"
#include "lab/chips/vsc055.h"

namespace enclab {

class Vsc055Board : public Chassis {
  public:
    const Vsc055& controller() const { return controller_; }

  protected:
    // One sensor per `parts.sensors`, at the first of the addresses.
    Vsc055Board(ChassisParts parts, std::uint8_t controllerAddress,
                std::span<const std::uint8_t> sensorAddresses, int fanSpeedDivisor);

    static bool bit(std::uint8_t value, int number) { return (value >> number & 1) != 0; }

    Vsc055 controller_;

  private:
    void wireFan(int fan, double rpm) override;
    void wireTemperature(int sensor, double degrees) override;

    int fanSpeedDivisor_;
    std::vector<Lm75> sensors_;
};

}  // namespace enclab
