// SPDX-License-Identifier: Apache-2.0
// What all chassis share: the engineer's state, and devices by name.
#include "lab/chassis/chassis.h"

#include <fmt/core.h>
#include <fmt/ranges.h>

#include <charconv>
#include <optional>
#include <stdexcept>

namespace enclab {
namespace {

// `index` as an array index, checked against what is fitted.
std::size_t checked(const char* what, int index, int count) {
    if (index < 0 || index >= count) {
        throw std::out_of_range(
            fmt::format("no {} {}: the chassis has {}, from 0", what, index, count));
    }
    return static_cast<std::size_t>(index);
}

void require(bool fitted, const char* what) {
    if (!fitted) {
        throw std::out_of_range(fmt::format("the chassis has no {}", what));
    }
}

// Whether a rail or device of this full name is meant by `name`: "5@2" by itself and by "5".
bool meant(std::string_view full, std::string_view name) {
    return full == name || full.substr(0, full.find('@')) == name;
}

// "0x41"; at most 0x7F.
std::optional<std::uint8_t> parseAddress(std::string_view text) {
    if (!text.starts_with("0x")) {
        return std::nullopt;
    }
    std::uint8_t value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data() + 2, end, value, 16);
    const bool good = result.ec == std::errc() && result.ptr == end && value <= 0x7F;
    return good ? std::optional(value) : std::nullopt;
}

template <typename Named>
std::string names(const std::vector<Named>& things) {
    std::vector<std::string_view> all;
    for (const Named& thing : things) {
        all.push_back(thing.name);
    }
    return fmt::format("{}", fmt::join(all, ", "));
}

}  // namespace

// While it lives, chips know that what the world gives them is done by hand.
class Chassis::ByHand {
  public:
    explicit ByHand(const Chassis& chassis) : chassis_(chassis) { tell(true); }
    ~ByHand() { tell(false); }
    ByHand(const ByHand&) = delete;
    ByHand& operator=(const ByHand&) = delete;

  private:
    void tell(bool byHand) {
        for (Chip* chip : chassis_.chips_) {
            chip->setByHand(byHand);
        }
    }
    const Chassis& chassis_;
};

Chassis::Chassis(ChassisParts parts)
    : parts_(std::move(parts)),
      fanPresent_(static_cast<std::size_t>(parts_.fans), true),
      temperatures_(static_cast<std::size_t>(parts_.sensors), parts_.temperature),
      rails_(parts_.rails),
      drivePresent_(static_cast<std::size_t>(parts_.slots), true) {}

void Chassis::addDevice(std::string name, std::uint8_t address, Chip& chip) {
    devices_.push_back({std::move(name), address});
    chips_.push_back(&chip);
    bus_.attach(address, chip);
}

void Chassis::start() {
    spinFans();
    for (int sensor = 0; sensor < sensors(); ++sensor) {
        wireTemperature(sensor, temperature(sensor));
    }
    for (std::size_t rail = 0; rail < rails_.size(); ++rail) {
        wireRail(rail, rails_[rail].volts);
    }
    wireRedundancy(redundancy_);
    for (int slot = 0; slot < slots(); ++slot) {
        wireDrive(slot, drivePresent_[static_cast<std::size_t>(slot)]);
    }
}

void Chassis::spinFans() {
    for (int fan = 0; fan < fans(); ++fan) {
        wireFan(fan, fanRpm(fan));
    }
}

std::size_t Chassis::fanIndex(int fan) const {
    return checked("fan", fan, fans());
}

std::size_t Chassis::sensorIndex(int sensor) const {
    return checked("sensor", sensor, sensors());
}

std::size_t Chassis::slotIndex(int slot) const {
    return checked("slot", slot, slots());
}

void Chassis::turnFansBy(FanSpeed speed) {
    fanSpeed_ = std::move(speed);
    spinFans();
}

void Chassis::setFanPresent(int fan, bool present) {
    fanPresent_[fanIndex(fan)] = present;
    fanTouched(fan);
}

void Chassis::fanTouched(int fan) {
    const ByHand hand(*this);
    wireFan(fan, fanRpm(fan));
}

bool Chassis::fanPresent(int fan) const {
    return fanPresent_[fanIndex(fan)];
}

double Chassis::fanLoadPercent(int fan) const {
    fanIndex(fan);
    return drivenPercent(fan);
}

double Chassis::fanRpm(int fan) const {
    if (!fanPresent(fan)) {
        return 0;
    }
    return fanSpeed_ ? fanSpeed_(fan) : parts_.fullSpeedRpm * fanLoadPercent(fan) / 100;
}

void Chassis::setTemperature(int sensor, double degrees) {
    const ByHand hand(*this);
    warmSensor(sensor, degrees);
}

void Chassis::warmSensor(int sensor, double degrees) {
    temperatures_[sensorIndex(sensor)] = degrees;
    wireTemperature(sensor, degrees);
}

double Chassis::temperature(int sensor) const {
    return temperatures_[sensorIndex(sensor)];
}

void Chassis::setRail(std::string_view name, double volts) {
    const ByHand hand(*this);
    for (const std::size_t rail : railsNamed(name)) {
        driftRail(rail, volts);
    }
}

void Chassis::driftRail(std::size_t rail, double volts) {
    rails_.at(rail).volts = volts;
    wireRail(rail, volts);
}

std::vector<std::size_t> Chassis::railsNamed(std::string_view name) const {
    require(!rails_.empty(), "supply rails that anything measures");
    std::vector<std::size_t> found;
    for (std::size_t rail = 0; rail < rails_.size(); ++rail) {
        if (meant(rails_[rail].name, name)) {
            found.push_back(rail);
        }
    }
    if (found.empty()) {
        throw std::out_of_range(
            fmt::format("no rail \"{}\": the chassis has {}", name, names(rails_)));
    }
    return found;
}

void Chassis::setRedundancy(bool good) {
    require(parts_.redundancy, "redundancy input");
    redundancy_ = good;
    wireRedundancy(good);
}

bool Chassis::redundancy() const {
    require(parts_.redundancy, "redundancy input");
    return redundancy_;
}

void Chassis::setDrivePresent(int slot, bool present) {
    require(parts_.drivePresence, "drive presence inputs");
    drivePresent_[slotIndex(slot)] = present;
    wireDrive(slot, present);
}

bool Chassis::drivePresent(int slot) const {
    require(parts_.drivePresence, "drive presence inputs");
    return drivePresent_[slotIndex(slot)];
}

bool Chassis::driveFaultLed(int slot) const {
    require(parts_.driveLeds, "drive fault LEDs");
    slotIndex(slot);
    return driveLedLit(slot);
}

std::uint8_t Chassis::addressOf(std::string_view device) const {
    for (const ChassisDevice& candidate : devices_) {
        if (candidate.name == device) {
            return candidate.address;
        }
    }
    if (const auto address = parseAddress(device)) {
        return *address;
    }
    throw std::out_of_range(
        fmt::format("no device \"{}\": the chassis has {}, or give an address as 0x41", device,
                    names(devices_)));
}

Chip& Chassis::chip(std::string_view device) const {
    const std::uint8_t address = addressOf(device);
    for (std::size_t n = 0; n < devices_.size(); ++n) {
        if (devices_[n].address == address) {
            return *chips_[n];
        }
    }
    throw std::out_of_range(fmt::format("no device at {}", device));
}

std::string Chassis::nameOf(std::uint8_t address) const {
    for (const ChassisDevice& device : devices_) {
        if (device.address == address) {
            return device.name;
        }
    }
    return fmt::format("0x{:02X}", address);
}

}  // namespace enclab
