// SPDX-License-Identifier: Apache-2.0
// What a daemon has written to its log since it was last looked at.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace enclab {

class LogTail {
  public:
    explicit LogTail(std::filesystem::path file) : file_(std::move(file)) {}

    // The lines that are whole and new.
    std::vector<std::string> lines();
    // The file begins again: another daemon empties it.
    void restart() { seen_ = 0; }

  private:
    std::filesystem::path file_;
    std::uintmax_t seen_ = 0;  // bytes
};

}  // namespace enclab
