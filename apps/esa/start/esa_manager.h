// SPDX-License-Identifier: Apache-2.0
// What the service manager of the board is told: READY once peers are, the state in words, and that
// the loop turns.
#pragma once

// In every pass, and while start-up waits.
void esaManagerTell();
