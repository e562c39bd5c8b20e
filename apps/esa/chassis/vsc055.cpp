// SPDX-License-Identifier: Apache-2.0
// Vitesse VSC055 with LM75 sensors beside it, the prequalified wiring: start-up and run time. What
// is read back at start-up is only logged; the shadows are what the service wrote.
#include "chassis/vsc055.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "bus/esa_i2c.h"
#include "bus/probe.h"
#include "chips/lm75.h"
#include "chips/tachometer.h"
#include "chips/vsc055.h"
#include "policy/poll.h"
#include "policy/supply.h"
#include "state/alarm_name.h"
#include "state/esa_trace.h"

// Ports and bits of this wiring.
constexpr int PORT_FAN_POWER = 1;  // bit n: fan n has power
constexpr int PORT_SUPPLY = 4;
constexpr U8_t SUPPLY_REDUNDANT = 0x80;    // input
constexpr U8_t SUPPLY_ALARM_CLEAR = 0x40;  // low pulse clears
constexpr U8_t SUPPLY_START = 0x50;        // alarm clear idle, and the output the board wants high
constexpr Vsc055LedPorts_t LED_PORTS = {6, 7};
constexpr U8_t LEDS_ALL_OFF = 0xFF;
constexpr U8_t LEDS_ALL_LIT = 0x00;

constexpr U8_t DIRECTIONS[VSC055_PORTS] = {0xFF, 0x00, 0xFF, 0xFF, 0x80, 0x00, 0x00, 0x00};
constexpr U8_t FAN_CONTROL = 0x81;
constexpr U8_t LOAD_AT_START = 50;  // percent
constexpr unsigned LAMP_TEST_SEC = 3;

constexpr U8_t SPEED_NO_PULSES = 0xFF;
constexpr U8_t SPEED_STANDSTILL = 0;

constexpr U8_t LM75_REG_PROBE = 0x00;
constexpr U32_t FAULT_BIT_LM75(int sensor) {
    return U32_t{2} << sensor;
}

struct DutyCode_t {
    U8_t percent;
    U8_t code;
};
constexpr DutyCode_t DUTY_CODES[] = {{0, 0x00}, {25, 0x27}, {50, 0x2F}, {75, 0x37}, {100, 0x3F}};

// ---- start-up ----

static ESA_CODE_e sensorsProbe() {
    const int sensors = esaBounded(esaControl.temperatureSensorMaxNumber, ESA_K_LM75_MAX);
    for (int sensor = 0; sensor < sensors; ++sensor) {
        U8_t value = 0;
        if (esaProbe(esaControl.i2cAddressLM75[sensor], LM75_REG_PROBE, &value)) {
            continue;
        }
        lm75UnreadableTrace(esaControl.i2cAddressLM75[sensor]);
        esaControl.i2cConnected = 0;
        esaProbeMark(FAULT_BIT_LM75(sensor));
        ESA_TRACE("Now marking Fault on I2C Device with Address [0x%x].",
                  esaControl.i2cAddressLM75[sensor]);
        esaI2CStatusEventSend(ESA_E_EVENT_INFO_I2C_BUS_STATUS, 0, ESA_E_GENERR);
        return ESA_E_GENERR_I2C_UNAVAILABLE;
    }
    return ESA_E_OK;
}

static ESA_CODE_e portsTrace() {
    ESA_TRACE("Read VSC055_GPD Register");
    for (int port = 0; port < VSC055_PORTS; ++port) {
        U8_t value = 0;
        const ESA_CODE_e code = vsc055RegisterRead(VSC055_REG_GPD(port), &value);
        if (code != ESA_E_OK) {
            return code;
        }
        ESA_TRACE("Read VSC055_GPD[%d] Register, returned value = [0x%x]", port, value);
    }
    return ESA_E_OK;
}

static void fansStart(int fans) {
    for (U8_t fan = 0; fan < fans; ++fan) {
        esaVsc055FanPwmLoad(fan, LOAD_AT_START);
        esaControl.fanPwmLoad[fan] = LOAD_AT_START;
        esaControl.coolingElementOnOff[fan] = ESA_E_FAN_ON;
    }
}

static void ledsWrite(U8_t value) {
    vsc055PortWrite(LED_PORTS.low, value);
    vsc055PortWrite(LED_PORTS.high, value);
}

// All LEDs, whatever the number of drives.
static void lampTest() {
    ledsWrite(LEDS_ALL_OFF);
    ledsWrite(LEDS_ALL_LIT);
    sleep(LAMP_TEST_SEC);
    ledsWrite(LEDS_ALL_OFF);
}

static void fanControlsSetup(int fans) {
    for (int fan = 0; fan < fans; ++fan) {
        U8_t& shadow = esaControl.vitesse.vsc055FSC[fan];
        shadow = FAN_CONTROL;
        ESA_TRACE("Initialize vsc055FSC[%d] Register with value = [0x%x]", fan, shadow);
        vsc055RegisterWrite(VSC055_REG_FSC(fan), shadow);
    }
}

ESA_CODE_e esaVsc055Init() {
    ESA_CODE_e code = vsc055Probe(ESA_E_EVENT_INFO_I2C_BUS_STATUS);
    if (code != ESA_E_OK) {
        return code;
    }
    std::copy(std::begin(DIRECTIONS), std::end(DIRECTIONS), esaControl.vitesse.vsc055DDP);
    vsc055PortBitsSet(PORT_SUPPLY, SUPPLY_START);
    esaVsc055AlarmStateBackplaneSet(ESA_E_ALARM_STATE_MUTE_S3);
    esaControl.alarmState = ESA_E_ALARM_STATE_MUTE_S3;
    for (auto step : {vsc055DirectionsSetup, portsTrace, sensorsProbe}) {
        code = step();
        if (code != ESA_E_OK) {
            return code;
        }
    }
    const int fans = esaBounded(esaControl.coolingMaxNumber, SES_K_FANS_MAX);
    fansStart(fans);
    lampTest();
    esaControl.powerSupplyStatus |= ESA_K_POWER_VOLTAGE_OK | ESA_K_POWER_REDUNDANCY_OK;
    fanControlsSetup(fans);
    return ESA_E_OK;
}

// ---- fans ----

static bool fanKnown(int fanInx) {
    if (fanInx >= 0 && fanInx < SES_K_FANS_MAX) {
        return true;
    }
    ESA_TRACE("Un-supported Fan Number = [%d]", fanInx);
    return false;
}

static const DutyCode_t* dutyCodeOf(U8_t percent) {
    for (const DutyCode_t& duty : DUTY_CODES) {
        if (duty.percent == percent) {
            return &duty;
        }
    }
    return nullptr;
}

void esaVsc055FanPwmLoad(U8_t fanInx, U8_t pwmPercentage) {
    ESA_TRACE("Load PWM [%d] Percent to Fan [%d]", pwmPercentage, fanInx);
    const DutyCode_t* duty = dutyCodeOf(pwmPercentage);
    if (duty == nullptr) {
        ESA_TRACE("Un-supported PWM Percentage [%d]", pwmPercentage);
        return;
    }
    if (!fanKnown(fanInx)) {
        return;
    }
    esaControl.vitesse.vsc055PWMC[fanInx] = duty->code;
    vsc055RegisterWrite(VSC055_REG_PWMC(fanInx), esaControl.vitesse.vsc055PWMC[fanInx]);
    if (pwmPercentage == 0) {
        vsc055PortBitsClear(PORT_FAN_POWER, static_cast<U8_t>(1 << fanInx));
    }
}

ESA_CODE_e esaVsc055FanSpeedRead(int fanInx, U16_t* fanRpmSpeedPtr) {
    if (!fanKnown(fanInx)) {
        return ESA_E_GENERR;
    }
    U8_t value = 0;
    const ESA_CODE_e code = vsc055RegisterRead(VSC055_REG_FAN_SPEED(fanInx), &value);
    if (code != ESA_E_OK) {
        return code;
    }
    ESA_TRACE("Fan [%d] has Vitesse Fan Speed value = [%d].", fanInx, value);
    if (value == SPEED_NO_PULSES) {
        ESA_TRACE("No tachometer pulses present, NOT able to read speed for Fan [%d].", fanInx);
        ESA_TRACE("Return read error for Fan [%d].", fanInx);
        return ESA_E_GENERR;
    }
    if (value == SPEED_STANDSTILL) {
        ESA_TRACE("Fan [%d] has speed [0].", fanInx);
        *fanRpmSpeedPtr = 0;
        return ESA_E_OK;
    }
    *fanRpmSpeedPtr = esaTachometerRpm(fanInx, ESA_K_TACHOMETER_CLOCK_VSC055, value);
    return ESA_E_OK;
}

// ---- drive fault LEDs ----

static ESA_CODE_e driveLedWrite(int driveNumber, bool lit) {
    return vsc055DriveLedWrite(LED_PORTS, driveNumber, lit, true) ? ESA_E_OK : ESA_E_GENERR;
}

ESA_CODE_e esaVsc055DriveFaultLEDSet(int driveNumber) {
    ESA_TRACE("Set Fault LED on Drive [%d]", driveNumber);
    return driveLedWrite(driveNumber, true);
}

ESA_CODE_e esaVsc055DriveFaultLEDClear(int driveNumber) {
    ESA_TRACE("Clear Fault LED on Drive [%d]", driveNumber);
    return driveLedWrite(driveNumber, false);
}

// ---- supplies and alarm ----

ESA_CODE_e esaVsc055PowerRedundancyFailStatusRead() {
    U8_t value = 0;
    const ESA_CODE_e code = vsc055RegisterRead(VSC055_REG_GPD(PORT_SUPPLY), &value);
    if (code != ESA_E_OK) {
        return code;
    }
    if ((value & SUPPLY_REDUNDANT) == 0) {
        ESA_TRACE("Return Power Fail Status [ERROR].");
        return ESA_E_GENERR;
    }
    ESA_TRACE("Return Power Fail Status [OK].");
    return ESA_E_OK;
}

void esaVsc055SupplyPageStatus(int supply, PowerSupplyElementStat_t* element,
                               EsaPageChange_t* change) {
    const bool ok = esaVsc055PowerRedundancyFailStatusRead() == ESA_E_OK;
    esaSupplyPageUpdate(ESA_SUPPLY_REDUNDANCY, ok, supply, element, change);
}

void esaVsc055AlarmStatePowerSupplyClear() {
    ESA_TRACE("Clear the Alarm on the Power Supply.");
    vsc055PortBitsClear(PORT_SUPPLY, SUPPLY_ALARM_CLEAR);
    vsc055PortBitsSet(PORT_SUPPLY, SUPPLY_ALARM_CLEAR);
}

void esaVsc055AlarmStateBackplaneSet(EsaAlarmState_e alarmState) {
    const char* name = esaAlarmStateName(alarmState);
    if (name == nullptr) {
        ESA_TRACE("Set Backplane Alarm State to un-supported value [%d].", alarmState);
        return;
    }
    ESA_TRACE("Set Backplane Alarm State to [%s].", name);
}

EsaAlarmState_e esaVsc055AlarmStateRead() {
    const U8_t state = static_cast<U8_t>(esaControl.alarmState);
    const char* name = esaAlarmStateNameAsRead(state);
    if (name == nullptr) {
        ESA_TRACE("Read the Alarm State as un-supported value [%d].", state);
    } else {
        ESA_TRACE("Read the Alarm State as [%s].", name);
    }
    return static_cast<EsaAlarmState_e>(state);
}

// ---- poll ----

static void supplyPoll() {
    const ESA_CODE_e code = esaVsc055PowerRedundancyFailStatusRead();
    if (code != ESA_E_GENERR_I2C_UNAVAILABLE) {
        esaSupplyConditionPoll(ESA_SUPPLY_REDUNDANCY, code == ESA_E_OK);
    }
}

static S16_t sensorRead(int sensor) {
    const U8_t address = esaControl.i2cAddressLM75[sensor];
    const S16_t degrees = lm75TemperatureRead(address);
    if (degrees == ESA_K_TEMPERATURE_UNREADABLE) {
        lm75UnreadableTrace(address);
    }
    return degrees;
}

static void temperaturesPoll() {
    const int sensors = esaBounded(esaControl.temperatureSensorMaxNumber, ESA_K_LM75_MAX);
    for (int sensor = 0; sensor < sensors; ++sensor) {
        esaTemperatureStore(sensor, sensorRead(sensor));
    }
}

// Of an unreadable sensor a page says nothing more.
void esaVsc055TemperaturesRead() {
    const int sensors = esaBounded(esaControl.temperatureSensorMaxNumber, ESA_K_LM75_MAX);
    for (int sensor = 0; sensor < sensors; ++sensor) {
        const S16_t degrees = sensorRead(sensor);
        if (degrees == ESA_K_TEMPERATURE_UNREADABLE) {
            esaControl.temperatureSensor[sensor] = degrees;
        } else {
            esaTemperatureStore(sensor, degrees);
        }
    }
}

static void alarmPoll() {
    const char* name = esaAlarmStateName(esaVsc055AlarmStateRead());
    if (name == nullptr) {
        ESA_TRACE("Alarm State is set to un-supported value [%d].", esaVsc055AlarmStateRead());
        return;
    }
    ESA_TRACE("Alarm State is set to [%s].", name);
}

void esaVsc055PollTimeoutProcess() {
    supplyPoll();
    esaFansPoll();
    temperaturesPoll();
    esaPoliciesPoll();
    alarmPoll();
}
