// SPDX-License-Identifier: Apache-2.0
// Controller and sensors of the VSC055 chassis.
#include "lab/chassis/vsc055_board.h"

#include <fmt/core.h>

namespace enclab {

Vsc055Board::Vsc055Board(ChassisParts parts, std::uint8_t controllerAddress,
                         std::span<const std::uint8_t> sensorAddresses, int fanSpeedDivisor)
    : Chassis(std::move(parts)),
      fanSpeedDivisor_(fanSpeedDivisor),
      sensors_(static_cast<std::size_t>(sensors())) {
    addDevice("vsc055", controllerAddress, controller_);
    for (std::size_t n = 0; n < sensors_.size(); ++n) {
        addDevice(fmt::format("lm75-{}", n), sensorAddresses[n], sensors_[n]);
    }
}

void Vsc055Board::wireFan(int fan, double rpm) {
    controller_.setTachometer(fan, rpm, fanSpeedDivisor_);
}

void Vsc055Board::wireTemperature(int sensor, double degrees) {
    sensors_[static_cast<std::size_t>(sensor)].setTemperature(degrees);
}

}  // namespace enclab
