// SPDX-License-Identifier: Apache-2.0
#include "chassis/table.h"

#include <cstddef>

#define ESA_CHASSIS_TYPE(type, row) type,
#define ESA_CHASSIS_ROW(type, row) &row,
#define ESA_CHASSIS_CASE(type, row) case type:

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

// Does not compile while an enumerator has no line.
constexpr bool isInTable(KORVO_E_CHASSIS_e type) {
    switch (type) { ESA_CHASSIS_TABLE(ESA_CHASSIS_CASE) return true; }
    return false;
}
static_assert(isInTable(KORVO_E_CHASSIS_NONE));

}  // namespace

EsaChassisTable_t esaChassisTable() {
    return ROWS;
}
