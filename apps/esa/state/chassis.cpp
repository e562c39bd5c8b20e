// SPDX-License-Identifier: Apache-2.0
#include "state/chassis.h"

namespace {

EsaChassisTable_t tableInUse;

}  // namespace

void esaChassisTableUse(EsaChassisTable_t table) {
    tableInUse = table;
}

EsaChassisTable_t esaChassisTableInUse() {
    return tableInUse;
}

const EsaChassis_t* esaChassisOf(KORVO_E_CHASSIS_t enclosureType) {
    const std::size_t place = std::size_t{enclosureType} - KORVO_E_CHASSIS_NONE;
    return place < tableInUse.size() ? tableInUse[place] : nullptr;
}

const EsaChassis_t* esaChassis() {
    return esaChassisOf(esaControl.enclosureType);
}

const EsaChassis_t& esaChassisOrNone() {
    const EsaChassis_t* row = esaChassis();
    return row != nullptr ? *row : *esaChassisOf(KORVO_E_CHASSIS_NONE);
}
