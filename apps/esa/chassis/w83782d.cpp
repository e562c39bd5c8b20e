// SPDX-License-Identifier: Apache-2.0
// The guideline design with one W83782D. No personality file selects it; it brings its own counts
// and tuning values.
#include "chassis/w83782d.h"

#include <algorithm>
#include <iterator>

#include "chassis/table.h"
#include "chips/w83782d.h"
#include "chips/winbond.h"
#include "policy/esa_policy.h"
#include "policy/fan_load.h"
#include "policy/poll.h"
#include "policy/supply.h"
#include "state/esa_trace.h"

namespace {

constexpr U8_t BACKPLANE = ESA_E_CHENBRO_WINBOND_BACKPLANE_INDEX_0;
constexpr U8_t FANS = 3;

void countsSetup() {
    esaControl.elementTypeMaxNumber = SES_K_ELEMENT_TYPES;
    esaControl.deviceMaxNumber = ESA_CHASSIS_W83782D.setup.deviceMaxNumber;
    esaControl.powerSupplyMaxNumber = ESA_CHASSIS_W83782D.setup.powerSupplyMaxNumber;
    esaControl.coolingMaxNumber = FANS;
    esaControl.temperatureSensorMaxNumber = 3;  // though the monitor has one
    esaControl.audibleAlarmMaxNumber = 1;
}

// RPM, degrees Celsius, and the tachometer divisor of this design.
void tuningSetup() {
    esaControl.fanFaultRpmLimit = 500;
    esaControl.overheatTemperatureLimit = 60;
    esaControl.fanPwm25To50TemperatureThreshold = 35;
    esaControl.fanPwm50To75TemperatureThreshold = 38;
    esaControl.fanPwm75To100TemperatureThreshold = 40;
    esaControl.fanPwm100To75TemperatureThreshold = 35;
    esaControl.fanPwm75To50TemperatureThreshold = 34;
    esaControl.fanPwm50To25TemperatureThreshold = 32;
    esaControl.fanSpeedDivisor = ESA_CHASSIS_W83782D.fanSpeedDivisor;
}

ESA_CODE_e voltageRead() {
    return esaW83782dPowerVoltageToleranceStatusRead(esaControl.i2cAddressW83782d);
}

ESA_CODE_e fanSpeedRead(int fan, U16_t* rpm) {
    return esaW83782dFanSpeedRead(esaControl.i2cAddressW83782d, static_cast<U8_t>(fan), rpm);
}

// Duty of 255.
void fanLoad(U8_t fan, EsaPercent_t load) {
    constexpr int dutyPerQuarter = 64;
    const int duty = dutyPerQuarter * (load.percent / 25);
    esaW83782dFanPwmLoad(fan, static_cast<U8_t>(std::min(duty, 255)));
}

// The control page hands its percentage on as a duty, deliberately: on is 100 of 255.
// (compatibility: fan-on-w83782d)
void fanSwitch(U8_t fan, bool on) {
    esaW83782dFanPwmLoad(fan, on ? 100 : 0);
}

S16_t temperatureRead(int sensor) {
    return esaW83782dTemperatureRead(esaControl.i2cAddressW83782d, static_cast<U8_t>(sensor));
}

void alarmSet(EsaAlarmState_e state) {
    esaW83782dAlarmStateSet(esaControl.i2cAddressW83782d, BACKPLANE, state);
}

constexpr EsaSupplyInput_t SUPPLY_INPUTS[] = {
    {.read = voltageRead,
     .polled = ESA_SUPPLY_VOLTAGE,
     .onPage = ESA_SUPPLY_VOLTAGE_PAGE,
     .keptWhenUnavailable = false,
     .isMains = true,
     .follow = ESA_NOT_FITTED},
};

}  // namespace

constexpr EsaChassis_t ESA_CHASSIS_W83782D = {
    .facts = {.title = "W83782D",
              .words = "one W83782D",
              .fans = FANS,
              .sensors = 1,
              .surplusSensors = EsaSurplusSensors_e::LEFT_OUT,
              .tachometerClock = WINBOND_TACHOMETER_CLOCK,
              .slowLooksStopped = true,
              .divisorHighest = 255,
              .hottest = 127},
    .names = {},
    .setup = {.deviceMaxNumber = 16, .powerSupplyMaxNumber = 2},
    .init = esaW83782dInit,
    .initSuccessText = "Finish initializing for the W83782d based Enclosure.",
    .initFailureText = "Initializing for the W83782d based Enclosure fails.",
    .poll = esaW83782dPollTimeoutProcess,
    .supplyInputs = SUPPLY_INPUTS,
    .supplyPageStatus = esaSupplyPageStatus,
    .supplyFaultIndicate = esaSupplyVoltageFaultIndicate,
    .fanSpeedRead = fanSpeedRead,
    .fanSweepEndsWhenUnavailable = false,
    .fanSpeedDivisor = 2,
    .fanLoad = fanLoad,
    .loadAtStart = {100},
    .policyFans = 0,
    .fanFaultShow = ESA_NOT_FITTED,
    .fanSwitch = fanSwitch,
    .fanGroupSize = 1,
    .fanPageStatus = ESA_NOT_FITTED,
    .temperatureRead = temperatureRead,
    .temperatureSensors = 0,
    .temperaturesPoll = esaTemperaturesPoll,
    .temperaturesPageRead = esaTemperaturesRead,
    .alarmSet = alarmSet,
    .alarmRunsByItself = false,
    .alarmSilenced = ESA_NOT_FITTED,
    .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
    .alarmPageState = esaAlarmStateKept,
    .alarmPoll = ESA_NOT_FITTED,
    .driveLedSet = ESA_NOT_FITTED,
    .driveLedClear = ESA_NOT_FITTED,
    .drivePresent = ESA_NOT_FITTED,
    .i2cDevices = {},
};
static_assert(esaChassisIsSound(ESA_CHASSIS_W83782D));

ESA_CODE_e esaW83782dInit() {
    const U8_t address = esaControl.i2cAddressW83782d;
    w83782dShadowReset(BACKPLANE);
    const ESA_CODE_e code = w83782dProbe(address, BACKPLANE);
    if (code != ESA_E_OK) {
        return code;
    }
    // A chassis of another type that starts up here brings its own counts.
    if (esaControl.enclosureType == KORVO_E_CHASSIS_KORVO_W83782D) {
        countsSetup();
    }
    tuningSetup();
    if (w83782dLimitsSetup(address, BACKPLANE) != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    esaFansStart(ESA_CHASSIS_W83782D);
    esaControl.powerSupplyStatus |= ESA_K_POWER_VOLTAGE_OK;
    if (w83782dSensorSetup(address, BACKPLANE, "Setting") != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    esaAlarmMute(ESA_CHASSIS_W83782D);
    ESA_TRACE("Finish the initialization for the W83782D guideline based enclosure.");
    return ESA_E_OK;
}

void esaW83782dPollTimeoutProcess() {
    esaPoll();
}
