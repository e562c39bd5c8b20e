// SPDX-License-Identifier: Apache-2.0
// The chassis built on a VSC055 controller with LM75 sensors: 16 slots, up to eight fans on the
// controller's tachometers and PWM outputs, up to six sensors.
#pragma once

#include <array>
#include <memory>

#include "lab/chassis/chassis.h"
#include "lab/chips/lm75.h"
#include "lab/chips/vsc055.h"

namespace enclab {

struct Vsc055ChassisOptions {
    int fans = 4;                // 0 to 8
    int sensors = 4;             // 0 to 6: the ones that are fitted
    int fanSpeedDivisor = 4;     // tachometer divisor, 1 to 255
    double fullSpeedRpm = 9000;  // of a fan at 100 percent
    double temperature = 30;     // of every sensor at the start, degrees Celsius
};

class Vsc055Chassis : public Chassis {
  public:
    static constexpr std::uint8_t kControllerAddress = 0x41;
    static constexpr std::array<std::uint8_t, 6> kSensorAddresses{0x4C, 0x4B, 0x4A,
                                                                  0x4D, 0x4E, 0x4F};
    static constexpr int kSlots = 16;

    explicit Vsc055Chassis(const Vsc055ChassisOptions& options = {});

    Bus& bus() override { return bus_; }
    const std::vector<ChassisDevice>& devices() const override { return devices_; }
    int fans() const override { return options_.fans; }
    int sensors() const override { return options_.sensors; }
    int slots() const override { return kSlots; }

    void pullFan(int fan) override { setFanPresent(fan, false); }
    void returnFan(int fan) override { setFanPresent(fan, true); }
    bool fanPresent(int fan) const override;
    double fanLoadPercent(int fan) const override;
    double fanRpm(int fan) const override;

    void setTemperature(int sensor, double degrees) override;
    double temperature(int sensor) const override;

    void setRedundancy(bool good) override;
    bool redundancy() const override;

    bool driveFaultLed(int slot) const override;

    const Vsc055& controller() const { return controller_; }

  private:
    void setFanPresent(int fan, bool present);
    void spinFans();

    Vsc055ChassisOptions options_;
    Vsc055 controller_;
    std::array<Lm75, kSensorAddresses.size()> sensors_;
    std::array<bool, Vsc055::kFans> fanPresent_;
    std::vector<ChassisDevice> devices_;
    Bus bus_;
};

}  // namespace enclab
