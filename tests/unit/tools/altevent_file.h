// SPDX-License-Identifier: Apache-2.0
// Alternate event log files made of typed records.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/hex.h"
#include "tools/altevent/cli.h"

using Bytes = std::vector<std::uint8_t>;

// Bytes of a record from the offset on, typed.
struct Piece {
    std::size_t offset;
    std::string bytes;
};

inline Bytes recordOf(const std::vector<Piece>& pieces) {
    Bytes record(4064);
    for (const Piece& piece : pieces) {
        const Bytes bytes = hexBytes(piece.bytes);
        std::copy(bytes.begin(), bytes.end(),
                  record.begin() + static_cast<std::ptrdiff_t>(piece.offset));
    }
    return record;
}

inline std::string hexOf(std::string_view text) {
    return hexText(Bytes(text.begin(), text.end()));
}

// CRC-32 bit by bit.
inline std::uint32_t crcOf(const Bytes& bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
        }
    }
    return ~crc;
}

// A slot of sequence number `number`, stored by altEventLog(..., -1) at 2025-11-21T12:26:40Z.
inline Bytes slotOf(std::uint8_t number, const Bytes& record) {
    Bytes slot = hexBytes("41 45 4C 31 00 01 00 01 FF FF FF FF");
    const std::uint32_t crc = crcOf(record);
    for (const int shift : {24, 16, 8, 0}) {
        slot.push_back(static_cast<std::uint8_t>(crc >> shift));
    }
    const Bytes rest = hexBytes("00 00 00 00 00 00 00 00  00 00 00 00 69 20 5A 80");
    slot.insert(slot.end(), rest.begin(), rest.end());
    slot[23] = number;
    slot.insert(slot.end(), record.begin(), record.end());
    return slot;
}

// Runs altevent on a file of the given slots.
class AlteventTest : public testing::Test {
  protected:
    struct Result {
        int status;
        std::string out;
        std::string err;
    };

    void SetUp() override {
        char pattern[] = "/tmp/altevent-test-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        directory_ = pattern;
        file_ = directory_ / "altevent.log";
    }
    void TearDown() override { std::filesystem::remove_all(directory_); }

    void write(const std::vector<Bytes>& slots) const {
        std::ofstream stream(file_, std::ios::binary);
        for (const Bytes& slot : slots) {
            stream.write(reinterpret_cast<const char*>(slot.data()),
                         static_cast<std::streamsize>(slot.size()));
        }
    }
    Result run(std::vector<std::string> arguments) const {
        std::vector<const char*> words = {"altevent"};
        for (const std::string& argument : arguments) {
            words.push_back(argument.c_str());
        }
        char* texts[2];
        std::size_t sizes[2];
        std::FILE* const out = open_memstream(&texts[0], &sizes[0]);
        std::FILE* const err = open_memstream(&texts[1], &sizes[1]);
        Result result;
        result.status = altevent::run(static_cast<int>(words.size()), words.data(), out, err);
        std::fclose(out);
        std::fclose(err);
        result.out.assign(texts[0], sizes[0]);
        result.err.assign(texts[1], sizes[1]);
        std::free(texts[0]);
        std::free(texts[1]);
        return result;
    }
    Result run() const { return run({file_.string()}); }

    std::filesystem::path directory_;
    std::filesystem::path file_;
};
