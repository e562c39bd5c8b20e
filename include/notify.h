// SPDX-License-Identifier: Apache-2.0
// Tells the service manager that started the process how it fares: datagrams to the socket that
// NOTIFY_SOCKET names. Without that variable nothing here makes a system call. None of these
// waits, and what the manager does not take is lost.
#pragma once

// Looks at NOTIFY_SOCKET and WATCHDOG_USEC, once, before the others are called.
void notifyOpen();

// False where there is no manager.
bool notifyIsOn();

void notifyReady();

// One line, cut at 120 characters.
void notifyStatus(const char* text);

// To be called often, in good health only: feeds the watchdog at every quarter of its time.
void notifyAlive();
