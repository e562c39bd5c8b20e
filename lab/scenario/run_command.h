// SPDX-License-Identifier: Apache-2.0
// `enclab run`: scenario files one after the other.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "lab/scenario/run_scenario.h"

namespace enclab {

struct RunArguments {
    std::vector<std::filesystem::path> files = {};
    std::filesystem::path junit = {};  // empty: no report
    std::string chassis = {};          // plays on this one only; empty: on each the file is for
    bool check = false;                // only looks for mistakes
    RunOptions options = {};           // but the lab's directory
};

// Looks for mistakes in all of the files, then plays them and prints the timelines. The exit
// status: 0 all held, 1 something did not, 2 there are mistakes and nothing was played. A signal to
// end ends it with what there is.
int runScenarios(const RunArguments& arguments);

}  // namespace enclab
