// SPDX-License-Identifier: Apache-2.0
#include "lab/web/lab_view.h"

#include <cmath>

#include "lab/session/lab_json.h"

namespace enclab {

namespace {

// Real time: what a person sees.
constexpr std::chrono::milliseconds kTick{200};
constexpr int kTicksPerSample = 5;
constexpr std::size_t kHistoryMax = 1800;  // samples

double tenths(double value) {
    return std::round(value * 10) / 10;
}

}  // namespace

LabView::LabView(Lab& lab, PanelControls controls, Live& live)
    : lab_(lab),
      controls_(std::move(controls)),
      live_(live),
      metrics_(lab),
      busObserver_(lab.chassis().bus().observe(
          [this](const BusTransfer& transfer) { metrics_.transfer(transfer); })),
      timer_(lab.io()) {
    tick();
}

LabView::~LabView() {
    lab_.chassis().bus().unobserve(busObserver_);
}

nlohmann::json LabView::state() {
    nlohmann::json json = labJson(lab_);
    json["choices"] = nlohmann::json::array();
    for (const std::string& name : selectableChassis()) {
        json["choices"].push_back({{"name", name}, {"title", chassisTitle(name)}});
    }
    json["verdict"] = verdict();
    return json;
}

// The newest event that begins so and came since then.
static nlohmann::json eventSince(const EventManager& events, const std::string& begin,
                                 double since) {
    nlohmann::json said;
    double newest = since;
    for (const EventGroup& group : events.groups()) {
        if (!begin.empty() && group.text.starts_with(begin) && group.last >= newest) {
            newest = group.last;
            said = group.text;
        }
    }
    return said;
}

static std::string keyOf(const Finding& finding) {
    return finding.subject + finding.cure;
}

std::vector<Finding> LabView::noteFindings() {
    std::vector<Finding> found = findings(lab_);
    std::map<std::string, double> since;
    for (const Finding& finding : found) {
        const auto known = since_.find(keyOf(finding));
        since[keyOf(finding)] = known != since_.end() ? known->second : looked_;
    }
    since_ = std::move(since);
    looked_ = lab_.time();
    return found;
}

nlohmann::json LabView::verdict() {
    nlohmann::json list = nlohmann::json::array();
    for (const Finding& finding : noteFindings()) {
        const double since = since_.at(keyOf(finding));
        list.push_back({{"what", finding.subject + " " + finding.state},
                        {"since", since},
                        {"cure", finding.cure},
                        {"said", eventSince(lab_.eventManager(), finding.event, since)}});
    }
    return {{"findings", list}, {"reactions", reactions(lab_)}};
}

nlohmann::json LabView::history() const {
    return history_;
}

void LabView::tick() {
    if (ticks_++ % kTicksPerSample == 0) {
        sample();
    }
    if (live_.readers() > 0) {
        live_.putState(state().dump());
    } else {
        noteFindings();
    }
    timer_.expires_after(kTick);
    timer_.async_wait([this](const asio::error_code& error) {
        if (!error) {
            tick();
        }
    });
}

void LabView::sample() {
    const Chassis& chassis = lab_.chassis();
    std::vector<double> row{tenths(lab_.time())};
    for (int n = 0; n < chassis.sensors(); ++n) {
        row.push_back(tenths(chassis.temperature(n)));
    }
    for (int n = 0; n < chassis.fans(); ++n) {
        row.push_back(tenths(chassis.fanLoadPercent(n)));
    }
    history_.push_back(std::move(row));
    if (history_.size() > kHistoryMax) {
        history_.pop_front();
    }
}

}  // namespace enclab
