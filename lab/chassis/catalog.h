// SPDX-License-Identifier: Apache-2.0
// All chassis the lab can build, by name.
#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "lab/chassis/chassis.h"

namespace enclab {

// What a personality file tells about a chassis; what it leaves out, or what the chassis has fixed,
// stands as the chassis has it. Counts above what the chassis can have are cut to that.
struct ChassisTuning {
    std::optional<int> fans = {};
    std::optional<int> sensors = {};
    std::optional<int> fanSpeedDivisor = {};
};

// "vsc055", "xyratex", "w83792ad", "w83782d", "chenbro".
std::vector<std::string_view> chassisNames();

// Throws std::out_of_range for a name that is none of them.
std::unique_ptr<Chassis> makeChassis(std::string_view name, const ChassisTuning& tuning = {});

}  // namespace enclab
