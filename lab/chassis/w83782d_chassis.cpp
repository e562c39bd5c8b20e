// SPDX-License-Identifier: Apache-2.0
// Wiring of the W83782D chassis.
#include "lab/chassis/w83782d_chassis.h"

#include "lab/chassis/kind.h"

namespace enclab {

// The second and the third fan hang on the third and the fourth PWM output: PWMOUT2 is not used.
W83782dChassis::W83782dChassis(const W83782dBoardOptions& options)
    : W83782dBoard({kMonitorAddress}, {{0, 0, 0}, {0, 1, 2}, {0, 2, 3}}, options) {
    addDevice("w83782d", kMonitorAddress, monitors_[0]);
    start();
}

namespace {

constexpr KORVO_E_CHASSIS_e kTypes[] = {KORVO_E_CHASSIS_KORVO_W83782D};

std::unique_ptr<Chassis> make(const ChassisTuning&) {
    return std::make_unique<W83782dChassis>();
}

}  // namespace

constinit const ChassisKind kinds::w83782d = {.types = kTypes, .make = make};

}  // namespace enclab
