// SPDX-License-Identifier: Apache-2.0
#include "lab/chassis/catalog.h"

#include <fmt/core.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <stdexcept>

#include "tools/chassis/service_chassis.h"

namespace enclab {
namespace {

#define ENCLAB_ROW(name) {#name, &kinds::name},
struct Entry {
    std::string_view name;
    const ChassisKind* kind;
};
constexpr Entry kChassis[] = {ENCLAB_CHASSIS(ENCLAB_ROW)};

std::string_view unquoted(std::string_view quoted) {
    return quoted.substr(1, quoted.size() - 2);
}

}  // namespace

std::vector<std::string_view> chassisNames() {
    std::vector<std::string_view> names;
    for (const auto& chassis : kChassis) {
        names.push_back(chassis.name);
    }
    return names;
}

std::vector<std::string> selectableChassis() {
    std::vector<std::string> names;
    for (const std::string_view name : chassisNames()) {
        if (!selectorOf(name).empty()) {
            names.emplace_back(name);
        }
    }
    return names;
}

const ChassisKind& chassisKind(std::string_view name) {
    for (const auto& chassis : kChassis) {
        if (chassis.name == name) {
            return *chassis.kind;
        }
    }
    throw std::out_of_range(
        fmt::format("no chassis \"{}\": there are {}", name, fmt::join(chassisNames(), ", ")));
}

std::unique_ptr<Chassis> makeChassis(std::string_view name, const ChassisTuning& tuning) {
    return chassisKind(name).make(tuning);
}

std::string_view chassisOfType(KORVO_E_CHASSIS_t type) {
    for (const auto& [name, kind] : kChassis) {
        if (std::ranges::count(kind->types, type) != 0) {
            return name;
        }
    }
    return {};
}

std::string_view chassisOf(const std::string& xml) {
    const std::string_view name = chassisOfType(service::chassisSelected(xml));
    return name.empty() ? kDefaultChassis : name;
}

std::string chassisTitle(std::string_view name) {
    return service::chassisTitle(chassisKind(name).types.front());
}

// Of several names the last is for any enclosure of this wiring.
std::string_view selectorOf(std::string_view name) {
    const auto chassis = std::ranges::find(kChassis, name, &Entry::name);
    if (chassis == std::end(kChassis)) {
        return {};
    }
    const auto names = service::chassisRow(chassis->kind->types.front())->names;
    return names.empty() ? std::string_view() : unquoted(names.back().quoted);
}

Personality personalityOf(std::string_view name) {
    const std::string_view selector = selectorOf(name);
    if (selector.empty()) {
        throw std::out_of_range(fmt::format("no personality file selects {}", name));
    }
    Personality personality = chassisKind(name).personality;
    personality.chassis = selector;
    return personality;
}

}  // namespace enclab
