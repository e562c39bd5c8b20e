// SPDX-License-Identifier: Apache-2.0
// All chassis the lab can build.
#include "lab/chassis/catalog.h"

#include <fmt/core.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <stdexcept>

#include "lab/chassis/chenbro_chassis.h"
#include "lab/chassis/vsc055_chassis.h"
#include "lab/chassis/w83782d_chassis.h"
#include "lab/chassis/w83792ad_chassis.h"
#include "lab/chassis/xyratex_chassis.h"

namespace enclab {
namespace {

void tune(int& option, const std::optional<int>& value, int least, int most) {
    option = std::clamp(value.value_or(option), least, most);
}

std::unique_ptr<Chassis> makeVsc055(const ChassisTuning& tuning) {
    Vsc055ChassisOptions options;
    tune(options.fans, tuning.fans, 0, Vsc055::kFans);
    tune(options.sensors, tuning.sensors, 0,
         static_cast<int>(Vsc055Chassis::kSensorAddresses.size()));
    tune(options.fanSpeedDivisor, tuning.fanSpeedDivisor, 1, 255);
    return std::make_unique<Vsc055Chassis>(options);
}

std::unique_ptr<Chassis> makeXyratex(const ChassisTuning& tuning) {
    XyratexChassisOptions options;
    tune(options.fans, tuning.fans, 0, Vsc055::kFans);
    return std::make_unique<XyratexChassis>(options);
}

std::unique_ptr<Chassis> makeW83792ad(const ChassisTuning& tuning) {
    W83792adChassisOptions options;
    tune(options.fans, tuning.fans, 0, W83792ad::kFans);
    tune(options.sensors, tuning.sensors, 0, W83792ad::kSensors);
    return std::make_unique<W83792adChassis>(options);
}

std::unique_ptr<Chassis> makeW83782d(const ChassisTuning&) {
    return std::make_unique<W83782dChassis>();
}

std::unique_ptr<Chassis> makeChenbro(const ChassisTuning&) {
    return std::make_unique<ChenbroChassis>();
}

constexpr struct {
    std::string_view name;
    std::unique_ptr<Chassis> (*make)(const ChassisTuning&);
} kChassis[] = {
    {"vsc055", makeVsc055},   {"xyratex", makeXyratex}, {"w83792ad", makeW83792ad},
    {"w83782d", makeW83782d}, {"chenbro", makeChenbro},
};

}  // namespace

std::vector<std::string_view> chassisNames() {
    std::vector<std::string_view> names;
    for (const auto& chassis : kChassis) {
        names.push_back(chassis.name);
    }
    return names;
}

std::unique_ptr<Chassis> makeChassis(std::string_view name, const ChassisTuning& tuning) {
    for (const auto& chassis : kChassis) {
        if (chassis.name == name) {
            return chassis.make(tuning);
        }
    }
    throw std::out_of_range(
        fmt::format("no chassis \"{}\": there are {}", name, fmt::join(chassisNames(), ", ")));
}

}  // namespace enclab
