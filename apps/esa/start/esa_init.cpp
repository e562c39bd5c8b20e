// SPDX-License-Identifier: Apache-2.0
// Initialisation, once per process. Each step that fails is reported and the next one runs all the
// same; only without the enclosure device or the personality file there is nothing more to learn.
#include "start/esa_init.h"

#include <fcntl.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "i2c.h"
#include "link/esa_event.h"
#include "link/esa_mmsg.h"
#include "start/personality.h"
#include "state/esa_control.h"
#include "state/esa_trace.h"

namespace {

constexpr int ENCLOSURE_DEVICE = 0;

void defaultsSet() {
    static constexpr U8_t ELEMENT_TYPES[] = {
        SES_E_ELEMENT_TYPE_DEVICE, SES_E_ELEMENT_TYPE_POWER_SUPPLY, SES_E_ELEMENT_TYPE_COOLING,
        SES_E_ELEMENT_TYPE_TEMPERATURE_SENSOR, SES_E_ELEMENT_TYPE_AUDIBLE_ALARM};
    std::memset(&esaControl, 0, sizeof esaControl);
    esaControl.esaDebug = TRUE;
    esaControl.enclosureType = KORVO_E_CHASSIS_NONE;
    esaControl.elementTypeMaxNumber = SES_K_ELEMENT_TYPES;
    esaControl.deviceMaxNumber = SES_K_DEVICES_MAX;
    esaControl.powerSupplyMaxNumber = SES_K_POWER_SUPPLIES_MAX;
    esaControl.audibleAlarmMaxNumber = SES_K_ALARMS_MAX;
    esaControl.pollTimeout = {ESA_K_POLL_PERIOD_SEC, 0};
    std::ranges::copy(ELEMENT_TYPES, esaControl.sesTypeDescriptorList);
    ESA_TRACE("esaDebug set to TRUE");
}

bool enclosureDeviceOpen() {
    char path[32];
    std::snprintf(path, sizeof path, "/dev/enc-%d", ENCLOSURE_DEVICE);
    esaControl.i2cFileFd = open(path, O_RDWR);
    begin_i2c_data(esaControl.i2cFileFd);
    return esaControl.i2cFileFd >= 0;
}

U32_t pairOf(U32_t low, U32_t high) {
    return low | (high << 16);
}

S32_t noPersonalityReport() {
    EsaEventData_t data = {};
    data.enclosureType = esaControl.enclosureType;
    data.information = ESA_E_EVENT_INFO_NO_PERSONALITY_TOOLKIT_INFO;
    return esaEventMmsgToEmpSend(ESA_E_ID_ES_ADAPTERMP_INFORMATION, EMP_E_TYPE_INFORMATION, &data);
}

S32_t personalityReport() {
    const EsaControl_t& c = esaControl;
    EsaEventData_t data = {};
    data.enclosureType = c.enclosureType;
    data.information = ESA_E_EVENT_INFO_PERSONALITY_TOOLKIT_INFO;
    data.numberOfFan = c.coolingMaxNumber;
    data.numberOfTemperatureSensor = c.temperatureSensorMaxNumber;
    data.general_use1 = pairOf(c.fanSpeedDivisor, c.overheatTemperatureLimit);
    data.general_use2 =
        pairOf(c.fanPwm25To50TemperatureThreshold, c.fanPwm50To75TemperatureThreshold);
    data.general_use3 =
        pairOf(c.fanPwm75To100TemperatureThreshold, c.fanPwm100To75TemperatureThreshold);
    data.general_use4 =
        pairOf(c.fanPwm75To50TemperatureThreshold, c.fanPwm50To25TemperatureThreshold);
    data.general_use5 = pairOf(c.fanFaultRpmLimit, c.fanPwmLoadMinimum);
    return esaEventMmsgToEmpSend(ESA_E_ID_ES_ADAPTERMP_INFORMATION, EMP_E_TYPE_INFORMATION, &data);
}

}  // namespace

S32_t esaInit() {
    defaultsSet();
    esaLinkOpen();
    ESA_TRACE("Enclosure Services Adapter connects to MSM with socket [%d]",
              esaControl.socketFdMSM);
    if (!enclosureDeviceOpen()) {
        ESA_TRACE("Failed to open the i2c device.");
        return esaControl.i2cFileFd;
    }
    if (!esaPersonalityRead()) {
        ESA_TRACE("No Personality Toolkit XML file.");
        ESA_TRACE("esaControl.enclosureType = [KORVO_E_CHASSIS_NONE]");
        return noPersonalityReport();
    }
    esaPersonalityChassisChoose();
    esaPersonalityTuningRead();
    if (esaControl.enclosureType != KORVO_E_CHASSIS_NONE &&
        esaControl.overheatTemperatureLimit == 0) {
        ESA_TRACE("Overheat Temperature Limit is 0, every temperature above it is an overheat.");
    }
    return personalityReport();
}
