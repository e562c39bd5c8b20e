// SPDX-License-Identifier: Apache-2.0
// The model's enclosure: what is in the chips, and what a reading of them gives.
#pragma once

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/story/rows.h"
#include "tests/support/script.h"

struct ModelEnclosure {
    static constexpr int FANS = 8;        // at most
    static constexpr int NO_PULSES = -1;  // in place of RPM
    static constexpr U32_t VOLTAGE = 1, REDUNDANCY = 2;
    static constexpr U32_t PSU_OK = 0x10000, REDUNDANCY_FAIL = 0x20000, FAN_FAIL = 0x40000;

    explicit ModelEnclosure(const StoryRow& enclosure) : row(enclosure) {
        const auto chassis = row.chassis();
        fitted = chassis->fans();
        degrees.assign(static_cast<std::size_t>(chassis->sensors()), 30);
        for (const enclab::ChassisRail& rail : chassis->rails()) {
            rails[rail.name] = rail.volts;
        }
        std::fill_n(duty, FANS, row.loadAtPowerOn);
    }

    bool is(Board board) const { return row.board == board; }
    bool isVitesse() const { return is(Board::vsc055) || is(Board::xyratex); }
    int monitors() const { return is(Board::chenbro) ? 4 : 1; }
    int sensorsFitted() const { return static_cast<int>(degrees.size()); }

    // ---- hands, and time ----

    template <typename Value>
    static void setMember(std::set<Value>* all, const Value& value, bool isMember) {
        isMember ? void(all->insert(value)) : void(all->erase(value));
    }

    void touch(const Words& words) {
        const std::string verb = words[0];
        const auto isMeant = [&](const std::string& name) {
            return words[1] == "all" || words[1] == name ||
                   words[1] == name.substr(0, name.find('@'));
        };
        for (std::size_t n = 0; verb == "temp" && n < degrees.size(); ++n) {
            degrees[n] = isMeant(std::to_string(n)) ? std::stod(words[2]) : degrees[n];
        }
        for (auto& [name, volts] : rails) {
            volts = verb == "rail" && isMeant(name) ? std::stod(words[2]) : volts;
        }
        for (const StoryDevice& device : row.devices) {
            if ((verb == "cut" || verb == "mend") && isMeant(device.name)) {
                setMember(&cut, std::string(device.name), verb == "cut");
            }
        }
        if (verb == "fan") {
            setMember(&pulled, words.number(1), words[2] == "pull");
        } else if (verb == "drive") {
            setMember(&absent, words.number(1), words[2] == "out");
        } else if (verb == "psu") {
            redundant = words[1] == "good";
        } else if (verb == "wait") {
            wait(words.number(1));
        }
        supplyTouched();
    }

    // ---- devices ----

    bool answers(int device) const {
        return !cut.contains(row.devices.at(static_cast<std::size_t>(device)).name);
    }

    // Of a Chenbro chassis: monitor `n` at the address of the rule for fans, or of the other one.
    // At 0x2A there are two, each for its rule.
    bool monitorAnswers(int n, bool forFans) const {
        const bool isShared = is(Board::chenbro) && n == (forFans ? 2 : 1);
        return answers(n) && !(isShared && !answers(4));
    }

    // ---- fans ----

    // What the chip makes of a load, percent.
    double chipDuty(int percent) const {
        if (is(Board::w83792ad)) {
            return std::min(percent * 16 / 100, 15) * 100 / 16.0;
        }
        return isVitesse() ? percent : std::min(percent * 256 / 100, 255) * 100 / 255.0;
    }

    // RPM as it reads, by whole counts of the tachometer.
    int rpm(int fan) const {
        const bool turns = fan < fitted && !pulled.contains(fan) && powered && duty[fan] > 0;
        if (!turns) {
            return isVitesse() ? NO_PULSES : 0;
        }
        const int clock = isVitesse() ? 1200000 : 1350000;
        const double periods = clock / (row.fullRpm * duty[fan] / 100 * row.fanSpeedDivisor);
        return clock /
               (std::clamp(static_cast<int>(std::lround(periods)), 1, 254) * row.fanSpeedDivisor);
    }

    // ---- temperatures ----

    // Degrees as they read. Half degrees are lost; of an LM75 the sign makes up for the half.
    int reading(int sensor) const {
        const double real = degrees[static_cast<std::size_t>(sensor)];
        if (isVitesse()) {
            return static_cast<int>(std::floor(real)) + (real < 0 ? 1 : 0);
        }
        const int rounded = static_cast<int>(std::round(real));
        if (is(Board::w83792ad)) {
            return sensor == 0 ? std::max(rounded, 0) : static_cast<int>(real);
        }
        return rounded;
    }

    // ---- supplies ----

    // The Xyratex supplies judge both rails themselves, elsewhere they are measured. Of those of a
    // W83792AD a few bits are left: never good.
    bool railsGood(int monitor) const {
        const std::string at = is(Board::chenbro) ? fmt::format("@{}", monitor) : "";
        return !is(Board::w83792ad) && std::abs(rails.at("5" + at) - 5) <= 0.5 &&
               std::abs(rails.at("12" + at) - 12) <= 1.2;
    }

    // ---- the alarm controller of the Xyratex chassis ----

    void supplyTouched() {
        const bool isFault = is(Board::xyratex) && !(redundant && railsGood(0));
        if (isFault && !supplyFault && alarmState <= 3) {
            alarmState = 1;
        } else if (!isFault && supplyFault && alarmState == 1) {
            alarmState = 0;
        }
        supplyFault = isFault;
    }

    void alarmEnter(int state) {
        alarmState = state == 0 && supplyFault ? 1 : state;
        muted = 0;
    }

    void wait(int seconds) {
        muted += seconds;
        if (alarmState == 3 && muted >= 60) {
            alarmEnter(supplyFault ? 2 : 0);
        }
    }

    // ---- what an engineer sees ----

    // "S3" of the Xyratex chassis' own alarm; the monitors that sound.
    std::string alarmText() const {
        std::string sounding = is(Board::w83782d) || is(Board::chenbro) ? "muted" : "";
        for (int n = 0; sounding != "" && n < monitors(); ++n) {
            if (!quiet.contains(n)) {
                sounding = sounding == "muted" ? "sounding on monitor" : sounding;
                sounding += fmt::format(" {}", n);
            }
        }
        return is(Board::xyratex) ? fmt::format("S{}", alarmState) : sounding;
    }

    std::string enclosureState() const {
        std::vector<long> loads;
        for (int fan = 0; fan < fitted; ++fan) {
            loads.push_back(powered ? std::lround(duty[fan]) : 0);
        }
        return fmt::format("fans at {}, LEDs {:#x}, alarm {}\n", fmt::join(loads, " "), ledsLit,
                           alarmText());
    }

    const StoryRow& row;
    int fitted;  // fans
    std::vector<double> degrees;
    std::map<std::string, double> rails;
    std::set<int> pulled, absent;  // fans, drives
    std::set<std::string> cut;     // devices
    bool redundant = true;
    double duty[FANS];  // percent
    bool powered = true;
    U32_t ledsLit = 0;        // bit = drive, then status LEDs
    bool ledsDriven = false;  // by the expander
    bool supplyFault = false;
    int alarmState = 0;
    int muted = 0;        // seconds
    std::set<int> quiet;  // monitors whose alarm is off
};
