// SPDX-License-Identifier: Apache-2.0
// Vitesse VSC055 with LM75 sensors beside it, the prequalified wiring: start-up and run time. What
// is read back at start-up is only logged; the shadows are what the service wrote.
#include "backend/vsc055.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "backend/alarm_name.h"
#include "backend/lm75.h"
#include "backend/supply.h"
#include "backend/tachometer.h"
#include "esa_trace.h"
#include "i2c.h"
#include "i2c/esa_i2c.h"
#include "policy/esa_policy.h"

// Ports and bits of this wiring.
constexpr int PORT_FAN_POWER = 1;  // bit n: fan n has power
constexpr int PORT_SUPPLY = 4;
constexpr U8_t SUPPLY_REDUNDANT = 0x80;    // input
constexpr U8_t SUPPLY_ALARM_CLEAR = 0x40;  // low pulse clears
constexpr U8_t SUPPLY_START = 0x50;        // alarm clear idle, and the output the board wants high
constexpr int PORT_LEDS_LOW = 6;           // drives 0 to 7, 0 = lit
constexpr int PORT_LEDS_HIGH = 7;          // drives 8 to 15, 0 = lit
constexpr int DRIVES_PER_PORT = 8;
constexpr U8_t LEDS_ALL_OFF = 0xFF;
constexpr U8_t LEDS_ALL_LIT = 0x00;

constexpr U8_t DIRECTIONS[VSC055_PORTS] = {0xFF, 0x00, 0xFF, 0xFF, 0x80, 0x00, 0x00, 0x00};
constexpr U8_t FAN_CONTROL = 0x81;
constexpr U8_t LOAD_AT_START = 50;  // percent
constexpr unsigned LAMP_TEST_SEC = 3;

constexpr U8_t SPEED_NO_PULSES = 0xFF;
constexpr U8_t SPEED_STANDSTILL = 0;
constexpr U32_t SPEED_CLOCK = 1200000;  // RPM at count 1 and divisor 1

constexpr U8_t LM75_REG_PROBE = 0x00;
constexpr U32_t FAULT_BIT_VSC055 = 0x001;
constexpr U32_t FAULT_BIT_LM75(int sensor) {
    return U32_t{2} << sensor;
}

struct DutyCode_t {
    U8_t percent;
    U8_t code;
};
constexpr DutyCode_t DUTY_CODES[] = {{0, 0x00}, {25, 0x27}, {50, 0x2F}, {75, 0x37}, {100, 0x3F}};

constexpr EsaSupplyCondition_t REDUNDANCY = {
    ESA_K_FAULT_POWER_SUPPLY_REDUNDANCY,
    ESA_K_POWER_REDUNDANCY_OK,
    {nullptr, "Power Redundancy Status already [OK]."},
    {nullptr, "Power Redundancy Status already [NOT OK]."},
};

static ESA_CODE_e registerRead(U8_t number, U8_t* value) {
    return esaI2CDataRead(esaControl.i2cAddressVsc055, number, value, 1);
}

static void registerWrite(U8_t number, const U8_t& shadow) {
    esaI2CDataWrite(esaControl.i2cAddressVsc055, number, &shadow, 1);
}

static void portWrite(int port, U8_t value) {
    esaControl.vitesse.vsc055GPD[port] = value;
    registerWrite(VSC055_REG_GPD(port), esaControl.vitesse.vsc055GPD[port]);
}

static void portBitsSet(int port, U8_t bits) {
    portWrite(port, esaControl.vitesse.vsc055GPD[port] | bits);
}

static void portBitsClear(int port, U8_t bits) {
    portWrite(port, esaControl.vitesse.vsc055GPD[port] & static_cast<U8_t>(~bits));
}

// ---- start-up ----

// A device that is not there is marked by hand: probes go round the fault tracking.
static bool probeFails(U8_t i2cAddr, U8_t number) {
    U8_t value = 0;
    return read_i2c_data(esaControl.i2cFileFd, i2cAddr, number, &value, 1) == -1;
}

static void deviceMissing(U32_t faultBit) {
    esaControl.i2cDeviceFaultStatus |= faultBit;
    esaCompositeFaultManage(ESA_K_FAULT_I2C_BUS, ESA_E_GENERR);
}

static void probeAnswered() {
    ESA_TRACE("Read I2C succeeds. I2C cable is connected");
    esaControl.i2cConnected = 1;
}

static ESA_CODE_e controllerProbe() {
    if (!probeFails(esaControl.i2cAddressVsc055, VSC055_REG_DDP(0))) {
        probeAnswered();
        return ESA_E_OK;
    }
    ESA_TRACE("Read I2C fails. I2C cable is not connected or wrong enclosure type.");
    ESA_TRACE("Now marking Fault on I2C Device with Address [0x%x].", esaControl.i2cAddressVsc055);
    deviceMissing(FAULT_BIT_VSC055);
    esaI2CStatusEventSend(ESA_E_EVENT_INFO_I2C_BUS_STATUS, 0, ESA_E_GENERR);
    return ESA_E_GENERR_I2C_UNAVAILABLE;
}

static void sensorUnreadableTrace(int sensor) {
    ESA_TRACE(
        "Read I2C fails with LM75 Address [0x%x]. I2C cable is not connected or wrong enclosure "
        "type.",
        esaControl.i2cAddressLM75[sensor]);
}

static ESA_CODE_e sensorsProbe() {
    const int sensors = esaBounded(esaControl.temperatureSensorMaxNumber, ESA_K_LM75_MAX);
    for (int sensor = 0; sensor < sensors; ++sensor) {
        if (!probeFails(esaControl.i2cAddressLM75[sensor], LM75_REG_PROBE)) {
            probeAnswered();
            continue;
        }
        sensorUnreadableTrace(sensor);
        esaControl.i2cConnected = 0;
        deviceMissing(FAULT_BIT_LM75(sensor));
        ESA_TRACE("Now marking Fault on I2C Device with Address [0x%x].",
                  esaControl.i2cAddressLM75[sensor]);
        esaI2CStatusEventSend(ESA_E_EVENT_INFO_I2C_BUS_STATUS, 0, ESA_E_GENERR);
        return ESA_E_GENERR_I2C_UNAVAILABLE;
    }
    return ESA_E_OK;
}

static ESA_CODE_e directionsSetup() {
    ESA_TRACE("Setup the data direction for all VSC055 ports.");
    for (int port = 0; port < VSC055_PORTS; ++port) {
        const U8_t& shadow = esaControl.vitesse.vsc055DDP[port];
        registerWrite(VSC055_REG_DDP(port), shadow);
        ESA_TRACE("ESA internal database, esaControl.vitesse.vsc055DDP[%d] = [0x%x]", port, shadow);
        U8_t value = 0;
        const ESA_CODE_e code = registerRead(VSC055_REG_DDP(port), &value);
        if (code != ESA_E_OK) {
            return code;
        }
        ESA_TRACE("Read VSC055_DDP[%d] Register, returned value = [0x%x]", port, value);
    }
    return ESA_E_OK;
}

static ESA_CODE_e portsTrace() {
    ESA_TRACE("Read VSC055_GPD Register");
    for (int port = 0; port < VSC055_PORTS; ++port) {
        U8_t value = 0;
        const ESA_CODE_e code = registerRead(VSC055_REG_GPD(port), &value);
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
    portWrite(PORT_LEDS_LOW, value);
    portWrite(PORT_LEDS_HIGH, value);
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
        registerWrite(VSC055_REG_FSC(fan), shadow);
    }
}

ESA_CODE_e esaVsc055Init() {
    ESA_CODE_e code = controllerProbe();
    if (code != ESA_E_OK) {
        return code;
    }
    std::copy(std::begin(DIRECTIONS), std::end(DIRECTIONS), esaControl.vitesse.vsc055DDP);
    portBitsSet(PORT_SUPPLY, SUPPLY_START);
    esaVsc055AlarmStateBackplaneSet(ESA_E_ALARM_STATE_MUTE_S3);
    esaControl.alarmState = ESA_E_ALARM_STATE_MUTE_S3;
    for (auto step : {directionsSetup, portsTrace, sensorsProbe}) {
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
    registerWrite(VSC055_REG_PWMC(fanInx), esaControl.vitesse.vsc055PWMC[fanInx]);
    if (pwmPercentage == 0) {
        portBitsClear(PORT_FAN_POWER, static_cast<U8_t>(1 << fanInx));
    }
}

ESA_CODE_e esaVsc055FanSpeedRead(int fanInx, U16_t* fanRpmSpeedPtr) {
    if (!fanKnown(fanInx)) {
        return ESA_E_GENERR;
    }
    U8_t value = 0;
    const ESA_CODE_e code = registerRead(VSC055_REG_FAN_SPEED(fanInx), &value);
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
    *fanRpmSpeedPtr = esaTachometerRpm(fanInx, SPEED_CLOCK, value);
    return ESA_E_OK;
}

// ---- drive fault LEDs ----

static ESA_CODE_e driveLedWrite(int driveNumber, bool lit) {
    const bool low = driveNumber >= 0 && driveNumber < DRIVES_PER_PORT;
    const bool high = driveNumber >= DRIVES_PER_PORT &&
                      driveNumber < esaBounded(esaControl.deviceMaxNumber, SES_K_DEVICES_MAX);
    if (!low && !high) {
        ESA_TRACE("Un-supported Drive Number = [%d]", driveNumber);
        return ESA_E_GENERR;
    }
    const int port = low ? PORT_LEDS_LOW : PORT_LEDS_HIGH;
    const U8_t bit = static_cast<U8_t>(1 << (driveNumber % DRIVES_PER_PORT));
    U8_t& shadow = esaControl.vitesse.vsc055GPD[port];
    shadow = lit ? shadow & static_cast<U8_t>(~bit) : shadow | bit;
    ESA_TRACE("vsc055GPD[%d] = [0x%x]", port, shadow);
    registerWrite(VSC055_REG_GPD(port), shadow);
    return ESA_E_OK;
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
    const ESA_CODE_e code = registerRead(VSC055_REG_GPD(PORT_SUPPLY), &value);
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
    element->commonStatus =
        ok ? SES_E_ELEMENT_STATUS_CODE_OK : SES_E_ELEMENT_STATUS_CODE_NOT_INSTALLED;
    change->powerSupply = esaSupplyConditionUpdate(REDUNDANCY, ok) || change->powerSupply;
    element->acFail = 0;
    element->fail = esaSupplyPageFail(supply, REDUNDANCY.faultBit);
}

void esaVsc055AlarmStatePowerSupplyClear() {
    ESA_TRACE("Clear the Alarm on the Power Supply.");
    portBitsClear(PORT_SUPPLY, SUPPLY_ALARM_CLEAR);
    portBitsSet(PORT_SUPPLY, SUPPLY_ALARM_CLEAR);
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
        esaSupplyConditionPoll(REDUNDANCY, code == ESA_E_OK);
    }
}

static void fansPoll() {
    const ESA_CODE_e code = esaFanFailStatusRead();
    if (code != ESA_E_GENERR_I2C_UNAVAILABLE) {
        esaCompositeFaultManage(ESA_K_FAULT_FAN, code);
    }
}

static bool sensorRead(int sensor) {
    esaControl.temperatureSensor[sensor] = lm75TemperatureRead(esaControl.i2cAddressLM75[sensor]);
    if (esaControl.temperatureSensor[sensor] != ESA_K_TEMPERATURE_UNREADABLE) {
        return true;
    }
    sensorUnreadableTrace(sensor);
    return false;
}

static void sensorTrace(int sensor) {
    ESA_TRACE("temperatureSensor[%d] = [%d] degrees Celsius.", sensor,
              esaControl.temperatureSensor[sensor]);
}

static void temperaturesPoll() {
    const int sensors = esaBounded(esaControl.temperatureSensorMaxNumber, ESA_K_LM75_MAX);
    for (int sensor = 0; sensor < sensors; ++sensor) {
        sensorRead(sensor);
        sensorTrace(sensor);
    }
}

void esaVsc055TemperaturesRead() {
    const int sensors = esaBounded(esaControl.temperatureSensorMaxNumber, ESA_K_LM75_MAX);
    for (int sensor = 0; sensor < sensors; ++sensor) {
        if (sensorRead(sensor)) {
            sensorTrace(sensor);
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
    fansPoll();
    temperaturesPoll();
    esaTemperatureFanPolicyFlexibleThreshold();
    esaTemperatureEventLog();
    esaTemperatureOverheatCheck();
    alarmPoll();
}
