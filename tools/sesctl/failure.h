// SPDX-License-Identifier: Apache-2.0
// How sesctl ends: its exit codes, and the error that carries one of them up to main().
#pragma once

#include <stdexcept>
#include <string>

namespace sesctl {

enum class ExitCode {
    ok = 0,
    faultPresent = 1,  // `status` shows a fault
    usage = 2,
    unreachable = 3,  // no connection to the message switch
    malformedReply = 4,
    checkCondition = 5,
    noReply = 7,    // in time
    unwritten = 8,  // the output
};

class Failure : public std::runtime_error {
  public:
    Failure(ExitCode code, const std::string& text) : std::runtime_error(text), code_(code) {}
    ExitCode code() const { return code_; }

  private:
    ExitCode code_;
};

}  // namespace sesctl
