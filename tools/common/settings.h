// SPDX-License-Identifier: Apache-2.0
// What the unit of the service is told: /etc/default/esa.
#pragma once

#include <cstdlib>
#include <fstream>
#include <string>

namespace tools {

inline constexpr char SETTINGS[] = "/etc/default/esa";

inline std::string trimmed(const std::string& text) {
    constexpr char BLANKS[] = " \t\r";
    const std::size_t first = text.find_first_not_of(BLANKS);
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

inline std::string unquoted(const std::string& value) {
    const bool isQuoted = value.size() > 1 && value.front() == value.back() &&
                          (value.front() == '"' || value.front() == '\'');
    return isQuoted ? value.substr(1, value.size() - 2) : value;
}

// The value of NAME in a file of NAME=VALUE lines, else of the environment; empty without. As
// systemd reads an EnvironmentFile: blanks around both and quotes around the value do not count, of
// two lines the last one does. A name behind `#` or `;` is another name.
inline std::string setting(const std::string& file, const std::string& name) {
    const char* const inherited = std::getenv(name.c_str());
    std::string value = inherited != nullptr ? inherited : "";
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        const std::size_t equals = line.find('=');
        if (equals != line.npos && trimmed(line.substr(0, equals)) == name) {
            value = unquoted(trimmed(line.substr(equals + 1)));
        }
    }
    return value;
}

// The key of the parameter area there, as the service takes it; 0 without.
inline int settingsKey(const std::string& file) {
    return static_cast<int>(std::strtol(setting(file, "ESA_SHM_KEY").c_str(), nullptr, 0));
}

}  // namespace tools
