// SPDX-License-Identifier: Apache-2.0
#include "lab/session/record.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace enclab {

namespace {

// Between two polls of the daemon, seconds.
constexpr double kPoll = 11;
// A message that comes so soon after a command may be about what was done before.
constexpr double kSoon = 1;
// What is there when the daemon starts is done so long before: too short for anything to change.
constexpr double kBefore = 0.001;

struct Chapter {
    double at;  // seconds after the daemon's first start
    std::vector<std::string> deeds;
    std::vector<std::string> messages;
    double last;  // message
};

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        result += (c == '"' || c == '\\') ? std::string{'\\', c} : std::string{c};
    }
    return result + '"';
}

void addList(std::string& text, const char* key, const std::vector<std::string>& entries) {
    if (entries.empty()) {
        return;
    }
    std::vector<std::string> lines;
    std::ranges::transform(entries, std::back_inserter(lines), quoted);
    text += lines.size() == 1
                ? fmt::format("{} = {}\n", key, lines[0])
                : fmt::format("{} = [\n    {},\n]\n", key, fmt::join(lines, ",\n    "));
}

// A pattern that another run's message meets: measured degrees may differ by one. One blank behind
// the tag, as people write it.
std::string patternOf(std::string line) {
    const std::size_t tag = line.find(' ');
    line.erase(tag, line.find_first_not_of(' ', tag) - tag - 1);
    const std::size_t degrees = line.find(" degrees");
    const std::size_t at = line.rfind(" at ", degrees);
    return degrees == line.npos || at == line.npos
               ? line
               : line.substr(0, at) + " at *" + line.substr(degrees);
}

double tenths(double seconds) {
    return std::round(seconds * 10) / 10;
}

double secondsOf(Lab& lab) {
    return lab.time() - lab.daemonBegan().value_or(lab.time());
}

// The first is the daemon's first start with what was done before it. The daemon's messages are put
// to the chapter they belong to.
std::vector<Chapter> chaptersOf(Lab& lab, const std::vector<Deed>& deeds) {
    const double begin = lab.time() - secondsOf(lab);
    std::vector<Chapter> chapters = {{-kBefore, {}, {}, 0}};
    for (const Deed& deed : deeds) {
        const double at = tenths(deed.time - begin);
        if (deed.time > begin && chapters.back().at != at) {
            chapters.push_back({at, {}, {}, at});
        }
        (deed.time > begin ? chapters.back() : chapters.front()).deeds.push_back(deed.line);
    }
    for (const Received& received : lab.received()) {
        const double time = received.time - begin;
        if (received.message.kind() == Kind::reply || time < 0) {
            continue;
        }
        const auto later =
            std::find_if(chapters.begin() + 1, chapters.end(),
                         [time](const Chapter& chapter) { return chapter.at > time - kSoon; });
        std::prev(later)->messages.push_back(patternOf(describe(received.message)));
        std::prev(later)->last = time;
    }
    return chapters;
}

// Where time is real, the last messages may come a poll later, too.
double endOf(Lab& lab, const std::vector<Chapter>& chapters) {
    double end = secondsOf(lab);
    for (const Chapter& chapter : chapters) {
        if (lab.virtualTime() == nullptr && !chapter.messages.empty()) {
            end = std::max(end, chapter.last + kPoll);
        }
    }
    return tenths(end);
}

std::string headOf(Lab& lab) {
    const std::string chassis = lab.chassisName();
    std::string text =
        fmt::format("title = \"Recorded in a lab\"\nchassis = {}\n", quoted(chassis));
    if (lab.plant() != nullptr) {
        text += "plant = true\n";
    }
    const Personality usual = personalityOf(chassis);
    std::vector<std::string> changed;
    for (const PersonalityKey& key : kPersonalityKeys) {
        const auto value = personalityValue(lab.options().personality, key.name);
        if (value && *value != usual.*key.value) {
            changed.push_back(fmt::format("{} = {}", key.name, *value));
        }
    }
    if (!changed.empty()) {
        text += fmt::format("personality = {{ {} }}\n", fmt::join(changed, ", "));
    }
    // A later start says it among what it leads to.
    text += "start = []\n";
    return lab.count(Kind::reply) == 0 ? text : text + "allow = \"reply*\"\n";
}

}  // namespace

bool worthRecording(const std::string& line) {
    constexpr std::string_view kLooks[] = {"bus",  "dump", "events", "help",
                                           "mail", "quit", "record", "show"};
    return std::ranges::find(kLooks, std::string_view(line).substr(0, line.find(' '))) ==
           std::end(kLooks);
}

std::string recorded(Lab& lab, const std::vector<Deed>& deeds) {
    const std::vector<Chapter> chapters = chaptersOf(lab, deeds);
    const double end = endOf(lab, chapters);
    std::string text = headOf(lab) + fmt::format("end = {}\n", end);
    for (const Chapter& chapter : chapters) {
        if (chapter.deeds.empty() && chapter.messages.empty()) {
            continue;
        }
        text += fmt::format("\n[[step]]\nat = {}\n", chapter.at);
        addList(text, "do", chapter.deeds);
        addList(text, "expect", chapter.messages);
        const double within = chapter.messages.empty() ? 0 : chapter.last - chapter.at + kPoll;
        text += fmt::format("within = {}\n", tenths(std::clamp(within, 0.0, end - chapter.at)));
    }
    const StartupProcess& startup = lab.startupProcess();
    text += fmt::format("\n[[step]]\nat = {}\n", end);
    addList(text, "check",
            {fmt::format("fault led = {}", startup.compositeLedLit() ? "on" : "off"),
             fmt::format("mails = {}", startup.mails()),
             fmt::format("shutdowns = {}", startup.shutdownRequests())});
    return text;
}

}  // namespace enclab
