// SPDX-License-Identifier: Apache-2.0
// A scenario as its file tells it: what is done to a lab at which time, and what must come of it.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "lab/chassis/catalog.h"
#include "lab/scenario/checks.h"

namespace enclab {

// A text of the file, or about a line of it.
struct Text {
    std::string text;
    int line;
};

// One moment of a scenario. Times are seconds; 0 is the daemon's start.
struct Step {
    int line = 0;  // in the file
    std::string name;
    double at = 0;
    std::vector<Text> commands;  // as the lab takes them
    // Messages of the daemon that must come before `within` is over, each once.
    std::vector<std::string> expected;
    // What must hold when `within` is over.
    std::vector<Check> checks;
    double within = 0;
};

struct Scenario {
    std::filesystem::path file;
    std::string title;
    std::string chassis;
    bool oneOfSeveral = false;  // the file plays on other chassis, too
    Personality personality;
    bool plant = false;                // physics: fans with inertia, heat
    std::vector<std::string> start;    // messages of each start of the daemon
    std::vector<std::string> allowed;  // messages that may come, or not, at any time
    double end = 0;                    // when it is over
    std::vector<Text> mistakes;        // with any, it cannot be played
    std::vector<Step> steps;           // in the order of their times
};

// A scenario that cannot be run as it is written.
class ScenarioError : public std::runtime_error {
  public:
    // The text begins "FILE:LINE: ".
    ScenarioError(const std::filesystem::path& file, int line, const std::string& text);
};

// The file's scenario on each chassis it is for, in the file's order. Throws ScenarioError when it
// is none; what is wrong with its texts and steps is among its mistakes, without being a part of
// it.
std::vector<Scenario> readScenario(const std::filesystem::path& file);

}  // namespace enclab
