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
    U32_t bit;
    U32_t information;
    U32_t sensor;
};

struct StoryRow {
    const char* name;  // of the tests
    KORVO_E_CHASSIS_t type;
    Board board = Board::none;
    int slots = 16;
    int supplies = 2;
    std::vector<U32_t> conditions = {};  // as a poll reads them
    int fanSpeedDivisor = 2;             // in the personality file
    int tachometers = 0;                 // fans beyond cannot be read
    int sensors = 0;                     // that are read; 0: as many as are configured
    int loadAtStart = 0;                 // percent
    U32_t informationAtStart = 0;        // of the event of a device that is missing then
    std::vector<StoryDevice> devices = {};
    void (*bringUp)(enclab::Personality*) = [](enclab::Personality*) {};  // sets what it has fixed
};

// Shows in the test's name.
inline void PrintTo(const StoryRow& row, std::ostream* out) {
    *out << row.name;
}

inline StoryRow vsc055(const char* name, KORVO_E_CHASSIS_e type) {
    return {.name = name,
            .type = type,
            .board = Board::vsc055,
            .conditions = {REDUNDANCY},
            .fanSpeedDivisor = 4,
            .tachometers = 8,
            .loadAtStart = 50,
            .informationAtStart = 2,
            .devices = {{"vsc055", 0x001, 3, 0},
                        {"lm75-0", 0x002, 4, 0},
                        {"lm75-1", 0x004, 4, 1},
                        {"lm75-2", 0x008, 4, 2},
                        {"lm75-3", 0x010, 4, 3}}};
}

inline const StoryRow STORY_ROWS[] = {
    {.name = "Xyratex",
     .type = KORVO_E_CHASSIS_XYRATEX_2U12ATX,
     .board = Board::xyratex,
     .slots = 12,
     .conditions = {VOLTAGE, REDUNDANCY},
     .fanSpeedDivisor = 1,
     .tachometers = 8,
     .sensors = 2,
     .loadAtStart = 25,
     .informationAtStart = 3,
     .devices = {{"vsc055", 0x001, 3, 0}, {"lm75-0", 0x002, 4, 0}, {"lm75-1", 0x004, 4, 1}}},
    vsc055("TolVex", KORVO_E_CHASSIS_PELTO_TOLVEX),
    vsc055("Vsc055", KORVO_E_CHASSIS_KORVO_VSC055),
    {.name = "W83782d",
     .type = KORVO_E_CHASSIS_KORVO_W83782D,
     .board = Board::w83782d,
     .conditions = {VOLTAGE},
     .tachometers = 3,
     .loadAtStart = 100,
     .informationAtStart = 5,
     .devices = {{"w83782d", 0x001, 0, 0}},
     .bringUp =
         [](enclab::Personality* fixed) {
             *fixed = {fixed->chassis,
                       fixed->fanSpeedDivisor,
                       3,
                       3,
                       60,
                       35,
                       38,
                       40,
                       35,
                       34,
                       32,
                       500,
                       fixed->fanPwmLoadMinimum};
         }},
    {.name = "W83792ad",
     .type = KORVO_E_CHASSIS_KORVO_W83792AD,
     .board = Board::w83792ad,
     .conditions = {REDUNDANCY, VOLTAGE},
     .tachometers = 6,
     .loadAtStart = 50,
     .informationAtStart = 6,
     .devices = {{"w83792ad", 0x100, 6, 0}, {"pca9539", 0x200, 7, 0}}},
    {.name = "Chenbro",
     .type = KORVO_E_CHASSIS_CHENBRO_3U16ATX,
     .board = Board::chenbro,
     .supplies = 3,
     .conditions = {VOLTAGE},
     .tachometers = 6,
     .sensors = 4,
     .loadAtStart = 50,
     .informationAtStart = 5,
     .devices = {{"w83782d-0", 0x001, 0, 0},
                 {"w83782d-1", 0x001, 0, 0},
                 {"w83782d-2", 0x001, 0, 0},
                 {"w83782d-3", 0x001, 0, 0},
                 {"w83782d-1/2", 0x001, 0, 0}},
     .bringUp =
         [](enclab::Personality* fixed) {
             fixed->coolingMaxNumber = 6;
             fixed->temperatureSensorMaxNumber = 4;
             fixed->fanFaultRpmLimit = 500;
         }},
};

// In front of an enclosure they leave alone.
inline const StoryRow STORY_ROWS_WITHOUT_SERVICES[] = {
    {.name = "None", .type = KORVO_E_CHASSIS_NONE}, {.name = "Unknown", .type = 9}};
