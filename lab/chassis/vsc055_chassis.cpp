// SPDX-License-Identifier: Apache-2.0
// Wiring of the VSC055 chassis: what hangs on which pin, and fans that follow their load at once.
#include "lab/chassis/vsc055_chassis.h"

#include <fmt/core.h>

#include <stdexcept>

namespace enclab {
namespace {

constexpr int kFanPowerPort = 1;  // bit = fan, 1 = powered
constexpr int kSupplyPort = 4;
constexpr int kRedundancyBit = 7;  // input, 1 = good
constexpr int kDriveLedPort = 6;   // and the next one: bit = slot, 0 = lit
constexpr int kSlotsPerPort = 8;

// `index` as an array index, checked against what is fitted.
std::size_t checked(const char* what, int index, int count) {
    if (index < 0 || index >= count) {
        throw std::out_of_range(
            fmt::format("no {} {}: the chassis has {}, from 0", what, index, count));
    }
    return static_cast<std::size_t>(index);
}

Vsc055ChassisOptions checked(const Vsc055ChassisOptions& options) {
    const int sensorPlaces = static_cast<int>(Vsc055Chassis::kSensorAddresses.size());
    if (options.fans < 0 || options.fans > Vsc055::kFans || options.sensors < 0 ||
        options.sensors > sensorPlaces || options.fanSpeedDivisor < 1) {
        throw std::out_of_range("a VSC055 chassis has up to 8 fans, 6 sensors, a divisor from 1");
    }
    return options;
}

bool bit(std::uint8_t value, int number) {
    return (value >> number & 1) != 0;
}

}  // namespace

Vsc055Chassis::Vsc055Chassis(const Vsc055ChassisOptions& options) : options_(checked(options)) {
    fanPresent_.fill(true);
    devices_.push_back({"vsc055", kControllerAddress});
    bus_.attach(kControllerAddress, controller_);
    for (std::size_t n = 0; n < static_cast<std::size_t>(options.sensors); ++n) {
        sensors_[n].setTemperature(options.temperature);
        devices_.push_back({fmt::format("lm75-{}", n), kSensorAddresses[n]});
        bus_.attach(kSensorAddresses[n], sensors_[n]);
    }
    controller_.onWrite([this] { spinFans(); });
    spinFans();
}

void Vsc055Chassis::spinFans() {
    for (int fan = 0; fan < options_.fans; ++fan) {
        controller_.setTachometer(fan, fanRpm(fan), options_.fanSpeedDivisor);
    }
}

void Vsc055Chassis::setFanPresent(int fan, bool present) {
    fanPresent_[checked("fan", fan, options_.fans)] = present;
    spinFans();
}

bool Vsc055Chassis::fanPresent(int fan) const {
    return fanPresent_[checked("fan", fan, options_.fans)];
}

double Vsc055Chassis::fanLoadPercent(int fan) const {
    checked("fan", fan, options_.fans);
    return bit(controller_.pins(kFanPowerPort), fan) ? controller_.dutyPercent(fan) : 0;
}

double Vsc055Chassis::fanRpm(int fan) const {
    return fanPresent(fan) ? options_.fullSpeedRpm * fanLoadPercent(fan) / 100 : 0;
}

void Vsc055Chassis::setTemperature(int sensor, double degrees) {
    sensors_[checked("sensor", sensor, options_.sensors)].setTemperature(degrees);
}

double Vsc055Chassis::temperature(int sensor) const {
    return sensors_[checked("sensor", sensor, options_.sensors)].temperature();
}

void Vsc055Chassis::setRedundancy(bool good) {
    controller_.drivePin(kSupplyPort, kRedundancyBit, good);
}

bool Vsc055Chassis::redundancy() const {
    return controller_.drivenPin(kSupplyPort, kRedundancyBit);
}

bool Vsc055Chassis::driveFaultLed(int slot) const {
    checked("slot", slot, kSlots);
    return !bit(controller_.pins(kDriveLedPort + slot / kSlotsPerPort), slot % kSlotsPerPort);
}

}  // namespace enclab
