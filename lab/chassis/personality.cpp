// SPDX-License-Identifier: Apache-2.0
#include "lab/chassis/personality.h"

#include <fmt/format.h>

#include <cstdlib>

#include "start/personality.h"

namespace enclab {

std::string Personality::xml() const {
    std::string text = fmt::format(
        "<?xml version=\"1.0\"?>\n<personality>\n    <chassis name=\"{}\"/>\n", chassis);
    for (const auto& [name, value] : kPersonalityKeys) {
        text += fmt::format("    <parameter name=\"{}\" value=\"{}\"/>\n", name, this->*value);
    }
    return text + "</personality>\n";
}

std::optional<int> personalityValue(const std::string& xml, std::string_view key) {
    const std::string quoted = fmt::format("\"{}\"", key);
    const char* const value = esaPersonalityKeyFind(xml.c_str(), quoted.c_str()).value;
    return value != nullptr ? std::optional(std::atoi(value)) : std::nullopt;
}

}  // namespace enclab
