// SPDX-License-Identifier: Apache-2.0
#include "lab/web/live.h"

#include <algorithm>
#include <utility>

namespace enclab {

void Live::putState(std::string state) {
    const std::lock_guard lock(mutex_);
    state_ = std::move(state);
    ++stateNumber_;
    changed_.notify_all();
}

void Live::putLine(std::string line) {
    const std::lock_guard lock(mutex_);
    lines_.push_back(std::move(line));
    if (lines_.size() > kLinesMax) {
        lines_.pop_front();
    }
    ++lineNumber_;
    changed_.notify_all();
}

void Live::clear() {
    const std::lock_guard lock(mutex_);
    lines_.clear();
    state_.clear();
    ++lab_;
    changed_.notify_all();
}

void Live::close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    changed_.notify_all();
}

bool Live::seenAll(const Place& place) const {
    return place.state == stateNumber_ && place.line == lineNumber_ && place.lab == lab_;
}

bool Live::next(Place& place, News& news) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return closed_ || !seenAll(place); });
    news.cleared = place.lab != lab_;
    const auto missed = std::min<std::uint64_t>(lineNumber_ - place.line, lines_.size());
    news.lines.assign(lines_.end() - static_cast<std::ptrdiff_t>(missed), lines_.end());
    news.state = place.state != stateNumber_ ? state_ : "";
    place = {stateNumber_, lineNumber_, lab_};
    return !closed_;
}

int Live::readers() {
    const std::lock_guard lock(mutex_);
    return readers_;
}

void Live::count(int change) {
    const std::lock_guard lock(mutex_);
    readers_ += change;
}

}  // namespace enclab
