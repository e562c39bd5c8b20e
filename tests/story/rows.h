// SPDX-License-Identifier: Apache-2.0
// The enclosures of these tests: a row of facts each, taken from the pages in docs/chassis.
#pragma once

#include <ostream>
#include <vector>

#include "lab/chassis/personality.h"
#include "state/esa_control.h"

enum class Board { none, vsc055, xyratex, w83782d, w83792ad, chenbro };

// Conditions of the supplies: bits of their status and of the composite faults.
constexpr U32_t VOLTAGE = 1, REDUNDANCY = 2;

// What peers and the word of device faults are told of a device on the bus.
struct StoryDevice {
    const char* name;  // in the lab
    U32_t bit, information, sensor;
};

struct StoryRow {
    const char* name;  // of the tests
    KORVO_E_CHASSIS_t type;
    Board board = Board::none;
    int slots = 16, supplies = 2;
    std::vector<U32_t> conditions = {};     // as a poll reads them
    int fanSpeedDivisor = 2;                // in the personality file
    int tachometers = 0;                    // fans beyond cannot be read
    int sensors = 0;                        // that are read; 0: as many as are configured
    int loadAtStart = 0;                    // percent
    U32_t informationAtStart = 0;           // of the event of a device that is missing then
    std::vector<StoryDevice> devices = {};  // the controller or the monitors, then the others
    void (*bringUp)(enclab::Personality*) = [](enclab::Personality*) {};  // sets what is fixed
};

// Shows in the test's name.
inline void PrintTo(const StoryRow& row, std::ostream* out) {
    *out << row.name;
}

// clang-format off
inline const std::vector<StoryDevice> VSC055_DEVICES = {
    {"vsc055", 0x001, 3, 0}, {"lm75-0", 0x002, 4, 0}, {"lm75-1", 0x004, 4, 1},
    {"lm75-2", 0x008, 4, 2}, {"lm75-3", 0x010, 4, 3}};
inline const std::vector<StoryDevice> CHENBRO_DEVICES = {
    {"w83782d-0", 0x001, 0, 0}, {"w83782d-1", 0x001, 0, 0}, {"w83782d-2", 0x001, 0, 0},
    {"w83782d-3", 0x001, 0, 0}, {"w83782d-1/2", 0x001, 0, 0}};

inline void w83782dBringUp(enclab::Personality* key) {
    *key = {key->chassis, key->fanSpeedDivisor,  3, 3, 60, 35, 38, 40, 35, 34, 32,
            500,          key->fanPwmLoadMinimum};
}
inline void chenbroBringUp(enclab::Personality* key) {
    key->coolingMaxNumber = 6;
    key->temperatureSensorMaxNumber = 4;
    key->fanFaultRpmLimit = 500;
}

// Those without services leave the enclosure they stand in front of alone.
inline const StoryRow STORY_ROWS[] = {
    {"None", KORVO_E_CHASSIS_NONE, Board::none, 16, 3},
    {"Unknown", 9, Board::none, 16, 3},
    {"Xyratex", KORVO_E_CHASSIS_XYRATEX_2U12ATX, Board::xyratex, 12, 2, {VOLTAGE, REDUNDANCY},
     1, 8, 2, 25, 3, {VSC055_DEVICES.begin(), VSC055_DEVICES.begin() + 3}},
    {"TolVex", KORVO_E_CHASSIS_PELTO_TOLVEX, Board::vsc055, 16, 2, {REDUNDANCY},
     4, 8, 0, 50, 2, VSC055_DEVICES},
    {"Vsc055", KORVO_E_CHASSIS_KORVO_VSC055, Board::vsc055, 16, 2, {REDUNDANCY},
     4, 8, 0, 50, 2, VSC055_DEVICES},
    {"W83782d", KORVO_E_CHASSIS_KORVO_W83782D, Board::w83782d, 16, 2, {VOLTAGE},
     2, 3, 0, 100, 5, {{"w83782d", 0x001, 0, 0}}, w83782dBringUp},
    {"W83792ad", KORVO_E_CHASSIS_KORVO_W83792AD, Board::w83792ad, 16, 2, {REDUNDANCY, VOLTAGE},
     2, 6, 0, 50, 6, {{"w83792ad", 0x100, 6, 0}, {"pca9539", 0x200, 7, 0}}},
    {"Chenbro", KORVO_E_CHASSIS_CHENBRO_3U16ATX, Board::chenbro, 16, 3, {VOLTAGE},
     2, 6, 4, 50, 5, CHENBRO_DEVICES, chenbroBringUp},
};
// clang-format on
