// SPDX-License-Identifier: Apache-2.0
#include "tools/sesctl/pages.h"

#include <algorithm>
#include <iterator>

namespace sesctl {

namespace {

const char* const STATUS_NAMES[] = {
    "unsupported",   "OK",      "critical",     "non-critical", "unrecoverable",
    "not installed", "unknown", "not available"};

template <typename Owner, std::size_t N>
bool anyFault(const Owner& owner, const Flag<Owner> (&flags)[N]) {
    return std::any_of(std::begin(flags), std::end(flags),
                       [&owner](const Flag<Owner>& flag) { return flag.fault && owner.*flag.set; });
}

bool codeFault(const Element& element) {
    return element.code == SES_E_ELEMENT_STATUS_CODE_CRITICAL ||
           element.code == SES_E_ELEMENT_STATUS_CODE_NONCRITICAL ||
           element.code == SES_E_ELEMENT_STATUS_CODE_UNRECOVERABLE;
}

template <typename T>
bool anyInFault(const std::vector<T>& elements) {
    return std::any_of(elements.begin(), elements.end(), [](const T& e) { return inFault(e); });
}

}  // namespace

bool inFault(const Device& device) {
    return codeFault(device) || anyFault(device, DEVICE_FLAGS);
}
bool inFault(const PowerSupply& supply) {
    return codeFault(supply) || anyFault(supply, POWER_SUPPLY_FLAGS);
}
bool inFault(const Fan& fan) {
    return codeFault(fan) || !fan.rpm || anyFault(fan, FAN_FLAGS);
}
bool inFault(const Sensor& sensor) {
    return codeFault(sensor) || !sensor.celsius || anyFault(sensor, SENSOR_FLAGS);
}
bool inFault(const Alarm& alarm) {
    return codeFault(alarm) || (alarm.flags && anyFault(*alarm.flags, ALARM_FLAGS));
}

std::string statusName(std::uint8_t code) {
    return code < std::size(STATUS_NAMES) ? STATUS_NAMES[code] : "reserved " + std::to_string(code);
}

bool faultPresent(const Status& status) {
    return anyFault(status.page, PAGE_FLAGS) || anyInFault(status.devices) ||
           anyInFault(status.powerSupplies) || anyInFault(status.fans) ||
           anyInFault(status.sensors) || anyInFault(status.alarms);
}

}  // namespace sesctl
