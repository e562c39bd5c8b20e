// SPDX-License-Identifier: Apache-2.0
// The physics behind a chassis: drives and supplies heat zones of air, fans turn with inertia and
// blow air from the inlet through them, rails drift. It gives the chassis the speeds of its fans
// and the temperatures of its sensors; loads and drives it takes from there. docs/plant.md has the
// equations. Deterministic: fixed steps, no clock, no chance.
#pragma once

#include <string_view>
#include <vector>

#include "lab/chassis/chassis.h"
#include "lab/plant/fan.h"

namespace enclab {

class Plant {
  public:
    // Everything that scales with a chassis is given per slot: each is built for its drives.
    static constexpr double kStep = 0.0625;          // seconds
    static constexpr double kUsualInlet = 22;        // degrees Celsius
    static constexpr double kUsualHeat = 10;         // percent of activity
    static constexpr double kDriveIdle = 2.5;        // watts
    static constexpr double kDriveBusy = 25;         // watts
    static constexpr double kSupplyLoss = 0.15;      // of the power the supplies deliver
    static constexpr double kAirPerSlot = 2.5;       // watts per kelvin, all fans at full speed
    static constexpr double kWallsPerSlot = 0.0625;  // watts per kelvin
    static constexpr double kStorePerSlot = 62.5;    // joules per kelvin
    static constexpr double kPlenum = 0.5;           // part of a fan's air that reaches all zones
    static constexpr double kInletLeast = -40;       // degrees Celsius
    static constexpr double kInletMost = 85;

    // Takes over fans and sensors of the chassis, which must outlive it, in the state they have.
    explicit Plant(Chassis& chassis);
    ~Plant();
    Plant(const Plant&) = delete;
    Plant& operator=(const Plant&) = delete;

    void advance(double seconds);

    // What does not exist or is out of its range throws std::out_of_range with a text fit for the
    // user and changes nothing.
    void setInlet(double degrees);
    double inlet() const { return inlet_; }
    void setHeat(double percent);            // activity of all drives
    void setHeat(int slot, double percent);  // of one
    double heat(int slot) const { return heat_[chassis_.slotIndex(slot)]; }

    void setFanWear(int fan, double percent);
    void setFanLocked(int fan, bool locked);
    void setFanStall(int fan, double loadPercent);
    const PlantFan& fan(int number) const { return fans_[chassis_.fanIndex(number)]; }

    // A pinned sensor shows what it is told, not its zone.
    void pinSensor(int sensor, double degrees);
    void releaseSensor(int sensor);
    bool sensorPinned(int sensor) const { return pinned_[chassis_.sensorIndex(sensor)]; }

    // Of a rail as Chassis::setRail names it.
    void setRailDrift(std::string_view name, double voltsPerHour);

    // One zone per sensor, side by side; one where there are none.
    int zones() const { return static_cast<int>(zones_.size()); }
    double temperature(int zone) const { return zoneAt(zone).degrees; }
    std::vector<double> powers() const;  // watts by zone: heat of drives and supplies
    double conductance(int zone) const;  // watts per kelvin: heat that air and walls take along

  private:
    struct Zone {
        double degrees;
        std::vector<double> slots;  // part of each slot that lies in it
        std::vector<double> fans;   // part of each fan's air that goes through it
    };
    const Zone& zoneAt(int number) const { return zones_.at(static_cast<std::size_t>(number)); }

    double drivePower(int slot) const;
    void stepFans();
    void stepZones(const std::vector<double>& watts);
    void stepRails();
    void show();

    Chassis& chassis_;
    double pending_ = 0;  // seconds, less than a step
    double inlet_ = kUsualInlet;
    std::vector<double> heat_;
    std::vector<PlantFan> fans_;
    std::vector<Zone> zones_;
    std::vector<bool> pinned_;
    std::vector<double> drift_;  // volts per hour
};

}  // namespace enclab
