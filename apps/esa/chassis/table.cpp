// SPDX-License-Identifier: Apache-2.0
#include "chassis/table.h"

#include <cstddef>

#define ESA_CHASSIS_TYPE(type, row) type,
#define ESA_CHASSIS_ROW(type, row) &row,

namespace {

constexpr KORVO_E_CHASSIS_t TYPES[] = {ESA_CHASSIS_TABLE(ESA_CHASSIS_TYPE)};
constexpr const EsaChassis_t* ROWS[] = {ESA_CHASSIS_TABLE(ESA_CHASSIS_ROW)};

constexpr bool typesInOrder() {
    std::size_t type = KORVO_E_CHASSIS_NONE;
    for (const KORVO_E_CHASSIS_t each : TYPES) {
        if (each != type++) {
            return false;
        }
    }
    return true;
}
static_assert(typesInOrder(), "the row of type n stands at place n");

}  // namespace

EsaChassisTable_t esaChassisTable() {
    return ROWS;
}
