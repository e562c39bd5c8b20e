// SPDX-License-Identifier: Apache-2.0
// Events that report element states as they stand in the control block; polls and SES pages send
// the same ones.
#pragma once

#include "emp_mesgs.h"

// powerSupplyStatus as it stands.
void esaPowerSupplyEventSend(EMP_TYPE eventType);

// fanFaultStatus as it stands; a warning even when fans came back.
void esaFanEventSend();
