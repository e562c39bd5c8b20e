// SPDX-License-Identifier: Apache-2.0
// Prints one management message field by field to the trace log: a reply in esaWorkSpace whole,
// what was received no further than it goes.
#pragma once

#include "mmsg.h"

void esaMmsgPrint(const MMSG_t* mmsgPtr);
