// SPDX-License-Identifier: Apache-2.0
#include "tests/story/transcript.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cmath>

namespace {

constexpr std::size_t PAGE = 65;            // message byte of a page: header, status
constexpr std::size_t SECTIONS = PAGE + 8;  // message byte of the first section

std::string fanLoads(const enclab::Chassis& chassis) {
    std::vector<long> loads;
    for (int fan = 0; fan < chassis.fans(); ++fan) {
        loads.push_back(std::lround(chassis.fanLoadPercent(fan)));
    }
    return fmt::format("{}", fmt::join(loads, " "));
}

std::string driveLeds(const enclab::Chassis& chassis) {
    std::vector<int> lit;
    for (int slot = 0; chassis.parts().driveLeds && slot < chassis.slots(); ++slot) {
        if (chassis.driveFaultLed(slot)) {
            lit.push_back(slot);
        }
    }
    return fmt::format("{}", fmt::join(lit, " "));
}

std::string statusLeds(const enclab::Chassis& chassis) {
    std::vector<std::string> lit;
    for (const enclab::ChassisLed& led : chassis.statusLeds()) {
        if (led.lit) {
            lit.push_back(led.name);
        }
    }
    return fmt::format("{}", fmt::join(lit, " "));
}

}  // namespace

void Transcript::show(const char* tag, const std::string& text) {
    std::string& shown = shown_[tag];
    if (shown != text) {
        shown = text;
        lines_ += fmt::format("{:<8}{}\n", tag, text.empty() ? "none" : text);
    }
}

void Transcript::statesShow() {
    const enclab::Chassis& chassis = service_.chassis();
    const std::string alarm = chassis.alarm();
    show("loads", fanLoads(chassis));
    show("leds", driveLeds(chassis));
    show("status", statusLeds(chassis));
    show("alarm", fmt::format("{}{}{}", esaControl.alarmState, alarm.empty() ? "" : ", ", alarm));
    show("faults", fmt::format("0x{:08x}", esaControl.compositeFaultStatus));
    show("devices", fmt::format("0x{:08x}", esaControl.i2cDeviceFaultStatus));
}

// Overall word and records of each section; the last byte of the last one is not sent.
void Transcript::pageShow(const Bytes& reply) {
    std::size_t at = SECTIONS;
    for (const PageSection& section : PAGE_SECTIONS) {
        const std::size_t end = at + 4 * (1 + std::size_t{esaControl.*section.count});
        std::string text;
        for (; at < end && at < reply.size(); ++at) {
            text += fmt::format("{}{:02X}", (at - PAGE) % 4 == 0 && !text.empty() ? " " : "",
                                reply[at]);
        }
        show(section.name, text);
    }
}

std::string Transcript::run(const std::string& command) {
    lines_.clear();
    service_.run(command);
    started_ |= command == "start";
    const std::vector<enclab::Message> messages = service_.take();
    for (const enclab::Message& message : messages) {
        lines_ += describe(message) + "\n";
    }
    if (command == "page") {
        pageShow(messages.back().bytes());
    }
    if (started_) {
        statesShow();
    }
    return lines_;
}
