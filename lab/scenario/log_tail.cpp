// SPDX-License-Identifier: Apache-2.0
#include "lab/scenario/log_tail.h"

#include <fstream>
#include <system_error>

namespace enclab {

std::vector<std::string> LogTail::lines() {
    std::error_code none;
    std::vector<std::string> lines;
    if (!std::filesystem::is_regular_file(file_, none) ||
        std::filesystem::file_size(file_, none) == seen_) {
        return lines;
    }
    std::ifstream file(file_, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(seen_));
    for (std::string line; std::getline(file, line) && !file.eof();) {
        seen_ += line.size() + 1;
        lines.push_back(line);
    }
    return lines;
}

}  // namespace enclab
