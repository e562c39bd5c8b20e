// SPDX-License-Identifier: Apache-2.0
#include "policy/poll.h"

#include "policy/esa_policy.h"
#include "policy/supply.h"
#include "state/esa_trace.h"

namespace {

// An unreachable bus leaves the fault as it is.
void fansPoll(const EsaChassis_t& chassis) {
    const ESA_CODE_e code = esaFanFailStatusRead();
    if (code == ESA_E_GENERR_I2C_UNAVAILABLE) {
        return;
    }
    esaCompositeFaultManage(ESA_K_FAULT_FAN, code);
    if (chassis.fanFaultShow) {
        chassis.fanFaultShow(code == ESA_E_GENERR);
    }
}

}  // namespace

void esaPoll() {
    const EsaChassis_t& chassis = esaChassisOrNone();
    for (const EsaSupplyInput_t& input : chassis.supplyInputs) {
        esaSupplyPoll(input);
    }
    fansPoll(chassis);
    if (chassis.temperaturesPoll) {
        chassis.temperaturesPoll();
    }
    esaTemperatureFanPolicyFlexibleThreshold();
    esaTemperatureEventLog();
    esaTemperatureOverheatCheck();
    if (chassis.alarmPoll) {
        chassis.alarmPoll();
    }
}

// ---- temperatures ----

void esaTemperatureStore(int sensor, S16_t degrees) {
    esaControl.temperatureSensor[sensor] = degrees;
    ESA_TRACE("temperatureSensor[%d] = [%d] degrees Celsius.", sensor, degrees);
}

int esaTemperatureSensors() {
    const EsaChassis_t& chassis = esaChassisOrNone();
    return chassis.temperatureSensors != 0
               ? chassis.temperatureSensors
               : esaBounded(esaControl.temperatureSensorMaxNumber, SES_K_SENSORS_MAX);
}

void esaTemperaturesPoll() {
    for (int sensor = 0; sensor < esaTemperatureSensors(); ++sensor) {
        esaTemperatureStore(sensor, esaChassisOrNone().temperatureRead(sensor));
    }
}

void esaTemperaturesRead() {
    for (int sensor = 0; sensor < esaTemperatureSensors(); ++sensor) {
        esaControl.temperatureSensor[sensor] = esaChassisOrNone().temperatureRead(sensor);
    }
}
