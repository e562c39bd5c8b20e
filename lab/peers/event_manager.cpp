// SPDX-License-Identifier: Apache-2.0
#include "lab/peers/event_manager.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace enclab {

constexpr std::size_t kTagLength = 8;

EventManager::EventManager(MessageSwitch& messageSwitch, const Schedule& schedule)
    : schedule_(schedule) {
    messageSwitch.attach(MMSG_E_EPID_EVENTLOGMP,
                         [this](const Message& message) { receive(message); });
}

void EventManager::receive(const Message& message) {
    const EsaEvent_t* event = message.event();
    if (event == nullptr) {
        return;
    }
    const std::uint16_t id = event->header.evId;
    const double now = schedule_.now();
    ++counts_[id];
    std::string text = describe(message).substr(kTagLength);
    const auto same = std::ranges::find(groups_, text, &EventGroup::text);
    if (same != groups_.end()) {
        ++same->count;
        same->last = now;
        return;
    }
    if (groups_.size() == kGroupsMax) {
        groups_.erase(std::ranges::min_element(groups_, {}, &EventGroup::last));
    }
    groups_.push_back({id, std::move(text), 1, now, now});
}

int EventManager::count(std::uint16_t id) const {
    const auto found = counts_.find(id);
    return found == counts_.end() ? 0 : found->second;
}

std::string EventManager::list() const {
    std::string text;
    for (const EventGroup& group : groups_) {
        text += fmt::format("{}{:4} x {:9.1f} to {:.1f}  {}", text.empty() ? "" : "\n", group.count,
                            group.first, group.last, group.text);
    }
    return text.empty() ? "no events" : text;
}

}  // namespace enclab
