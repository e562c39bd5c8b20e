// SPDX-License-Identifier: Apache-2.0
// VSC055 enclosure management controller: register file, pins, duty codes and tachometer counts.
#include "lab/chips/vsc055.h"

#include "lab/chips/encoding.h"
#include "lab/chips/lookup.h"

namespace enclab {
namespace {

constexpr std::uint8_t VSC055_REG_GPD = 0x00;   // + port: general purpose data
constexpr std::uint8_t VSC055_REG_DDP = 0x10;   // + port: data direction, 1 = input
constexpr std::uint8_t VSC055_REG_FSC = 0x30;   // + 4 x fan: fan speed control
constexpr std::uint8_t VSC055_REG_FAN = 0x32;   // + 4 x fan: fan speed, read only
constexpr std::uint8_t VSC055_REG_PWMC = 0x98;  // + fan: PWM control

constexpr std::uint8_t kNoPulses = 0xFF;
constexpr double kCountsPerMinute = 1200000;
constexpr std::uint8_t kPwmEnable =
    0x20;  // PWMC: output on, with a duty of (low five bits + 1) / 32
constexpr std::uint8_t kPwmDuty = 0x1F;
constexpr std::uint8_t kPwmFull = kPwmEnable | kPwmDuty;

struct Bank {
    int base;
    int stride;
};
constexpr Bank kData{VSC055_REG_GPD, 1};
constexpr Bank kDirection{VSC055_REG_DDP, 1};
constexpr Bank kFanControl{VSC055_REG_FSC, 4};
constexpr Bank kFanSpeed{VSC055_REG_FAN, 4};
constexpr Bank kPwm{VSC055_REG_PWMC, 1};
constexpr int kBankSize = 8;

std::size_t checked(int index) {
    return checkedIndex("VSC055: port or fan outside 0 to 7", index, kBankSize);
}

std::size_t registerOf(const Bank& bank, int index) {
    return static_cast<std::size_t>(bank.base) +
           static_cast<std::size_t>(bank.stride) * checked(index);
}

bool contains(const Bank& bank, std::uint8_t number) {
    const int distance = number - bank.base;
    return distance >= 0 && distance % bank.stride == 0 && distance / bank.stride < kBankSize;
}

}  // namespace

Vsc055::Vsc055() {
    for (int n = 0; n < kBankSize; ++n) {
        registers_[registerOf(kData, n)] = 0xFF;
        registers_[registerOf(kDirection, n)] = 0xFF;
        registers_[registerOf(kFanSpeed, n)] = kNoPulses;
        registers_[registerOf(kPwm, n)] = kPwmFull;
    }
}

std::uint8_t Vsc055::pins(int port) const {
    return ports_[checked(port)].levels(registers_[registerOf(kData, port)],
                                        registers_[registerOf(kDirection, port)]);
}

void Vsc055::drivePin(int port, int bit, bool level) {
    ports_[checked(port)].drive(bit, level);
}

bool Vsc055::drivenPin(int port, int bit) const {
    return ports_[checked(port)].driven(bit);
}

double Vsc055::dutyPercent(int fan) const {
    const std::uint8_t code = registers_[registerOf(kPwm, fan)];
    return (code & kPwmEnable) == 0 ? 0 : ((code & kPwmDuty) + 1) * 100 / 32.0;
}

void Vsc055::setTachometer(int fan, double rpm, int divisor) {
    sense(static_cast<std::uint8_t>(registerOf(kFanSpeed, fan)),
          tachometerCount(kCountsPerMinute, rpm, divisor));
}

bool Vsc055::writable(std::uint8_t number) const {
    return contains(kData, number) || contains(kDirection, number) ||
           contains(kFanControl, number) || contains(kPwm, number);
}

std::uint8_t Vsc055::valueOf(std::uint8_t number) const {
    return contains(kData, number) ? pins(number - kData.base) : registers_[number];
}

bool Vsc055::loadPins(std::uint8_t number, std::uint8_t value) {
    if (contains(kData, number)) {
        ports_[static_cast<std::size_t>(number - kData.base)].driveAll(value);
    }
    return contains(kData, number);
}

}  // namespace enclab
