// SPDX-License-Identifier: Apache-2.0
// Physics of a chassis, in fixed steps.
#include "lab/plant/plant.h"

#include <fmt/core.h>

#include <algorithm>
#include <stdexcept>

namespace enclab {
namespace {

constexpr double kSecondsPerHour = 3600;

// Things of a kind stand side by side over the whole width: the part of the i-th of n that stands
// in the j-th of m zones.
double overlap(int i, int n, int j, int m) {
    const double left = std::max(1.0 * i / n, 1.0 * j / m);
    const double right = std::min(1.0 * (i + 1) / n, 1.0 * (j + 1) / m);
    return std::max(0.0, right - left) * n;
}

double checkedPercent(double percent) {
    if (!(percent >= 0 && percent <= 100)) {
        throw std::out_of_range(fmt::format("{} is not a percentage from 0 to 100", percent));
    }
    return percent;
}

}  // namespace

Plant::Plant(Chassis& chassis)
    : chassis_(chassis),
      heat_(static_cast<std::size_t>(chassis.slots()), kUsualHeat),
      pinned_(static_cast<std::size_t>(chassis.sensors()), false),
      drift_(chassis.rails().size(), 0) {
    for (int fan = 0; fan < chassis.fans(); ++fan) {
        fans_.emplace_back(chassis.parts().fullSpeedRpm, chassis.fanLoadPercent(fan));
    }
    const int zones = std::max(1, chassis.sensors());
    for (int z = 0; z < zones; ++z) {
        Zone zone{.degrees = chassis.parts().temperature, .slots = {}, .fans = {}};
        for (int slot = 0; slot < chassis.slots(); ++slot) {
            zone.slots.push_back(overlap(slot, chassis.slots(), z, zones));
        }
        for (int fan = 0; fan < chassis.fans(); ++fan) {
            const double own = overlap(fan, chassis.fans(), z, zones);
            zone.fans.push_back((1 - kPlenum) * own + kPlenum / zones);
        }
        zones_.push_back(std::move(zone));
    }
    chassis_.turnFansBy([this](int number) { return fan(number).rpm(); });
}

Plant::~Plant() {
    chassis_.turnFansBy({});
}

void Plant::setInlet(double degrees) {
    if (!(degrees >= kInletLeast && degrees <= kInletMost)) {
        throw std::out_of_range(fmt::format("an inlet of {} degrees: it takes {} to {}", degrees,
                                            kInletLeast, kInletMost));
    }
    inlet_ = degrees;
}

void Plant::setHeat(double percent) {
    std::ranges::fill(heat_, checkedPercent(percent));
}

void Plant::setHeat(int slot, double percent) {
    heat_[chassis_.slotIndex(slot)] = checkedPercent(percent);
}

void Plant::setFanWear(int fan, double percent) {
    fans_[chassis_.fanIndex(fan)].setWear(checkedPercent(percent));
    chassis_.fanTouched(fan);
}

void Plant::setFanLocked(int fan, bool locked) {
    fans_[chassis_.fanIndex(fan)].setLocked(locked);
    chassis_.fanTouched(fan);
}

void Plant::setFanStall(int fan, double loadPercent) {
    fans_[chassis_.fanIndex(fan)].setStall(checkedPercent(loadPercent));
    chassis_.fanTouched(fan);
}

void Plant::pinSensor(int sensor, double degrees) {
    chassis_.setTemperature(sensor, degrees);
    pinned_[chassis_.sensorIndex(sensor)] = true;
}

void Plant::releaseSensor(int sensor) {
    pinned_[chassis_.sensorIndex(sensor)] = false;
    chassis_.setTemperature(sensor, temperature(sensor));
}

void Plant::setRailDrift(std::string_view name, double voltsPerHour) {
    for (const std::size_t rail : chassis_.railsNamed(name)) {
        drift_[rail] = voltsPerHour;
    }
}

double Plant::drivePower(int slot) const {
    const bool present = !chassis_.parts().drivePresence || chassis_.drivePresent(slot);
    return present ? kDriveIdle + (kDriveBusy - kDriveIdle) * heat(slot) / 100 : 0;
}

std::vector<double> Plant::powers() const {
    std::vector<double> watts(zones_.size(), 0);
    double delivered = 0;
    for (int slot = 0; slot < chassis_.slots(); ++slot) {
        const double drive = drivePower(slot);
        delivered += drive;
        for (std::size_t z = 0; z < zones_.size(); ++z) {
            watts[z] += drive * zones_[z].slots[static_cast<std::size_t>(slot)];
        }
    }
    for (double& zone : watts) {
        zone += kSupplyLoss * delivered / zones();
    }
    return watts;
}

double Plant::conductance(int zone) const {
    double air = 0;  // of all fans at full speed
    for (std::size_t fan = 0; fan < fans_.size(); ++fan) {
        air += fans_[fan].speed() * zoneAt(zone).fans[fan] / static_cast<double>(fans_.size());
    }
    return chassis_.slots() * (kAirPerSlot * air + kWallsPerSlot / zones());
}

void Plant::advance(double seconds) {
    const std::vector<double> watts = powers();
    pending_ += seconds;
    while (pending_ >= kStep) {
        pending_ -= kStep;
        stepFans();
        stepZones(watts);
        stepRails();
    }
    show();
}

void Plant::stepFans() {
    for (int fan = 0; fan < chassis_.fans(); ++fan) {
        PlantFan& machine = fans_[static_cast<std::size_t>(fan)];
        if (chassis_.fanPresent(fan)) {
            machine.step(chassis_.fanLoadPercent(fan), kStep);
        } else {
            machine.stop();
        }
    }
}

// What a zone takes up is what comes from its drives and supplies less what air and walls take
// along.
void Plant::stepZones(const std::vector<double>& watts) {
    const double store = kStorePerSlot * chassis_.slots() / zones();
    for (int z = 0; z < zones(); ++z) {
        const std::size_t n = static_cast<std::size_t>(z);
        double& degrees = zones_[n].degrees;
        degrees += (watts[n] - conductance(z) * (degrees - inlet_)) * kStep / store;
    }
}

void Plant::stepRails() {
    for (std::size_t rail = 0; rail < drift_.size(); ++rail) {
        if (drift_[rail] != 0) {
            const double volts = chassis_.rails()[rail].volts;
            chassis_.driftRail(rail, volts + drift_[rail] * kStep / kSecondsPerHour);
        }
    }
}

void Plant::show() {
    chassis_.spinFans();
    for (int sensor = 0; sensor < chassis_.sensors(); ++sensor) {
        if (!sensorPinned(sensor)) {
            chassis_.warmSensor(sensor, temperature(sensor));
        }
    }
}

}  // namespace enclab
