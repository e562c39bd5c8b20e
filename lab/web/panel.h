// SPDX-License-Identifier: Apache-2.0
// The front panel: a page in the browser that shows a running lab and works it, and the interface
// behind it (JSON, server-sent events, Prometheus text). It listens on the loopback address only.
// What changes anything needs the token that url() carries. It outlives the labs it shows.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "lab/session/commands.h"
#include "lab/session/lab.h"

namespace enclab {

// What the panel works a lab with; both are called from the lab's loop.
struct PanelControls {
    std::function<Commands::Result(const std::string& line)> command;
    // Ends this lab; the next one has the chassis of this name.
    std::function<void(const std::string& chassis)> restart;
};

class Panel {
  public:
    virtual ~Panel() = default;
    // "http://127.0.0.1:8090/?token=..."
    virtual const std::string& url() const = 0;
    // The lab to show until leave(), which comes before the lab's end. Both from the thread that
    // runs the lab.
    virtual void show(Lab& lab, PanelControls controls) = 0;
    virtual void leave() = 0;
    // One line of what happens in the lab, as the terminal shows it: "event   fan fault ...".
    virtual void line(double time, const std::string& text) = 0;
    // A message that entered the switch.
    virtual void message(std::uint8_t from, const Message& message) = 0;
};

// On the port, or with 0 on the first free one from 8090 on. Throws std::runtime_error when it
// cannot listen. Null when this build has no panel: the cross build.
std::unique_ptr<Panel> openPanel(int port);

}  // namespace enclab
