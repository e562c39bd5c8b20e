// SPDX-License-Identifier: Apache-2.0
// The physics of a chassis against a model of its page (docs/plant.md), which cuts the width into
// strips, each of one slot, one fan and one zone.
#include "lab/plant/plant.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numeric>

#include "lab/chassis/catalog.h"
#include "tests/support/script.h"
#include "tests/unit/lab/random.h"

namespace enclab {
namespace {

constexpr int kStrips = 48;

struct Model {
    explicit Model(Chassis& made)
        : chassis(made),
          heat(std::size_t(made.slots()), 10),
          degrees(std::size_t(made.sensors()), 30),
          fans(std::size_t(made.fans()), Fan{.rpm = made.parts().fullSpeedRpm}) {}

    struct Fan {
        double rpm, wear = 0, stall = 10;
        bool locked = false, turns = true;
    };
    // A sixteenth of a second.
    void step() {
        const double full = chassis.parts().fullSpeedRpm;
        for (std::size_t n = 0; n < fans.size(); ++n) {
            Fan& fan = fans[n];
            const double load = chassis.fanLoadPercent(int(n));
            const bool free = chassis.fanPresent(int(n)) && !fan.locked;
            fan.turns = free && load >= (fan.turns ? fan.stall : std::min(fan.stall + 5, 100.0));
            const double target = fan.turns ? full * load / 100 * (1 - fan.wear / 100) : 0;
            fan.rpm = free ? fan.rpm + (target - fan.rpm) / 32 : 0;
            fan.rpm = fan.turns || fan.rpm >= full / 50 ? fan.rpm : 0;
        }
        stepZones(full);
    }
    void stepZones(double full) {
        const auto slots = std::size_t(chassis.slots());
        double watts[kStrips], drives = 0, all = 0;
        for (std::size_t strip = 0; strip < kStrips; ++strip) {
            const std::size_t slot = strip * slots / kStrips;
            const bool there = !chassis.parts().drivePresence || chassis.drivePresent(int(slot));
            watts[strip] = there ? (2.5 + 22.5 * heat[slot] / 100) * double(slots) / kStrips : 0;
            drives += watts[strip];
            all += fans[strip * fans.size() / kStrips].rpm / full / kStrips;
        }
        for (std::size_t z = 0; z < degrees.size(); ++z) {
            const double share = double(slots) / double(degrees.size());
            double power = drives * 0.15 / double(degrees.size()), air = 0.0625 * share;
            for (std::size_t strip = 0; strip < kStrips; ++strip) {
                if (strip * degrees.size() / kStrips == z) {
                    const double own = fans[strip * fans.size() / kStrips].rpm / full;
                    power += watts[strip];
                    air += 2.5 * double(slots) / kStrips * (own + all) / 2;
                }
            }
            degrees[z] += (power - air * (degrees[z] - inlet)) / (62.5 * share) / 16;
        }
    }

    Chassis& chassis;
    double inlet = 22;
    std::vector<double> heat, degrees;
    std::vector<Fan> fans;
};

// Somebody does something, then time passes.
void disturb(Plant& plant, Model& model, const Words& duties) {
    Chassis& chassis = model.chassis;
    const int fan = below(chassis.fans());
    Model::Fan& machine = model.fans[std::size_t(fan)];
    const std::string duty = duties[std::size_t(fan)];
    switch (below(9)) {
        case 0:
            chassis.bus().writeRegister(byteOf(std::stoul(duty.substr(0, 2), nullptr, 16)),
                                        byteOf(std::stoul(duty.substr(3), nullptr, 16)),
                                        byteOf(0x20 + numbers() % 0x20));
            break;
        case 1:
            plant.setHeat(model.heat[0] = below(101));
            std::ranges::fill(model.heat, model.heat[0]);
            break;
        case 2: {
            const int slot = below(chassis.slots());
            plant.setHeat(slot, model.heat[std::size_t(slot)] = below(101));
            break;
        }
        case 3:
            plant.setInlet(model.inlet = between(-40, 85));
            break;
        case 4:
            plant.setFanWear(fan, machine.wear = below(101));
            break;
        case 5:
            plant.setFanStall(fan, machine.stall = below(101));
            break;
        case 6:
            plant.setFanLocked(fan, machine.locked = below(2) != 0);
            machine.rpm = machine.locked ? 0 : machine.rpm;
            machine.turns = machine.turns && !machine.locked;
            break;
        case 7:
            below(2) == 0 ? chassis.pullFan(fan) : chassis.returnFan(fan);
            break;
        default:
            if (chassis.parts().drivePresence) {
                chassis.setDrivePresent(below(chassis.slots()), below(2) != 0);
            }
    }
}

TEST(Plant, DoesWhatItsEquationsSayWhateverHappens) {
    for (const char* const row :
         {"vsc055 41.98 41.99 41.9A 41.9B", "w83792ad 2C.81 2C.83 2C.94 2C.A3 2C.A4 2C.A5",
          "xyratex 63.98 63.98 63.98 63.98 63.99 63.99 63.99 63.99"}) {
        const auto chassis = makeChassis(Words(row)[0]);
        Plant plant(*chassis);
        Model model(*chassis);
        const bool sixteenths = Words(row)[0] == "w83792ad";  // its fans stand at 15 of them
        for (Model::Fan& fan : model.fans) {
            fan.rpm *= sixteenths ? 15 / 16.0 : 1;
        }
        const int pinned = below(chassis->sensors());
        plant.pinSensor(pinned, 51.5);
        for (int step = 0; step < 400; ++step) {
            disturb(plant, model, Words(Words(row).from(1)));
            const int steps = below(60);
            plant.advance(steps / 16.0);
            for (int n = 0; n < steps; ++n) {
                model.step();
            }
            for (int zone = 0; zone < plant.zones(); ++zone) {
                const double degrees = model.degrees[std::size_t(zone)];
                ASSERT_NEAR(plant.temperature(zone), degrees, 1e-6) << row << " step " << step;
                ASSERT_EQ(chassis->temperature(zone),
                          zone == pinned ? 51.5 : plant.temperature(zone));
            }
            for (int fan = 0; fan < chassis->fans(); ++fan) {
                const double rpm = model.fans[std::size_t(fan)].rpm;
                ASSERT_NEAR(chassis->fanRpm(fan), chassis->fanPresent(fan) ? rpm : 0, 1e-6)
                    << row << " step " << step;
            }
        }
        plant.releaseSensor(pinned);
        EXPECT_EQ(chassis->temperature(pinned), plant.temperature(pinned));
    }
}

TEST(Plant, TakesWhatIsDoneToAFanToItsChipAtOnceAndSettlesAsThePageSays) {
    const auto chassis = makeChassis("vsc055");
    Plant plant(*chassis);
    plant.advance(3600);
    EXPECT_NEAR(chassis->temperature(0), 22 + 21.85 / 10.25, 0.01);
    const auto count = [&] { return chassis->bus().readRegister(0x41, 0x36).value(); };
    plant.setFanLocked(1, true);
    EXPECT_EQ(count(), 0xFF);
    plant.setFanLocked(1, false);
    plant.advance(20);
    EXPECT_EQ(count(), 33);
    chassis->pullFan(1);
    EXPECT_EQ(count(), 0xFF);
}

TEST(Plant, RailsDriftByTheHour) {
    const auto chassis = makeChassis("w83792ad");
    Plant plant(*chassis);
    plant.setRailDrift("12", -1.2);
    plant.advance(3600);
    EXPECT_NEAR(chassis->rails()[1].volts, 10.8, 1e-6);
    EXPECT_EQ(chassis->bus().readRegister(0x2C, 0x22), 675 >> 2);
    EXPECT_EQ(chassis->rails()[0].volts, 5);
}

TEST(Plant, StepsAreTheSameHoweverTimeComes) {
    const auto chassis = makeChassis("vsc055"), otherChassis = makeChassis("vsc055");
    Plant plant(*chassis), other(*otherChassis);
    plant.setInlet(35);
    other.setInlet(35);
    plant.advance(100);
    for (int n = 0; n < 3200; ++n) {
        other.advance(0.03125);
    }
    EXPECT_EQ(plant.temperature(2), other.temperature(2));
    EXPECT_EQ(plant.temperature(2), 0x1.281cf369fe5cap+5) << "to the last bit on every machine";
}

TEST(Plant, RefusesWhatIsNotThereOrOutOfRange) {
    const auto chassis = makeChassis("vsc055");
    Plant plant(*chassis);
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
