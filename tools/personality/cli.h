// SPDX-License-Identifier: Apache-2.0
// The command line of personality.
#pragma once

#include <ostream>

namespace personality {

// Runs one command line; the report goes to `out`, one line per failure to `err`. Returns the exit
// code.
int run(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace personality
