// SPDX-License-Identifier: Apache-2.0
// Stand-in for the alternate event log: keeps the last record in a file, so that it outlives the
// child of a death test.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class LastRecord {
  public:
    LastRecord();
    ~LastRecord();
    LastRecord(const LastRecord&) = delete;
    LastRecord& operator=(const LastRecord&) = delete;

    bool stored() const { return !all().empty(); }
    // `count` bytes from `offset` as uppercase hexadecimal.
    std::string hex(std::size_t offset, std::size_t count) const;
    // `count` bytes from `offset`, zeros included.
    std::string text(std::size_t offset, std::size_t count) const;
    // True when all bytes from `offset` to before `end` are zero.
    bool zero(std::size_t offset, std::size_t end) const;

  private:
    std::vector<std::uint8_t> all() const;
};
