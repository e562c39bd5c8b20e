// SPDX-License-Identifier: Apache-2.0
// Weighs what the daemon sends against what was expected of it. Every message must be expected by
// somebody, or allowed; each expectation takes one message.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace enclab {

// Whether the line begins as the pattern says: '*' stands for any text, a blank for any number of
// them.
bool matches(std::string_view line, std::string_view pattern);

// Throws std::invalid_argument when no message of the daemon begins like the pattern: "mial*".
void checkPattern(const std::string& pattern);

class Judge {
  public:
    explicit Judge(std::vector<std::string> allowed = {}) : allowed_(std::move(allowed)) {}

    // Opens the expectations of `owner`, an arbitrary number: patterns, with "3x " in front for
    // three of them.
    void expect(int owner, const std::vector<std::string>& patterns);
    // A message came; false: nobody expected it.
    bool take(std::string_view line);
    // The time of `owner` is over: what it still misses, one line each.
    std::vector<std::string> close(int owner);

  private:
    struct Expectation {
        int owner;
        std::string pattern;
        long missing;
        std::size_t unexpectedBefore;  // size of unexpected_ when it was opened
    };
    std::string missed(const Expectation& expectation) const;

    std::vector<std::string> allowed_;
    std::vector<Expectation> open_;
    std::vector<std::string> unexpected_;
};

}  // namespace enclab
