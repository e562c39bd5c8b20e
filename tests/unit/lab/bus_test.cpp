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

// Registers behind a pointer.
struct Memory : Chip {
    bool write(std::span<const std::uint8_t> bytes) override {
        pointer = bytes.empty() ? pointer : bytes[0];
        std::copy(bytes.begin() + !bytes.empty(), bytes.end(), registers.begin() + pointer);
        return true;
    }
    void read(std::span<std::uint8_t> bytes) override {
        std::copy_n(registers.begin() + pointer, bytes.size(), bytes.begin());
    }
    std::array<std::uint8_t, 300> registers{};
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
    auto counts(double now) const { return std::tuple(matched, acted, over(now)); }

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
            history += describe(rule) + "\n";
        }
    }
    void step() {
        now += below(5) / 2.0;
        const std::uint8_t address = kAddresses[below(3)], number = byteOf(4 + below(2) * 2U);
        const bool read = below(3) > 0;
        const Bytes bytes = {byteOf(numbers()), byteOf(numbers())};
        std::vector<BusMessage> messages{{address, false, {number}}};
        std::uint8_t* const stored = &chip.registers[number];
        if (read) {
            messages.push_back({address, true, {0, 0}});
            std::ranges::copy(bytes, stored);
        } else {
            messages[0].bytes = {number, bytes[0], bytes[1]};
        }
        history += std::to_string(now) + (read ? " R " : " W ") + hexLine({address, number}) + "\n";
        const int before = wordOf(stored), word = wordOf(bytes.data());
        const BusResult result = bus.transfer(messages);
        int error = 0, delay = 0;
        for (Model& model : models) {
            model.begin(address, number, read, now);
            error = error != 0 ? error : model.error();
            delay += model.acts ? int(model.rule.delay.count()) : 0;
        }
        int expected = error == 0 || read ? word : before;
        for (std::size_t n = 0; n < models.size(); ++n) {
            expected = error == 0 ? models[n].changed(address, number, expected) : expected;
            const Fault& fault = bus.faults()[n];
            ASSERT_EQ(std::tuple(fault.matched(), fault.fired(), fault.over(now)),
                      models[n].counts(now))
                << history;
        }
        ASSERT_EQ(result.error, error) << history;
        ASSERT_EQ(result.delay.count(), delay) << history;
        ASSERT_EQ(wordOf(read && error == 0 ? messages[1].bytes.data() : stored), expected)
            << history;
    }
    static int wordOf(const std::uint8_t* bytes) { return bytes[0] << 8 | bytes[1]; }

    static constexpr std::uint8_t kAddresses[] = {0x41, 0x4C, 0x4D};
    Memory chip;
    Bus bus;
    double now = 0;
    std::vector<Model> models;
    std::string history;
};

TEST(FaultRule, DoesToTheTrafficWhatItSays) {
    for (int world = 0; world < 300; ++world) {
        Traffic traffic;
        for (int step = 0; step < 60 && !testing::Test::HasFailure(); ++step) {
            traffic.step();
        }
    }
}

TEST(FaultRule, HasOneOrderOfItsWordsAndNamesAWrongOne) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "a rule begins with a device, or 'any'"},
        {"any", "a rule needs an action: act=nak, act=value:0xFF, ..."},
        {"any act=nak act=stuck", "'act=stuck' says the act a second time"},
        {"any write act=torn", "'write' does not go with act=frozen and act=torn"},
        {"any act=nak:3", "act=: 'nak' takes no value"},
        {"any act=value:256", "act=: '256' is not a byte (0 to 255, 0x00 to 0xFF)"},
        {"any act=delay:60001", "act=: '60001' ms are more than 60000"},
        {"any act=burn", "act=: 'burn' is no action: nak, timeout, stuck, value:BYTE, xor:BYTE"},
        {"any nth=0 act=nak", "nth=: '0' is not a count, 1 or more"},
        {"any prob=0 act=nak", "prob=: '0' is not a probability above 0, at most 1"},
        {"any heal=0 act=nak", "heal=: '0' seconds leave nothing of the fault"},
        {"any from=-1 act=nak", "from=: '-1' seconds are below 0"},
        {"any from=5 until=5 act=nak", "until=5 is not after from=5"},
        {"any reg", "'reg' is not part of a rule: read, write, reg=, nth=, every=, from=, "}};
    for (const auto& [text, error] : rows) {
        EXPECT_THAT([&] { ruleOf(text); },
                    testing::ThrowsMessage<std::invalid_argument>(testing::StartsWith(error)));
    }
    EXPECT_EQ(describe(ruleOf("lm75-* heal=60 until=2 seed=7 act=delay:60000 from=1.5 prob=0.1")),
              "lm75-* from=1.5 until=2 prob=0.1 seed=7 act=delay:60000 heal=60");
    EXPECT_EQ(describe(ruleOf("vsc055 count=5 every=4 write nth=3 act=xor:255 prob=1 reg=50")),
              "vsc055 write reg=0x32 nth=3 every=4 act=xor:0xFF count=5");
}

// Messages "w41.04" and "r41.00", and the line observers see.
TEST(Bus, EveryKindOfTransferHasItsLine) {
    Memory controller, sensor;
    Bus bus;
    bus.attach(0x41, controller);
    bus.attach(0x4C, sensor);
    controller.registers[4] = 0x80;
    std::string line;
    bus.observe([&](const BusTransfer& transfer) { line = describe(transfer); });
    const std::pair<const char*, const char*> rows[] = {
        {"w41.04 r41.00.00", "R 41 04=80 00"},
        {"w41.06.01.02", "W 41 06=01 02"},
        {"w42.00 r42.00", "R 42 00 ENXIO"},
        {"w41", "W 41"},
        {"w41.04 r4c.00", "W 41 04 + R 4c =00"},
        {"r42.00", "R 42 =00 ENXIO"},
        {"w41.07.11 w42.00 w4c.07.22", "W 41 07 11 + W 42 00 + W 4c 07 22 ENXIO"}};
    for (const auto& [typed, shown] : rows) {
        std::vector<BusMessage> messages;
        for (std::string word : Words(typed).all) {
            std::ranges::replace(word, '.', ' ');
            const Bytes bytes = hexBytes(word.substr(1));
            messages.push_back({bytes[0], word[0] == 'r', {bytes.begin() + 1, bytes.end()}});
        }
        bus.transfer(messages);
        EXPECT_EQ(line, shown);
    }
    EXPECT_EQ(controller.registers[7] - sensor.registers[7], 0x11) << "up to the one that fails";
    for (std::size_t n = 0; n < Bus::kLogLength; ++n) {
        bus.readRegister(0x41, byteOf(n));
    }
    EXPECT_EQ(describe(bus.log().front()), "R 41 00=00") << "the log keeps the last";
}

}  // namespace
}  // namespace enclab
