// SPDX-License-Identifier: Apache-2.0
// Fan failure detection: one sweep over the fans, one event when any of them changed. Fans above
// the arrays are not swept and never count as failed.
#include "backend/chassis.h"
#include "esa_trace.h"
#include "msg/esa_element_event.h"
#include "policy/esa_policy.h"

// Both marks return whether the mark changed.
static bool faultMark(int fan) {
    const U32_t bit = U32_t{1} << fan;
    ESA_TRACE("Return Fans Status [ERROR].");
    if ((esaControl.fanFaultStatus & bit) != 0) {
        ESA_TRACE("Already marked Fault on Fan [%d].", fan);
        return false;
    }
    ESA_TRACE("Now marking Fault on Fan [%d].", fan);
    esaControl.fanFaultStatus |= bit;
    return true;
}

static bool okMark(int fan) {
    const U32_t bit = U32_t{1} << fan;
    if ((esaControl.fanFaultStatus & bit) == 0) {
        ESA_TRACE("Already marked OK on Fan [%d].", fan);
        return false;
    }
    ESA_TRACE("Now marking OK on Fan [%d].", fan);
    esaControl.fanFaultStatus &= ~bit;
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
        if (rpm < esaControl.fanFaultRpmLimit) {
            result = ESA_E_GENERR;
            changed = faultMark(fan) || changed;
        } else {
            changed = okMark(fan) || changed;
        }
    }
    if (changed) {
        esaFanEventSend();
    }
    return result;
}
