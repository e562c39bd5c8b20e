// SPDX-License-Identifier: Apache-2.0
// altevent: records of which altevent.txt types the fields, in logs of the test's own writing.
#include "tools/altevent/cli.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <nlohmann/json.hpp>

#include "tests/support/hex.h"
#include "tests/unit/tools/tools.h"

namespace {

using Json = nlohmann::ordered_json;
using Byte = std::uint8_t;

// The command writes to C streams.
int altEvent(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    char* texts[2] = {};
    std::size_t sizes[2] = {};
    std::FILE* const streams[] = {open_memstream(&texts[0], &sizes[0]),
                                  open_memstream(&texts[1], &sizes[1])};
    const int code = altevent::run(argc, argv, streams[0], streams[1]);
    std::ranges::for_each(streams, std::fclose);
    out << texts[0];
    err << texts[1];
    std::ranges::for_each(texts, std::free);
    return code;
}

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

void put(Byte* at, int size, std::uint64_t value) {
    for (; size > 0; value >>= 8) {
        at[--size] = static_cast<Byte>(value);
    }
}

struct SlotHead {
    unsigned call = 1;
    std::int32_t argument = -1;
    std::uint64_t time = 1763728000;
};

// A slot around a record of 4064 bytes.
Bytes slotOf(std::uint64_t number, const Bytes& record, const SlotHead& head = {}) {
    Bytes slot = {'A', 'E', 'L', '1', 0, 1};
    slot.resize(32);
    put(&slot[6], 2, head.call);
    put(&slot[8], 4, static_cast<std::uint32_t>(head.argument));
    put(&slot[12], 4, crcOf(record));
    put(&slot[16], 8, number);
    put(&slot[24], 8, head.time);
    slot.insert(slot.end(), record.begin(), record.end());
    return slot;
}

void write(const Bytes& log) {
    std::ofstream("altevent.log", std::ios::binary) << std::string(log.begin(), log.end());
}

// ---- records that differ from a base record ----

struct Shown {
    Lines lines;    // with single blanks
    Json document;  // by the paths of its values
};

// Of records, in the order they are written in.
std::vector<Shown> shownOf(const std::vector<Bytes>& records) {
    Bytes log;
    for (const Bytes& record : records) {
        const Bytes slot = slotOf(log.size() / 4096 + 1, record);
        log.insert(log.end(), slot.begin(), slot.end());
    }
    write(log);
    std::vector<Shown> shown;
    const Json document = Json::parse(told(altEvent, "altevent --json").out);
    for (const Json& record : document["records"]) {
        shown.push_back({{}, Json{record["kind"], record["header"], record["payload"]}.flatten()});
    }
    std::size_t n = 0;
    for (const std::string& line : linesIn(told(altEvent, "altevent").out)) {
        if (line[0] == '#') {
            shown.at(n++).lines.push_back(std::regex_replace(line, std::regex(".*Z  |  .*"), ""));
        } else if (line[0] == ' ') {
            shown.at(n - 1).lines.push_back(squeezed(line));
        }
    }
    return shown;
}

// The document says nothing that the lines do not: each value stands there, in some notation.
void expectTold(const Shown& shown, const Json& base) {
    std::string text = fmt::format("{}", fmt::join(shown.lines, " "));
    static const std::regex word("[^ ,()=.]+");
    const std::set<std::string> words{std::sregex_token_iterator(text.begin(), text.end(), word),
                                      {}};
    std::erase(text, ' ');
    for (const auto& [path, value] : shown.document.items()) {
        if ((base.contains(path) && base[path] == value) || value.is_null()) {
            continue;
        }
        bool isThere = value == 1 && words.contains(path.substr(path.rfind('/') + 1));
        if (value.is_string()) {
            std::string unbroken = value;
            std::erase(unbroken, ' ');
            isThere = unbroken.size() > 32 || text.find(unbroken) != text.npos;
        } else {
            const auto number = value.get<std::int64_t>();
            for (const char* const notation :
                 {"{}", "{:#010x}", "{:#x}", "{:#04x}", "{:06}", "{:08x}", "{:016x}"}) {
                isThere |= words.contains(fmt::format(fmt::runtime(notation), number));
            }
        }
        EXPECT_TRUE(isThere) << path << " " << value;
    }
}

const std::regex DUMPED("^[0-9a-f]{4} |^\\*");

class AlteventPlayer : public ToolPlayer {
  public:
    AlteventPlayer() : ToolPlayer("altevent", altEvent) {
        // base END-OF-THE-EVENT-HEADER [message]: offsets count from the payload behind it
        commands["base"] = [this](const Words& words) {
            record_.assign(4064, 0);
            payload_ = words[2] == "message" ? 216 : 152;
            change(record_, words[2] == "message" ? "12=08000001" : "", 0);
            change(record_, "-8=" + words[1], payload_);
        };
        // set OFFSET=BYTES...: the lines that are new now
        commands["set"] = [this](const Words& words) {
            const Bytes before = record_;
            for (const std::string& word : words.all) {
                change(record_, word, payload_);
            }
            const std::vector<Shown> shown = shownOf({before, record_});
            const std::multiset<std::string> known(shown[0].lines.begin(), shown[0].lines.end());
            for (const std::string& line : shown[1].lines) {
                say(known.contains(line) || std::regex_search(line, DUMPED) ? "" : line);
            }
            expectTold(shown[1], shown[0].document);
        };
        // values FIELD OFFSET BYTES... or FROM..TO: what the field's values are called
        commands["values"] = [this](const Words& words) {
            std::vector<Bytes> records;
            for (const std::string& bytes : spread(words)) {
                records.push_back(record_);
                change(records.back(), words[2] + "=" + bytes, payload_);
            }
            Lines names;
            const std::regex number("^[^ ]+ [0-9]+ ?|[()]");
            for (const Shown& shown : shownOf(records)) {
                names.push_back(std::regex_replace(
                    *std::ranges::find_if(
                        shown.lines,
                        [&](const auto& line) { return line.starts_with(words[1] + " "); }),
                    number, ""));
            }
            say(fmt::format("{}", fmt::join(names, ",")));
        };
        // slot PLACE NUMBER: the base record, in the file
        commands["slot"] = [this](const Words& words) {
            Bytes record = record_;
            for (const std::string& word : words.all) {
                change(record, word, payload_);
            }
            const Bytes slot =
                slotOf(words.u32(2), record, {2, 0, static_cast<std::uint64_t>(words.value(3))});
            log_.resize(words.u32(1) * 4096);
            log_.insert(log_.end(), slot.begin(), slot.end());
            write(log_);
        };
        commands["zeros"] = [this](const Words& words) {
            log_.assign(words.u32(1), 0);
            write(log_);
        };
        commands["full"] = [](const Words&) {
            const char* const argv[] = {"altevent"};
            std::FILE* const full = std::fopen("/dev/full", "w");
            std::printf("exit %d\n", altevent::run(1, argv, full, stdout));
            std::fclose(full);
        };
    }

  private:
    static Lines spread(const Words& words) {
        if (words[3].find("..") == words[3].npos) {
            return {words.all.begin() + 3, words.all.end()};
        }
        Lines bytes;
        for (int n = std::stoi(words[3]),
                 last = std::stoi(words[3].substr(words[3].find("..") + 2));
             n <= last; n++) {
            bytes.push_back(fmt::format("{:02x}", n));
        }
        return bytes;
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

constexpr char FOREIGN[] = "foreign: this log did not write it";
constexpr char TORN[] = "torn: its record was not written to the end";

constexpr const char* CALLS[] = {"altEventLog", "altEventLogM", "call 3"};

std::string headOf(std::uint64_t number, const std::string& call, std::int64_t argument) {
    return fmt::format("#{} 2025-11-21T12:26:40Z unknown (slot {}, {}{})", number,
                       (number - 1) % 256, call,
                       call.back() == 'M' ? "" : fmt::format(" {}", argument));
}

std::string damageOf(std::size_t slot, const std::string& state) {
    return fmt::format("slot {} (at byte {}) is {}", slot, slot * 4096,
                       state == "torn" ? TORN : FOREIGN);
}

// A report without what its records say, and the same of a document.
Lines headsOf(const std::string& report) {
    Lines lines = linesIn(report);
    std::erase_if(lines, [](const std::string& line) { return line[0] == ' '; });
    return squeezed(lines);
}
Lines headsOf(const Json& document) {
    Lines lines;
    for (const Json& record : document["records"]) {
        EXPECT_EQ(record["record"].get<std::string>().size(), 2 * 4064U);
        lines.push_back(headOf(record["sequenceNumber"], record["call"], record["argument"]));
    }
    for (const Json& slot : document["damaged"]) {
        lines.push_back(damageOf(slot["slot"], slot["state"]));
    }
    return lines;
}

}  // namespace

TEST(Altevent, AnswersAsTyped) {
    scriptPlay<AlteventPlayer>(CASES "/altevent.txt");
}

// Slots in any state: which are records, in which order, and what is said of the others.
TEST(Altevent, ShowsTheRingInOrderAndNamesWhatIsDamaged) {
    const Place place;
    Random random;
    for (int round = 0; round < 48; round++) {
        SCOPED_TRACE(round);
        Bytes log;
        std::map<std::uint64_t, std::string> good;  // by number
        Lines damaged;
        bool isTorn = false;
        const auto damage = [&](std::size_t at, const char* state) {
            damaged.push_back(damageOf(at, state));
            isTorn |= std::string(state) == "torn";
        };
        const unsigned far = round % 16 == 0 ? 120 : 2;
        for (std::size_t at = random(4); at < 256 && random(8) > 0; at += random(far) + 1) {
            const std::uint64_t number = at + 1 + 256 * random(3);
            const SlotHead head{random(3) + 1, static_cast<std::int32_t>(random(~0U))};
            Bytes slot = slotOf(number, Bytes(4064, static_cast<Byte>(random(255) + 1)), head);
            log.resize(at * 4096);
            switch (random(8)) {
                case 0:
                    slot[random(6)] ^= static_cast<Byte>(1 << random(8));
                    damage(at, "foreign");
                    break;
                case 1:
                    slot[32 + random(4064)] ^= static_cast<Byte>(1 << random(8));
                    damage(at, "torn");
                    break;
                case 2:  // and the file ends
                    slot.resize(32 + random(4064));
                    damage(at, "torn");
                    at = 256;
                    break;
                default:
                    good[number] = headOf(number, CALLS[head.call - 1], head.argument);
            }
            log.insert(log.end(), slot.begin(), slot.end());
        }
        if (round % 16 == 0) {  // what is behind the last slot is none
            log.resize(256 * 4096);
            log.resize(257 * 4096, 'x');
        }
        write(log);
        const std::size_t newest = random(4) + 1;
        const Told text = told(altEvent, "altevent --last " + std::to_string(newest));
        const Told json = told(altEvent, "altevent --json --hex --last " + std::to_string(newest));
        if (good.empty() && !damaged.empty() && !isTorn) {
            EXPECT_EQ(json.err, "altevent: altevent.log: not an alternate event log\n");
            EXPECT_EQ(json.code, 3);
            continue;
        }
        while (good.size() > newest) {
            good.erase(good.begin());
        }
        Lines lines;
        std::ranges::copy(good | std::views::values, std::back_inserter(lines));
        lines.insert(lines.end(), damaged.begin(), damaged.end());
        EXPECT_EQ(headsOf(Json::parse(json.out)), lines);
        lines.push_back(fmt::format("{} records, {} damaged slots", good.size(), damaged.size()));
        EXPECT_EQ(headsOf(text.out), lines);
        EXPECT_EQ(json.code, damaged.empty() ? 0 : 1);
    }
}
