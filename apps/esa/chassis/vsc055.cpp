// SPDX-License-Identifier: Apache-2.0
// The prequalified wiring: a VSC055, LM75 sensors beside it, an alarm in software only. What is
// read back at start-up is only logged; the shadows are what the service wrote.
#include "chassis/vsc055.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "bus/esa_i2c.h"
#include "bus/probe.h"
#include "chassis/table.h"
#include "chips/lm75.h"
#include "chips/vsc055.h"
#include "policy/esa_policy.h"
#include "policy/fan_load.h"
#include "policy/poll.h"
#include "policy/supply.h"
#include "state/alarm_name.h"
#include "state/esa_trace.h"

namespace {

constexpr U8_t ADDRESS_VSC055 = 0x41;
constexpr U8_t ADDRESS_LM75[] = {0x4C, 0x4B, 0x4A, 0x4D, 0x4E, 0x4F};  // by sensor
static_assert(SES_K_SENSORS_MAX <= ESA_K_LM75_MAX);

constexpr U32_t FAULT_BIT_VSC055 = 0x001;
constexpr U32_t FAULT_BIT_LM75(int sensor) {
    return U32_t{2} << sensor;
}

// Ports and bits of this wiring.
constexpr int PORT_SUPPLY = 4;
constexpr U8_t SUPPLY_REDUNDANT = 0x80;    // input
constexpr U8_t SUPPLY_ALARM_CLEAR = 0x40;  // low pulse clears
constexpr U8_t SUPPLY_START = 0x50;        // alarm clear idle, and the output the board wants high
constexpr Vsc055LedPorts_t LED_PORTS = {6, 7};
constexpr U8_t LEDS_ALL_OFF = 0xFF;
constexpr U8_t LEDS_ALL_LIT = 0x00;

constexpr U8_t DIRECTIONS[VSC055_PORTS] = {0xFF, 0x00, 0xFF, 0xFF, 0x80, 0x00, 0x00, 0x00};
constexpr U8_t FAN_CONTROL = 0x81;
constexpr unsigned LAMP_TEST_SEC = 3;

// ---- start-up ----

ESA_CODE_e sensorsProbe() {
    for (int sensor = 0; sensor < esaTemperatureSensors(); ++sensor) {
        U8_t value = 0;
        if (esaProbe(esaControl.i2cAddressLM75[sensor], LM75_REG_TEMP, &value)) {
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

ESA_CODE_e portsTrace() {
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

void ledsWrite(U8_t value) {
    vsc055PortWrite(LED_PORTS.low, value);
    vsc055PortWrite(LED_PORTS.high, value);
}

// All LEDs, whatever the number of drives. (compatibility: lamp-test)
void lampTest() {
    ledsWrite(LEDS_ALL_OFF);
    ledsWrite(LEDS_ALL_LIT);
    sleep(LAMP_TEST_SEC);
    ledsWrite(LEDS_ALL_OFF);
}

void fanControlsSetup() {
    const int fans = esaBounded(esaControl.coolingMaxNumber, SES_K_FANS_MAX);
    for (int fan = 0; fan < fans; ++fan) {
        ESA_TRACE("Initialize vsc055FSC[%d] Register with value = [0x%x]", fan, FAN_CONTROL);
        vsc055FanControlWrite(fan, FAN_CONTROL);
    }
}

// ---- run time ----

void fanLoad(U8_t fan, EsaPercent_t load) {
    esaVsc055FanPwmLoad(fan, load.percent);
}

void fanSwitch(U8_t fan, bool on) {
    esaVsc055FanPwmLoad(fan, on ? 100 : 0);
}

S16_t sensorRead(int sensor) {
    const U8_t address = esaControl.i2cAddressLM75[sensor];
    const S16_t degrees = lm75TemperatureRead(address);
    if (degrees == ESA_K_TEMPERATURE_UNREADABLE) {
        lm75UnreadableTrace(address);
    }
    return degrees;
}

// Of an unreadable sensor a page says nothing more.
void temperaturesPageRead() {
    for (int sensor = 0; sensor < esaTemperatureSensors(); ++sensor) {
        const S16_t degrees = sensorRead(sensor);
        if (degrees == ESA_K_TEMPERATURE_UNREADABLE) {
            esaControl.temperatureSensor[sensor] = degrees;
        } else {
            esaTemperatureStore(sensor, degrees);
        }
    }
}

void alarmPoll() {
    const char* name = esaAlarmStateName(esaVsc055AlarmStateRead());
    if (name == nullptr) {
        ESA_TRACE("Alarm State is set to un-supported value [%d].",
                  static_cast<int>(esaVsc055AlarmStateRead()));
        return;
    }
    ESA_TRACE("Alarm State is set to [%s].", name);
}

ESA_CODE_e driveLedWrite(int driveNumber, bool lit) {
    return vsc055DriveLedWrite(LED_PORTS, driveNumber, lit, true);
}

// ---- the rows ----

constexpr char PREQUALIFIED[] = "VSC055 Based Prequalified Enclosure";
constexpr EsaPersonalityName_t NAMES[] = {
    {R"("PeltoTolvex")", PREQUALIFIED},
    {R"("ChenbroRM325")", PREQUALIFIED},
    {R"("ChenbroRM326")", PREQUALIFIED},
    {R"("ASUSi104")", PREQUALIFIED},
    {R"("ASUSi316")", PREQUALIFIED},
    {R"("Accusys3U16ATX")", PREQUALIFIED},
    {R"("Vitesse VSC055 Custom")", "ESA_K_NAME_STRING_VITESSE_VSC055_CUSTOM"},
};

constexpr EsaSupplyInput_t SUPPLY_INPUTS[] = {
    {.read = esaVsc055PowerRedundancyFailStatusRead,
     .polled = ESA_SUPPLY_REDUNDANCY,
     .onPage = ESA_SUPPLY_REDUNDANCY,
     .keptWhenUnavailable = true,
     .isMains = false,
     .follow = ESA_NOT_FITTED},
};

constexpr EsaI2cDevice_t lm75(int sensor) {
    return {ADDRESS_LM75[sensor], FAULT_BIT_LM75(sensor), ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75,
            static_cast<U32_t>(sensor)};
}
constexpr EsaI2cDevice_t DEVICES[] = {
    {ADDRESS_VSC055, FAULT_BIT_VSC055, ESA_E_EVENT_INFO_I2C_BUS_STATUS_VSC055, 0},
    lm75(0),
    lm75(1),
    lm75(2),
    lm75(3),
    lm75(4),
    lm75(5),
};

}  // namespace

constexpr EsaChassis_t ESA_CHASSIS_VSC055 = {
    .facts = {.title = "VSC055",
              .words = "VSC055 with LM75 sensors",
              .fans = 8,
              .sensors = std::size(ADDRESS_LM75),
              .surplusSensors = EsaSurplusSensors_e::NO_START,
              .tachometerClock = VSC055_TACHOMETER_CLOCK,
              .slowLooksStopped = false,
              .divisorHighest = 255,
              .hottest = 127,
              // all of them, with the first (compatibility: fan-off-vsc055)
              .fansStayOff = {0, "a reset of the controller"}},
    .names = NAMES,
    .setup = {.deviceMaxNumber = 16,
              .powerSupplyMaxNumber = 2,
              .addressVsc055 = ADDRESS_VSC055,
              .addressesLM75 = ADDRESS_LM75},
    .init = esaVsc055Init,
    .initSuccessText = "Finish initializing for the Vsc055 based Enclosure.",
    .initFailureText = "Initializing for the Vsc055 based Enclosure fails.",
    .poll = esaVsc055PollTimeoutProcess,
    .supplyInputs = SUPPLY_INPUTS,
    .supplyPageStatus = esaSupplyPageStatus,
    .supplyFaultIndicate = esaSupplyRedundancyFaultIndicate,
    .fanSpeedRead = esaVsc055FanSpeedRead,
    .fanSweepEndsWhenUnavailable = true,
    .fanSpeedDivisor = 0,
    .fanLoad = fanLoad,
    .loadAtStart = {50},
    .policyFans = 0,
    .fanFaultShow = ESA_NOT_FITTED,
    .fanSwitch = fanSwitch,
    .fanGroupSize = 1,
    .fanPageStatus = ESA_NOT_FITTED,
    .temperatureRead = sensorRead,
    .temperatureSensors = 0,
    .temperaturesPoll = esaTemperaturesPoll,
    .temperaturesPageRead = temperaturesPageRead,
    .alarmSet = esaVsc055AlarmStateBackplaneSet,
    .alarmRunsByItself = false,
    .alarmSilenced = esaVsc055AlarmStatePowerSupplyClear,
    .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
    .alarmPageState = esaAlarmStateKept,
    .alarmPoll = alarmPoll,
    .driveLedSet = esaVsc055DriveFaultLEDSet,
    .driveLedClear = esaVsc055DriveFaultLEDClear,
    .drivePresent = ESA_NOT_FITTED,
    .i2cDevices = DEVICES,
};
static_assert(esaChassisIsSound(ESA_CHASSIS_VSC055));

// The personality file's "PeltoTolvex" selects the row above; this one is reached by type only.
constexpr EsaChassis_t ESA_CHASSIS_PELTO_TOLVEX = [] {
    EsaChassis_t row = ESA_CHASSIS_VSC055;
    row.facts.title = "TolVex";
    row.names = {};
    row.setup = {};
    return row;
}();

// ---- the routines ----

ESA_CODE_e esaVsc055Init() {
    ESA_CODE_e code = vsc055Probe(ESA_E_EVENT_INFO_I2C_BUS_STATUS);
    if (code != ESA_E_OK) {
        return code;
    }
    std::ranges::copy(DIRECTIONS, esaControl.vitesse.vsc055DDP);
    vsc055PortBitsSet(PORT_SUPPLY, SUPPLY_START);
    esaAlarmMute(ESA_CHASSIS_VSC055);
    for (auto step : {vsc055DirectionsSetup, portsTrace, sensorsProbe}) {
        code = step();
        if (code != ESA_E_OK) {
            return code;
        }
    }
    esaFansStart(ESA_CHASSIS_VSC055);
    lampTest();
    esaControl.powerSupplyStatus |= ESA_K_POWER_VOLTAGE_OK | ESA_K_POWER_REDUNDANCY_OK;
    fanControlsSetup();
    return ESA_E_OK;
}

void esaVsc055PollTimeoutProcess() {
    esaPoll();
}

ESA_CODE_e esaVsc055DriveFaultLEDSet(int driveNumber) {
    ESA_TRACE("Set Fault LED on Drive [%d]", driveNumber);
    return driveLedWrite(driveNumber, true);
}

ESA_CODE_e esaVsc055DriveFaultLEDClear(int driveNumber) {
    ESA_TRACE("Clear Fault LED on Drive [%d]", driveNumber);
    return driveLedWrite(driveNumber, false);
}

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

void esaVsc055AlarmStatePowerSupplyClear() {
    ESA_TRACE("Clear the Alarm on the Power Supply.");
    vsc055PortBitsClear(PORT_SUPPLY, SUPPLY_ALARM_CLEAR);
    vsc055PortBitsSet(PORT_SUPPLY, SUPPLY_ALARM_CLEAR);
}

void esaVsc055AlarmStateBackplaneSet(EsaAlarmState_e alarmState) {
    const char* name = esaAlarmStateName(alarmState);
    if (name == nullptr) {
        ESA_TRACE("Set Backplane Alarm State to un-supported value [%d].",
                  static_cast<int>(alarmState));
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
