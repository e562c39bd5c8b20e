// SPDX-License-Identifier: Apache-2.0
#include "tests/story/rows.h"

#include "lab/chassis/chenbro_chassis.h"
#include "lab/chassis/vsc055_chassis.h"
#include "lab/chassis/w83782d_chassis.h"
#include "lab/chassis/w83792ad_chassis.h"
#include "lab/chassis/xyratex_chassis.h"

namespace {

// Nothing at all.
class NoChassis : public enclab::Chassis {
  public:
    NoChassis() : Chassis({}) {}

  private:
    double drivenPercent(int) const override { return 0; }
    void wireFan(int, double) override {}
    void wireTemperature(int, double) override {}
};

template <typename Type>
std::unique_ptr<enclab::Chassis> make() {
    return std::make_unique<Type>();
}

// The address is not in any personality file.
void w83782dAddress() {
    esaControl.i2cAddressW83782d = enclab::W83782dChassis::kMonitorAddress;
}

StoryRow vsc055(const char* name, KORVO_E_CHASSIS_e type) {
    return {.name = name,
            .chassis = make<enclab::Vsc055Chassis>,
            .board = Board::vsc055,
            .type = type,
            .selected = KORVO_E_CHASSIS_KORVO_VSC055,
            .fanSpeedDivisor = 4,
            .supplies = 2,
            .fullRpm = 9000,
            .loadAtStart = 50,
            .informationAtStart = 2,
            .devices = {{"vsc055", 0x001, 3, 0},
                        {"lm75-0", 0x002, 4, 0},
                        {"lm75-1", 0x004, 4, 1},
                        {"lm75-2", 0x008, 4, 2},
                        {"lm75-3", 0x010, 4, 3}}};
}

const StoryRow ROWS[] = {
    {.name = "Xyratex",
     .chassis = make<enclab::XyratexChassis>,
     .board = Board::xyratex,
     .type = KORVO_E_CHASSIS_XYRATEX_2U12ATX,
     .selected = KORVO_E_CHASSIS_XYRATEX_2U12ATX,
     .fanSpeedDivisor = 1,
     .slots = 12,
     .supplies = 2,
     .fullRpm = 20000,
     .loadAtStart = 25,
     .informationAtStart = 3,
     .devices = {{"vsc055", 0x001, 3, 0}, {"lm75-0", 0x002, 4, 0}, {"lm75-1", 0x004, 4, 1}}},
    vsc055("TolVex", KORVO_E_CHASSIS_PELTO_TOLVEX),
    vsc055("Vsc055", KORVO_E_CHASSIS_KORVO_VSC055),
    {.name = "W83782d",
     .chassis = make<enclab::W83782dChassis>,
     .board = Board::w83782d,
     .type = KORVO_E_CHASSIS_KORVO_W83782D,
     .fanSpeedDivisor = 2,
     .afterInit = w83782dAddress,
     .supplies = 2,
     .fullRpm = 12000,
     .loadAtStart = 100,
     .informationAtStart = 5,
     .devices = {{"w83782d", 0x001, 0, 0}},
     .ownTuning = {{"coolingMaxNumber", 3},
                   {"temperatureSensorMaxNumber", 3},
                   {"fanFaultRpmLimit", 500},
                   {"overheatTemperatureLimit", 60},
                   {"fanPwm25To50TemperatureThreshold", 35},
                   {"fanPwm50To75TemperatureThreshold", 38},
                   {"fanPwm75To100TemperatureThreshold", 40},
                   {"fanPwm100To75TemperatureThreshold", 35},
                   {"fanPwm75To50TemperatureThreshold", 34},
                   {"fanPwm50To25TemperatureThreshold", 32}}},
    {.name = "W83792ad",
     .chassis = make<enclab::W83792adChassis>,
     .board = Board::w83792ad,
     .type = KORVO_E_CHASSIS_KORVO_W83792AD,
     .selected = KORVO_E_CHASSIS_KORVO_W83792AD,
     .fanSpeedDivisor = 2,
     .supplies = 2,
     .fullRpm = 9000,
     .loadAtStart = 50,
     .informationAtStart = 6,
     .loadAtPowerOn = 93.75,
     .lastingFaults = 0x1,
     .devices = {{"w83792ad", 0x100, 6, 0}, {"pca9539", 0x200, 7, 0}}},
    {.name = "Chenbro",
     .chassis = make<enclab::ChenbroChassis>,
     .board = Board::chenbro,
     .type = KORVO_E_CHASSIS_CHENBRO_3U16ATX,
     .fanSpeedDivisor = 2,
     .fullRpm = 12000,
     .loadAtStart = 50,
     .informationAtStart = 5,
     .devices = {{"w83782d-0", 0x001, 0, 0},
                 {"w83782d-1", 0x001, 0, 0},
                 {"w83782d-2", 0x001, 0, 0},
                 {"w83782d-3", 0x001, 0, 0},
                 {"w83782d-1/2", 0x001, 0, 0}},
     .ownTuning = {{"coolingMaxNumber", 6},
                   {"temperatureSensorMaxNumber", 4},
                   {"fanFaultRpmLimit", 500}}},
};

const StoryRow NONE = {.name = "None", .chassis = make<NoChassis>};

}  // namespace

std::span<const StoryRow> storyRows() {
    return ROWS;
}

const StoryRow& noneRow() {
    return NONE;
}
