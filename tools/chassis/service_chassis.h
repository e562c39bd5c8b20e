// SPDX-License-Identifier: Apache-2.0
// What the service's own chassis rows say, for tools and the lab: they keep no list of their own.
#pragma once

#include <string>
#include <vector>

#include "state/chassis.h"

namespace service {

// The row of an enclosure type; null for a type the service does not know.
const EsaChassis_t* chassisRow(KORVO_E_CHASSIS_t type);
// Its title, empty for such a type.
std::string chassisTitle(KORVO_E_CHASSIS_t type);

// The type that a personality file with this text selects.
KORVO_E_CHASSIS_t chassisSelected(const std::string& personality);

// The rows that a personality file can select and that have so many slots and supplies.
std::vector<const EsaChassis_t*> chassisLike(unsigned slots, unsigned supplies);

}  // namespace service
