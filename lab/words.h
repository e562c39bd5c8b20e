// SPDX-License-Identifier: Apache-2.0
// What the words of a command line may be. Each function throws std::invalid_argument with a text
// that names the word it cannot take.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <numeric>
#include <ranges>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace enclab {

[[noreturn]] inline void refuse(const std::string& text) {
    throw std::invalid_argument(text);
}

// A finite number; `what` tells the user what is expected: "a fan number".
template <typename Number>
Number number(std::string_view word, const char* what) {
    Number value{};
    const char* const end = word.data() + word.size();
    const auto [stopped, error] = std::from_chars(word.data(), end, value);
    const bool finite = std::isfinite(static_cast<double>(value));
    if (error != std::errc() || stopped != end || !finite) {
        refuse(fmt::format("'{}' is not {}", word, what));
    }
    return value;
}

// Position of the word among the choices.
inline std::size_t choice(std::string_view word, std::initializer_list<const char*> choices) {
    std::size_t n = 0;
    std::string all;
    for (const char* candidate : choices) {
        if (word == candidate) {
            return n;
        }
        ++n;
        all += (all.empty() ? "" : " or ") + fmt::format("'{}'", candidate);
    }
    refuse(fmt::format("'{}' where {} is expected", word, all));
}

// Letters to put in, take out or change until one is the other (Levenshtein).
inline std::size_t lettersApart(std::string_view one, std::string_view other) {
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (const char letter : one) {
        std::size_t diagonal = row[0]++;
        for (std::size_t n = 1; n < row.size(); ++n) {
            const std::size_t change = diagonal + (letter == other[n - 1] ? 0 : 1);
            diagonal = row[n];
            row[n] = std::min({change, row[n] + 1, row[n - 1] + 1});
        }
    }
    return row.back();
}

// " (did you mean 'fan'?)" where the word is a slip of one of the names, else nothing.
template <std::ranges::forward_range Names>
std::string didYouMean(std::string_view word, const Names& names) {
    const auto apart = [word](std::string_view name) { return lettersApart(word, name); };
    const auto nearest = std::ranges::min_element(names, {}, apart);
    const bool slip = nearest != std::ranges::end(names) && apart(*nearest) <= 1 + word.size() / 3;
    return slip ? fmt::format(" (did you mean '{}'?)", *nearest) : "";
}

}  // namespace enclab
