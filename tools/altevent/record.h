// SPDX-License-Identifier: Apache-2.0
// What a record of the alternate event log says.
#pragma once

#include <string>

#include "alt_event_log.h"
#include "tools/altevent/field.h"
#include "wire.h"

namespace altevent {

struct Decoded {
    std::string kind;
    Fields header;   // the event header's
    Fields payload;  // a dump where the kind is not known
};

Decoded decodeRecord(const U8_t (&record)[ALT_EVENT_K_RECORD_SIZE]);

// Parts of it, of at least as many bytes as their record has: the service's state at a critical
// fault, the header of a message, a fatal signal.
Fields serviceStateFields(ByteSpan payload);
Fields messageHeaderFields(ByteSpan message);
Fields signalFields(ByteSpan payload);

template <typename Record>
const Record& view(ByteSpan bytes) {
    return *wireView<Record>(static_cast<const void*>(bytes.data()));
}

}  // namespace altevent
