// SPDX-License-Identifier: Apache-2.0
// Alarms: registers of a monitor, an alarm controller read bit by bit, or words only.
#include <gtest/gtest.h>

#include <algorithm>

#include "chassis/chenbro.h"
#include "chassis/vsc055.h"
#include "chips/w83782d.h"
#include "chips/w83792ad.h"
#include "chips/xyratex_alarm.h"
#include "tests/hardware/bench.h"

namespace {

using fmt::format;

constexpr int KEPT[] = {0x28, 0x2A, 0x2C, 0x30};  // monitors of a Chenbro chassis

// Names of the states 0 to 7 as they are set; the misspelt one is the log readers'.
const char* const SET[] = {"IDEL_S0",     "FAULT_S1", "REMIND_S2", "MUTE_S3",
                           "CRITICAL_S4", "STATE_S5", "STATE_S6",  "STATE_S7"};
std::string asRead(int state) {
    return state < 5 ? SET[state] : format("INVALID_S{}", state);
}

// Only fault (bit 6 low) and mute (bit 6 high) move the alarm of a monitor.
std::string winbondText(int state) {
    return state > 7 ? format("Set Backplane Alarm State to un-supported value [{}].\n", state)
           : state == 1 || state == 3
               ? format("Set Backplane Alarm State to [{}].\n", SET[state])
               : format("No action on setting Backplane Alarm State to [{}].\n", SET[state]);
}

TEST(Alarms, OfAW83782dIsBit6OfItsConfiguration) {
    Bench bench(KORVO_E_CHASSIS_KORVO_W83782D);
    for (int n = 0; n < 1000; ++n) {
        const int backplane = n % 6, state = bench.below(10);
        bench.randomize(&esaControl.winbond);
        const U8_t& shadow = esaControl.winbond[backplane % 4].configurationRegister;
        const int before = shadow;
        const bool moves = state == 1 || state == 3;
        esaW83782dAlarmStateSet(0x30, u8(backplane), static_cast<EsaAlarmState_e>(state));
        if (backplane > 3) {
            EXPECT_EQ(bench.take(),
                      format("Unsupported Winbond Backplane Index = [{}].\n", backplane));
            continue;
        }
        const int after = state == 1 ? before & ~0x40 : state == 3 ? before | 0x40 : before;
        EXPECT_EQ(bench.take(), (moves ? wrote(0x30, 0x40, after) : "") + winbondText(state));
        EXPECT_EQ(shadow, after);
    }
}

// Each with its own shadow; one that is lost does not keep the others from theirs.
TEST(Alarms, OfAChenbroChassisAreThoseOfAllMonitors) {
    for (int lost = 0; lost < 5; ++lost) {
        for (const int state : {1, 3}) {
            Bench bench(KORVO_E_CHASSIS_CHENBRO_3U16ATX);
            esaControl.compositeFaultStatus = 0x80000001;
            std::string expected;
            for (int n = 0; n < 4; ++n) {
                const int value = esaControl.winbond[n].configurationRegister = bench.byte();
                expected += n + 1 == lost
                                ? format("W {:02X} 40 fails\n", KEPT[n])
                                : wrote(KEPT[n], 0x40, state == 1 ? value & ~0x40 : value | 0x40);
            }
            bench.failing = lost;
            chenbroAlarmStateSet(static_cast<EsaAlarmState_e>(state));
            EXPECT_EQ(linesWith(bench.take(), {"W "}), expected);
        }
    }
}

TEST(Alarms, OfAW83792adAreWords) {
    Bench bench(KORVO_E_CHASSIS_KORVO_W83792AD);
    for (int state = 0; state < 10; ++state) {
        esaW83792adAlarmStateBackplaneSet(static_cast<EsaAlarmState_e>(state));
        EXPECT_EQ(bench.take(), winbondText(state));
    }
}

// Reading takes the low byte; a poll says an unknown state after a second look.
TEST(Alarms, OfAVsc055AreWordsAndTheSuppliesOwn) {
    Bench bench(KORVO_E_CHASSIS_KORVO_VSC055);
    bench.use("vsc055");
    for (const unsigned state : {0, 1, 2, 3, 4, 5, 6, 7, 8, 255, 257}) {
        const int low = state % 256;
        esaVsc055AlarmStateBackplaneSet(static_cast<EsaAlarmState_e>(state));
        EXPECT_EQ(bench.take(),
                  state < 8
                      ? format("Set Backplane Alarm State to [{}].\n", SET[state])
                      : format("Set Backplane Alarm State to un-supported value [{}].\n", state));
        esaControl.alarmState = state;
        esaChassis()->alarmPoll();
        const std::string read =
            low < 8 ? format("Read the Alarm State as [{}].\n", asRead(low))
                    : format("Read the Alarm State as un-supported value [{}].\n", low);
        EXPECT_EQ(
            bench.take(),
            read + (low < 8
                        ? format("Alarm State is set to [{}].\n", SET[low])
                        : read + format("Alarm State is set to un-supported value [{}].\n", low)));
    }
    const int port = esaControl.vitesse.vsc055GPD[4] = bench.byte();
    esaVsc055AlarmStatePowerSupplyClear();
    EXPECT_EQ(bench.take(), "Clear the Alarm on the Power Supply.\n" +
                                wrote(0x41, 4, port & ~0x40) + wrote(0x41, 4, port | 0x40));
}

// ---- the alarm controller of a Xyratex chassis ----

constexpr int PORT = 5;

TEST(Alarms, OfAXyratexChassisIsSetWithTheStrobe) {
    Bench bench(KORVO_E_CHASSIS_XYRATEX_2U12ATX);
    bench.use("xyratex");
    for (int n = 0; n < 300; ++n) {
        const int state = n % 10, kept = (esaControl.vitesse.vsc055GPD[PORT] = bench.byte()) & 0xF0;
        xyratexAlarmStateSet(static_cast<EsaXyratexAlarmState_e>(state));
        EXPECT_EQ(bench.take(),
                  state > 7
                      ? format("Set the Alarm State to un-supported value [{}].\n", state)
                      : format("Set the Alarm State to [{}].\n", asRead(state)) +
                            wrote(0x63, PORT, kept | 8 | state) + wrote(0x63, PORT, kept | state));
    }
}

// What the controller shows when bit 0, 1 and 2 are asked for; the transfers that this takes.
std::string alarmShows(Bench* bench, int state, int shadow) {
    std::string expected;
    std::vector<U8_t>& shown = bench->next[0x6300 + PORT];
    for (int bit = 0; bit < 3; ++bit) {
        shown.push_back(u8((bench->byte() & ~0x10) | (state >> bit & 1) << 4));
        expected += wrote(0x63, PORT, (shadow & ~7) | bit) + readGave(0x63, PORT, shown.back());
    }
    return expected + format("Read the Alarm State as [{}].\n", asRead(state));
}

// A read that fails counts as all three bits; the steps go on.
TEST(Alarms, OfAXyratexChassisIsReadBitByBit) {
    Bench bench(KORVO_E_CHASSIS_XYRATEX_2U12ATX);
    for (int n = 0; n < 300; ++n) {
        bench.restart(KORVO_E_CHASSIS_XYRATEX_2U12ATX);
        bench.use("xyratex");
        const U8_t shadow = esaControl.vitesse.vsc055GPD[PORT] = bench.byte();
        const int state = n % 8;
        const std::string expected = alarmShows(&bench, state, shadow);
        bench.failing = bench.below(14);
        const int lost = bench.failing;
        const bool readLost = lost % 2 == 0 && lost > 0 && lost <= 6;
        EXPECT_EQ(xyratexAlarmStateRead(), static_cast<unsigned>(readLost ? 7 : state));
        const std::string said = bench.take();
        EXPECT_TRUE((lost > 0 && lost < 7) || said == expected) << said;
        EXPECT_EQ(std::ranges::count(linesWith(said, {"W 63", "R 63"}), '\n'), 6);
    }
}

// A poll keeps and reports where the alarm has gone: fault and critical are warnings.
TEST(Alarms, OfAXyratexChassisIsFollowed) {
    Bench bench(KORVO_E_CHASSIS_XYRATEX_2U12ATX);
    bench.log = false;
    for (unsigned n = 0; n < 64; ++n) {
        bench.restart(KORVO_E_CHASSIS_XYRATEX_2U12ATX);
        bench.use("xyratex");
        const unsigned now = n % 8, kept = esaControl.alarmState = n / 8;
        alarmShows(&bench, static_cast<int>(now), 0);
        esaChassis()->alarmPoll();
        const bool warns = now == 1 || now == 4;
        EXPECT_EQ(linesWith(bench.take(), {"event"}),
                  now == kept ? ""
                              : format("event 9/{} alarms=1{}\n", warns ? 2 : 1,
                                       now == 0 ? "" : format(" alarm={}", now)));
        EXPECT_EQ(esaControl.alarmState, now);
    }
}

}  // namespace
