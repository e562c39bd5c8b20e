// SPDX-License-Identifier: Apache-2.0
// Answers to SES commands: configuration page, enclosure status page, sense data, bare status.
#pragma once

#include "basetypes.h"
#include "mmsg.h"

// Answers the command `rcvMmsgPtr` with SCSI status `statusCode` (0 good, 2 check condition). Page
// 2 reads the hardware at that moment. What is not supported gets no reply.
void esaStatusSend(const MMSG_t* rcvMmsgPtr, U8_t statusCode, U8_t pageCode, U8_t senseKey,
                   U8_t asc, U8_t ascq);
