// SPDX-License-Identifier: Apache-2.0
// Runs a scenario in a lab of its own under virtual time, and tells what it saw.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "lab/scenario/scenario.h"
#include "lab/session/lab.h"

namespace enclab {

struct Outcome {
    std::vector<std::string> failures;  // "at 71.0, line 12: ..."; none: all held
    std::vector<std::string> daemonOutput;
};

// `options` say which daemon and where the lab lives. `tell` gets the timeline line by line:
// nothing in it depends on the machine or on real time; it returns false to end the run. Throws
// ScenarioError when the lab refuses a command of the scenario, std::runtime_error when there can
// be no lab.
Outcome runScenario(const Scenario& scenario, LabOptions options,
                    const std::function<bool(const std::string&)>& tell);

}  // namespace enclab
