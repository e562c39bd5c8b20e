// SPDX-License-Identifier: Apache-2.0
// What is wrong in a lab, in words: with the enclosure, on its bus, with the peers and the daemon;
// and what the daemon does about it.
#pragma once

#include <string>
#include <vector>

#include "lab/session/lab.h"

namespace enclab {

struct Finding {
    std::string subject;     // "fan 1"
    std::string state;       // "is pulled"
    std::string cure = {};   // the command that mends it; empty: there is none
    std::string event = {};  // how the daemon's events about it begin; empty: it sends none
};

// Nothing where the lab is as it was made and the daemon runs in it.
std::vector<Finding> findings(Lab& lab);

// "the fault LED is lit", "2 mails sent", "the fans run at 100 %"; empty where no daemon runs.
std::vector<std::string> reactions(Lab& lab);

}  // namespace enclab
