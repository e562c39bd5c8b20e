// SPDX-License-Identifier: Apache-2.0
// Prints one management message field by field to the trace log. Reads inside the message only.
#pragma once

#include "mmsg.h"

void esaMmsgPrint(const MMSG_t* mmsgPtr);
