// SPDX-License-Identifier: Apache-2.0
// altevent: records of which altevent.txt types the fields, and logs of the test's own writing.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <ranges>
#include <regex>
#include <set>

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

// A slot around a record of 4064 bytes.
Bytes slotOf(std::uint64_t number, const Bytes& record, unsigned call, std::uint32_t argument,
             std::uint64_t time) {
    Bytes slot = hexBytes(fmt::format("41454C310001{:04x}{:08x}{:08x}{:016x}{:016x}", call,
                                      argument, crcOf(record), number, time));
    slot.insert(slot.end(), record.begin(), record.end());
    return slot;
}

void write(const Bytes& log) {
    std::ofstream("altevent.log", std::ios::binary) << std::string(log.begin(), log.end());
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
        // set OFFSET=BYTES...: the fields that change, or how they begin
        commands["set"] = [this](const Words& words) {
            const Lines known = all();
            for (const std::string& word : words.all) {
                change(record_, word, payload_);
            }
            for (const std::string& line : all()) {
                const bool isNew = std::ranges::count(known, line) == 0;
                say(isNew && !line.starts_with("bytes") ? line.substr(0, 150) : "");
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
        commands["cut"] = [this](const Words& words) {
            log_.resize(words.u32(1));
            write(log_);
        };
        // slot PLACE NUMBER TIME: the record, in the file
        commands["slot"] = [this](const Words& words) {
            const Bytes slot =
                slotOf(words.u32(2), record_, 2, 0, static_cast<std::uint64_t>(words.value(3)));
            log_.resize(words.u32(1) * 4096);
            log_.insert(log_.end(), slot.begin(), slot.end());
            write(log_);
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
    Bytes record_ = Bytes(4064), log_;
    std::size_t payload_ = 152;
};

}  // namespace

TEST(Altevent, AnswersAsTyped) {
    scriptPlay<AlteventPlayer>(CASES "/altevent.txt");
}

// Slots in any state: which are records, in which order, and what is said of the others.
TEST(Altevent, ShowsTheRingInOrderAndNamesWhatIsDamaged) {
    const Place place;
    Random random;
    const Lines calls = {"altEventLogM", "altEventLog -2", "call 3 -2"};
    const Lines fates = {"foreign: this log did not write it",
                         "torn: its record was not written to the end"};
    for (int round = 0; round < 48; round++) {
        SCOPED_TRACE(round);
        Bytes log;
        std::map<std::uint64_t, std::string> good;  // by number
        Lines damaged;
        bool isLog = false;
        for (std::size_t at = random.below(4); at < 256 && !random.onceIn(8);
             at += random.below(round % 16 == 0 ? 120 : 2) + 1) {
            const std::uint64_t number = at + 1 + 256 * random.below(3);
            const std::size_t call = random.below(3), fate = random.below(8);
            const Bytes record(4064, static_cast<Byte>(random.below(255) + 1));
            Bytes slot = slotOf(number, record, "213"[call] - '0', -2, 1763728000);
            isLog = isLog || fate > 0;
            if (fate > 1) {
                good[number] = fmt::format("#{} 2025-11-21T12:26:40Z unknown (slot {}, {})", number,
                                           at, calls[call]);
            } else {
                const std::size_t bad = fate == 0 ? random.below(6) : 32 + random.below(4064);
                slot[bad] ^= static_cast<Byte>(1 << random.below(8));
                damaged.push_back(
                    fmt::format("slot {} (at byte {}) is {}", at, at * 4096, fates[fate]));
            }
            log.resize(at * 4096);
            log.insert(log.end(), slot.begin(), slot.end());
        }
        if (round % 16 == 0) {  // what is behind the last slot is none
            log.resize(256 * 4096);
            log.resize(257 * 4096, 'x');
        }
        write(log);
        const std::string newest = " --last " + std::to_string(random.below(4) + 1);
        const Told all = told("altevent" + newest);
        if (!isLog && !damaged.empty()) {
            EXPECT_EQ(all.err, "altevent: altevent.log: not an alternate event log\n");
            EXPECT_EQ(all.code, 3);
            continue;
        }
        while (good.size() > newest.back() - std::size_t{'0'}) {
            good.erase(good.begin());
        }
        Lines lines, heads = linesIn(all.out);
        std::erase_if(heads, [](const std::string& line) { return line[0] == ' '; });
        std::ranges::transform(heads, heads.begin(), squeezed);
        std::ranges::copy(good | std::views::values, std::back_inserter(lines));
        lines.insert(lines.end(), damaged.begin(), damaged.end());
        lines.push_back(fmt::format("{} records, {} damaged slots", good.size(), damaged.size()));
        EXPECT_EQ(heads, lines);
        EXPECT_EQ(all.code, damaged.empty() ? 0 : 1);
        const Json json = Json::parse(told("altevent --json" + newest).out);
        EXPECT_EQ(json["records"].size(), good.size());
        EXPECT_EQ(json["damaged"].size(), damaged.size());
    }
}
