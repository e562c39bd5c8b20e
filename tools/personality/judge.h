// SPDX-License-Identifier: Apache-2.0
// What the values in esaControl lead to on the chosen chassis.
#pragma once

#include "tools/personality/report.h"

namespace personality {

// Adds to `findings`. Without a back-end no value has an effect and none is judged.
void judge(const std::vector<Key>& keys, Findings& findings);

}  // namespace personality
