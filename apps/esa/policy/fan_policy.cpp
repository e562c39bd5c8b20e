// SPDX-License-Identifier: Apache-2.0
// Fan loads by temperature: a ladder of four loads with a hysteresis band between neighbours and a
// floor. A fan's place on the ladder is its fanPwmLoad. A failed fan sends all fans to the top.
#include <iterator>

#include "policy/esa_policy.h"
#include "policy/fan_load.h"
#include "state/chassis.h"
#include "state/esa_trace.h"

namespace {

constexpr EsaPercent_t LOAD_FULL = ESA_K_LADDER[std::size(ESA_K_LADDER) - 1].load;

void fansToFullLoad(const EsaChassis_t& chassis, int fans) {
    for (U8_t fan = 0; fan < fans; ++fan) {
        if (esaControl.fanPwmLoad[fan] != LOAD_FULL.percent) {
            ESA_TRACE("At least 1 Fan Fault, FanFaultStatus = [0x%x]", esaControl.fanFaultStatus);
            ESA_TRACE("Fan [%d] sets to 100 percent PWM Load", fan);
            esaFanLoad(chassis, fan, LOAD_FULL);
        }
    }
}

// False when no sensor is readable; the average then stays as it was.
bool temperatureAverage() {
    S16_t sum = 0;  // 16 bits wide, and wraps
    S32_t count = 0;
    const int sensors = esaBounded(esaControl.temperatureSensorMaxNumber, SES_K_SENSORS_MAX);
    for (int n = 0; n < sensors; ++n) {
        if (esaControl.temperatureSensor[n] != ESA_K_TEMPERATURE_UNREADABLE) {
            sum = static_cast<S16_t>(sum + esaControl.temperatureSensor[n]);
            ++count;
        }
    }
    if (count == 0) {
        ESA_TRACE("No readable temperature sensor, temperatureSensorAverage stays [%d].",
                  esaControl.temperatureSensorAverage);
        return false;
    }
    esaControl.temperatureSensorAverage = static_cast<S16_t>(sum / count);
    ESA_TRACE("temperatureSensorAverage = [%d] degrees Celsius.",
              esaControl.temperatureSensorAverage);
    return true;
}

void ladderMove(const EsaChassis_t& chassis, U8_t fan, const EsaLadderStep_t& step) {
    esaFanLoad(chassis, fan, step.load);
    ESA_TRACE("Temperature = [%d], Fan [%d] set to %d percent PWM",
              esaControl.temperatureSensorAverage, fan, step.load.percent);
}

// One step at most. `temperature` is unsigned: an average below zero counts as very hot.
// (compatibility: below-zero)
void ladderStep(const EsaChassis_t& chassis, U8_t fan, U32_t temperature) {
    for (std::size_t n = 0; n < std::size(ESA_K_LADDER); ++n) {
        const EsaLadderStep_t& step = ESA_K_LADDER[n];
        if (step.load.percent != esaControl.fanPwmLoad[fan]) {
            continue;
        }
        if (step.stepUp != nullptr && temperature > esaControl.*step.stepUp) {
            ladderMove(chassis, fan, ESA_K_LADDER[n + 1]);
        } else if (step.stepDown != nullptr && temperature < esaControl.*step.stepDown &&
                   esaControl.fanPwmLoadMinimum <= ESA_K_LADDER[n - 1].load.percent) {
            ladderMove(chassis, fan, ESA_K_LADDER[n - 1]);
        }
        return;
    }
    ESA_TRACE("ESA never set this PWM Load [%d] on Fan [%d]?", esaControl.fanPwmLoad[fan], fan);
}

}  // namespace

void esaTemperatureFanPolicyFlexibleThreshold() {
    const EsaChassis_t* chassis = esaChassis();
    if (chassis == nullptr || !chassis->fanLoad) {
        return;
    }
    const int fans = esaPolicyFans(*chassis);
    if (esaControl.fanFaultStatus != 0) {
        fansToFullLoad(*chassis, fans);
        return;
    }
    if (!temperatureAverage()) {
        return;
    }
    const S32_t average = esaControl.temperatureSensorAverage;
    for (U8_t fan = 0; fan < fans; ++fan) {
        ladderStep(*chassis, fan, static_cast<U32_t>(average));
    }
}
