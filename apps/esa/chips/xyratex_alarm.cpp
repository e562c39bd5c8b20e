// SPDX-License-Identifier: Apache-2.0
#include "chips/xyratex_alarm.h"

#include "chips/vsc055.h"
#include "state/alarm_name.h"
#include "state/esa_trace.h"

namespace {

constexpr int PORT_ALARM = 5;
constexpr U8_t ALARM_KEPT = 0xF0;       // bits that setting a state leaves alone
constexpr U8_t ALARM_STROBE = 0x08;     // set with the state, then cleared
constexpr U8_t ALARM_SELECTOR = 0x07;   // state to set, or number of the state bit to read
constexpr U8_t ALARM_STATE_BIT = 0x10;  // input: the selected bit
constexpr int ALARM_STATE_BITS = 3;
constexpr U8_t ALARM_UNREADABLE = 7;

// One bit of the state, in its place; a failed read contributes all three.
U8_t alarmBitRead(U8_t selector) {
    const U8_t kept = esaControl.vitesse.vsc055GPD[PORT_ALARM] & static_cast<U8_t>(~ALARM_SELECTOR);
    vsc055PortWrite(PORT_ALARM, kept | selector);
    U8_t value = 0;
    const ESA_CODE_e code = vsc055RegisterRead(VSC055_REG_GPD(PORT_ALARM), &value);
    // The first read minds an unreachable bus only, the two others any failure, deliberately.
    // (compatibility: alarm-reads-xyratex)
    const bool failed = selector == 0 ? code == ESA_E_GENERR_I2C_UNAVAILABLE : code != ESA_E_OK;
    if (failed) {
        return ALARM_UNREADABLE;
    }
    return (value & ALARM_STATE_BIT) != 0 ? static_cast<U8_t>(1 << selector) : U8_t{0};
}

}  // namespace

void xyratexAlarmStateSet(EsaXyratexAlarmState_e state) {
    const char* name = esaAlarmStateNameAsRead(state);
    if (name == nullptr) {
        ESA_TRACE("Set the Alarm State to un-supported value [%d].", static_cast<int>(state));
        return;
    }
    ESA_TRACE("Set the Alarm State to [%s].", name);
    const U8_t kept = esaControl.vitesse.vsc055GPD[PORT_ALARM] & ALARM_KEPT;
    vsc055PortWrite(PORT_ALARM, static_cast<U8_t>(kept | ALARM_STROBE | state));
    vsc055PortBitsClear(PORT_ALARM, ALARM_STROBE);
}

EsaXyratexAlarmState_e xyratexAlarmStateRead() {
    U8_t state = 0;
    for (U8_t selector = 0; selector < ALARM_STATE_BITS; ++selector) {
        state |= alarmBitRead(selector);
    }
    ESA_TRACE("Read the Alarm State as [%s].", esaAlarmStateNameAsRead(state));
    return static_cast<EsaXyratexAlarmState_e>(state);
}
