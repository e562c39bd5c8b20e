// SPDX-License-Identifier: Apache-2.0
#include "lab/session/findings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace enclab {

namespace {

using Findings = std::vector<Finding>;

constexpr std::uint8_t kDaemon = MMSG_E_EPID_ES_ADAPTERMP;
constexpr char kFanEvent[] = "fan fault status";
constexpr char kHeatEvent[] = "temperature";
constexpr char kSupplyEvent[] = "power supply status";

void daemonFindings(Lab& lab, Findings& found) {
    if (lab.daemonStarted() && !lab.daemonRunning()) {
        found.push_back({"the daemon",
                         fmt::format("has ended with status {}: nothing watches the enclosure",
                                     lab.daemon().exitStatus().value_or(0)),
                         "daemon start"});
    }
}

void fanFindings(Lab& lab, int number, Findings& found) {
    const std::string fan = fmt::format("fan {}", number);
    const auto add = [&](const std::string& state, const std::string& cure) {
        found.push_back({fan, state, fan + " " + cure, kFanEvent});
    };
    if (!lab.chassis().fanPresent(number)) {
        add("is pulled", "return");
    }
    if (lab.plant() == nullptr) {
        return;
    }
    const PlantFan& model = lab.plant()->fan(number);
    if (model.locked()) {
        add("is locked", "free");
    }
    if (model.wear() > 0) {
        add(fmt::format("is worn, {} % slower than a new one", model.wear()), "wear 0");
    }
    if (model.stall() != PlantFan::kUsualStall) {
        add(fmt::format("stands below {} % of load", model.stall()),
            fmt::format("stall {}", PlantFan::kUsualStall));
    }
}

void sensorFindings(Lab& lab, int number, Findings& found) {
    const std::string sensor = fmt::format("sensor {}", number);
    const double degrees = lab.chassis().temperature(number);
    const double usual = lab.chassis().parts().temperature;
    const auto limit = personalityValue(lab.options().personality, "overheatTemperatureLimit");
    if (limit && degrees > *limit) {
        found.push_back(
            {sensor, fmt::format("is at {:.1f} degrees, above the limit of {}", degrees, *limit),
             "", kHeatEvent});
    }
    if (lab.plant() != nullptr && lab.plant()->sensorPinned(number)) {
        found.push_back({sensor, fmt::format("is held at {:.1f} degrees", degrees),
                         fmt::format("temp {} auto", number), kHeatEvent});
    } else if (lab.plant() == nullptr && degrees != usual) {
        found.push_back({sensor, fmt::format("is set to {:.1f} degrees", degrees),
                         fmt::format("temp {} {}", number, usual), kHeatEvent});
    }
}

void plantFindings(const Plant& plant, int slots, Findings& found) {
    if (plant.inlet() != Plant::kUsualInlet) {
        found.push_back({"the inlet air", fmt::format("is at {:.1f} degrees", plant.inlet()),
                         fmt::format("inlet {}", Plant::kUsualInlet), kHeatEvent});
    }
    bool changed = false;
    double busiest = 0;
    for (int slot = 0; slot < slots; ++slot) {
        changed = changed || plant.heat(slot) != Plant::kUsualHeat;
        busiest = std::max(busiest, plant.heat(slot));
    }
    if (changed) {
        found.push_back({"the drives",
                         fmt::format("are up to {} % busy, not {} %", busiest, Plant::kUsualHeat),
                         fmt::format("heat {}", Plant::kUsualHeat), kHeatEvent});
    }
}

void powerFindings(const Chassis& chassis, Findings& found) {
    if (chassis.parts().redundancy && !chassis.redundancy()) {
        found.push_back({"the supplies", "are not redundant", "psu good", kSupplyEvent});
    }
    for (std::size_t n = 0; n < chassis.rails().size(); ++n) {
        const ChassisRail& rail = chassis.rails()[n];
        const double nominal = chassis.parts().rails[n].volts;
        if (rail.volts != nominal) {
            found.push_back(
                {"rail " + rail.name,
                 rail.volts == 0 ? "is lost" : fmt::format("is at {:.2f} V", rail.volts),
                 fmt::format("rail {} {}", rail.name, nominal), kSupplyEvent});
        }
    }
}

void busFindings(Lab& lab, Findings& found) {
    const Bus& bus = lab.chassis().bus();
    for (const ChassisDevice& device : lab.chassis().devices()) {
        if (bus.isCut(device.address)) {
            found.push_back({device.name, "is cut off the bus", "mend " + device.name, "device"});
        }
    }
    for (const Fault& fault : bus.faults()) {
        if (!fault.over(lab.time()) && !bus.isCut(fault.rule())) {
            found.push_back({"the bus", "has a fault rule: " + describe(fault.rule()),
                             fmt::format("fault remove {}", fault.number())});
        }
    }
}

void peerFindings(Lab& lab, Findings& found) {
    constexpr char kSwitch[] = "the message switch";
    if (!lab.messageSwitch().isOpen(kDaemon)) {
        found.push_back({kSwitch, "refuses the daemon", "switch open"});
    }
    if (!lab.messageSwitch().isReading(kDaemon)) {
        found.push_back({kSwitch, "does not read what the daemon sends", "switch go"});
    }
    if (!lab.daemonLink().isPlain()) {
        found.push_back(
            {kSwitch, "delivers badly: " + lab.daemonLink().describe(), "switch plain"});
    }
    if (const StartupAnswer answer = lab.startupProcess().answer(); answer != StartupAnswer::kOk) {
        found.push_back(
            {"the start-up process",
             answer == StartupAnswer::kNone ? "does not answer" : "rejects every request",
             "startup answer"});
    }
}

// As the command `disk` leaves them.
void diskFindings(LabDirectory& directory, Findings& found) {
    const std::pair<const char*, std::filesystem::path> disks[] = {
        {"log", directory.log() / "esa_01.log"}, {"nv", directory.nonVolatile() / "altevent.log"}};
    for (const auto& [name, file] : disks) {
        const bool gone = !std::filesystem::exists(file.parent_path());
        if (gone || std::filesystem::is_symlink(file)) {
            found.push_back({fmt::format("the {} directory", name), gone ? "is gone" : "is full",
                             fmt::format("disk {} good", name)});
        }
    }
}

}  // namespace

std::vector<Finding> findings(Lab& lab) {
    Findings found;
    daemonFindings(lab, found);
    for (int fan = 0; fan < lab.chassis().fans(); ++fan) {
        fanFindings(lab, fan, found);
    }
    for (int sensor = 0; sensor < lab.chassis().sensors(); ++sensor) {
        sensorFindings(lab, sensor, found);
    }
    if (lab.plant() != nullptr) {
        plantFindings(*lab.plant(), lab.chassis().slots(), found);
    }
    powerFindings(lab.chassis(), found);
    busFindings(lab, found);
    peerFindings(lab, found);
    diskFindings(lab.directory(), found);
    return found;
}

std::vector<std::string> reactions(Lab& lab) {
    if (!lab.daemonRunning()) {
        return {};
    }
    const StartupProcess& startup = lab.startupProcess();
    std::vector<std::string> all;
    double least = 100;
    double most = 0;
    for (int fan = 0; fan < lab.chassis().fans(); ++fan) {
        least = std::min(least, std::round(lab.chassis().fanLoadPercent(fan)));
        most = std::max(most, std::round(lab.chassis().fanLoadPercent(fan)));
    }
    if (lab.chassis().fans() > 0) {
        all.push_back(least == most ? fmt::format("the fans run at {} %", most)
                                    : fmt::format("the fans run at {} to {} %", least, most));
    }
    if (startup.compositeLedLit()) {
        all.emplace_back("the fault LED is lit");
    }
    if (const std::string alarm = lab.chassis().alarm();
        !alarm.empty() && !alarm.ends_with("idle")) {
        all.push_back("the alarm: " + alarm);
    }
    const auto times = [](int count) {
        return count == 1 ? "once" : fmt::format("{} times", count);
    };
    if (startup.mails() > 0) {
        all.push_back(fmt::format("mail sent {}", times(startup.mails())));
    }
    if (startup.shutdownRequests() > 0) {
        all.push_back(fmt::format("shutdown asked for {}", times(startup.shutdownRequests())));
    }
    return all;
}

}  // namespace enclab
