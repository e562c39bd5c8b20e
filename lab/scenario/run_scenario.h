// SPDX-License-Identifier: Apache-2.0
// Runs a scenario in a lab of its own under virtual time, and tells what it saw.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "lab/scenario/scenario.h"
#include "lab/session/lab.h"

namespace enclab {

struct Outcome {
    std::vector<std::string> failures;  // "at 71.0, line 12: ..."; none: all held
    std::vector<std::string> daemonOutput;
};

struct RunOptions {
    LabOptions lab = {};  // which daemon, where the lab lives, whether the daemon traces
    bool bus = false;     // the timeline has the transfers, too
    std::optional<std::uint64_t> seed = {};  // of fault rules that act by chance and name none
};

// What the lab would refuse of the scenario: its commands are done to a lab whose daemon is never
// started, and its checks look there for what they name.
std::vector<Text> rehearse(const Scenario& scenario, const RunOptions& options);

// `tell` gets the timeline line by line:
// nothing in it depends on the machine or on real time. With a trace, the daemon's log is part of
// it. It returns false to end the run; SIGHUP, SIGINT and SIGTERM end it at once, even while the
// daemon works: a failure. Throws ScenarioError when the lab refuses a command of the scenario,
// std::runtime_error when there can be no lab.
Outcome runScenario(const Scenario& scenario, const RunOptions& options,
                    const std::function<bool(const std::string&)>& tell);

}  // namespace enclab
