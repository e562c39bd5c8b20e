// SPDX-License-Identifier: Apache-2.0
// One fan: a lag of the first order behind its load.
#include "lab/plant/fan.h"

#include <algorithm>

namespace enclab {

PlantFan::PlantFan(double fullSpeedRpm, double load)
    : fullSpeedRpm_(fullSpeedRpm), stalled_(load < stall_), rpm_(target(load)) {}

double PlantFan::target(double load) const {
    return stalled_ ? 0 : fullSpeedRpm_ * load / 100 * (1 - wear_ / 100);
}

void PlantFan::setLocked(bool locked) {
    locked_ = locked;
    if (locked) {
        stop();
    }
}

void PlantFan::stop() {
    rpm_ = 0;
    stalled_ = true;
}

void PlantFan::step(double load, double seconds) {
    if (locked_) {
        return;
    }
    stalled_ = load < (stalled_ ? std::min(stall_ + kStartMargin, 100.0) : stall_);
    rpm_ += (target(load) - rpm_) * seconds / kTimeConstant;
    if (stalled_ && speed() < kSlowestTurn) {
        rpm_ = 0;
    }
}

}  // namespace enclab
