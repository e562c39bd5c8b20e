// SPDX-License-Identifier: Apache-2.0
// The command line of esaparams.
#pragma once

#include <ostream>

namespace esaparams {

// Runs one command line; what it shows goes to `out`, one line per failure to `err`. Returns the
// exit code.
int run(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace esaparams
