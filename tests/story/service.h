// SPDX-License-Identifier: Apache-2.0
// The service as it runs, in process: real start-up, loop, messages and policies on an enclosure of
// chip models, with a switch at the other end of its link. Only time is not real.
#pragma once

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "lab/chassis/chassis.h"
#include "lab/peers/message.h"
#include "tests/story/rows.h"
#include "tests/support/switch_listener.h"

// Of the status and control pages, in page order.
enum Section { DRIVES, SUPPLIES, FANS, SENSORS, ALARMS };
constexpr U8_t EsaControl_t::*COUNTS[] = {
    &EsaControl_t::deviceMaxNumber, &EsaControl_t::powerSupplyMaxNumber,
    &EsaControl_t::coolingMaxNumber, &EsaControl_t::temperatureSensorMaxNumber,
    &EsaControl_t::audibleAlarmMaxNumber};

// Of a control page, by section and element; those it does not name are 0.
using Records = std::map<std::pair<Section, int>, U32_t>;
constexpr U32_t SELECT = 0x80000000;

class StoryService {
  public:
    explicit StoryService(const StoryRow& row);
    ~StoryService();
    StoryService(const StoryService&) = delete;
    StoryService& operator=(const StoryService&) = delete;

    void start();  // until the loop is entered
    void poll();
    // A request, and the pass that handles it.
    void page(U8_t code, int room);
    void put(const Records& records);

    // Messages sent since the last call. Throws when the stream is no whole messages.
    std::vector<enclab::Message> take();

    const StoryRow row;
    const std::unique_ptr<enclab::Chassis> chassis;
    enclab::Personality personality;
    U8_t requestor = MMSG_E_EPID_ENVIRONMP;  // of requests, as the handle
    U32_t handle = 0;

  private:
    void send(U32_t command, const Bytes& userData);

    SwitchListener switch_;
};
