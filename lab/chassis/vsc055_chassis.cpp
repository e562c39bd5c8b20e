// SPDX-License-Identifier: Apache-2.0
// Wiring of the VSC055 chassis: what hangs on which pin.
#include "lab/chassis/vsc055_chassis.h"

#include <stdexcept>

#include "lab/chassis/kind.h"

namespace enclab {
namespace {

constexpr int kSlots = 16;

constexpr int kFanPowerPort = 1;  // bit = fan, 1 = powered
constexpr int kSupplyPort = 4;
constexpr int kRedundancyBit = 7;  // input, 1 = good
constexpr int kDriveLedPort = 6;   // and the next one: bit = slot, 0 = lit
constexpr int kSlotsPerPort = 8;

ChassisParts partsOf(const Vsc055ChassisOptions& options) {
    const int sensorPlaces = static_cast<int>(Vsc055Chassis::kSensorAddresses.size());
    if (options.fans < 0 || options.fans > Vsc055::kFans || options.sensors < 0 ||
        options.sensors > sensorPlaces || options.fanSpeedDivisor < 1) {
        throw std::out_of_range("a VSC055 chassis has up to 8 fans, 6 sensors, a divisor from 1");
    }
    return {.fans = options.fans,
            .fullSpeedRpm = options.fullSpeedRpm,
            .sensors = options.sensors,
            .temperature = options.temperature,
            .slots = kSlots,
            .driveLeds = true,
            .redundancy = true};
}

}  // namespace

Vsc055Chassis::Vsc055Chassis(const Vsc055ChassisOptions& options)
    : Vsc055Board(partsOf(options), kControllerAddress, kSensorAddresses, options.fanSpeedDivisor) {
    controller_.onWrite([this] { spinFans(); });
    start();
}

double Vsc055Chassis::drivenPercent(int fan) const {
    return bit(controller_.pins(kFanPowerPort), fan) ? controller_.dutyPercent(fan) : 0;
}

void Vsc055Chassis::wireRedundancy(bool good) {
    controller_.drivePin(kSupplyPort, kRedundancyBit, good);
}

bool Vsc055Chassis::driveLedLit(int slot) const {
    return !bit(controller_.pins(kDriveLedPort + slot / kSlotsPerPort), slot % kSlotsPerPort);
}

namespace {

constexpr KORVO_E_CHASSIS_e kTypes[] = {KORVO_E_CHASSIS_KORVO_VSC055, KORVO_E_CHASSIS_PELTO_TOLVEX};

std::unique_ptr<Chassis> make(const ChassisTuning& tuning) {
    Vsc055ChassisOptions options;
    tune(options.fans, tuning.fans, 0, Vsc055::kFans);
    tune(options.sensors, tuning.sensors, 0,
         static_cast<int>(Vsc055Chassis::kSensorAddresses.size()));
    tune(options.fanSpeedDivisor, tuning.fanSpeedDivisor, 1, 255);
    return std::make_unique<Vsc055Chassis>(options);
}

}  // namespace

constinit const ChassisKind kinds::vsc055 = {.types = kTypes, .make = make};

}  // namespace enclab
