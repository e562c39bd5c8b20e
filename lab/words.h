// SPDX-License-Identifier: Apache-2.0
// What the words of a command line may be. Each function throws std::invalid_argument with a text
// that names the word it cannot take.
#pragma once

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

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

}  // namespace enclab
