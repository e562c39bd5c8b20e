// SPDX-License-Identifier: Apache-2.0
// Whatever happens to an enclosure, the service and the model say the same after each step: in
// messages to the byte, in the log, in LEDs, loads and faults.
#include "tests/story/walk.h"

namespace {

constexpr unsigned SEEDS = STEPS / 33;

using Acts = std::vector<std::string>;

// A record of a control page. Off is rare: it ends the story of a VSC055 chassis.
std::string request(Chance& chance, const enclab::Chassis& chassis) {
    const int fan = chance.below(chassis.fans()), supply = chance.below(2);
    const int flags = 1 << chance.below(8);
    return chance.of<std::string>(
        {fmt::format("leds {} 3 9", chance.below(chassis.slots())), "leds",
         fmt::format("fans {} {}", fan, chance.below(8) > 0 ? "80000004" : "80000000"),
         fmt::format("fans {} 00000000", fan), fmt::format("supply {} 80000000", supply),
         fmt::format("supply {} 80000002", supply), fmt::format("supply {} 80000006", supply),
         fmt::format("supply {} 00000002", supply), fmt::format("alarms 0 800000{:02X}", flags),
         fmt::format("alarms 0 A00000{:02X}", 0xFF ^ flags),
         fmt::format("alarms 0 000000{:02X}", flags), "alarms 0 80000002"});
}

std::string railAct(Chance& chance, const enclab::Chassis& chassis) {
    const std::string rail = chance.of(chassis.rails()).name;
    const double part = chance.of<double>({1, 1, 1.08, 0.92, 1.12, 0.88});
    return fmt::format("rail {} {}", rail, part * (rail.starts_with("12") ? 12 : 5));
}

// What may happen, and what a chassis may ask for.
std::string act(Chance& chance, const enclab::Chassis& chassis) {
    const enclab::ChassisParts& parts = chassis.parts();
    const int fan = chance.below(chassis.fans());
    const int around = chance.of<int>({0, 29, 32, 35, 38, 41, 44, 48, 54, 60});
    const double degrees = around + chance.below(10) / 2.0 - 2;
    const std::string device = chance.of(chassis.devices()).name;
    const std::string requested = request(chance, chassis);
    return chance.of<std::string>(
        {fmt::format("fan {} pull", fan),
         fmt::format("fan {} return", fan),
         fmt::format("fan {} return", fan),
         fmt::format("temp all {}", degrees),
         fmt::format("temp all {}", degrees),
         fmt::format("temp {} {}", chance.below(chassis.sensors()), degrees),
         "cut " + device,
         "mend " + device,
         "mend all",
         chance.below(3) == 0 ? "cut all" : "mend all",
         "put " + requested,
         "put " + requested,
         "put " + requested + ", " + request(chance, chassis),
         "page",
         "page",
         "poll",
         "poll",
         "wait 30",
         parts.redundancy ? "psu lost" : "poll",
         parts.redundancy ? "psu good" : "page",
         parts.rails.empty() ? "poll" : railAct(chance, chassis),
         parts.drivePresence ? fmt::format("drive {} {}", chance.below(chassis.slots()),
                                           chance.below(2) > 0 ? "in" : "out")
                             : "poll"});
}

// Another personality file.
Acts tuningActs(Chance& chance, const std::map<std::string, int>& tuning) {
    Acts acts;
    for (const auto& [key, value] : tuning) {
        if (key.ends_with("Threshold")) {
            acts.push_back(fmt::format("tune {} {}", key, value + chance.below(5) - 2));
        }
    }
    acts.push_back("tune overheatTemperatureLimit " + chance.of(Acts{"48", "60"}));
    acts.push_back("tune fanPwmLoadMinimum " + chance.of(Acts{"0", "25", "26", "50", "51", "76"}));
    acts.push_back("tune fanFaultRpmLimit " + chance.of(Acts{"0", "1500", "4477", "4478", "5000"}));
    if (chance.below(6) == 0) {
        acts.push_back("tune coolingMaxNumber 44");
        acts.push_back("tune temperatureSensorMaxNumber " + chance.of(Acts{"0", "1", "12"}));
    }
    return acts;
}

class EnclosureWalk : public testing::TestWithParam<StoryRow> {};

TEST_P(EnclosureWalk, AgreesWithTheModel) {
    for (unsigned seed = 1; seed <= SEEDS; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Chance chance(seed);
        Walk walk(GetParam());
        const enclab::Chassis& chassis = walk.service.chassis();
        for (const std::string& command : tuningActs(chance, walk.service.tuning())) {
            walk.step(command);
        }
        if (seed % 4 == 0) {
            walk.step("cut " + chance.of(chassis.devices()).name);
        }
        ASSERT_TRUE(walk.step("start"));
        for (int n = 0; n < 60; ++n) {
            // A poll is due with every eleventh message.
            ASSERT_TRUE(walk.step(n % 8 == 0 ? "poll" : act(chance, chassis)));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, EnclosureWalk, testing::ValuesIn(storyRows()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
