// SPDX-License-Identifier: Apache-2.0
// Tests written as text: "== TITLE" begins a chapter, "> COMMAND" a step, and the lines below it
// are all that must come of it. Empty lines, and lines that begin with "# ", are the reader's.
// A chapter ends at its first wrong step. With --write the program puts what came into the files.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

// The words of a command; what is missing reads as empty, or 0. A word like "a*4" stands for
// "aaaa".
struct Words {
    explicit Words(const std::string& text);
    std::string operator[](std::size_t n) const { return n < all.size() ? all[n] : ""; }
    long long value(std::size_t n) const;
    int number(std::size_t n) const { return static_cast<int>(value(n)); }
    std::uint8_t u8(std::size_t n) const { return static_cast<std::uint8_t>(value(n)); }
    std::uint32_t u32(std::size_t n) const { return static_cast<std::uint32_t>(value(n)); }
    // Everything from word `n` on.
    std::string from(std::size_t n) const;
    std::vector<std::string> all;
};

// Carries out commands; a test adds them to `commands` and says what comes of them. What is written
// to standard output and standard error follows.
class Player {
  public:
    virtual ~Player() = default;
    std::string run(const std::string& text);

  protected:
    // A line of texts and numbers.
    template <typename... Parts>
    void say(const Parts&... parts) {
        const std::string line = (std::string() + ... + textOf(parts));
        said_ += line.empty() ? "" : line + "\n";
    }
    void say(const Lines& lines);
    // After each command: says what it left behind.
    virtual void finish() {}

    std::map<std::string, std::function<void(const Words&)>> commands;

  private:
    static std::string textOf(const std::string& text) { return text; }
    static std::string textOf(std::integral auto number) { return std::to_string(number); }
    void printed(const std::string& text);
    std::string said_;
};

struct ScriptStep {
    int number;         // of its line in the file
    std::string place;  // "print.txt:12: COMMAND, in CHAPTER"
    std::string command;
    Lines expected;
    std::vector<int> numbers;  // of the lines in the file, one for each expected
};
using ScriptChapter = std::vector<ScriptStep>;

// For those that play by themselves. Steps in front of the first title are a chapter, too.
std::vector<ScriptChapter> scriptRead(const std::string& path);

// The command of a step that is about to be played, which the watchdog is told.
const std::string& commandOf(const ScriptStep& step);

// The step that is played, for the watchdog.
extern char scriptStep[500];

// Plays each chapter with a new player, up to its first wrong step.
void scriptPlayEach(const std::string& path, const std::function<std::unique_ptr<Player>()>& begin);
template <typename P>
void scriptPlay(const std::string& path) {
    scriptPlayEach(path, [] { return std::make_unique<P>(); });
}
