// SPDX-License-Identifier: Apache-2.0
// The link to the message switch. No call here waits longer than a second: what has not arrived by
// then goes on in the next pass, and the hardware poll keeps its rhythm whatever the switch does.
#include "link/esa_mmsg.h"

#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "esa_evl.h"
#include "mpu_gbl.h"
#include "state/esa_control.h"
#include "state/esa_fault.h"
#include "state/esa_trace.h"
#include "sys_msg.h"

static constexpr U32_t CONNECT_EVERY_PASSES = 10;  // while the link is down
static constexpr time_t SEND_TIMEOUT_SEC = 1;
static constexpr int WAIT_STEP_MS = 10;

// The message being read.
static struct {
    MMCH_t header;  // as peeked
    U32_t length;   // bytes to take off the stream; 0: its header has not been seen whole
    U32_t taken;
} incoming;

static bool addressFits;   // socketAddressMSM holds the whole path
static U32_t passesDown;   // since the link went down or the latest attempt
static U32_t undelivered;  // bit n: the latest start-up request of type n did not get through
static U32_t lostWhileDown[MMSG_E_MAX_PROTOCOL + 1];  // by protocol; bit n: a message of number n

// ---- up and down ----

static bool isDescriptorUsable(S32_t fd) {
    return fd >= 0 && fd < FD_SETSIZE;
}

bool esaLinkIsUp() {
    return isDescriptorUsable(esaControl.socketFdMSM);
}

static void linkClose() {
    if (esaControl.socketFdMSM >= 0) {
        close(esaControl.socketFdMSM);
    }
    esaControl.socketFdMSM = -1;
    incoming = {};
    passesDown = 0;
}

void esaLinkDown() {
    if (esaControl.socketFdMSM >= 0) {
        ESA_TRACE("The link to MSM on socket [%d] is down.", esaControl.socketFdMSM);
        linkClose();
    }
}

static bool addressFill() {
    esaControl.socketAddressMSM = {};
    esaControl.socketAddressMSM.sun_family = AF_UNIX;
    char* path = esaControl.socketAddressMSM.sun_path;
    constexpr std::size_t size = sizeof esaControl.socketAddressMSM.sun_path;
    const int length = std::snprintf(path, size, "%.*s/esadapter", MPU_K_DIRECTORY_SIZE,
                                     pMpuParams->mmsgDirectory);
    return length >= 0 && static_cast<std::size_t>(length) < size;
}

static bool socketOpen() {
    esaControl.socketFdMSM = socket(AF_UNIX, SOCK_STREAM, 0);
    if (!isDescriptorUsable(esaControl.socketFdMSM)) {
        return false;
    }
    // Bounds connect as well, which otherwise waits for a switch that does not accept.
    const struct timeval timeout = {SEND_TIMEOUT_SEC, 0};
    setsockopt(esaControl.socketFdMSM, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
    return true;
}

static bool socketConnect() {
    return addressFits && connect(esaControl.socketFdMSM,
                                  reinterpret_cast<const sockaddr*>(&esaControl.socketAddressMSM),
                                  sizeof esaControl.socketAddressMSM) == 0;
}

bool esaLinkOpen() {
    incoming = {};
    passesDown = 0;
    undelivered = 0;
    std::ranges::fill(lostWhileDown, 0);
    addressFits = addressFill();
    if (!socketOpen()) {
        ESA_FAULT(esaInit, "Linux socket function fails for ESA socket!");
    } else if (!socketConnect()) {
        ESA_FAULT(esaInit, "Linux connect function fails for MSM/ESA socket!");
    } else {
        return true;
    }
    esaLinkDown();
    return false;
}

bool esaLinkPass() {
    if (esaLinkIsUp() || ++passesDown < CONNECT_EVERY_PASSES) {
        return false;
    }
    if (!socketOpen() || !socketConnect()) {
        linkClose();
        return false;
    }
    std::ranges::fill(lostWhileDown, 0);
    ESA_TRACE("The link to MSM is up again with socket [%d].", esaControl.socketFdMSM);
    return true;
}

// ---- sending ----

void esaMmsgHeaderInit(MMCH_t* message, MMSG_PROTOCOL protocol, U32_t type, U32_t length) {
    std::memset(static_cast<void*>(message), 0, std::max(length, MMSG_K_HEADER_SIZE));
    const auto address = static_cast<U32_t>(reinterpret_cast<std::uintptr_t>(message));
    message->mmch_lh.flink = address;
    message->mmch_lh.blink = address;
    message->message_type = MSG_E_TYPE_MMSG;
    message->mmch_version = MMSG_K_VERSION;
    message->mmsg_length = static_cast<U16_t>(length);
    message->opcode.request.protocol = protocol;
    message->opcode.request.type = type;
    message->requestor = MMSG_E_EPID_ES_ADAPTERMP;
}

void esaMmsgRecipientAdd(MMCH_t* message, U32_t endpoint) {
    Be32& word = message->recipient_loc_bm[endpoint / 32];
    word = word | (U32_t{1} << (endpoint % 32));
}

// Errors after which the same link goes on.
static bool isTransient(int error) {
    return error == EINTR || error == EAGAIN;
}

// What peers know is numbered below 31.
static U32_t numberBit(U32_t number) {
    return U32_t{1} << std::min<U32_t>(number, 31);
}

// Notes that a message is lost while the link is down. True when another of its kind was before:
// events are told apart by id, all else by protocol and type.
static bool isLostAgain(const MMSG_t& message) {
    const auto& request = message.mmch.opcode.request;
    const auto& event = *wireView<EsaEvent_t>(message.user_data_start);
    const bool isEvent = request.protocol == MMSG_E_PROTOCOL_EVENTMGR;
    const U32_t bit = numberBit(isEvent ? U32_t{event.header.evId} : U32_t{request.type});
    U32_t* lost = &lostWhileDown[request.protocol % std::size(lostWhileDown)];
    const bool again = (*lost & bit) != 0;
    *lost |= bit;
    return again;
}

static void deliveryNote(const MMCH_t& message, bool delivered) {
    if (message.opcode.request.protocol == MMSG_E_PROTOCOL_STARTUP) {
        const U32_t bit = numberBit(message.opcode.request.type);
        undelivered = delivered ? undelivered & ~bit : undelivered | bit;
    }
}

bool esaMmsgIsUndelivered(SUS_MMSG type) {
    return (undelivered & numberBit(type)) != 0;
}

static void shortSendReport(const MMSG_t& message, const EsaSender_t& sender) {
    ESA_FAULT_AS(sender, "Linux send function fails, sendSize = [%d] is wrong",
                 static_cast<int>(message.mmch.mmsg_length));
}

static S32_t messageSend(const MMSG_t& message, const EsaSender_t& sender) {
    const int length = message.mmch.mmsg_length;
    const auto sent = static_cast<S32_t>(
        send(esaControl.socketFdMSM, &message, static_cast<std::size_t>(length), 0));
    const int error = errno;
    if (sent != length) {
        shortSendReport(message, sender);
        if (sent < 0 && !isTransient(error)) {
            esaLinkDown();
            isLostAgain(message);  // it has been reported
        }
    }
    return sent;
}

static void unsentReport(const MMSG_t& message, const EsaSender_t& sender) {
    if (isLostAgain(message)) {
        ESA_TRACE_AS(sender, "MMSG with opcode [0x%x] is not sent, the link to MSM is down.",
                     static_cast<U32_t>(message.mmch.opcode.whole));
    } else {
        shortSendReport(message, sender);
    }
}

S32_t esaMmsgSend(const EsaSender_t& sender) {
    const MMSG_t& message = *wireView<MMSG_t>(esaControl.esaWorkSpace);
    S32_t sent = -1;
    if (esaLinkIsUp()) {
        sent = messageSend(message, sender);
    } else {
        unsentReport(message, sender);
    }
    deliveryNote(message.mmch, sent == message.mmch.mmsg_length);
    return sent;
}

// ---- receiving ----

// What is left of the time one pass may wait for a message, in steps.
class WaitBudget {
  public:
    WaitBudget()
        : steps_(static_cast<int>(esaControl.selectTimeout.sec * 1000 +
                                  esaControl.selectTimeout.usec / 1000) /
                 WAIT_STEP_MS) {}
    bool isSpent() const { return steps_ <= 0; }
    // Waits one step for `events`; true when they, or the end of the stream, came.
    bool step(short events) {
        --steps_;
        struct pollfd watched = {esaControl.socketFdMSM, events, 0};
        return poll(&watched, 1, WAIT_STEP_MS) > 0;
    }

  private:
    int steps_;
};

// The receive failed with `error`, or met the end of the stream (`result` not negative).
static void linkDownUnlessTransient(ssize_t result, int error) {
    if (result >= 0 || !isTransient(error)) {
        esaLinkDown();
    }
}

static void peekFailed(ssize_t result) {
    const int error = errno;
    ESA_TRACE_DUMP_AS(ESA_SENDER(main), &incoming.header, MMSG_K_HEADER_SIZE, "tmpMMCH  =");
    ESA_FAULT(main, "Linux recv function fails, MSG_PEEK readSize = [%d] is wrong",
              static_cast<int>(result));
    linkDownUnlessTransient(result, error);
}

static void readFailed(ssize_t result) {
    const int error = errno;
    ESA_TRACE_DUMP_AS(ESA_SENDER(main), esaControl.esaInMsg, MMSG_K_MESSAGE_MAX, "esaMMSG =");
    ESA_FAULT(main, "Linux recv function fails, mmsg_length readSize = [%d] is wrong",
              static_cast<int>(result));
    linkDownUnlessTransient(result, error);
}

// Peeks until the header is there whole: a stream does not wait for all of it by itself. Bytes that
// are there already keep the socket readable, so only the end of the stream is waited for.
static bool headerPeek(WaitBudget* budget) {
    bool ended = false;
    for (;;) {
        const ssize_t got = recv(esaControl.socketFdMSM, &incoming.header, MMSG_K_HEADER_SIZE,
                                 MSG_PEEK | MSG_DONTWAIT);
        if (got == MMSG_K_HEADER_SIZE) {
            return true;
        }
        if (got <= 0 || ended) {
            peekFailed(got);
            return false;
        }
        if (budget->isSpent()) {
            return false;
        }
        ended = budget->step(POLLRDHUP);
    }
}

// One read of the message, at most what is left of it. Every piece is placed at the start of
// esaInMsg, deliberately not behind the one before. What no buffer holds is thrown away.
static ssize_t pieceRead() {
    if (incoming.taken < MMSG_K_MESSAGE_MAX) {
        const U32_t end = std::min(incoming.length, MMSG_K_MESSAGE_MAX);
        return recv(esaControl.socketFdMSM, esaControl.esaInMsg, end - incoming.taken,
                    MSG_DONTWAIT);
    }
    U8_t discarded[MMSG_K_MESSAGE_MAX];
    const U32_t left = incoming.length - incoming.taken;
    return recv(esaControl.socketFdMSM, discarded, std::min(left, MMSG_K_MESSAGE_MAX),
                MSG_DONTWAIT);
}

// What a later piece may leave uncovered belongs to an older message.
static void behindFirstPieceClear() {
    if (incoming.taken < MMSG_K_MESSAGE_MAX) {
        std::memset(esaControl.esaInMsg + incoming.taken, 0, MMSG_K_MESSAGE_MAX - incoming.taken);
    }
}

static bool moreArrives(WaitBudget* budget) {
    while (!budget->isSpent()) {
        if (budget->step(POLLIN)) {
            return true;
        }
    }
    return false;
}

static bool bodyRead(WaitBudget* budget) {
    for (;;) {
        const ssize_t got = pieceRead();
        if (got <= 0) {
            readFailed(got);
            return false;
        }
        const bool first = incoming.taken == 0;
        incoming.taken += static_cast<U32_t>(got);
        if (incoming.taken == incoming.length) {
            return true;
        }
        if (first) {
            behindFirstPieceClear();
        }
        if (!moreArrives(budget)) {
            return false;
        }
    }
}

bool esaMmsgReceive() {
    WaitBudget budget;
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
    incoming = {};
    return true;
}
