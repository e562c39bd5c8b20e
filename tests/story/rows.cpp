// SPDX-License-Identifier: Apache-2.0
#include "tests/story/rows.h"

#include "lab/chassis/chenbro_chassis.h"
#include "lab/chassis/vsc055_chassis.h"
#include "lab/chassis/w83782d_chassis.h"
#include "lab/chassis/w83792ad_chassis.h"
#include "lab/chassis/xyratex_chassis.h"
#include "tests/story/registers.h"

namespace {

template <typename Type, auto... Options>
std::unique_ptr<enclab::Chassis> make() {
    return std::make_unique<Type>(Options...);
}

// The address is not in any personality file.
void w83782dAddress() {
    esaControl.i2cAddressW83782d = enclab::W83782dChassis::kMonitorAddress;
}

using Wiring = enclab::ChenbroChassis::Wiring;

constexpr StoryRow chenbroRow(const char* name, const char* story,
                              std::unique_ptr<enclab::Chassis> (*chassis)()) {
    return {name, story, chassis, KORVO_E_CHASSIS_CHENBRO_3U16ATX, 2, true, nullptr, 0};
}

constexpr StoryRow plainRow(const char* name, const char* story) {
    return {name,    story, make<RegisterChassis>,           KORVO_E_CHASSIS_NONE, 0, false,
            nullptr, 0,     "log bus messages result fields"};
}

constexpr StoryRow ROWS[] = {
    {"Xyratex", "xyratex", make<enclab::XyratexChassis>, KORVO_E_CHASSIS_XYRATEX_2U12ATX, 1, false,
     nullptr, 0},
    {"TolVex", "vsc055", make<enclab::Vsc055Chassis>, KORVO_E_CHASSIS_PELTO_TOLVEX, 4, false,
     nullptr, 0},
    {"Vsc055", "vsc055", make<enclab::Vsc055Chassis>, KORVO_E_CHASSIS_KORVO_VSC055, 4, false,
     nullptr, 0},
    {"W83782d", "w83782d", make<enclab::W83782dChassis>, KORVO_E_CHASSIS_KORVO_W83782D, 2, true,
     w83782dAddress, 0},
    {"W83792ad", "w83792ad", make<enclab::W83792adChassis>, KORVO_E_CHASSIS_KORVO_W83792AD, 2, true,
     nullptr, ESA_K_FAULT_POWER_SUPPLY_VOLTAGE_TOLERANCE},
    chenbroRow("Chenbro", "chenbro", make<enclab::ChenbroChassis>),
    chenbroRow("ChenbroByShift", "chenbro_by_shift",
               make<enclab::ChenbroChassis, Wiring::kByShift>),
    chenbroRow("ChenbroInSequence", "chenbro_in_sequence",
               make<enclab::ChenbroChassis, Wiring::kInSequence>),
    plainRow("BringUp", "bring_up"),
    plainRow("Vsc055Operations", "vsc055_operations"),
    plainRow("XyratexOperations", "xyratex_operations"),
    plainRow("WinbondOperations", "winbond_operations"),
    plainRow("Transfers", "transfers"),
    plainRow("Policies", "policies"),
    plainRow("StatusPage", "status_page"),
    plainRow("ControlPage", "control_page"),
};
constexpr std::size_t SOUND = 6;

constexpr StoryRow REGISTERS = plainRow("Registers", "");

}  // namespace

std::span<const StoryRow> soundRows() {
    return std::span(ROWS).first<SOUND>();
}

std::span<const StoryRow> storyRows() {
    return ROWS;
}

const StoryRow& registersRow() {
    return REGISTERS;
}
