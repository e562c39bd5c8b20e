// SPDX-License-Identifier: Apache-2.0
// The service on the lab's chips beside the model of its rules: whatever happens to an enclosure,
// both say the same after each step, in messages to the byte, in the log, in LEDs, loads and
// faults.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "tests/story/model.h"
#include "tests/story/service.h"
#include "tests/support/hex.h"
#include "tests/support/trace_capture.h"

namespace {

// Functions whose lines the model says; those of chips and link are judged elsewhere.
const std::set<std::string> LOGGING = {"faultNameTrace",
                                       "esaCompositeFaultManage",
                                       "faultSet",
                                       "faultClear",
                                       "ledOn",
                                       "esaSupplyConditionUpdate",
                                       "esaFanFaultMark",
                                       "esaFanFailStatusRead",
                                       "fanFailLedFollow",
                                       "temperatureAverage",
                                       "ladderStep",
                                       "ladderMove",
                                       "fansToFullLoad",
                                       "coolReport",
                                       "bandReport",
                                       "esaTemperatureOverheatCheck",
                                       "fanRead"};

struct Outcome {
    std::vector<Bytes> messages;
    std::vector<std::string> log;
    std::string state;
    bool operator==(const Outcome&) const = default;
};

// For a reader: messages as lines, then their bytes.
std::string shown(const Outcome& outcome) {
    std::string text = outcome.state;
    std::string rows;
    for (const Bytes& bytes : outcome.messages) {
        text += describe(enclab::Message(bytes)) + "\n";
        rows += fmt::format("{}\n", fmt::join(hexRows(bytes), "\n"));
    }
    return text + fmt::format("{}\n", fmt::join(outcome.log, "\n")) + rows;
}

class Walk {
  public:
    explicit Walk(const StoryRow& row) : service_(row), model_(row, service_.tuning()) {}

    enclab::Chassis& chassis() { return service_.chassis(); }

    // False when they differ.
    bool step(const std::string& command) {
        history_ += "> " + command + "\n";
        service_.run(command);
        model_.run(command);
        const Outcome expected{std::exchange(model_.messages, {}), std::exchange(model_.log, {}),
                               model_.state()};
        const Outcome got = outcome();
        if (expected != got) {
            EXPECT_EQ(shown(expected), shown(got)) << history_;
        }
        return expected == got;
    }

  private:
    Outcome outcome() {
        Outcome got;
        for (const enclab::Message& message : service_.take()) {
            Bytes bytes = message.bytes();
            std::fill_n(bytes.begin(), 8, std::uint8_t{0});
            if (message.kind() == enclab::Kind::reply && bytes.size() > 68) {
                bytes.push_back(esaControl.esaWorkSpace[bytes.size()]);
            }
            got.messages.push_back(bytes);
        }
        for (const std::string& line : trace_.take()) {
            const std::string function = line.substr(0, line.find(':'));
            if (LOGGING.contains(function)) {
                got.log.push_back(function + line.substr(line.find(":  ")));
            }
        }
        for (const auto& [tag, value] : service_.states()) {
            got.state += tag + " " + value + "\n";
        }
        return got;
    }

    StoryService service_;
    TraceCapture trace_{0x0010 | TRACE_K_FUNCTION};
    Model model_;
    std::string history_;
};

// ---- what may happen ----

class Chance {
  public:
    explicit Chance(unsigned seed) : random_(seed) {}
    int below(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    template <typename Value>
    const Value& of(const std::vector<Value>& all) {
        return all[static_cast<std::size_t>(below(static_cast<int>(all.size())))];
    }

  private:
    std::mt19937 random_;
};

using Act = std::string (*)(Chance&, const enclab::Chassis&);

std::string temperatureAct(Chance& chance, const enclab::Chassis& chassis) {
    const std::string sensor =
        chance.below(3) > 0 ? "all" : std::to_string(chance.below(chassis.sensors()));
    const int around = chance.of(std::vector{0, 32, 32, 38, 44, 50, 60});
    return fmt::format("temp {} {}", sensor, around + chance.below(16) / 2.0 - 4);
}

std::string railAct(Chance& chance, const enclab::Chassis& chassis) {
    if (chassis.rails().empty()) {
        return "poll";
    }
    const enclab::ChassisRail& rail = chance.of(chassis.rails());
    const double nominal = rail.name.starts_with("12") ? 12 : 5;
    return fmt::format("rail {} {}", rail.name,
                       nominal * chance.of(std::vector{1.0, 1.0, 1.08, 0.92, 1.12, 0.88}));
}

std::string supplyAct(Chance& chance, const enclab::Chassis& chassis) {
    return !chassis.parts().redundancy ? "page" : chance.below(2) > 0 ? "psu lost" : "psu good";
}

std::string driveAct(Chance& chance, const enclab::Chassis& chassis) {
    return !chassis.parts().drivePresence
               ? "poll"
               : fmt::format("drive {} {}", chance.below(chassis.slots()),
                             chance.below(2) > 0 ? "out" : "in");
}

std::string fanAct(Chance& chance, const enclab::Chassis& chassis) {
    return fmt::format("fan {} {}", chance.below(chassis.fans()),
                       chance.below(3) > 0 ? "return" : "pull");
}

std::string cutAct(Chance& chance, const enclab::Chassis& chassis) {
    const std::string device =
        chance.below(4) > 0 ? chance.of(chassis.devices()).name : std::string("all");
    return (chance.below(2) > 0 ? "mend " : "cut ") + device;
}

std::string ledsPut(Chance& chance, const enclab::Chassis& chassis) {
    std::string text = "put leds";
    for (int n = chance.below(4); n > 0; --n) {
        text += fmt::format(" {}", chance.below(chassis.slots()));
    }
    return text;
}

// Any request, of one record or of two.
std::string put(Chance& chance, const enclab::Chassis& chassis) {
    const struct {
        const char* section;
        int count;
        int flags;
    } sections[] = {{"supply", 2, 0x07}, {"fans", chassis.fans(), 0x04}, {"alarms", 1, 0xFF}};
    std::string text = "put";
    for (int n = 1 + chance.below(2); n > 0; --n) {
        const auto& section = sections[chance.below(3)];
        // A fan switched off on a VSC055 chassis ends the story.
        const int flags =
            section.flags == 0x04 && chance.below(8) > 0 ? 0x04 : chance.below(256) & section.flags;
        text += fmt::format("{} {} {} {}00000{:02X}", text == "put" ? "" : ",", section.section,
                            chance.below(section.count), chance.of(std::vector{"8", "8", "A", "2"}),
                            flags);
    }
    return text;
}

const std::vector<Act> ACTS = {
    temperatureAct,
    temperatureAct,
    temperatureAct,
    fanAct,
    fanAct,
    railAct,
    supplyAct,
    driveAct,
    cutAct,
    cutAct,
    ledsPut,
    put,
    put,
    [](Chance&, const enclab::Chassis&) { return std::string("page"); },
    [](Chance&, const enclab::Chassis&) { return std::string("page"); },
    [](Chance&, const enclab::Chassis&) { return std::string("wait 30"); },
    [](Chance&, const enclab::Chassis&) { return std::string("mend all"); },
};

// Thresholds somewhere, and not always in order.
std::vector<std::string> tuning(Chance& chance) {
    static constexpr struct {
        const char* key;
        int around;
    } THRESHOLDS[] = {
        {"fanPwm25To50TemperatureThreshold", 32},  {"fanPwm50To75TemperatureThreshold", 38},
        {"fanPwm75To100TemperatureThreshold", 44}, {"fanPwm100To75TemperatureThreshold", 41},
        {"fanPwm75To50TemperatureThreshold", 35},  {"fanPwm50To25TemperatureThreshold", 29},
        {"overheatTemperatureLimit", 50}};
    std::vector<std::string> commands;
    for (const auto& threshold : THRESHOLDS) {
        commands.push_back(
            fmt::format("tune {} {}", threshold.key, threshold.around + chance.below(5) - 2));
    }
    commands.push_back(fmt::format("tune fanPwmLoadMinimum {}",
                                   chance.of(std::vector{0, 25, 26, 50, 51, 75, 76, 100})));
    commands.push_back(
        fmt::format("tune fanFaultRpmLimit {}", chance.of(std::vector{0, 1500, 4477, 4478, 5000})));
    return commands;
}

class EnclosureWalk : public testing::TestWithParam<StoryRow> {};

TEST_P(EnclosureWalk, AgreesWithTheModel) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Chance chance(seed);
        Walk walk(GetParam());
        for (const std::string& command : tuning(chance)) {
            walk.step(command);
        }
        if (chance.below(8) == 0) {
            walk.step(cutAct(chance, walk.chassis()));
        }
        ASSERT_TRUE(walk.step("start"));
        for (int n = 0; n < 40; ++n) {
            ASSERT_TRUE(walk.step(chance.of(ACTS)(chance, walk.chassis())));
            if (chance.below(2) > 0) {
                ASSERT_TRUE(walk.step("poll"));
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, EnclosureWalk, testing::ValuesIn(storyRows()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
