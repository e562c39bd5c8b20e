// SPDX-License-Identifier: Apache-2.0
// For laws: tests that play random histories beside a model.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;
using Bytes = std::vector<std::uint8_t>;

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
