// SPDX-License-Identifier: Apache-2.0
// The alarm controller of the Xyratex chassis: a state of three bits, set over three lines and a
// strobe, read one bit at a time over the same three lines. It hears the supplies and runs by
// itself:
//   a fault appears       idle, remind or mute -> fault
//   the fault goes        fault -> idle
//   kMuteTime in mute     mute -> remind while the fault is there, else -> idle
//   idle is set           -> fault while the fault is there
// Every other state, once set or entered, stays; critical and the invalid states 5 to 7 do nothing
// by themselves.
#pragma once

#include <chrono>
#include <cstdint>

namespace enclab {

class XyratexAlarm {
  public:
    enum State { kIdle, kFault, kRemind, kMute, kCritical };
    static constexpr std::chrono::duration<double> kMuteTime = std::chrono::seconds(60);

    // Levels on its lines: bits 0 to 2 the state to set, or the selector of the state bit to show;
    // bit 3 the strobe. The state follows the lines while the strobe is high.
    void setLines(std::uint8_t lines);
    // The selected state bit; low for a selector above 2.
    bool output() const;

    void setFault(bool present);
    void advance(std::chrono::duration<double> time);

    int state() const { return state_; }

  private:
    void enter(int state);

    std::uint8_t lines_ = 0;
    int state_ = kIdle;
    bool fault_ = false;
    std::chrono::duration<double> muted_{0};
};

}  // namespace enclab
