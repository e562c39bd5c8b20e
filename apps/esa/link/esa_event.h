// SPDX-License-Identifier: Apache-2.0
// Event reports to the event manager.
#pragma once

#include "basetypes.h"
#include "esa_evl.h"

// Builds an event in esaWorkSpace and sends it. `eventDataPtr` points to a value-initialised
// EsaEventData_t in which the caller has filled the fields its event defines. Returns what send
// returned.
S32_t esaEventMmsgToEmpSend(U16_t eventId, U8_t eventType, const void* eventDataPtr);

// Sends the statistics event. Returns what send returned.
S32_t esaReportTimeoutProcess();
