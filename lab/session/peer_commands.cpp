// SPDX-License-Identifier: Apache-2.0
// The commands that make the daemon's peers misbehave, and those that show what they were told.
#include <fmt/format.h>

#include <span>

#include "lab/session/commands.h"
#include "lab/words.h"

namespace enclab {
namespace {

constexpr std::uint8_t kDaemonEndpoint = MMSG_E_EPID_ES_ADAPTERMP;
constexpr std::size_t kBytesMax = MMSG_K_MESSAGE_MAX;
constexpr std::size_t kFloodMax = 10000;
constexpr double kPauseMs = 100;
constexpr double kTimeMaxMs = 60000;

using Rest = std::span<const std::string>;

std::size_t countIn(const std::string& word, std::size_t least, std::size_t most) {
    const auto value = number<std::size_t>(word, "a count");
    if (value < least || value > most) {
        refuse(fmt::format("'{}' is not a count from {} to {}", word, least, most));
    }
    return value;
}

double numberIn(std::string_view word, const char* what, double most) {
    const auto value = number<double>(word, what);
    if (value <= 0 || value > most) {
        refuse(fmt::format("'{}' is not {} above 0, at most {}", word, what, most));
    }
    return value;
}

DaemonLink::Seconds milliseconds(double value) {
    return DaemonLink::Seconds(value / 1000);
}

std::string stopReading(Lab& lab, Rest) {
    lab.messageSwitch().stopReading(kDaemonEndpoint);
    return "the switch does not read from the daemon";
}

std::string resumeReading(Lab& lab, Rest) {
    lab.messageSwitch().resumeReading(kDaemonEndpoint);
    return "the switch reads from the daemon";
}

std::string closeSwitch(Lab& lab, Rest) {
    lab.messageSwitch().close(kDaemonEndpoint);
    return "the switch has dropped the daemon and refuses it";
}

std::string openSwitch(Lab& lab, Rest) {
    lab.messageSwitch().open(kDaemonEndpoint);
    return "the switch takes the daemon again";
}

std::string delayMessages(Lab& lab, Rest words) {
    const double ms = numberIn(words[0], "a number of milliseconds", kTimeMaxMs);
    lab.daemonLink().delay(milliseconds(ms));
    return fmt::format("messages to the daemon come {} ms late", ms);
}

std::string splitMessages(Lab& lab, Rest words) {
    const std::size_t bytes = countIn(words[0], 1, kBytesMax);
    const double ms =
        words.size() < 2 ? kPauseMs : numberIn(words[1], "a number of milliseconds", kTimeMaxMs);
    lab.daemonLink().split(bytes, milliseconds(ms));
    return fmt::format("messages to the daemon split after {} bytes, for {} ms", bytes, ms);
}

std::string glueMessages(Lab& lab, Rest words) {
    const std::size_t messages = countIn(words[0], 2, kFloodMax);
    lab.daemonLink().glue(messages);
    return fmt::format("messages to the daemon go {} at a time", messages);
}

std::string plainMessages(Lab& lab, Rest) {
    lab.daemonLink().plain();
    return "messages to the daemon go as they are";
}

std::string dieInMessage(Lab& lab, Rest words) {
    const std::size_t bytes = countIn(words[0], 0, kBytesMax);
    lab.daemonLink().dieAfter(bytes);
    return fmt::format("the switch dies after {} bytes of the next message to the daemon", bytes);
}

std::string floodDaemon(Lab& lab, Rest words) {
    if (words.size() == 1) {
        const std::size_t requests = countIn(words[0], 1, kFloodMax);
        lab.daemonLink().flood(requests);
        return fmt::format("{} status requests sent", requests);
    }
    if (!words[0].ends_with("/s")) {
        refuse(fmt::format("'{}' is not a rate as 200/s", words[0]));
    }
    const std::string_view rateWord = std::string_view(words[0]).substr(0, words[0].size() - 2);
    const double rate = numberIn(rateWord, "a number of requests a second", kFloodMax);
    const double seconds = numberIn(words[1], "a number of seconds", kTimeMaxMs);
    lab.daemonLink().flood(rate, DaemonLink::Seconds(seconds));
    return fmt::format("{} status requests a second for {} s", rate, seconds);
}

struct SwitchVerb {
    std::string_view name;
    std::size_t least;  // words behind it
    std::size_t most;
    std::string (*run)(Lab&, Rest);
};
constexpr SwitchVerb kSwitchVerbs[] = {
    {"stop", 0, 0, stopReading},  {"go", 0, 0, resumeReading},    {"close", 0, 0, closeSwitch},
    {"open", 0, 0, openSwitch},   {"delay", 1, 1, delayMessages}, {"split", 1, 2, splitMessages},
    {"glue", 1, 1, glueMessages}, {"plain", 0, 0, plainMessages}, {"die", 1, 1, dieInMessage},
    {"flood", 1, 2, floodDaemon},
};

}  // namespace

std::string Commands::messageSwitch(const Words& words) {
    const Rest rest = Rest(words).subspan(1);
    for (const SwitchVerb& verb : kSwitchVerbs) {
        if (words[0] != verb.name) {
            continue;
        }
        if (rest.size() < verb.least || rest.size() > verb.most) {
            refuse(fmt::format("'{}' takes {} words at least and {} at most", verb.name, verb.least,
                               verb.most));
        }
        return verb.run(lab_, rest);
    }
    refuse(fmt::format("'{}' is nothing the switch does; help lists it", words[0]));
}

std::string Commands::startup(const Words& words) {
    const std::size_t answer = choice(words[0], {"answer", "error", "silent"});
    constexpr StartupAnswer kAnswers[] = {StartupAnswer::kOk, StartupAnswer::kRejected,
                                          StartupAnswer::kNone};
    constexpr const char* kTexts[] = {"answers OK", "rejects every request", "does not answer"};
    lab_.startupProcess().setAnswer(kAnswers[answer]);
    return fmt::format("the start-up process {}", kTexts[answer]);
}

std::string Commands::shutdown(const Words& words) {
    const std::size_t way = choice(words[0], {"ignore", "perform", "refuse"});
    constexpr ShutdownWay kWays[] = {ShutdownWay::kIgnore, ShutdownWay::kPerform,
                                     ShutdownWay::kRefuse};
    constexpr const char* kTexts[] = {"answered OK and ignored", "performed", "refused"};
    lab_.startupProcess().setShutdown(kWays[way]);
    return fmt::format("a request for a shutdown is {}", kTexts[way]);
}

std::string Commands::mail(const Words&) {
    return lab_.startupProcess().mailbox();
}

std::string Commands::events(const Words&) {
    return lab_.eventManager().list();
}

}  // namespace enclab
