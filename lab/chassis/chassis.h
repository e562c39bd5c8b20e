// SPDX-License-Identifier: Apache-2.0
// An enclosure as an engineer in front of it sees it: fans, sensors, supplies, LEDs, and the
// devices on its bus by name. Each chassis wires its chips to this interface. An index or a name
// that the chassis does not have throws std::out_of_range with a text fit for the user.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "lab/bus/bus.h"

namespace enclab {

struct ChassisDevice {
    std::string name;  // "vsc055", "lm75-0"
    std::uint8_t address;
};

class Chassis {
  public:
    virtual ~Chassis() = default;
    Chassis() = default;
    Chassis(const Chassis&) = delete;
    Chassis& operator=(const Chassis&) = delete;

    virtual Bus& bus() = 0;
    virtual const std::vector<ChassisDevice>& devices() const = 0;
    virtual int fans() const = 0;
    virtual int sensors() const = 0;
    virtual int slots() const = 0;

    virtual void pullFan(int fan) = 0;
    virtual void returnFan(int fan) = 0;
    virtual bool fanPresent(int fan) const = 0;
    virtual double fanLoadPercent(int fan) const = 0;  // as the chip drives it, 0 without power
    virtual double fanRpm(int fan) const = 0;

    virtual void setTemperature(int sensor, double degrees) = 0;  // Celsius
    virtual double temperature(int sensor) const = 0;

    virtual void setRedundancy(bool good) = 0;  // of the power supplies
    virtual bool redundancy() const = 0;

    virtual bool driveFaultLed(int slot) const = 0;  // true = lit

    // Address of a device given by its name or by its bus address ("0x41").
    std::uint8_t addressOf(std::string_view device) const;
    // Name of the device at an address, "0x41" when there is none.
    std::string nameOf(std::uint8_t address) const;
};

}  // namespace enclab
