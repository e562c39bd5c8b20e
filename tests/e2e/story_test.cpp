// SPDX-License-Identifier: Apache-2.0
// What happens in an enclosure and what its peers get to see of it, poll by poll.
#include "tests/e2e/e2e.h"

using namespace enclab;
using testing::Each;
using testing::ElementsAre;

namespace {

class StoryTest : public LabTest {
  protected:
    std::vector<std::uint32_t> temperatureStates(std::uint32_t sensor) const {
        std::vector<std::uint32_t> states;
        for (const EsaEvent_t& event : events(ESA_E_ID_ES_ADAPTERMP_TEMPERATURE_SENSOR_STATUS)) {
            if (event.data.temperatureSensorPosition == sensor) {
                states.push_back(event.data.temperatureStatus);
            }
        }
        return states;
    }
    void heat(double degrees) {
        for (int sensor = 0; sensor < 4; ++sensor) {
            lab().chassis().setTemperature(sensor, degrees);
        }
    }
    bool untilEvents(std::uint16_t id, std::size_t count) {
        return lab().runUntil([&] { return events(id).size() >= count; });
    }
    // Runs to the beginning of the next poll: everything of the one before has happened.
    bool untilNextPoll() { return untilPolls(polls() + 1); }
};

}  // namespace

TEST_F(StoryTest, AFanIsPulledAndReturned) {
    start();
    ASSERT_TRUE(untilPolls(2));
    lab().clearReceived();
    lab().chassis().pullFan(1);
    ASSERT_TRUE(untilEvents(ESA_E_ID_ES_ADAPTERMP_FAN_FAULT_STATUS, 1));
    ASSERT_TRUE(untilNextPoll());
    EXPECT_THAT(fanLoads(), Each(100)) << "within the poll that saw it";
    EXPECT_EQ(lab().count(Kind::compositeLed), 1);
    EXPECT_EQ(lab().count(Kind::mail), 1);
    EXPECT_TRUE(lab().startupProcess().compositeLedLit());

    ASSERT_TRUE(pollsPass(3));
    ASSERT_EQ(lab().received().size(), 3u) << "one event, one LED request, one mail, then silence";
    EXPECT_EQ(describe(lab().received()[0].message),
              "event   fan fault status: warning, fans 4, failed 0x02 (fan 1)");

    lab().clearReceived();
    lab().chassis().returnFan(1);
    ASSERT_TRUE(untilEvents(ESA_E_ID_ES_ADAPTERMP_FAN_FAULT_STATUS, 1));
    ASSERT_TRUE(untilNextPoll());
    EXPECT_THAT(fanLoads(), Each(75)) << "a step down each poll";
    ASSERT_TRUE(untilNextPoll());
    EXPECT_THAT(fanLoads(), Each(50));
    ASSERT_TRUE(pollsPass(2));
    EXPECT_THAT(fanLoads(), Each(50));
    ASSERT_EQ(lab().received().size(), 2u);
    EXPECT_EQ(describe(lab().received()[0].message),
              "event   fan fault status: warning, fans 4, failed 0x00 (none)");
    EXPECT_EQ(describe(lab().received()[1].message), "led     composite fault LED off");
    EXPECT_FALSE(lab().startupProcess().compositeLedLit());
}

TEST_F(StoryTest, ASensorCrossesTheBandsAndReportsEachOnce) {
    start();
    ASSERT_TRUE(untilPolls(2));
    EXPECT_TRUE(temperatureStates(2).empty());
    for (const double degrees : {35.0, 36.0, 40.0, 46.0, 56.0, 50.0, 30.0}) {
        lab().chassis().setTemperature(2, degrees);
        ASSERT_TRUE(pollsPass());
    }
    EXPECT_THAT(temperatureStates(2), ElementsAre(2, 3, 4, 3, 1));
    const auto found = events(ESA_E_ID_ES_ADAPTERMP_TEMPERATURE_SENSOR_STATUS);
    EXPECT_EQ(found[1].header.evType, 2);
    EXPECT_EQ(found[1].data.temperature, 46);
    EXPECT_EQ(found[1].data.numberOfTemperatureSensor, 4u);
    EXPECT_TRUE(temperatureStates(1).empty());
}

TEST_F(StoryTest, TheFansFollowTheHeatStepByStep) {
    start();
    ASSERT_TRUE(untilPolls(2));
    heat(39);
    ASSERT_TRUE(pollsPass(2));
    EXPECT_THAT(fanLoads(), Each(75));
    heat(45);
    ASSERT_TRUE(pollsPass());
    EXPECT_THAT(fanLoads(), Each(100));
    heat(41);
    ASSERT_TRUE(pollsPass());
    EXPECT_THAT(fanLoads(), Each(100)) << "equal to the threshold is no reason to move";
    heat(20);
    ASSERT_TRUE(pollsPass(3));
    EXPECT_THAT(fanLoads(), Each(25));
}

TEST_F(StoryTest, AboveTheLimitShutdownIsRequestedEachPoll) {
    start();
    ASSERT_TRUE(untilPolls(2));
    heat(60);
    ASSERT_TRUE(pollsPass(2));
    EXPECT_EQ(lab().count(Kind::shutdown), 0) << "the limit itself is allowed";
    heat(61);
    ASSERT_TRUE(lab().runUntil([&] { return lab().count(Kind::shutdown) > 0; }));
    ASSERT_TRUE(untilNextPoll());
    ASSERT_TRUE(pollsPass(2));
    EXPECT_EQ(lab().count(Kind::shutdown), 4) << "one each poll, the fourth poll over";
    EXPECT_EQ(informationEvents(ESA_E_EVENT_INFO_REQUEST_ORDERLY_SHUTDOWN), 4);
    EXPECT_EQ(lab().count(Kind::mail), 1);
    EXPECT_EQ(lab().count(Kind::compositeLed), 1);
    EXPECT_TRUE(lab().startupProcess().compositeLedLit());
    heat(30);
    ASSERT_TRUE(pollsPass(2));
    const int requests = lab().count(Kind::shutdown);
    ASSERT_TRUE(pollsPass(2));
    EXPECT_EQ(lab().count(Kind::shutdown), requests);
    EXPECT_FALSE(lab().startupProcess().compositeLedLit());
}

TEST_F(StoryTest, OneSensorCutGivesOneFaultAndOneRecovery) {
    start();
    ASSERT_TRUE(untilPolls(2));
    lab().clearReceived();
    lab().chassis().bus().cut(0x4B);
    ASSERT_TRUE(pollsPass(3));
    std::vector<std::string> lines;
    for (const Received& received : lab().received()) {
        lines.push_back(describe(received.message));
    }
    EXPECT_THAT(lines,
                ElementsAre("led     composite fault LED on", "mail    e-mail notification",
                            "event   device LM75 of sensor 1: warning, enclosure VSC055, does not "
                            "answer"));
    lab().clearReceived();
    lab().chassis().bus().mend(0x4B);
    ASSERT_TRUE(pollsPass(3));
    lines.clear();
    for (const Received& received : lab().received()) {
        lines.push_back(describe(received.message));
    }
    EXPECT_THAT(lines,
                ElementsAre("led     composite fault LED off",
                            "event   device LM75 of sensor 1: warning, enclosure VSC055, answers"));
}

TEST_F(StoryTest, WithoutAReadableSensorTheFansStayAndNothingIsShutDown) {
    start();
    heat(39);
    ASSERT_TRUE(pollsPass(2));
    EXPECT_THAT(fanLoads(), Each(75));
    for (const std::uint8_t address : Bytes{0x4C, 0x4B, 0x4A, 0x4D}) {
        lab().chassis().bus().cut(address);
    }
    ASSERT_TRUE(pollsPass(4));
    EXPECT_THAT(fanLoads(), Each(75));
    EXPECT_EQ(lab().count(Kind::shutdown), 0);
    EXPECT_EQ(informationEvents(ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75), 4);
}

TEST_F(StoryTest, LostRedundancyIsReportedOnItsEdges) {
    start();
    ASSERT_TRUE(untilPolls(2));
    lab().clearReceived();
    lab().chassis().setRedundancy(false);
    ASSERT_TRUE(pollsPass(3));
    lab().chassis().setRedundancy(true);
    ASSERT_TRUE(pollsPass(3));
    std::vector<std::string> lines;
    for (const Received& received : lab().received()) {
        lines.push_back(describe(received.message));
    }
    EXPECT_THAT(
        lines,
        ElementsAre("led     composite fault LED on", "mail    e-mail notification",
                    "event   power supply status: warning, supplies 2, status 0x01 (voltage good, "
                    "redundancy lost)",
                    "led     composite fault LED off",
                    "event   power supply status: information, supplies 2, status 0x03 (voltage "
                    "good, redundancy good)"));
}

TEST_F(StoryTest, ADivisorOfZeroCountsEveryFanAsStanding) {
    Personality personality;
    personality.fanSpeedDivisor = 0;
    options.personality = personality.xml();
    options.trace = true;
    start();
    ASSERT_TRUE(untilEvents(ESA_E_ID_ES_ADAPTERMP_FAN_FAULT_STATUS, 1));
    EXPECT_EQ(events(ESA_E_ID_ES_ADAPTERMP_FAN_FAULT_STATUS)[0].data.fanFaultStatus, 0x0Fu);
    EXPECT_TRUE(answers());
}

// Whatever transfer of a poll fails, the daemon carries on and is clean again afterwards.
TEST_F(StoryTest, AnySingleFailedTransferOfAPollIsSurvived) {
    options.speed = 50;
    start();
    ASSERT_TRUE(untilPolls(1));
    for (std::uint32_t n = 1; n <= 13; ++n) {
        lab().chassis().bus().add({.nth = n});
        ASSERT_TRUE(pollsPass(2)) << n;
        EXPECT_FALSE(lab().startupProcess().compositeLedLit()) << n;
    }
    EXPECT_EQ(lab().count(Kind::shutdown), 0);
    EXPECT_TRUE(answers());
}
