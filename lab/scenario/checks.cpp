// SPDX-License-Identifier: Apache-2.0
#include "lab/scenario/checks.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "lab/words.h"
#include "tools/sesctl/render.h"

namespace enclab {

namespace {

using Words = std::vector<std::string>;

constexpr char kNoPage[] = "no page";

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

using Json = nlohmann::json;

// Of members or elements.
Words namesIn(const Json& value) {
    Words names;
    if (value.is_structured()) {
        for (const auto& item : value.items()) {
            names.push_back(item.key());
        }
    }
    return names;
}

// With `anyNumber` an element's number counts as the first's.
Json valueAt(const Json& page, const std::string& path, bool anyNumber = false) {
    const Json* value = &page;
    std::istringstream stream(path);
    for (std::string name; std::getline(stream, name, '/');) {
        const Words names = namesIn(*value);
        if (anyNumber && value->is_array()) {
            name = name.find_first_not_of("0123456789") == name.npos ? "0" : name;
        }
        if (std::ranges::find(names, name) == names.end()) {
            refuse(
                fmt::format("the status page has no '{}'{}; in place of '{}' there is: {}", path,
                            didYouMean(name, names), name,
                            names.empty() ? "nothing" : fmt::format("{}", fmt::join(names, ", "))));
        }
        value = &value->at(Json::json_pointer("/" + name));
    }
    return *value;
}

// Refuses a path that no page has: one with an element of each kind tells the names.
void checkNames(const std::string& path) {
    sesctl::Status one;
    one.devices.emplace_back();
    one.powerSupplies.emplace_back();
    one.fans.emplace_back();
    one.sensors.emplace_back();
    one.alarms.emplace_back().flags.emplace();
    valueAt(Json::parse(sesctl::statusJson(one)), path, true);
}

// A value of the newest status page by its path in `sesctl status --json`: "fans/1/rpm".
std::string pageValue(Lab& lab, const Words& words) {
    if (!lab.sesInitiator().status()) {
        checkNames(words[0]);
        return kNoPage;
    }
    const Json value =
        valueAt(Json::parse(sesctl::statusJson(*lab.sesInitiator().status())), words[0]);
    return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string pageByte(Lab& lab, const Words& words) {
    const auto place = number<std::size_t>(words[0], "the place of a byte");
    const Bytes& page = lab.sesInitiator().statusPage();
    return place < page.size() ? fmt::format("{:02x}", page[place]) : kNoPage;
}

// "*" in a subject is one word of the scenario's.
struct Subject {
    const char* words;
    std::string (*value)(Lab&, const Words&);
};
constexpr Subject kSubjects[] = {
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
    return {std::istream_iterator<std::string>(stream), {}};
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
        all += fmt::format("{}{}", all.empty() ? "" : ", ", row.words);
    }
    return all;
}

}  // namespace

Check::Check(std::string text, int line) : text_(std::move(text)), line_(line) {
    const Words words = split(text_);
    constexpr std::string_view kSigns[] = {"=", "not", "<", ">"};
    const auto sign = std::ranges::find_first_of(words, kSigns);
    if (sign == words.begin() || sign == words.end() || sign + 1 == words.end()) {
        refuse(
            fmt::format("'{}' is not SUBJECT = VALUE; for = there may stand not, < and >", text_));
    }
    findSubject({words.begin(), sign});
    readWanted({sign, words.end()});
}

void Check::findSubject(const Words& words) {
    for (const auto& row : kSubjects) {
        if (const auto stars = starred(split(row.words), words)) {
            value_ = row.value;
            stars_ = *stars;
            return;
        }
    }
    const std::string subject = fmt::format("{}", fmt::join(words, " "));
    refuse(fmt::format("nothing to check by '{}'{}; there is: {}", subject,
                       didYouMean(subject, std::views::transform(kSubjects, &Subject::words)),
                       allSubjects()));
}

// The sign and what stands behind it.
void Check::readWanted(const Words& words) {
    constexpr double kAny = std::numeric_limits<double>::infinity();
    const auto bound = [](std::string_view word) { return number<double>(word, "a number"); };
    wanted_ = fmt::format("{}", fmt::join(words.begin() + 1, words.end(), " "));
    not_ = words[0] == "not";
    const std::size_t dots = wanted_.find("..");
    if (words[0] == "<") {
        range_ = {-kAny, std::nextafter(bound(wanted_), -kAny)};
    } else if (words[0] == ">") {
        range_ = {std::nextafter(bound(wanted_), kAny), kAny};
    } else if (dots != wanted_.npos) {
        const std::string_view both = wanted_;
        range_ = {bound(both.substr(0, dots)), bound(both.substr(dots + 2))};
        if (range_->first > range_->second) {
            refuse(fmt::format("'{}' is not LOW..HIGH", wanted_));
        }
    }
}

bool Check::holds(const std::string& value) const {
    if (!range_) {
        return value == wanted_;
    }
    const Words words = split(value);
    return !words.empty() && std::ranges::all_of(words, [this](const std::string& word) {
        double one = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), one);
        return error == std::errc() && *end == '\0' && range_->first <= one &&
               one <= range_->second;
    });
}

std::optional<std::string> Check::instead(Lab& lab) const {
    const std::string value = value_(lab, stars_);
    const bool held = value != kNoPage && holds(value) != not_;
    return held ? std::nullopt : std::optional(value);
}

}  // namespace enclab
