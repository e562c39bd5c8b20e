// SPDX-License-Identifier: Apache-2.0
// Monitors, fans, sensors and rails of the W83782D chassis.
#include "lab/chassis/w83782d_board.h"

#include <fmt/core.h>

#include <iterator>

namespace enclab {
namespace {

constexpr int kSlots = 16;

// In the order of the channels.
constexpr struct {
    const char* name;
    double volts;
} kRails[W83782d::kChannels] = {{"vcorea", 1.5}, {"vinr0", 1.5}, {"3.3", 3.3}, {"5", 5},
                                {"12", 12},      {"-12", -12},   {"-5", -5}};

ChassisParts partsOf(std::size_t monitors, std::size_t fans, const W83782dBoardOptions& options) {
    ChassisParts parts{.fans = static_cast<int>(fans),
                       .fullSpeedRpm = options.fullSpeedRpm,
                       .sensors = static_cast<int>(monitors),
                       .temperature = options.temperature,
                       .slots = kSlots};
    for (std::size_t monitor = 0; monitor < monitors; ++monitor) {
        for (const auto& rail : kRails) {
            parts.rails.push_back(
                {monitors == 1 ? rail.name : fmt::format("{}@{}", rail.name, monitor), rail.volts});
        }
    }
    return parts;
}

}  // namespace

W83782dBoard::W83782dBoard(const std::vector<std::uint8_t>& addresses, std::vector<W83782dFan> fans,
                           const W83782dBoardOptions& options)
    : Chassis(partsOf(addresses.size(), fans.size(), options)), fans_(std::move(fans)) {
    for (const std::uint8_t address : addresses) {
        monitors_.emplace_back(address).onWrite([this] { spinFans(); });
    }
}

double W83782dBoard::drivenPercent(int fan) const {
    const W83782dFan& place = fans_[static_cast<std::size_t>(fan)];
    return monitor(place.monitor).dutyPercent(place.output);
}

void W83782dBoard::wireFan(int fan, double rpm) {
    const W83782dFan& place = fans_[static_cast<std::size_t>(fan)];
    monitors_[static_cast<std::size_t>(place.monitor)].setRpm(place.tachometer, rpm);
}

void W83782dBoard::wireTemperature(int sensor, double degrees) {
    monitors_[static_cast<std::size_t>(sensor)].setTemperature(degrees);
}

void W83782dBoard::wireRail(std::size_t rail, double volts) {
    monitors_[rail / std::size(kRails)].setVoltage(static_cast<int>(rail % std::size(kRails)),
                                                   volts);
}

std::string W83782dBoard::alarm() const {
    std::string sounding;
    for (std::size_t n = 0; n < monitors_.size(); ++n) {
        if (!monitors_[n].configurationBit6()) {
            sounding += fmt::format(" {}", n);
        }
    }
    return sounding.empty() ? "muted" : "sounding on monitor" + sounding;
}

}  // namespace enclab
