// SPDX-License-Identifier: Apache-2.0
// What a lab counts for a Prometheus server: transfers by chip, polls, events, mails and the
// daemon's reply times, with the enclosure's state at the time of the question. All in the lab's
// thread.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <string>

#include "lab/session/lab.h"
#include "tools/metrics/metrics.h"

namespace enclab {

class Metrics {
  public:
    explicit Metrics(Lab& lab) : lab_(lab) {}

    void message(std::uint8_t from, const Message& message);
    void transfer(const BusTransfer& transfer);
    // In the text format, version 0.0.4.
    std::string text() const;

  private:
    using Clock = std::chrono::steady_clock;
    // Upper bounds of the reply time classes, seconds.
    static constexpr std::array<double, 10> kBounds{0.001, 0.0025, 0.005, 0.01, 0.025,
                                                    0.05,  0.1,    0.25,  0.5,  1};

    void takeReplyTime(double seconds);
    bool commandUnderWay() const;
    metrics::Readings readings() const;
    void addCounts(metrics::Text& text) const;

    Lab& lab_;
    std::map<std::string, std::map<std::string, std::uint64_t>> transfers_;  // by chip and result
    std::map<std::string, bool> answers_;               // by chip: how its last transfer went
    std::map<std::uint32_t, Clock::time_point> asked_;  // by handle
    std::array<std::uint64_t, kBounds.size() + 1> replies_{};  // by class
    double replySeconds_ = 0;
    bool busAnswered_ = false;
    bool clientSince_ = false;   // a client's command since the last transfer of a poll
    double lastTransfer_ = -10;  // Lab::time()
    std::uint64_t polls_ = 0;
};

}  // namespace enclab
