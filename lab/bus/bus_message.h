// SPDX-License-Identifier: Apache-2.0
// One message of a bus transfer.
#pragma once

#include <cstdint>
#include <vector>

namespace enclab {

// Address byte and data. A transfer is the messages between a start and a stop condition.
struct BusMessage {
    std::uint8_t address = 0;
    bool read = false;
    std::vector<std::uint8_t> bytes;  // of a read: its size before, the data after
};

}  // namespace enclab
