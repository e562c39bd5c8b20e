// SPDX-License-Identifier: Apache-2.0
// PCA9539 I/O expander: its eight registers.
#include "lab/chips/pca9539.h"

#include "lab/chips/lookup.h"

namespace enclab {
namespace {

// Each + port.
constexpr std::uint8_t PCA9539_REG_INPUT = 0;
constexpr std::uint8_t PCA9539_REG_OUTPUT = 2;
constexpr std::uint8_t PCA9539_REG_POLARITY = 4;  // 1 = the input register shows the pin inverted
constexpr std::uint8_t PCA9539_REG_CONFIG = 6;    // 1 = input
constexpr std::uint8_t kLastRegister = 7;

std::size_t checkedPort(int port) {
    return checkedIndex("PCA9539: port outside 0 and 1", port, Pca9539::kPorts);
}

}  // namespace

Pca9539::Pca9539() {
    for (std::size_t port = 0; port < kPorts; ++port) {
        registers_[PCA9539_REG_OUTPUT + port] = 0xFF;
        registers_[PCA9539_REG_CONFIG + port] = 0xFF;
    }
}

std::uint8_t Pca9539::pins(int port) const {
    const std::size_t n = checkedPort(port);
    return ports_[n].levels(registers_[PCA9539_REG_OUTPUT + n], registers_[PCA9539_REG_CONFIG + n]);
}

void Pca9539::drivePin(int port, int bit, bool level) {
    ports_[checkedPort(port)].drive(bit, level);
}

bool Pca9539::writable(std::uint8_t number) const {
    return number >= PCA9539_REG_OUTPUT && number <= kLastRegister;
}

bool Pca9539::loadPins(std::uint8_t number, std::uint8_t value) {
    if (number >= PCA9539_REG_OUTPUT) {
        return false;
    }
    ports_[number].driveAll(
        static_cast<std::uint8_t>(value ^ registers_[PCA9539_REG_POLARITY + number]));
    return true;
}

std::uint8_t Pca9539::valueOf(std::uint8_t number) const {
    if (number >= PCA9539_REG_OUTPUT) {
        return registers_[number];
    }
    const int port = number - PCA9539_REG_INPUT;
    return static_cast<std::uint8_t>(pins(port) ^ registers_[PCA9539_REG_POLARITY + number]);
}

}  // namespace enclab
