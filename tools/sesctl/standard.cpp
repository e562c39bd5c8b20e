// SPDX-License-Identifier: Apache-2.0
#include "tools/sesctl/standard.h"

#include <string_view>

namespace sesctl {

namespace {

constexpr std::size_t HEADER_SIZE = 8;
constexpr unsigned OVERALL_DISABLED = 0x20;

// Widths of the fields of a byte, the service's order.
constexpr std::string_view SUMMARY_FLAGS = "111113";
constexpr std::string_view PROCESS_NUMBERS = "3131";
// Bytes 1 to 3 of a record, by Kind; byte 0 is the standard's.
constexpr std::string_view RECORDS[SES_K_ELEMENT_TYPES][3] = {
    {"8", "11111111", "11111111"},                          // slot address
    {"71", "11114", "11111111"},   {"251", "8", "311111"},  // speed, speed code
    {"71", "8", "11114"},                                   // temperature
    {"71", "8", "11111111"},
};

// The fields in the reverse order, each as it is.
void mirror(std::uint8_t& byte, std::string_view widths) {
    unsigned mirrored = 0;
    unsigned from = 8;
    unsigned to = 0;
    for (const char digit : widths) {
        const auto width = static_cast<unsigned>(digit - '0');
        from -= width;
        mirrored |= (byte >> from & ((1U << width) - 1)) << to;
        to += width;
    }
    byte = static_cast<std::uint8_t>(mirrored);
}

// One flag is ever set there, "disabled" of the alarms, in the last byte.
void moveOverall(std::uint8_t* word) {
    word[0] = static_cast<std::uint8_t>(word[0] | (word[3] & OVERALL_DISABLED));
    word[3] = 0;
}

}  // namespace

Bytes standardConfiguration(View page) {
    Bytes standard(page.begin(), page.end());
    mirror(standard[HEADER_SIZE], PROCESS_NUMBERS);
    return standard;
}

Bytes standardStatus(View page, const Configuration& configuration) {
    Bytes standard(page.begin(), page.end());
    mirror(standard[1], SUMMARY_FLAGS);
    std::uint8_t* record = standard.data() + HEADER_SIZE;
    for (std::size_t kind = 0; kind < configuration.counts.size(); kind++) {
        moveOverall(record);
        for (unsigned n = 0; n < configuration.counts[kind]; n++) {
            record += SES_K_ELEMENT_SIZE;
            for (std::size_t byte = 1; byte < SES_K_ELEMENT_SIZE; byte++) {
                mirror(record[byte], RECORDS[kind][byte - 1]);
            }
        }
        record += SES_K_ELEMENT_SIZE;
    }
    return standard;
}

}  // namespace sesctl
