// SPDX-License-Identifier: Apache-2.0
// What a scenario can look at: "SUBJECT = VALUE", for example "fan 1 load = 50".
#pragma once

#include <optional>
#include <string>

#include "lab/session/lab.h"

namespace enclab {

// Empty when the check holds, else what is instead. Throws std::exception with a reason when the
// check is none, or not one of this lab.
std::optional<std::string> checkLab(Lab& lab, const std::string& check);

}  // namespace enclab
