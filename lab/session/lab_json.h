// SPDX-License-Identifier: Apache-2.0
// The state of a lab as one JSON object: what an engineer in front of the enclosure would see, and
// what the stand-ins around the daemon know. What a chassis does not have is null or empty.
#pragma once

#include <nlohmann/json.hpp>

#include "lab/session/lab.h"

namespace enclab {

// "time" (the daemon's seconds), "speed", "directory",
// "daemon": running, pid, exitStatus, connected, initialised, cpuSeconds
// "chassis": name, title, fullSpeedRpm, redundancy, alarm,
//     fans [present, load (percent), rpm, and with a plant locked, wear (percent), stalled],
//     sensors [celsius, and with a plant held], rails [name, volts, nominal],
//     slots [present, faultLed], leds [name, lit]
// "plant": inlet (degrees), heat (percent by slot), watts (by zone); null without a plant
// "peers": compositeLed, ledRequests, mails, shutdownRequests, events {id: count}, clients,
//     undelivered, startupAnswer, shutdownWay, switchPlain, delivery (in words)
// "personality": each number the personality file gives, by its key
// "chips" [name, address, cut, registers (hexadecimal, from register 0),
//     lastWrite [register, value]]
// "bus": transfers, faults [number, rule (as of "fault add"), fired, over]
nlohmann::json labJson(Lab& lab);

}  // namespace enclab
