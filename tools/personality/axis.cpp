// SPDX-License-Identifier: Apache-2.0
#include "tools/personality/axis.h"

#include <algorithm>

namespace personality {

static constexpr U32_t MARGIN = 5;                 // degrees
static constexpr U32_t EMPTY[] = {20, 60};         // axis without thresholds
static constexpr U32_t TICKS[] = {5, 10, 20, 50};  // degrees
static constexpr U32_t TICKS_MAX = 10;

static std::vector<U32_t> thresholds(const Ladder& ladder) {
    std::vector<U32_t> all;
    const auto add = [&](std::optional<U32_t> degrees) {
        if (degrees && *degrees != 0 && *degrees < ladder.hottest) {
            all.push_back(*degrees);
        }
    };
    for (const Step& step : ladder.steps) {
        add(step.up);
        add(step.down);
    }
    add(ladder.overheat);
    return all;
}

Axis::Axis(const Ladder& ladder) {
    std::vector<U32_t> all = thresholds(ladder);
    if (all.empty()) {
        all.assign(std::begin(EMPTY), std::end(EMPTY));
    }
    const auto [least, most] = std::ranges::minmax(all);
    for (const U32_t tick : TICKS) {
        tick_ = tick;
        low_ = (least - std::min(least, MARGIN)) / tick * tick;
        high_ = (most + MARGIN + tick - 1) / tick * tick;
        if ((high_ - low_) / tick <= TICKS_MAX) {
            break;
        }
    }
}

double Axis::at(U32_t degrees) const {
    const U32_t inside = std::clamp(degrees, low_, high_);
    return double(inside - low_) / double(high_ - low_);
}

std::vector<U32_t> Axis::ticks() const {
    std::vector<U32_t> all;
    for (U32_t degrees = low_; degrees <= high_; degrees += tick_) {
        all.push_back(degrees);
    }
    return all;
}

std::optional<U32_t> leftEnd(const Step& step) {
    return step.goesDown ? step.down : std::nullopt;
}

std::optional<U32_t> rightEnd(const Step& step) {
    return step.goesUp ? step.up : std::nullopt;
}

}  // namespace personality
