// SPDX-License-Identifier: Apache-2.0
// Xyratex 2U12ATX. The drive LED ports are the reverse of the prequalified wiring's. The alarm
// controller moves by itself; the service follows it and reports what it finds.
#include "chassis/xyratex.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "chassis/vsc055.h"
#include "chips/lm75.h"
#include "chips/vsc055.h"
#include "link/esa_element_event.h"
#include "link/esa_event.h"
#include "policy/esa_policy.h"
#include "policy/poll.h"
#include "policy/supply.h"
#include "state/alarm_name.h"
#include "state/esa_trace.h"

constexpr U8_t LM75_LHS = 0x4C;
constexpr U8_t LM75_RHS = 0x4D;

// Ports and bits of this wiring.
constexpr int PORT_PRESENCE_LOW = 0;   // slots 0 to 7, 0 = present
constexpr int PORT_PRESENCE_HIGH = 3;  // slots 8 to 11
constexpr int SLOTS_LOW = 8;
constexpr int SLOTS = 12;
constexpr int PORT_SUPPLY = 4;
constexpr U8_t SUPPLY_VOLTAGE_OK = 0x10;     // input
constexpr U8_t SUPPLY_REDUNDANCY_OK = 0x20;  // input
constexpr int PORT_ALARM = 5;
constexpr U8_t ALARM_KEPT = 0xF0;       // bits that setting a state leaves alone
constexpr U8_t ALARM_STROBE = 0x08;     // set with the state, then cleared
constexpr U8_t ALARM_SELECTOR = 0x07;   // state to set, or number of the state bit to read
constexpr U8_t ALARM_STATE_BIT = 0x10;  // input: the selected bit
constexpr int ALARM_STATE_BITS = 3;
constexpr U8_t ALARM_UNREADABLE = 7;
constexpr int PORT_STATUS_LEDS = 6;  // with the LEDs of drives 8 to 11
constexpr U8_t LED_PSU_OK = 0x20;
constexpr U8_t LED_REDUNDANCY_FAIL = 0x40;
constexpr U8_t LED_FAN_FAIL = 0x80;
constexpr Vsc055LedPorts_t LED_PORTS = {7, 6};

constexpr U8_t DIRECTIONS[VSC055_PORTS] = {0xFF, 0x00, 0xFF, 0x0F, 0x30, 0x10, 0x00, 0x00};
constexpr U8_t FAN_CONTROL = 0x80;
constexpr U8_t FAN_SPEED_DIVISOR = 1;
constexpr U8_t FAN_GROUPS[] = {ESA_E_XYRATEX_FRONT_FANS, ESA_E_XYRATEX_BACK_FANS};
constexpr U8_t LOAD_AT_START = 25;         // percent
constexpr U16_t PAGE_FAN_FAULT_RPM = 500;  // a fan this slow or slower shows as failed on the page
constexpr unsigned LED_TEST_SEC = 3;

struct PortValue_t {
    int port;
    U8_t value;
};
// Status LEDs off and on with the drive LEDs; ends with PSU OK lit and all else out.
constexpr PortValue_t LED_TEST_OFF[] = {{4, 0xFC}, {6, 0x0F}, {7, 0xFF}};
constexpr PortValue_t LED_TEST_ON[] = {{4, 0xFE}, {6, 0xF0}, {7, 0x00}};
constexpr PortValue_t LED_TEST_END[] = {{4, 0xFC}, {6, 0x2F}, {7, 0xFF}};

// Polls say nothing of a state that lasts, pages nothing to the fault manager.
constexpr EsaSupplyCondition_t VOLTAGE_POLL = {
    ESA_K_FAULT_POWER_SUPPLY_VOLTAGE_TOLERANCE, ESA_K_POWER_VOLTAGE_OK, {}, {}};
constexpr EsaSupplyCondition_t REDUNDANCY_POLL = {
    ESA_K_FAULT_POWER_SUPPLY_REDUNDANCY, ESA_K_POWER_REDUNDANCY_OK, {}, {}};
constexpr EsaSupplyCondition_t VOLTAGE_PAGE = {
    0,
    ESA_K_POWER_VOLTAGE_OK,
    {nullptr, "PSU OK LED already [ON]."},
    {nullptr, "PSU OK LED already [OFF]."},
};
constexpr EsaSupplyCondition_t REDUNDANCY_PAGE = {
    0,
    ESA_K_POWER_REDUNDANCY_OK,
    {nullptr, "Power Redundancy Fail LED already [OFF]."},
    {nullptr, "Power Redundancy Fail LED already [ON]."},
};

// ---- start-up ----

static void fansStart() {
    for (U8_t group : FAN_GROUPS) {
        esaVsc055FanPwmLoad(group, LOAD_AT_START);
        esaControl.fanPwmLoad[group] = LOAD_AT_START;
    }
    for (int fan = 0; fan < esaBounded(esaControl.coolingMaxNumber, SES_K_FANS_MAX); ++fan) {
        esaControl.coolingElementOnOff[fan] = ESA_E_FAN_ON;
    }
}

template <std::size_t N>
static void portsWrite(const PortValue_t (&values)[N]) {
    for (const PortValue_t& value : values) {
        vsc055PortWrite(value.port, value.value);
    }
}

static void ledTest() {
    portsWrite(LED_TEST_OFF);
    sleep(LED_TEST_SEC);
    portsWrite(LED_TEST_ON);
    sleep(LED_TEST_SEC);
    portsWrite(LED_TEST_END);
}

static void fanControlsSetup() {
    for (int fan = 0; fan < SES_K_FANS_MAX; ++fan) {
        U8_t& shadow = esaControl.vitesse.vsc055FSC[fan];
        shadow = FAN_CONTROL;
        ESA_TRACE("Initialize VSC055_FSC[%d] Register with value = [0x%x]", fan, shadow);
        vsc055RegisterWrite(VSC055_REG_FSC(fan), shadow);
    }
}

ESA_CODE_e xyratexInit() {
    ESA_CODE_e code = vsc055Probe(ESA_E_EVENT_INFO_I2C_BUS_STATUS_VSC055);
    if (code != ESA_E_OK) {
        return code;
    }
    std::copy(std::begin(DIRECTIONS), std::end(DIRECTIONS), esaControl.vitesse.vsc055DDP);
    code = vsc055DirectionsSetup();
    if (code != ESA_E_OK) {
        return code;
    }
    fansStart();
    ledTest();
    esaControl.powerSupplyStatus |= ESA_K_POWER_VOLTAGE_OK | ESA_K_POWER_REDUNDANCY_OK;
    esaControl.fanSpeedDivisor = FAN_SPEED_DIVISOR;
    fanControlsSetup();
    xyratexAlarmStateSet(ESA_E_XYRATEX_ALARM_STATE_IDLE_S0);
    return ESA_E_OK;
}

// ---- drives ----

static ESA_CODE_e driveLedWrite(int driveNumber, bool lit) {
    return vsc055DriveLedWrite(LED_PORTS, driveNumber, lit, false) ? ESA_E_OK : ESA_E_GENERR;
}

ESA_CODE_e xyratexDriveFaultLEDSet(int driveNumber) {
    ESA_TRACE("Set Fault LED on Drive [%d]", driveNumber);
    return driveLedWrite(driveNumber, true);
}

ESA_CODE_e xyratexDriveFaultLEDClear(int driveNumber) {
    ESA_TRACE("Clear Fault LED on Drive [%d]", driveNumber);
    return driveLedWrite(driveNumber, false);
}

static bool isPresent(U8_t inputs, int slot) {
    return (inputs & (1 << (slot % SLOTS_LOW))) == 0;
}

ESA_CODE_e xyratexIsDrivePresent(int driveNumber) {
    if (driveNumber < 0 || driveNumber >= SLOTS) {
        return ESA_E_GENERR;
    }
    U8_t inputs = 0;
    const int port = driveNumber < SLOTS_LOW ? PORT_PRESENCE_LOW : PORT_PRESENCE_HIGH;
    const ESA_CODE_e code = vsc055RegisterRead(VSC055_REG_GPD(port), &inputs);
    if (code != ESA_E_OK) {
        return code;
    }
    const bool present = isPresent(inputs, driveNumber);
    ESA_TRACE("Drive in Slot [%d] is %spresent.", driveNumber, present ? "" : "NOT ");
    return present ? ESA_E_OK : ESA_E_GENERR;
}

static void presenceTrace(int port, int first, int end) {
    U8_t inputs = 0;
    if (vsc055RegisterRead(VSC055_REG_GPD(port), &inputs) != ESA_E_OK) {
        return;
    }
    for (int slot = first; slot < end; ++slot) {
        ESA_TRACE("Drive in Slot [%d] %s present.", slot,
                  isPresent(inputs, slot) ? "is" : "is NOT");
    }
}

void xyratexDrivePresenceRead() {
    presenceTrace(PORT_PRESENCE_LOW, 0, SLOTS_LOW);
    presenceTrace(PORT_PRESENCE_HIGH, SLOTS_LOW, SLOTS);
}

// ---- status LEDs ----

static void statusLedWrite(U8_t led, bool lit, const char* name) {
    ESA_TRACE("Turn [%s] %s LED.", lit ? "ON" : "OFF", name);
    if (lit) {
        vsc055PortBitsSet(PORT_STATUS_LEDS, led);
    } else {
        vsc055PortBitsClear(PORT_STATUS_LEDS, led);
    }
}

void xyratexPsuOkLEDSet() {
    statusLedWrite(LED_PSU_OK, true, "PSU_OK");
}

void xyratexPsuOkLEDClear() {
    statusLedWrite(LED_PSU_OK, false, "PSU_OK");
}

void xyratexPowerRedundancyFailLEDSet() {
    statusLedWrite(LED_REDUNDANCY_FAIL, true, "Power Redundancy Fail");
}

void xyratexPowerRedundancyFailLEDClear() {
    statusLedWrite(LED_REDUNDANCY_FAIL, false, "Power Redundancy Fail");
}

void xyratexFanFailLEDSet() {
    statusLedWrite(LED_FAN_FAIL, true, "FAN_FAIL");
}

void xyratexFanFailLEDClear() {
    statusLedWrite(LED_FAN_FAIL, false, "FAN_FAIL");
}

static void fanFailLedFollow(bool fault) {
    const char* state = fault ? "ON" : "OFF";
    const bool lit = (esaControl.vitesse.vsc055GPD[PORT_STATUS_LEDS] & LED_FAN_FAIL) != 0;
    if (lit == fault) {
        ESA_TRACE("FAN Fail LED already [%s].", state);
        return;
    }
    if (fault) {
        xyratexFanFailLEDSet();
    } else {
        xyratexFanFailLEDClear();
    }
    ESA_TRACE("Turn [%s] FAN Fail LED.", state);
}

// ---- alarm ----

void xyratexAlarmStateSet(EsaXyratexAlarmState_e state) {
    const char* name = esaAlarmStateNameAsRead(state);
    if (name == nullptr) {
        ESA_TRACE("Set the Alarm State to un-supported value [%d].", static_cast<int>(state));
        return;
    }
    ESA_TRACE("Set the Alarm State to [%s].", name);
    const U8_t kept = esaControl.vitesse.vsc055GPD[PORT_ALARM] & ALARM_KEPT;
    vsc055PortWrite(PORT_ALARM, static_cast<U8_t>(kept | ALARM_STROBE | state));
    vsc055PortBitsClear(PORT_ALARM, ALARM_STROBE);
}

// One bit of the state, in its place; a failed read contributes all three.
static U8_t alarmBitRead(U8_t selector) {
    const U8_t kept = esaControl.vitesse.vsc055GPD[PORT_ALARM] & static_cast<U8_t>(~ALARM_SELECTOR);
    vsc055PortWrite(PORT_ALARM, kept | selector);
    U8_t value = 0;
    const ESA_CODE_e code = vsc055RegisterRead(VSC055_REG_GPD(PORT_ALARM), &value);
    // The first read minds an unreachable bus only, the two others any failure, deliberately.
    const bool failed = selector == 0 ? code == ESA_E_GENERR_I2C_UNAVAILABLE : code != ESA_E_OK;
    if (failed) {
        return ALARM_UNREADABLE;
    }
    return (value & ALARM_STATE_BIT) != 0 ? static_cast<U8_t>(1 << selector) : U8_t{0};
}

EsaXyratexAlarmState_e xyratexAlarmStateRead() {
    U8_t state = 0;
    for (U8_t selector = 0; selector < ALARM_STATE_BITS; ++selector) {
        state |= alarmBitRead(selector);
    }
    ESA_TRACE("Read the Alarm State as [%s].", esaAlarmStateNameAsRead(state));
    return static_cast<EsaXyratexAlarmState_e>(state);
}

static void alarmStateKeep(U32_t state) {
    const bool sounding =
        state == ESA_E_ALARM_STATE_FAULT_S1 || state == ESA_E_ALARM_STATE_CRITICAL_S4;
    esaControl.alarmState = state;
    EsaEventData_t event = {};
    event.enclosureType = esaControl.enclosureType;
    event.numberOfAlarm = esaControl.audibleAlarmMaxNumber;
    event.alarmState = state;
    esaEventMmsgToEmpSend(ESA_E_ID_ES_ADAPTERMP_ALARM_STATUS,
                          sounding ? EMP_E_TYPE_WARNING : EMP_E_TYPE_INFORMATION, &event);
}

static void alarmPoll() {
    const EsaXyratexAlarmState_e state = xyratexAlarmStateRead();
    if (state != esaControl.alarmState) {
        alarmStateKeep(state);
    }
}

// The alarm reminds of a fault that is over.
static void reminderEnd() {
    if (xyratexAlarmStateRead() != ESA_E_XYRATEX_ALARM_STATE_REMIND_S2) {
        return;
    }
    xyratexAlarmStateSet(ESA_E_XYRATEX_ALARM_STATE_IDLE_S0);
    if (esaControl.alarmState != ESA_E_ALARM_STATE_IDLE_S0) {
        alarmStateKeep(ESA_E_ALARM_STATE_IDLE_S0);
    }
}

// ---- supplies ----

static ESA_CODE_e supplyInputRead(U8_t input) {
    U8_t value = 0;
    const ESA_CODE_e code = vsc055RegisterRead(VSC055_REG_GPD(PORT_SUPPLY), &value);
    if (code != ESA_E_OK) {
        return code;
    }
    return (value & input) != 0 ? ESA_E_OK : ESA_E_GENERR;
}

ESA_CODE_e xyratexPowerVoltageStatusRead() {
    const ESA_CODE_e code = supplyInputRead(SUPPLY_VOLTAGE_OK);
    if (code == ESA_E_GENERR) {
        ESA_TRACE("Return Power Voltage Status [ERROR].");
    }
    return code;
}

ESA_CODE_e xyratexPowerRedundancyFailStatusRead() {
    const ESA_CODE_e code = supplyInputRead(SUPPLY_REDUNDANCY_OK);
    if (code != ESA_E_GENERR_I2C_UNAVAILABLE) {
        ESA_TRACE("Return Power Redundancy Fail Status [%s].", code == ESA_E_OK ? "OK" : "ERROR");
    }
    return code;
}

// Both keep the books and move the LED; true when the state changed.
static bool voltageUpdate(const EsaSupplyCondition_t& condition, bool ok) {
    if (!esaSupplyConditionUpdate(condition, ok)) {
        return false;
    }
    if (ok) {
        xyratexPsuOkLEDSet();
    } else {
        xyratexPsuOkLEDClear();
    }
    return true;
}

static bool redundancyUpdate(const EsaSupplyCondition_t& condition, bool ok) {
    if (!esaSupplyConditionUpdate(condition, ok)) {
        if (ok) {
            reminderEnd();
        }
        return false;
    }
    if (ok) {
        xyratexPowerRedundancyFailLEDClear();
    } else {
        xyratexPowerRedundancyFailLEDSet();
    }
    return true;
}

void xyratexSupplyPageStatus(int supply, PowerSupplyElementStat_t* element,
                             EsaPageChange_t* change) {
    const bool redundant = xyratexPowerRedundancyFailStatusRead() == ESA_E_OK;
    element->commonStatus =
        redundant ? SES_E_ELEMENT_STATUS_CODE_OK : SES_E_ELEMENT_STATUS_CODE_NOT_INSTALLED;
    change->powerSupply = redundancyUpdate(REDUNDANCY_PAGE, redundant) || change->powerSupply;
    const bool voltageOk = xyratexPowerVoltageStatusRead() == ESA_E_OK;
    element->acFail = !voltageOk;
    change->powerSupply = voltageUpdate(VOLTAGE_PAGE, voltageOk) || change->powerSupply;
    element->fail =
        esaControl.powerSupplyElementControl[supply].rqstFail != 0 || !redundant || !voltageOk;
}

// ---- fans and temperatures on the page ----

void xyratexFanPageStatus(int fan, U16_t rpm, CoolingElementStat_t* element,
                          EsaPageChange_t* change) {
    const bool failed = rpm <= PAGE_FAN_FAULT_RPM;
    element->fail = failed;
    change->fan = esaFanFaultMark(fan, failed) || change->fan;
    fanFailLedFollow(esaControl.fanFaultStatus != 0);
}

void xyratexTemperaturesRead() {
    esaControl.temperatureSensor[ESA_E_WINBOND_TEMPERATURE_SENSOR_LHS] =
        lm75TemperatureRead(LM75_LHS);
    esaControl.temperatureSensor[ESA_E_WINBOND_TEMPERATURE_SENSOR_RHS] =
        lm75TemperatureRead(LM75_RHS);
}

// ---- poll ----

static void supplyPoll(ESA_CODE_e code, const EsaSupplyCondition_t& condition,
                       bool (*update)(const EsaSupplyCondition_t&, bool)) {
    if (code != ESA_E_GENERR_I2C_UNAVAILABLE && update(condition, code == ESA_E_OK)) {
        esaPowerSupplyEventSend(code == ESA_E_OK ? EMP_E_TYPE_INFORMATION : EMP_E_TYPE_WARNING);
    }
}

static void fansPoll() {
    const ESA_CODE_e code = esaFansPoll();
    if (code != ESA_E_GENERR_I2C_UNAVAILABLE) {
        fanFailLedFollow(code == ESA_E_GENERR);
    }
}

static void temperatureTrace(int sensor, const char* name) {
    const S16_t degrees = esaControl.temperatureSensor[sensor];
    if (degrees == ESA_K_TEMPERATURE_UNREADABLE) {
        lm75UnreadableTrace(esaControl.i2cAddressLM75[sensor]);
    }
    ESA_TRACE("temperatureSensor[%s] = [%d] degrees Celsius.", name, degrees);
}

static void temperaturesPoll() {
    xyratexTemperaturesRead();
    temperatureTrace(ESA_E_WINBOND_TEMPERATURE_SENSOR_LHS, "ESA_K_TEMPERATURE_SENSOR_LHS");
    temperatureTrace(ESA_E_WINBOND_TEMPERATURE_SENSOR_RHS, "ESA_K_TEMPERATURE_SENSOR_RHS");
}

void xyratexEsaPollTimeoutProcess() {
    supplyPoll(xyratexPowerVoltageStatusRead(), VOLTAGE_POLL, voltageUpdate);
    supplyPoll(xyratexPowerRedundancyFailStatusRead(), REDUNDANCY_POLL, redundancyUpdate);
    fansPoll();
    temperaturesPoll();
    esaPoliciesPoll();
    alarmPoll();
}
