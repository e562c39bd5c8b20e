// SPDX-License-Identifier: Apache-2.0
// What the chassis a personality file can select make of its values.
#pragma once

#include "state/esa_control.h"
#include "tools/personality/report.h"

namespace personality {

struct ChassisFacts {
    KORVO_E_CHASSIS_t type;
    const char* words;
    U8_t startLoad;  // percent
    U8_t fans;       // tachometers
    U8_t sensors;
    Severity moreSensors;  // sensors beyond these, and what becomes of them
    const char* moreSensorsText;
    U32_t tachometerClock;  // RPM at count 1 and divisor 1; 0: no fans
    // A fan too slow to be measured: counts as stopped, or looks like one of the slowest speed.
    bool slowLooksStopped;
    bool ownDivisor;  // the service sets the divisor to 1 itself
    U32_t hottest;    // degrees Celsius, the highest reading
};

// Of esaControl.enclosureType.
const ChassisFacts& chassisFacts();

}  // namespace personality
