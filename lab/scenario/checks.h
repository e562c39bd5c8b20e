// SPDX-License-Identifier: Apache-2.0
// What a scenario can look at: "SUBJECT = VALUE", for example "fan 1 load = 50".
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "lab/session/lab.h"

namespace enclab {

class Check {
  public:
    // "SUBJECT = VALUE", "SUBJECT = LOW..HIGH", the same with "not" for "=", "SUBJECT < NUMBER" or
    // "SUBJECT > NUMBER". Of a subject of several numbers each is compared. Throws
    // std::invalid_argument with the reason when it is none.
    explicit Check(std::string text, int line = 0);

    const std::string& text() const { return text_; }
    int line() const { return line_; }  // of the scenario's file
    // Empty when the check holds, else what is instead. Throws std::exception with a reason when
    // this lab has nothing of the kind.
    std::optional<std::string> instead(Lab& lab) const;

  private:
    using Words = std::vector<std::string>;
    using Value = std::string (*)(Lab&, const Words&);

    void findSubject(const Words& words);
    void readWanted(const Words& words);
    bool holds(const std::string& value) const;

    std::string text_;
    int line_;
    Value value_ = nullptr;
    Words stars_;  // of the subject
    bool not_ = false;
    std::string wanted_;
    std::optional<std::pair<double, double>> range_;  // instead of `wanted_`, both included
};

}  // namespace enclab
