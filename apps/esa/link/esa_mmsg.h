// SPDX-License-Identifier: Apache-2.0
// The link to the message switch, and sending over it. Owns the state of the link: up, down, or
// connecting; socketFdMSM is -1 while it is down.
#pragma once

#include "basetypes.h"
#include "mmsg.h"
#include "startup.h"
#include "state/esa_trace.h"

// Connects to the switch at socketAddressMSM, which this fills from the parameter area's message
// directory. False when the link is not up; reports the failed call as a critical fault.
bool esaLinkOpen();

// Takes the link down: one trace line, and the descriptor is closed. Repeats do nothing.
void esaLinkDown();

bool esaLinkIsUp();

// Another after each end of a link: what is half read belongs to one link.
U32_t esaLinkNumber();

// False for the errors of a system call after which the link is at its end.
bool esaLinkOutlives(int error);

// Called once at the end of every loop pass, which also ends the pass's budget for sending. While
// the link is down tries silently to connect, every tenth pass, or in each when only the switch's
// queue or memory was short. True when it came back in this pass, which costs one trace line.
bool esaLinkPass();

// Clears `length` bytes (at least a header) from `message` on to the values every outgoing header
// starts with and fills protocol, type, requestor 33 and length. No recipient yet.
void esaMmsgHeaderInit(MMCH_t* message, MMSG_PROTOCOL protocol, U32_t type, U32_t length);

// ORs endpoint `endpoint` (0..63) into the recipient map of this blade.
void esaMmsgRecipientAdd(MMCH_t* message, U32_t endpoint);

// Sends esaWorkSpace (mmsg_length bytes) in one piece. Waits at most a second for room, and not at
// all once a send of this pass has waited in vain. Returns what send returned, -1 while the link is
// down. A short send is a critical fault of `sender`; while the link is down so is the first
// message of each kind, and its repeats cost one trace line each.
S32_t esaMmsgSend(const EsaSender_t& sender);

// True when the latest request of this type to the start-up process could not be delivered.
bool esaMmsgIsUndelivered(SUS_MMSG type);
