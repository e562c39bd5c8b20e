// SPDX-License-Identifier: Apache-2.0
// Whatever happens to an enclosure, the service and the model say the same after each step: in
// messages to the byte, in the log, in LEDs, loads and faults.
#include "tests/story/walk.h"

namespace {

constexpr unsigned SEEDS = STEPS / 33;

using Acts = std::vector<std::string>;

// A record of a control page. Off is rare: it ends the story of a VSC055 chassis.
std::string request(Random& random, const enclab::Chassis& chassis) {
    const auto fan = random.below(chassis.fans()), supply = random.below(2);
    const int flags = 1 << random.below(8);
    return random.of<std::string>(
        {fmt::format("leds {} 3 9", random.below(chassis.slots())), "leds",
         fmt::format("fans {} {}", fan, random.onceIn(8) ? "80000000" : "80000004"),
         fmt::format("fans {} 00000000", fan), fmt::format("supply {} 80000000", supply),
         fmt::format("supply {} 80000002", supply), fmt::format("supply {} 80000006", supply),
         fmt::format("supply {} 00000002", supply), "supply 0 80000002, supply 1 80000002",
         "supply 0 80000000, supply 1 80000000", fmt::format("alarms 0 800000{:02X}", flags),
         fmt::format("alarms 0 A00000{:02X}", 0xFF ^ flags),
         fmt::format("alarms 0 000000{:02X}", flags), "alarms 0 80000002"});
}

std::string railAct(Random& random, const enclab::Chassis& chassis) {
    const std::string rail = chassis.rails()[random.below(chassis.rails().size())].name;
    const double part = random.of<double>({1, 1, 1.08, 0.92, 1.12, 0.88});
    return fmt::format("rail {} {}", rail, part * (rail.starts_with("12") ? 12 : 5));
}

// What may happen, and what a chassis may ask for.
std::string act(Random& random, const enclab::Chassis& chassis) {
    const enclab::ChassisParts& parts = chassis.parts();
    const auto fan = random.below(chassis.fans());
    const int around = random.of<int>({0, 29, 32, 35, 38, 41, 44, 48, 54, 60});
    const double degrees = around + static_cast<double>(random.below(10)) / 2 - 2;
    const std::string device = chassis.devices()[random.below(chassis.devices().size())].name;
    const std::string requested = request(random, chassis);
    return random.of<std::string>(
        {fmt::format("fan {} pull", fan),
         fmt::format("fan {} return", fan),
         fmt::format("fan {} return", fan),
         fmt::format("temp all {}", degrees),
         fmt::format("temp all {}", degrees),
         fmt::format("temp {} {}", random.below(chassis.sensors()), degrees),
         "cut " + device,
         "mend " + device,
         "mend all",
         random.onceIn(3) ? "cut all" : "mend all",
         "put " + requested,
         "put " + requested,
         "put " + requested + ", " + request(random, chassis),
         "page",
         "page",
         "poll",
         "poll",
         "wait 30",
         parts.redundancy ? "psu lost" : "poll",
         parts.redundancy ? "psu good" : "page",
         parts.rails.empty() ? "poll" : railAct(random, chassis),
         parts.drivePresence ? fmt::format("drive {} {}", random.below(chassis.slots()),
                                           random.onceIn(2) ? "in" : "out")
                             : "poll"});
}

// Another personality file.
Acts tuningActs(Random& random, const std::map<std::string, int>& tuning) {
    Acts acts;
    for (const auto& [key, value] : tuning) {
        if (key.ends_with("Threshold")) {
            acts.push_back(fmt::format("tune {} {}", key, value + random.of({-2, -1, 0, 1, 2})));
        }
    }
    acts.push_back("tune overheatTemperatureLimit " + random.of<std::string>({"48", "60"}));
    acts.push_back("tune fanPwmLoadMinimum " +
                   random.of<std::string>({"0", "25", "26", "50", "51", "76"}));
    acts.push_back("tune fanFaultRpmLimit " +
                   random.of<std::string>({"0", "1500", "4477", "4478", "5000"}));
    if (random.onceIn(6)) {
        acts.push_back("tune coolingMaxNumber 44");
        acts.push_back("tune temperatureSensorMaxNumber " +
                       random.of<std::string>({"0", "1", "12"}));
    }
    return acts;
}

class EnclosureWalk : public testing::TestWithParam<StoryRow> {};

TEST_P(EnclosureWalk, AgreesWithTheModel) {
    for (unsigned seed = 1; seed <= SEEDS; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Random random(seed);
        Walk walk(GetParam());
        const enclab::Chassis& chassis = walk.service.chassis();
        for (const std::string& command : tuningActs(random, walk.service.tuning())) {
            walk.step(command);
        }
        if (seed % 4 == 0) {
            walk.step("cut " + chassis.devices()[seed / 4 % chassis.devices().size()].name);
        }
        ASSERT_TRUE(walk.step("start"));
        for (int n = 0; n < 60; ++n) {
            // A poll is due with every eleventh message.
            ASSERT_TRUE(walk.step(n % 8 == 0 ? "poll" : act(random, chassis)));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, EnclosureWalk, testing::ValuesIn(storyRows()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
