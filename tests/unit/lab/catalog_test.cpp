// SPDX-License-Identifier: Apache-2.0
// Chassis by name, with what a personality file tells about them.
#include "lab/chassis/catalog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace enclab {
namespace {

TEST(ChassisCatalog, BuildsEveryChassisWithTheCountsOfItsPersonality) {
    const struct {
        const char* name;
        const char* device;
        int fans, sensors, slots;
        int fewFans, fewSensors, mostFans, mostSensors;
    } rows[] = {
        {"vsc055", "vsc055", 4, 4, 16, 1, 1, 8, 6},
        {"xyratex", "lm75-1", 8, 2, 12, 1, 2, 8, 2},
        {"w83792ad", "pca9539", 6, 3, 16, 1, 1, 6, 3},
        {"w83782d", "w83782d", 3, 1, 16, 3, 1, 3, 1},
        {"chenbro", "w83782d-3", 6, 4, 16, 6, 4, 6, 4},
    };
    for (const auto& row : rows) {
        const auto chassis = makeChassis(row.name);
        EXPECT_EQ(chassis->fans(), row.fans) << row.name;
        EXPECT_EQ(chassis->sensors(), row.sensors) << row.name;
        EXPECT_EQ(chassis->slots(), row.slots) << row.name;
        EXPECT_NO_THROW(chassis->addressOf(row.device)) << row.name;
        const auto few = makeChassis(row.name, {.fans = 1, .sensors = 1});
        EXPECT_EQ(few->fans(), row.fewFans) << row.name;
        EXPECT_EQ(few->sensors(), row.fewSensors) << row.name;
        const auto many = makeChassis(row.name, {.fans = 44, .sensors = 255});
        EXPECT_EQ(many->fans(), row.mostFans) << row.name;
        EXPECT_EQ(many->sensors(), row.mostSensors) << row.name;
    }
    EXPECT_EQ(chassisNames().size(), std::size(rows));
}

TEST(ChassisCatalog, DivisorOfThePersonalityIsTheTachometers) {
    const auto chassis = makeChassis("vsc055", {.fanSpeedDivisor = 2});
    EXPECT_EQ(chassis->bus().readRegister(0x41, 0x32), 67);
    const auto least = makeChassis("vsc055", {.fanSpeedDivisor = 0});
    EXPECT_EQ(least->bus().readRegister(0x41, 0x32), 133) << "0 counts as 1";
}

TEST(ChassisCatalog, UnknownNameIsAnsweredWithTheKnownOnes) {
    EXPECT_THAT([] { makeChassis("vsc"); },
                testing::ThrowsMessage<std::out_of_range>(
                    "no chassis \"vsc\": there are vsc055, xyratex, w83792ad, w83782d, chenbro"));
}

}  // namespace
}  // namespace enclab
