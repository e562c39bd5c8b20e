// SPDX-License-Identifier: Apache-2.0
// The command line of sesctl.
#pragma once

#include <ostream>

namespace sesctl {

// Runs one command line; results go to `out`, one line per failure to `err`. Returns the exit code.
int run(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace sesctl
