// SPDX-License-Identifier: Apache-2.0
// An enclosure as an engineer in front of it sees it: fans, sensors, supply rails, drives, LEDs,
// the alarm, and the devices on its bus by name. Each chassis says what it has and wires its chips
// to it. What the chassis does not have throws std::out_of_range with a text fit for the user.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "lab/bus/bus.h"

namespace enclab {

struct ChassisDevice {
    std::string name;  // "vsc055", "lm75-0"
    std::uint8_t address;
};

struct ChassisRail {
    std::string name;  // "5", "-12"; "5@2" as backplane 2 measures it
    double volts;
};

struct ChassisLed {
    std::string name;  // "psu-ok"
    bool lit;
};

// What is fitted, and how it stands at the start.
struct ChassisParts {
    int fans = 0;
    double fullSpeedRpm = 9000;  // of a fan at 100 percent
    int sensors = 0;
    double temperature = 30;  // of every sensor, degrees Celsius
    int slots = 0;
    bool driveLeds = false;
    bool drivePresence = false;  // the slots tell whether a drive is in
    bool redundancy = false;     // the supplies tell whether they are redundant
    std::vector<ChassisRail> rails = {};
};

class Chassis {
  public:
    virtual ~Chassis() = default;
    Chassis(const Chassis&) = delete;
    Chassis& operator=(const Chassis&) = delete;

    Bus& bus() { return bus_; }
    const Bus& bus() const { return bus_; }
    const std::vector<ChassisDevice>& devices() const { return devices_; }
    const ChassisParts& parts() const { return parts_; }
    int fans() const { return parts_.fans; }
    int sensors() const { return parts_.sensors; }
    int slots() const { return parts_.slots; }

    void pullFan(int fan) { setFanPresent(fan, false); }
    void returnFan(int fan) { setFanPresent(fan, true); }
    bool fanPresent(int fan) const;
    double fanLoadPercent(int fan) const;  // as the chip drives it, 0 without power
    double fanRpm(int fan) const;          // 0 without a fan

    // Who says how fast a fitted fan turns, RPM. With none, the start: it follows its load at once.
    using FanSpeed = std::function<double(int fan)>;
    void turnFansBy(FanSpeed speed);
    // Brings the fans' speeds to the chips.
    void spinFans();

    void setTemperature(int sensor, double degrees);  // Celsius
    double temperature(int sensor) const;

    // A rail by its name; without its "@" part, that rail of every place.
    void setRail(std::string_view name, double volts);
    const std::vector<ChassisRail>& rails() const { return rails_; }
    // Positions in rails() of those such a name means, at least one.
    std::vector<std::size_t> railsNamed(std::string_view name) const;

    // A hand has changed how the fan turns.
    void fanTouched(int fan);

    // The same done by the surroundings, not by hand: what a register dump holds stays.
    void warmSensor(int sensor, double degrees);
    void driftRail(std::size_t rail, double volts);

    void setRedundancy(bool good);  // of the power supplies
    bool redundancy() const;

    void setDrivePresent(int slot, bool present);
    bool drivePresent(int slot) const;
    bool driveFaultLed(int slot) const;  // true = lit

    virtual std::vector<ChassisLed> statusLeds() const { return {}; }
    // What its alarm does, for a reader; empty when it has none.
    virtual std::string alarm() const { return {}; }
    // Time passes, for what runs by itself.
    virtual void advance(std::chrono::duration<double>) {}

    // Numbers as positions, checked.
    std::size_t fanIndex(int fan) const;
    std::size_t sensorIndex(int sensor) const;
    std::size_t slotIndex(int slot) const;

    // Address of a device given by its name or by its bus address ("0x41").
    std::uint8_t addressOf(std::string_view device) const;
    // The device itself, past the bus; by name or address. Throws std::out_of_range.
    Chip& chip(std::string_view device) const;
    // Name of the device at an address, "0x41" when there is none.
    std::string nameOf(std::uint8_t address) const;

  protected:
    explicit Chassis(ChassisParts parts);

    // For the constructors. A chip may stand at several addresses.
    void addDevice(std::string name, std::uint8_t address, Chip& chip);
    // Once all is wired: brings the state of the start to the chips.
    void start();

  private:
    class ByHand;

    // The wiring: numbers are checked, states kept here.
    virtual double drivenPercent(int fan) const = 0;
    virtual void wireFan(int fan, double rpm) = 0;
    virtual void wireTemperature(int sensor, double degrees) = 0;
    virtual void wireRail(std::size_t /*rail*/, double /*volts*/) {}
    virtual void wireRedundancy(bool /*good*/) {}
    virtual void wireDrive(int /*slot*/, bool /*present*/) {}
    virtual bool driveLedLit(int /*slot*/) const { return false; }

    void setFanPresent(int fan, bool present);

    ChassisParts parts_;
    Bus bus_;
    std::vector<ChassisDevice> devices_;
    std::vector<Chip*> chips_;  // of the devices
    std::vector<bool> fanPresent_;
    FanSpeed fanSpeed_;
    std::vector<double> temperatures_;
    std::vector<ChassisRail> rails_;
    bool redundancy_ = true;
    std::vector<bool> drivePresent_;
};

}  // namespace enclab
