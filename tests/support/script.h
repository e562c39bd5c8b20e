// SPDX-License-Identifier: Apache-2.0
// Tests written as text: "== TITLE" begins a chapter, "> COMMAND" a step, and the lines below it
// are all that must come of it. Empty lines, and lines that begin with "# ", are the reader's.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <exception>
#include <fstream>
#include <functional>
#include <map>
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

struct ScriptStep {
    std::string place;  // "print.txt:12: COMMAND, in CHAPTER"
    std::string command;
    std::string expected;  // lines
};
using ScriptChapter = std::vector<ScriptStep>;

// Steps in front of the first title are a chapter, too.
inline std::vector<ScriptChapter> scriptRead(const std::string& path) {
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
            chapter.push_back({place + line.substr(2) + title, line.substr(2), ""});
            ++steps;
        } else if (!line.empty() && !line.starts_with("# ")) {
            chapter.at(chapter.size() - 1).expected += line + "\n";
        }
    }
    EXPECT_GT(steps, 0) << path;
    return chapters;
}

// Shows what differs from the first line on.
inline void expectSame(const std::string& expected, const std::string& got,
                       const std::string& place) {
    const auto differs = std::ranges::mismatch(expected, got).in1 - expected.begin();
    const auto line = expected.rfind('\n', static_cast<std::size_t>(differs)) + 1;
    EXPECT_TRUE(expected == got) << place << "\nexpected: "
                                 << expected.substr(std::min(line, expected.size()), 300)
                                 << "\ngot: " << got.substr(std::min(line, got.size()), 300);
}

// The step that is played, for the watchdog.
inline char scriptStep[500];

inline const std::string& commandOf(const ScriptStep& step) {
    scriptStep[step.place.copy(scriptStep, sizeof scriptStep - 1)] = '\0';
    return step.command;
}

// Plays each chapter with a new player.
template <typename P>
void scriptPlay(const std::string& path) {
    for (const ScriptChapter& chapter : scriptRead(path)) {
        P player;
        for (const ScriptStep& step : chapter) {
            expectSame(step.expected, player.run(commandOf(step)), step.place);
        }
    }
}
