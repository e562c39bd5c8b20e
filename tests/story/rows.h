// SPDX-License-Identifier: Apache-2.0
// The enclosures that live a story: one row each.
#pragma once

#include <memory>
#include <ostream>
#include <span>

#include "lab/chassis/chassis.h"
#include "state/esa_control.h"

struct StoryRow {
    const char* name;   // of the tests
    const char* story;  // file
    std::unique_ptr<enclab::Chassis> (*chassis)();
    KORVO_E_CHASSIS_e type;
    int fanSpeedDivisor;  // in the personality file
    bool isWinbond;       // its monitors are Winbond's
    void (*afterInit)();  // sets what no personality file does; null: nothing
    U32_t lastingFaults;  // composite faults of the enclosure in perfect health
    const char* shown = "messages page state";
};

// One of each chassis, in perfect health.
std::span<const StoryRow> soundRows();
// These, and chassis whose wiring lacks something.
std::span<const StoryRow> storyRows();

// An enclosure of plain registers; no story of its own.
const StoryRow& registersRow();

// Shows in the test's name.
inline void PrintTo(const StoryRow& row, std::ostream* out) {
    *out << row.name;
}
