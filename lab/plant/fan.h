// SPDX-License-Identifier: Apache-2.0
// One fan as a machine: its speed follows the load with inertia, it needs a least load to turn and
// a little more to start, it wears, and its rotor may be locked.
#pragma once

namespace enclab {

class PlantFan {
  public:
    static constexpr double kTimeConstant = 2;  // seconds
    static constexpr double kStartMargin = 5;   // percent of load, to start rather than to turn on
    static constexpr double kUsualStall = 10;   // percent of load
    static constexpr double kSlowestTurn = 0.02;  // of full speed: slower ones stop

    // Turning since long, at the speed the load gives it.
    PlantFan(double fullSpeedRpm, double load);

    double rpm() const { return rpm_; }
    // 0 to 1 of its full speed as new.
    double speed() const { return rpm_ / fullSpeedRpm_; }
    // The load does not turn it: too little, or the rotor is locked.
    bool stalled() const { return stalled_; }

    // Percent its speed has lost, 0 to 100.
    void setWear(double percent) { wear_ = percent; }
    double wear() const { return wear_; }
    // A locked rotor stands at once.
    void setLocked(bool locked);
    bool locked() const { return locked_; }
    // A turning fan stops below this load; a standing one starts kStartMargin above it, or at 100.
    void setStall(double load) { stall_ = load; }
    double stall() const { return stall_; }

    // Taken out of its place: stands.
    void stop();
    // `load` in percent, for `seconds` much shorter than kTimeConstant.
    void step(double load, double seconds);

  private:
    double target(double load) const;

    double fullSpeedRpm_;
    double wear_ = 0;
    bool locked_ = false;
    double stall_ = kUsualStall;
    bool stalled_;
    double rpm_;
};

}  // namespace enclab
