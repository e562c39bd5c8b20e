// SPDX-License-Identifier: Apache-2.0
// Events that report element states.
#include "link/esa_element_event.h"

#include "link/esa_event.h"
#include "state/esa_control.h"

void esaPowerSupplyEventSend(EMP_TYPE eventType) {
    EsaEventData_t event = {};
    event.enclosureType = esaControl.enclosureType;
    event.numberOfPowerSupply = esaControl.powerSupplyMaxNumber;
    event.powerSupplyStatus = esaControl.powerSupplyStatus;
    esaEventMmsgToEmpSend(ESA_E_ID_ES_ADAPTERMP_POWER_SUPPLY_STATUS, eventType, &event);
}

void esaFanEventSend() {
    EsaEventData_t event = {};
    event.enclosureType = esaControl.enclosureType;
    event.numberOfFan = esaControl.coolingMaxNumber;
    event.fanFaultStatus = esaControl.fanFaultStatus;
    esaEventMmsgToEmpSend(ESA_E_ID_ES_ADAPTERMP_FAN_FAULT_STATUS, EMP_E_TYPE_WARNING, &event);
}
