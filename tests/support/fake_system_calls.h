// SPDX-License-Identifier: Apache-2.0
// Takes the place of the system calls the service waits and talks with: nothing sleeps, failures
// are scripted, calls are counted. What is not scripted goes to the system.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>

struct SystemCalls {
    int selects = 0;
    int receives = 0;
    int sends = 0;
    int polls = 0;
    int connects = 0;
    unsigned sleptSec = 0;

    int selectError = 0;                   // the next select fails with this errno
    int selectDescriptors = -1;            // first argument of the latest select
    std::int64_t selectMicroseconds = -1;  // its time-out
    std::int64_t selectUses = 0;           // microseconds each select uses up
    std::deque<int> receiveErrors;         // errno of the next receives, 0: to the system
    std::deque<int> sendErrors;            // the same of sends; -N: N bytes go
    std::deque<int> connectErrors;         // the same of connects
    int sendFlags = 0;                     // of the latest send
    int nextSocket = 0;           // what the next socket call gives, -1 with EMFILE; 0: a socket
    std::string enclosureDevice;  // opened in place of /dev/enc-0; empty: no such device

    // Run in every connect, with its socket, and in every wait, short wait and sleep, before it
    // ends.
    std::function<void(int)> onConnect;
    std::function<void()> onSelect;
    std::function<void()> onPoll;
    std::function<void()> onSleep;
};

extern SystemCalls systemCalls;
