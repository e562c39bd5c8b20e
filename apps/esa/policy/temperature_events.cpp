// SPDX-License-Identifier: Apache-2.0
// Temperature bands, reported once per crossing and sensor, and the overheat shutdown request,
// which is repeated on every poll.
#include "link/esa_event.h"
#include "link/esa_startup.h"
#include "policy/esa_policy.h"
#include "state/esa_trace.h"

namespace {

constexpr S16_t COOL_MAX = 35;  // degrees Celsius, the last that is in no band

struct Band {
    S16_t over;      // degrees Celsius, the last below the band
    U32_t reported;  // in temperatureReportStatus; 0: nothing
    EsaEventTemperatureState_e state;
    U8_t eventType;
};
// The hottest band first.
constexpr Band BANDS[] = {
    {55, 0x4, ESA_E_EVENT_TEMPERATURE_OVER_55_DEGREES, EMP_E_TYPE_WARNING},
    {45, 0x2, ESA_E_EVENT_TEMPERATURE_OVER_45_DEGREES, EMP_E_TYPE_WARNING},
    {COOL_MAX, 0x1, ESA_E_EVENT_TEMPERATURE_OVER_35_DEGREES, EMP_E_TYPE_INFORMATION},
};

void temperatureEventSend(int sensor, EsaEventTemperatureState_e state, U8_t eventType) {
    EsaEventData_t event = {};
    event.enclosureType = esaControl.enclosureType;
    event.numberOfTemperatureSensor = esaControl.temperatureSensorMaxNumber;
    event.temperatureStatus = state;
    event.temperatureSensorPosition = static_cast<U32_t>(sensor);
    event.temperature = esaControl.temperatureSensor[sensor];
    esaEventMmsgToEmpSend(ESA_E_ID_ES_ADAPTERMP_TEMPERATURE_SENSOR_STATUS, eventType, &event);
}

void coolReport(int sensor) {
    if (esaControl.temperatureReportStatus[sensor] == 0) {
        return;
    }
    ESA_TRACE("temperatureReportStatus[%d] reset all Temperature Events.", sensor);
    esaControl.temperatureReportStatus[sensor] = 0;
    temperatureEventSend(sensor, ESA_E_EVENT_TEMPERATURE_BELOW_35_DEGREES, EMP_E_TYPE_INFORMATION);
}

void bandReport(int sensor, const Band& band) {
    if ((esaControl.temperatureReportStatus[sensor] & band.reported) != 0) {
        ESA_TRACE("temperatureReportStatus[%d] already reported over %d degrees Event.", sensor,
                  band.over);
        return;
    }
    esaControl.temperatureReportStatus[sensor] = band.reported;
    ESA_TRACE("temperatureReportStatus[%d] reporting over %d degrees Event.", sensor, band.over);
    temperatureEventSend(sensor, band.state, band.eventType);
}

void sensorReport(int sensor) {
    const S16_t temperature = esaControl.temperatureSensor[sensor];
    for (const Band& band : BANDS) {
        if (temperature > band.over) {
            bandReport(sensor, band);
            return;
        }
    }
    coolReport(sensor);
}

}  // namespace

void esaTemperatureEventLog() {
    const int sensors = esaBounded(esaControl.temperatureSensorMaxNumber, SES_K_SENSORS_MAX);
    for (int sensor = 0; sensor < sensors; ++sensor) {
        if (esaControl.temperatureSensor[sensor] != ESA_K_TEMPERATURE_UNREADABLE) {
            sensorReport(sensor);
        }
    }
}

void esaTemperatureOverheatCheck() {
    // Unsigned: an average below zero counts as over the limit. (compatibility: below-zero)
    const S32_t average = esaControl.temperatureSensorAverage;
    if (static_cast<U32_t>(average) <= esaControl.overheatTemperatureLimit) {
        esaCompositeFaultManage(ESA_K_FAULT_TEMPERATURE_OVERHEAT, ESA_E_OK);
        return;
    }
    // Says 60 whatever the limit is: log readers match on the line. (compatibility: over-60)
    ESA_TRACE("Temperature average over 60 degrees!");
    esaCompositeFaultManage(ESA_K_FAULT_TEMPERATURE_OVERHEAT, ESA_E_GENERR);
    EsaEventData_t event = {};
    event.enclosureType = esaControl.enclosureType;
    event.information = ESA_E_EVENT_INFO_REQUEST_ORDERLY_SHUTDOWN;
    esaEventMmsgToEmpSend(ESA_E_ID_ES_ADAPTERMP_INFORMATION, EMP_E_TYPE_ERROR, &event);
    esaOrderlyShutdownMmsgToStartupSend();
}
