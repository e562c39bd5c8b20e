// SPDX-License-Identifier: Apache-2.0
#include "tools/metrics/metrics.h"

#include <chrono>

namespace metrics {

namespace {

std::string labelled(const std::string& labels, const char* what, std::size_t n) {
    return fmt::format("{}{}{}=\"{}\"", labels, labels.empty() ? "" : ",", what, n);
}

void addReadings(Text& text, const std::string& labels, const char* what,
                 const std::vector<Reading>& readings, const Metric& value, const Metric& ok) {
    text.begin(value);
    for (std::size_t n = 0; n < readings.size(); ++n) {
        if (readings[n].value) {
            text.sample(labelled(labels, what, n), *readings[n].value);
        }
    }
    text.begin(ok);
    for (std::size_t n = 0; n < readings.size(); ++n) {
        text.sample(labelled(labels, what, n), readings[n].ok ? 1 : 0);
    }
}

}  // namespace

void addEnclosure(Text& text, const Readings& readings) {
    addReadings(text, readings.labels, "sensor", readings.sensors, TEMPERATURE, SENSOR_OK);
    text.begin(TEMPERATURE_LIMIT);
    text.sample(readings.labels, TEMPERATURE_WARNING);
    addReadings(text, readings.labels, "fan", readings.fans, FAN_SPEED, FAN_OK);
    if (readings.redundant) {
        text.begin(PSU_OK);
        text.sample(readings.labels, *readings.redundant ? 1 : 0);
    }
}

void addLink(Text& text, bool up) {
    const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
    text.begin(LINK_UP);
    text.sample("", up ? 1 : 0);
    text.begin(STATUS_TIME);
    text.sample("", fmt::format("{:.0f}", now.count()));
}

}  // namespace metrics
