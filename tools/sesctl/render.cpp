// SPDX-License-Identifier: Apache-2.0
#include "tools/sesctl/render.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "tools/metrics/metrics.h"

namespace sesctl {

namespace {

// Keys stand in the order they are written in.
using Json = nlohmann::ordered_json;

constexpr std::size_t HEX_BYTES_PER_LINE = 16;
const char* const KIND_NAMES[] = {"drive slot", "power supply", "fan", "temperature sensor",
                                  "audible alarm"};

// The words of all set flags but `skipped`, or `none`.
template <typename Owner, std::size_t N>
std::string words(const Owner& owner, const Flag<Owner> (&flags)[N], const char* none,
                  bool Owner::*skipped = nullptr) {
    std::string text;
    for (const Flag<Owner>& flag : flags) {
        if (owner.*flag.set && flag.set != skipped) {
            text += (text.empty() ? "" : ", ") + std::string(flag.words);
        }
    }
    return text.empty() ? none : text;
}

std::string deviceRow(const Device& device) {
    return fmt::format("{:<15}{:<11}{}", statusName(device.code),
                       device.faultRequested ? "on" : "off",
                       words(device, DEVICE_FLAGS, "-", &Device::faultRequested));
}

std::string supplyRow(const PowerSupply& supply) {
    return fmt::format("{:<15}{}", statusName(supply.code), words(supply, POWER_SUPPLY_FLAGS, "-"));
}

std::string fanRow(const Fan& fan) {
    const std::string speed = fan.rpm ? fmt::format("{} RPM", *fan.rpm) : "-";
    const char* const state = fan.off ? "stopped" : fan.rpm ? "running" : "no reading";
    const std::string more = words(fan, FAN_FLAGS, "", &Fan::off);
    return fmt::format("{:<15}{}{}{}", speed, state, more.empty() ? "" : ", ", more);
}

std::string sensorRow(const Sensor& sensor) {
    const std::string degrees = sensor.celsius ? fmt::format("{} °C", *sensor.celsius) : "-";
    return fmt::format("{:<15}{}", degrees,
                       words(sensor, SENSOR_FLAGS, sensor.celsius ? "normal" : "no reading"));
}

std::string alarmRow(const Alarm& alarm) {
    const std::string flags =
        alarm.flags ? words(*alarm.flags, ALARM_FLAGS, "-") : "not told (the byte is left out)";
    return fmt::format("{:<15}{}", alarm.disabled ? "disabled" : "enabled", flags);
}

// A heading line, then one row per element behind its number.
template <typename T>
std::string section(const char* heading, const std::vector<T>& elements,
                    std::string (*row)(const T&)) {
    std::string text = heading;
    for (std::size_t i = 0; i < elements.size(); i++) {
        text += fmt::format("{:>8}  {}\n", i, row(elements[i]));
    }
    return text;
}

template <typename Owner, std::size_t N>
void addFlags(Json& object, const Owner& owner, const Flag<Owner> (&flags)[N]) {
    for (const Flag<Owner>& flag : flags) {
        object[flag.key] = owner.*flag.set;
    }
}

template <typename T>
Json orNull(const std::optional<T>& value) {
    return value ? Json(*value) : Json(nullptr);
}

Json toJson(const Device& device) {
    Json object = {{"slot", device.slot}};
    addFlags(object, device, DEVICE_FLAGS);
    return object;
}

Json toJson(const PowerSupply& supply) {
    Json object = Json::object();
    addFlags(object, supply, POWER_SUPPLY_FLAGS);
    return object;
}

Json toJson(const Fan& fan) {
    Json object = {{"rpm", orNull(fan.rpm)}, {"speedCode", fan.speedCode}};
    addFlags(object, fan, FAN_FLAGS);
    return object;
}

Json toJson(const Sensor& sensor) {
    Json object = {{"celsius", orNull(sensor.celsius)}};
    addFlags(object, sensor, SENSOR_FLAGS);
    return object;
}

Json toJson(const Alarm& alarm) {
    Json flags = nullptr;
    if (alarm.flags) {
        flags = Json::object();
        addFlags(flags, *alarm.flags, ALARM_FLAGS);
    }
    return {{"ident", alarm.ident}, {"flags", flags}};
}

template <typename T>
Json toJson(const std::vector<T>& elements) {
    Json list = Json::array();
    for (const T& element : elements) {
        Json object = {{"index", list.size()},
                       {"status", statusName(element.code)},
                       {"statusCode", element.code},
                       {"disabled", element.disabled}};
        object.update(toJson(element));
        list.push_back(object);
    }
    return list;
}

std::string recordText(const Device& device) {
    return fmt::format("{}, {}", statusName(device.code), words(device, DEVICE_FLAGS, "no flags"));
}
std::string recordText(const PowerSupply& supply) {
    return fmt::format("{}, {}", statusName(supply.code),
                       words(supply, POWER_SUPPLY_FLAGS, "no flags"));
}
std::string recordText(const Fan& fan) {
    const std::string speed = fan.rpm ? fmt::format("{} RPM", *fan.rpm) : "no reading";
    return fmt::format("{}, {}, {}", statusName(fan.code), speed, words(fan, FAN_FLAGS, "running"));
}
std::string recordText(const Sensor& sensor) {
    const std::string degrees =
        sensor.celsius ? fmt::format("{} °C", *sensor.celsius) : "no reading";
    return fmt::format("{}, {}, {}", statusName(sensor.code), degrees,
                       words(sensor, SENSOR_FLAGS, "no flags"));
}
std::string recordText(const Alarm& alarm) {
    return fmt::format("{}, {}", alarm.disabled ? "disabled" : "enabled",
                       alarm.flags ? words(*alarm.flags, ALARM_FLAGS, "no flags")
                                   : "flags not told (the byte is left out)");
}

template <typename T>
void addRows(std::vector<PageRow>& rows, Kind kind, const std::vector<T>& elements) {
    const auto add = [&rows](const std::string& of, const std::string& says, bool fault) {
        const std::size_t offset = rows.back().offset + rows.back().size;
        rows.push_back({offset, SES_K_ELEMENT_SIZE, of, says, fault});
    };
    add(fmt::format("{}s, overall", KIND_NAMES[kind]), fmt::format("{} of them", elements.size()),
        false);
    for (std::size_t i = 0; i < elements.size(); i++) {
        add(fmt::format("{} {}", KIND_NAMES[kind], i), recordText(elements[i]),
            inFault(elements[i]));
    }
}

// A fault indication that was merely requested says nothing of the supply.
bool inOrder(const PowerSupply& supply) {
    PowerSupply sensed = supply;
    sensed.fail = false;
    return supply.code == SES_E_ELEMENT_STATUS_CODE_OK && !inFault(sensed);
}

metrics::Readings readings(const Status& status) {
    metrics::Readings readings;
    for (const Sensor& sensor : status.sensors) {
        readings.sensors.push_back({sensor.celsius, sensor.celsius.has_value()});
    }
    for (const Fan& fan : status.fans) {
        readings.fans.push_back({fan.rpm, !inFault(fan)});
    }
    if (!status.powerSupplies.empty()) {
        readings.redundant = std::ranges::all_of(status.powerSupplies, inOrder);
    }
    return readings;
}

}  // namespace

std::string statusMetrics(const Status* status) {
    metrics::Text text;
    metrics::addLink(text, status != nullptr);
    if (status != nullptr) {
        metrics::addEnclosure(text, readings(*status));
    }
    return text.text();
}

std::vector<PageRow> statusRows(const Status& status) {
    std::vector<PageRow> rows{{0, sizeof(EncStatDiagPageHdr_t), "page header",
                               words(status.page, PAGE_FLAGS, "no condition"), false}};
    addRows(rows, devices, status.devices);
    addRows(rows, powerSupplies, status.powerSupplies);
    addRows(rows, fans, status.fans);
    addRows(rows, sensors, status.sensors);
    addRows(rows, alarms, status.alarms);
    return rows;
}

std::string configurationTable(const Configuration& configuration) {
    const auto orDash = [](const std::string& text) { return text.empty() ? "-" : text; };
    std::string text =
        fmt::format("Vendor      {}\nProduct     {}\nRevision    {}\nGeneration  {}\n\n",
                    orDash(configuration.vendor), orDash(configuration.product),
                    orDash(configuration.revision), configuration.generation);
    text += "Element             Type  Number\n";
    for (std::size_t kind = 0; kind < ELEMENT_TYPES.size(); kind++) {
        text += fmt::format("{:<18}{:>6}{:>8}\n", KIND_NAMES[kind], ELEMENT_TYPES[kind],
                            configuration.counts[kind]);
    }
    return text;
}

std::string statusTable(const Status& status) {
    std::string text;
    const std::string page = words(status.page, PAGE_FLAGS, "");
    if (!page.empty()) {
        text += "Enclosure: " + page + "\n";
    }
    text += section("    Slot  Status         Fault LED  Flags\n", status.devices, deviceRow);
    text += section("  Supply  Status         Flags\n", status.powerSupplies, supplyRow);
    text += section("     Fan  Speed          State\n", status.fans, fanRow);
    text += section("  Sensor  Temperature    State\n", status.sensors, sensorRow);
    text += section("   Alarm  Status         Flags\n", status.alarms, alarmRow);
    return text;
}

std::string driveLedTable(const Status& status, const std::vector<unsigned>& slots) {
    std::string text;
    for (const unsigned slot : slots) {
        text += fmt::format("slot {}: fault LED {}\n", slot,
                            status.devices.at(slot).faultRequested ? "on" : "off");
    }
    return text;
}

std::string statusJson(const Status& status) {
    Json enclosure = Json::object();
    addFlags(enclosure, status.page, PAGE_FLAGS);
    const Json document = {
        {"fault", faultPresent(status)},
        {"enclosure", enclosure},
        {"devices", toJson(status.devices)},
        {"powerSupplies", toJson(status.powerSupplies)},
        {"fans", toJson(status.fans)},
        {"temperatureSensors", toJson(status.sensors)},
        {"audibleAlarms", toJson(status.alarms)},
    };
    return document.dump(2) + "\n";
}

std::string pageHex(View page, const std::string& comment) {
    std::string text = "# " + comment + "\n";
    for (std::size_t i = 0; i < page.size(); i++) {
        const bool lineEnd = i % HEX_BYTES_PER_LINE == HEX_BYTES_PER_LINE - 1;
        text += fmt::format("{:02x}{}", page[i], lineEnd || i + 1 == page.size() ? '\n' : ' ');
    }
    return text;
}

}  // namespace sesctl
