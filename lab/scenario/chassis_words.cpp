// SPDX-License-Identifier: Apache-2.0
#include "lab/scenario/chassis_words.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <ranges>
#include <sstream>

#include "lab/words.h"

namespace enclab {

namespace {

constexpr std::string_view kLedOn = "led composite fault LED on";
constexpr std::string_view kLedOff = "led composite fault LED off";
constexpr std::string_view kMail = "mail e-mail notification";

}  // namespace

ChassisWords::ChassisWords(std::string chassis, const Personality& personality)
    : chassis_(std::move(chassis)) {
    const auto built = makeChassis(chassis_);
    words_ = {{"{fans}", std::to_string(personality.coolingMaxNumber)},
              {"{sensors}", std::to_string(personality.temperatureSensorMaxNumber)},
              {"{devices}", std::to_string(built->devices().size())},
              {"{slots}", std::to_string(built->slots())},
              {"{title}", chassisTitle(chassis_)},
              {"{controller}", built->devices().front().name}};
    // Where the LED is lit from the first poll on, no fault switches it.
    const bool lit = std::ranges::count(chassisKind(chassis_).firstPoll, kLedOn) != 0;
    texts_["{fault}"] = {std::string(kMail)};
    texts_["{healed}"] = {};
    if (!lit) {
        texts_["{fault}"].emplace_back(kLedOn);
        texts_["{healed}"].emplace_back(kLedOff);
    }
}

std::vector<std::string> ChassisWords::usualStart() const {
    std::vector<std::string> texts = {"event personality: information*",
                                      "startup initialisation complete",
                                      "event enclosure bus: information*answers"};
    const auto& more = chassisKind(chassis_).firstPoll;
    texts.insert(texts.end(), more.begin(), more.end());
    return texts;
}

std::vector<std::string> ChassisWords::on(const std::string& text) const {
    const std::optional<std::string> mine = meant(text);
    if (!mine) {
        return {};
    }
    const auto whole = texts_.find(*mine);
    return whole != texts_.end() ? whole->second : std::vector{filled(*mine)};
}

// What stands behind "[NAMES] ", if that is this chassis.
std::optional<std::string> ChassisWords::meant(const std::string& text) const {
    if (!text.starts_with('[')) {
        return text;
    }
    const std::size_t end = text.find("] ");
    if (end == text.npos) {
        refuse(fmt::format("'{}' is not [CHASSIS...] TEXT or [not CHASSIS...] TEXT", text));
    }
    const bool except = text.starts_with("[not ");
    std::istringstream names(text.substr(except ? 5 : 1, end - (except ? 5 : 1)));
    bool named = false;
    for (std::string name; names >> name;) {
        chassisKind(name);  // throws for what is none
        named = named || name == chassis_;
    }
    return named != except ? std::optional(text.substr(end + 2)) : std::nullopt;
}

std::string ChassisWords::filled(const std::string& text) const {
    std::string result;
    std::size_t place = 0;
    for (std::size_t open; (open = text.find('{', place)) != text.npos;) {
        const std::size_t close = std::min(text.find('}', open), text.size() - 1);
        const std::string word = text.substr(open, close - open + 1);
        const auto known = words_.find(word);
        if (known == words_.end() && word != "{}") {
            refuse(fmt::format(
                "nothing stands for '{}' here; there is: {{}}, {}, and as a whole text {}", word,
                fmt::join(std::views::keys(words_), ", "),
                fmt::join(std::views::keys(texts_), ", ")));
        }
        result += text.substr(place, open - place) + (word == "{}" ? word : known->second);
        place = close + 1;
    }
    return result + text.substr(place);
}

}  // namespace enclab
