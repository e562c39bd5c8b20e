// SPDX-License-Identifier: Apache-2.0
// The enclosure bus and its fault rules (docs/faults.md): random rules over random traffic against
// a model of a rule, the lines transfers are shown by, and what is no rule.
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

std::vector<std::uint8_t> lookup(const std::string& device) {
    const std::map<std::string, std::vector<std::uint8_t>> devices = {
        {"vsc055", {0x41}}, {"lm75-0", {0x4C}}, {"lm75-*", {0x4C, 0x4D}}};
    return devices.contains(device) ? devices.at(device)
                                    : throw std::out_of_range("no device '" + device + "'");
}
FaultRule ruleOf(const std::string& text) {
    return parseFaultRule(Words(text).all, lookup);
}

// Registers behind a pointer; it refuses writes to the last ones.
struct Memory : Chip {
    bool write(std::span<const std::uint8_t> bytes) override {
        pointer = bytes.empty() ? pointer : bytes[0];
        std::copy(bytes.begin() + !bytes.empty(), bytes.end(), registers.begin() + pointer);
        return pointer < 0xEE;
    }
    void read(std::span<std::uint8_t> bytes) override {
        std::copy_n(registers.begin() + pointer, bytes.size(), bytes.begin());
    }
    std::array<std::uint8_t, 300> registers{};
    int pointer = 0;
};

struct Transfer {
    std::uint8_t address, number;
    bool read;
    Bytes data;
};

// A rule at work, as the page of the rules describes it.
struct Model {
    bool over(double now) const {
        const bool once = rule.nth > 0 && rule.every == 0 && matched >= rule.nth && !stuck;
        return once || (rule.count > 0 && acted >= rule.count) || now >= rule.until ||
               (rule.heal > 0 && acted > 0 && now >= first + rule.heal);
    }
    bool chosen() {
        const bool nth =
            rule.nth == 0 || matched == rule.nth ||
            (rule.every > 0 && matched > rule.nth && (matched - rule.nth) % rule.every == 0);
        const bool every = rule.nth > 0 || rule.every == 0 || matched % rule.every == 0;
        return nth && every &&
               (rule.probability == 1 || std::ldexp(chance() >> 11, -53) < rule.probability);
    }
    void begin(const Transfer& t, double now) {
        const bool live = !over(now);
        matches = live && now >= rule.from && rule.reg.value_or(t.number) == t.number &&
                  rule.read.value_or(t.read) == t.read &&
                  (rule.device == "any" || std::ranges::count(rule.addresses, t.address) > 0);
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
    // Bit by bit. What a reading is replaced by is one of the same length.
    void change(Transfer& t) {
        const Bytes now = t.data;
        Bytes& kept = memory[{t.address, t.number}];
        for (std::size_t bit = 0; acts && bit < now.size() * 8; ++bit) {
            const bool late = rule.action == FaultAction::kFrozen || bit >= now.size() * 4;
            const std::uint8_t other = rule.action == FaultAction::kValue ? rule.byte
                                       : rule.action == FaultAction::kXor ? now[bit / 8] ^ rule.byte
                                       : late && remembers() && kept.size() == now.size()
                                           ? kept[bit / 8]
                                           : now[bit / 8];
            const unsigned mask = 0x80U >> bit % 8;
            t.data[bit / 8] = byteOf((t.data[bit / 8] & ~mask) | (other & mask));
        }
        if (rule.action == FaultAction::kTorn || (acts && kept.size() != now.size())) {
            kept = now;
        }
    }
    bool remembers() const {
        return rule.action == FaultAction::kFrozen || rule.action == FaultAction::kTorn;
    }

    FaultRule rule;
    std::mt19937_64 chance;
    std::uint64_t matched = 0, acted = 0;
    double first = 0;
    bool stuck = false, matches = false, acts = false;
    std::map<std::pair<int, int>, Bytes> memory = {};
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
class Traffic {
  public:
    Traffic() {
        bus.setClock([this] { return now; });
        for (auto& [address, chip] : chips) {
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
    void expectTransfer() {
        now += below(5) / 2.0;
        const std::uint8_t addresses[] = {0x41, 0x4C, 0x4D};
        Transfer t{addresses[below(3)], byteOf(4 + numbers() % 2), below(3) > 0, {}};
        std::uint8_t* const registers = &chips[t.address].registers[t.number];
        registers[0] = byteOf(numbers());
        t.data = t.read ? Bytes(registers, registers + 1 + below(2)) : someBytes(2);
        std::vector<BusMessage> messages{{t.address, false, {t.number}}};
        if (t.read) {
            messages.push_back({t.address, true, Bytes(t.data.size())});
        } else {
            messages[0].bytes.insert(messages[0].bytes.end(), t.data.begin(), t.data.end());
        }
        history += "@" + std::to_string(now) + (t.read ? " R " : " W ") +
                   hexLine({t.address, t.number}) + " " + hexLine(t.data) + "\n";
        const auto before = chips[t.address].registers;
        const BusResult result = bus.transfer(messages);
        const Bytes& bytes = messages.back().bytes;
        expect(t, result, before, Bytes(bytes.begin() + !t.read, bytes.end()));
    }

  private:
    void expect(Transfer& t, const BusResult& result, std::array<std::uint8_t, 300> registers,
                const Bytes& data) {
        int error = 0, delay = 0;
        for (Model& model : models) {
            model.begin(t, now);
            error = error != 0 ? error : model.error();
            delay += model.acts ? int(model.rule.delay.count()) : 0;
        }
        for (Model& model : models) {
            error == 0 && (model.acts || model.matches) ? model.change(t) : void();
        }
        ASSERT_EQ(result.error, error) << history;
        ASSERT_EQ(result.delay.count(), delay) << history;
        if (error == 0) {
            ASSERT_EQ(data, t.data) << history;
            t.read ? void() : void(std::ranges::copy(t.data, &registers[t.number]));
        }
        ASSERT_EQ(chips[t.address].registers, registers) << history;
        for (std::size_t n = 0; n < models.size(); ++n) {
            const Fault& fault = bus.faults()[n];
            ASSERT_EQ(fault.matched(), models[n].matched) << history;
            ASSERT_EQ(fault.fired(), models[n].acted) << history;
            ASSERT_EQ(fault.over(now), models[n].over(now)) << history;
        }
    }

    std::map<std::uint8_t, Memory> chips{{0x41, {}}, {0x4C, {}}, {0x4D, {}}};
    Bus bus;
    double now = 0;
    std::vector<Model> models;
    std::string history;
};

TEST(FaultRule, DoesToTheTrafficWhatItSays) {
    for (int world = 0; world < 300 && !testing::Test::HasFailure(); ++world) {
        Traffic traffic;
        for (int step = 0; step < 60 && !testing::Test::HasFailure(); ++step) {
            traffic.expectTransfer();
        }
    }
}

TEST(FaultRule, HasOneOrderOfItsWordsAndNamesAWrongOne) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "a rule begins with a device, or 'any'"},
        {"fan act=nak", "no device 'fan'"},
        {"any", "a rule needs an action: act=nak, act=value:0xFF, ..."},
        {"any act=nak act=stuck", "'act=stuck' says the act a second time"},
        {"any read write act=nak", "'write' says the direction a second time"},
        {"any write act=torn", "'write' does not go with act=frozen and act=torn"},
        {"any write act=frozen", "'write' does not go with act=frozen and act=torn"},
        {"any act=value", "act=: 'value' needs a value behind a colon"},
        {"any act=nak:3", "act=: 'nak' takes no value"},
        {"any act=value:256", "act=: '256' is not a byte (0 to 255, 0x00 to 0xFF)"},
        {"any act=delay:60001", "act=: '60001' ms are more than 60000"},
        {"any act=burn", "act=: 'burn' is no action: nak, timeout, stuck, value:BYTE, xor:BYTE"},
        {"any reg=0x act=nak", "reg=: '0x' is not a byte (0 to 255, 0x00 to 0xFF)"},
        {"any nth=0 act=nak", "nth=: '0' is not a count, 1 or more"},
        {"any every=-1 act=nak", "every=: '-1' is not a count, 1 or more"},
        {"any prob=1.5 act=nak", "prob=: '1.5' is not a probability above 0, at most 1"},
        {"any prob=0 act=nak", "prob=: '0' is not a probability above 0, at most 1"},
        {"any heal=0 act=nak", "heal=: '0' seconds leave nothing of the fault"},
        {"any from=-1 act=nak", "from=: '-1' seconds are below 0"},
        {"any from=5 until=5 act=nak", "until=5 is not after from=5"},
        {"any nonsense", "'nonsense' is not part of a rule: read, write, reg=, nth=, every=, "},
        {"any reg", "'reg' is not part of a rule"},
        {"any read=1", "'read=1' is not part of a rule"},
        {"any =5", "'=5' is not part of a rule"}};
    for (const auto& [text, error] : rows) {
        std::string said = "taken";
        try {
            ruleOf(text);
        } catch (const std::exception& refusal) {
            said = refusal.what();
        }
        EXPECT_THAT(said, testing::StartsWith(error)) << text;
    }
    EXPECT_EQ(describe(ruleOf("lm75-* heal=60 until=2 seed=7 act=delay:60000 from=1.5 prob=0.1")),
              "lm75-* from=1.5 until=2 prob=0.1 seed=7 act=delay:60000 heal=60");
    EXPECT_EQ(describe(ruleOf("vsc055 count=5 every=4 write nth=3 act=xor:255 prob=1 reg=50")),
              "vsc055 write reg=0x32 nth=3 every=4 act=xor:0xFF count=5");
    EXPECT_EQ(describe(ruleOf("any act=frozen")), "any read act=frozen");
}

// Messages "w41.04" and "r41.00", what comes of them, and the line observers see.
TEST(Bus, EveryKindOfTransferHasItsLine) {
    Memory controller, sensor;
    Bus bus;
    bus.attach(0x41, controller);
    bus.attach(0x4C, sensor);
    std::string line;
    const int observer =
        bus.observe([&](const BusTransfer& transfer) { line = describe(transfer); });
    controller.registers[4] = 0x80;
    controller.registers[5] = 0x81;
    const std::pair<const char*, const char*> rows[] = {
        {"w41.04 r41.00", "R 41 04=80"},
        {"w41.04 r41.00.00", "R 41 04=80 81"},
        {"w4c.03.55", "W 4c 03=55"},
        {"w41.06.01.02", "W 41 06=01 02"},
        {"w42.00 r42.00", "R 42 00 ENXIO"},
        {"w41", "W 41"},
        {"w41.04", "W 41 04"},
        {"r41.00", "R 41 =80"},
        {"w41.04 r4c.00", "W 41 04 + R 4c =55"},
        {"w41.ee.01", "W 41 ee ENXIO"},
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
    EXPECT_EQ(controller.registers[7], 0x11) << "messages before one that fails have happened";
    EXPECT_EQ(sensor.registers[7], 0) << "those behind it have not";
    EXPECT_EQ(bus.count(), std::size(rows));
    EXPECT_EQ(bus.log().size(), std::size(rows));
    std::vector<BusMessage> none;
    EXPECT_EQ(bus.transfer(none).error, EINVAL);
    bus.unobserve(observer);
    line.clear();
    for (std::size_t n = 0; n < Bus::kLogLength; ++n) {
        bus.readRegister(0x41, byteOf(n));
    }
    EXPECT_EQ(describe(bus.log().front()), "R 41 00=00") << "the log keeps the last";
    EXPECT_EQ(line, "");
}

TEST(Bus, RulesAndCutsAreRemovedByNumberOrAddress) {
    Memory chip;
    Bus bus;
    bus.attach(0x41, chip);
    EXPECT_EQ(bus.add(ruleOf("vsc055 act=delay:1")), 1);
    bus.cut(0x50);
    bus.cut(0x41, "it");
    bus.cut(0x41);
    EXPECT_EQ(bus.faults().size(), 3U) << "once is enough";
    EXPECT_EQ(describe(bus.faults()[1].rule()) + ", " + describe(bus.faults()[2].rule()),
              "0x50 act=nak, it act=nak");
    EXPECT_TRUE(bus.isCut(0x41));
    EXPECT_FALSE(bus.readRegister(0x41, 0));
    bus.mend(0x41);
    EXPECT_TRUE(bus.isCut(0x50) && bus.readRegister(0x41, 0));
    EXPECT_TRUE(bus.remove(1));
    EXPECT_FALSE(bus.remove(1));
    EXPECT_EQ(bus.add({}), 4) << "a number is never given twice";
    bus.clearFaults();
    EXPECT_TRUE(bus.faults().empty());
}

}  // namespace
}  // namespace enclab
