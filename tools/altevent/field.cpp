// SPDX-License-Identifier: Apache-2.0
#include "tools/altevent/field.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace altevent {

static constexpr std::size_t DUMP_ROW = 16;

static bool printable(char character) {
    return character >= ' ' && character <= '~';
}

static std::string hexDigits(ByteSpan bytes) {
    return fmt::format("{:02x}", fmt::join(bytes, ""));
}

std::string joined(const std::vector<std::string>& texts) {
    return fmt::format("{}", fmt::join(texts, ", "));
}

std::string hexRow(ByteSpan bytes) {
    return fmt::format("{:02x}", fmt::join(bytes, " "));
}

Field group(std::string name, Fields parts) {
    return {std::move(name), nullptr, {}, std::move(parts)};
}

Field number(std::string name, std::int64_t value) {
    return {std::move(name), value, {std::to_string(value)}};
}

Field hexNumber(std::string name, U32_t value) {
    return {std::move(name), value, {fmt::format("{:#010x}", value)}};
}

Field seconds(std::string name, U32_t sec, U32_t usec) {
    return {
        std::move(name), {{"sec", sec}, {"usec", usec}}, {fmt::format("{}.{:06} s", sec, usec)}};
}

Field named(std::string name, U32_t value, Names names) {
    return named(std::move(name), value, nameOf(names, value));
}

Field named(std::string name, U32_t value, const std::string& meaning) {
    if (meaning.empty()) {
        return {std::move(name), {{"value", value}, {"name", nullptr}}, {std::to_string(value)}};
    }
    return {std::move(name),
            {{"value", value}, {"name", meaning}},
            {fmt::format("{} ({})", value, meaning)}};
}

static Field bits(std::string name, U32_t value, Json set, const std::vector<std::string>& texts) {
    const std::string meaning = texts.empty() ? "" : " (" + joined(texts) + ")";
    return {std::move(name),
            {{"value", value}, {"set", std::move(set)}},
            {fmt::format("{:#010x}{}", value, meaning)}};
}

Field bitMap(std::string name, U32_t value, Names names) {
    std::vector<std::string> set;
    for (const Name& bit : names) {
        if ((value & bit.value) != 0) {
            set.emplace_back(bit.text);
        }
    }
    return bits(std::move(name), value, set, set);
}

Field numberedBits(std::string name, U32_t value, const std::string& item) {
    Json set = Json::array();
    std::vector<std::string> texts;
    for (int bit = 0; bit < 32; ++bit) {
        if (((value >> bit) & 1) != 0) {
            set.push_back(bit);
            texts.push_back(fmt::format("{} {}", item, bit));
        }
    }
    return bits(std::move(name), value, std::move(set), texts);
}

Field text(std::string name, std::span<const char> characters) {
    std::string shown;
    for (const char character : characters) {
        if (character == '\0') {
            break;
        }
        const auto code = static_cast<U8_t>(character);
        shown += printable(character) ? std::string(1, character) : fmt::format("\\x{:02x}", code);
    }
    return {std::move(name), shown, {shown}};
}

Field byteRow(std::string name, ByteSpan bytes) {
    return {std::move(name), hexDigits(bytes), {hexRow(bytes)}};
}

static std::string dumpRow(std::size_t offset, ByteSpan row) {
    std::string characters;
    for (const U8_t byte : row) {
        const auto character = static_cast<char>(byte);
        characters += printable(character) ? character : '.';
    }
    return fmt::format("{:04x}  {:<{}}  |{}|", offset, hexRow(row), DUMP_ROW * 3 - 1, characters);
}

Field hexDump(std::string name, ByteSpan bytes) {
    std::vector<std::string> lines;
    ByteSpan shown;
    for (std::size_t offset = 0; offset < bytes.size(); offset += DUMP_ROW) {
        const ByteSpan row = bytes.subspan(offset, std::min(DUMP_ROW, bytes.size() - offset));
        if (!std::ranges::equal(row, shown)) {
            lines.push_back(dumpRow(offset, row));
        } else if (lines.back() != "*") {
            lines.emplace_back("*");
        }
        shown = row;
    }
    return {std::move(name), hexDigits(bytes), std::move(lines)};
}

}  // namespace altevent
