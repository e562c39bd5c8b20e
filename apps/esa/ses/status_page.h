// SPDX-License-Identifier: Apache-2.0
// The SES enclosure status page.
#pragma once

#include "basetypes.h"

// Bytes of the whole page; may exceed what a message holds when the counts are nonsense.
U32_t statusPageSize();

// Reads the hardware through the chassis table, keeps the books, reports what changed and then
// writes statusPageSize() bytes at `page`, which is not esaWorkSpace: events are sent from there.
void statusPageBuild(U8_t* page);
