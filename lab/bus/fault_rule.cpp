// SPDX-License-Identifier: Apache-2.0
// Fault rules: the text form both ways, and what a rule does to a transfer.
#include "lab/bus/fault_rule.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "lab/words.h"

namespace enclab {
namespace {

enum class Argument { kNone, kByte, kMilliseconds };

struct ActionName {
    std::string_view name;
    FaultAction action;
    Argument argument = Argument::kNone;
};
constexpr ActionName kActions[] = {
    {"nak", FaultAction::kNak},
    {"timeout", FaultAction::kTimeout},
    {"stuck", FaultAction::kStuck},
    {"value", FaultAction::kValue, Argument::kByte},
    {"xor", FaultAction::kXor, Argument::kByte},
    {"frozen", FaultAction::kFrozen},
    {"torn", FaultAction::kTorn},
    {"delay", FaultAction::kDelay, Argument::kMilliseconds},
};
constexpr std::uint64_t kDelayMax = 60000;  // milliseconds

std::uint8_t byteOf(std::string_view text) {
    int base = 10;
    std::string_view digits = text;
    if (text.starts_with("0x")) {
        base = 16;
        digits.remove_prefix(2);
    }
    std::uint8_t value = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stopped, error] = std::from_chars(digits.data(), end, value, base);
    if (error != std::errc() || stopped != end) {
        refuse(fmt::format("'{}' is not a byte (0 to 255, 0x00 to 0xFF)", text));
    }
    return value;
}

void check(bool good, const std::string& text) {
    if (!good) {
        refuse(text);
    }
}

std::uint64_t countOf(std::string_view text) {
    const auto value = number<std::uint64_t>(text, "a count, 1 or more");
    check(value > 0, fmt::format("'{}' is not a count, 1 or more", text));
    return value;
}

double secondsOf(std::string_view text) {
    const auto value = number<double>(text, "a number of seconds");
    check(value >= 0, fmt::format("'{}' seconds are below 0", text));
    return value;
}

void setProbability(FaultRule& rule, std::string_view text) {
    rule.probability = number<double>(text, "a probability");
    check(rule.probability > 0 && rule.probability <= 1,
          fmt::format("'{}' is not a probability above 0, at most 1", text));
}

void setHeal(FaultRule& rule, std::string_view text) {
    rule.heal = secondsOf(text);
    check(rule.heal > 0, fmt::format("'{}' seconds leave nothing of the fault", text));
}

void setArgument(FaultRule& rule, Argument argument, std::string_view text) {
    if (argument == Argument::kByte) {
        rule.byte = byteOf(text);
        return;
    }
    const std::uint64_t value = countOf(text);
    check(value <= kDelayMax, fmt::format("'{}' ms are more than {}", text, kDelayMax));
    rule.delay = std::chrono::milliseconds(value);
}

void setAction(FaultRule& rule, std::string_view text) {
    const std::size_t colon = text.find(':');
    const std::string_view name = text.substr(0, colon);
    const auto* found = std::ranges::find(kActions, name, &ActionName::name);
    check(found != std::end(kActions),
          fmt::format("'{}' is no action: nak, timeout, stuck, value:BYTE, xor:BYTE, frozen, torn "
                      "or delay:MS",
                      name));
    const bool takesValue = found->argument != Argument::kNone;
    check(takesValue || colon == text.npos, fmt::format("'{}' takes no value", name));
    check(!takesValue || colon != text.npos,
          fmt::format("'{}' needs a value behind a colon", name));
    rule.action = found->action;
    if (takesValue) {
        setArgument(rule, found->argument, text.substr(colon + 1));
    }
}

struct Key {
    std::string_view name;
    void (*set)(FaultRule&, std::string_view);
};
constexpr Key kKeys[] = {
    {"reg", [](FaultRule& r, std::string_view text) { r.reg = byteOf(text); }},
    {"nth", [](FaultRule& r, std::string_view text) { r.nth = countOf(text); }},
    {"every", [](FaultRule& r, std::string_view text) { r.every = countOf(text); }},
    {"from", [](FaultRule& r, std::string_view text) { r.from = secondsOf(text); }},
    {"until", [](FaultRule& r, std::string_view text) { r.until = secondsOf(text); }},
    {"prob", setProbability},
    {"seed",
     [](FaultRule& r, std::string_view text) { r.seed = number<std::uint64_t>(text, "a seed"); }},
    {"act", setAction},
    {"count", [](FaultRule& r, std::string_view text) { r.count = countOf(text); }},
    {"heal", setHeal},
};

// Sets what one word says and returns what it is about, so that nothing is said twice.
std::string_view takeWord(FaultRule& rule, std::string_view word) {
    if (word == "read" || word == "write") {
        rule.read = word == "read";
        return "direction";
    }
    const std::size_t equals = word.find('=');
    const auto* key = std::ranges::find(kKeys, word.substr(0, equals), &Key::name);
    check(key != std::end(kKeys) && equals != word.npos,
          fmt::format("'{}' is not part of a rule: read, write, reg=, nth=, every=, from=, until=, "
                      "prob=, seed=, act=, count= or heal=",
                      word));
    try {
        key->set(rule, word.substr(equals + 1));
    } catch (const std::invalid_argument& error) {
        refuse(fmt::format("{}=: {}", key->name, error.what()));
    }
    return key->name;
}

bool altersData(FaultAction action) {
    return action == FaultAction::kValue || action == FaultAction::kXor ||
           action == FaultAction::kFrozen || action == FaultAction::kTorn;
}

void checkWhole(FaultRule& rule) {
    check(rule.until > rule.from,
          fmt::format("until={} is not after from={}", rule.until, rule.from));
    check(rule.read != false ||
              (rule.action != FaultAction::kFrozen && rule.action != FaultAction::kTorn),
          "'write' does not go with act=frozen and act=torn: they change readings");
    if (altersData(rule.action) && !rule.read) {
        rule.read = true;
    }
}

std::string actionText(const FaultRule& rule) {
    const auto* named = std::ranges::find(kActions, rule.action, &ActionName::action);
    switch (named->argument) {
        case Argument::kByte:
            return fmt::format("{}:0x{:02X}", named->name, rule.byte);
        case Argument::kMilliseconds:
            return fmt::format("{}:{}", named->name, rule.delay.count());
        case Argument::kNone:
            break;
    }
    return std::string(named->name);
}

int registerOf(const std::vector<BusMessage>& messages) {
    const BusMessage& first = messages[0];
    return first.read || first.bytes.empty() ? -1 : first.bytes[0];
}

bool reads(const std::vector<BusMessage>& messages) {
    return std::ranges::any_of(messages, &BusMessage::read);
}

// The bytes read, or those written behind the register.
std::vector<std::uint8_t*> dataOf(std::vector<BusMessage>& messages) {
    const bool read = reads(messages);
    std::vector<std::uint8_t*> data;
    for (BusMessage& message : messages) {
        for (std::size_t n = read ? 0 : 1; message.read == read && n < message.bytes.size(); ++n) {
            data.push_back(&message.bytes[n]);
        }
    }
    return data;
}

// The first half of the bits of `data` stays, the rest becomes the previous reading's.
void tear(const std::vector<std::uint8_t*>& data, const std::vector<std::uint8_t>& previous) {
    for (std::size_t n = 0; previous.size() == data.size() && n < data.size(); ++n) {
        const std::size_t bit = 8 * n;
        const std::size_t half = 4 * data.size();
        const unsigned kept = bit + 8 <= half ? 0xFF : bit >= half ? 0 : 0xF0;
        *data[n] = static_cast<std::uint8_t>((*data[n] & kept) | (previous[n] & ~kept));
    }
}

}  // namespace

FaultRule parseFaultRule(std::span<const std::string> words, const DeviceLookup& lookup) {
    check(!words.empty(), "a rule begins with a device, or 'any'");
    FaultRule rule;
    std::vector<std::string_view> said;
    for (const std::string& word : words.subspan(1)) {
        const std::string_view about = takeWord(rule, word);
        check(std::ranges::count(said, about) == 0,
              fmt::format("'{}' says the {} a second time", word, about));
        said.push_back(about);
    }
    check(std::ranges::count(said, "act") == 1,
          "a rule needs an action: act=nak, act=value:0xFF, ...");
    checkWhole(rule);
    rule.device = words[0];
    if (rule.device != "any") {
        rule.addresses = lookup(rule.device);
    }
    return rule;
}

std::string describe(const FaultRule& rule) {
    std::string text = rule.device;
    const auto add = [&](bool said, const std::string& word) { text += said ? " " + word : ""; };
    add(rule.read.has_value(), rule.read.value_or(true) ? "read" : "write");
    add(rule.reg.has_value(), fmt::format("reg=0x{:02X}", rule.reg.value_or(0)));
    add(rule.from > 0, fmt::format("from={}", rule.from));
    add(std::isfinite(rule.until), fmt::format("until={}", rule.until));
    add(rule.nth > 0, fmt::format("nth={}", rule.nth));
    add(rule.every > 0, fmt::format("every={}", rule.every));
    add(rule.probability < 1, fmt::format("prob={}", rule.probability));
    add(rule.seed.has_value(), fmt::format("seed={}", rule.seed.value_or(0)));
    add(true, "act=" + actionText(rule));
    add(rule.count > 0, fmt::format("count={}", rule.count));
    add(rule.heal > 0, fmt::format("heal={}", rule.heal));
    return text;
}

Fault::Fault(int number, FaultRule rule)
    : number_(number),
      rule_(std::move(rule)),
      chance_(rule_.seed.value_or(static_cast<std::uint64_t>(number))) {}

bool Fault::over(double now) const {
    const bool spent = rule_.count > 0 && fired_ >= rule_.count;
    const bool passed = rule_.nth > 0 && rule_.every == 0 && matched_ >= rule_.nth && !stuck_;
    const bool healed = rule_.heal > 0 && fired_ > 0 && now >= firstFired_ + rule_.heal;
    return spent || passed || healed || now >= rule_.until;
}

bool Fault::matches(const std::vector<BusMessage>& messages, double now) const {
    return now >= rule_.from &&
           (rule_.addresses.empty() ||
            std::ranges::count(rule_.addresses, messages[0].address) > 0) &&
           (!rule_.reg || registerOf(messages) == *rule_.reg) &&
           (!rule_.read || reads(messages) == *rule_.read);
}

// Counts a transfer that matches.
bool Fault::due() {
    ++matched_;
    const std::uint64_t first = rule_.nth > 0 ? rule_.nth : std::max<std::uint64_t>(rule_.every, 1);
    const std::uint64_t step = rule_.every > 0 ? rule_.every : 1;
    if (matched_ < first || (matched_ - first) % step != 0) {
        return false;
    }
    // The standard distributions differ between libraries; 53 bits make an exact double.
    return rule_.probability >= 1 ||
           static_cast<double>(chance_() >> 11) * 0x1p-53 < rule_.probability;
}

void Fault::begin(std::vector<BusMessage>& messages, double now) {
    const bool live = !over(now);
    met_ = live && matches(messages, now);
    acts_ = live && (stuck_ || (met_ && due()));
    if (!acts_) {
        return;
    }
    stuck_ = rule_.action == FaultAction::kStuck;
    if (fired_++ == 0) {
        firstFired_ = now;
    }
    if (!reads(messages)) {
        alter(messages);
    }
}

void Fault::finish(std::vector<BusMessage>& messages) {
    if (met_ && reads(messages)) {
        alter(messages);
    }
}

int Fault::error() const {
    if (!acts_) {
        return 0;
    }
    switch (rule_.action) {
        case FaultAction::kNak:
            return ENXIO;
        case FaultAction::kTimeout:
        case FaultAction::kStuck:
            return ETIMEDOUT;
        default:
            return 0;
    }
}

std::chrono::milliseconds Fault::delay() const {
    return acts_ ? rule_.delay : std::chrono::milliseconds(0);
}

void Fault::alter(std::vector<BusMessage>& messages) {
    const std::vector<std::uint8_t*> data = dataOf(messages);
    const auto each = [&](auto change) {
        for (std::uint8_t* byte : data) {
            *byte = static_cast<std::uint8_t>(change(*byte));
        }
    };
    if (acts_ && rule_.action == FaultAction::kValue) {
        each([&](std::uint8_t) { return rule_.byte; });
    } else if (acts_ && rule_.action == FaultAction::kXor) {
        each([&](std::uint8_t byte) { return byte ^ rule_.byte; });
    } else if (rule_.action == FaultAction::kFrozen || rule_.action == FaultAction::kTorn) {
        alterByMemory(messages[0].address, registerOf(messages), data);
    }
}

void Fault::alterByMemory(int address, int reg, const std::vector<std::uint8_t*>& data) {
    Bytes reading;
    for (const std::uint8_t* byte : data) {
        reading.push_back(*byte);
    }
    Bytes& memory = remembered_[{address, reg}];
    if (rule_.action == FaultAction::kTorn) {
        std::swap(memory, reading);
        if (acts_) {
            tear(data, reading);
        }
    } else if (acts_) {
        if (memory.size() != data.size()) {
            memory = reading;
        }
        for (std::size_t n = 0; n < data.size(); ++n) {
            *data[n] = memory[n];
        }
    }
}

}  // namespace enclab
