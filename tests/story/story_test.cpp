// SPDX-License-Identifier: Apache-2.0
// Every story must come out as it is written.
#include <gtest/gtest.h>

#include <sstream>

#include "lab/chassis/catalog.h"
#include "tests/story/transcript.h"
#include "tests/support/script.h"
#include "tools/chassis/service_chassis.h"

namespace {

class Story : public testing::TestWithParam<const char*> {};

TEST_P(Story, ComesOutAsWritten) {
    scriptPlay<Transcript>(std::string(STORY_DIR) + "/" + GetParam() + ".story");
}

INSTANTIATE_TEST_SUITE_P(Of, Story,
                         testing::Values("bring_up", "vsc055_operations", "xyratex_operations",
                                         "winbond_operations", "transfers", "status_page",
                                         "control_page"),
                         [](const auto& story) { return std::string(story.param); });

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
    explicit TrafficPlayer(const TrafficRow& row) {
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
