// SPDX-License-Identifier: Apache-2.0
// A decoded record is a list of fields. Each has its value for programs and its lines for people,
// so that text and JSON say the same.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

#include "tools/altevent/names.h"

namespace altevent {

using Json = nlohmann::ordered_json;
using ByteSpan = std::span<const U8_t>;

struct Field {
    std::string name;
    Json value;
    std::vector<std::string> lines;  // one: stands behind the name; more: stand below it
    std::vector<Field> parts = {};   // a group has parts in place of value and lines
};
using Fields = std::vector<Field>;

Field group(std::string name, Fields parts);
Field number(std::string name, std::int64_t value);
// "0x00000001"
Field hexNumber(std::string name, U32_t value);
Field seconds(std::string name, U32_t sec, U32_t usec);
// "18 (SES)"
Field named(std::string name, U32_t value, Names names);
// The same, its meaning given; empty: it has none.
Field named(std::string name, U32_t value, const std::string& meaning);
// "0x00000006 (power supply redundancy, fan)"
Field bitMap(std::string name, U32_t value, Names bits);
// "0x00000088 (drive 3, drive 7)"
Field numberedBits(std::string name, U32_t value, const std::string& item);
// A text of at most the field's size; what is not printable is escaped, so that a record cannot
// steer the reader's terminal.
Field text(std::string name, std::span<const char> characters);
// "00 01 ..." of a few bytes.
Field byteRow(std::string name, ByteSpan bytes);
// Rows of 16 bytes with offset and characters; a run of equal rows is shown as "*".
Field hexDump(std::string name, ByteSpan bytes);

// "name, name" of the texts.
std::string joined(const std::vector<std::string>& texts);
std::string hexRow(ByteSpan bytes);

}  // namespace altevent
