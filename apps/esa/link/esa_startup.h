// SPDX-License-Identifier: Apache-2.0
// Requests to the start-up process. Each returns what send returned; none waits for an answer.
#pragma once

#include "basetypes.h"
#include "state/esa_control.h"

S32_t esaEmailNotificationMmsgToStartupSend();

// ESA_E_OK puts the composite fault LED out, anything else lights it.
S32_t esaCompositeFaultMmsgToStartupSend(ESA_CODE_e status);

S32_t esaOrderlyShutdownMmsgToStartupSend();
