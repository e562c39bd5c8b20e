// SPDX-License-Identifier: Apache-2.0
// Names of the numbers and bits that records of the alternate event log carry.
#pragma once

#include <span>
#include <string>

#include "basetypes.h"

namespace altevent {

struct Name {
    U32_t value;
    const char* text;
};
using Names = std::span<const Name>;

// Name of `value`, empty when it has none.
std::string nameOf(Names names, U32_t value);

extern const Names MESSAGE_TYPES;      // MSG_TYPE
extern const Names ENDPOINTS;          // MMSG_EPID
extern const Names PROTOCOLS;          // MMSG_PROTOCOL
extern const Names REQUESTS;           // whole opcode words: protocol and type
extern const Names EVENT_TYPES;        // EMP_TYPE
extern const Names SIGNALS;            // those a process records
extern const Names ELEMENT_TYPES;      // SesElementType_e
extern const Names FAN_SWITCHES;       // coolingElementOnOff
extern const Names TEMPERATURES;       // degrees Celsius that are none
extern const Names TEMPERATURE_BANDS;  // EsaEventTemperatureState_e
extern const Names ALARM_STATES;
extern const Names COMPOSITE_FAULTS;   // bits
extern const Names POWER_SUPPLY_BITS;  // bits

}  // namespace altevent
