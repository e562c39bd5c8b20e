// SPDX-License-Identifier: Apache-2.0
// Critical faults: a boxed report and a dump of the service's state in the trace log, and four
// records in the alternate event log. The caller carries on.
#pragma once

#include "alt_event_log.h"
#include "basetypes.h"
#include "state/esa_trace.h"

extern char esaDebugMsg[1024];                              // text of the latest fault
extern U8_t esaBugCheckWorkSpace[ALT_EVENT_K_RECORD_SIZE];  // record being stored

// Reports that a system call failed in `fnName` ("main()") of `fileName`, line `lineNo`; `msg` is a
// printf format.
void esaFault(const char* fileName, int lineNo, const char* fnName, const char* msg, ...)
    __attribute__((format(printf, 4, 5)));

// ESA_FAULT_AS(sender, format, ...): the sender's fault, in the one file log readers know.
#define ESA_FAULT_AS(sender, ...) \
    esaFault(ESA_K_TRACE_FILE, (sender).line, (sender).function, __VA_ARGS__)

// ESA_FAULT(main, format, ...): the fault of this line.
#define ESA_FAULT(name, ...) ESA_FAULT_AS(ESA_SENDER(name), __VA_ARGS__)
