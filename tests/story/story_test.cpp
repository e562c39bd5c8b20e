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
    const std::string enclosure(service::chassisTitle(GetParam().type));
    scriptPlay(
        std::string(STORY_DIR) + "/" + GetParam().story + ".story",
        [] { return Transcript(GetParam()); },
        [&](const std::string& line) { return Lines{replaced(line, enclosure, "{enclosure}")}; });
}

INSTANTIATE_TEST_SUITE_P(Of, Story, testing::ValuesIn(storyRows()),
                         [](const auto& row) { return row.param.name; });

// ---- register traffic ----

// One transfer each, without comments.
Lines traffic(const std::string& line) {
    std::istringstream words(line.substr(0, line.find('#')));
    Lines transfers;
    for (std::string word; words >> word;) {
        const bool begins = word == "R" || word == "W" || word == "sleep";
        if (begins || transfers.empty()) {
            transfers.push_back(word);
        } else {
            transfers.back() += " " + word;
        }
    }
    return transfers;
}

// Chassis and situation.
using TrafficRow = std::tuple<KORVO_E_CHASSIS_t, const char*>;

struct TrafficPlayer : Transcript {
    explicit TrafficPlayer(const TrafficRow& row) : Transcript(registersRow()) {
        const auto& [type, situation] = row;
        run("use " + std::string(enclab::chassisOfType(type)) + "; set enclosureType " +
            std::to_string(type));
        if (std::string(situation) != "bring-up") {
            run("call init");
        }
        run("hide log fields messages result");
    }
};

class RegisterTraffic : public testing::TestWithParam<TrafficRow> {};

TEST_P(RegisterTraffic, IsTheOneWrittenDown) {
    const auto& [type, situation] = GetParam();
    const std::string folder(enclab::chassisOfType(type));
    scriptPlay(
        std::string(GOLDEN_DIR) + "/" + folder + "/" + situation + ".txt",
        [&] { return TrafficPlayer(GetParam()); }, traffic);
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
