// SPDX-License-Identifier: Apache-2.0
// Stand-in for the event manager: decodes the event records it is sent and counts them, by id and
// by what they say.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>

#include "lab/peers/switch.h"
#include "lab/schedule.h"

namespace enclab {

// Events that say the same; the text of another id is another.
struct EventGroup {
    std::uint16_t id;
    std::string text;  // as describe(Message) says it, without the tag
    int count;
    double first;  // lab time
    double last;
};

class EventManager {
  public:
    static constexpr std::size_t kGroupsMax = 1000;

    // Lives at its endpoint of the switch; both must outlive it in use.
    EventManager(MessageSwitch& messageSwitch, const Schedule& schedule);
    EventManager(const EventManager&) = delete;
    EventManager& operator=(const EventManager&) = delete;

    // Records per ESA_EV_ID so far.
    const std::map<std::uint16_t, int>& counts() const { return counts_; }
    int count(std::uint16_t id) const;
    // In the order in which they first came; of too many, those not seen longest are forgotten.
    const std::deque<EventGroup>& groups() const { return groups_; }
    // One line for each group: count, first and last time, text. "no events" when there is none.
    std::string list() const;

  private:
    void receive(const Message& message);

    const Schedule& schedule_;
    std::map<std::uint16_t, int> counts_;
    std::deque<EventGroup> groups_;
};

}  // namespace enclab
