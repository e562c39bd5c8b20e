// SPDX-License-Identifier: Apache-2.0
// The enclosures of these tests: one row of facts each, taken from the pages in docs/chassis.
#pragma once

#include <map>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "lab/chassis/chassis.h"
#include "state/esa_control.h"

enum class Board { none, vsc055, xyratex, w83782d, w83792ad, chenbro };

// What peers and the word of device faults are told of a device on the bus.
struct StoryDevice {
    const char* name;  // in the lab
    U32_t bit;
    U32_t information;
    U32_t sensor;
};

struct StoryRow {
    const char* name;  // of the tests
    std::unique_ptr<enclab::Chassis> (*chassis)();
    Board board = Board::none;
    KORVO_E_CHASSIS_e type = KORVO_E_CHASSIS_NONE;
    KORVO_E_CHASSIS_e selected = KORVO_E_CHASSIS_NONE;  // by the personality file
    int fanSpeedDivisor = 0;                            // in the personality file
    void (*afterInit)() = nullptr;                      // sets what no personality file does
    int slots = 16;
    int supplies = 3;
    double fullRpm = 0;            // of a fan at 100 percent
    int loadAtStart = 0;           // percent
    U32_t informationAtStart = 0;  // of the event of a device that is missing then
    double loadAtPowerOn = 100;
    U32_t lastingFaults = 0;  // composite faults of the enclosure in perfect health
    std::vector<StoryDevice> devices = {};
    std::map<std::string, int> ownTuning = {};  // set by bring-up

    // Its monitors are Winbond's.
    bool isWinbond() const { return board >= Board::w83782d; }
};

std::span<const StoryRow> storyRows();

// No enclosure services.
const StoryRow& noneRow();

// Shows in the test's name.
inline void PrintTo(const StoryRow& row, std::ostream* out) {
    *out << row.name;
}
