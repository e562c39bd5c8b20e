// SPDX-License-Identifier: Apache-2.0
// Bytes to structs and back: SES commands in management messages, their replies, and the two
// diagnostic pages. Whatever a reply holds, nothing is read outside it; what makes no sense is a
// Failure with ExitCode::malformedReply.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "mmsg.h"
#include "tools/sesctl/pages.h"

namespace sesctl {

using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

// Commands from the environment process to the service; the handle is still 0.
Bytes receiveDiagnostic(std::uint8_t pageCode);
Bytes sendDiagnostic(View page);

// True when `message`, at least a header, answers `request`.
bool answers(View message, View request);

struct Sense {
    unsigned key = 0;
    unsigned code = 0;
    unsigned qualifier = 0;
};

struct Reply {
    std::optional<Sense> checkCondition;  // none: GOOD
    Bytes payload;                        // what follows the status byte
};
Reply decodeReply(View message);

// The page in a reply's payload. Replies leave out a page's last byte: it is given as 0.
Bytes completePage(View payload, std::uint8_t pageCode);

Configuration decodeConfiguration(View page);
Status decodeStatus(View page, const Configuration& configuration);

}  // namespace sesctl
