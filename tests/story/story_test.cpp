// SPDX-License-Identifier: Apache-2.0
// Every enclosure lives its story: the transcript of each chapter must come out as it is written.
#include <gtest/gtest.h>

#include <fstream>

#include "tests/story/transcript.h"
#include "tests/support/fake_alt_event_log.h"

namespace {

struct Step {
    int line;  // in the file
    std::string command;
    std::string outcome;  // lines
};

struct Chapter {
    std::string title;
    std::vector<Step> steps;
};

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// "== TITLE" begins a chapter, "> COMMAND" a step; '#' comments.
std::vector<Chapter> chaptersOf(const StoryRow& row) {
    std::ifstream file(std::string(STORY_DIR) + "/" + row.story + ".story");
    std::vector<Chapter> chapters;
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        if (line.starts_with("== ")) {
            chapters.push_back({line.substr(3), {}});
        } else if (line.starts_with("> ")) {
            chapters.back().steps.push_back({number, line.substr(2), ""});
        } else if (!line.empty() && line[0] != '#') {
            chapters.back().steps.back().outcome +=
                replaced(line, "{enclosure}", row.enclosure) + "\n";
        }
    }
    return chapters;
}

class Story : public testing::TestWithParam<StoryRow> {};

TEST_P(Story, ComesOutAsWritten) {
    const std::vector<Chapter> chapters = chaptersOf(GetParam());
    ASSERT_FALSE(chapters.empty());
    for (const Chapter& chapter : chapters) {
        Transcript transcript(GetParam());
        for (const Step& step : chapter.steps) {
            EXPECT_EQ(step.outcome, transcript.run(step.command))
                << GetParam().story << ".story:" << step.line << ": " << step.command << ", in \""
                << chapter.title << "\"";
        }
        EXPECT_EQ(takeFaults(), std::vector<std::string>()) << chapter.title;
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Story, testing::ValuesIn(storyRows()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
