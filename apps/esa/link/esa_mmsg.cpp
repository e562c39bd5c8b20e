// SPDX-License-Identifier: Apache-2.0
// The link to the message switch, and sending over it. No pass of the loop is held up longer than a
// second, whatever the switch does or does not.
#include "link/esa_mmsg.h"

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

namespace {

constexpr U32_t CONNECT_EVERY_PASSES = 10;  // while the link is down
constexpr struct timeval SEND_WAIT = {1, 0};
constexpr struct timeval HARDLY_ANY_WAIT = {0, 1};  // 0 would be without end

struct {
    bool addressFits = false;   // socketAddressMSM holds the whole path
    bool connecting = false;    // the socket is open, and what kept it from connecting passes
    U32_t number = 0;           // of the link
    U32_t passesDown = 0;       // since the link went down or the latest attempt
    bool sendTimedOut = false;  // in this pass: the rest of it does not wait
} state;

// What did not get through, by message number; bit n: number n.
U32_t undelivered;                             // start-up requests: the latest of this type
U32_t lostWhileDown[MMSG_E_MAX_PROTOCOL + 1];  // by protocol, since the link went down

// ---- up and down ----

bool isDescriptorUsable(S32_t fd) {
    return fd >= 0 && fd < FD_SETSIZE;
}

bool addressFill() {
    esaControl.socketAddressMSM = {};
    esaControl.socketAddressMSM.sun_family = AF_UNIX;
    char* path = esaControl.socketAddressMSM.sun_path;
    constexpr std::size_t size = sizeof esaControl.socketAddressMSM.sun_path;
    const int length = std::snprintf(path, size, "%.*s/esadapter", MPU_K_DIRECTORY_SIZE,
                                     pMpuParams->mmsgDirectory);
    return length >= 0 && static_cast<std::size_t>(length) < size;
}

void linkClose() {
    if (esaControl.socketFdMSM >= 0) {
        close(esaControl.socketFdMSM);
    }
    esaControl.socketFdMSM = -1;
    state.connecting = false;
    state.passesDown = 0;
}

bool socketOpen() {
    esaControl.socketFdMSM = socket(AF_UNIX, SOCK_STREAM, 0);
    return isDescriptorUsable(esaControl.socketFdMSM);
}

// Bounds connect as well, which otherwise waits for a switch that does not accept.
void sendWaitSet(const struct timeval& wait) {
    setsockopt(esaControl.socketFdMSM, SOL_SOCKET, SO_SNDTIMEO, &wait, sizeof wait);
}

// Repeats what a signal interrupted.
template <typename Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

bool socketConnect() {
    if (!state.addressFits) {
        return false;
    }
    const int result = uninterrupted([] {
        return connect(esaControl.socketFdMSM,
                       reinterpret_cast<const sockaddr*>(&esaControl.socketAddressMSM),
                       sizeof esaControl.socketAddressMSM);
    });
    state.connecting = result != 0 && esaLinkOutlives(errno);
    return result == 0;
}

// A socket that may connect at any time is tried in each pass, so it must not wait.
bool isAttemptDue() {
    return state.connecting || ++state.passesDown >= CONNECT_EVERY_PASSES;
}

bool attempt() {
    if (!state.connecting && !socketOpen()) {
        return false;
    }
    sendWaitSet(HARDLY_ANY_WAIT);
    const bool connected = socketConnect();
    sendWaitSet(SEND_WAIT);
    return connected;
}

// ---- what is lost ----

// What peers know is numbered below 31.
U32_t numberBit(U32_t number) {
    return U32_t{1} << std::min<U32_t>(number, 31);
}

// Notes that a message is lost while the link is down. True when another of its kind was before:
// events are told apart by id, all else by protocol and type.
bool isLostAgain(const MMSG_t& message) {
    const auto& request = message.mmch.opcode.request;
    const auto& event = *wireView<EsaEvent_t>(message.user_data_start);
    const bool isEvent = request.protocol == MMSG_E_PROTOCOL_EVENTMGR;
    const U32_t bit = numberBit(isEvent ? U32_t{event.header.evId} : U32_t{request.type});
    U32_t* lost = &lostWhileDown[request.protocol % std::size(lostWhileDown)];
    const bool again = (*lost & bit) != 0;
    *lost |= bit;
    return again;
}

void deliveryNote(const MMCH_t& message, bool delivered) {
    if (message.opcode.request.protocol == MMSG_E_PROTOCOL_STARTUP) {
        const U32_t bit = numberBit(message.opcode.request.type);
        undelivered = delivered ? undelivered & ~bit : undelivered | bit;
    }
}

void shortSendReport(const MMSG_t& message, const EsaSender_t& sender) {
    ESA_FAULT_AS(sender, "Linux send function fails, sendSize = [%d] is wrong",
                 static_cast<int>(message.mmch.mmsg_length));
}

void unsentReport(const MMSG_t& message, const EsaSender_t& sender) {
    if (isLostAgain(message)) {
        ESA_TRACE_AS(sender, "MMSG with opcode [0x%x] is not sent, the link to MSM is down.",
                     static_cast<U32_t>(message.mmch.opcode.whole));
    } else {
        shortSendReport(message, sender);
    }
}

// ---- sending ----

ssize_t inOneGo(const MMSG_t& message) {
    const ssize_t sent = uninterrupted([&] {
        return send(esaControl.socketFdMSM, &message, message.mmch.mmsg_length,
                    state.sendTimedOut ? MSG_DONTWAIT : 0);
    });
    state.sendTimedOut |= sent < 0 && errno == EAGAIN;
    return sent;
}

S32_t messageSend(const MMSG_t& message, const EsaSender_t& sender) {
    const auto sent = narrowTo<S32_t>(inOneGo(message));
    if (sent == message.mmch.mmsg_length) {
        return sent;
    }
    // Behind a part of a message the next one would start inside it.
    const bool linkEnds = sent >= 0 || !esaLinkOutlives(errno);
    shortSendReport(message, sender);
    if (linkEnds) {
        esaLinkDown();
        isLostAgain(message);  // it has been reported
    }
    return sent;
}

}  // namespace

bool esaLinkIsUp() {
    return isDescriptorUsable(esaControl.socketFdMSM) && !state.connecting;
}

U32_t esaLinkNumber() {
    return state.number;
}

bool esaLinkOutlives(int error) {
    return error == EINTR || error == EAGAIN || error == ENOBUFS || error == ENOMEM;
}

void esaLinkDown() {
    if (esaControl.socketFdMSM >= 0) {
        ESA_TRACE("The link to MSM on socket [%d] is down.", esaControl.socketFdMSM);
        linkClose();
        ++state.number;
        std::ranges::fill(lostWhileDown, 0);
    }
}

bool esaLinkOpen() {
    state = {.addressFits = addressFill(), .number = state.number + 1};
    undelivered = 0;
    std::ranges::fill(lostWhileDown, 0);
    if (!socketOpen()) {
        ESA_FAULT(esaInit, "Linux socket function fails for ESA socket!");
        esaLinkDown();
        return false;
    }
    sendWaitSet(SEND_WAIT);
    if (socketConnect()) {
        return true;
    }
    ESA_FAULT(esaInit, "Linux connect function fails for MSM/ESA socket!");
    if (!state.connecting) {
        esaLinkDown();
    }
    return false;
}

bool esaLinkPass() {
    state.sendTimedOut = false;
    if (esaLinkIsUp() || !isAttemptDue()) {
        return false;
    }
    const bool connected = attempt();
    if (connected) {
        ESA_TRACE("The link to MSM is up again with socket [%d].", esaControl.socketFdMSM);
    } else if (!state.connecting) {
        linkClose();
    }
    return connected;
}

void esaMmsgHeaderInit(MMCH_t* message, MMSG_PROTOCOL protocol, U32_t type, U32_t length) {
    std::memset(static_cast<void*>(message), 0, std::max(length, MMSG_K_HEADER_SIZE));
    const U32_t address = reinterpret_cast<std::uintptr_t>(message) & UINT32_MAX;
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

bool esaMmsgIsUndelivered(SUS_MMSG type) {
    return (undelivered & numberBit(type)) != 0;
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
