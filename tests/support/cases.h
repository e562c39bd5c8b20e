// SPDX-License-Identifier: Apache-2.0
// Test cases in a file, as people type them:
//   # comment
//   [name of the case]
//   key: value
//   key:
//       lines of a text, indented by four blanks
// A key may stand several times.
#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

struct Case {
    std::string name;
    std::vector<std::pair<std::string, std::string>> fields;  // in their order

    std::vector<std::string> all(const std::string& key) const {
        std::vector<std::string> values;
        for (const auto& [at, value] : fields) {
            if (at == key) {
                values.push_back(value);
            }
        }
        return values;
    }
    bool has(const std::string& key) const { return !all(key).empty(); }
    std::string get(const std::string& key, const std::string& otherwise = "") const {
        return has(key) ? all(key).front() : otherwise;
    }
    unsigned number(const std::string& key, unsigned otherwise) const {
        return has(key) ? static_cast<unsigned>(std::stoul(get(key), nullptr, 0)) : otherwise;
    }
};

inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

inline std::vector<std::string> wordsOf(const std::string& text) {
    std::vector<std::string> words;
    std::istringstream stream(text);
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

// Throws when the file is not there or holds anything else.
inline std::vector<Case> casesOf(const std::string& file) {
    std::stringstream text;
    text << std::ifstream(file).rdbuf();
    std::vector<Case> cases;
    std::string blank;  // lines that may stand inside a text
    for (const std::string& line : linesOf(text.str())) {
        const std::size_t colon = line.find(':');
        if (line.empty() || line[0] == '#') {
            blank += line.empty() ? "\n" : "";
            continue;
        }
        if (line.starts_with("    ") && !cases.empty()) {
            cases.back().fields.back().second += blank + line.substr(4) + "\n";
        } else if (line.starts_with("[") && line.ends_with("]")) {
            cases.push_back({line.substr(1, line.size() - 2), {}});
        } else if (colon != line.npos && !cases.empty()) {
            const std::size_t begin = line.find_first_not_of(' ', colon + 1);
            cases.back().fields.emplace_back(line.substr(0, colon),
                                             begin == line.npos ? "" : line.substr(begin));
        } else {
            throw std::runtime_error(file + ": " + line);
        }
        blank.clear();
    }
    if (cases.empty()) {
        throw std::runtime_error(file + ": no cases");
    }
    return cases;
}
