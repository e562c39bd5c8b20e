// SPDX-License-Identifier: Apache-2.0
// The enclosure personality file: chassis name and tuning values.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace enclab {

// The lab's VSC055 chassis; every member is a key of the file.
struct Personality {
    std::string chassis = "Vitesse VSC055 Custom";
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

// The personality of a chassis by its name in the lab. Throws std::out_of_range when it has none:
// no personality file selects it.
Personality personalityOf(std::string_view labChassis);

// The chassis that a personality file can select, by their names in the lab.
std::vector<std::string> selectableChassis();
// The name personality files give such a chassis; the name itself for any other.
std::string chassisTitle(std::string_view labChassis);

// Name in the lab of the chassis a personality file selects, "vsc055" where it selects none.
std::string_view chassisOf(std::string_view xml);

// Value of a key, found the way the daemon finds it: the text seven characters behind the start of
// the first "value" after the quoted key. Empty when the key or its value is missing.
std::optional<int> personalityValue(std::string_view xml, std::string_view key);

}  // namespace enclab
