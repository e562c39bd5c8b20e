// SPDX-License-Identifier: Apache-2.0
// The load ladder as the values in esaControl make it, and its two drawings.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "state/esa_control.h"

namespace personality {

struct Step {
    U8_t load;                  // percent
    std::optional<U32_t> up;    // above this average one step up; empty on the top
    std::optional<U32_t> down;  // below this average one step down; empty at the bottom
    bool floorBlocks;           // ... which the floor does not allow
    bool goesUp;                // some average does
    bool goesDown;
    bool reached = false;  // from the start load, or from 100 percent after a fan failure
};

struct Ladder {
    U8_t startLoad;           // percent
    U32_t floor;              // percent
    U32_t overheat;           // degrees Celsius
    U32_t hottest;            // degrees Celsius, the highest reading
    std::vector<Step> steps;  // the lowest first
};

Ladder ladder();

// No average leaves a fan at this load: below `down` it goes down, all else is above `up`.
bool staysNowhere(const Step& step);

std::string ladderText(const Ladder& ladder);
std::string ladderSvg(const Ladder& ladder, const std::string& title);

}  // namespace personality
