// SPDX-License-Identifier: Apache-2.0
// Every story must come out as it is written.
#include <gtest/gtest.h>

#include <sstream>

#include "lab/chassis/catalog.h"
#include "tests/story/transcript.h"
#include "tests/support/script.h"
#include "tools/chassis/service_chassis.h"

namespace {

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

class Story : public testing::TestWithParam<StoryRow> {};

TEST_P(Story, ComesOutAsWritten) {
    for (const ScriptChapter& chapter :
         scriptRead(std::string(STORY_DIR) + "/" + GetParam().story + ".story")) {
        Transcript transcript(GetParam());
        for (const ScriptStep& step : chapter) {
            expectSame(
                replaced(step.expected, "{enclosure}", service::chassisTitle(GetParam().type)),
                transcript.run(commandOf(step)), step.place);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Story, testing::ValuesIn(storyRows()),
                         [](const auto& row) { return row.param.name; });

// ---- register traffic ----

// One transfer a line, without comments.
std::string traffic(const std::string& text) {
    std::istringstream lines(text);
    std::string entries;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line.substr(0, line.find('#')));
        for (std::string word; words >> word;) {
            const bool begins = word == "R" || word == "W" || word == "sleep";
            entries += (begins ? "\n" : " ") + word;
        }
    }
    return entries;
}

class RegisterTraffic : public testing::TestWithParam<std::tuple<KORVO_E_CHASSIS_t, const char*>> {
};

TEST_P(RegisterTraffic, IsTheOneWrittenDown) {
    const auto& [type, situation] = GetParam();
    const std::string folder(enclab::chassisOfType(type));
    Transcript transcript(registersRow());
    transcript.run("use " + folder + "; set enclosureType " + std::to_string(type));
    if (std::string(situation) != "bring-up") {
        transcript.run("call init");
    }
    transcript.run("hide log fields messages result");
    const std::string file = std::string(GOLDEN_DIR) + "/" + folder + "/" + situation + ".txt";
    const auto chapters = scriptRead(file);
    for (const ScriptStep& step : chapters.at(0)) {
        expectSame(traffic(step.expected), traffic(transcript.run(commandOf(step))), step.place);
    }
}

std::vector<KORVO_E_CHASSIS_t> typesWithServices() {
    std::vector<KORVO_E_CHASSIS_t> types;
    for (KORVO_E_CHASSIS_t type = KORVO_E_CHASSIS_NONE; service::chassisRow(type); ++type) {
        if (service::chassisRow(type)->init) {
            types.push_back(type);
        }
    }
    return types;
}

INSTANTIATE_TEST_SUITE_P(OfType, RegisterTraffic,
                         testing::Combine(testing::ValuesIn(typesWithServices()),
                                          testing::Values("bring-up", "poll", "status-page",
                                                          "control-page")));

}  // namespace
