// SPDX-License-Identifier: Apache-2.0
#include "tests/support/golden_traffic.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

// Appends the entries of a line of words; `R` and `W` take two words more, `sleep` one.
static void wordsTake(std::istringstream* words, std::vector<std::string>* entries) {
    for (std::string entry; *words >> entry;) {
        const int more = entry == "R" || entry == "W" ? 2 : entry == "sleep" ? 1 : 0;
        for (int n = 0; n < more; ++n) {
            std::string word;
            *words >> word;
            entry += " " + word;
        }
        if (more == 0 || !*words) {
            throw std::runtime_error("traffic not understood: " + entry);
        }
        entries->push_back(entry);
    }
}

std::vector<std::string> goldenTraffic(const std::string& name) {
    std::ifstream file(std::string(GOLDEN_DIRECTORY) + "/" + name + ".txt");
    if (!file) {
        throw std::runtime_error("no traffic " + name);
    }
    std::vector<std::string> entries;
    for (std::string line; std::getline(file, line);) {
        line.erase(std::min(line.find('#'), line.size()));
        line.erase(line.find_last_not_of(' ') + 1);
        if (line.starts_with("page ")) {
            entries.push_back(line);
        } else {
            std::istringstream words(line);
            wordsTake(&words, &entries);
        }
    }
    return entries;
}
