// SPDX-License-Identifier: Apache-2.0
// Fan failure detection: one sweep over the fans, one event when any of them changed. Fans above
// the arrays are not swept and never count as failed.
#include "link/esa_element_event.h"
#include "policy/esa_policy.h"
#include "state/chassis.h"
#include "state/esa_trace.h"

bool esaFanFaultMark(int fan, bool failed) {
    const U32_t bit = U32_t{1} << fan;
    const char* state = failed ? "Fault" : "OK";
    if (((esaControl.fanFaultStatus & bit) != 0) == failed) {
        ESA_TRACE("Already marked %s on Fan [%d].", state, fan);
        return false;
    }
    ESA_TRACE("Now marking %s on Fan [%d].", state, fan);
    esaControl.fanFaultStatus ^= bit;
    return true;
}

ESA_CODE_e esaFanFailStatusRead() {
    const EsaChassis_t* chassis = esaChassis();
    if (chassis == nullptr || !chassis->fanSpeedRead) {
        return ESA_E_GENERR;
    }
    ESA_CODE_e result = ESA_E_OK;
    bool changed = false;
    for (int fan = 0; fan < esaBounded(esaControl.coolingMaxNumber, SES_K_FANS_MAX); ++fan) {
        U16_t rpm = 0;
        const ESA_CODE_e code = chassis->fanSpeedRead(fan, &rpm);
        if (code == ESA_E_GENERR_I2C_UNAVAILABLE && chassis->fanSweepEndsWhenUnavailable) {
            return code;
        }
        if (code != ESA_E_OK) {
            rpm = 0;  // an unreadable fan is a failed fan
        }
        ESA_TRACE("Fan [%d] has speed [%d] RPM.", fan, rpm);
        esaControl.fanRpmSpeed[fan] = rpm;
        const bool failed = rpm < esaControl.fanFaultRpmLimit;
        if (failed) {
            ESA_TRACE("Return Fans Status [ERROR].");
            result = ESA_E_GENERR;
        }
        changed = esaFanFaultMark(fan, failed) || changed;
    }
    if (changed) {
        esaFanEventSend();
    }
    return result;
}
