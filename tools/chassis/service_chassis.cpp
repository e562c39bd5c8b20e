// SPDX-License-Identifier: Apache-2.0
#include "tools/chassis/service_chassis.h"

#include <algorithm>
#include <iterator>

#include "chassis/table.h"
#include "start/personality.h"

namespace service {

const EsaChassis_t* chassisRow(KORVO_E_CHASSIS_t type) {
    esaChassisTableUse(esaChassisTable());
    return esaChassisOf(type);
}

std::string chassisTitle(KORVO_E_CHASSIS_t type) {
    const EsaChassis_t* const row = chassisRow(type);
    return row != nullptr ? row->facts.title : "";
}

KORVO_E_CHASSIS_t chassisSelected(const std::string& personality) {
    esaChassisTableUse(esaChassisTable());
    return esaPersonalityChoiceFind(personality.substr(0, ESA_K_PERSONALITY_SIZE).c_str()).type;
}

std::vector<const EsaChassis_t*> chassisLike(unsigned slots, unsigned supplies) {
    std::vector<const EsaChassis_t*> rows;
    std::ranges::copy_if(esaChassisTable(), std::back_inserter(rows), [&](const auto* row) {
        return !row->names.empty() && row->setup.deviceMaxNumber == slots &&
               row->setup.powerSupplyMaxNumber == supplies;
    });
    return rows;
}

}  // namespace service
