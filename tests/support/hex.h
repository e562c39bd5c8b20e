// SPDX-License-Identifier: Apache-2.0
// Expected bytes as people type them, and bytes as people read them.
#pragma once

#include <cstdint>
#include <cstdio>
#include <regex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// Bytes of a text of hexadecimal digits; white space is free, '#' comments run to the line's end.
inline std::vector<std::uint8_t> hexBytes(std::string_view text) {
    static const std::regex free("#[^\n]*|\\s");
    const std::string digits = std::regex_replace(std::string(text), free, "");
    if (digits.size() % 2 != 0 ||
        digits.find_first_not_of("0123456789abcdefABCDEF") != digits.npos) {
        throw std::invalid_argument("not a text of whole bytes");
    }
    std::vector<std::uint8_t> bytes;
    for (std::size_t at = 0; at < digits.size(); at += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(at, 2), nullptr, 16)));
    }
    return bytes;
}

// "01 00 00 00\n02 ...": four bytes a line, so that a difference shows as lines.
inline std::string hexText(const std::vector<std::uint8_t>& bytes, std::size_t inLine = 4) {
    std::string text;
    char digits[4];
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        const bool ends = at % inLine == inLine - 1 || at + 1 == bytes.size();
        std::snprintf(digits, sizeof digits, "%02X%c", bytes[at], ends ? '\n' : ' ');
        text += digits;
    }
    return text;
}
inline std::string hexText(std::string_view typed) {
    return hexText(hexBytes(typed));
}
// "01 00 00 ..." in one line.
inline std::string hexLine(const std::vector<std::uint8_t>& bytes) {
    const std::string line = hexText(bytes, bytes.size() + 1);
    return line.substr(0, line.find('\n'));
}
// Lines "OFFSET: 01 00 ..." of 32 bytes each, those that are all zero left out.
inline std::vector<std::string> hexRows(std::vector<std::uint8_t> bytes) {
    std::vector<std::string> rows;
    bytes.resize((bytes.size() + 31) / 32 * 32);
    for (std::size_t at = 0; at < bytes.size(); at += 32) {
        const std::vector<std::uint8_t> row(&bytes[at], &bytes[at] + 32);
        if (row != std::vector<std::uint8_t>(32)) {
            rows.push_back(std::to_string(at) + ": " + hexLine(row));
        }
    }
    return rows;
}
