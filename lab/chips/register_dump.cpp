// SPDX-License-Identifier: Apache-2.0
// Register dumps as text. The columns are fixed, as the tool prints them.
#include "lab/chips/register_dump.h"

#include <charconv>
#include <stdexcept>

#include "lab/chips/chip.h"

namespace enclab {
namespace {

constexpr std::string_view kHeader = "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f";
constexpr std::string_view kRightHeader = "    0123456789abcdef\n";
constexpr std::size_t kColumns = 16;
constexpr std::size_t kFirstCell = 4;  // behind "00: "
constexpr std::size_t kCellWidth = 3;
constexpr std::string_view kUnread = "XX";
constexpr std::string_view kDigits = "0123456789abcdef";

std::string hex(std::size_t byte) {
    return {kDigits[byte >> 4], kDigits[byte & 0xF]};
}

char readable(const std::optional<std::uint8_t>& byte) {
    if (!byte) {
        return 'X';
    }
    if (*byte == 0x00 || *byte == 0xFF) {
        return '.';
    }
    return *byte < 0x20 || *byte > 0x7E ? '?' : static_cast<char>(*byte);
}

// Two digits.
std::optional<std::uint8_t> byteOf(std::string_view text) {
    std::uint8_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    const bool whole = text.size() == 2 && error == std::errc() && end == text.data() + 2;
    return whole ? std::optional(value) : std::nullopt;
}

// Reads line after line.
class Parser {
  public:
    void take(std::string_view line) {
        ++line_;
        while (line.ends_with('\r') || line.ends_with(' ')) {
            line.remove_suffix(1);
        }
        if (!inGrid_) {
            inGrid_ = line.starts_with(kHeader);
        } else if (!line.empty()) {
            takeRow(line);
        }
    }
    const RegisterDump& end() {
        if (!any_) {
            refuse(inGrid_ ? "no row of registers" : "no line of column numbers up to here");
        }
        return dump_;
    }

  private:
    [[noreturn]] void refuse(const std::string& what) const {
        throw std::invalid_argument("line " + std::to_string(line_) + ": " + what);
    }

    void takeRow(std::string_view line) {
        const auto first = byteOf(line.substr(0, 2));
        if (!first || line.substr(2, 1) != ":" || *first % kColumns != 0) {
            refuse("no row of registers, which begins as '00: '");
        }
        if (any_ && *first <= row_) {
            refuse("row " + hex(*first) + " behind row " + hex(row_));
        }
        any_ = true;
        row_ = *first;
        for (std::size_t column = 0; column < kColumns; ++column) {
            takeCell(line, column);
        }
    }

    void takeCell(std::string_view line, std::size_t column) {
        const std::size_t place = kFirstCell + kCellWidth * column;
        if (place - 1 >= line.size()) {
            return;
        }
        const std::string_view cell = line.substr(place - 1, kCellWidth);
        if (cell == "   " || cell == " XX") {
            return;
        }
        const auto value = byteOf(cell.substr(1));
        if (!value || cell[0] != ' ') {
            const std::string_view shown = cell.substr(cell[0] == ' ' ? 1 : 0);
            refuse("'" + std::string(shown) + "' is not a register's two digits or XX");
        }
        dump_[row_ + column] = value;
    }

    RegisterDump dump_;
    std::size_t line_ = 0;
    bool inGrid_ = false;
    bool any_ = false;
    std::size_t row_ = 0;
};

}  // namespace

RegisterDump readAll(Chip& chip) {
    RegisterDump dump;
    for (std::size_t number = 0; number < dump.size(); ++number) {
        const std::uint8_t pointer = static_cast<std::uint8_t>(number);
        if (chip.write({&pointer, 1})) {
            std::uint8_t value = 0;
            chip.read({&value, 1});
            dump[number] = value;
        }
    }
    return dump;
}

std::string dumpText(const RegisterDump& dump) {
    std::string text = std::string(kHeader) + std::string(kRightHeader);
    for (std::size_t row = 0; row < dump.size(); row += kColumns) {
        std::string right;
        text += hex(row) + ": ";
        for (std::size_t number = row; number < row + kColumns; ++number) {
            text += (dump[number] ? hex(*dump[number]) : std::string(kUnread)) + " ";
            right += readable(dump[number]);
        }
        text += "   " + right + "\n";
    }
    return text;
}

RegisterDump parseDump(std::string_view text) {
    Parser parser;
    do {
        const std::size_t end = text.find('\n');
        parser.take(text.substr(0, end));
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
    } while (!text.empty());
    return parser.end();
}

}  // namespace enclab
