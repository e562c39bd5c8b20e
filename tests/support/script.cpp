// SPDX-License-Identifier: Apache-2.0
#include "tests/support/script.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <set>
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

std::vector<ScriptChapter> scriptRead(const std::string& path, const ScriptLine& meaning) {
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

namespace {

// A test program with the argument --write puts what comes into its files instead of judging it.
bool scriptWrites() {
    const auto arguments = testing::internal::GetInjectableArgvs();
    return std::ranges::find(arguments, "--write") != arguments.end();
}

// "byte 34 (pageLength): 02 is 03" where two lines differ in a row of bytes, "32: 01 00 02 ...";
// otherwise nothing. The player may name the field of its latest record that holds a byte.
std::string scriptByte(const std::string& expected, const std::string& got,
                       const ScriptPlayer& player) {
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
    const std::string name = player.field ? " (" + player.field(byte) + ")" : "";
    return "byte " + std::to_string(byte) + name + ": " + *at + " is " + *now;
}

namespace distance = testing::internal::edit_distance;
using ScriptEdits = std::vector<distance::EditType>;

// What differs, with the lines' numbers in the file.
std::string scriptDiff(const ScriptStep& step, const Lines& got, const ScriptEdits& edits,
                       const ScriptPlayer& player) {
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

void scriptChange(const ScriptStep& step, const Lines& got, const ScriptEdits& edits,
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

Lines scriptLines(const std::string& text, const ScriptLine& meaning) {
    std::istringstream stream(text);
    Lines lines;
    for (std::string line; std::getline(stream, line);) {
        std::ranges::copy(meaning(line), std::back_inserter(lines));
    }
    std::erase(lines, "");
    return lines;
}

}  // namespace

void scriptPlayEach(const std::string& path, const std::function<ScriptPlayer()>& begin,
                    const ScriptLine& meaning) {
    ScriptChanges changes;
    for (const ScriptChapter& chapter : scriptRead(path, meaning)) {
        const ScriptPlayer player = begin();
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
