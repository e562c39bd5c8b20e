// SPDX-License-Identifier: Apache-2.0
// Enclosure Services Adapter: start-up sequence, the loop and its timers. The chief header.
#pragma once

#include "mpu_gbl.h"
#include "state/esa_control.h"

extern const char* ProgName;  // program name for messages: argv[0] behind its last '/'
extern S32_t shmKey;          // key of the parameter area, from the command line

// The process: start-up, then the loop for ever. Returns only an exit status of start-up: 1 too few
// arguments, 2 key below 100, 3 parameter area not attached.
int esaMain(int argc, char** argv);

// Tells the start-up process that initialisation is complete; sent again when a link that was down
// at that time comes up.
void esaInitCompleteSend();

// Waits at most 180 s for the platform's RCP-complete flag.
void esaRcpCompleteWait(const MPU_PARAMS_t* params);

// Brings up the back-end of the enclosure type and reports the outcome.
void esaBackendInit();

// One pass: wait up to selectTimeout for a message, handle it, advance the timers, see to the link.
void esaLoopPass();

// Advances the poll and report countdowns by one pass and does what is due.
void esaPollTimeoutProcess();
