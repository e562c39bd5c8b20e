// SPDX-License-Identifier: Apache-2.0
#include "lab/session/commands.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <sstream>

#include "lab/session/findings.h"
#include "lab/words.h"

namespace enclab {

namespace {

std::string usage(const char* name, const char* arguments) {
    return *arguments == '\0' ? name : fmt::format("{} {}", name, arguments);
}

}  // namespace

const Commands::Command Commands::kCommands[] = {
    {"fan", "N pull|return|lock|free|wear PERCENT|stall PERCENT", 2, &Commands::fan, 3},
    {"temp", "N|all DEGREES|auto", 2, &Commands::temperature},
    {"inlet", "DEGREES", 1, &Commands::inlet},
    {"heat", "[SLOT] PERCENT", 1, &Commands::heat, 2},
    {"psu", "lost|good", 1, &Commands::psu},
    {"rail", "NAME VOLTS|lost|drift VOLTS_PER_HOUR", 2, &Commands::rail, 3},
    {"drive", "N present|absent", 2, &Commands::drive},
    {"cut", "DEVICE|ADDRESS", 1, &Commands::cut},
    {"mend", "DEVICE|ADDRESS", 1, &Commands::mend},
    {"fail", "DEVICE|ADDRESS N", 2, &Commands::fail},
    {"fault", "add DEVICE [read|write] [KEY=VALUE]... act=ACTION | remove N | list | clear", 1,
     &Commands::fault, kAnyNumber},
    {"dump", "DEVICE|ADDRESS [FILE]", 1, &Commands::dump, 2},
    {"bus", "on|off", 1, &Commands::bus},
    {"switch",
     "stop|go|close|open | delay MS | split BYTES [MS] | glue N | plain | die BYTES | "
     "flood N | flood RATE/s SECONDS",
     1, &Commands::messageSwitch, 3},
    {"startup", "answer|error|silent", 1, &Commands::startup},
    {"shutdown", "ignore|perform|refuse", 1, &Commands::shutdown},
    {"mail", "", 0, &Commands::mail},
    {"events", "", 0, &Commands::events},
    {"ses", "WHAT...", 1, &Commands::ses, 4},
    {"volmgr", "WHAT...", 1, &Commands::volumeManager, 4},
    {"raw", "HEX... | first N [PLACE=HEX]...", 1, &Commands::raw, 10000},
    {"daemon", "start|stop|kill", 1, &Commands::daemon},
    {"clock", "SECONDS", 1, &Commands::clock},
    {"disk", "log|nv good|full|gone", 2, &Commands::disk},
    {"record", "[FILE]", 0, &Commands::record, 1},
    {"heal", "", 0, &Commands::heal},
    {"show", "", 0, &Commands::show},
    {"help", "", 0, &Commands::help},
    {"quit", "", 0, &Commands::quit},
};

Commands::Commands(Lab& lab, std::function<void()> quit, std::function<void(bool)> watchBus)
    : lab_(lab), quit_(std::move(quit)), watchBus_(std::move(watchBus)) {}

Commands::Result Commands::run(const std::string& line) {
    const double time = lab_.time();
    Result result = perform(line);
    if (result.ok && worthRecording(line)) {
        deeds_.push_back({time, line});
    }
    return result;
}

Commands::Result Commands::perform(const std::string& line) {
    std::istringstream stream(line);
    Words words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    if (words.empty()) {
        return {true, ""};
    }
    const std::string name = words.front();
    words.erase(words.begin());
    for (const Command& command : kCommands) {
        if (name != command.name) {
            continue;
        }
        if (words.size() < command.least || words.size() > command.most) {
            return {false, "usage: " + usage(command.name, command.arguments)};
        }
        try {
            return {true, (this->*command.run)(words)};
        } catch (const std::exception& error) {
            return {false, fmt::format("{}: {}", name, error.what())};
        }
    }
    return {false, fmt::format("no command '{}'{}; help lists them", name,
                               didYouMean(name, std::views::transform(kCommands, &Command::name)))};
}

std::string Commands::psu(const Words& words) {
    const bool good = choice(words[0], {"lost", "good"}) == 1;
    lab_.chassis().setRedundancy(good);
    return fmt::format("supply redundancy {}", good ? "good" : "lost");
}

std::string Commands::drive(const Words& words) {
    const int slot = number<int>(words[0], "a slot number");
    const bool present = choice(words[1], {"present", "absent"}) == 0;
    lab_.chassis().setDrivePresent(slot, present);
    return fmt::format("drive {} {}", slot, present ? "present" : "absent");
}

std::string Commands::cut(const Words& words) {
    const std::uint8_t address = lab_.chassis().addressOf(words[0]);
    const std::string name = lab_.chassis().nameOf(address);
    lab_.chassis().bus().cut(address, name);
    return fmt::format("{} cut off the bus", name);
}

std::string Commands::mend(const Words& words) {
    const std::uint8_t address = lab_.chassis().addressOf(words[0]);
    lab_.chassis().bus().mend(address);
    return fmt::format("{} back on the bus", lab_.chassis().nameOf(address));
}

std::string Commands::fail(const Words& words) {
    const std::uint8_t address = lab_.chassis().addressOf(words[0]);
    const unsigned n = number<unsigned>(words[1], "a count of transfers");
    if (n == 0) {
        refuse("transfers count from 1");
    }
    const std::string name = lab_.chassis().nameOf(address);
    lab_.chassis().bus().add({.device = name, .addresses = {address}, .nth = n});
    return fmt::format("transfer {} from now of {} will fail", n, name);
}

std::string Commands::bus(const Words& words) {
    const bool on = choice(words[0], {"on", "off"}) == 0;
    watchBus_(on);
    return fmt::format("bus transfers {}", on ? "shown" : "not shown");
}

std::string Commands::record(const Words& words) {
    std::string text = recorded(lab_, deeds_);
    if (words.empty() || rehearsal_) {
        text.pop_back();
        return text;
    }
    writeFile(words[0], text);
    return fmt::format("a scenario of what was done is written to {}", words[0]);
}

std::string Commands::heal(const Words&) {
    std::vector<std::string> done;
    for (const Finding& finding : findings(lab_)) {
        if (!finding.cure.empty() && perform(finding.cure).ok) {
            done.push_back(finding.cure);
        }
    }
    return done.empty() ? "nothing to heal" : fmt::format("healed: {}", fmt::join(done, ", "));
}

std::string Commands::show(const Words&) {
    return labState(lab_);
}

std::string Commands::help(const Words&) {
    std::string text;
    for (const Command& command : kCommands) {
        text +=
            fmt::format("{}{}", text.empty() ? "" : "\n", usage(command.name, command.arguments));
    }
    return text;
}

std::string Commands::quit(const Words&) {
    quit_();
    return "the lab ends";
}

}  // namespace enclab
