// SPDX-License-Identifier: Apache-2.0
// The metrics of an enclosure for a Prometheus server. The lab and sesctl write them; alert rules
// and dashboard (packaging/prometheus) go by their names, which stand here and nowhere else.
#pragma once

#include <fmt/format.h>

#include <optional>
#include <string>
#include <vector>

namespace metrics {

struct Metric {
    const char* name;
    const char* type;
    const char* help;
};

// Of the service, as far as its switch shows it.
inline constexpr Metric LINK_UP{"esa_link_up", "gauge",
                                "1 while the service is reached over the message switch."};
inline constexpr Metric STATUS_TIME{"esa_status_time_seconds", "gauge",
                                    "When these metrics were read, seconds since 1970."};

// Of the enclosure; labels: sensor or fan, from 0.
inline constexpr Metric TEMPERATURE{"esa_temperature_celsius", "gauge",
                                    "Temperature at a sensor, degrees Celsius."};
inline constexpr Metric TEMPERATURE_LIMIT{"esa_temperature_limit_celsius", "gauge",
                                          "A sensor above it is too hot."};
inline constexpr Metric SENSOR_OK{"esa_sensor_ok", "gauge", "1 while a sensor can be read."};
inline constexpr Metric FAN_SPEED{"esa_fan_speed_rpm", "gauge",
                                  "Speed of a fan in turns per minute."};
inline constexpr Metric FAN_OK{"esa_fan_ok", "gauge", "1 while a fan turns as it should."};
inline constexpr Metric PSU_OK{"esa_psu_ok", "gauge", "1 while the power supplies are redundant."};

// Of what only the lab sees.
inline constexpr Metric FAN_DUTY{"esa_fan_duty_ratio", "gauge",
                                 "Load a fan is driven with, 0 to 1."};
inline constexpr Metric UP{"esa_up", "gauge", "1 while the daemon runs."};
inline constexpr Metric FAULT_LED{"esa_composite_fault_led", "gauge",
                                  "1 while the composite fault LED is lit."};
inline constexpr Metric EVENTS{"esa_events_total", "counter", "Event records sent, by id."};
inline constexpr Metric MAILS{"esa_mails_total", "counter", "Mail notifications asked for."};
inline constexpr Metric SHUTDOWNS{"esa_shutdown_requests_total", "counter",
                                  "Orderly shutdowns asked for."};
inline constexpr Metric TRANSFERS{"esa_i2c_transfers_total", "counter",
                                  "Transfers on the enclosure bus."};
inline constexpr Metric POLLS{"esa_polls_total", "counter",
                              "Polls of the enclosure by the daemon."};
inline constexpr Metric REPLY_TIME{"esa_reply_seconds", "histogram",
                                   "Real time from an SES command to its reply."};

// Degrees Celsius: where the service's events and flags begin to warn, whatever the personality
// file says.
constexpr double TEMPERATURE_WARNING = 55;

// One metric after another in the text format, version 0.0.4.
class Text {
  public:
    void begin(const Metric& metric) {
        name_ = metric.name;
        text_ += fmt::format("# HELP {0} {1}\n# TYPE {0} {2}\n", name_, metric.help, metric.type);
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

// A number that may be missing, and whether what it is of is in order.
struct Reading {
    std::optional<double> value;
    bool ok;
};
struct Readings {
    std::string labels;            // of every sample; may be empty
    std::vector<Reading> sensors;  // degrees Celsius
    std::vector<Reading> fans;     // RPM
    std::optional<bool> redundant;
};
void addEnclosure(Text& text, const Readings& readings);
void addLink(Text& text, bool up);

}  // namespace metrics
