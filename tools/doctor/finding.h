// SPDX-License-Identifier: Apache-2.0
// One line of the doctor's table.
#pragma once

#include <string>
#include <vector>

namespace doctor {

enum class Severity { fine, note, warning, unusable };  // from good to bad

struct Finding {
    Severity severity;
    std::string subject;  // "parameter area"
    std::string found;
    std::string cure = {};  // what to do; empty: nothing
};
using Findings = std::vector<Finding>;

}  // namespace doctor
