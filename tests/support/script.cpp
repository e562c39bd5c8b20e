// SPDX-License-Identifier: Apache-2.0
#include "tests/support/script.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iomanip>
#include <regex>
#include <sstream>

char scriptStep[500];

Words::Words(const std::string& text) {
    std::istringstream stream(text);
    for (std::string word; stream >> word;) {
        const bool repeats = word.size() > 2 && word[1] == '*';
        all.push_back(repeats ? std::string(std::stoul(word.substr(2)), word[0]) : word);
    }
}

long long Words::value(std::size_t n) const {
    const std::string word = (*this)[n];
    return word.empty() ? 0 : std::stoll(word, nullptr, 0);
}

std::string Words::from(std::size_t n) const {
    std::string text;
    for (; n < all.size(); ++n) {
        text += (text.empty() ? "" : " ") + all[n];
    }
    return text;
}

std::string Player::run(const std::string& text) {
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

void Player::say(const Lines& lines) {
    for (const std::string& line : lines) {
        say(line);
    }
}

void Player::printed(const std::string& text) {
    said_ += text + (text.empty() || text.back() == '\n' ? "" : "\n");
}

const std::string& commandOf(const ScriptStep& step) {
    scriptStep[step.place.copy(scriptStep, sizeof scriptStep - 1)] = '\0';
    return step.command;
}

std::vector<ScriptChapter> scriptRead(const std::string& path) {
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
            step.expected.push_back(line);
            step.numbers.push_back(number);
        }
    }
    EXPECT_GT(steps, 0) << path;
    return chapters;
}

namespace {

// A test program with the argument --write puts what comes into its files instead of judging it.
bool scriptWrites() {
    const auto arguments = testing::internal::GetInjectableArgvs();
    return std::ranges::find(arguments, "--write") != arguments.end();
}

// "byte 34: 02 is 03" where two rows of bytes differ, "32: 01 00 02 ..."; otherwise nothing.
std::string scriptByte(const std::string& expected, const std::string& got) {
    static const std::regex row("(?:([0-9]+): )?((?:[0-9A-F]{2} ?){4,})");
    std::smatch was, is;
    if (!std::regex_match(expected, was, row) || !std::regex_match(got, is, row)) {
        return "";
    }
    const std::string line = was[2], now = is[2];
    const auto differs = std::ranges::mismatch(line, now).in1 - line.begin();
    const std::size_t byte = static_cast<std::size_t>(differs) / 3;
    const std::size_t start = std::strtoul(was[1].str().c_str(), nullptr, 10);
    return 3 * byte >= std::min(line.size(), now.size())
               ? ""
               : "byte " + std::to_string(start + byte) + ": " + line.substr(3 * byte, 2) + " is " +
                     now.substr(3 * byte, 2);
}

namespace distance = testing::internal::edit_distance;

// What differs, with the lines' numbers in the file.
std::string scriptDiff(const ScriptStep& step, const Lines& got) {
    std::ostringstream text;
    std::size_t e = 0, g = 0, shown = 0;
    for (const auto edit : distance::CalculateOptimalEdits(step.expected, got)) {
        if (edit != distance::kMatch && ++shown <= 10) {
            if (edit != distance::kAdd) {
                text << "\n" << std::setw(6) << step.numbers[e] << " - " << step.expected[e];
            }
            if (edit != distance::kRemove) {
                text << "\n       + " << got[g];
            }
            const std::string byte =
                edit == distance::kReplace ? scriptByte(step.expected[e], got[g]) : "";
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

// Line by line; what is more goes to the last one.
void scriptChange(const ScriptStep& step, const Lines& got, ScriptChanges& changes) {
    Lines* now = &changes[step.number];
    *now = {"> " + step.command};
    for (std::size_t n = 0; n < std::max(got.size(), step.numbers.size()); ++n) {
        now = n < step.numbers.size() ? &changes[step.numbers[n]] : now;
        if (n < got.size()) {
            now->push_back(got[n]);
        }
    }
}

void scriptWrite(const std::string& path, const ScriptChanges& changes) {
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

Lines scriptLines(const std::string& text) {
    std::istringstream stream(text);
    Lines lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    std::erase(lines, "");
    return lines;
}

}  // namespace

void scriptPlayEach(const std::string& path,
                    const std::function<std::unique_ptr<Player>()>& begin) {
    ScriptChanges changes;
    for (const ScriptChapter& chapter : scriptRead(path)) {
        const auto player = begin();
        for (const ScriptStep& step : chapter) {
            const Lines got = scriptLines(player->run(commandOf(step)));
            if (got == step.expected) {
                continue;
            }
            if (!scriptWrites()) {
                ADD_FAILURE() << step.place << scriptDiff(step, got);
                break;
            }
            ADD_FAILURE() << "written, review: " << step.place;
            scriptChange(step, got, changes);
        }
    }
    if (!changes.empty()) {
        scriptWrite(path, changes);
    }
}
