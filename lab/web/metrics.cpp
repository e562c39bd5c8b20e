// SPDX-License-Identifier: Apache-2.0
#include "lab/web/metrics.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>

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

// The chip a sensor is read from: the one of its number, else the one that has them all.
std::string chipOfSensor(const Chassis& chassis, int sensor) {
    const std::string own = fmt::format("lm75-{}", sensor);
    const auto& devices = chassis.devices();
    return std::ranges::count(devices, own, &ChassisDevice::name) != 0 ? own : devices.front().name;
}

void addPeers(metrics::Text& text, Lab& lab) {
    text.begin(metrics::UP);
    text.sample("", lab.daemonRunning() ? 1 : 0);
    text.begin(metrics::FAULT_LED);
    text.sample("", lab.startupProcess().compositeLedLit() ? 1 : 0);
    text.begin(metrics::EVENTS);
    for (const auto& [id, count] : lab.eventManager().counts()) {
        text.sample(fmt::format("id=\"{}\"", id), count);
    }
    text.begin(metrics::MAILS);
    text.sample("", lab.startupProcess().mails());
    text.begin(metrics::SHUTDOWNS);
    text.sample("", lab.startupProcess().shutdownRequests());
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
    const std::string chip = lab_.chassis().nameOf(address);
    ++transfers_[chip][resultName(transfer.error)];
    answers_[chip] = transfer.error == 0;
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

// The enclosure as it truly is; whether a sensor can be read, by the last transfer of its chip.
metrics::Readings Metrics::readings() const {
    const Chassis& chassis = lab_.chassis();
    metrics::Readings readings{fmt::format("chassis=\"{}\"", lab_.chassisName()), {}, {}, {}};
    for (int n = 0; n < chassis.sensors(); ++n) {
        const auto answer = answers_.find(chipOfSensor(chassis, n));
        readings.sensors.push_back(
            {chassis.temperature(n), answer == answers_.end() || answer->second});
    }
    const int limit = personalityValue(lab_.options().personality, "fanFaultRpmLimit").value_or(0);
    for (int n = 0; n < chassis.fans(); ++n) {
        const double rpm = chassis.fanRpm(n);
        readings.fans.push_back({rpm, rpm > 0 && rpm >= limit});
    }
    if (chassis.parts().redundancy) {
        readings.redundant = chassis.redundancy();
    }
    return readings;
}

std::string Metrics::text() const {
    metrics::Text text;
    metrics::addLink(text, lab_.messageSwitch().connections(MMSG_E_EPID_ES_ADAPTERMP) > 0);
    metrics::addEnclosure(text, readings());
    text.begin(metrics::FAN_DUTY);
    for (int n = 0; n < lab_.chassis().fans(); ++n) {
        text.sample(fmt::format("chassis=\"{}\",fan=\"{}\"", lab_.chassisName(), n),
                    lab_.chassis().fanLoadPercent(n) / 100);
    }
    addPeers(text, lab_);
    addCounts(text);
    return text.text();
}

void Metrics::addCounts(metrics::Text& text) const {
    text.begin(metrics::TRANSFERS);
    for (const auto& [chip, results] : transfers_) {
        for (const auto& [result, count] : results) {
            text.sample(fmt::format("chip=\"{}\",result=\"{}\"", chip, result), count);
        }
    }
    text.begin(metrics::POLLS);
    text.sample("", polls_);
    text.begin(metrics::REPLY_TIME);
    std::uint64_t count = 0;
    for (std::size_t n = 0; n < kBounds.size(); ++n) {
        count += replies_[n];
        text.sample(fmt::format("le=\"{}\"", kBounds[n]), count, "_bucket");
    }
    count += replies_.back();
    text.sample("le=\"+Inf\"", count, "_bucket");
    text.sample("", replySeconds_, "_sum");
    text.sample("", count, "_count");
}

}  // namespace enclab
