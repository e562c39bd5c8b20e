// SPDX-License-Identifier: Apache-2.0
#include "policy/poll.h"

#include "policy/esa_policy.h"
#include "state/esa_trace.h"

ESA_CODE_e esaFansPoll() {
    const ESA_CODE_e code = esaFanFailStatusRead();
    if (code != ESA_E_GENERR_I2C_UNAVAILABLE) {
        esaCompositeFaultManage(ESA_K_FAULT_FAN, code);
    }
    return code;
}

void esaTemperatureStore(int sensor, S16_t degrees) {
    esaControl.temperatureSensor[sensor] = degrees;
    ESA_TRACE("temperatureSensor[%d] = [%d] degrees Celsius.", sensor, degrees);
}

void esaPoliciesPoll() {
    esaTemperatureFanPolicyFlexibleThreshold();
    esaTemperatureEventLog();
    esaTemperatureOverheatCheck();
}
