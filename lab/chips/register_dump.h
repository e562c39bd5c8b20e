// SPDX-License-Identifier: Apache-2.0
// The registers of a chip as one-byte reads show them, and their text as `i2cdump` prints it:
//        0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef
//   00: ff 3f XX ...                                       .?X
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace enclab {

// By register number; empty where the chip gave none.
using RegisterDump = std::array<std::optional<std::uint8_t>, 256>;

class Chip;

// All registers, read one by one as the tool does.
RegisterDump readAll(Chip& chip);

// 17 lines, each with its line feed.
std::string dumpText(const RegisterDump& dump);

// Reads such a text, in its byte modes. What stands before the line of column numbers is passed
// over; rows and cells may be missing, XX and blank cells are registers without a value, the right
// column is not looked at. Throws std::invalid_argument, "line 3: ...", at the first line that is
// no row.
RegisterDump parseDump(std::string_view text);

}  // namespace enclab
