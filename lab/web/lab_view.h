// SPDX-License-Identifier: Apache-2.0
// The panel's side of one lab, in the lab's thread: it watches the lab, keeps the chart's history
// and puts states out for the browsers.
#pragma once

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>
#include <deque>
#include <map>
#include <nlohmann/json.hpp>

#include "lab/session/findings.h"
#include "lab/web/live.h"
#include "lab/web/metrics.h"
#include "lab/web/panel.h"

namespace enclab {

class LabView {
  public:
    LabView(Lab& lab, PanelControls controls, Live& live);
    ~LabView();
    LabView(const LabView&) = delete;
    LabView& operator=(const LabView&) = delete;

    asio::io_context& io() { return lab_.io(); }
    Lab& lab() { return lab_; }
    Metrics& metrics() { return metrics_; }
    const PanelControls& controls() const { return controls_; }

    // The state with what the panel adds: "choices", the chassis to choose from, and "verdict":
    //     findings [what, since (lab time), cure, said (the daemon's newest event about it, or
    //     null)], reactions of the daemon.
    nlohmann::json state();
    // Rows of time, the temperatures, the fan loads; the oldest first.
    nlohmann::json history() const;

  private:
    // What is wrong now; since when, is noted.
    std::vector<Finding> noteFindings();
    nlohmann::json verdict();
    void tick();
    void sample();

    Lab& lab_;
    PanelControls controls_;
    Live& live_;
    Metrics metrics_;
    int busObserver_;
    asio::steady_timer timer_;
    std::deque<std::vector<double>> history_;
    int ticks_ = 0;
    std::map<std::string, double> since_;  // lab time at which a finding came, by subject and cure
    double looked_ = 0;  // when they were last looked for: what is new came after that
};

}  // namespace enclab
