// SPDX-License-Identifier: Apache-2.0
// The trace log's lock, as its writers see it: a statement takes it, the writer gives it back.
#pragma once

// A failure is a bug check.
void traceUnlock();
