// SPDX-License-Identifier: Apache-2.0
// The command `fault`: rules for the enclosure bus.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fnmatch.h>

#include "lab/session/commands.h"
#include "lab/words.h"

namespace enclab {
namespace {

// Addresses of a device by name or address, or of all whose names fit a pattern.
std::vector<std::uint8_t> devicesMeant(const Chassis& chassis, const std::string& device) {
    if (device.find_first_of("*?[") == device.npos) {
        return {chassis.addressOf(device)};
    }
    std::vector<std::uint8_t> addresses;
    for (const ChassisDevice& candidate : chassis.devices()) {
        if (fnmatch(device.c_str(), candidate.name.c_str(), 0) == 0) {
            addresses.push_back(candidate.address);
        }
    }
    if (addresses.empty()) {
        refuse(fmt::format("no device of the chassis fits '{}'", device));
    }
    return addresses;
}

std::string faultLine(const Fault& fault, double now) {
    return fmt::format("{:<3} {}: acted on {}, matched {}{}", fault.number(),
                       describe(fault.rule()), fault.fired(), fault.matched(),
                       fault.over(now) ? ", over" : "");
}

std::string faultList(const Bus& bus) {
    std::vector<std::string> lines;
    for (const Fault& fault : bus.faults()) {
        lines.push_back(faultLine(fault, bus.now()));
    }
    return lines.empty() ? "no faults" : fmt::format("{}", fmt::join(lines, "\n"));
}

std::string removeFault(Bus& bus, const std::string& word) {
    const int fault = number<int>(word, "a fault number");
    if (!bus.remove(fault)) {
        refuse(fmt::format("no fault {}; 'fault list' shows them", fault));
    }
    return fmt::format("fault {} removed", fault);
}

}  // namespace

std::string Commands::fault(const Words& words) {
    Bus& bus = lab_.chassis().bus();
    const std::span<const std::string> rest = std::span(words).subspan(1);
    const std::size_t verb = choice(words[0], {"add", "remove", "list", "clear"});
    if (verb == 0) {
        FaultRule rule = parseFaultRule(rest, [this](const std::string& device) {
            return devicesMeant(lab_.chassis(), device);
        });
        if (rule.probability < 1 && !rule.seed) {
            rule.seed = seed_;
        }
        return fmt::format("fault {}: {}", bus.add(rule), describe(rule));
    }
    if (rest.size() != (verb == 1 ? 1 : 0)) {
        refuse(fmt::format("'{}' takes {}", words[0], verb == 1 ? "a fault number" : "no words"));
    }
    if (verb == 1) {
        return removeFault(bus, rest[0]);
    }
    if (verb == 3) {
        bus.clearFaults();
        return "all faults removed";
    }
    return faultList(bus);
}

}  // namespace enclab
