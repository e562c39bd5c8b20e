// SPDX-License-Identifier: Apache-2.0
// The enclosure personality file: chassis name and tuning values.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace enclab {

// Every number is a key of the file. What a chassis does not say is as the VSC055 chassis has it.
struct Personality {
    std::string_view chassis = {};  // a name the service looks for
    int fanSpeedDivisor = 4;
    int coolingMaxNumber = 4;
    int temperatureSensorMaxNumber = 4;
    int overheatTemperatureLimit = 60;  // degrees Celsius, as the thresholds
    int fanPwm25To50TemperatureThreshold = 32;
    int fanPwm50To75TemperatureThreshold = 38;
    int fanPwm75To100TemperatureThreshold = 44;
    int fanPwm100To75TemperatureThreshold = 41;
    int fanPwm75To50TemperatureThreshold = 35;
    int fanPwm50To25TemperatureThreshold = 29;
    int fanFaultRpmLimit = 1500;
    int fanPwmLoadMinimum = 25;  // percent

    std::string xml() const;
};

// The keys of the file that hold a number, in its order.
struct PersonalityKey {
    std::string_view name;
    int Personality::*value;
};
inline constexpr PersonalityKey kPersonalityKeys[] = {
    {"fanSpeedDivisor", &Personality::fanSpeedDivisor},
    {"coolingMaxNumber", &Personality::coolingMaxNumber},
    {"temperatureSensorMaxNumber", &Personality::temperatureSensorMaxNumber},
    {"overheatTemperatureLimit", &Personality::overheatTemperatureLimit},
    {"fanPwm25To50TemperatureThreshold", &Personality::fanPwm25To50TemperatureThreshold},
    {"fanPwm50To75TemperatureThreshold", &Personality::fanPwm50To75TemperatureThreshold},
    {"fanPwm75To100TemperatureThreshold", &Personality::fanPwm75To100TemperatureThreshold},
    {"fanPwm100To75TemperatureThreshold", &Personality::fanPwm100To75TemperatureThreshold},
    {"fanPwm75To50TemperatureThreshold", &Personality::fanPwm75To50TemperatureThreshold},
    {"fanPwm50To25TemperatureThreshold", &Personality::fanPwm50To25TemperatureThreshold},
    {"fanFaultRpmLimit", &Personality::fanFaultRpmLimit},
    {"fanPwmLoadMinimum", &Personality::fanPwmLoadMinimum},
};

// Value of a key, found as the daemon finds it. Empty when the key or its value is missing.
std::optional<int> personalityValue(const std::string& xml, std::string_view key);

}  // namespace enclab
