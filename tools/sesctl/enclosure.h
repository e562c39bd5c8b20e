// SPDX-License-Identifier: Apache-2.0
// The enclosure as the service tells it at one moment: both pages, read and decoded.
#pragma once

#include "tools/sesctl/client.h"

namespace sesctl {

// Both pages as they came, completed, and what they say.
struct Enclosure {
    Bytes configurationPage;
    Bytes statusPage;
    Configuration configuration;
    Status status;
};

// These throw Failure: what Client::call throws, checkCondition, malformedReply.
Reply callGood(Client& client, Bytes request);
Bytes readPage(Client& client, std::uint8_t pageCode);
Enclosure readEnclosure(Client& client);

}  // namespace sesctl
