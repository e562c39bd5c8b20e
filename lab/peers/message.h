// SPDX-License-Identifier: Apache-2.0
// One whole management message as the lab's peers see it, the readable line made of it, and the
// cutting of a byte stream into messages.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "esa_evl.h"
#include "mmsg.h"

namespace enclab {

using Bytes = std::vector<std::uint8_t>;

enum class Kind {
    initComplete,  // the daemon is up
    event,         // a record for the event manager
    compositeLed,  // switch the composite fault LED
    mail,          // send an e-mail notification
    shutdown,      // shut the controller down in order
    reply,         // the daemon's answer to an SES command
    sesCommand,    // an SES command to the daemon
    answer,        // the start-up process's answer to the daemon
    other,
    broken,  // shorter than its kind needs
};

class Message {
  public:
    // `bytes` hold at least a header.
    explicit Message(Bytes bytes);
    // A header of zeros but for what every message carries, to be filled in.
    static Message make(std::uint8_t protocol, std::uint32_t type, std::uint8_t requestor,
                        std::size_t length = MMSG_K_HEADER_SIZE);

    const Bytes& bytes() const { return bytes_; }
    const MMCH_t& header() const { return *wireView<MMCH_t>(bytes_.data()); }
    MMCH_t& header() { return *wireView<MMCH_t>(bytes_.data()); }
    bool isResponse() const { return (header().mmsg_cont & MMSG_K_CONT_RESPONSE) != 0; }
    Kind kind() const;

    // User data viewed as a record; null when the message is too short for it.
    template <typename Record>
    const Record* userData() const {
        return bytes_.size() < MMSG_K_HEADER_SIZE + sizeof(Record)
                   ? nullptr
                   : wireView<Record>(bytes_.data() + MMSG_K_HEADER_SIZE);
    }
    // The event record; null unless kind() is Kind::event.
    const EsaEvent_t* event() const;

    // ORs the endpoint's bit into the recipients on this blade.
    void addRecipient(std::uint8_t endpoint);
    bool isFor(std::uint8_t endpoint) const;

  private:
    Bytes bytes_;
};

// "event   fan fault status: warning, fans 4, failed 0x02 (fan 1)": a tag of eight columns, then
// what the message says. Never fails, whatever the message holds.
std::string describe(const Message& message);
// What such a line can begin with.
std::vector<std::string> messageTags();

// Cuts a stream into messages.
class Framer {
  public:
    void append(std::span<const std::uint8_t> bytes);
    // The next whole message; none while more bytes are needed or when the stream is broken.
    std::optional<Message> next();
    // A header named a length no message has; nothing behind it can be trusted.
    bool broken() const { return broken_; }

  private:
    Bytes pending_;
    bool broken_ = false;
};

}  // namespace enclab
