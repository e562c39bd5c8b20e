// SPDX-License-Identifier: Apache-2.0
// Time as the lab grants it, for the process the preload library is in. It moves in waits only.
#pragma once

#include <cstdint>

namespace encdev {

using Nanoseconds = std::int64_t;
inline constexpr Nanoseconds kSecond = 1000000000;

// Whether the lab holds the time of this process: ENCLAB_CLOCK names the socket of its clock. The
// time below has a meaning only then.
bool timeIsVirtual();

Nanoseconds virtualNow();   // since the lab began
Nanoseconds virtualWall();  // since 1970

// Tells the lab that the process waits, and takes the time from it. errno stays. Ends the process
// when the lab is gone: its time would stand still for ever.
void askClock(Nanoseconds until, bool ready);

// Waits until `look` gives something else than 0, which is the result, or until it is `until`: 0.
template <class Look>
auto waitVirtually(Nanoseconds until, Look look) {
    auto found = look();
    bool over = found != 0;
    askClock(until, over);
    while (!over) {
        found = look();
        over = found != 0 || virtualNow() >= until;
        if (!over) {
            askClock(until, false);
        }
    }
    return found;
}

}  // namespace encdev
