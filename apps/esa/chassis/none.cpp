// SPDX-License-Identifier: Apache-2.0
// No enclosure services: nothing is brought up, polled or acted on; the pages answer what peers
// asked for.
#include "chassis/table.h"

namespace {

constexpr EsaPersonalityName_t NAMES[] = {
    {R"("Korvo Standard")", "ESA_K_NAME_STRING_KORVO_STANDARD"},
};

}  // namespace

constexpr EsaChassis_t ESA_CHASSIS_NONE = {
    .facts = {.title = "none",
              .words = "no enclosure services",
              .fans = 0,
              .sensors = 0,
              .surplusSensors = EsaSurplusSensors_e::NOT_ASKED,
              .tachometerClock = 0,
              .slowLooksStopped = false,
              .divisorHighest = 255,
              .hottest = 0},
    .names = NAMES,
    .setup = {.deviceMaxNumber = 16, .powerSupplyMaxNumber = 3},
    .init = ESA_NOT_FITTED,
    .initSuccessText = nullptr,
    .initFailureText = nullptr,
    .poll = ESA_NOT_FITTED,
    .supplyInputs = {},
    .supplyPageStatus = ESA_NOT_FITTED,
    .supplyFaultIndicate = ESA_NOT_FITTED,
    .fanSpeedRead = ESA_NOT_FITTED,
    .fanSweepEndsWhenUnavailable = false,
    .fanSpeedDivisor = 0,
    .fanLoad = ESA_NOT_FITTED,
    .loadAtStart = {0},
    .policyFans = 0,
    .fanFaultShow = ESA_NOT_FITTED,
    .fanSwitch = ESA_NOT_FITTED,
    .fanGroupSize = 1,
    .fanPageStatus = ESA_NOT_FITTED,
    .temperatureRead = ESA_NOT_FITTED,
    .temperatureSensors = 0,
    .temperaturesPoll = ESA_NOT_FITTED,
    .temperaturesPageRead = ESA_NOT_FITTED,
    .alarmSet = ESA_NOT_FITTED,
    .alarmRunsByItself = false,
    .alarmSilenced = ESA_NOT_FITTED,
    .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
    .alarmPageState = ESA_NOT_FITTED,
    .alarmPoll = ESA_NOT_FITTED,
    .driveLedSet = ESA_NOT_FITTED,
    .driveLedClear = ESA_NOT_FITTED,
    .drivePresent = ESA_NOT_FITTED,
    .i2cDevices = {},
};
static_assert(esaChassisIsSound(ESA_CHASSIS_NONE));
