// SPDX-License-Identifier: Apache-2.0
// Stand-in for the event manager: counts the event records it is sent.
#pragma once

#include <map>

#include "lab/peers/switch.h"

namespace enclab {

class EventManager {
  public:
    explicit EventManager(MessageSwitch& messageSwitch) {
        messageSwitch.attach(MMSG_E_EPID_EVENTLOGMP, [this](const Message& message) {
            if (const EsaEvent_t* event = message.event()) {
                ++counts_[event->header.evId];
            }
        });
    }
    EventManager(const EventManager&) = delete;
    EventManager& operator=(const EventManager&) = delete;

    // Records per ESA_EV_ID so far.
    const std::map<std::uint16_t, int>& counts() const { return counts_; }
    int count(std::uint16_t id) const {
        const auto found = counts_.find(id);
        return found == counts_.end() ? 0 : found->second;
    }

  private:
    std::map<std::uint16_t, int> counts_;
};

}  // namespace enclab
