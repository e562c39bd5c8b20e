// SPDX-License-Identifier: Apache-2.0
// Lines of one record.
#include "ses/print_record.h"

#include <cstdio>

namespace {

U32_t fieldValue(const PrintField& field, PrintBytes record) {
    const U32_t end = field.bit + field.width;
    U32_t value = 0;
    for (const U8_t byte : record.subspan(field.bit / 8, (end + 7) / 8 - field.bit / 8)) {
        value = (value << 8) | byte;
    }
    return (value >> (7 - (end + 7) % 8)) & (~U32_t{0} >> (32 - field.width));
}

}  // namespace

PrintBytes printBehind(PrintBytes bytes, std::size_t count) {
    return count < bytes.size() ? bytes.subspan(count) : PrintBytes();
}

void printField(const char* label, int column, const PrintField& field, PrintBytes record) {
    if (field.bit + field.width > 8 * record.size()) {
        return;
    }
    const U32_t value = fieldValue(field, record);
    if (field.notation == PrintNotation::HEX) {
        PRINT_AT(field.line, "%-*s= [0x%x]", column, label, value);
    } else {
        PRINT_AT(field.line, "%-*s= [%d]", column, label, static_cast<S32_t>(value));
    }
}

void printGroup(const PrintGroup& group, PrintBytes record) {
    for (const PrintField& field : group.fields) {
        if (field.name != nullptr) {
            char label[64];
            std::snprintf(label, sizeof label, "%s %s", group.label, field.name);
            printField(label, group.column, field, record);
        }
    }
}

void printElement(const PrintGroup& element, int index, PrintBytes record) {
    char label[32];
    std::snprintf(label, sizeof label, "%s [%d]", element.label, index);
    printGroup({label, element.column, element.fields}, record);
}

void printName(const char* label, const char* name, int line) {
    PRINT_AT(line, "%-*s= [%s]", PRINT_K_HEADER_COLUMN, label, name);
}
