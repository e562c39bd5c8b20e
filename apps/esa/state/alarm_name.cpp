// SPDX-License-Identifier: Apache-2.0
#include "state/alarm_name.h"

#include <iterator>

namespace {

struct AlarmName {
    const char* name;
    const char* asRead;
};
constexpr AlarmName ALARM_NAMES[] = {
    {"IDEL_S0", "IDEL_S0"},     {"FAULT_S1", "FAULT_S1"},       {"REMIND_S2", "REMIND_S2"},
    {"MUTE_S3", "MUTE_S3"},     {"CRITICAL_S4", "CRITICAL_S4"}, {"STATE_S5", "INVALID_S5"},
    {"STATE_S6", "INVALID_S6"}, {"STATE_S7", "INVALID_S7"},
};

}  // namespace

const char* esaAlarmStateName(U32_t state) {
    return state < std::size(ALARM_NAMES) ? ALARM_NAMES[state].name : nullptr;
}

const char* esaAlarmStateNameAsRead(U32_t state) {
    return state < std::size(ALARM_NAMES) ? ALARM_NAMES[state].asRead : nullptr;
}
