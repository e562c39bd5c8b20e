// SPDX-License-Identifier: Apache-2.0
#include "lab/session/virtual_time.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace enclab {

constexpr std::chrono::seconds kPatience{600};  // of real time
constexpr std::chrono::sys_days kFirstDay{std::chrono::January / 1 / 2026};

static VirtualTime::Time toTime(Schedule::Seconds seconds) {
    return std::chrono::round<VirtualTime::Time>(seconds);
}

VirtualTime::VirtualTime(asio::io_context& rest, const std::filesystem::path& clockSocket)
    : rest_(rest), clock_(work_, clockSocket), wall_(kFirstDay.time_since_epoch()) {
    moveTo(Time(0));
}

void VirtualTime::after(Seconds wait, std::function<void()> action) {
    due_.emplace(now_ + std::max(toTime(wait), Time(0)), std::move(action));
}

void VirtualTime::stepWallClock(Seconds step) {
    wall_ += toTime(step);
    moveTo(now_);
}

void VirtualTime::moveTo(Time time) {
    now_ = time;
    clock_.setNow({now_, wall_ + now_});
}

void VirtualTime::letDaemonWork(const World& world) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!stopped_ && world.daemonRuns() && !clock_.wait() && !world.daemonHeld()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            throw std::runtime_error("the daemon works for ten minutes without a wait");
        }
        work_.restart();
        work_.run_one_for(kPatience);
    }
}

// Whatever came from the daemon, and what that leads to.
bool VirtualTime::handleAll() {
    bool any = false;
    for (bool more = true; more;) {
        work_.restart();
        rest_.restart();
        work_.poll();
        more = rest_.poll() > 0;
        any = any || more;
    }
    return any;
}

bool VirtualTime::doDue() {
    if (due_.empty() || due_.begin()->first > now_) {
        return false;
    }
    due_.extract(due_.begin()).mapped()();
    return true;
}

bool VirtualTime::run(const World& world, Time end) {
    for (;;) {
        letDaemonWork(world);
        changed_ = handleAll() || changed_;
        if (stopped_ || world.done()) {
            return !stopped_;
        }
        if (doDue()) {
            continue;
        }
        const auto& wait = clock_.wait();
        if (wait && (wait->ready || changed_ || wait->until <= now_)) {
            changed_ = false;
            clock_.answer();
            continue;
        }
        if (now_ >= end) {
            return false;
        }
        const Time next = due_.empty() ? end : std::min(end, due_.begin()->first);
        moveTo(wait ? std::min(next, wait->until) : next);
    }
}

}  // namespace enclab
