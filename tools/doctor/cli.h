// SPDX-License-Identifier: Apache-2.0
// The command line of esa-doctor.
#pragma once

#include <ostream>

namespace doctor {

// Runs one command line; the table goes to `out`, one line per failure to `err`. Returns the exit
// code.
int run(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace doctor
