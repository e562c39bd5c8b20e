// SPDX-License-Identifier: Apache-2.0
#include "tools/personality/facts.h"

#include <algorithm>
#include <iterator>

#include "chips/tachometer.h"

namespace personality {

static constexpr ChassisFacts FACTS[] = {
    {KORVO_E_CHASSIS_NONE, "no enclosure services", 0, 0, 0, Severity::note, "", 0, false, false,
     0},
    {KORVO_E_CHASSIS_XYRATEX_2U12ATX, "Xyratex 2U12ATX, two fan groups", 25, 8, 2,
     Severity::warning, "count as 0 degrees and pull the average down",
     ESA_K_TACHOMETER_CLOCK_VSC055, false, true, 127},
    {KORVO_E_CHASSIS_KORVO_VSC055, "VSC055 with LM75 sensors", 50, 8, 6, Severity::unusable,
     "have no address: the enclosure does not start up and is never polled",
     ESA_K_TACHOMETER_CLOCK_VSC055, false, false, 127},
    {KORVO_E_CHASSIS_KORVO_W83792AD, "W83792AD with PCA9539", 50, 6, 3, Severity::warning,
     "are unreadable and left out of the average", ESA_K_TACHOMETER_CLOCK_WINBOND, true, false,
     255},
};

const ChassisFacts& chassisFacts() {
    const auto* const found =
        std::find_if(std::begin(FACTS), std::end(FACTS),
                     [](const auto& facts) { return facts.type == esaControl.enclosureType; });
    return found != std::end(FACTS) ? *found : FACTS[0];
}

}  // namespace personality
