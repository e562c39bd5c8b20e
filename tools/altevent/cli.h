// SPDX-License-Identifier: Apache-2.0
// The command line of altevent.
#pragma once

#include <cstdio>

namespace altevent {

// Runs the command on the two streams; its exit status.
int run(int argc, const char* const* argv, std::FILE* out, std::FILE* err);

}  // namespace altevent
