// SPDX-License-Identifier: Apache-2.0
#include "lab/session/personality.h"

#include <fmt/format.h>

#include <cstdlib>
#include <stdexcept>

namespace enclab {

namespace {

// In the order the daemon looks for their names.
const struct {
    std::string_view lab;
    Personality personality;
} kPersonalities[] = {
    {"xyratex",
     {.chassis = "Xyratex 2U12ATX",
      .fanSpeedDivisor = 1,
      .coolingMaxNumber = 8,
      .temperatureSensorMaxNumber = 2,
      .fanFaultRpmLimit = 4800}},
    {"vsc055", {}},
    {"w83792ad",
     {.chassis = "Winbond W83792AD Custom",
      .coolingMaxNumber = 6,
      .temperatureSensorMaxNumber = 3}},
};

}  // namespace

Personality personalityOf(std::string_view labChassis) {
    for (const auto& [lab, personality] : kPersonalities) {
        if (lab == labChassis) {
            return personality;
        }
    }
    throw std::out_of_range(fmt::format("no personality file selects {}", labChassis));
}

std::vector<std::string> selectableChassis() {
    std::vector<std::string> names;
    for (const auto& entry : kPersonalities) {
        names.emplace_back(entry.lab);
    }
    return names;
}

std::string chassisTitle(std::string_view labChassis) {
    for (const auto& [lab, personality] : kPersonalities) {
        if (lab == labChassis) {
            return personality.chassis;
        }
    }
    return std::string(labChassis);
}

// The prequalified names select the VSC055 chassis.
std::string_view chassisOf(std::string_view xml) {
    for (const auto& [lab, personality] : kPersonalities) {
        if (xml.find(fmt::format("\"{}\"", personality.chassis)) != xml.npos) {
            return lab;
        }
    }
    return "vsc055";
}

std::string Personality::xml() const {
    std::string text = fmt::format(
        "<?xml version=\"1.0\"?>\n<personality>\n    <chassis name=\"{}\"/>\n", chassis);
    for (const auto& [name, value] : kPersonalityKeys) {
        text += fmt::format("    <parameter name=\"{}\" value=\"{}\"/>\n", name, this->*value);
    }
    return text + "</personality>\n";
}

std::optional<int> personalityValue(std::string_view xml, std::string_view key) {
    const std::size_t found = xml.find(fmt::format("\"{}\"", key));
    const std::size_t value = found == xml.npos ? xml.npos : xml.find("value", found);
    if (value == xml.npos || value + 7 > xml.size()) {
        return std::nullopt;
    }
    return std::atoi(std::string(xml.substr(value + 7, 16)).c_str());
}

}  // namespace enclab
