// SPDX-License-Identifier: Apache-2.0
#include "tools/sesctl/enclosure.h"

#include <fmt/format.h>

#include <utility>

#include "tools/sesctl/failure.h"

namespace sesctl {

Reply callGood(Client& client, Bytes request) {
    Reply reply = client.call(std::move(request));
    if (reply.checkCondition) {
        const Sense& sense = *reply.checkCondition;
        throw Failure(
            ExitCode::checkCondition,
            fmt::format("CHECK CONDITION: sense key {}, additional sense 0x{:02X}/0x{:02X}",
                        sense.key, sense.code, sense.qualifier));
    }
    return reply;
}

Bytes readPage(Client& client, std::uint8_t pageCode) {
    return completePage(callGood(client, receiveDiagnostic(pageCode)).payload, pageCode);
}

Enclosure readEnclosure(Client& client) {
    Enclosure enclosure;
    enclosure.configurationPage = readPage(client, SES_K_CONFIGURATION_DIAGNOSTIC_PAGE);
    enclosure.configuration = decodeConfiguration(enclosure.configurationPage);
    enclosure.statusPage = readPage(client, SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE);
    enclosure.status = decodeStatus(enclosure.statusPage, enclosure.configuration);
    return enclosure;
}

}  // namespace sesctl
