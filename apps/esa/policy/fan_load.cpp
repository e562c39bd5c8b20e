// SPDX-License-Identifier: Apache-2.0
#include "policy/fan_load.h"

void esaFanLoad(const EsaChassis_t& chassis, U8_t fan, EsaPercent_t load) {
    chassis.fanLoad(fan, load);
    esaControl.fanPwmLoad[fan] = load.percent;
}

int esaPolicyFans(const EsaChassis_t& chassis) {
    return chassis.policyFans != 0 ? chassis.policyFans
                                   : esaBounded(esaControl.coolingMaxNumber, SES_K_FANS_MAX);
}

void esaFansStart(const EsaChassis_t& chassis) {
    for (U8_t fan = 0; fan < esaPolicyFans(chassis); ++fan) {
        esaFanLoad(chassis, fan, chassis.loadAtStart);
    }
    for (int fan = 0; fan < esaBounded(esaControl.coolingMaxNumber, SES_K_FANS_MAX); ++fan) {
        esaControl.coolingElementOnOff[fan] = ESA_E_FAN_ON;
    }
}
