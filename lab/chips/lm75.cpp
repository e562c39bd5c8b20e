// SPDX-License-Identifier: Apache-2.0
// LM75 digital temperature sensor: register values and the bytes on the wire.
#include "lab/chips/lm75.h"

#include "lab/chips/encoding.h"

namespace enclab {
namespace {

enum Pointer : std::uint8_t { kTemperature = 0, kConfiguration = 1, kHysteresis = 2, kLimit = 3 };

constexpr std::uint8_t kPointerMask = 0x03;
constexpr std::uint8_t kShutdown = 0x01;           // configuration D0
constexpr std::uint8_t kConfigurationMask = 0x1F;  // D5 to D7 read 0
constexpr std::uint16_t kNineBits = 0xFF80;

}  // namespace

void Lm75::setTemperature(double degrees) {
    degrees_ = degrees;
    held_ = held_ && !byHand();
    convert();
}

void Lm75::convert() {
    if (!held_ && (configuration_ & kShutdown) == 0) {
        words_[kTemperature] = halfDegrees(degrees_, -55, 125);
    }
}

bool Lm75::write(std::span<const std::uint8_t> bytes) {
    if (bytes.empty()) {
        return true;
    }
    pointer_ = bytes[0] & kPointerMask;
    if (bytes.size() < 2 || pointer_ == kTemperature) {
        return true;
    }
    if (pointer_ == kConfiguration) {
        configuration_ = bytes[1] & kConfigurationMask;
        convert();
        return true;
    }
    const int low = bytes.size() > 2 ? bytes[2] : words_[pointer_] & 0xFF;
    words_[pointer_] = static_cast<std::uint16_t>((bytes[1] << 8 | low) & kNineBits);
    return true;
}

void Lm75::load(const RegisterDump& dump) {
    held_ = held_ || dump[kTemperature];
    configuration_ = dump[kConfiguration].value_or(configuration_) & kConfigurationMask;
    for (const Pointer word : {kTemperature, kHysteresis, kLimit}) {
        if (dump[word]) {
            words_[word] = static_cast<std::uint16_t>(*dump[word] << 8);
        }
    }
}

// A read of one byte gives the most significant byte; a longer one goes round in the register.
void Lm75::read(std::span<std::uint8_t> bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (pointer_ == kConfiguration) {
            bytes[i] = configuration_;
        } else {
            bytes[i] = static_cast<std::uint8_t>(words_[pointer_] >> (i % 2 == 0 ? 8 : 0));
        }
    }
}

std::vector<std::uint8_t> Lm75::registers() const {
    std::vector<std::uint8_t> values;
    for (const std::uint16_t word : words_) {
        values.push_back(static_cast<std::uint8_t>(word >> 8));
    }
    values[kConfiguration] = configuration_;
    return values;
}

}  // namespace enclab
