// SPDX-License-Identifier: Apache-2.0
// A report for people and for programs.
#pragma once

#include "tools/personality/ladder.h"
#include "tools/personality/report.h"

namespace personality {

std::string reportText(const Report& report, const Ladder& ladder);
std::string reportJson(const Report& report, const Ladder& ladder);

}  // namespace personality
