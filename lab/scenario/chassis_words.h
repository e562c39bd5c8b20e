// SPDX-License-Identifier: Apache-2.0
// What lets the texts of a scenario hold on every chassis: "{fans}" stands for what the chassis
// has, and "[xyratex] TEXT" or "[not w83792ad] TEXT" is for some only.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "lab/chassis/catalog.h"

namespace enclab {

class ChassisWords {
  public:
    // Throws std::out_of_range when no personality file selects the chassis.
    ChassisWords(std::string chassis, const Personality& personality);

    // The texts as they read on this chassis, without those for others; "{}" stays. A word may
    // stand for several texts, or none. Throws std::exception with the reason.
    std::vector<std::string> on(const std::string& text) const;
    // What the daemon sends after each start of a sound enclosure.
    std::vector<std::string> usualStart() const;

  private:
    std::optional<std::string> meant(const std::string& text) const;
    std::string filled(const std::string& text) const;

    std::string chassis_;
    std::map<std::string, std::string> words_;               // part of a text
    std::map<std::string, std::vector<std::string>> texts_;  // for a whole one
};

}  // namespace enclab
