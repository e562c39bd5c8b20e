// SPDX-License-Identifier: Apache-2.0
// What the chassis a personality file selects makes of its values.
#pragma once

#include "state/chassis.h"
#include "tools/personality/report.h"

namespace personality {

// The service's row of esaControl.enclosureType.
const EsaChassis_t& chassis();

// What becomes of sensors that a chassis does not have.
struct SurplusSensors {
    Severity severity;
    const char* text;
};
SurplusSensors surplusSensors(EsaSurplusSensors_e fate);

}  // namespace personality
