// SPDX-License-Identifier: Apache-2.0
// Names and keys of the service come with the quotes they are looked for with.
#pragma once

#include <string>
#include <string_view>

namespace personality {

inline std::string bare(std::string_view quoted) {
    return std::string(quoted.substr(1, quoted.size() - 2));
}

}  // namespace personality
