// SPDX-License-Identifier: Apache-2.0
#include "lab/peers/startup_process.h"

#include "startup.h"

namespace enclab {

StartupProcess::StartupProcess(MessageSwitch& messageSwitch)
    : switch_(messageSwitch), returnCode_(SUS_E_MMSG_RESP_OK) {
    switch_.attach(MMSG_E_EPID_STARTUPMP, [this](const Message& message) { receive(message); });
}

void StartupProcess::receive(const Message& message) {
    if (message.isResponse()) {
        return;
    }
    answer(message);
    switch (message.kind()) {
        case Kind::initComplete:
            ++initCompletes_;
            if (onInitComplete_) {
                onInitComplete_();
            }
            break;
        case Kind::compositeLed:
            ++ledRequests_;
            if (message.header().general_use1 == SUS_K_LED_COMPOSITE_FAULT) {
                compositeLedLit_ = message.header().general_use2 == SUS_K_LED_ON;
            }
            break;
        case Kind::mail:
            ++mails_;
            break;
        case Kind::shutdown:
            ++shutdownRequests_;
            break;
        default:
            break;
    }
}

void StartupProcess::answer(const Message& request) {
    const MMCH_t& asked = request.header();
    Message message = Message::make(asked.opcode.request.protocol, asked.opcode.request.type,
                                    MMSG_E_EPID_STARTUPMP);
    message.header().mmsg_cont = MMSG_K_CONT_RESPONSE;
    message.header().dest_ep = asked.requestor;
    message.header().handle = asked.handle;
    message.header().return_code = returnCode_;
    message.addRecipient(asked.requestor);
    switch_.route(MMSG_E_EPID_STARTUPMP, message);
}

}  // namespace enclab
