// SPDX-License-Identifier: Apache-2.0
#include "start/esa_manager.h"

#include <cstdio>

#include "link/esa_mmsg.h"
#include "notify.h"
#include "state/chassis.h"

namespace {

// What the text is made of.
struct State {
    KORVO_E_CHASSIS_t type;
    bool polled;
    bool linkUp;
    U32_t faults;
    bool operator==(const State&) const = default;
};

void statusTell(const State& state) {
    const auto word = [&state](U32_t fault, const char* text) {
        return (state.faults & fault) != 0 ? text : "";
    };
    char text[120];
    std::snprintf(
        text, sizeof text, "%s%s, link %s, faults:%s%s%s%s%s%s", esaChassisOrNone().facts.title,
        state.polled ? "" : ", not polled", state.linkUp ? "up" : "down",
        word(ESA_K_FAULT_POWER_SUPPLY_VOLTAGE_TOLERANCE, " supply voltage"),
        word(ESA_K_FAULT_POWER_SUPPLY_REDUNDANCY, " supply redundancy"),
        word(ESA_K_FAULT_FAN, " fan"), word(ESA_K_FAULT_TEMPERATURE_OVERHEAT, " overheat"),
        word(ESA_K_FAULT_I2C_BUS, " I2C"), state.faults != 0 ? "" : " none");
    notifyStatus(text);
}

}  // namespace

void esaManagerTell() {
    static State told = {};
    if (!notifyIsOn()) {
        return;
    }
    const State now = {esaControl.enclosureType, esaControl.i2cConnected == 1, esaLinkIsUp(),
                       esaControl.compositeFaultStatus & ESA_K_FAULT_ALL};
    if (now != told) {
        statusTell(now);
        told = now;
    }
    notifyAlive();
}
