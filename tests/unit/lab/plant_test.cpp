// SPDX-License-Identifier: Apache-2.0
// The physics of a chassis against numbers worked out by hand. The VSC055 chassis has 16 slots in
// four zones with a fan each. A zone: 10 W/K of air at full speed, half of it from its own fan,
// 0.25 W/K of walls, 250 J/K of store.
#include "lab/plant/plant.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "lab/chassis/vsc055_chassis.h"
#include "lab/chassis/w83792ad_chassis.h"
#include "lab/chassis/xyratex_chassis.h"

namespace enclab {
namespace {

constexpr int kOff = 0x00;
constexpr int k25 = 0x27;
constexpr int k31 = 0x29;
constexpr int k37 = 0x2B;
constexpr int k50 = 0x2F;
constexpr int k100 = 0x3F;

class PlantTest : public testing::Test {
  protected:
    void load(int duty) {
        for (int fan = 0; fan < 4; ++fan) {
            EXPECT_TRUE(chassis.bus().writeRegister(0x41, static_cast<std::uint8_t>(0x98 + fan),
                                                    static_cast<std::uint8_t>(duty)));
        }
    }
    void settle() { plant.advance(1200); }
    int count(int fan) {
        return chassis.bus().readRegister(0x41, static_cast<std::uint8_t>(0x32 + 4 * fan)).value();
    }

    Vsc055Chassis chassis;
    Plant plant{chassis};
};

TEST_F(PlantTest, SettlesWhereAirAndWallsTakeAwayWhatDrivesAndSuppliesGive) {
    const struct {
        int duty;
        double heat, inlet, degrees;
    } rows[] = {{k25, 10, 22, 22 + 21.85 / 2.75},       {k50, 10, 22, 22 + 21.85 / 5.25},
                {k25, 100, 22, 22 + 115 / 2.75},        {k100, 100, 35, 35 + 115 / 10.25},
                {k25, 10, -10.5, -10.5 + 21.85 / 2.75}, {kOff, 0, 22, 22 + 11.5 / 0.25}};
    for (const auto& row : rows) {
        load(row.duty);
        plant.setHeat(row.heat);
        plant.setInlet(row.inlet);
        plant.advance(row.duty == kOff ? 20000 : 1200);
        for (int sensor = 0; sensor < 4; ++sensor) {
            EXPECT_NEAR(chassis.temperature(sensor), row.degrees, 0.01);
        }
        EXPECT_NEAR(*chassis.bus().readRegister(0x4C, 0), static_cast<int>(row.degrees) & 0xFF, 1);
    }
}

TEST_F(PlantTest, HalfOfAFansAirIsForItsOwnZone) {
    load(k25);
    chassis.pullFan(1);
    plant.advance(3600);
    EXPECT_NEAR(chassis.temperature(1), 22 + 21.85 / (0.25 + 2.5 * 0.375), 0.01);
    EXPECT_NEAR(chassis.temperature(2), 22 + 21.85 / (0.25 + 2.5 * 0.875), 0.01);
}

TEST_F(PlantTest, EveryDisturbanceMovesTheTemperatureItsWay) {
    const struct {
        const char* what;
        std::function<void()> act;
        int own, other;  // sign of the change in zone 1, in zone 3
    } rows[] = {{"all busy", [&] { plant.setHeat(60); }, 1, 1},
                {"one busy", [&] { plant.setHeat(6, 100); }, 1, 1},  // the supplies are shared
                {"one idle", [&] { plant.setHeat(6, 0); }, -1, -1},
                {"cold inlet", [&] { plant.setInlet(10); }, -1, -1},
                {"more air", [&] { load(k50); }, -1, -1},
                {"fan out", [&] { chassis.pullFan(1); }, 1, 1},
                {"fan back", [&] { chassis.returnFan(1); }, -1, -1},
                {"fan worn", [&] { plant.setFanWear(1, 50); }, 1, 1}};
    load(k25);
    for (const auto& row : rows) {
        settle();
        const double own = plant.temperature(1);
        const double other = plant.temperature(3);
        row.act();
        plant.advance(20);
        EXPECT_GT((plant.temperature(1) - own) * row.own, 0.01) << row.what;
        EXPECT_GT((plant.temperature(3) - other) * row.other, 0.001) << row.what;
    }
}

TEST(PlantDrives, AnAbsentDriveGivesNoHeat) {
    XyratexChassis chassis;
    Plant plant(chassis);
    EXPECT_NEAR(plant.powers()[0], 6 * 4.75 * 1.15, 1e-9);
    chassis.setDrivePresent(0, false);
    EXPECT_NEAR(plant.powers()[0], 5 * 4.75 + 11 * 4.75 * 0.15 / 2, 1e-9);
    EXPECT_NEAR(plant.powers()[1], 6 * 4.75 + 11 * 4.75 * 0.15 / 2, 1e-9);
    plant.advance(60);
    EXPECT_LT(chassis.temperature(0) + 0.1, chassis.temperature(1));
}

TEST_F(PlantTest, ZonesAndFansFollowWithTheirTimeConstants) {
    load(k25);
    settle();
    const double before = chassis.temperature(0);
    plant.setHeat(100);
    plant.advance(250 / 2.75);
    const double way = (115 - 21.85) / 2.75;
    EXPECT_NEAR(chassis.temperature(0) - before, way * (1 - std::exp(-1)), way * 0.01);
    load(k100);
    EXPECT_NEAR(chassis.fanRpm(2), 2250, 0.001) << "not at once";
    plant.advance(2);
    EXPECT_NEAR(chassis.fanRpm(2), 9000 - 6750 * std::exp(-1), 100);
    plant.advance(18);
    EXPECT_EQ(count(2), 33);
}

// Over a quarter of an hour in which everything moves, by sums of samples, one a second.
TEST_F(PlantTest, EnergyIsNeitherMadeNorLost) {
    double in = 0, out = 0, storedBefore = 0, stored = 0;
    for (int z = 0; z < 4; ++z) {
        storedBefore += 250 * plant.temperature(z);
    }
    for (int second = 0; second < 900; ++second) {
        if (second % 300 == 0) {
            load(second == 300 ? k100 : k25);
            plant.setHeat(2, second == 0 ? 100 : 40);
            second == 600 ? chassis.pullFan(3) : chassis.returnFan(3);
        }
        plant.advance(0.5);
        double speed[4], mean = 0;
        for (int fan = 0; fan < 4; ++fan) {
            speed[fan] = chassis.fanRpm(fan) / 9000;
            mean += speed[fan] / 4;
        }
        for (int z = 0; z < 4; ++z) {
            out += (10 * (speed[z] + mean) / 2 + 0.25) * (chassis.temperature(z) - 22);
        }
        in += (15 * 4.75 + (second < 300 ? 25 : 11.5)) * 1.15;
        plant.advance(0.5);
    }
    for (int z = 0; z < 4; ++z) {
        stored += 250 * plant.temperature(z);
    }
    EXPECT_NEAR(in, out + stored - storedBefore, in * 0.01);
    EXPECT_GT(std::abs(stored - storedBefore), in * 0.02) << "or the store is not tested";
}

TEST_F(PlantTest, StalledFanNeedsMoreLoadToStartThanToTurn) {
    plant.setFanStall(1, 30);
    const struct {
        int duty, count, other;
    } rows[] = {{k31, 107, 107}, {k25, 0xFF, 133},   {k31, 0xFF, 107}, {k37, 89, 89},
                {k31, 107, 107}, {kOff, 0xFF, 0xFF}, {k37, 89, 89}};
    for (const auto& row : rows) {
        load(row.duty);
        plant.advance(30);
        EXPECT_EQ(count(1), row.count) << row.duty;
        EXPECT_EQ(count(0), row.other) << row.duty;
    }
}

TEST_F(PlantTest, LockedOrPulledFanStandsAtOnceAndSpinsUpAgain) {
    const std::function<void()> stop[] = {[&] { plant.setFanLocked(2, true); },
                                          [&] { chassis.pullFan(2); }};
    const std::function<void()> release[] = {[&] { plant.setFanLocked(2, false); },
                                             [&] { chassis.returnFan(2); }};
    for (int way = 0; way < 2; ++way) {
        stop[way]();
        EXPECT_EQ(count(2), 0xFF);
        plant.advance(30);
        EXPECT_EQ(count(2), 0xFF);
        EXPECT_EQ(count(1), 33);
        release[way]();
        EXPECT_EQ(count(2), 0xFF);
        plant.advance(1);
        EXPECT_NEAR(chassis.fanRpm(2), 9000 * (1 - std::exp(-0.5)), 100);
        plant.advance(30);
        EXPECT_EQ(count(2), 33);
    }
}

TEST_F(PlantTest, WornFanTurnsSlowerUnderTheSameLoad) {
    plant.setFanWear(3, 40);
    load(k25);
    settle();
    EXPECT_EQ(count(3), 222);
    EXPECT_EQ(count(0), 133);
}

TEST_F(PlantTest, PinnedSensorShowsWhatItIsTold) {
    load(k25);
    plant.pinSensor(1, 51.5);
    EXPECT_EQ(chassis.temperature(1), 51.5) << "at once";
    plant.setHeat(100);
    settle();
    EXPECT_EQ(chassis.temperature(1), 51.5);
    EXPECT_NEAR(chassis.temperature(0), 63.82, 0.01);
    plant.releaseSensor(1);
    EXPECT_NEAR(chassis.temperature(1), 63.82, 0.01) << "its zone went on";
}

TEST(PlantRails, DriftByTheHourThroughTheirEncoding) {
    W83792adChassis chassis;
    Plant plant(chassis);
    plant.setRailDrift("12", -1.2);
    plant.advance(3600);
    EXPECT_NEAR(chassis.rails()[1].volts, 10.8, 1e-6);
    EXPECT_EQ(chassis.bus().readRegister(0x2C, 0x22), 675 >> 2);
    EXPECT_EQ(chassis.rails()[0].volts, 5);
}

TEST_F(PlantTest, StepsAreTheSameHoweverTimeComes) {
    Vsc055Chassis otherChassis;
    Plant other(otherChassis);
    plant.setInlet(35);
    other.setInlet(35);
    plant.advance(100);
    for (int n = 0; n < 1600; ++n) {
        other.advance(0.03125);
        other.advance(0.03125);
    }
    EXPECT_EQ(plant.temperature(2), other.temperature(2));
    EXPECT_EQ(plant.temperature(2), 0x1.281cf369fe5cap+5) << "to the last bit on every machine";
}

TEST_F(PlantTest, WhatIsNotThereOrOutOfRangeIsRefused) {
    const std::function<void()> wrong[] = {
        [&] { plant.setHeat(-1); },           [&] { plant.setHeat(100.5); },
        [&] { plant.setHeat(std::nan("")); }, [&] { plant.setHeat(16, 50); },
        [&] { plant.setInlet(86); },          [&] { plant.setInlet(-41); },
        [&] { plant.setFanWear(4, 10); },     [&] { plant.setFanWear(0, 101); },
        [&] { plant.setFanStall(0, -1); },    [&] { plant.setFanLocked(-1, true); },
        [&] { plant.pinSensor(4, 20); },      [&] { plant.releaseSensor(4); },
        [&] { plant.setRailDrift("12", 1); }};
    for (const auto& act : wrong) {
        EXPECT_THROW(act(), std::out_of_range);
    }
}

}  // namespace
}  // namespace enclab
