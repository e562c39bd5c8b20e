// SPDX-License-Identifier: Apache-2.0
// Builds messages as they arrive: in a buffer of 4064 bytes whose rest still holds an older
// message.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "mmsg.h"

struct Inbound {
    std::uint32_t length = 72;
    std::uint8_t messageType = 14;
    std::uint8_t protocol = 18;
    std::uint32_t type = 28;
    std::uint8_t requestor = 26;
    std::uint8_t cont = 0;
    std::uint32_t localRecipients = 2;  // second word
    std::uint32_t otherRecipients = 0;
    std::uint32_t returnCode = 0;
    std::vector<std::uint8_t> data =
        {};                     // user data; what goes beyond `length` is the older message's
    std::uint8_t older = 0xEE;  // the rest of the buffer
};

class InboundBuffer {
  public:
    explicit InboundBuffer(const Inbound& in) : bytes_(4064, in.older) {
        std::fill_n(bytes_.begin(), 64, std::uint8_t{0});
        bytes_[8] = in.messageType;
        bytes_[9] = 1;
        put(10, in.length, 2);
        bytes_[12] = in.protocol;
        put(13, in.type, 3);
        bytes_[16] = in.requestor;
        bytes_[17] = in.cont;
        put(24, in.localRecipients, 4);
        put(32, in.otherRecipients, 4);
        put(36, in.returnCode, 4);
        std::copy(in.data.begin(), in.data.end(), bytes_.begin() + 64);
    }
    void put(std::size_t offset, std::uint32_t value, int size) {
        for (int i = size - 1; i >= 0; --i, value >>= 8) {
            bytes_[offset + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value);
        }
    }
    MMSG_t* message() { return wireView<MMSG_t>(bytes_.data()); }

  private:
    std::vector<std::uint8_t> bytes_;  // sized exactly: reading past it is caught by the sanitizer
};
