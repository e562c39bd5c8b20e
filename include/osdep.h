// SPDX-License-Identifier: Apache-2.0
// Last resorts of every process: the fatal stop, the fatal-signal handler and a spin lock on a
// shared counter.
#pragma once

#include <csignal>

#include "basetypes.h"

// Codes of the trace log's mutex failures.
constexpr U32_t MPU_K_BUGCHECK_MUTEX_INIT = 0x40000004;
constexpr U32_t MPU_K_BUGCHECK_MUTEX_DONE = 0x40000005;
constexpr U32_t MPU_K_BUGCHECK_MUTEX_GET = 0x40000006;
constexpr U32_t MPU_K_BUGCHECK_MUTEX_UNLOCK = 0x40000007;

// Reports `text` and the current system error on standard error and ends the process; its exit
// status is the low 8 bits of `status`.
[[noreturn]] void MPU_BUGCHECK(U32_t status, const char* text);

// Installs catchEvent for the fatal signals; does nothing while a parameter area is attached.
void handleUnexpectedSignals();

// Signal handler: records the signal in the alternate event log and aborts.
[[noreturn]] void catchEvent(int signal, siginfo_t* info, void* context);

// Takes one unit of the counting lock, spinning until there is one; the new count.
S32_t mpuSpinLock_Get(volatile S32_t* lock);
