// SPDX-License-Identifier: Apache-2.0
// What the tests of the tools share: commands of ours run in this process, the player of their
// typed lines, and records of bits.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <random>
#include <regex>
#include <set>
#include <utility>

#include "basetypes.h"
#include "tests/support/script.h"

using Bytes = std::vector<std::uint8_t>;
using Main = int (*)(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

struct Told {
    int code;
    std::string out, err;
};

inline Told told(Main main, const std::string& line) {
    const Words words(line);
    std::vector<const char*> argv;
    for (const std::string& word : words.all) {
        argv.push_back(word.c_str());
    }
    std::ostringstream out, err;
    const int code = main(static_cast<int>(argv.size()), argv.data(), out, err);
    return {code, out.str(), err.str()};
}

// The lines of a text that hold something.
inline Lines linesIn(const std::string& text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty()) {
            lines.push_back(line);
        }
    }
    return lines;
}

// With single blanks between words: how a text is laid out is left to the typed examples.
inline std::string squeezed(const std::string& line) {
    std::string result;
    std::istringstream stream(line);
    for (std::string word; stream >> word;) {
        result += (result.empty() ? "" : " ") + word;
    }
    return result;
}
inline Lines squeezed(Lines lines) {
    std::ranges::transform(lines, lines.begin(), [](const auto& line) { return squeezed(line); });
    return lines;
}

// Numbers below a bound, the same in every run.
class Random {
  public:
    unsigned operator()(unsigned bound) { return narrowTo<unsigned>(engine_() % bound); }

  private:
    std::mt19937 engine_{1};
};

inline std::string contentOf(const std::string& file) {
    std::stringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

// A directory of its own, and in it while it lives.
class Place {
  public:
    Place() : before_(std::filesystem::current_path()) {
        std::filesystem::create_directory(directory);
        std::filesystem::current_path(directory);
    }
    ~Place() {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(directory);
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
    const std::string directory = "/tmp/tools-test-" + std::to_string(getpid());

  private:
    const std::filesystem::path before_;
};

// Walks the typed lines of one tool.
class ToolPlayer : public Player {
  protected:
    ToolPlayer(const std::string& name, Main main) {
        commands[name] = [=, this](const Words& words) { tell(told(main, words.from(0))); };
        // Nothing, where it is refused in one line.
        commands["wrong"] = [=, this](const Words& words) {
            const Told all = told(main, words.from(1));
            const std::regex line(name + ": [^\n]*see [a-z ]*--help\\)\n");
            if (all.code != 2 || !all.out.empty() || !std::regex_match(all.err, line)) {
                tell(all);
            }
        };
        // documented PAGE [SUBCOMMAND]: options that only the help or only that page of ours knows.
        commands["documented"] = [=, this](const Words& words) {
            const std::string page =
                std::regex_replace(contentOf(SOURCES + words[1]), std::regex(R"(\\f.|\\)"), "");
            const std::string more = told(main, name + " " + words[2] + " --help").out;
            std::set<std::string> help = options(told(main, name + " --help").out + more), only;
            std::ranges::set_symmetric_difference(help, options(page + " --help"),
                                                  std::inserter(only, only.end()));
            say(Lines(only.begin(), only.end()));
        };
    }
    // The output, and "exit 3: what it complains of".
    void tell(const Told& all) {
        say(linesIn(all.out));
        if (all.code != 0 || !all.err.empty()) {
            const std::regex needless("^[a-z]+(?=: )|\n$");
            const std::regex own("(enclab-)[0-9]+|(x)x{9,}");
            const std::string error = std::regex_replace(all.err, needless, "");
            say("exit ", all.code, std::regex_replace(error, own, "$1$2..."));
        }
    }
    const Place place;

  private:
    static std::set<std::string> options(const std::string& text) {
        const std::regex option("--[a-z]+");
        return {std::sregex_token_iterator(text.begin(), text.end(), option), {}};
    }
};

// A part of a record's bits, from the first byte's highest on. A layout names them: "name" is one
// bit, "name:8" are more, ".:2" are none of ours.
struct Part {
    std::string name;
    unsigned width, value;
};
inline std::vector<Part> partsOf(const std::uint8_t* record, const std::string& layout) {
    std::vector<Part> parts;
    unsigned bit = 0;
    for (const std::string& word : Words(layout).all) {
        const auto colon = word.find(':');
        const bool isOne = colon == word.npos;
        const auto width = isOne ? 1 : static_cast<unsigned>(std::stoul(word.substr(colon + 1)));
        Part part{word.substr(0, colon), width, 0};
        for (unsigned n = 0; n < part.width; n++, bit++) {
            part.value = part.value * 2 + (record[bit / 8] >> (7 - bit % 8) & 1);
        }
        if (part.name != ".") {
            parts.push_back(part);
        }
    }
    return parts;
}
