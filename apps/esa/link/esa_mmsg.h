// SPDX-License-Identifier: Apache-2.0
// The link to the message switch: header, sending, and framing of what arrives. Owns the state of
// the link (up, down, a message half read); socketFdMSM is -1 while it is down.
#pragma once

#include "basetypes.h"
#include "mmsg.h"
#include "startup.h"
#include "state/esa_trace.h"

// Connects to the switch at socketAddressMSM, which this fills from the parameter area's message
// directory. False when the link stays down; reports the failed call as a critical fault.
bool esaLinkOpen();

// Takes the link down: one trace line, the descriptor is closed and a half-read message forgotten.
// Repeats do nothing.
void esaLinkDown();

bool esaLinkIsUp();

// Called once at the end of every loop pass: while the link is down tries silently to connect,
// every tenth pass. True when it came back in this pass, which costs one trace line.
bool esaLinkPass();

// Clears `length` bytes (at least a header) from `message` on to the values every outgoing header
// starts with and fills protocol, type, requestor 33 and length. No recipient yet.
void esaMmsgHeaderInit(MMCH_t* message, MMSG_PROTOCOL protocol, U32_t type, U32_t length);

// ORs endpoint `endpoint` (0..63) into the recipient map of this blade.
void esaMmsgRecipientAdd(MMCH_t* message, U32_t endpoint);

// Sends esaWorkSpace (mmsg_length bytes) in one piece. Returns what send returned, -1 while the
// link is down. A short send is a critical fault of `sender`; while the link is down so is the
// first message of each kind, and its repeats cost one trace line each.
S32_t esaMmsgSend(const EsaSender_t& sender);

// True when the latest request of this type to the start-up process could not be delivered.
bool esaMmsgIsUndelivered(SUS_MMSG type);

// Reads what select reported on the link. True when a whole message stands in esaInMsg and is to be
// dispatched; false when it is not complete yet, or the link went down. Waits at most one
// selectTimeout.
bool esaMmsgReceive();
