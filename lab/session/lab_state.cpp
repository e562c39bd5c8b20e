// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <numeric>

#include "lab/session/commands.h"
#include "lab/session/findings.h"

namespace enclab {

namespace {

using Lines = std::vector<std::string>;

void add(Lines& lines, std::string_view label, const std::string& text) {
    lines.push_back(fmt::format("{:<12}{}", label, text));
}

std::string daemonText(Lab& lab) {
    if (!lab.daemonRunning()) {
        return "not running";
    }
    return fmt::format("process {}, {}, {:.2f} s of processor time in {:.1f} s", lab.daemon().pid(),
                       lab.messageSwitch().connections(MMSG_E_EPID_ES_ADAPTERMP) > 0
                           ? "connected"
                           : "not connected",
                       lab.daemon().cpuSeconds(), lab.time());
}

std::string conditionText(const PlantFan& fan) {
    std::string text = fan.locked() ? ", locked" : fan.stalled() ? ", stalled" : "";
    if (fan.wear() > 0) {
        text += fmt::format(", worn by {} %", fan.wear());
    }
    if (fan.stall() != PlantFan::kUsualStall) {
        text += fmt::format(", stands below {} %", fan.stall());
    }
    return text;
}

std::string fanText(Lab& lab, int fan) {
    const Chassis& chassis = lab.chassis();
    if (!chassis.fanPresent(fan)) {
        return "pulled";
    }
    return fmt::format("{:.0f} RPM, load {:.0f} %{}", chassis.fanRpm(fan),
                       chassis.fanLoadPercent(fan),
                       lab.plant() != nullptr ? conditionText(lab.plant()->fan(fan)) : "");
}

std::string sensorText(Lab& lab, int sensor) {
    const bool pinned = lab.plant() != nullptr && lab.plant()->sensorPinned(sensor);
    return fmt::format("{:.1f} degrees{}", lab.chassis().temperature(sensor),
                       pinned ? " (set)" : "");
}

std::string plantText(Lab& lab) {
    const Plant& plant = *lab.plant();
    const std::vector<double> watts = plant.powers();
    std::vector<double> busy;
    for (int slot = 0; slot < lab.chassis().slots(); ++slot) {
        busy.push_back(plant.heat(slot));
    }
    const auto [least, most] = std::ranges::minmax(busy);
    return fmt::format(
        "inlet {:.1f} degrees, drives {} % busy, {:.0f} W", plant.inlet(),
        least == most ? fmt::format("{}", most) : fmt::format("{} to {}", least, most),
        std::accumulate(watts.begin(), watts.end(), 0.0));
}

template <typename Test>
std::string slotsWhere(const Chassis& chassis, Test test) {
    std::vector<int> found;
    for (int slot = 0; slot < chassis.slots(); ++slot) {
        if (test(slot)) {
            found.push_back(slot);
        }
    }
    return found.empty() ? "none" : fmt::format("{}", fmt::join(found, " "));
}

std::string railText(const Chassis& chassis) {
    std::vector<std::string> rails;
    for (const ChassisRail& rail : chassis.rails()) {
        rails.push_back(fmt::format("{}: {:.2f} V", rail.name, rail.volts));
    }
    return fmt::format("{}", fmt::join(rails, ", "));
}

std::string statusLedText(const Chassis& chassis) {
    std::vector<std::string> leds;
    for (const ChassisLed& led : chassis.statusLeds()) {
        leds.push_back(fmt::format("{} {}", led.name, led.lit ? "lit" : "off"));
    }
    return fmt::format("{}", fmt::join(leds, ", "));
}

// What only some chassis have.
void addFitted(Lines& lines, const Chassis& chassis) {
    if (!chassis.rails().empty()) {
        add(lines, "rails", railText(chassis));
    }
    if (chassis.parts().redundancy) {
        add(lines, "supplies", chassis.redundancy() ? "redundancy good" : "redundancy lost");
    }
    if (chassis.parts().drivePresence) {
        add(lines, "absent", slotsWhere(chassis, [&](int n) { return !chassis.drivePresent(n); }));
    }
    if (chassis.parts().driveLeds) {
        add(lines, "drive LEDs",
            slotsWhere(chassis, [&](int n) { return chassis.driveFaultLed(n); }));
    }
    if (!chassis.statusLeds().empty()) {
        add(lines, "status LEDs", statusLedText(chassis));
    }
    if (!chassis.alarm().empty()) {
        add(lines, "alarm", chassis.alarm());
    }
}

std::string deviceText(Chassis& chassis) {
    std::vector<std::string> devices;
    for (const ChassisDevice& device : chassis.devices()) {
        const auto held = chassis.chip(device.name).held();
        devices.push_back(fmt::format("{} 0x{:02x}{}{}", device.name, device.address,
                                      chassis.bus().isCut(device.address) ? " (cut)" : "",
                                      held > 0 ? fmt::format(" ({} held)", held) : ""));
    }
    return fmt::format("{}", fmt::join(devices, ", "));
}

std::string requestText(const StartupProcess& startup) {
    return fmt::format("composite fault LED {}, {} LED requests, {} mails, {} shutdowns",
                       startup.compositeLedLit() ? "lit" : "off", startup.ledRequests(),
                       startup.mails(), startup.shutdownRequests());
}

std::string eventText(const EventManager& events) {
    std::vector<std::string> counts;
    for (const auto& [id, count] : events.counts()) {
        counts.push_back(fmt::format("{} of id {}", count, id));
    }
    return counts.empty() ? "none" : fmt::format("{}", fmt::join(counts, ", "));
}

}  // namespace

std::string labState(Lab& lab) {
    Chassis& chassis = lab.chassis();
    Lines lines;
    add(lines, "daemon", daemonText(lab));
    for (int fan = 0; fan < chassis.fans(); ++fan) {
        add(lines, fmt::format("fan {}", fan), fanText(lab, fan));
    }
    for (int sensor = 0; sensor < chassis.sensors(); ++sensor) {
        add(lines, fmt::format("sensor {}", sensor), sensorText(lab, sensor));
    }
    if (lab.plant() != nullptr) {
        add(lines, "plant", plantText(lab));
    }
    addFitted(lines, chassis);
    for (const Finding& finding : findings(lab)) {
        add(lines, "wrong",
            fmt::format("{} {}{}", finding.subject, finding.state,
                        finding.cure.empty() ? "" : "; to mend it: " + finding.cure));
    }
    add(lines, "devices", deviceText(chassis));
    add(lines, "switch", lab.daemonLink().describe());
    add(lines, "requests", requestText(lab.startupProcess()));
    add(lines, "events", eventText(lab.eventManager()));
    return fmt::format("{}", fmt::join(lines, "\n"));
}

}  // namespace enclab
