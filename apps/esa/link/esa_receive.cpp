// SPDX-License-Identifier: Apache-2.0
// Framing of what arrives. What has not come when the pass has waited long enough goes on in the
// next one, and the hardware poll keeps its rhythm whatever the switch does.
#include "link/esa_receive.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "link/esa_mmsg.h"
#include "mmsg.h"
#include "state/esa_control.h"
#include "state/esa_fault.h"
#include "state/esa_trace.h"

namespace {

constexpr int WAIT_STEP_MS = 10;

// The message being read.
struct {
    U32_t link;     // esaLinkNumber() of the link it comes over
    MMCH_t header;  // as peeked
    U32_t length;   // bytes to take off the stream; 0: its header has not been seen whole
    U32_t taken;
} incoming;

// What is left of the time one pass may wait for a message, in steps.
class WaitBudget {
  public:
    explicit WaitBudget(int waitMs) : steps_(waitMs / WAIT_STEP_MS) {}
    // Takes a step; false when none was left.
    bool take() { return steps_-- > 0; }
    // Waits one step for `events`; true when they, or the end of the stream, came.
    static bool waitFor(short events) {
        struct pollfd watched = {esaControl.socketFdMSM, events, 0};
        return poll(&watched, 1, WAIT_STEP_MS) > 0;
    }

  private:
    int steps_;
};

// What becomes of the link after a receive that gave `result`: an error, or the end of the stream.
// True when only a signal came in between.
bool isInterrupted(ssize_t result, int error) {
    if (result >= 0 || !esaLinkOutlives(error)) {
        esaLinkDown();
    }
    return result < 0 && error == EINTR;
}

bool peekInterrupted(ssize_t result) {
    const int error = errno;
    ESA_TRACE_DUMP_AS(ESA_SENDER(main), &incoming.header, MMSG_K_HEADER_SIZE, "tmpMMCH  =");
    ESA_FAULT(main, "Linux recv function fails, MSG_PEEK readSize = [%zd] is wrong", result);
    return isInterrupted(result, error);
}

bool readInterrupted(ssize_t result) {
    const int error = errno;
    ESA_TRACE_DUMP_AS(ESA_SENDER(main), esaControl.esaInMsg, MMSG_K_MESSAGE_MAX, "esaMMSG =");
    ESA_FAULT(main, "Linux recv function fails, mmsg_length readSize = [%zd] is wrong", result);
    return isInterrupted(result, error);
}

// Peeks until the header is there whole: a stream does not wait for all of it by itself. Bytes that
// are there already keep the socket readable, so only the end of the stream is waited for.
bool headerPeek(WaitBudget* budget) {
    for (bool ended = false;;) {
        const ssize_t got = recv(esaControl.socketFdMSM, &incoming.header, MMSG_K_HEADER_SIZE,
                                 MSG_PEEK | MSG_DONTWAIT);
        if (got == MMSG_K_HEADER_SIZE) {
            return true;
        }
        const bool failed = got <= 0 || ended;
        if ((failed && !peekInterrupted(got)) || !budget->take()) {
            return false;
        }
        ended = !failed && WaitBudget::waitFor(POLLRDHUP);
    }
}

// One read of the message, at most what is left of it. Every piece is placed at the start of
// esaInMsg, deliberately not behind the one before. What no buffer holds is thrown away.
// (compatibility: pieces)
ssize_t pieceRead() {
    U8_t discarded[MMSG_K_MESSAGE_MAX];
    const bool kept = incoming.taken < MMSG_K_MESSAGE_MAX;
    const U32_t end = kept ? std::min(incoming.length, MMSG_K_MESSAGE_MAX) : incoming.length;
    return recv(esaControl.socketFdMSM, kept ? esaControl.esaInMsg : discarded,
                std::min(end - incoming.taken, MMSG_K_MESSAGE_MAX), MSG_DONTWAIT);
}

// Notes a piece. Behind the first one there must be nothing of an older message, which later pieces
// would leave uncovered.
void pieceNote(U32_t length) {
    const bool first = incoming.taken == 0;
    incoming.taken += length;
    if (first && incoming.taken < std::min(incoming.length, MMSG_K_MESSAGE_MAX)) {
        std::memset(esaControl.esaInMsg + length, 0, MMSG_K_MESSAGE_MAX - length);
    }
}

bool moreArrives(WaitBudget* budget) {
    while (budget->take()) {
        if (WaitBudget::waitFor(POLLIN)) {
            return true;
        }
    }
    return false;
}

bool bodyRead(WaitBudget* budget) {
    do {
        const ssize_t got = pieceRead();
        if (got > 0) {
            pieceNote(static_cast<U32_t>(got));
        } else if (!readInterrupted(got)) {
            return false;
        }
        if (incoming.taken == incoming.length) {
            return true;
        }
    } while (moreArrives(budget));
    return false;
}

// What is half read of a link that has ended is forgotten.
void linkFollow() {
    if (incoming.link != esaLinkNumber()) {
        incoming = {};
        incoming.link = esaLinkNumber();
    }
}

}  // namespace

bool esaMmsgReceive(int waitMs) {
    WaitBudget budget(waitMs);
    linkFollow();
    if (incoming.length == 0) {
        if (!headerPeek(&budget)) {
            return false;
        }
        // A length below the header's is the dispatcher's to reject; the header is taken.
        incoming.length = std::max<U32_t>(incoming.header.mmsg_length, MMSG_K_HEADER_SIZE);
    }
    if (!bodyRead(&budget)) {
        return false;
    }
    if (incoming.length > MMSG_K_MESSAGE_MAX) {
        // Later pieces may lie over the header by whose length the dispatcher rejects the message.
        std::memcpy(esaControl.esaInMsg, &incoming.header, MMSG_K_HEADER_SIZE);
    }
    incoming.length = 0;
    incoming.taken = 0;
    return true;
}
