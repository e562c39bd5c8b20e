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
// match on it.
const EsaSupplyCondition_t ESA_SUPPLY_VOLTAGE_PAGE = {
    ESA_K_FAULT_POWER_SUPPLY_VOLTAGE_TOLERANCE,
    ESA_K_POWER_VOLTAGE_OK,
    {nullptr, "Power Voltage Tolerance Status already [OK]."},
    {nullptr, "Power Redundancy Status already [NOT OK]."},
};

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

void esaSupplyPageUpdate(const EsaSupplyCondition_t& condition, bool ok, int supply,
                         PowerSupplyElementStat_t* element, EsaPageChange_t* change) {
    element->commonStatus =
        ok ? SES_E_ELEMENT_STATUS_CODE_OK : SES_E_ELEMENT_STATUS_CODE_NOT_INSTALLED;
    change->powerSupply = esaSupplyConditionUpdate(condition, ok) || change->powerSupply;
    element->fail = esaControl.powerSupplyElementControl[supply].rqstFail != 0 ||
                    (esaControl.compositeFaultStatus & condition.faultBit) != 0;
}
