// SPDX-License-Identifier: Apache-2.0
#include "lab/peers/startup_process.h"

#include <fmt/format.h>

#include "startup.h"

namespace enclab {

StartupProcess::StartupProcess(MessageSwitch& messageSwitch, Schedule& schedule)
    : switch_(messageSwitch), schedule_(schedule) {
    switch_.attach(MMSG_E_EPID_STARTUPMP, [this](const Message& message) { receive(message); });
}

void StartupProcess::receive(const Message& message) {
    if (message.isResponse()) {
        return;
    }
    if (answer_ != StartupAnswer::kNone) {
        answer(message);
    }
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
            takeMail();
            break;
        case Kind::shutdown:
            takeShutdown();
            break;
        default:
            break;
    }
}

void StartupProcess::takeMail() {
    ++mails_;
    mailTimes_.push_back(schedule_.now());
    if (mailTimes_.size() > kMailsMax) {
        mailTimes_.pop_front();
    }
}

void StartupProcess::takeShutdown() {
    ++shutdownRequests_;
    if (shutdownWay_ == ShutdownWay::kPerform && onPowerOff_) {
        schedule_.after(Schedule::Seconds(0), onPowerOff_);
    }
}

std::string StartupProcess::mailbox() const {
    std::string text = fmt::format("{} mail{}", mails_, mails_ == 1 ? "" : "s");
    for (std::size_t n = 0; n < mailTimes_.size(); ++n) {
        text += fmt::format("\n{:9.1f}", mailTimes_[n]);
        text += n == 0 ? "" : fmt::format("  {:.1f} s later", mailTimes_[n] - mailTimes_[n - 1]);
    }
    return text;
}

void StartupProcess::answer(const Message& request) {
    const MMCH_t& asked = request.header();
    Message message = Message::make(asked.opcode.request.protocol, asked.opcode.request.type,
                                    MMSG_E_EPID_STARTUPMP);
    message.header().mmsg_cont = MMSG_K_CONT_RESPONSE;
    message.header().dest_ep = asked.requestor;
    message.header().handle = asked.handle;
    const bool refused = answer_ == StartupAnswer::kRejected ||
                         (shutdownWay_ == ShutdownWay::kRefuse && request.kind() == Kind::shutdown);
    message.header().return_code = refused ? SUS_E_MMSG_RESP_REJECTED : SUS_E_MMSG_RESP_OK;
    message.addRecipient(asked.requestor);
    switch_.route(MMSG_E_EPID_STARTUPMP, message);
}

}  // namespace enclab
