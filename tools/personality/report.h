// SPDX-License-Identifier: Apache-2.0
// What is known about one personality file: how the service reads it, and what is wrong with that.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "state/esa_control.h"

namespace personality {

enum class Severity { note, warning, unusable };  // from good to bad

struct Finding {
    Severity severity;
    std::string check;  // one name per kind of finding, for scripts
    std::string text;
};
using Findings = std::vector<Finding>;

// A chassis name the file holds.
struct Name {
    std::string name;
    KORVO_E_CHASSIS_t type;
    int line;
    bool chosen;
};

enum class Reading { number, noNumber, noValue, missing };

struct Key {
    std::string name;
    Reading reading = Reading::missing;
    int line = 0;          // 0: missing
    std::string written;   // the value's text, printable, cut when long
    std::string nearMiss;  // missing: where something like it stands
    U32_t stored = 0;
    int bits = 0;  // of the field it is stored in
};

struct Report {
    std::string file;
    std::uintmax_t size = 0;  // bytes
    bool read = false;        // false: nothing but findings
    std::vector<Name> names;  // the chosen one first
    std::vector<Key> keys;    // all, in the service's order
    Findings findings;        // the worst first
};

// note: nothing to complain of.
Severity verdict(const Report& report);

// Reads the file at `path` as the service does, which fills esaControl, and judges what came of it.
Report inspect(const std::string& path);

}  // namespace personality
