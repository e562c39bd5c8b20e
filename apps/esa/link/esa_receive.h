// SPDX-License-Identifier: Apache-2.0
// Framing: takes one message after the other off the link's stream.
#pragma once

// Reads what select reported on the link. True when a whole message stands in esaInMsg and is to be
// dispatched; false when it is not complete yet and goes on in the next pass, or the link went
// down. Waits at most `waitMs` milliseconds.
bool esaMmsgReceive(int waitMs);
