// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/tools/tools.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <regex>

#include "tools/altevent/cli.h"
#include "tools/doctor/cli.h"
#include "tools/esaparams/cli.h"
#include "tools/personality/cli.h"
#include "tools/sesctl/cli.h"

namespace {

// Which writes to C streams.
int altEvent(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    char* texts[2] = {};
    std::size_t sizes[2] = {};
    std::FILE* const streams[] = {
        out ? open_memstream(&texts[0], &sizes[0]) : std::fopen("/dev/full", "w"),
        open_memstream(&texts[1], &sizes[1])};
    const int code = altevent::run(argc, argv, streams[0], streams[1]);
    std::ranges::for_each(streams, std::fclose);
    out << std::string(texts[0], sizes[0]);
    err << std::string(texts[1], sizes[1]);
    std::ranges::for_each(texts, std::free);
    return code;
}

const std::map<std::string, int (*)(int, const char* const*, std::ostream&, std::ostream&)> TOOLS =
    {{"altevent", altEvent},
     {"esa-doctor", doctor::run},
     {"esaparams", esaparams::run},
     {"personality", personality::run},
     {"sesctl", sesctl::run}};

}  // namespace

Told told(const std::string& line, bool isFull) {
    const Words words(line);
    std::vector<const char*> argv;
    for (const std::string& word : words.all) {
        argv.push_back(word.c_str());
    }
    std::ostringstream out, err;
    out.setstate(isFull ? std::ios::badbit : std::ios::goodbit);
    const int code = TOOLS.at(words[0])(static_cast<int>(argv.size()), argv.data(), out, err);
    return {code, out.str(), err.str()};
}

Lines linesIn(const std::string& text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.insert(lines.end(), line.empty() ? 0 : 1, line);
    }
    return lines;
}

std::string squeezed(const std::string& line) {
    return std::regex_replace(line, std::regex("^ +| +$|( ) +"), "$1");
}

std::string contentOf(const std::string& file) {
    std::stringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

ToolPlayer::ToolPlayer() {
    for (const auto& [name, run] : TOOLS) {
        commands[name] = [this](const Words& words) { tell(told(words.from(0), isFull_)); };
    }
    commands["full"] = [this](const Words& words) {
        isFull_ = true;
        commands.at(words[1])(Words(words.from(1)));
        isFull_ = false;
    };
    commands["wrong"] = [this](const Words& words) {
        const std::regex line(words[1] + ": [^\n]*see [a-z ]*--help\\)\n"), bar(" ?\\| ?");
        const std::string all = words.from(2) + " ";
        for (std::sregex_token_iterator at(all.begin() + 1, all.end(), bar, -1), end; at != end;
             ++at) {
            const Told one = told(words[1] + " " + at->str());
            if (one.code != 2 || !one.out.empty() || !std::regex_match(one.err, line)) {
                tell(one);
            }
        }
    };
}

void ToolPlayer::tell(const Told& all) {
    say(linesIn(all.out));
    if (all.code != 0 || !all.err.empty()) {
        const std::regex name("^[a-z-]+(?=: )|\n$"), own("(enclab-)[0-9]+|(x)x{9,}");
        const std::string error = std::regex_replace(all.err, name, "");
        say("exit ", all.code, std::regex_replace(error, own, "$1$2..."));
    }
}

void ToolPlayer::sayShort(const std::string& line) {
    const bool isLong = line.size() > 150;
    say(isLong ? line.substr(0, 70) + "..." + line.substr(line.size() - 76) : line);
}

// Whether a value says these bits; a text has no more than letters, rows of bytes are hexadecimal.
static bool isSaid(const Json& value, const std::vector<bool>& bits) {
    std::uint64_t number = 0;
    Bytes bytes(bits.size() / 8);
    for (std::size_t n = 0; n < bits.size(); n++) {
        number = number * 2 + bits[n];
        if (n / 8 < bytes.size()) {
            bytes[n / 8] = static_cast<Byte>(number);
        }
    }
    if (value.is_string()) {
        return value == std::string(bytes.begin(), bytes.end()) ||
               value == fmt::format("{:02x}", fmt::join(bytes, ""));
    }
    const std::uint64_t mask = ~std::uint64_t{0} >> (64 - bits.size());
    return value.is_boolean() ? value == (number == 1)
                              : (value.get<std::uint64_t>() & mask) == number;
}

void expectDecoded(const Decode& decode, const Bytes& base, std::size_t at, const std::string& path,
                   const std::string& layout) {
    static Random random;
    const Json before = decode(base);
    std::size_t bit = at * 8;
    for (const std::string& word : Words(layout).all) {
        const std::size_t end = std::min(word.find_first_of(":!"), word.size());
        std::vector<bool> bits(word.find(':') == word.npos ? 1 : std::stoul(word.substr(end + 1)));
        const Json::json_pointer pointer(path + word.substr(0, end));
        const bool isNamed = word.find("/value") != word.npos;
        const Json::json_pointer owner = isNamed ? pointer.parent_pointer() : pointer;
        for (int n = 0; n < 3 && word[0] != '.'; n++) {
            SCOPED_TRACE(pointer.to_string());
            Bytes record = base;
            Byte letter = 0;
            for (std::size_t b = 0; b < bits.size(); b++) {
                Byte& byte = record[(bit + b) / 8];
                const unsigned place = 7 - (bit + b) % 8;
                letter = place == 7 ? static_cast<Byte>('a' + random.below(26)) : letter;
                bits[b] = before.at(pointer).is_string() ? letter >> place & 1
                                                         : n == 0 || random.onceIn(2);
                byte = static_cast<Byte>((byte & ~(1 << place)) | bits[b] << place);
            }
            Json after = decode(record);
            EXPECT_TRUE(isSaid(after.at(pointer), bits)) << after.at(pointer);
            if (after.contains("fault")) {
                EXPECT_EQ(after["fault"], word.ends_with('!') && bits[0]);
                after["fault"] = before["fault"];
            }
            after[owner] = before[owner];
            EXPECT_EQ(Json::diff(before, after), Json::array());
        }
        bit += bits.size();
    }
}

TEST(Tools, RefuseWhatIsWrong) {
    scriptPlay<ToolPlayer>(CASES "/usage.txt");
}
