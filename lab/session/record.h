// SPDX-License-Identifier: Apache-2.0
// What was done in a lab and what the daemon said to it, as a scenario that plays the same again.
#pragma once

#include <string>
#include <vector>

#include "lab/session/lab.h"

namespace enclab {

// A command that was done.
struct Deed {
    double time;  // Lab::time()
    std::string line;
};

// Whether a scenario needs the command: it changes something.
bool worthRecording(const std::string& line);

// The text of a scenario file, up to now. A message belongs to what was done before it; polls come
// a little sooner or later in a scenario than in a lab in real time, so each may come a poll later.
std::string recorded(Lab& lab, const std::vector<Deed>& deeds);

}  // namespace enclab
