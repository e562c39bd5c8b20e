// SPDX-License-Identifier: Apache-2.0
// All chassis the lab can build, by name: the list of lab/chassis/CMakeLists.txt, in its order.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "lab/chassis/kind.h"

namespace enclab {

// Where nothing selects another one.
inline constexpr std::string_view kDefaultChassis = "vsc055";

std::vector<std::string_view> chassisNames();
// Those that a personality file can select.
std::vector<std::string> selectableChassis();

// Both throw std::out_of_range for a name that is none of them.
const ChassisKind& chassisKind(std::string_view name);
std::unique_ptr<Chassis> makeChassis(std::string_view name, const ChassisTuning& tuning = {});

// The chassis of an enclosure type, empty when there is none.
std::string_view chassisOfType(KORVO_E_CHASSIS_t type);
// The chassis a personality file selects, kDefaultChassis where it selects none.
std::string_view chassisOf(const std::string& xml);
// Title of the enclosure it is.
std::string chassisTitle(std::string_view name);

// The name that selects it in a personality file, empty when none does.
std::string_view selectorOf(std::string_view name);
// The lab's personality of a chassis. Throws std::out_of_range when no personality file selects it.
Personality personalityOf(std::string_view name);

}  // namespace enclab
