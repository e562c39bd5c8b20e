// SPDX-License-Identifier: Apache-2.0
// altevent as its users meet it: what it says of the logs that cases/altevent.txt types. Its head
// says what the keys mean.
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>

#include "tests/support/hex.h"
#include "tests/unit/tools/tool_cases.h"
#include "tools/altevent/cli.h"

using Bytes = std::vector<std::uint8_t>;

namespace {

// CRC-32 bit by bit.
std::uint32_t crcOf(const Bytes& bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
        }
    }
    return ~crc;
}

// The bytes behind a line's colon, as digits or as text in quotation marks.
void overwrite(Bytes& bytes, const std::string& line) {
    const std::string typed = line.substr(line.find(':') + 2);
    const Bytes piece =
        typed[0] == '"' ? Bytes(typed.begin() + 1, typed.end() - 1) : hexBytes(typed);
    const std::string place = line.substr(line.find_first_of("0123456789"));
    std::copy(piece.begin(), piece.end(), bytes.begin() + std::stol(place));
}

// A slot as altEventLog(..., -1) stores it at 2025-11-21T12:26:40Z.
Bytes slotOf(int number, const std::string& typed) {
    Bytes record(4064);
    Bytes slot = hexBytes(R"(41 45 4C 31 00 01 00 01 FF FF FF FF 00 00 00 00
                             00 00 00 00 00 00 00 00 00 00 00 00 69 20 5A 80)");
    for (const std::string& line : linesOf(typed)) {
        overwrite(line.starts_with("slot") ? slot : record, line);
    }
    for (std::size_t i = 0; i < 4; i++) {
        slot[12 + i] = static_cast<std::uint8_t>(crcOf(record) >> (24 - 8 * i));
    }
    slot[22] = static_cast<std::uint8_t>(number >> 8);
    slot[23] = static_cast<std::uint8_t>(number);
    slot.insert(slot.end(), record.begin(), record.end());
    return slot;
}

Bytes logOf(const Case& c) {
    Bytes log;
    for (const auto& [key, value] : c.fields) {
        if (key.starts_with("record")) {
            const Bytes slot = slotOf(std::stoi(key.substr(6)), value);
            log.insert(log.end(), slot.begin(), slot.end());
        } else if (key == "empty slots") {
            log.resize(log.size() + 4096 * std::stoul(value));
        } else if (key == "flip") {
            log.at(std::stoul(value)) ^= 0x10;
        } else if (key == "size") {
            log.resize(std::stoul(value), 'x');
        }
    }
    return log;
}

// The command writes to C streams; `to` names a file instead.
ToolMain altEventTo(const std::string& to) {
    return [to](int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
        char* texts[2] = {};
        std::size_t sizes[2] = {};
        std::FILE* const streams[] = {
            to.empty() ? open_memstream(&texts[0], &sizes[0]) : std::fopen(to.c_str(), "w"),
            open_memstream(&texts[1], &sizes[1])};
        const int code = altevent::run(argc, argv, streams[0], streams[1]);
        std::fclose(streams[0]);
        std::fclose(streams[1]);
        out << std::string(texts[0], sizes[0]);
        err << std::string(texts[1], sizes[1]);
        std::free(texts[0]);
        std::free(texts[1]);
        return code;
    };
}

}  // namespace

TEST(Altevent, TellsWhatIsTyped) {
    char place[] = "/tmp/altevent-test-XXXXXX";
    ASSERT_NE(mkdtemp(place), nullptr);
    std::filesystem::create_directory(place + std::string("/dir"));
    for (const Case& c : casesOf(CASES "/altevent.txt")) {
        const Bytes log = logOf(c);
        std::ofstream(place + std::string("/log"), std::ios::binary)
            .write(reinterpret_cast<const char*>(log.data()),
                   static_cast<std::streamsize>(log.size()));
        for (const std::string& words : c.all("run")) {
            SCOPED_TRACE(c.name + ": " + words);
            std::vector<std::string> arguments = wordsOf(words);
            for (std::string& argument : arguments) {
                argument = argument[0] == '$' ? place + argument.substr(1) : argument;
            }
            expectTool("altevent", c, runTool("altevent", altEventTo(c.get("to")), arguments),
                       place);
        }
    }
    std::filesystem::remove_all(place);
}
