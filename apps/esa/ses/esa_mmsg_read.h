// SPDX-License-Identifier: Apache-2.0
// Reading a received message no further than it goes: what lies behind its length in the buffer
// belongs to older messages.
#pragma once

#include <algorithm>
#include <cstring>

#include "basetypes.h"
#include "mmsg.h"

// Bytes of the message that stand in its buffer, 64..4064: the header always came.
inline U32_t esaMmsgSize(const MMSG_t* mmsgPtr) {
    return std::clamp<U32_t>(mmsgPtr->mmch.mmsg_length, MMSG_K_HEADER_SIZE, MMSG_K_MESSAGE_MAX);
}

// Copy of the record at message byte `offset`; bytes that did not come read as 0.
template <typename Record>
Record esaMmsgRecord(const MMSG_t* mmsgPtr, U32_t offset) {
    static_assert(std::is_trivially_copyable_v<Record>);
    Record record = {};
    const U32_t size = esaMmsgSize(mmsgPtr);
    if (offset < size) {
        const U8_t* bytes = wireView<U8_t>(mmsgPtr);
        std::memcpy(&record, bytes + offset, std::min<std::size_t>(sizeof record, size - offset));
    }
    return record;
}
