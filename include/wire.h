// SPDX-License-Identifier: Apache-2.0
// Building blocks of records that leave the process: big-endian integers with alignment 1 and
// groups of bit-fields written MSB first that must fill their byte. The bytes are the same on
// little-endian and big-endian machines. A record is zeroed by value-initialisation ("= {}").
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

// Unsigned big-endian integers. Assign and read like the plain type.
class Be16 {
  public:
    constexpr Be16() = default;
    constexpr Be16(std::uint16_t v)
        : b_{static_cast<std::uint8_t>(v >> 8), static_cast<std::uint8_t>(v)} {}
    constexpr operator std::uint16_t() const {
        return static_cast<std::uint16_t>((b_[0] << 8) | b_[1]);
    }

  private:
    std::uint8_t b_[2];
};

class Be24 {
  public:
    constexpr Be24() = default;
    // The value's bits 31..24 are cut.
    constexpr Be24(std::uint32_t v)
        : b_{static_cast<std::uint8_t>(v >> 16), static_cast<std::uint8_t>(v >> 8),
             static_cast<std::uint8_t>(v)} {}
    constexpr operator std::uint32_t() const {
        return (std::uint32_t{b_[0]} << 16) | (std::uint32_t{b_[1]} << 8) | b_[2];
    }

  private:
    std::uint8_t b_[3];
};

class Be32 {
  public:
    constexpr Be32() = default;
    constexpr Be32(std::uint32_t v)
        : b_{static_cast<std::uint8_t>(v >> 24), static_cast<std::uint8_t>(v >> 16),
             static_cast<std::uint8_t>(v >> 8), static_cast<std::uint8_t>(v)} {}
    constexpr operator std::uint32_t() const {
        return (std::uint32_t{b_[0]} << 24) | (std::uint32_t{b_[1]} << 16) |
               (std::uint32_t{b_[2]} << 8) | b_[3];
    }

  private:
    std::uint8_t b_[4];
};

class Be64 {
  public:
    constexpr Be64() = default;
    constexpr Be64(std::uint64_t v)
        : high_(static_cast<std::uint32_t>(v >> 32)), low_(static_cast<std::uint32_t>(v)) {}
    constexpr operator std::uint64_t() const {
        return (std::uint64_t{static_cast<std::uint32_t>(high_)} << 32) |
               static_cast<std::uint32_t>(low_);
    }

  private:
    Be32 high_;
    Be32 low_;
};

// Signed 16-bit two's complement.
class BeS16 {
  public:
    constexpr BeS16() = default;
    constexpr BeS16(std::int16_t v) : raw_(static_cast<std::uint16_t>(v)) {}
    constexpr operator std::int16_t() const {
        return static_cast<std::int16_t>(static_cast<std::uint16_t>(raw_));
    }

  private:
    Be16 raw_;
};

// IEEE 754 binary64.
class BeDouble {
  public:
    constexpr BeDouble() = default;
    constexpr BeDouble(double v) : raw_(std::bit_cast<std::uint64_t>(v)) {}
    constexpr operator double() const {
        return std::bit_cast<double>(static_cast<std::uint64_t>(raw_));
    }

  private:
    Be64 raw_;
};

// WIRE_BYTEn(name,width, ...): n bit-fields, most significant first, that fill one byte. A group
// whose widths do not add up to 8 does not compile.
#define WIRE_FIELD_(name, width) std::uint8_t name : width;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
#define WIRE_PAIR_(first, second) first second
#else
#define WIRE_PAIR_(first, second) second first
#endif
#define WIRE_FULL_(sum) static_assert((sum) == 8, "a group of bit-fields must fill its byte")

#define WIRE_GROUP2_(a, aw, b, bw) WIRE_PAIR_(WIRE_FIELD_(a, aw), WIRE_FIELD_(b, bw))
#define WIRE_GROUP3_(a, aw, ...) WIRE_PAIR_(WIRE_FIELD_(a, aw), WIRE_GROUP2_(__VA_ARGS__))
#define WIRE_GROUP4_(a, aw, ...) WIRE_PAIR_(WIRE_FIELD_(a, aw), WIRE_GROUP3_(__VA_ARGS__))
#define WIRE_GROUP5_(a, aw, ...) WIRE_PAIR_(WIRE_FIELD_(a, aw), WIRE_GROUP4_(__VA_ARGS__))
#define WIRE_GROUP6_(a, aw, ...) WIRE_PAIR_(WIRE_FIELD_(a, aw), WIRE_GROUP5_(__VA_ARGS__))
#define WIRE_GROUP7_(a, aw, ...) WIRE_PAIR_(WIRE_FIELD_(a, aw), WIRE_GROUP6_(__VA_ARGS__))
#define WIRE_GROUP8_(a, aw, ...) WIRE_PAIR_(WIRE_FIELD_(a, aw), WIRE_GROUP7_(__VA_ARGS__))

#define WIRE_SUM2_(a, aw, b, bw) ((aw) + (bw))
#define WIRE_SUM3_(a, aw, ...) ((aw) + WIRE_SUM2_(__VA_ARGS__))
#define WIRE_SUM4_(a, aw, ...) ((aw) + WIRE_SUM3_(__VA_ARGS__))
#define WIRE_SUM5_(a, aw, ...) ((aw) + WIRE_SUM4_(__VA_ARGS__))
#define WIRE_SUM6_(a, aw, ...) ((aw) + WIRE_SUM5_(__VA_ARGS__))
#define WIRE_SUM7_(a, aw, ...) ((aw) + WIRE_SUM6_(__VA_ARGS__))
#define WIRE_SUM8_(a, aw, ...) ((aw) + WIRE_SUM7_(__VA_ARGS__))

#define WIRE_BYTE2(...) WIRE_GROUP2_(__VA_ARGS__) WIRE_FULL_(WIRE_SUM2_(__VA_ARGS__))
#define WIRE_BYTE3(...) WIRE_GROUP3_(__VA_ARGS__) WIRE_FULL_(WIRE_SUM3_(__VA_ARGS__))
#define WIRE_BYTE4(...) WIRE_GROUP4_(__VA_ARGS__) WIRE_FULL_(WIRE_SUM4_(__VA_ARGS__))
#define WIRE_BYTE5(...) WIRE_GROUP5_(__VA_ARGS__) WIRE_FULL_(WIRE_SUM5_(__VA_ARGS__))
#define WIRE_BYTE6(...) WIRE_GROUP6_(__VA_ARGS__) WIRE_FULL_(WIRE_SUM6_(__VA_ARGS__))
#define WIRE_BYTE7(...) WIRE_GROUP7_(__VA_ARGS__) WIRE_FULL_(WIRE_SUM7_(__VA_ARGS__))
#define WIRE_BYTE8(...) WIRE_GROUP8_(__VA_ARGS__) WIRE_FULL_(WIRE_SUM8_(__VA_ARGS__))

// Ends every record: size on the wire, no padding, viewable in place in a byte buffer.
#define WIRE_RECORD(type, size)                                         \
    static_assert(sizeof(type) == (size), #type " has the wrong size"); \
    static_assert(alignof(type) == 1, #type " must have alignment 1");  \
    static_assert(std::is_trivially_copyable_v<type> && std::is_standard_layout_v<type>)
#define WIRE_OFFSET(type, field, offset) \
    static_assert(offsetof(type, field) == (offset), #type "." #field " is misplaced")

// View of a record inside a message buffer; the caller has checked that it lies inside.
template <typename Record>
Record* wireView(void* bytes) {
    static_assert(alignof(Record) == 1 && std::is_trivially_copyable_v<Record>);
    return static_cast<Record*>(bytes);
}
template <typename Record>
const Record* wireView(const void* bytes) {
    static_assert(alignof(Record) == 1 && std::is_trivially_copyable_v<Record>);
    return static_cast<const Record*>(bytes);
}

// Fills a fixed-size text field: cut to its size, padded with zeros, never read past the end of
// the string.
template <std::size_t N>
void wireTextSet(char (&field)[N], const char* text) {
    const std::size_t length = strnlen(text, N);
    std::memset(field, 0, N);
    std::memcpy(field, text, length);
}
