// SPDX-License-Identifier: Apache-2.0
// Every story must come out as it is written.
#include <gtest/gtest.h>

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

}  // namespace
