// SPDX-License-Identifier: Apache-2.0
// The service on the lab's chips beside the model of its rules: whatever happens to an enclosure,
// both say the same after each step, in messages to the byte, in the log, in LEDs, loads and
// faults.
#include "tests/story/walk.h"

namespace {

#ifdef __powerpc__
constexpr unsigned SEEDS = 3;  // is emulated
#else
constexpr unsigned SEEDS = 12;
#endif

// ---- what may happen ----

using Acts = std::vector<std::string>;

// Each thing that may be done to what there are `count` of; "{}" stands for its number.
Acts each(int count, const Acts& acts) {
    Acts all;
    for (int n = 0; n < count; ++n) {
        for (const std::string& act : acts) {
            all.push_back(fmt::format(fmt::runtime(act), n));
        }
    }
    return all;
}

Acts railActs(const enclab::Chassis& chassis) {
    Acts acts;
    for (const enclab::ChassisRail& rail : chassis.rails()) {
        for (const double part : {1.0, 1.0, 1.08, 0.92, 1.12, 0.88}) {
            const int nominal = rail.name.starts_with("12") ? 12 : 5;
            acts.push_back(fmt::format("rail {} {}", rail.name, nominal * part));
        }
    }
    return acts;
}

Acts deviceActs(const enclab::Chassis& chassis) {
    Acts acts{"mend all", "mend all", "mend all", "cut all"};
    for (const enclab::ChassisDevice& device : chassis.devices()) {
        acts.insert(acts.end(), {"mend " + device.name, "cut " + device.name});
    }
    return acts;
}

// Around the thresholds and bands, and below zero.
Acts temperatureActs(const enclab::Chassis& chassis) {
    Acts acts;
    for (double degrees = -4; degrees < 66; degrees += degrees < 24 ? 3.5 : 0.5) {
        const Acts one = each(chassis.sensors(), {fmt::format("temp {{}} {}", degrees)});
        acts.insert(acts.end(), one.begin(), one.end());
        acts.insert(acts.end(), one.size() + 4, fmt::format("temp all {}", degrees));
    }
    return acts;
}

// Off is rare: it ends the story of a VSC055 chassis.
Acts requests(const enclab::Chassis& chassis) {
    Acts acts = each(chassis.fans(), {"fans {} 80000004", "fans {} 80000004", "fans {} 00000000"});
    acts.push_back("fans 1 80000000");
    const Acts supplies = each(2, {"supply {} 80000000", "supply {} 80000002", "supply {} 80000006",
                                   "supply {} 00000002"});
    acts.insert(acts.end(), supplies.begin(), supplies.end());
    for (const int flags : {0x02, 0x80, 0x40, 0x20, 0x10, 0x08, 0x00, 0xFF}) {
        acts.push_back(fmt::format("alarms 0 A00000{:02X}", flags));
        acts.push_back(fmt::format("alarms 0 000000{:02X}", flags));
    }
    const Acts leds = each(chassis.slots(), {"leds {} 3 9", "leds"});
    acts.insert(acts.end(), leds.begin(), leds.end());
    return acts;
}

// Kinds of things that happen, all as often.
std::vector<Acts> actsOf(const enclab::Chassis& chassis, Chance* chance) {
    const enclab::ChassisParts& parts = chassis.parts();
    Acts puts;
    for (int n = 0; n < 100; ++n) {
        const Acts all = requests(chassis);
        puts.push_back("put " + chance->of(all) + (n % 2 == 0 ? "" : ", " + chance->of(all)));
    }
    std::vector<Acts> kinds{each(chassis.fans(), {"fan {} pull", "fan {} return", "fan {} return"}),
                            temperatureActs(chassis),
                            temperatureActs(chassis),
                            deviceActs(chassis),
                            puts,
                            puts,
                            {"page"},
                            {"poll"},
                            {"poll"},
                            {"wait 30"}};
    if (parts.drivePresence) {
        kinds.push_back(each(chassis.slots(), {"drive {} in", "drive {} out"}));
    }
    if (!chassis.rails().empty()) {
        kinds.push_back(railActs(chassis));
    }
    if (parts.redundancy) {
        kinds.push_back({"psu lost", "psu good"});
    }
    return kinds;
}

// Another personality file.
Acts tuningActs(const std::map<std::string, int>& tuning, Chance* chance) {
    Acts acts;
    for (const auto& [key, value] : tuning) {
        if (key.ends_with("Threshold")) {
            acts.push_back(
                fmt::format("tune {} {}", key, value + static_cast<int>(chance->below(5)) - 2));
        }
    }
    acts.push_back("tune overheatTemperatureLimit " + chance->of(Acts{"48", "60"}));
    acts.push_back("tune fanPwmLoadMinimum " +
                   chance->of(Acts{"0", "25", "26", "50", "51", "75", "76"}));
    acts.push_back("tune fanFaultRpmLimit " +
                   chance->of(Acts{"0", "1500", "4477", "4478", "5000"}));
    if (chance->below(8) == 0) {
        acts.push_back("tune coolingMaxNumber 44");
        acts.push_back("tune temperatureSensorMaxNumber " + chance->of(Acts{"0", "1", "12"}));
    }
    return acts;
}

class EnclosureWalk : public testing::TestWithParam<StoryRow> {};

TEST_P(EnclosureWalk, AgreesWithTheModel) {
    for (unsigned seed = 1; seed <= SEEDS; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Chance chance(seed);
        Walk walk(GetParam());
        const std::vector<Acts> acts = actsOf(walk.service.chassis(), &chance);
        for (const std::string& command : tuningActs(walk.service.tuning(), &chance)) {
            walk.step(command);
        }
        if (seed % 4 == 0) {
            walk.step(chance.of(deviceActs(walk.service.chassis())));
        }
        ASSERT_TRUE(walk.step("start"));
        for (int n = 0; n < 60; ++n) {
            // A poll is due with every eleventh message.
            ASSERT_TRUE(walk.step(n % 8 == 0 ? "poll" : chance.of(chance.of(acts))));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, EnclosureWalk, testing::ValuesIn(storyRows()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
