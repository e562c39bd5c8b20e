// SPDX-License-Identifier: Apache-2.0
#include "lab/peers/message.h"

#include <stdexcept>

#include "startup.h"
#include "sys_msg.h"

namespace enclab {

Message::Message(Bytes bytes) : bytes_(std::move(bytes)) {
    if (bytes_.size() < MMSG_K_HEADER_SIZE) {
        throw std::invalid_argument("a message has at least a header");
    }
}

Message Message::make(std::uint8_t protocol, std::uint32_t type, std::uint8_t requestor,
                      std::size_t length) {
    Message message(Bytes(length, 0));
    MMCH_t& header = message.header();
    header.message_type = MSG_E_TYPE_MMSG;
    header.mmch_version = MMSG_K_VERSION;
    header.mmsg_length = static_cast<std::uint16_t>(length);
    header.opcode.request.protocol = protocol;
    header.opcode.request.type = type;
    header.requestor = requestor;
    return message;
}

static Kind startupKind(std::uint32_t type) {
    switch (type) {
        case SUS_E_MMSG_NOTIFY_INIT_COMPLETE:
            return Kind::initComplete;
        case SUS_E_MMSG_CHANGE_LED_COLOR:
            return Kind::compositeLed;
        case SUS_E_MMSG_SEND_EMAIL_NOTIFICATION:
            return Kind::mail;
        default:
            return Kind::other;
    }
}

Kind Message::kind() const {
    const std::uint8_t protocol = header().opcode.request.protocol;
    const std::uint32_t type = header().opcode.request.type;
    if (isResponse()) {
        if (protocol == MMSG_E_PROTOCOL_SES) {
            return bytes_.size() > MMSG_K_HEADER_SIZE ? Kind::reply : Kind::broken;
        }
        return header().requestor == MMSG_E_EPID_STARTUPMP ? Kind::answer : Kind::other;
    }
    if (protocol == MMSG_E_PROTOCOL_STARTUP) {
        return startupKind(type);
    }
    if (protocol == MMSG_E_PROTOCOL_SHUTDOWN && type == SHDN_E_MMSG_REQ_ORDRLY_SHUTDOWN) {
        return Kind::shutdown;
    }
    if (protocol == MMSG_E_PROTOCOL_EVENTMGR && type == EMP_E_MSGS_LOG) {
        return userData<EsaEvent_t>() != nullptr ? Kind::event : Kind::broken;
    }
    if (protocol == MMSG_E_PROTOCOL_SES) {
        return bytes_.size() > MMSG_K_HEADER_SIZE ? Kind::sesCommand : Kind::broken;
    }
    return Kind::other;
}

const EsaEvent_t* Message::event() const {
    return kind() == Kind::event ? userData<EsaEvent_t>() : nullptr;
}

void Message::addRecipient(std::uint8_t endpoint) {
    Be32& word = header().recipient_loc_bm[endpoint / 32 % 2];
    word = word | (1u << (endpoint % 32));
}

bool Message::isFor(std::uint8_t endpoint) const {
    const Be32& word = header().recipient_loc_bm[endpoint / 32 % 2];
    return (word >> (endpoint % 32) & 1) != 0;
}

void Framer::append(std::span<const std::uint8_t> bytes) {
    pending_.insert(pending_.end(), bytes.begin(), bytes.end());
}

std::optional<Message> Framer::next() {
    if (broken_ || pending_.size() < MMSG_K_HEADER_SIZE) {
        return std::nullopt;
    }
    const std::size_t length = wireView<MMCH_t>(pending_.data())->mmsg_length;
    if (length < MMSG_K_HEADER_SIZE || length > MMSG_K_MESSAGE_MAX) {
        broken_ = true;
        return std::nullopt;
    }
    if (pending_.size() < length) {
        return std::nullopt;
    }
    const auto end = pending_.begin() + static_cast<std::ptrdiff_t>(length);
    Message message(Bytes(pending_.begin(), end));
    pending_.erase(pending_.begin(), end);
    return message;
}

}  // namespace enclab
