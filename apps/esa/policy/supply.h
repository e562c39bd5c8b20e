// SPDX-License-Identifier: Apache-2.0
// The two conditions of the power supplies, voltage tolerance and redundancy: fault, remembered
// state, and what is said and sent when it changes. A chassis brings its texts as data.
#pragma once

#include "state/chassis.h"
#include "state/esa_control.h"

// Trace lines; null: nothing is said.
struct EsaSupplyTexts_t {
    const char* changed;
    const char* already;
};

struct EsaSupplyCondition_t {
    U32_t faultBit;   // an ESA_K_FAULT_ bit; 0: the composite fault manager is not told
    U32_t statusBit;  // an ESA_K_POWER_ bit of powerSupplyStatus
    EsaSupplyTexts_t ok;
    EsaSupplyTexts_t notOk;
};

// Tells the fault manager and keeps the status bit. True when the bit changed.
bool esaSupplyConditionUpdate(const EsaSupplyCondition_t& condition, bool ok);

// As a poll does it: update and, on a change, the event.
void esaSupplyConditionPoll(const EsaSupplyCondition_t& condition, bool ok);

// As a status page does it: update; fills commonStatus and fail of `element` and notes a change.
// fail: a peer asked for it on supply `supply`, or the fault is recorded.
void esaSupplyPageUpdate(const EsaSupplyCondition_t& condition, bool ok, int supply,
                         PowerSupplyElementStat_t* element, EsaPageChange_t* change);

// Conditions that several chassis share.
extern const EsaSupplyCondition_t ESA_SUPPLY_REDUNDANCY;    // polls and pages
extern const EsaSupplyCondition_t ESA_SUPPLY_VOLTAGE;       // polls
extern const EsaSupplyCondition_t ESA_SUPPLY_VOLTAGE_PAGE;  // status pages
