// SPDX-License-Identifier: Apache-2.0
// Self-test of the Xyratex alarm controller: lines, strobe, selector and what it does by itself.
#include "lab/chips/xyratex_alarm.h"

#include <gtest/gtest.h>

namespace enclab {
namespace {

using std::chrono::seconds;

void set(XyratexAlarm& alarm, int state) {
    alarm.setLines(static_cast<std::uint8_t>(0x08 | state));
    alarm.setLines(static_cast<std::uint8_t>(state));
}

int readByBits(XyratexAlarm& alarm) {
    int state = 0;
    for (int bit = 0; bit < 3; ++bit) {
        alarm.setLines(static_cast<std::uint8_t>(bit));
        state |= alarm.output() ? 1 << bit : 0;
    }
    return state;
}

TEST(XyratexAlarm, EveryStateIsSetByStrobeAndReadByBits) {
    XyratexAlarm alarm;
    EXPECT_EQ(alarm.state(), 0);
    for (int state : {1, 2, 3, 4, 5, 6, 7, 0}) {
        set(alarm, state);
        EXPECT_EQ(alarm.state(), state);
        EXPECT_EQ(readByBits(alarm), state);
        EXPECT_EQ(alarm.state(), state) << "selecting changes nothing";
    }
}

TEST(XyratexAlarm, StateFollowsTheLinesWhileTheStrobeIsHigh) {
    XyratexAlarm alarm;
    alarm.setLines(0x04);
    EXPECT_EQ(alarm.state(), 0) << "no strobe";
    alarm.setLines(0x0C);
    EXPECT_EQ(alarm.state(), 4);
    alarm.setLines(0x0A);
    EXPECT_EQ(alarm.state(), 2);
    alarm.setLines(0x01);
    EXPECT_EQ(alarm.state(), 2);
}

TEST(XyratexAlarm, SelectorAboveTwoShowsNothing) {
    XyratexAlarm alarm;
    set(alarm, 7);
    for (int selector = 3; selector < 8; ++selector) {
        alarm.setLines(static_cast<std::uint8_t>(selector));
        EXPECT_FALSE(alarm.output()) << selector;
    }
}

TEST(XyratexAlarm, FaultSoundsFromIdleRemindAndMuteOnly) {
    const int after[] = {1, 1, 1, 1, 4, 5, 6, 7};
    for (int state = 0; state < 8; ++state) {
        XyratexAlarm alarm;
        set(alarm, state);
        alarm.setFault(true);
        EXPECT_EQ(alarm.state(), after[state]) << "from state " << state;
    }
}

TEST(XyratexAlarm, EndOfTheFaultEndsTheSoundOnly) {
    const int after[] = {0, 0, 2, 3, 4, 5, 6, 7};
    for (int state = 1; state < 8; ++state) {
        XyratexAlarm alarm;
        alarm.setFault(true);
        set(alarm, state);
        alarm.setFault(false);
        EXPECT_EQ(alarm.state(), after[state]) << "from state " << state;
    }
}

TEST(XyratexAlarm, FaultToldAgainIsNoNewOne) {
    XyratexAlarm alarm;
    alarm.setFault(true);
    set(alarm, 3);
    alarm.setFault(true);
    EXPECT_EQ(alarm.state(), 3);
    XyratexAlarm byHand;
    set(byHand, 1);
    byHand.setFault(false);
    EXPECT_EQ(byHand.state(), 1) << "a sound switched on without a fault stays";
}

TEST(XyratexAlarm, IdleIsNotToBeHadDuringAFault) {
    XyratexAlarm alarm;
    alarm.setFault(true);
    set(alarm, 2);
    set(alarm, 0);
    EXPECT_EQ(alarm.state(), 1);
    alarm.setFault(false);
    set(alarm, 2);
    set(alarm, 0);
    EXPECT_EQ(alarm.state(), 0);
}

TEST(XyratexAlarm, MuteTurnsToRemindAfterAMinuteOfFault) {
    XyratexAlarm alarm;
    alarm.setFault(true);
    set(alarm, 3);
    alarm.advance(seconds(59));
    EXPECT_EQ(alarm.state(), 3);
    alarm.advance(seconds(1));
    EXPECT_EQ(alarm.state(), 2);
    alarm.advance(seconds(3600));
    EXPECT_EQ(alarm.state(), 2) << "reminds until it is set";
}

TEST(XyratexAlarm, MuteTurnsToIdleWithoutAFault) {
    XyratexAlarm alarm;
    set(alarm, 3);
    alarm.advance(seconds(60));
    EXPECT_EQ(alarm.state(), 0);
}

TEST(XyratexAlarm, EachMuteLastsItsWholeTime) {
    XyratexAlarm alarm;
    alarm.setFault(true);
    set(alarm, 3);
    alarm.advance(seconds(40));
    set(alarm, 3);
    alarm.setLines(0x02);
    alarm.advance(seconds(40));
    EXPECT_EQ(alarm.state(), 3);
    alarm.advance(seconds(20));
    EXPECT_EQ(alarm.state(), 2);
}

TEST(XyratexAlarm, HeldStrobeToldAgainDoesNotStartAnew) {
    XyratexAlarm alarm;
    alarm.setFault(true);
    alarm.setLines(0x0B);
    alarm.advance(seconds(40));
    alarm.setLines(0x0B);
    alarm.advance(seconds(20));
    EXPECT_EQ(alarm.state(), 2);
}

TEST(XyratexAlarm, OtherStatesDoNotHeedTime) {
    for (int state : {1, 2, 4, 5, 6, 7}) {
        XyratexAlarm alarm;
        set(alarm, state);
        alarm.advance(seconds(3600));
        EXPECT_EQ(alarm.state(), state);
    }
}

}  // namespace
}  // namespace enclab
