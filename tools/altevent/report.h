// SPDX-License-Identifier: Apache-2.0
// The log as people or programs read it.
#pragma once

#include <string>

#include "tools/altevent/slots.h"

namespace altevent {

// `withHex` adds the bytes of each record.
std::string textReport(const Log& log, bool withHex);
std::string jsonReport(const Log& log, bool withHex);

}  // namespace altevent
