// SPDX-License-Identifier: Apache-2.0
// The SES enclosure status page. Reading the hardware and building the page are two steps: the
// first one sends events and LED requests from the very buffer the second one builds in.
#pragma once

#include "state/esa_control.h"

// What one reading of the enclosure found. Elements above the arrays are not in here.
struct StatusPageElements_t {
    DeviceElementStat_t devices[SES_K_DEVICES_MAX];
    PowerSupplyElementStat_t powerSupplies[SES_K_POWER_SUPPLIES_MAX];
    CoolingElementStat_t fans[SES_K_FANS_MAX];
    TemperatureSensorElementStat_t sensors[SES_K_SENSORS_MAX];
    AudibleAlarmElementStat_t alarms[SES_K_ALARMS_MAX];
    U32_t alarmOverall;
};

// Reads the hardware through the chassis table, keeps the books and reports what changed.
// `elements` comes value-initialised.
void statusPageRead(StatusPageElements_t* elements);

// Bytes of the whole page; may exceed what a message holds when the counts are nonsense.
U32_t statusPageSize();

// Writes statusPageSize() bytes at `page`. Touches no hardware, sends nothing.
void statusPageBuild(const StatusPageElements_t& elements, U8_t* page);
