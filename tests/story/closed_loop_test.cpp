// SPDX-License-Identifier: Apache-2.0
// The service and the physics of its enclosure in a closed loop, ten seconds from poll to poll.
#include <gtest/gtest.h>

#include "lab/plant/plant.h"
#include "tests/story/service.h"

namespace {

class ClosedLoop : public testing::TestWithParam<StoryRow> {
  protected:
    ClosedLoop() : service_(GetParam()), chassis_(service_.chassis()) { service_.run("start"); }

    void polls(int count) {
        for (int n = 0; n < count; ++n) {
            plant_.advance(10);
            service_.run("poll");
            service_.take();
        }
    }
    void expectSteady(double load, double degrees) {
        polls(90);
        for (int n = 0; n < 12; ++n) {
            polls(1);
            EXPECT_NEAR(chassis_.fanLoadPercent(0), load, 6.5);
            EXPECT_NEAR(chassis_.temperature(0), degrees, 1);
        }
    }

    StoryService service_;
    enclab::Chassis& chassis_;
    enclab::Plant plant_{chassis_};
};

TEST_P(ClosedLoop, FansFindTheLoadThatHoldsTheTemperature) {
    expectSteady(25, 29.9);
    plant_.setHeat(100);
    expectSteady(75, 36.8);
    plant_.setInlet(31);
    expectSteady(100, 42.2);
    plant_.setInlet(22);
    plant_.setHeat(10);
    expectSteady(25, 29.9);
}

TEST_P(ClosedLoop, LockedFanIsMadeUpForByTheOthers) {
    polls(10);
    const int last = chassis_.fans() - 1;
    plant_.setFanLocked(last, true);
    polls(1);
    EXPECT_GT(chassis_.fanLoadPercent(0), 90);
    plant_.setFanLocked(last, false);
    expectSteady(25, 29.9);
}

INSTANTIATE_TEST_SUITE_P(Of, ClosedLoop, testing::ValuesIn(storyRows()),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
