// SPDX-License-Identifier: Apache-2.0
// The building blocks of records: byte order, sign, text that fills its field.
#include <cstdint>
#include <limits>

#include "tests/wire/record_rows.h"
#include "wire.h"

using wire::recordOf;
using wire::textOf;

namespace {

template <typename Type, typename Plain>
void checkNumber(Plain value, const char* bytes) {
    EXPECT_EQ(textOf(Type(value)), hexText(bytes));
    EXPECT_EQ(static_cast<Plain>(recordOf<Type>(hexBytes(bytes))), value);
}

struct TextRecord {
    char text[8];
    char next;
};

std::string filled(const char* text) {
    TextRecord record;
    std::memset(&record, 0xEE, sizeof record);
    wireTextSet(record.text, text);
    return textOf(record);
}

}  // namespace

TEST(WireTypes, NumbersAreBigEndian) {
    checkNumber<Be16>(std::uint16_t{0x0102}, "01 02");
    checkNumber<Be16>(std::uint16_t{0xFFFE}, "FF FE");
    checkNumber<Be24>(std::uint32_t{0x010203}, "01 02 03");
    checkNumber<Be24>(std::uint32_t{0xFEDCBA}, "FE DC BA");
    checkNumber<Be32>(std::uint32_t{0x01020304}, "01 02 03 04");
    checkNumber<Be32>(std::uint32_t{0xFEDCBA98}, "FE DC BA 98");
    checkNumber<Be64>(std::uint64_t{0x0102030405060708}, "01 02 03 04 05 06 07 08");
    checkNumber<Be64>(std::uint64_t{0xFEDCBA9876543210}, "FE DC BA 98 76 54 32 10");
}

TEST(WireTypes, Be24CutsTheTopByte) {
    EXPECT_EQ(textOf(Be24(0xAB010203)), hexText("01 02 03"));
}

TEST(WireTypes, SignedNumbersKeepTheirSign) {
    const struct {
        std::int16_t value;
        const char* bytes;
    } cases[] = {
        {0, "00 00"},  {1, "00 01"},     {-1, "FF FF"},     {-25, "FF E7"},
        {60, "00 3C"}, {32767, "7F FF"}, {-32768, "80 00"},
    };
    for (const auto& c : cases) {
        checkNumber<BeS16>(c.value, c.bytes);
    }
}

TEST(WireTypes, DoublesAreIeee754) {
    const struct {
        double value;
        const char* bytes;
    } cases[] = {
        {0.0, "00 00 00 00 00 00 00 00"},
        {1.0, "3F F0 00 00 00 00 00 00"},
        {-2.5, "C0 04 00 00 00 00 00 00"},
        {5.1, "40 14 66 66 66 66 66 66"},
        {12.05, "40 28 19 99 99 99 99 9A"},
        {std::numeric_limits<double>::infinity(), "7F F0 00 00 00 00 00 00"},
    };
    for (const auto& c : cases) {
        checkNumber<BeDouble>(c.value, c.bytes);
    }
}

TEST(WireTypes, TextIsPaddedCutAndNeverRunsIntoTheNextField) {
    EXPECT_EQ(filled(""), hexText("00 00 00 00 00 00 00 00 EE"));
    EXPECT_EQ(filled("abc"), hexText("61 62 63 00 00 00 00 00 EE"));
    EXPECT_EQ(filled("abcdefgh"), hexText("61 62 63 64 65 66 67 68 EE"));
    EXPECT_EQ(filled("abcdefghi"), hexText("61 62 63 64 65 66 67 68 EE"));
}

TEST(WireTypes, TextIsReadNoFurtherThanTheFieldNeeds) {
    const char unterminated[8] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
    EXPECT_EQ(filled(unterminated), hexText("61 62 63 64 65 66 67 68 EE"));
}
