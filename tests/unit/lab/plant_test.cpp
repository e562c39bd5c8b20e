// SPDX-License-Identifier: Apache-2.0
// The physics of a chassis against a model of its page (docs/plant.md), which cuts the width into
// strips, each of one slot, one fan and one zone.
#include "lab/plant/plant.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "lab/chassis/catalog.h"
#include "tests/support/hex.h"
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
          fans(std::size_t(made.fans()), Fan{.rpm = made.fanRpm(0)}) {}

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

// Somebody does something. Loads are often where a fan stalls.
void disturb(Plant& plant, Model& model, const Words& duties) {
    Chassis& chassis = model.chassis;
    const int fan = below(chassis.fans()), slot = below(chassis.slots());
    Model::Fan& machine = model.fans[std::size_t(fan)];
    const auto duty = hexBytes(duties[1 + std::size_t(fan)]);
    const std::function<void()> acts[] = {
        [&] { chassis.bus().writeRegister(duty[0], duty[1], byteOf(0x23 + numbers() % 4 * 4)); },
        [&] { plant.setHeat(slot, model.heat[std::size_t(slot)] = below(101)); },
        [&] { plant.setInlet(model.inlet = below(251) / 2.0 - 40); },
        [&] { plant.setFanWear(fan, machine.wear = below(101)); },
        [&] { plant.setFanStall(fan, machine.stall = below(4) * 12.5); },
        [&] {
            plant.setFanLocked(fan, machine.locked = below(3) == 0);
            machine.rpm = machine.locked ? 0 : machine.rpm;
            machine.turns = machine.turns && !machine.locked;
        },
        [&] { below(3) == 0 ? chassis.pullFan(fan) : chassis.returnFan(fan); },
        [&] { chassis.setDrivePresent(slot, below(2) != 0); }};
    acts[below(chassis.parts().drivePresence ? 8 : 7)]();
}

TEST(Plant, DoesWhatItsEquationsSayWhateverHappens) {
    for (const char* const row :
         {"vsc055 4198 4199 419A 419B", "w83792ad 2C81 2C83 2C94 2CA3 2CA4 2CA5",
          "xyratex 6398 6398 6398 6398 6399 6399 6399 6399"}) {
        const auto chassis = makeChassis(Words(row)[0]);
        Plant plant(*chassis);
        Model model(*chassis);
        for (int round = 0; round < 600; ++round) {
            disturb(plant, model, Words(row));
            const int steps = below(60);
            plant.advance(steps / 16.0);
            for (int n = 0; n < steps; ++n) {
                model.step();
            }
            for (int zone = 0; zone < plant.zones(); ++zone) {
                ASSERT_NEAR(chassis->temperature(zone), model.degrees[std::size_t(zone)], 1e-6)
                    << row << " round " << round;
            }
            for (int fan = 0; fan < chassis->fans(); ++fan) {
                const double rpm = model.fans[std::size_t(fan)].rpm;
                ASSERT_NEAR(chassis->fanRpm(fan), chassis->fanPresent(fan) ? rpm : 0, 1e-6)
                    << row << " round " << round;
            }
        }
    }
}

}  // namespace
}  // namespace enclab
