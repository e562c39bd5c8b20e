// SPDX-License-Identifier: Apache-2.0
// The trace log's lock, as statements and their writers see it: the one takes it, the other gives
// it back.
#pragma once

// A failure is a bug check.
void traceLock();
void traceUnlock();
