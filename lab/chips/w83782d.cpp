// SPDX-License-Identifier: Apache-2.0
// W83782D hardware monitor: its registers and what they encode.
#include "lab/chips/w83782d.h"

#include <algorithm>
#include <cmath>

#include "lab/chips/encoding.h"
#include "lab/chips/lookup.h"

namespace enclab {
namespace {

constexpr std::uint8_t W83782D_REG_VOLTAGE = 0x20;  // + channel
constexpr std::uint8_t W83782D_REG_TEMP = 0x27;
constexpr std::uint8_t W83782D_REG_FAN_COUNT[] = {0x28, 0x29, 0x2A};
constexpr std::uint8_t W83782D_REG_LIMITS = 0x2B;  // to 0x3D: voltages, temperature, fans
constexpr std::uint8_t W83782D_REG_LIMITS_END = 0x3D;
constexpr std::uint8_t W83782D_REG_CONFIG = 0x40;
constexpr std::uint8_t W83782D_REG_I2C_ADDR = 0x48;
constexpr std::uint8_t W83782D_REG_BEEP_GPO = 0x4D;
constexpr std::uint8_t W83782D_REG_PWM[] = {0x5B, 0x5A, 0x5E, 0x5F};  // not in order

constexpr std::uint8_t kOtherWritable[] = {W83782D_REG_CONFIG, W83782D_REG_I2C_ADDR,
                                           W83782D_REG_BEEP_GPO};
constexpr std::uint8_t kConfigAtPowerOn = 0x01;
constexpr std::uint8_t kBeepGpoAtPowerOn = 0x15;
constexpr std::uint8_t kFullDuty = 0xFF;
constexpr std::uint8_t kBit6 = 0x40;

constexpr double kCountsPerMinute = 1350000;
constexpr int kDivisor = 2;  // at power-on; nobody changes it

constexpr double kStepVolts = 0.016;

// A rail reaches its pin as rail x scale + offset: dividers, and for the negative rails a pull-up
// to the reference.
//    +5 V: 100/168 ->  2.976 V   186        -12 V: 7/36 + 2.9     -> 0.567 V    35
//   +12 V: 10/38   ->  3.158 V   197         -5 V: 7/22 + 27/11   -> 0.864 V    54
struct Divider {
    double scale;
    double offset;
};
constexpr Divider kDividers[] = {
    {1, 0}, {1, 0}, {1, 0}, {1 / 1.68, 0}, {1 / 3.8, 0}, {7 / 36.0, 2.9}, {7 / 22.0, 27 / 11.0},
};

}  // namespace

W83782d::W83782d(std::uint8_t address) {
    registers_[W83782D_REG_CONFIG] = kConfigAtPowerOn;
    registers_[W83782D_REG_I2C_ADDR] = address;
    registers_[W83782D_REG_BEEP_GPO] = kBeepGpoAtPowerOn;
    for (const std::uint8_t number : W83782D_REG_PWM) {
        registers_[number] = kFullDuty;
    }
    for (int fan = 0; fan < kFans; ++fan) {
        setRpm(fan, 0);
    }
    setTemperature(25);
}

void W83782d::setVoltage(int channel, double volts) {
    const std::size_t n = checkedIndex("W83782D: voltage outside 0 to 6", channel, kChannels);
    const double pin = volts * kDividers[n].scale + kDividers[n].offset;
    sense(static_cast<std::uint8_t>(W83782D_REG_VOLTAGE + n),
          static_cast<std::uint8_t>(std::clamp(std::round(pin / kStepVolts), 0.0, 255.0)));
}

void W83782d::setTemperature(double degrees) {
    sense(W83782D_REG_TEMP, static_cast<std::uint8_t>(
                                static_cast<int>(std::clamp(std::round(degrees), -128.0, 127.0))));
}

void W83782d::setRpm(int fan, double rpm) {
    const std::size_t n = checkedIndex("W83782D: fan outside 0 to 2", fan, kFans);
    sense(W83782D_REG_FAN_COUNT[n], tachometerCount(kCountsPerMinute, rpm, kDivisor));
}

double W83782d::dutyPercent(int output) const {
    const std::size_t n = checkedIndex("W83782D: PWM outside 0 to 3", output, kPwmOutputs);
    return registers_[W83782D_REG_PWM[n]] * 100 / 255.0;
}

bool W83782d::configurationBit6() const {
    return (registers_[W83782D_REG_CONFIG] & kBit6) != 0;
}

bool W83782d::isFanRegister(std::uint8_t number) {
    return inAnyOf(number, W83782D_REG_FAN_COUNT, W83782D_REG_PWM);
}

bool W83782d::writable(std::uint8_t number) const {
    return (number >= W83782D_REG_LIMITS && number <= W83782D_REG_LIMITS_END) ||
           inAnyOf(number, kOtherWritable, W83782D_REG_PWM);
}

}  // namespace enclab
