// SPDX-License-Identifier: Apache-2.0
// Alarm controller of the Xyratex chassis.
#include "lab/chips/xyratex_alarm.h"

namespace enclab {
namespace {

constexpr std::uint8_t kNumber = 0x07;  // state or selector
constexpr std::uint8_t kStrobe = 0x08;
constexpr int kStateBits = 3;

}  // namespace

void XyratexAlarm::setLines(std::uint8_t lines) {
    const bool changed = lines != lines_;
    lines_ = lines;
    if (changed && (lines & kStrobe) != 0) {
        enter(lines & kNumber);
    }
}

bool XyratexAlarm::output() const {
    const int selector = lines_ & kNumber;
    return selector < kStateBits && (state_ >> selector & 1) != 0;
}

void XyratexAlarm::enter(int state) {
    state_ = state == kIdle && fault_ ? kFault : state;
    muted_ = {};
}

void XyratexAlarm::setFault(bool present) {
    const bool changed = present != fault_;
    fault_ = present;
    if (changed && present && state_ <= kMute) {
        enter(kFault);
    } else if (changed && !present && state_ == kFault) {
        enter(kIdle);
    }
}

void XyratexAlarm::advance(std::chrono::duration<double> time) {
    if (state_ != kMute) {
        return;
    }
    muted_ += time;
    if (muted_ >= kMuteTime) {
        enter(fault_ ? kRemind : kIdle);
    }
}

}  // namespace enclab
