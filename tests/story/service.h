// SPDX-License-Identifier: Apache-2.0
// The service as it runs, in process: real start-up, loop, messages and policies on an enclosure of
// chip models, with a switch at the other end of its link. Only time is not real.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lab/peers/message.h"
#include "tests/story/rows.h"
#include "tests/support/lab_bus.h"
#include "tests/support/switch_listener.h"

// Elements of one type in the status and control pages, in page order.
struct PageSection {
    const char* name;
    U8_t EsaControl_t::*count;
};
constexpr PageSection PAGE_SECTIONS[] = {{"drives", &EsaControl_t::deviceMaxNumber},
                                         {"supply", &EsaControl_t::powerSupplyMaxNumber},
                                         {"fans", &EsaControl_t::coolingMaxNumber},
                                         {"sensors", &EsaControl_t::temperatureSensorMaxNumber},
                                         {"alarms", &EsaControl_t::audibleAlarmMaxNumber}};

class StoryService {
  public:
    explicit StoryService(const StoryRow& row);
    ~StoryService();
    StoryService(const StoryService&) = delete;
    StoryService& operator=(const StoryService&) = delete;

    const StoryRow& row() const { return row_; }
    enclab::Chassis& chassis() { return *chassis_; }

    // Does what a line says; throws when it cannot.
    //   start | tune KEY VALUE | poll [N]: start-up; before it, a personality value; hardware polls
    //   fan N pull|return, temp N|all DEGREES, rail NAME VOLTS, psu lost|good, drive N out|in,
    //   cut DEVICE|all, mend DEVICE|all, fail DEVICE N, wait SECONDS: the enclosure
    //   page: a peer asks for the status page
    //   put leds N... | put SECTION N HEX: a peer sends a control page that asks for these drive
    //   fault LEDs, or selects one record and asks for the LEDs as they were
    void run(const std::string& command);

    // Messages sent since the last call. Throws when the stream is no whole messages.
    std::vector<enclab::Message> take();

  private:
    using Words = std::vector<std::string>;

    bool serviceRun(const Words& words);
    bool enclosureRun(const Words& words);
    std::string personalityText() const;
    void start();
    void poll();
    void send(std::uint32_t type, const Bytes& userData);
    void put(const Words& words);
    void devicesCut(const std::string& device, bool cut);

    const StoryRow& row_;
    std::unique_ptr<enclab::Chassis> chassis_;
    LabBus bus_;
    SwitchListener switch_;
    std::map<std::string, int> tuning_;
    std::vector<std::size_t> litSlots_;  // drive fault LEDs as last requested
};
