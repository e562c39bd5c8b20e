// SPDX-License-Identifier: Apache-2.0
// The enclosure bus and its fault rules (docs/faults.md).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "lab/bus/bus.h"
#include "tests/support/hex.h"
#include "tests/support/script.h"
#include "tests/unit/lab/random.h"

namespace enclab {
namespace {

using Bytes = std::vector<std::uint8_t>;

FaultRule ruleOf(const std::string& text) {
    const std::map<std::string, Bytes> devices = {
        {"vsc055", {0x41}}, {"lm75-0", {0x4C}}, {"lm75-*", {0x4C, 0x4D}}};
    return parseFaultRule(Words(text).all, [&](auto& device) { return devices.at(device); });
}

// Words of two bytes, by register.
struct Memory : Chip {
    bool write(std::span<const std::uint8_t> bytes) override {
        pointer = bytes[0];
        std::copy(bytes.begin() + 1, bytes.end(), words[pointer].begin());
        return true;
    }
    void read(std::span<std::uint8_t> bytes) override {
        std::ranges::copy(words[pointer], bytes.begin());
    }
    std::map<int, std::array<std::uint8_t, 2>> words;
    int pointer = 0;
};

// A rule at work on words of two bytes, as the page of the rules describes it.
struct Model {
    bool over(double now) const {
        const bool once = rule.nth > 0 && rule.every == 0 && matched >= rule.nth && !stuck;
        return once || (rule.count > 0 && acted >= rule.count) || now >= rule.until ||
               (rule.heal > 0 && acted > 0 && now >= first + rule.heal);
    }
    bool chosen() {
        const bool counted = rule.every == 0
                                 ? rule.nth == 0 || matched == rule.nth
                                 : matched >= rule.nth && (matched - rule.nth) % rule.every == 0;
        return counted &&
               (rule.probability == 1 || std::ldexp(chance() >> 11, -53) < rule.probability);
    }
    void begin(int address, int number, bool read, double now) {
        const bool live = !over(now);
        matches = live && now >= rule.from && rule.reg.value_or(number) == number &&
                  rule.read.value_or(read) == read &&
                  (rule.device == "any" || std::ranges::count(rule.addresses, address) > 0);
        matched += matches && !stuck;
        acts = live && (stuck || (matches && chosen()));
        stuck = stuck || (acts && rule.action == FaultAction::kStuck);
        first = acts && acted == 0 ? now : first;
        acted += acts;
    }
    int error() const {
        const bool late = rule.action == FaultAction::kTimeout || stuck;
        return !acts ? 0 : rule.action == FaultAction::kNak ? ENXIO : late ? ETIMEDOUT : 0;
    }
    int changed(int address, int number, int word) {
        const auto is = [this](FaultAction action) { return acts && rule.action == action; };
        const bool isKnown = kept.contains({address, number});
        const int before = isKnown ? kept[{address, number}] : word;
        if (matches && (rule.action == FaultAction::kTorn || (acts && !isKnown))) {
            kept[{address, number}] = word;
        }
        return is(FaultAction::kValue)    ? rule.byte * 0x101
               : is(FaultAction::kXor)    ? word ^ rule.byte * 0x101
               : is(FaultAction::kFrozen) ? before
               : is(FaultAction::kTorn)   ? (word & 0xFF00) | (before & 0xFF)
                                          : word;
    }

    FaultRule rule;
    std::mt19937_64 chance;
    std::uint64_t matched = 0, acted = 0;
    double first = 0;
    bool stuck = false, matches = false, acts = false;
    std::map<std::pair<int, int>, int> kept = {};  // by address and register
};

std::string oneOf(std::initializer_list<const char*> words) {
    return words.begin()[numbers() % words.size()];
}
std::string someRule() {
    const std::string action =
        oneOf({"nak", "timeout", "stuck", "value:0x5A", "xor:129", "frozen", "torn", "delay:40"});
    const bool ofReadings = action == "frozen" || action == "torn";
    return oneOf({"any", "vsc055", "lm75-0", "lm75-*"}) + " " +
           oneOf({"", "read", ofReadings ? "" : "write"}) + " " + oneOf({"", "", "reg=4"}) + " " +
           oneOf({"", "nth=1", "nth=3"}) + " " + oneOf({"", "every=1", "every=3"}) + " " +
           oneOf({"", "from=10"}) + " " + oneOf({"", "until=20"}) + " act=" + action + " " +
           oneOf({"", "prob=0.5", "prob=0.25 seed=7"}) + " " + oneOf({"", "count=2"}) + " " +
           oneOf({"", "", "heal=15"});
}

// A bus with some rules, and what it must do.
struct Traffic {
    Traffic() {
        bus.setClock([this] { return now; });
        for (const std::uint8_t address : kAddresses) {
            bus.attach(address, chip);
        }
        for (int n = below(4); n >= 0; --n) {
            const FaultRule rule = ruleOf(someRule());
            EXPECT_EQ(ruleOf(describe(rule)), rule) << describe(rule);
            const auto number = unsigned(bus.add(rule));
            models.push_back({rule, std::mt19937_64(rule.seed.value_or(number))});
            rules += describe(rule) + "\n";
        }
    }
    void step() {
        now += below(5) / 2.0;
        const std::uint8_t address = kAddresses[below(3)], number = byteOf(4 + below(2) * 2U);
        const bool read = below(3) > 0;
        const std::array<std::uint8_t, 2> before = chip.words[number],
                                          bytes{byteOf(numbers()), byteOf(numbers())};
        std::vector<BusMessage> messages{{address, false, {number, bytes[0], bytes[1]}}};
        if (read) {
            chip.words[number] = bytes;
            messages = {{address, false, {number}}, {address, true, {0, 0}}};
        }
        const BusResult result = bus.transfer(messages);
        const auto [error, delay] = begin(address, number, read);
        ASSERT_EQ(std::pair(result.error, int(result.delay.count())), std::pair(error, delay))
            << rules;
        int word = wordOf(error == 0 || read ? bytes.data() : before.data());
        for (Model& model : models) {
            word = error == 0 ? model.changed(address, number, word) : word;
        }
        const Bytes& got = messages.back().bytes;
        ASSERT_EQ(wordOf(read && error == 0 ? got.data() : chip.words[number].data()), word)
            << rules << (read ? "R " : "W ") << hexLine({address, number}) << " at " << now;
    }
    // Error and delay of a transfer.
    std::pair<int, int> begin(int address, int number, bool read) {
        int error = 0, delay = 0;
        for (std::size_t n = 0; n < models.size(); ++n) {
            Model& model = models[n];
            model.begin(address, number, read, now);
            error = error != 0 ? error : model.error();
            delay += model.acts ? int(model.rule.delay.count()) : 0;
            const Fault& fault = bus.faults()[n];
            EXPECT_EQ(std::tuple(fault.matched(), fault.fired(), fault.over(now)),
                      std::tuple(model.matched, model.acted, model.over(now)))
                << rules;
        }
        return {error, delay};
    }
    static int wordOf(const std::uint8_t* bytes) { return bytes[0] << 8 | bytes[1]; }

    static constexpr std::uint8_t kAddresses[] = {0x41, 0x4C, 0x4D};
    Memory chip;
    Bus bus;
    double now = 0;
    std::vector<Model> models;
    std::string rules;
};

TEST(FaultRule, DoesToTheTrafficWhatItSays) {
    for (int world = 0; world < 300; ++world) {
        Traffic traffic;
        for (int step = 0; step < 60 && !testing::Test::HasFailure(); ++step) {
            traffic.step();
        }
    }
}

TEST(FaultRule, NamesAWrongWord) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "a rule begins with a device, or 'any'"},
        {"any", "a rule needs an action: act=nak, act=value:0xFF, ..."},
        {"any write act=torn", "'write' does not go with act=frozen and act=torn"},
        {"any act=burn", "act=: 'burn' is no action: nak, timeout, stuck, value:BYTE, xor:BYTE"},
        {"any reg", "'reg' is not part of a rule: read, write, reg=, nth=, every=, from=, "}};
    for (const auto& [text, error] : rows) {
        EXPECT_THAT([&] { ruleOf(text); },
                    testing::ThrowsMessage<std::invalid_argument>(testing::StartsWith(error)));
    }
}

}  // namespace
}  // namespace enclab
