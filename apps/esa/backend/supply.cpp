// SPDX-License-Identifier: Apache-2.0
#include "backend/supply.h"

#include "esa_trace.h"
#include "msg/esa_element_event.h"
#include "policy/esa_policy.h"

bool esaSupplyConditionUpdate(const EsaSupplyCondition_t& condition, bool ok) {
    if (condition.faultBit != 0) {
        esaCompositeFaultManage(condition.faultBit, ok ? ESA_E_OK : ESA_E_GENERR);
    }
    const bool wasOk = (esaControl.powerSupplyStatus & condition.statusBit) != 0;
    const EsaSupplyTexts_t& texts = ok ? condition.ok : condition.notOk;
    const char* text = ok == wasOk ? texts.already : texts.changed;
    if (text != nullptr) {
        ESA_TRACE("%s", text);
    }
    if (ok) {
        esaControl.powerSupplyStatus |= condition.statusBit;
    } else {
        esaControl.powerSupplyStatus &= ~condition.statusBit;
    }
    return ok != wasOk;
}

void esaSupplyConditionPoll(const EsaSupplyCondition_t& condition, bool ok) {
    if (esaSupplyConditionUpdate(condition, ok)) {
        esaPowerSupplyEventSend(ok ? EMP_E_TYPE_INFORMATION : EMP_E_TYPE_WARNING);
    }
}

bool esaSupplyPageFail(int supply, U32_t faultBit) {
    return esaControl.powerSupplyElementControl[supply].rqstFail != 0 ||
           (esaControl.compositeFaultStatus & faultBit) != 0;
}
