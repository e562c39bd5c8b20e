// SPDX-License-Identifier: Apache-2.0
#include "lab/scenario/judge.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstdio>
#include <span>

#include "lab/peers/message.h"
#include "lab/words.h"

namespace enclab {

namespace {

// With one blank for any number of them.
std::string squeezed(std::string_view text) {
    std::string result(text);
    const auto twoBlanks = [](char a, char b) { return a == ' ' && b == ' '; };
    result.erase(std::unique(result.begin(), result.end(), twoBlanks), result.end());
    return result;
}

bool beginsAs(std::string_view line, std::string_view pattern) {
    const std::size_t star = pattern.find('*');
    const std::string_view head = pattern.substr(0, star);
    if (!line.starts_with(head)) {
        return false;
    }
    if (star == pattern.npos) {
        return true;
    }
    line.remove_prefix(head.size());
    const std::string_view rest = pattern.substr(star + 1);
    for (std::size_t skipped = 0; skipped <= line.size(); ++skipped) {
        if (beginsAs(line.substr(skipped), rest)) {
            return true;
        }
    }
    return false;
}

// "3x mail*": how often, and what.
std::pair<long, std::string> counted(const std::string& pattern) {
    long count = 1;
    int used = 0;
    const bool found = std::sscanf(pattern.c_str(), "%ldx %n", &count, &used) == 1 && used > 0;
    return found ? std::pair(count, pattern.substr(static_cast<std::size_t>(used)))
                 : std::pair(1L, pattern);
}

}  // namespace

void checkPattern(const std::string& pattern) {
    const std::string text = counted(pattern).second;
    const std::size_t end = text.find_first_of(" *");
    const std::string begins = text.substr(0, end);
    const bool whole = end != text.npos && text[end] == ' ';
    const std::vector<std::string> tags = messageTags();
    if (std::ranges::none_of(tags, [&](const std::string& tag) {
            return whole ? tag == begins : tag.starts_with(begins);
        })) {
        refuse(fmt::format("no message begins with '{}'{}; they begin with: {}", begins,
                           didYouMean(begins, tags), fmt::join(tags, ", ")));
    }
}

bool matches(std::string_view line, std::string_view pattern) {
    return beginsAs(squeezed(line), squeezed(pattern));
}

void Judge::expect(int owner, const std::vector<std::string>& patterns) {
    for (const std::string& pattern : patterns) {
        const auto [count, text] = counted(pattern);
        open_.push_back({owner, text, count, unexpected_.size()});
    }
}

bool Judge::take(std::string_view line) {
    const auto found = std::ranges::find_if(open_, [&](const Expectation& expectation) {
        return expectation.missing > 0 && matches(line, expectation.pattern);
    });
    if (found != open_.end()) {
        --found->missing;
        return true;
    }
    if (std::ranges::any_of(allowed_,
                            [&](const auto& pattern) { return matches(line, pattern); })) {
        return true;
    }
    unexpected_.emplace_back(squeezed(line));
    return false;
}

std::string Judge::missed(const Expectation& expectation) const {
    const auto instead = std::span(unexpected_).subspan(expectation.unexpectedBefore);
    return fmt::format("missed{}: {}; came instead: {}",
                       expectation.missing > 1 ? fmt::format(" {} times", expectation.missing) : "",
                       expectation.pattern,
                       instead.empty() ? "nothing" : fmt::format("{}", fmt::join(instead, "; ")));
}

std::vector<std::string> Judge::close(int owner) {
    std::vector<std::string> lines;
    for (const Expectation& expectation : open_) {
        if (expectation.owner == owner && expectation.missing > 0) {
            lines.push_back(missed(expectation));
        }
    }
    std::erase_if(open_, [owner](const Expectation& one) { return one.owner == owner; });
    return lines;
}

}  // namespace enclab
