// SPDX-License-Identifier: Apache-2.0
// For laws: tests that play random histories beside a model.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

using Lines = std::vector<std::string>;
using Bytes = std::vector<std::uint8_t>;

// Texts and numbers in a row; a byte is a number.
template <typename... Parts>
std::string text(const Parts&... parts) {
    std::ostringstream stream;
    const auto put = [&](const auto& part) {
        if constexpr (std::is_same_v<decltype(part), const std::uint8_t&>) {
            stream << static_cast<int>(part);
        } else {
            stream << part;
        }
    };
    (put(parts), ...);
    return stream.str();
}

// The same numbers in each run.
class Random : public std::mt19937 {
  public:
    using std::mt19937::mt19937;
    std::size_t below(std::size_t limit) { return (*this)() % limit; }
    bool onceIn(std::size_t times) { return below(times) == 0; }
    // One of them; what is named more often comes more often.
    template <typename T>
    T of(std::initializer_list<T> values) {
        return values.begin()[below(values.size())];
    }
    template <typename Container>
    void fill(Container& container) {
        for (auto& element : container) {
            element = static_cast<std::decay_t<decltype(element)>>((*this)());
        }
    }
    Bytes bytes(std::size_t size) {
        Bytes all(size);
        fill(all);
        return all;
    }
};
