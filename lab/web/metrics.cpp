// SPDX-License-Identifier: Apache-2.0
#include "lab/web/metrics.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <numeric>

namespace enclab {

namespace {

// The transfers of one poll follow each other more closely.
constexpr double kPollPause = 2;  // daemon's seconds
// A command nobody answers is forgotten.
constexpr std::chrono::seconds kReplyPatience{10};

const char* resultName(int error) {
    switch (error) {
        case 0:
            return "ok";
        case ENXIO:
            return "nak";
        case ETIMEDOUT:
            return "timeout";
        default:
            return "error";
    }
}

// One metric after another.
class Page {
  public:
    void begin(const char* name, const char* type, const char* help) {
        name_ = name;
        text_ += fmt::format("# HELP {} {}\n# TYPE {} {}\n", name, help, name, type);
    }
    // `labels` as they stand between the braces; `suffix` behind the name.
    template <typename Value>
    void sample(const std::string& labels, Value value, const char* suffix = "") {
        const std::string braced = labels.empty() ? "" : "{" + labels + "}";
        text_ += fmt::format("{}{}{} {}\n", name_, suffix, braced, value);
    }
    const std::string& text() const { return text_; }

  private:
    const char* name_ = "";
    std::string text_;
};

void addEnclosure(Page& page, Lab& lab) {
    Chassis& chassis = lab.chassis();
    const std::string name = fmt::format("chassis=\"{}\"", lab.chassisName());
    page.begin("esa_temperature_celsius", "gauge", "True temperature at a sensor.");
    for (int n = 0; n < chassis.sensors(); ++n) {
        page.sample(fmt::format("{},sensor=\"{}\"", name, n), chassis.temperature(n));
    }
    page.begin("esa_fan_speed_rpm", "gauge", "Speed of a fan in turns per minute.");
    for (int n = 0; n < chassis.fans(); ++n) {
        page.sample(fmt::format("{},fan=\"{}\"", name, n), chassis.fanRpm(n));
    }
    page.begin("esa_fan_duty_ratio", "gauge", "Load a fan is driven with, 0 to 1.");
    for (int n = 0; n < chassis.fans(); ++n) {
        page.sample(fmt::format("{},fan=\"{}\"", name, n), chassis.fanLoadPercent(n) / 100);
    }
    if (chassis.parts().redundancy) {
        page.begin("esa_psu_ok", "gauge", "1 while the power supplies are redundant.");
        page.sample(name, chassis.redundancy() ? 1 : 0);
    }
}

void addPeers(Page& page, Lab& lab) {
    page.begin("esa_up", "gauge", "1 while the daemon runs.");
    page.sample("", lab.daemonRunning() ? 1 : 0);
    page.begin("esa_composite_fault_led", "gauge", "1 while the composite fault LED is lit.");
    page.sample("", lab.startupProcess().compositeLedLit() ? 1 : 0);
    page.begin("esa_events_total", "counter", "Event records sent, by id.");
    for (const auto& [id, count] : lab.eventManager().counts()) {
        page.sample(fmt::format("id=\"{}\"", id), count);
    }
    page.begin("esa_mails_total", "counter", "Mail notifications asked for.");
    page.sample("", lab.startupProcess().mails());
    page.begin("esa_shutdown_requests_total", "counter", "Orderly shutdowns asked for.");
    page.sample("", lab.startupProcess().shutdownRequests());
}

}  // namespace

void Metrics::message(std::uint8_t, const Message& message) {
    const Kind kind = message.kind();
    const std::uint32_t handle = message.header().handle;
    if (kind == Kind::sesCommand) {
        asked_[handle] = Clock::now();
        clientSince_ = true;
    } else if (const auto asked = asked_.find(handle);
               kind == Kind::reply && asked != asked_.end()) {
        takeReplyTime(std::chrono::duration<double>(Clock::now() - asked->second).count());
        asked_.erase(asked);
    } else if (kind == Kind::event) {
        const EsaEventData_t& data = message.event()->data;
        busAnswered_ = busAnswered_ || data.information == ESA_E_EVENT_INFO_I2C_BUS_STATUS;
    }
}

void Metrics::takeReplyTime(double seconds) {
    const auto bound = std::ranges::lower_bound(kBounds, seconds);
    ++replies_[static_cast<std::size_t>(bound - kBounds.begin())];
    replySeconds_ += seconds;
}

bool Metrics::commandUnderWay() const {
    return std::ranges::any_of(
        asked_, [](const auto& entry) { return Clock::now() - entry.second < kReplyPatience; });
}

// A poll: transfers that no client asked for, after a pause or after a client's command.
void Metrics::transfer(const BusTransfer& transfer) {
    const std::uint8_t address = transfer.messages.front().address;
    ++transfers_[lab_.chassis().nameOf(address)][resultName(transfer.error)];
    if (commandUnderWay()) {
        return;
    }
    const double now = lab_.time();
    if (busAnswered_ && (clientSince_ || now - lastTransfer_ > kPollPause)) {
        ++polls_;
    }
    clientSince_ = false;
    lastTransfer_ = now;
}

std::string Metrics::text() const {
    Page page;
    addEnclosure(page, lab_);
    addPeers(page, lab_);
    page.begin("esa_i2c_transfers_total", "counter", "Transfers on the enclosure bus.");
    for (const auto& [chip, results] : transfers_) {
        for (const auto& [result, count] : results) {
            page.sample(fmt::format("chip=\"{}\",result=\"{}\"", chip, result), count);
        }
    }
    page.begin("esa_polls_total", "counter", "Polls of the enclosure by the daemon.");
    page.sample("", polls_);
    page.begin("esa_reply_seconds", "histogram", "Real time from an SES command to its reply.");
    std::uint64_t count = 0;
    for (std::size_t n = 0; n < kBounds.size(); ++n) {
        count += replies_[n];
        page.sample(fmt::format("le=\"{}\"", kBounds[n]), count, "_bucket");
    }
    count += replies_.back();
    page.sample("le=\"+Inf\"", count, "_bucket");
    page.sample("", replySeconds_, "_sum");
    page.sample("", count, "_count");
    return page.text();
}

}  // namespace enclab
