// SPDX-License-Identifier: Apache-2.0
// The enclosure bus: what its log says of transfers (scripts/bus.txt), the text form of fault rules
// and what each rule does to a given traffic (scripts/fault_rules.txt).
#include <gtest/gtest.h>

#include <cstring>
#include <map>

#include "lab/bus/bus.h"
#include "tests/support/script.h"

namespace enclab {
namespace {

std::vector<std::uint8_t> lookup(const std::string& device) {
    const std::map<std::string, std::vector<std::uint8_t>> devices = {
        {"vsc055", {0x41}}, {"lm75-0", {0x4C}}, {"lm75-*", {0x4C, 0x4D}}};
    return devices.contains(device) ? devices.at(device)
                                    : throw std::out_of_range("no device '" + device + "'");
}

class RegisterChip : public Chip {
  public:
    // Refuses writes to register 0xEE.
    bool write(std::span<const std::uint8_t> bytes) override {
        pointer = bytes.empty() ? pointer : bytes[0];
        for (std::size_t n = 1; n < bytes.size(); ++n) {
            registers[pointer + n - 1] = bytes[n];
        }
        return pointer != 0xEE;
    }
    void read(std::span<std::uint8_t> bytes) override {
        for (std::size_t n = 0; n < bytes.size(); ++n) {
            bytes[n] = registers[pointer + n];
        }
    }

    std::array<std::uint8_t, 260> registers{};
    std::size_t pointer = 0;
};

class BusPlayer : public Player {
  public:
    BusPlayer() {
        for (auto& [address, chip] : chips_) {
            bus_.attach(address, chip);
        }
        bus_.setClock([this] { return now_; });
        bus_.observe([this](const BusTransfer& t) { seen_ = describe(t); });
        commands["log"] = [this](const Words& words) { say(logged(words)); };
        commands["cut"] = [this](const Words& words) { bus_.cut(byteAt(words[1], 0)); };
        commands["set"] = [this](const Words& words) { set(std::span(words.all).subspan(1)); };
        commands["run"] = [this](const Words& words) { say(traffic(words)); };
        commands["chance"] = [this](const Words& words) { say(chance(words.number(1))); };
        commands["list"] = [this](const Words&) { list(); };
        commands["remove"] = [this](const Words& words) {
            say(bus_.remove(words.number(1)) ? "gone" : "none");
        };
        commands["mend"] = [this](const Words& words) { bus_.mend(byteAt(words[1], 0)); };
    }

  private:
    // What observers see of a transfer of messages as "r4c.00" and "w41.04.7f".
    std::string logged(const Words& words) {
        std::vector<BusMessage> messages;
        for (const std::string& word : std::span(words.all).subspan(1)) {
            messages.push_back({byteAt(word, 1), word[0] == 'r', {}});
            for (std::size_t at = 4; at < word.size(); at += 3) {
                messages.back().bytes.push_back(byteAt(word, at));
            }
        }
        const int error = bus_.transfer(messages).error;
        return messages.empty() ? strerrorname_np(error) : seen_;
    }
    void set(std::span<const std::string> words) {
        const FaultRule rule = parseFaultRule(words, lookup);
        const std::string text = describe(rule);
        EXPECT_EQ(parseFaultRule(Words(text).all, lookup), rule) << text;
        say(bus_.add(rule), ": ", text);
    }
    void list() {
        for (const Fault& fault : bus_.faults()) {
            say(fault.number(), ": acted on ", fault.fired(), ", matched ", fault.matched(),
                fault.over(now_) ? ", over" : "");
        }
    }
    std::string chance(int times) {
        std::string trace;
        while (times-- > 0) {
            trace += transfer("41.04") == "00" ? '.' : 'x';
        }
        return trace;
    }
    std::string traffic(const Words& words) {
        std::string answers;
        for (const std::string& word : std::span(words.all).subspan(1)) {
            if (word[0] == '@') {
                now_ = std::stod(word.substr(1));
            } else if (word.find(':') != word.npos) {
                chips_.at(byteAt(word, 0)).registers[byteAt(word, 3)] = byteAt(word, 6);
            } else {
                answers += (answers.empty() ? "" : " ") + transfer(word);
            }
        }
        return answers;
    }

    static std::uint8_t byteAt(const std::string& word, std::size_t position) {
        return static_cast<std::uint8_t>(std::stoul(word.substr(position, 2), nullptr, 16));
    }
    std::string transfer(const std::string& word) {
        const std::uint8_t address = byteAt(word, 0);
        std::vector<BusMessage> messages{{address, false, {byteAt(word, 3)}}};
        if (word.find('=') != word.npos) {
            messages[0].bytes.push_back(byteAt(word, 6));
        } else {
            const std::size_t length = word.find('+') != word.npos ? 2 : 1;
            messages.push_back({address, true, std::vector<std::uint8_t>(length)});
        }
        const BusResult result = bus_.transfer(messages);
        const std::string delay =
            result.delay.count() > 0 ? "~" + std::to_string(result.delay.count()) : "";
        return (result.error != 0 ? strerrorname_np(result.error) : seen()) + delay;
    }
    // Behind the '='.
    std::string seen() const { return seen_.substr(seen_.find('=') + 1); }

    std::map<std::uint8_t, RegisterChip> chips_{{0x41, {}}, {0x4C, {}}, {0x4D, {}}};
    Bus bus_;
    double now_ = 0;
    std::string seen_;
};

TEST(Bus, SaysWhatHappensOnIt) {
    scriptPlay<BusPlayer>(SCRIPTS "/bus.txt");
}

TEST(FaultRule, DoesToTheTrafficWhatItSays) {
    scriptPlay<BusPlayer>(SCRIPTS "/fault_rules.txt");
}

}  // namespace
}  // namespace enclab
