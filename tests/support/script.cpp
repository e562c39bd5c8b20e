// SPDX-License-Identifier: Apache-2.0
#include "tests/support/script.h"

#include <algorithm>
#include <exception>

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
    for (const std::string& printed :
         {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()}) {
        said_ += printed + (printed.empty() || printed.back() == '\n' ? "" : "\n");
    }
    return said_;
}

void Player::say(const Lines& lines) {
    for (const std::string& line : lines) {
        say(line);
    }
}

const std::string& commandOf(const ScriptStep& step) {
    scriptStep[step.place.copy(scriptStep, sizeof scriptStep - 1)] = '\0';
    return step.command;
}

std::vector<ScriptChapter> scriptRead(const std::string& path) {
    std::ifstream file(path);
    std::vector<ScriptChapter> chapters(1);
    std::string title, line;
    for (int number = 1; std::getline(file, line); ++number) {
        ScriptChapter& chapter = chapters.back();
        if (line.starts_with("== ")) {
            title = ", in \"" + line.substr(3) + "\"";
            if (!chapter.empty()) {
                chapters.emplace_back();
            }
        } else if (line.starts_with("> ")) {
            const std::string place = path + ":" + std::to_string(number) + ": ";
            chapter.push_back({place + line.substr(2) + title, line.substr(2), {}});
        } else if (!line.empty() && !line.starts_with("# ")) {
            chapter.at(chapter.size() - 1).expected.push_back(line);
        }
    }
    EXPECT_FALSE(chapters.back().empty()) << path;
    return chapters;
}

void scriptPlayEach(const std::string& path,
                    const std::function<std::unique_ptr<Player>()>& begin) {
    for (const ScriptChapter& chapter : scriptRead(path)) {
        const auto player = begin();
        for (const ScriptStep& step : chapter) {
            std::string wanted = "\n", came = "\n" + player->run(commandOf(step));
            for (const std::string& line : step.expected) {
                wanted += line + "\n";
            }
            const auto areEmpty = [](char one, char next) { return one == '\n' && next == '\n'; };
            came.erase(std::ranges::unique(came, areEmpty).begin(), came.end());
            if (came != wanted) {
                EXPECT_EQ(wanted, came) << step.place;
                break;
            }
        }
    }
}
