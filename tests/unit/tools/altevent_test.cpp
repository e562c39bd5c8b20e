// SPDX-License-Identifier: Apache-2.0
// altevent: records of which altevent.txt types the fields, and logs of the test's own writing.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <regex>

#include "tests/support/hex.h"
#include "tests/unit/tools/tools.h"
#include "tools/altevent/record.h"

namespace {

// ---- a log ----

std::uint32_t crcOf(const Bytes& bytes) {
    std::uint32_t crc = ~0U;
    for (const Byte byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; bit++) {
            crc = crc >> 1 ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
        }
    }
    return ~crc;
}

// ---- a record ----

altevent::Decoded decodedOf(const Bytes& record) {
    Byte whole[4064];
    std::ranges::copy(record, whole);
    return altevent::decodeRecord(whole);
}

// The fields' lines, each field in one.
Lines linesOf(const altevent::Fields& fields) {
    Lines lines;
    for (const altevent::Field& field : fields) {
        const Lines parts = linesOf(field.parts);
        lines.insert(lines.end(), parts.begin(), parts.end());
        if (field.parts.empty()) {
            lines.push_back(
                squeezed(field.name + " " + fmt::format("{}", fmt::join(field.lines, " "))));
        }
    }
    return lines;
}

// The fields' values by their names.
Json valuesOf(const altevent::Fields& fields) {
    Json all = Json::object();
    for (const altevent::Field& field : fields) {
        all[field.name] = field.parts.empty() ? Json(field.value) : valuesOf(field.parts);
    }
    return all;
}

class AlteventPlayer : public ToolPlayer {
  public:
    AlteventPlayer() {
        // base END-OF-THE-EVENT-HEADER [message]: offsets count from the payload behind it; tells
        // the kind, which is another one with any other bit
        commands["base"] = [this](const Words& words) {
            record_.assign(4064, 0);
            payload_ = words[2] == "message" ? 216 : 152;
            change(record_, words[2] == "message" ? "12=08000001" : "", 0);
            change(record_, "-8=" + words[1], payload_);
            say(decodedOf(record_).kind);
            for (std::size_t bit = 0; bit < 64; bit++) {
                Bytes other = record_;
                other[payload_ - 8 + bit / 8] ^= static_cast<Byte>(1 << bit % 8);
                EXPECT_EQ(decodedOf(other).kind, "unknown") << bit;
            }
        };
        // fields OFFSET PATH LAYOUT: each part tells its value
        commands["fields"] = [this](const Words& words) {
            const auto decode = [](const Bytes& record) {
                altevent::Decoded decoded = decodedOf(record);
                std::erase_if(decoded.payload,
                              [](const auto& field) { return field.name == "bytes"; });
                return Json{{"header", valuesOf(decoded.header)},
                            {"payload", valuesOf(decoded.payload)}};
            };
            expectDecoded(decode, record_, payload_ + static_cast<std::size_t>(words.value(1)),
                          words[2], words.from(3));
        };
        // set OFFSET=BYTES...: the fields that change
        commands["set"] = [this](const Words& words) {
            const Lines known = all();
            for (const std::string& word : words.all) {
                change(record_, word, payload_);
            }
            for (const std::string& line : all()) {
                const bool isNew = std::ranges::count(known, line) == 0;
                sayShort(isNew && !line.starts_with("bytes") ? line : "");
            }
        };
        // values FIELD OFFSET BYTES...: what the field's values are called
        commands["values"] = [this](const Words& words) {
            Lines names;
            for (std::size_t n = 3; n < words.all.size(); n++) {
                Bytes record = record_;
                change(record, words[2] + "=" + words[n], payload_);
                for (const std::string& line : linesOf(decodedOf(record).payload)) {
                    if (line.starts_with(words[1] + " ")) {
                        names.push_back(
                            std::regex_replace(line, std::regex("^[^ ]+ \\w+ ?|[()]"), ""));
                    }
                }
            }
            say(fmt::format("{}", fmt::join(names, ",")));
        };
        commands["cut"] = [this](const Words& words) { keep(words.u32(1)); };
        // slot PLACE NUMBER TIME [CALL]: the record, in the file
        commands["slot"] = [this](const Words& words) {
            const Bytes slot = slotOf(words, words[4].empty() ? 2 : words.u32(4));
            log_.resize(words.u32(1) * 4096);
            log_.insert(log_.end(), slot.begin(), slot.end());
            keep(log_.size());
        };
        // flip BYTE BIT
        commands["flip"] = [this](const Words& words) {
            log_.at(words.u32(1)) ^= static_cast<Byte>(1 << words.number(2));
            keep(log_.size());
        };
        // heads LINE: what is not indented
        commands["heads"] = [this](const Words& words) {
            Told all = told(words.from(1));
            all.out = std::regex_replace(all.out, std::regex("\n +[^\n]*"), "");
            tell(all);
        };
    }

  private:
    Lines all() const {
        altevent::Decoded decoded = decodedOf(record_);
        std::ranges::copy(decoded.payload, std::back_inserter(decoded.header));
        return linesOf(decoded.header);
    }
    // "OFFSET=BYTES" or "OFFSET=BYTE*COUNT"
    static void change(Bytes& record, const std::string& word, std::size_t from) {
        const std::size_t equals = word.find('='), star = word.find('*');
        if (equals != word.npos) {
            Bytes bytes = hexBytes(word.substr(equals + 1, star - equals - 1));
            bytes.resize(star == word.npos ? bytes.size() : std::stoul(word.substr(star + 1)),
                         bytes[0]);
            std::ranges::copy(bytes,
                              record.begin() + static_cast<std::ptrdiff_t>(from) + std::stol(word));
        }
    }
    // PLACE NUMBER TIME
    Bytes slotOf(const Words& words, unsigned call) const {
        Bytes slot = hexBytes(fmt::format("41454C310001{:04x}{:08x}{:08x}{:016x}{:016x}", call, -2U,
                                          crcOf(record_), words.u32(2), words.value(3)));
        slot.insert(slot.end(), record_.begin(), record_.end());
        return slot;
    }
    void keep(std::size_t size) {
        log_.resize(size);
        std::ofstream("altevent.log", std::ios::binary) << std::string(log_.begin(), log_.end());
    }
    Bytes record_ = Bytes(4064), log_;
    std::size_t payload_ = 152;
};

}  // namespace

TEST(Altevent, AnswersAsTyped) {
    scriptPlay<AlteventPlayer>(CASES "/altevent.txt");
}
