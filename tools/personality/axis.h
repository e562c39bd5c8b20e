// SPDX-License-Identifier: Apache-2.0
// The temperature axis of both drawings.
#pragma once

#include <vector>

#include "tools/personality/ladder.h"

namespace personality {

class Axis {
  public:
    // Holds every threshold some reading can reach.
    explicit Axis(const Ladder& ladder);
    // Place of a temperature, 0 at the left end to 1 at the right; ends beyond them.
    double at(U32_t degrees) const;
    std::vector<U32_t> ticks() const;

  private:
    U32_t low_;
    U32_t high_;
    U32_t tick_;
};

// Degrees a fan can stay at the step's load; empty: the step ends with the axis.
std::optional<U32_t> leftEnd(const Step& step);
std::optional<U32_t> rightEnd(const Step& step);

}  // namespace personality
