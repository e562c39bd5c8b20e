// SPDX-License-Identifier: Apache-2.0
// Enclosure status page: per element type an overall word and one record per element. Counts are
// answered as they stand; elements above the arrays read as unreadable.
#include "ses/status_page.h"

#include <cstddef>
#include <cstring>

#include "link/esa_element_event.h"
#include "state/chassis.h"
#include "state/esa_trace.h"

namespace {

constexpr U32_t ALARM_OVERALL_ECHO = 0x20;  // bit of the overall word a peer gets back
constexpr U8_t ALARM_COMMON_ECHO = 0x20;    // bit of byte 0 of an alarm record a peer gets back
constexpr U16_t RPM_PER_SPEED_UNIT = 10;
constexpr S16_t TEMPERATURE_OFFSET = 20;  // page value of 0 degrees Celsius

// Degrees Celsius: above / below these the flag is set.
constexpr S16_t OVER_WARNING = 55;
constexpr S16_t OVER_FAILURE = 60;
constexpr S16_t UNDER_WARNING = 1;
constexpr S16_t UNDER_FAILURE = 0;

// What one reading of the enclosure found. Elements above the arrays are not in here.
struct Elements {
    DeviceElementStat_t devices[SES_K_DEVICES_MAX];
    PowerSupplyElementStat_t powerSupplies[SES_K_POWER_SUPPLIES_MAX];
    CoolingElementStat_t fans[SES_K_FANS_MAX];
    TemperatureSensorElementStat_t sensors[SES_K_SENSORS_MAX];
    AudibleAlarmElementStat_t alarms[SES_K_ALARMS_MAX];
    U32_t alarmOverall;
};

void devicesRead(const EsaChassis_t& chassis, DeviceElementStat_t* devices) {
    for (int slot = 0; slot < esaBounded(esaControl.deviceMaxNumber, SES_K_DEVICES_MAX); ++slot) {
        const bool absent = chassis.drivePresent && chassis.drivePresent(slot) != ESA_E_OK;
        devices[slot].commonStatus =
            absent ? SES_E_ELEMENT_STATUS_CODE_NOT_INSTALLED : SES_E_ELEMENT_STATUS_CODE_OK;
        devices[slot].slotAddress = static_cast<U8_t>(slot);
        devices[slot].faultReqstd = esaControl.deviceElementControl[slot].rqstFault;
    }
}

void powerSuppliesRead(const EsaChassis_t& chassis, PowerSupplyElementStat_t* supplies) {
    bool changed = false;
    const int count = esaBounded(esaControl.powerSupplyMaxNumber, SES_K_POWER_SUPPLIES_MAX);
    for (int supply = 0; supply < count; ++supply) {
        const PowerSupplyElementCont_t& control = esaControl.powerSupplyElementControl[supply];
        PowerSupplyElementStat_t* status = &supplies[supply];
        if (chassis.supplyPageStatus) {
            changed = chassis.supplyPageStatus(supply, status) || changed;
        } else {
            status->commonStatus = SES_E_ELEMENT_STATUS_CODE_OK;
            status->fail = control.rqstFail;
        }
        status->rqstedOn = control.rqstOn;
        status->rsvd2 = 1;  // peers expect the last bit set (compatibility: supply-last-bit)
    }
    if (changed) {
        esaPowerSupplyEventSend(EMP_E_TYPE_WARNING);
    }
}

CoolingElementStat_t fanStatus(U16_t rpm) {
    const U16_t speed = rpm / RPM_PER_SPEED_UNIT;
    CoolingElementStat_t status = {};
    // 10 bits travel; faster fans are cut. (compatibility: ten-bit-speed)
    status.actualFanSpeedMsb = (speed >> 8) & 0x3;
    status.actualFanSpeed = static_cast<U8_t>(speed);
    status.off = speed == 0;
    status.actualSpeedCode = speed == 0 ? SES_E_FAN_ACTUAL_STOP : SES_E_FAN_ACTUAL_HIGHEST_SPEED;
    return status;
}

// Peers take an unreadable fan for a running one. (compatibility: unreadable-fan)
CoolingElementStat_t unreadableFanStatus() {
    CoolingElementStat_t status = {};
    status.actualSpeedCode = SES_E_FAN_ACTUAL_HIGHEST_SPEED;
    return status;
}

// True when the fan's mark changed.
bool fanRead(const EsaChassis_t& chassis, int fan, CoolingElementStat_t* status) {
    U16_t rpm = 0;
    if (!chassis.fanSpeedRead || chassis.fanSpeedRead(fan, &rpm) != ESA_E_OK) {
        *status = unreadableFanStatus();
        return false;
    }
    ESA_TRACE("Fan [%d] has RPM [%d] divided by a factor of 10.", fan, rpm);
    *status = fanStatus(rpm);
    return chassis.fanPageStatus && chassis.fanPageStatus(fan, rpm, status);
}

void fansRead(const EsaChassis_t& chassis, CoolingElementStat_t* fans) {
    bool changed = false;
    for (int fan = 0; fan < esaBounded(esaControl.coolingMaxNumber, SES_K_FANS_MAX); ++fan) {
        changed = fanRead(chassis, fan, &fans[fan]) || changed;
        fans[fan].rqstedOn = esaControl.coolingElementControl[fan].rqstOn;
    }
    if (changed) {
        esaFanEventSend();
    }
}

TemperatureSensorElementStat_t temperatureStatus(S16_t degrees) {
    TemperatureSensorElementStat_t status = {};
    if (degrees != ESA_K_TEMPERATURE_UNREADABLE) {
        status.temperature = static_cast<U8_t>(degrees + TEMPERATURE_OFFSET);
        status.otWarning = degrees > OVER_WARNING;
        status.otFailure = degrees > OVER_FAILURE;
        status.utWarning = degrees < UNDER_WARNING;
        status.utFailure = degrees < UNDER_FAILURE;
    }
    return status;
}

void temperaturesRead(const EsaChassis_t& chassis, TemperatureSensorElementStat_t* sensors) {
    if (chassis.temperaturesPageRead) {
        chassis.temperaturesPageRead();
    }
    const int count = esaBounded(esaControl.temperatureSensorMaxNumber, SES_K_SENSORS_MAX);
    for (int sensor = 0; sensor < count; ++sensor) {
        sensors[sensor] = temperatureStatus(esaControl.temperatureSensor[sensor]);
    }
}

AudibleAlarmElementStat_t alarmRead(const EsaChassis_t& chassis,
                                    const AudibleAlarmElementCont_t& control) {
    AudibleAlarmElementStat_t status = {};
    status.commonStatus = control.commonControl & ALARM_COMMON_ECHO;
    status.unrecov = control.unrecov;
    status.crit = control.crit;
    status.nonCrit = control.nonCrit;
    status.info = control.info;
    status.remind = control.setRemind;
    status.muted = chassis.alarmPageState ? chassis.alarmPageState() == ESA_E_ALARM_STATE_IDLE_S0
                                          : control.setMute != 0;
    status.rqstMute = control.setMute;
    return status;
}

void alarmsRead(const EsaChassis_t& chassis, AudibleAlarmElementStat_t* alarms) {
    const int count = esaBounded(esaControl.audibleAlarmMaxNumber, SES_K_ALARMS_MAX);
    for (int alarm = 0; alarm < count; ++alarm) {
        alarms[alarm] = alarmRead(chassis, esaControl.audibleAlarmElementControl[alarm]);
    }
}

Elements elementsRead() {
    const EsaChassis_t& chassis = esaChassisOrNone();
    Elements elements = {};
    devicesRead(chassis, elements.devices);
    powerSuppliesRead(chassis, elements.powerSupplies);
    fansRead(chassis, elements.fans);
    temperaturesRead(chassis, elements.sensors);
    alarmsRead(chassis, elements.alarms);
    elements.alarmOverall = esaControl.audibleAlarmElementControlOverall & ALARM_OVERALL_ECHO;
    return elements;
}

// Overall word, the records, and `beyond` for each element the array has no room for. Returns the
// end of the section.
template <typename Record, int N>
U8_t* sectionBuild(U8_t* at, U32_t overall, const Record (&records)[N], U8_t count,
                   const Record& beyond = {}) {
    static_assert(sizeof(Record) == SES_K_ELEMENT_SIZE);
    *wireView<Be32>(at) = overall;
    at += SES_K_ELEMENT_SIZE;
    for (int n = 0; n < count; ++n) {
        *wireView<Record>(at) = n < N ? records[n] : beyond;
        at += SES_K_ELEMENT_SIZE;
    }
    return at;
}

}  // namespace

U32_t statusPageSize() {
    const U32_t elements = U32_t{esaControl.deviceMaxNumber} + esaControl.powerSupplyMaxNumber +
                           esaControl.coolingMaxNumber + esaControl.temperatureSensorMaxNumber +
                           esaControl.audibleAlarmMaxNumber;
    return U32_t{sizeof(EncStatDiagPageHdr_t)} +
           SES_K_ELEMENT_SIZE * (SES_K_ELEMENT_TYPES + elements);
}

void statusPageBuild(U8_t* page) {
    const Elements elements = elementsRead();
    EncStatDiagPageHdr_t header = {};
    header.pageCode = SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE;
    header.pageLength = static_cast<U16_t>(statusPageSize() - SES_K_PAGE_LENGTH_EXCLUDES);
    *wireView<EncStatDiagPageHdr_t>(page) = header;

    U8_t* at = page + sizeof header;
    at = sectionBuild(at, 0, elements.devices, esaControl.deviceMaxNumber);
    at = sectionBuild(at, 0, elements.powerSupplies, esaControl.powerSupplyMaxNumber);
    at = sectionBuild(at, 0, elements.fans, esaControl.coolingMaxNumber, unreadableFanStatus());
    at = sectionBuild(at, 0, elements.sensors, esaControl.temperatureSensorMaxNumber);
    sectionBuild(at, elements.alarmOverall, elements.alarms, esaControl.audibleAlarmMaxNumber);
}
