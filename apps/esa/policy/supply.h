// SPDX-License-Identifier: Apache-2.0
// The two conditions of the power supplies, voltage tolerance and redundancy: fault, remembered
// state, and what is said and sent when it changes. A chassis brings its inputs and texts as data.
#pragma once

#include "state/chassis.h"

// Conditions that several chassis share.
extern const EsaSupplyCondition_t ESA_SUPPLY_REDUNDANCY;    // polls and pages
extern const EsaSupplyCondition_t ESA_SUPPLY_VOLTAGE;       // polls
extern const EsaSupplyCondition_t ESA_SUPPLY_VOLTAGE_PAGE;  // status pages

// As a poll does it: reads, tells the fault manager, keeps the status bit and, when that changed,
// sends the event.
void esaSupplyPoll(const EsaSupplyInput_t& input);

// As a status page does it, which sends the event itself. `changed`: the status bit has.
struct EsaSupplyState_t {
    bool ok;
    bool changed;
};
EsaSupplyState_t esaSupplyPageRead(const EsaSupplyInput_t& input);

// Entry of a row: all inputs of the row in force, the last of which says how `element` stands.
// fail: a peer asked for it on supply `supply`, or the fault is recorded.
bool esaSupplyPageStatus(int supply, PowerSupplyElementStat_t* element);

// Entries of a row: a fault that a peer indicates counts as the one of this name.
void esaSupplyRedundancyFaultIndicate(ESA_CODE_e status);
void esaSupplyVoltageFaultIndicate(ESA_CODE_e status);
