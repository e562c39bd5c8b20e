// SPDX-License-Identifier: Apache-2.0
// Reads the hand-written register traffic under tests/golden.
#pragma once

#include <string>
#include <vector>

// Entries of the file `name` ("xyratex/poll") in order, as FakeBus logs them: "W 41 04=50",
// "sleep 3", and control pages as they stand: "page drive 1 fault; fan 0 off". Throws when the
// file is missing or not understood.
std::vector<std::string> goldenTraffic(const std::string& name);
