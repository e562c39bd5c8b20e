// SPDX-License-Identifier: Apache-2.0
// The SES status page as a client process gets it from the daemon.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>

namespace enclab {

// Asks the daemon through the switch's socket and waits for it, some seconds at most. "bytes" is
// the page in hexadecimal, its last byte completed with 00; "rows" its records [offset, size, of,
// says, fault]; "status" what `sesctl status --json` prints. Throws std::runtime_error.
nlohmann::json sesPage(const std::filesystem::path& socket);

}  // namespace enclab
