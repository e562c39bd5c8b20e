// SPDX-License-Identifier: Apache-2.0
// Event reports: one fixed-size record in a management message, whatever the event.
#include "link/esa_event.h"

#include <cstring>

#include "link/esa_mmsg.h"
#include "mmsg.h"
#include "state/esa_control.h"
#include "state/esa_trace.h"

namespace {

constexpr U8_t EVENT_ID_VERSION = 1;
constexpr U32_t EVENT_MESSAGE_SIZE = MMSG_K_HEADER_SIZE + sizeof(EsaEvent_t);
static_assert(EVENT_MESSAGE_SIZE == 360);

}  // namespace

S32_t esaEventMmsgToEmpSend(U16_t eventId, U8_t eventType, const void* eventDataPtr) {
    MMCH_t* header = wireView<MMCH_t>(esaControl.esaWorkSpace);
    esaMmsgHeaderInit(header, MMSG_E_PROTOCOL_EVENTMGR, EMP_E_MSGS_LOG, EVENT_MESSAGE_SIZE);
    esaMmsgRecipientAdd(header, MMSG_E_EPID_EVENTLOGMP);

    // The event manager fills the rest of the event's header.
    EsaEvent_t* event = wireView<EsaEvent_t>(esaControl.esaWorkSpace + MMSG_K_HEADER_SIZE);
    event->header.evType = eventType;
    event->header.evCategory = EMP_E_CATEGORY_ENVIRONMENTAL;
    event->header.evIdVersion = EVENT_ID_VERSION;
    event->header.evId = eventId;
    std::memcpy(&event->data, eventDataPtr, sizeof event->data);
    return esaMmsgSend(ESA_SENDER(esaEventMmsgToEmpSend));
}

S32_t esaReportTimeoutProcess() {
    EsaEventData_t data = {};
    data.enclosureType = esaControl.enclosureType;
    data.numberOfFan = esaControl.coolingMaxNumber;
    data.numberOfTemperatureSensor = esaControl.temperatureSensorMaxNumber;
    data.information = ESA_E_EVENT_INFO_REPORT_STATISTICS;
    data.powerSupplyVoltage5V = esaControl.powerSupplyVoltage5V;
    data.powerSupplyVoltage12V = esaControl.powerSupplyVoltage12V;
    const int fans = esaBounded(esaControl.coolingMaxNumber, ESA_K_EVENT_FANS_MAX);
    for (int fan = 0; fan < fans; ++fan) {
        data.fanRpmSpeed[fan] = esaControl.fanRpmSpeed[fan];
    }
    const int sensors = esaBounded(esaControl.temperatureSensorMaxNumber, ESA_K_EVENT_SENSORS_MAX);
    for (int sensor = 0; sensor < sensors; ++sensor) {
        data.temperatureSensor[sensor] = esaControl.temperatureSensor[sensor];
    }
    ESA_TRACE("Send the Enclosure Services Statistics Event Log.");
    return esaEventMmsgToEmpSend(ESA_E_ID_ES_ADAPTERMP_INFORMATION, EMP_E_TYPE_INFORMATION, &data);
}
