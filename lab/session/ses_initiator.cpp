// SPDX-License-Identifier: Apache-2.0
#include "lab/session/ses_initiator.h"

#include <utility>

#include "tools/sesctl/failure.h"

namespace enclab {

void SesInitiator::send(std::uint8_t endpoint, Bytes request, std::uint8_t pageCode, Next next) {
    Message message(std::move(request));
    message.header().requestor = endpoint;
    message.header().handle = nextHandle_;
    // The volume manager's control pages get no reply.
    if (pageCode != 0 || endpoint != MMSG_E_EPID_VOLMGRMP) {
        waiting_[nextHandle_] = {pageCode, std::move(next)};
    }
    ++nextHandle_;
    switch_.route(endpoint, message);
}

void SesInitiator::get(std::uint8_t endpoint, std::uint8_t pageCode, Next next) {
    send(endpoint, sesctl::receiveDiagnostic(pageCode), pageCode, std::move(next));
}

void SesInitiator::getStatus(std::uint8_t endpoint, Next next) {
    const auto getIt = [this, endpoint, next] {
        get(endpoint, SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE, next);
    };
    configuration_ ? getIt() : get(endpoint, SES_K_CONFIGURATION_DIAGNOSTIC_PAGE, getIt);
}

void SesInitiator::change(std::uint8_t endpoint, Change change) {
    getStatus(endpoint, [this, endpoint, change] {
        if (!status_) {
            return;
        }
        sesctl::ControlPage page(*configuration_, *status_);
        change(page);
        send(endpoint, sesctl::sendDiagnostic(page.bytes()), 0);
    });
}

bool SesInitiator::awaits(const Message& message) const {
    return message.kind() == Kind::reply && waiting_.contains(message.header().handle) &&
           message.bytes()[MMSG_K_HEADER_SIZE] == SES_K_SCSI_STATUS_CODE_GOOD;
}

void SesInitiator::take(const Message& message) {
    if (message.kind() != Kind::reply) {
        return;
    }
    const bool good = awaits(message);
    auto request = waiting_.extract(message.header().handle);
    if (!good) {
        return;
    }
    try {
        takePage(request.mapped().pageCode, sesctl::decodeReply(message.bytes()).payload);
    } catch (const sesctl::Failure&) {
        return;  // cut short by the daemon: nothing to go on with
    }
    if (request.mapped().next) {
        request.mapped().next();
    }
}

void SesInitiator::takePage(std::uint8_t pageCode, sesctl::View payload) {
    if (pageCode == SES_K_CONFIGURATION_DIAGNOSTIC_PAGE) {
        configuration_ = sesctl::decodeConfiguration(sesctl::completePage(payload, pageCode));
    } else if (pageCode == SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE) {
        statusPage_ = sesctl::completePage(payload, pageCode);
        if (configuration_) {
            status_ = sesctl::decodeStatus(statusPage_, *configuration_);
        }
    }
}

}  // namespace enclab
