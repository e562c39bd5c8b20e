// SPDX-License-Identifier: Apache-2.0
// A story as text: commands, each followed by what comes of it. First the messages sent, in order
// and as the lab shows them; then what has changed:
//   loads    load of each fan in percent, as its chip drives it
//   leds     lit drive fault LEDs; status: lit LEDs of the chassis
//   alarm    state kept by the service, and what the chassis' own alarm does
//   faults   compositeFaultStatus; devices: i2cDeviceFaultStatus
// and, of a status page, the sections that are not as on the page before.
#pragma once

#include <map>
#include <string>

#include "tests/story/service.h"

class Transcript {
  public:
    explicit Transcript(const StoryRow& row) : service_(row) {}

    // Runs a command; the lines that follow it.
    std::string run(const std::string& command);

  private:
    void pageShow(const Bytes& reply);
    void statesShow();
    void show(const char* tag, const std::string& text);

    StoryService service_;
    bool started_ = false;
    std::map<std::string, std::string> shown_;  // by tag
    std::string lines_;
};
