// SPDX-License-Identifier: Apache-2.0
#include "policy/supply.h"

#include "link/esa_element_event.h"
#include "policy/esa_policy.h"
#include "state/esa_trace.h"

const EsaSupplyCondition_t ESA_SUPPLY_REDUNDANCY = {
    ESA_K_FAULT_POWER_SUPPLY_REDUNDANCY,
    ESA_K_POWER_REDUNDANCY_OK,
    {nullptr, "Power Redundancy Status already [OK]."},
    {nullptr, "Power Redundancy Status already [NOT OK]."},
};

const EsaSupplyCondition_t ESA_SUPPLY_VOLTAGE = {
    ESA_K_FAULT_POWER_SUPPLY_VOLTAGE_TOLERANCE,
    ESA_K_POWER_VOLTAGE_OK,
    {"Power Voltage Tolerance Status changed from [NOT OK] to [OK].",
     "Power Voltage Tolerance Status already [OK]."},
    {"Power Voltage Tolerance Status changed from [OK] to [NOT OK].",
     "Power Voltage Tolerance Status already [NOT OK]."},
};

// Pages say a change in no words, and a lasting voltage fault in those of redundancy: log readers
// match on it. (compatibility: voltage-as-redundancy)
const EsaSupplyCondition_t ESA_SUPPLY_VOLTAGE_PAGE = {
    ESA_K_FAULT_POWER_SUPPLY_VOLTAGE_TOLERANCE,
    ESA_K_POWER_VOLTAGE_OK,
    {nullptr, "Power Voltage Tolerance Status already [OK]."},
    {nullptr, "Power Redundancy Status already [NOT OK]."},
};

namespace {

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

EsaSupplyState_t conditionFollow(const EsaSupplyInput_t& input,
                                 const EsaSupplyCondition_t& condition, bool ok) {
    const bool changed = esaSupplyConditionUpdate(condition, ok);
    if (input.follow) {
        input.follow(ok, changed);
    }
    return {ok, changed};
}

}  // namespace

void esaSupplyPoll(const EsaSupplyInput_t& input) {
    const ESA_CODE_e code = input.read();
    if (code == ESA_E_GENERR_I2C_UNAVAILABLE && input.keptWhenUnavailable) {
        return;
    }
    const bool ok = code == ESA_E_OK;
    if (conditionFollow(input, input.polled, ok).changed) {
        esaPowerSupplyEventSend(ok ? EMP_E_TYPE_INFORMATION : EMP_E_TYPE_WARNING);
    }
}

EsaSupplyState_t esaSupplyPageRead(const EsaSupplyInput_t& input) {
    return conditionFollow(input, input.onPage, input.read() == ESA_E_OK);
}

bool esaSupplyPageStatus(int supply, PowerSupplyElementStat_t* element) {
    bool changed = false;
    for (const EsaSupplyInput_t& input : esaChassisOrNone().supplyInputs) {
        const EsaSupplyState_t state = esaSupplyPageRead(input);
        changed = state.changed || changed;
        element->commonStatus =
            state.ok ? SES_E_ELEMENT_STATUS_CODE_OK : SES_E_ELEMENT_STATUS_CODE_NOT_INSTALLED;
        element->fail = esaControl.powerSupplyElementControl[supply].rqstFail != 0 ||
                        (esaControl.compositeFaultStatus & input.onPage.faultBit) != 0;
        element->acFail = input.isMains && !state.ok;
    }
    return changed;
}

void esaSupplyRedundancyFaultIndicate(ESA_CODE_e status) {
    esaCompositeFaultManage(ESA_K_FAULT_POWER_SUPPLY_REDUNDANCY, status);
}

void esaSupplyVoltageFaultIndicate(ESA_CODE_e status) {
    esaCompositeFaultManage(ESA_K_FAULT_POWER_SUPPLY_VOLTAGE_TOLERANCE, status);
}
