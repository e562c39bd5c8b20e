// SPDX-License-Identifier: Apache-2.0
// The daemon in the chassis besides the VSC055 one that a personality file selects.
#include "tests/e2e/e2e.h"
#include "tests/support/hex.h"

using namespace enclab;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

class ChassisTest : public LabTest {
  protected:
    void startIn(const char* chassis) {
        options.personality = personalityOf(chassis).xml();
        start();
    }
    std::vector<std::string> received() {
        std::vector<std::string> lines;
        for (const Received& received : lab().received()) {
            lines.push_back(describe(received.message));
        }
        return lines;
    }
    std::vector<int> litSlots() {
        std::vector<int> lit;
        for (int slot = 0; slot < lab().chassis().slots(); ++slot) {
            if (lab().chassis().driveFaultLed(slot)) {
                lit.push_back(slot);
            }
        }
        return lit;
    }
    std::string litStatusLeds() {
        std::string lit;
        for (const ChassisLed& led : lab().chassis().statusLeds()) {
            lit += led.lit ? " " + led.name : "";
        }
        return lit;
    }
    // A control page that asks for nothing but what `set` puts into it.
    void control(std::size_t size, const std::vector<std::pair<std::size_t, std::uint8_t>>& set) {
        Bytes page(size, 0);
        page[0] = 2;
        page[3] = static_cast<std::uint8_t>(size - 4);
        for (const auto& [at, value] : set) {
            page.at(at) = value;
        }
        SesClient client(lab());
        ASSERT_TRUE(client.request(putPage(page)));
    }
    std::string statusPage() {
        SesClient client(lab());
        const auto reply = client.request(getPage(2));
        return reply ? hexText(userData(*reply)) : "no reply";
    }
};

// 12 slots, 2 supplies, 8 fans, 2 sensors, the alarm.
class XyratexTest : public ChassisTest {
  protected:
    XyratexTest() { startIn("xyratex"); }

    static constexpr std::size_t kPageSize = 8 + 5 * 4 + (12 + 2 + 8 + 2 + 1) * 4;
    static constexpr std::size_t kSlots = 12;  // offsets in the page
    static constexpr std::size_t kFans = kSlots + 12 * 4 + 3 * 4 + 4;
    static constexpr std::size_t kAlarm = kFans + 8 * 4 + 3 * 4 + 4;
};

// 16 slots, 2 supplies, 6 fans, 3 sensors, the alarm.
class W83792adTest : public ChassisTest {
  protected:
    W83792adTest() { startIn("w83792ad"); }

    static constexpr std::size_t kPageSize = 8 + 5 * 4 + (16 + 2 + 6 + 3 + 1) * 4;
    static constexpr std::size_t kSlots = 12;
    static constexpr std::size_t kFans = kSlots + 16 * 4 + 3 * 4 + 4;
};

}  // namespace

TEST_F(XyratexTest, BringUpLightsThePsuLedAloneAndTheFirstPollsAreSilent) {
    EXPECT_EQ(litStatusLeds(), " psu-ok");
    EXPECT_THAT(litSlots(), IsEmpty());
    EXPECT_THAT(fanLoads(), Each(25));
    EXPECT_EQ(lab().chassis().alarm(), "S0 idle");
    lab().clearReceived();
    ASSERT_TRUE(pollsPass(3));
    EXPECT_THAT(received(), IsEmpty());
}

TEST_F(XyratexTest, StatusPageNamesAbsentDrivesAndBothSides) {
    lab().chassis().setDrivePresent(0, false);
    lab().chassis().setDrivePresent(9, false);
    lab().chassis().setTemperature(1, 40);
    EXPECT_EQ(statusPage(), hexText(R"(
        00                                       # GOOD
        02 00 007C 00000000                      # enclosure status page, 124 bytes follow
        00000000                                 # devices; 5 is not installed
        05000000 01010000 01020000 01030000 01040000 01050000
        01060000 01070000 01080000 05090000 010A0000 010B0000
        00000000                                 # power supplies
        01000001 01000001
        00000000                                 # fans at 500 times 10 RPM
        0040F4E0 0040F4E0 0040F4E0 0040F4E0 0040F4E0 0040F4E0 0040F4E0 0040F4E0
        00000000                                 # sensors at 30 and 40 degrees
        00003200 00003C00
        00000000 000000                          # alarm, the last byte left out
    )"));
}

TEST_F(XyratexTest, ControlPageSwitchesDriveLedsFansAndAlarm) {
    control(kPageSize, {{kSlots + 4 * 2 + 3, 0x04}, {kSlots + 4 * 11 + 3, 0x04}});
    EXPECT_THAT(litSlots(), ElementsAre(2, 11));
    control(kPageSize, {{kFans - 1, 0x80}, {kFans + 4 * 5, 0x80}, {kFans + 4 * 5 + 3, 0x04}});
    EXPECT_THAT(fanLoads(), ElementsAre(25, 25, 25, 25, 100, 100, 100, 100)) << "the back group";
    EXPECT_THAT(litSlots(), IsEmpty()) << "each page names all slots";
    const struct {
        std::uint8_t request;
        const char* state;
    } alarms[] = {{0x02, "S3 mute"}, {0x10, "S1 fault"}, {0x40, "S4 critical"}};
    for (const auto& alarm : alarms) {
        control(kPageSize, {{kAlarm - 1, 0x80}, {kAlarm, 0x80}, {kAlarm + 3, alarm.request}});
        EXPECT_EQ(lab().chassis().alarm(), alarm.state);
    }
}

TEST_F(XyratexTest, LostRedundancySoundsRemindsAndEndsWithTheFault) {
    ASSERT_TRUE(untilPolls(1));
    lab().clearReceived();
    // Where a poll is under way its last step, the alarm, sees it first.
    lab().chassis().setRedundancy(false);
    ASSERT_TRUE(pollsPass(2));
    EXPECT_EQ(litStatusLeds(), " psu-ok redundancy-fail");
    EXPECT_THAT(received(), UnorderedElementsAre(
                                "led     composite fault LED on", "mail    e-mail notification",
                                "event   power supply status: warning, supplies 2, status 0x01 "
                                "(voltage good, redundancy lost)",
                                "event   alarm status: warning, alarms 1, state fault"));
    lab().clearReceived();
    control(kPageSize, {{kAlarm - 1, 0x80}, {kAlarm, 0x80}, {kAlarm + 3, 0x02}});
    ASSERT_TRUE(lab().runUntil([&] { return lab().chassis().alarm() == "S2 remind"; }));
    ASSERT_TRUE(pollsPass(1));
    lab().chassis().setRedundancy(true);
    ASSERT_TRUE(pollsPass(3));
    EXPECT_EQ(litStatusLeds(), " psu-ok");
    EXPECT_EQ(lab().chassis().alarm(), "S0 idle");
    std::vector<std::uint32_t> states;
    for (const EsaEvent_t& event : events(ESA_E_ID_ES_ADAPTERMP_ALARM_STATUS)) {
        states.push_back(event.data.alarmState);
    }
    EXPECT_THAT(states, ElementsAre(2u, 0u));
    EXPECT_FALSE(lab().startupProcess().compositeLedLit());
}

TEST_F(XyratexTest, RailOutOfTolerancePutsThePsuLedOut) {
    ASSERT_TRUE(untilPolls(1));
    lab().chassis().setRail("12", 10);
    ASSERT_TRUE(pollsPass(2));
    EXPECT_EQ(litStatusLeds(), "");
    lab().chassis().setRail("12", 12);
    ASSERT_TRUE(pollsPass(2));
    EXPECT_EQ(litStatusLeds(), " psu-ok");
    EXPECT_EQ(events(ESA_E_ID_ES_ADAPTERMP_POWER_SUPPLY_STATUS).size(), 2u);
}

TEST_F(XyratexTest, PulledFanLightsTheFanLedAndRaisesBothGroups) {
    lab().chassis().pullFan(6);
    ASSERT_TRUE(pollsPass(2));
    EXPECT_EQ(litStatusLeds(), " psu-ok fan-fail");
    EXPECT_THAT(fanLoads(), Each(100));
    lab().chassis().returnFan(6);
    ASSERT_TRUE(pollsPass(5));
    EXPECT_EQ(litStatusLeds(), " psu-ok");
    EXPECT_THAT(fanLoads(), Each(50)) << "the quarter is for below 29 degrees";
    EXPECT_EQ(events(ESA_E_ID_ES_ADAPTERMP_FAN_FAULT_STATUS).size(), 2u);
}

TEST_F(W83792adTest, FirstPollReportsRedundancyAndTheVoltageThatIsNeverGood) {
    ASSERT_TRUE(pollsPass(3));
    EXPECT_THAT(
        received(),
        testing::IsSupersetOf({"event   power supply status: information, supplies 2, status 0x03 "
                               "(voltage good, redundancy good)",
                               "event   power supply status: warning, supplies 2, status 0x02 "
                               "(voltage bad, redundancy good)"}));
    EXPECT_EQ(events(ESA_E_ID_ES_ADAPTERMP_POWER_SUPPLY_STATUS).size(), 2u);
    EXPECT_TRUE(lab().startupProcess().compositeLedLit());
}

TEST_F(W83792adTest, StatusPageShowsAllThatTheMonitorMeasures) {
    lab().chassis().setTemperature(0, 56);
    lab().chassis().setTemperature(1, 30.5);
    lab().chassis().setTemperature(2, -2);
    EXPECT_EQ(statusPage(), hexText(R"(
        00                                       # GOOD
        02 00 0088 00000000                      # enclosure status page, 136 bytes follow
        00000000                                 # devices
        01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000
        01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
        00000000                                 # power supplies: not good, AC failed
        05000043 05000043
        00000000                                 # fans at 450 times 10 RPM
        0040C2E0 0040C2E0 0040C2E0 0040C2E0 0040C2E0 0040C2E0
        00000000                                 # sensors at 56, 30 and -2 degrees
        00004C20 00003200 000012C0
        00000000 000000                          # alarm, the last byte left out
    )"));
}

TEST_F(W83792adTest, ControlPageSwitchesDriveLedsAndFans) {
    EXPECT_THAT(litSlots(), testing::SizeIs(16)) << "nobody has written the expander's latches";
    control(kPageSize, {{kSlots + 4 * 2 + 3, 0x04}, {kSlots + 4 * 11 + 3, 0x04}});
    EXPECT_THAT(litSlots(), ElementsAre(2, 11));
    control(kPageSize, {{kFans - 1, 0x80}, {kFans + 4 * 4, 0x80}});
    EXPECT_THAT(fanLoads(), ElementsAre(50, 50, 50, 50, 0, 50));
}

TEST_F(W83792adTest, PulledFanRaisesAllAndTheyComeBackDown) {
    lab().chassis().pullFan(5);
    ASSERT_TRUE(pollsPass(1));
    EXPECT_THAT(fanLoads(), Each(93)) << "15 sixteenths are full";
    lab().chassis().returnFan(5);
    ASSERT_TRUE(pollsPass(4));
    EXPECT_THAT(fanLoads(), Each(50));
    EXPECT_EQ(events(ESA_E_ID_ES_ADAPTERMP_FAN_FAULT_STATUS).size(), 2u);
}

TEST_F(W83792adTest, CutExpanderIsReportedByTheNextLedRequest) {
    lab().chassis().bus().cut(lab().chassis().addressOf("pca9539"));
    ASSERT_TRUE(pollsPass(1));
    EXPECT_EQ(informationEvents(7), 0);
    control(kPageSize, {{kSlots + 3, 0x04}});
    EXPECT_EQ(informationEvents(7), 1);
    lab().chassis().bus().mend(lab().chassis().addressOf("pca9539"));
    control(kPageSize, {{kSlots + 3, 0x04}, {kSlots + 4 + 3, 0x04}});
    EXPECT_EQ(informationEvents(7), 2) << "and is back";
    EXPECT_THAT(litSlots(), testing::IsSupersetOf({0, 1})) << "the lost one with the next";
}
