// SPDX-License-Identifier: Apache-2.0
// Log lines of the model.
#pragma once

#include <fmt/format.h>

#include "tests/story/model.h"

template <typename... Arguments>
void Model::say(const char* function, const char* text, const Arguments&... arguments) {
    log.push_back(std::string(function) + ":  " + fmt::format(fmt::runtime(text), arguments...));
}
