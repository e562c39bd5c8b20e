// SPDX-License-Identifier: Apache-2.0
// Where the message switch is: in a lab, or on a board by the platform's parameter area.
#pragma once

#include <string>

#include "tools/common/settings.h"

namespace sesctl {

// What the command line says; empty or 0: nothing.
struct Whereabouts {
    std::string name;       // of a lab
    std::string directory;  // of a lab
    int key = 0;            // of the parameter area
    std::string settings = tools::SETTINGS;
};

// The switch's socket for SES clients. Told nothing: $ESA_MMSG_DIR, else the first that is there of
// the board's by the settings' key and the default lab's. Throws Failure: unreachable, with what
// was looked at.
std::string switchSocket(const Whereabouts& where);

}  // namespace sesctl
