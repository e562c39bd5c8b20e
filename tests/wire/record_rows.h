// SPDX-License-Identifier: Apache-2.0
// Golden bytes of a record, one row per field: where the field stands and which bytes it must read.
// Filling and reading are checked apart, so that a slip in one cannot hide in the other.
#pragma once

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/hex.h"

namespace wire {

using Bytes = std::vector<std::uint8_t>;

template <typename Record>
struct Row {
    const char* name;
    double value;  // holds every integer used exactly
    std::size_t offset;
    const char* bytes;  // typed; zero bits belong to other fields
    void (*fill)(Record& record);
    double (*read)(const Record& record);
};

// ROW(field, value, offset, bytes) of the record type named by the alias RECORD.
#define ROW(field, number, offset, bytes)                               \
    {                                                                   \
#field, static_cast<double>(number), offset, bytes,                   \
            [](RECORD& record) { record.field = (number); },                  \
            [](const RECORD& record) { return static_cast<double>(record.field); } \
    }

inline void merge(Bytes& bytes, std::size_t offset, const char* typed) {
    for (const std::uint8_t byte : hexBytes(typed)) {
        bytes.at(offset++) |= byte;
    }
}

template <typename Record>
std::string textOf(const Record& record) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&record);
    return hexText(Bytes(bytes, bytes + sizeof record));
}

template <typename Record>
Record recordOf(const Bytes& bytes) {
    Record record;
    std::memcpy(&record, bytes.data(), sizeof record);
    return record;
}

// Each field alone among zeros, then all of them at once.
template <typename Record, std::size_t N>
void checkRecord(const Row<Record> (&rows)[N]) {
    Bytes whole(sizeof(Record));
    Record filled = {};
    for (const Row<Record>& row : rows) {
        SCOPED_TRACE(row.name);
        Bytes alone(sizeof(Record));
        merge(alone, row.offset, row.bytes);
        merge(whole, row.offset, row.bytes);
        Record record = {};
        row.fill(record);
        row.fill(filled);
        EXPECT_EQ(textOf(record), hexText(alone));
        EXPECT_EQ(row.read(recordOf<Record>(alone)), row.value);
    }
    EXPECT_EQ(textOf(filled), hexText(whole));
    const Record read = recordOf<Record>(whole);
    for (const Row<Record>& row : rows) {
        EXPECT_EQ(row.read(read), row.value) << row.name << " among the others";
    }
}

}  // namespace wire
