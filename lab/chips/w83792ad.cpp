// SPDX-License-Identifier: Apache-2.0
// W83792AD hardware monitor: its registers and what they encode.
#include "lab/chips/w83792ad.h"

#include <algorithm>
#include <cmath>

#include "lab/chips/encoding.h"
#include "lab/chips/lookup.h"

namespace enclab {
namespace {

constexpr std::uint8_t W83792AD_REG_GPIO_ENABLE = 0x1A;
constexpr std::uint8_t W83792AD_REG_GPIO_CONTROL[] = {0x1B, 0x1D};  // A, B: 1 = output
constexpr std::uint8_t W83792AD_REG_GPIO_DATA[] = {0x1C, 0x1E};
constexpr std::uint8_t W83792AD_REG_VOLTAGE = 0x20;  // + channel: upper eight of ten bits
constexpr std::uint8_t W83792AD_REG_TEMP1 = 0x27;
constexpr std::uint8_t W83792AD_REG_FAN_COUNT[] = {0x28, 0x29, 0x2A, 0xB8, 0xB9, 0xBA};
constexpr std::uint8_t W83792AD_REG_LIMITS = 0x2B;  // to 0x3D: voltages, temperature 1, fans 1 to 3
constexpr std::uint8_t W83792AD_REG_LIMITS_END = 0x3D;
constexpr std::uint8_t W83792AD_REG_LOW_BITS1 = 0x3E;  // two bits each of channels 0 to 3
constexpr std::uint8_t W83792AD_REG_FAN_DIV[] = {0x47, 0x5B, 0x5C};  // two fans each
constexpr std::uint8_t W83792AD_REG_I2C_ADDR = 0x48;
constexpr std::uint8_t W83792AD_REG_TEMP23_ADDR = 0x4A;
constexpr std::uint8_t W83792AD_REG_PIN_CONTROL = 0x4B;
constexpr std::uint8_t W83792AD_REG_SMI_OVT = 0x4C;
constexpr std::uint8_t W83792AD_REG_DIODE = 0x59;
constexpr std::uint8_t W83792AD_REG_PRESCALE[] = {0x80, 0x82, 0x93, 0xA0, 0xA1, 0xA2};
constexpr std::uint8_t W83792AD_REG_DUTY[] = {0x81, 0x83, 0x94, 0xA3, 0xA4, 0xA5};
constexpr std::uint8_t W83792AD_REG_TEMP23[] = {0xC0, 0xC8};  // high byte; low byte behind it

// Volts of one step of a channel's ten bits.
constexpr double kStepVolts[] = {0.002, 0.002, 0.004, 0.004, 0.004, 0.004, 0.006};
constexpr double kSteps = 1023;
constexpr int kChannelsPerLowBits = 4;

constexpr double kCountsPerMinute = 1350000;
constexpr std::uint8_t kDivisor = 0x07;  // of a fan's four bits
constexpr std::uint8_t kDuty = 0x0F;     // sixteenths
constexpr std::uint8_t kDutyAtPowerOn = 0x8F;

constexpr std::uint8_t kOtherWritable[] = {
    W83792AD_REG_GPIO_ENABLE, W83792AD_REG_I2C_ADDR, W83792AD_REG_TEMP23_ADDR,
    W83792AD_REG_PIN_CONTROL, W83792AD_REG_SMI_OVT,  W83792AD_REG_DIODE,
};

std::size_t checkedFan(int fan) {
    return checkedIndex("W83792AD: fan outside 0 to 5", fan, W83792ad::kFans);
}

std::size_t checkedPort(int port) {
    return checkedIndex("W83792AD: port outside A and B", port, W83792ad::kPorts);
}

}  // namespace

W83792ad::W83792ad(std::uint8_t address) {
    registers_[W83792AD_REG_I2C_ADDR] = address;
    for (const std::uint8_t number : W83792AD_REG_DUTY) {
        registers_[number] = kDutyAtPowerOn;
    }
    for (int sensor = 0; sensor < kSensors; ++sensor) {
        setTemperature(sensor, 25);
    }
}

void W83792ad::setVoltage(int channel, double volts) {
    const std::size_t n = checkedIndex("W83792AD: voltage outside 0 to 6", channel, kChannels);
    const int steps = static_cast<int>(std::clamp(std::round(volts / kStepVolts[n]), 0.0, kSteps));
    sense(static_cast<std::uint8_t>(W83792AD_REG_VOLTAGE + n),
          static_cast<std::uint8_t>(steps >> 2));
    const int shift = 2 * (channel % kChannelsPerLowBits);
    const auto low = static_cast<std::uint8_t>(W83792AD_REG_LOW_BITS1 + n / kChannelsPerLowBits);
    sense(low, static_cast<std::uint8_t>((registers_[low] & ~(3 << shift)) | (steps & 3) << shift));
}

void W83792ad::setTemperature(int sensor, double degrees) {
    const std::size_t n = checkedIndex("W83792AD: sensor outside 0 to 2", sensor, kSensors);
    if (n == 0) {
        sense(W83792AD_REG_TEMP1,
              static_cast<std::uint8_t>(std::clamp(std::round(degrees), 0.0, 255.0)));
        return;
    }
    const std::uint16_t halves = halfDegrees(degrees, -128, 127.5);
    const std::uint8_t high = W83792AD_REG_TEMP23[n - 1];
    sense(high, static_cast<std::uint8_t>(halves >> 8));
    sense(static_cast<std::uint8_t>(high + 1), static_cast<std::uint8_t>(halves));
}

void W83792ad::setRpm(int fan, double rpm) {
    const std::size_t n = checkedFan(fan);
    rpm_[n] = rpm;
    sense(W83792AD_REG_FAN_COUNT[n]);
}

double W83792ad::dutyPercent(int fan) const {
    return (registers_[W83792AD_REG_DUTY[checkedFan(fan)]] & kDuty) * 100 / 16.0;
}

std::uint8_t W83792ad::pins(int port) const {
    const std::size_t n = checkedPort(port);
    const int inputs = ~registers_[W83792AD_REG_GPIO_CONTROL[n]];
    return ports_[n].levels(registers_[W83792AD_REG_GPIO_DATA[n]], inputs);
}

void W83792ad::drivePin(int port, int bit, bool level) {
    ports_[checkedPort(port)].drive(bit, level);
}

bool W83792ad::drivenPin(int port, int bit) const {
    return ports_[checkedPort(port)].driven(bit);
}

// The first fan of a divisor register has the low half. Divisor 0 counts as 1.
std::uint8_t W83792ad::countOf(int fan) const {
    const std::uint8_t both = registers_[W83792AD_REG_FAN_DIV[fan / 2]];
    const int divisor = (fan % 2 == 0 ? both : both >> 4) & kDivisor;
    return tachometerCount(kCountsPerMinute, rpm_[static_cast<std::size_t>(fan)],
                           std::max(divisor, 1));
}

bool W83792ad::writable(std::uint8_t number) const {
    return (number >= W83792AD_REG_LIMITS && number <= W83792AD_REG_LIMITS_END) ||
           inAnyOf(number, kOtherWritable, W83792AD_REG_GPIO_CONTROL, W83792AD_REG_GPIO_DATA,
                   W83792AD_REG_FAN_DIV, W83792AD_REG_PRESCALE, W83792AD_REG_DUTY);
}

bool W83792ad::loadPins(std::uint8_t number, std::uint8_t value) {
    const int port = indexIn(W83792AD_REG_GPIO_DATA, number);
    if (port >= 0) {
        ports_[static_cast<std::size_t>(port)].driveAll(value);
    }
    return port >= 0;
}

std::uint8_t W83792ad::valueOf(std::uint8_t number) const {
    if (const int fan = indexIn(W83792AD_REG_FAN_COUNT, number); fan >= 0) {
        return countOf(fan);
    }
    if (const int port = indexIn(W83792AD_REG_GPIO_DATA, number); port >= 0) {
        return pins(port);
    }
    return registers_[number];
}

}  // namespace enclab
