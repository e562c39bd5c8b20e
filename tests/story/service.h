// SPDX-License-Identifier: Apache-2.0
// The service as it runs, in process: real start-up, loop, messages and policies on an enclosure of
// chip models, with a switch at the other end of its link. Only time is not real.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lab/peers/message.h"
#include "tests/story/rows.h"
#include "tests/support/script.h"
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
    const std::map<std::string, int>& tuning() const { return tuning_; }

    // Does what a command says, and throws when it cannot. Records are hexadecimal.
    // The enclosure:
    //   fan N pull|return, temp N|all DEGREES, rail NAME VOLTS, psu lost|good, drive N out|in,
    //   cut DEVICE|all, mend DEVICE|all, wait SECONDS
    // The service:
    //   tune KEY VALUE: of the personality file; start: until the loop is entered
    //   link TYPE: a service of that type without start-up, connected
    //   poll [N]: passes up to the next hardware poll
    // The peers:
    //   page: asks for the status page
    //   put SECTION N RECORD, ...: a control page that selects these records; "leds N..." stands
    //   for drives with lit fault LEDs, which later pages repeat
    //   send [FIELD=NUMBER]... DATA...: a message with these header fields
    void run(const std::string& command);

    // Messages sent since the last call. Throws when the stream is no whole messages.
    std::vector<enclab::Message> take();

  private:
    void enclosureCommands();
    void serviceCommands();
    std::string personalityText() const;
    void start();
    void link(U8_t type);
    void poll();
    // A message with these header fields, and the pass that handles it.
    void send(const std::map<std::string, U32_t>& header, const Bytes& userData);
    void put(const Words& words);
    void devicesCut(const std::string& device, bool cut);

    const StoryRow& row_;
    std::unique_ptr<enclab::Chassis> chassis_;
    SwitchListener switch_;
    std::map<std::string, std::function<void(const Words&)>> commands_;
    std::map<std::string, int> tuning_;
    std::map<std::size_t, Bytes> drives_;  // records of the drives as last requested
};
