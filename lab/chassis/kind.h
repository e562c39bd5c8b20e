// SPDX-License-Identifier: Apache-2.0
// What the lab itself knows of a chassis. Each kind is defined in the file of its chassis and bears
// the chassis' name in the lab, which is also that of its golden traffic and of its page.
#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "esa_evl.h"
#include "lab/chassis/chassis.h"
#include "lab/chassis/list.h"
#include "lab/chassis/personality.h"

namespace enclab {

// What a personality file tells about a chassis; what it leaves out, or what the chassis has fixed,
// stands as the chassis has it. Counts above what the chassis can have are cut to that.
struct ChassisTuning {
    std::optional<int> fans = {};
    std::optional<int> sensors = {};
    std::optional<int> fanSpeedDivisor = {};
};

struct ChassisKind {
    // The enclosure types it is; a personality file that selects it selects the first.
    std::span<const KORVO_E_CHASSIS_e> types;
    std::unique_ptr<Chassis> (*make)(const ChassisTuning& tuning);
    // What the service says in its first poll of a sound one, as scenarios expect it.
    std::span<const std::string_view> firstPoll = {};
    Personality personality = {};  // the lab's own, of a chassis that a personality file selects
};

// `option` as a tuning has it, between `least` and `most`.
inline void tune(int& option, const std::optional<int>& value, int least, int most) {
    option = std::clamp(value.value_or(option), least, most);
}

#define ENCLAB_DECLARE(name) extern const ChassisKind name;
namespace kinds {
ENCLAB_CHASSIS(ENCLAB_DECLARE)
}
#undef ENCLAB_DECLARE

}  // namespace enclab
