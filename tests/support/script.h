// SPDX-License-Identifier: Apache-2.0
// Tests written as text: "== TITLE" begins a chapter, "> COMMAND" a step, and the lines below it
// are all that must come of it. Empty lines, and lines that begin with "# ", are the reader's.
// A chapter ends at its first wrong step. With --write the program puts what came into the files.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

// The words of a command; what is missing reads as empty, or 0. A word like "a*4" stands for
// "aaaa".
struct Words {
    explicit Words(const std::string& text) {
        std::istringstream stream(text);
        for (std::string word; stream >> word;) {
            const bool repeats = word.size() > 2 && word[1] == '*';
            all.push_back(repeats ? std::string(std::stoul(word.substr(2)), word[0]) : word);
        }
    }
    std::string operator[](std::size_t n) const { return n < all.size() ? all[n] : ""; }
    long long value(std::size_t n) const {
        const std::string word = (*this)[n];
        return word.empty() ? 0 : std::stoll(word, nullptr, 0);
    }
    int number(std::size_t n) const { return static_cast<int>(value(n)); }
    std::uint8_t u8(std::size_t n) const { return static_cast<std::uint8_t>(value(n)); }
    std::uint16_t u16(std::size_t n) const { return static_cast<std::uint16_t>(value(n)); }
    std::uint32_t u32(std::size_t n) const { return static_cast<std::uint32_t>(value(n)); }
    // Everything from word `n` on.
    std::string from(std::size_t n) const {
        std::string text;
        for (; n < all.size(); ++n) {
            text += (text.empty() ? "" : " ") + all[n];
        }
        return text;
    }
    std::vector<std::string> all;
};

// Carries out commands; a test adds them to `commands` and says what comes of them. What is written
// to standard output and standard error follows.
class Player {
  public:
    virtual ~Player() = default;
    std::string run(const std::string& text) {
        said_.clear();
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        try {
            const Words words(text);
            commands.at(words[0])(words);
            finish();
        } catch (const std::exception& error) {
            say(std::string("exception: ") + error.what());
        }
        printed(testing::internal::GetCapturedStdout());
        printed(testing::internal::GetCapturedStderr());
        return said_;
    }

  protected:
    // A line of texts and numbers.
    template <typename... Parts>
    void say(const Parts&... parts) {
        const std::string line = (std::string() + ... + textOf(parts));
        said_ += line.empty() ? "" : line + "\n";
    }
    void say(const Lines& lines) {
        for (const std::string& line : lines) {
            say(line);
        }
    }
    // After each command: says what it left behind.
    virtual void finish() {}

    std::map<std::string, std::function<void(const Words&)>> commands;

  private:
    static std::string textOf(const std::string& text) { return text; }
    static std::string textOf(std::integral auto number) { return std::to_string(number); }
    void printed(const std::string& text) {
        said_ += text + (text.empty() || text.back() == '\n' ? "" : "\n");
    }
    std::string said_;
};

// Lines a line of the file stands for: itself, or what a player's own way of writing makes of it.
using ScriptLine = std::function<Lines(const std::string&)>;

struct ScriptStep {
    int number;         // of its line in the file
    std::string place;  // "print.txt:12: COMMAND, in CHAPTER"
    std::string command;
    Lines expected;
    std::vector<int> numbers;  // of the lines in the file, one for each expected
};
using ScriptChapter = std::vector<ScriptStep>;

// The step that is played, for the watchdog.
inline char scriptStep[500];

inline const std::string& commandOf(const ScriptStep& step) {
    scriptStep[step.place.copy(scriptStep, sizeof scriptStep - 1)] = '\0';
    return step.command;
}

inline Lines scriptAsWritten(const std::string& line) {
    return {line};
}

// Steps in front of the first title are a chapter, too.
inline std::vector<ScriptChapter> scriptRead(const std::string& path,
                                             const ScriptLine& meaning = scriptAsWritten) {
    std::ifstream file(path);
    std::vector<ScriptChapter> chapters(1);
    std::string title;
    int number = 0, steps = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        ScriptChapter& chapter = chapters.back();
        if (line.starts_with("== ")) {
            title = ", in \"" + line.substr(3) + "\"";
            if (!chapter.empty()) {
                chapters.emplace_back();
            }
        } else if (line.starts_with("> ")) {
            const std::string place = path + ":" + std::to_string(number) + ": ";
            chapter.push_back({number, place + line.substr(2) + title, line.substr(2), {}, {}});
            ++steps;
        } else if (!line.empty() && !line.starts_with("# ")) {
            ScriptStep& step = chapter.at(chapter.size() - 1);
            std::ranges::copy(meaning(line), std::back_inserter(step.expected));
            step.numbers.resize(step.expected.size(), number);
        }
    }
    EXPECT_GT(steps, 0) << path;
    return chapters;
}

// A test program with the argument --write puts what comes into its files instead of judging it.
inline bool scriptWrites() {
    const auto arguments = testing::internal::GetInjectableArgvs();
    return std::ranges::find(arguments, "--write") != arguments.end();
}

// "byte 34 (pageLength): 02 is 03" where two lines differ in a row of bytes, "32: 01 00 02 ...";
// otherwise nothing. The player may name the field of its latest record that holds a byte.
inline std::string scriptByte(const std::string& expected, const std::string& got, auto& player) {
    const auto words = [](const std::string& line) {
        std::istringstream stream(line);
        return Lines{std::istream_iterator<std::string>(stream), {}};
    };
    const auto other = [](const std::string& word) {
        return word.size() != 2 || word.find_first_not_of("0123456789ABCDEF") != word.npos;
    };
    const Lines line = words(expected), came = words(got);
    const auto [at, now] = std::ranges::mismatch(line, came);
    if (at == line.end() || now == came.end() || other(*at) || other(*now)) {
        return "";
    }
    const auto row = std::find_if(std::reverse_iterator(at), line.rend(), other).base();
    if (std::find_if(at, line.end(), other) - row < 4) {
        return "";
    }
    const unsigned long start =
        row == line.begin() + 1 ? std::strtoul(line[0].c_str(), nullptr, 10) : 0;
    const std::size_t byte = start + static_cast<std::size_t>(at - row);
    std::string name;
    if constexpr (requires { player.field(byte); }) {
        name = " (" + player.field(byte) + ")";
    }
    return "byte " + std::to_string(byte) + name + ": " + *at + " is " + *now;
}

namespace distance = testing::internal::edit_distance;
using ScriptEdits = std::vector<distance::EditType>;

// What differs, with the lines' numbers in the file.
inline std::string scriptDiff(const ScriptStep& step, const Lines& got, const ScriptEdits& edits,
                              auto& player) {
    std::ostringstream text;
    std::size_t e = 0, g = 0, shown = 0;
    for (const auto edit : edits) {
        if (edit != distance::kMatch && ++shown <= 10) {
            if (edit != distance::kAdd) {
                text << "\n" << std::setw(6) << step.numbers[e] << " - " << step.expected[e];
            }
            if (edit != distance::kRemove) {
                text << "\n       + " << got[g];
            }
            const std::string byte =
                edit == distance::kReplace ? scriptByte(step.expected[e], got[g], player) : "";
            text << (byte.empty() ? "" : "\n         ") << byte;
        }
        e += edit != distance::kAdd;
        g += edit != distance::kRemove;
    }
    return text.str() +
           (shown > 10 ? "\nand " + std::to_string(shown - 10) + " more differences" : "");
}

// Lines of the file, by number, and what shall stand there instead.
using ScriptChanges = std::map<int, Lines>;

inline void scriptChange(const ScriptStep& step, const Lines& got, const ScriptEdits& edits,
                         ScriptChanges& changes) {
    ScriptChanges all = {{step.number, {"> " + step.command}}};
    int at = step.number;
    std::size_t e = 0, g = 0;
    std::set<int> wrong;
    for (const auto edit : edits) {
        at = edit == distance::kAdd ? at : step.numbers[e++];
        Lines& now = all[at];
        if (edit != distance::kRemove) {
            now.push_back(got[g++]);
        }
        if (edit != distance::kMatch) {
            wrong.insert(at);
        }
    }
    for (const int number : wrong) {
        changes[number] = all[number];
    }
}

inline void scriptWrite(const std::string& path, const ScriptChanges& changes) {
    std::ifstream file(path);
    std::string text;
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        const auto change = changes.find(++number);
        for (const std::string& now : change == changes.end() ? Lines{line} : change->second) {
            text += now + "\n";
        }
    }
    std::ofstream(path) << text;
}

inline Lines scriptLines(const std::string& text, const ScriptLine& meaning) {
    std::istringstream stream(text);
    Lines lines;
    for (std::string line; std::getline(stream, line);) {
        std::ranges::copy(meaning(line), std::back_inserter(lines));
    }
    std::erase(lines, "");
    return lines;
}

// Plays each chapter with a new player, up to its first wrong step.
template <typename Make>
void scriptPlay(const std::string& path, Make make, const ScriptLine& meaning) {
    ScriptChanges changes;
    for (const ScriptChapter& chapter : scriptRead(path, meaning)) {
        auto player = make();
        for (const ScriptStep& step : chapter) {
            const Lines got = scriptLines(player.run(commandOf(step)), meaning);
            if (got == step.expected) {
                continue;
            }
            const auto edits = distance::CalculateOptimalEdits(step.expected, got);
            if (!scriptWrites()) {
                ADD_FAILURE() << step.place << scriptDiff(step, got, edits, player);
                break;
            }
            ADD_FAILURE() << "written, review: " << step.place;
            scriptChange(step, got, edits, changes);
        }
    }
    if (!changes.empty()) {
        scriptWrite(path, changes);
    }
}
template <typename P>
void scriptPlay(const std::string& path) {
    scriptPlay(
        path, [] { return P(); }, scriptAsWritten);
}
