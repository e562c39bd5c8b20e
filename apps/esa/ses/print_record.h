// SPDX-License-Identifier: Apache-2.0
// The message printer's rows: a table per record with a row per field, tied to the record's size at
// compile time, and one routine that walks rows. A field that does not lie wholly inside the
// message has no line.
#pragma once

#include <array>
#include <span>

#include "basetypes.h"
#include "state/esa_trace.h"

// Every line is a statement of esaMmsgPrint, which asks once for all of them whether they are on;
// log readers find the dump by that name, whichever helper writes the line. The source line of a
// field's is that of its row.
#define PRINT_AT(line, ...) \
    TRACE__statement(ESA_K_TRACE_MODULE, ESA_K_TRACE_FILE, "esaMmsgPrint", (line), __VA_ARGS__)
#define PRINT(...) PRINT_AT(__LINE__, __VA_ARGS__)

// What of a record lies inside the message, at most all of it.
using PrintBytes = std::span<const U8_t>;

PrintBytes printBehind(PrintBytes bytes, std::size_t count);

enum class PrintNotation : U8_t { DECIMAL, HEX };

// `width` bits, big-endian, from bit `bit` of the record on; bit 0 is the first byte's highest.
// Without a name: no line. Written as a call, a row knows the source line it stands in.
struct PrintField {
    explicit consteval PrintField(const char* fieldName, int fieldWidth,
                                  PrintNotation fieldNotation = PrintNotation::DECIMAL,
                                  int sourceLine = __builtin_LINE())
        : name(fieldName),
          bit(0),
          line(static_cast<U16_t>(sourceLine)),
          width(static_cast<U8_t>(fieldWidth)),
          notation(fieldNotation) {}

    const char* name;
    U16_t bit;
    U16_t line;
    U8_t width;
    PrintNotation notation;
};

// A field of a table that is not in the record's order.
consteval PrintField printAt(std::size_t bit, PrintField field) {
    field.bit = static_cast<U16_t>(bit);
    return field;
}

// Bits of a record that are not printed.
consteval PrintField printGap(int width) {
    return PrintField(nullptr, width);
}

// Which bits of a byte stand first in a table.
enum class PrintOrder { HIGH_BITS_FIRST, LOW_BITS_FIRST };

void tableAndRecordDiffer();  // has no body: named by the compiler where a table does not fit

// The rows of a table with their places; together they are as wide as the record.
template <typename Record, std::size_t N>
consteval std::array<PrintField, N> printTable(const PrintField (&rows)[N],
                                               PrintOrder order = PrintOrder::HIGH_BITS_FIRST) {
    auto fields = std::to_array(rows);
    int bit = 0;
    for (PrintField& field : fields) {
        const int mirrored = bit / 8 * 16 + 8 - bit - field.width;
        const bool mirrors = order == PrintOrder::LOW_BITS_FIRST && field.width < 8;
        field.bit = static_cast<U16_t>(mirrors ? mirrored : bit);
        bit += field.width;
    }
    if (bit != 8 * static_cast<int>(sizeof(Record))) {
        tableAndRecordDiffer();
    }
    return fields;
}

// Fields of one record; lines read "label name = [value]" with the equals sign in `column`.
struct PrintGroup {
    const char* label = "";
    int column = 0;
    std::span<const PrintField> fields;
};

void printField(const char* label, int column, const PrintField& field, PrintBytes record);
void printGroup(const PrintGroup& group, PrintBytes record);
// The same with the element's index behind the label.
void printElement(const PrintGroup& element, int index, PrintBytes record);
// "label = [name]" in the header's column, as a line of the caller's.
void printName(const char* label, const char* name, int line = __builtin_LINE());

constexpr int PRINT_K_HEADER_COLUMN = 33;
