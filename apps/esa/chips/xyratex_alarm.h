// SPDX-License-Identifier: Apache-2.0
// Alarm controller of the Xyratex 2U12ATX behind port 5 of its VSC055: three selector lines and a
// strobe take a state, or choose the state bit that an input gives.
#pragma once

#include "state/esa_control.h"

void xyratexAlarmStateSet(EsaXyratexAlarmState_e state);
// INVALID_S7 when a step fails on the bus.
EsaXyratexAlarmState_e xyratexAlarmStateRead();
