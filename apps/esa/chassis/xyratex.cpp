// SPDX-License-Identifier: Apache-2.0
// Xyratex 2U12ATX. The drive LED ports are the reverse of the prequalified wiring's. The alarm
// controller moves by itself; the service follows it and reports what it finds.
#include "chassis/xyratex.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "chassis/table.h"
#include "chassis/xyratex_wiring.h"
#include "chips/lm75.h"
#include "chips/vsc055.h"
#include "chips/xyratex_alarm.h"
#include "link/esa_element_event.h"
#include "link/esa_event.h"
#include "policy/esa_policy.h"
#include "policy/fan_load.h"
#include "policy/poll.h"
#include "policy/supply.h"
#include "state/esa_trace.h"

namespace {

constexpr U8_t ADDRESS_VSC055 = 0x63;
constexpr U8_t ADDRESS_LM75[] = {0x4C, 0x4D};  // left and right hand side

constexpr U8_t DIRECTIONS[VSC055_PORTS] = {0xFF, 0x00, 0xFF, 0x0F, 0x30, 0x10, 0x00, 0x00};
constexpr U8_t FAN_CONTROL = 0x80;
constexpr U8_t FAN_GROUPS = 2;      // front and back, an output each
constexpr U8_t FAN_GROUP_SIZE = 4;  // as the control page counts them
// A page shows a fan this slow or slower as failed. (compatibility: page-500-xyratex)
constexpr U16_t PAGE_FAN_FAULT_RPM = 500;
constexpr unsigned LED_TEST_SEC = 3;

struct PortValue {
    int port;
    U8_t value;
};
// Status LEDs off and on with the drive LEDs; ends with PSU OK lit and all else out.
constexpr PortValue LED_TEST_OFF[] = {{4, 0xFC}, {6, 0x0F}, {7, 0xFF}};
constexpr PortValue LED_TEST_ON[] = {{4, 0xFE}, {6, 0xF0}, {7, 0x00}};
constexpr PortValue LED_TEST_END[] = {{4, 0xFC}, {6, 0x2F}, {7, 0xFF}};

// ---- start-up ----

template <std::size_t N>
void portsWrite(const PortValue (&values)[N]) {
    for (const PortValue& value : values) {
        vsc055PortWrite(value.port, value.value);
    }
}

void ledTest() {
    portsWrite(LED_TEST_OFF);
    sleep(LED_TEST_SEC);
    portsWrite(LED_TEST_ON);
    sleep(LED_TEST_SEC);
    portsWrite(LED_TEST_END);
}

void fanControlsSetup() {
    for (int fan = 0; fan < SES_K_FANS_MAX; ++fan) {
        ESA_TRACE("Initialize VSC055_FSC[%d] Register with value = [0x%x]", fan, FAN_CONTROL);
        vsc055FanControlWrite(fan, FAN_CONTROL);
    }
}

// ---- fans ----

void fanFailLedFollow(bool fault) {
    const char* state = fault ? "ON" : "OFF";
    const bool lit =
        (esaControl.vitesse.vsc055GPD[XYRATEX_PORT_STATUS_LEDS] & XYRATEX_LED_FAN_FAIL) != 0;
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

void fanLoad(U8_t group, EsaPercent_t load) {
    esaVsc055FanPwmLoad(group, load.percent);
}

void fanSwitch(U8_t fan, bool on) {
    esaVsc055FanPwmLoad(fan / FAN_GROUP_SIZE, on ? 100 : 0);
}

bool fanPageStatus(int fan, U16_t rpm, CoolingElementStat_t* element) {
    const bool failed = rpm <= PAGE_FAN_FAULT_RPM;
    element->fail = failed;
    const bool changed = esaFanFaultMark(fan, failed);
    fanFailLedFollow(esaControl.fanFaultStatus != 0);
    return changed;
}

// ---- temperatures ----

S16_t sensorRead(int sensor) {
    return lm75TemperatureRead(ADDRESS_LM75[sensor]);
}

void temperatureTrace(int sensor, const char* name) {
    const S16_t degrees = esaControl.temperatureSensor[sensor];
    if (degrees == ESA_K_TEMPERATURE_UNREADABLE) {
        lm75UnreadableTrace(esaControl.i2cAddressLM75[sensor]);
    }
    ESA_TRACE("temperatureSensor[%s] = [%d] degrees Celsius.", name, degrees);
}

void temperaturesPoll() {
    esaTemperaturesRead();
    temperatureTrace(ESA_E_WINBOND_TEMPERATURE_SENSOR_LHS, "ESA_K_TEMPERATURE_SENSOR_LHS");
    temperatureTrace(ESA_E_WINBOND_TEMPERATURE_SENSOR_RHS, "ESA_K_TEMPERATURE_SENSOR_RHS");
}

// ---- alarm ----

void alarmSet(EsaAlarmState_e state) {
    xyratexAlarmStateSet(static_cast<EsaXyratexAlarmState_e>(state));
}

U32_t alarmPageState() {
    return xyratexAlarmStateRead();
}

void alarmStateKeep(U32_t state) {
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

void alarmPoll() {
    const EsaXyratexAlarmState_e state = xyratexAlarmStateRead();
    if (state != esaControl.alarmState) {
        alarmStateKeep(state);
    }
}

// The alarm reminds of a fault that is over.
void reminderEnd() {
    if (xyratexAlarmStateRead() != ESA_E_XYRATEX_ALARM_STATE_REMIND_S2) {
        return;
    }
    xyratexAlarmStateSet(ESA_E_XYRATEX_ALARM_STATE_IDLE_S0);
    if (esaControl.alarmState != ESA_E_ALARM_STATE_IDLE_S0) {
        alarmStateKeep(ESA_E_ALARM_STATE_IDLE_S0);
    }
}

// ---- supplies ----

void psuOkLedShow(bool ok) {
    if (ok) {
        xyratexPsuOkLEDSet();
    } else {
        xyratexPsuOkLEDClear();
    }
}

void voltageFollow(bool ok, bool changed) {
    if (changed) {
        psuOkLedShow(ok);
    }
}

void redundancyFollow(bool ok, bool changed) {
    if (changed && ok) {
        xyratexPowerRedundancyFailLEDClear();
    } else if (changed) {
        xyratexPowerRedundancyFailLEDSet();
    } else if (ok) {
        reminderEnd();
    }
}

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

// As a poll reads them.
constexpr EsaSupplyInput_t SUPPLY_INPUTS[] = {
    {.read = xyratexPowerVoltageStatusRead,
     .polled = VOLTAGE_POLL,
     .onPage = VOLTAGE_PAGE,
     .keptWhenUnavailable = true,
     .isMains = true,
     .follow = voltageFollow},
    {.read = xyratexPowerRedundancyFailStatusRead,
     .polled = REDUNDANCY_POLL,
     .onPage = REDUNDANCY_PAGE,
     .keptWhenUnavailable = true,
     .isMains = false,
     .follow = redundancyFollow},
};
constexpr const EsaSupplyInput_t& VOLTAGE = SUPPLY_INPUTS[0];
constexpr const EsaSupplyInput_t& REDUNDANCY = SUPPLY_INPUTS[1];

// A page reads them the other way round, and an element fails with either.
bool supplyPageStatus(int supply, PowerSupplyElementStat_t* element) {
    const EsaSupplyState_t redundancy = esaSupplyPageRead(REDUNDANCY);
    const EsaSupplyState_t voltage = esaSupplyPageRead(VOLTAGE);
    element->commonStatus =
        redundancy.ok ? SES_E_ELEMENT_STATUS_CODE_OK : SES_E_ELEMENT_STATUS_CODE_NOT_INSTALLED;
    element->acFail = !voltage.ok;
    element->fail =
        esaControl.powerSupplyElementControl[supply].rqstFail != 0 || !redundancy.ok || !voltage.ok;
    return redundancy.changed || voltage.changed;
}

void supplyFaultIndicate(ESA_CODE_e status) {
    psuOkLedShow(status == ESA_E_OK);
}

// ---- the row ----

constexpr EsaPersonalityName_t NAMES[] = {
    {R"("Xyratex 2U12ATX")", "ESA_K_NAME_STRING_XYRATEX_2U12ATX"},
};

constexpr EsaI2cDevice_t DEVICES[] = {
    {ADDRESS_VSC055, 0x001, ESA_E_EVENT_INFO_I2C_BUS_STATUS_VSC055, 0},
    {ADDRESS_LM75[0], 0x002, ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75, 0},
    {ADDRESS_LM75[1], 0x004, ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75, 1},
};

}  // namespace

constexpr EsaChassis_t ESA_CHASSIS_XYRATEX = {
    .facts = {.title = "Xyratex 2U12ATX",
              .words = "Xyratex 2U12ATX, two fan groups",
              .fans = 8,
              .sensors = std::size(ADDRESS_LM75),
              .surplusSensors = EsaSurplusSensors_e::COUNT_AS_ZERO,
              .tachometerClock = VSC055_TACHOMETER_CLOCK,
              .slowLooksStopped = false,
              .divisorHighest = 255,
              .hottest = 127,
              // (compatibility: groups-xyratex)
              .fansStayOff = {4, "\"fan on\" or a restart of the service"}},
    .names = NAMES,
    .setup = {.deviceMaxNumber = XYRATEX_SLOTS,
              .powerSupplyMaxNumber = 2,
              .addressVsc055 = ADDRESS_VSC055},
    .init = xyratexInit,
    .initSuccessText = "Finish initializing for the Xyratex Enclosure.",
    .initFailureText = "Initializing for the Xyratex Enclosure fails.",
    .poll = xyratexEsaPollTimeoutProcess,
    .supplyInputs = SUPPLY_INPUTS,
    .supplyPageStatus = supplyPageStatus,
    .supplyFaultIndicate = supplyFaultIndicate,
    .fanSpeedRead = esaVsc055FanSpeedRead,
    .fanSweepEndsWhenUnavailable = true,
    .fanSpeedDivisor = 1,
    .fanLoad = fanLoad,
    .loadAtStart = {25},
    .policyFans = FAN_GROUPS,
    .fanFaultShow = fanFailLedFollow,
    .fanSwitch = fanSwitch,
    .fanGroupSize = FAN_GROUP_SIZE,
    .fanPageStatus = fanPageStatus,
    .temperatureRead = sensorRead,
    .temperatureSensors = std::size(ADDRESS_LM75),
    .temperaturesPoll = temperaturesPoll,
    .temperaturesPageRead = esaTemperaturesRead,
    .alarmSet = alarmSet,
    .alarmRunsByItself = true,
    .alarmSilenced = ESA_NOT_FITTED,
    .alarmCriticalState = ESA_E_ALARM_STATE_CRITICAL_S4,
    .alarmPageState = alarmPageState,
    .alarmPoll = alarmPoll,
    .driveLedSet = xyratexDriveFaultLEDSet,
    .driveLedClear = xyratexDriveFaultLEDClear,
    .drivePresent = xyratexIsDrivePresent,
    .i2cDevices = DEVICES,
};
static_assert(esaChassisIsSound(ESA_CHASSIS_XYRATEX));

// ---- the routines ----

ESA_CODE_e xyratexInit() {
    ESA_CODE_e code = vsc055Probe(ESA_E_EVENT_INFO_I2C_BUS_STATUS_VSC055);
    if (code != ESA_E_OK) {
        return code;
    }
    std::ranges::copy(DIRECTIONS, esaControl.vitesse.vsc055DDP);
    code = vsc055DirectionsSetup();
    if (code != ESA_E_OK) {
        return code;
    }
    esaFansStart(ESA_CHASSIS_XYRATEX);
    ledTest();
    esaControl.powerSupplyStatus |= ESA_K_POWER_VOLTAGE_OK | ESA_K_POWER_REDUNDANCY_OK;
    esaControl.fanSpeedDivisor = ESA_CHASSIS_XYRATEX.fanSpeedDivisor;
    fanControlsSetup();
    xyratexAlarmStateSet(ESA_E_XYRATEX_ALARM_STATE_IDLE_S0);
    return ESA_E_OK;
}

void xyratexEsaPollTimeoutProcess() {
    esaPoll();
}
