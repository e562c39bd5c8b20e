// SPDX-License-Identifier: Apache-2.0
#include "lab/scenario/checks.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

#include "lab/scenario/judge.h"
#include "lab/words.h"
#include "tools/sesctl/render.h"

namespace enclab {

namespace {

using Words = std::vector<std::string>;

const char* onOff(bool on) {
    return on ? "on" : "off";
}

int fanNumber(const Words& words) {
    return number<int>(words[0], "a fan number");
}

std::string loads(Lab& lab, const Words&) {
    std::vector<int> all;
    for (int fan = 0; fan < lab.chassis().fans(); ++fan) {
        all.push_back(static_cast<int>(lab.chassis().fanLoadPercent(fan)));
    }
    if (std::ranges::adjacent_find(all, std::not_equal_to()) == all.end() && !all.empty()) {
        all.resize(1);
    }
    return fmt::format("{}", fmt::join(all, " "));
}

std::string litDrives(Lab& lab, const Words&) {
    std::vector<int> lit;
    for (int slot = 0; slot < lab.chassis().slots(); ++slot) {
        if (lab.chassis().driveFaultLed(slot)) {
            lit.push_back(slot);
        }
    }
    return lit.empty() ? "none" : fmt::format("{}", fmt::join(lit, " "));
}

std::string statusLed(Lab& lab, const Words& words) {
    for (const ChassisLed& led : lab.chassis().statusLeds()) {
        if (led.name == words[0]) {
            return onOff(led.lit);
        }
    }
    refuse(fmt::format("the chassis has no status LED '{}'", words[0]));
}

std::string daemonState(Lab& lab, const Words&) {
    if (lab.daemonRunning()) {
        return lab.messageSwitch().connections(MMSG_E_EPID_ES_ADAPTERMP) > 0 ? "connected"
                                                                             : "not connected";
    }
    return "not running";
}

// A value of the newest status page by its path in `sesctl status --json`: "fans/1/rpm".
std::string pageValue(Lab& lab, const Words& words) {
    if (!lab.sesInitiator().status()) {
        return "no page";
    }
    const auto page = nlohmann::json::parse(sesctl::statusJson(*lab.sesInitiator().status()));
    const nlohmann::json::json_pointer path("/" + words[0]);
    if (!page.contains(path)) {
        refuse(fmt::format("the status page has no '{}'", words[0]));
    }
    const auto& value = page.at(path);
    return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string pageByte(Lab& lab, const Words& words) {
    const auto place = number<std::size_t>(words[0], "the place of a byte");
    const Bytes& page = lab.sesInitiator().statusPage();
    return place < page.size() ? fmt::format("{:02x}", page[place]) : "none";
}

// "*" in a subject is one word of the scenario's.
constexpr struct {
    const char* subject;
    std::string (*value)(Lab&, const Words&);
} kSubjects[] = {
    {"fans load", loads},
    {"fan * load",
     [](Lab& lab, const Words& words) {
         return fmt::format("{:.0f}", lab.chassis().fanLoadPercent(fanNumber(words)));
     }},
    {"fan * rpm",
     [](Lab& lab, const Words& words) {
         return fmt::format("{:.0f}", lab.chassis().fanRpm(fanNumber(words)));
     }},
    {"fault led",
     [](Lab& lab, const Words&) {
         return std::string(onOff(lab.startupProcess().compositeLedLit()));
     }},
    {"led *", statusLed},
    {"drives lit", litDrives},
    {"alarm", [](Lab& lab, const Words&) { return lab.chassis().alarm(); }},
    {"mails", [](Lab& lab, const Words&) { return std::to_string(lab.startupProcess().mails()); }},
    {"shutdowns",
     [](Lab& lab, const Words&) {
         return std::to_string(lab.startupProcess().shutdownRequests());
     }},
    {"daemon", daemonState},
    {"page byte *", pageByte},
    {"page *", pageValue},
    {"unanswered",
     [](Lab& lab, const Words&) { return std::to_string(lab.sesInitiator().unanswered()); }},
};

Words split(const std::string& text) {
    std::istringstream stream(text);
    Words words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

// The words that stand for the stars of the subject; none when it is another subject.
std::optional<Words> starred(const Words& subject, const Words& words) {
    if (subject.size() != words.size()) {
        return std::nullopt;
    }
    Words stars;
    for (std::size_t n = 0; n < words.size(); ++n) {
        if (subject[n] == "*") {
            stars.push_back(words[n]);
        } else if (subject[n] != words[n]) {
            return std::nullopt;
        }
    }
    return stars;
}

std::string allSubjects() {
    std::string all;
    for (const auto& row : kSubjects) {
        all += fmt::format("{}{}", all.empty() ? "" : ", ", row.subject);
    }
    return all;
}

}  // namespace

std::optional<std::string> checkLab(Lab& lab, const std::string& check) {
    const std::size_t sign = check.find(" = ");
    if (sign == check.npos) {
        refuse(fmt::format("'{}' is not SUBJECT = VALUE", check));
    }
    const Words words = split(check.substr(0, sign));
    const std::string wanted = fmt::format("{}", fmt::join(split(check.substr(sign + 3)), " "));
    for (const auto& row : kSubjects) {
        if (const auto stars = starred(split(row.subject), words)) {
            const std::string value = row.value(lab, *stars);
            return value == wanted ? std::nullopt : std::optional(value);
        }
    }
    refuse(fmt::format("nothing to check by '{}'; there is: {}", check.substr(0, sign),
                       allSubjects()));
}

}  // namespace enclab
