// SPDX-License-Identifier: Apache-2.0
// The enclosure control page: what is stored, what is acted on, in which order, and where the walk
// over the control list ends.
#include "ses/esa_control_page.h"

#include <algorithm>

#include "tests/unit/ses/ses_fixture.h"

namespace {

using Strings = std::vector<std::string>;

constexpr U8_t VOLUME_MANAGER = 20;

std::string times(int n, const std::string& text) {
    std::string all;
    while (n-- > 0) {
        all += text;
    }
    return all;
}

// 01, 02, ... in byte 1 of otherwise empty records: shows which record was stored where.
std::string numbered(int first, int count) {
    std::string all;
    char record[16];
    for (int n = first; n < first + count; ++n) {
        std::snprintf(record, sizeof record, "00%02X0000 ", static_cast<unsigned>(n));
        all += record;
    }
    return all;
}

template <typename Record, std::size_t N>
std::string stored(const Record (&records)[N]) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(records);
    return hexText(Bytes(bytes, bytes + sizeof records));
}

const std::string NONE = "00000000";
const std::string SELECT_ALL = "00000080";  // overall word

class ControlPageTest : public SesTest {
  protected:
    // User data of SEND DIAGNOSTIC with the given control list.
    static Bytes command(const std::string& list) {
        Bytes bytes = hexBytes("1D 10 00 00 FFFF 00 00   02 00 0000 00000000");
        const Bytes records = hexBytes(list);
        bytes.insert(bytes.end(), records.begin(), records.end());
        return bytes;
    }
    static ESA_CODE_e proc(const std::string& list, U8_t requestor = REQUESTOR) {
        return esaEncContPageProc(request(29, command(list), requestor));
    }
    static bool cutLine(const Strings& lines) {
        return std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
                   return line.find("is cut by the end of the message") != line.npos;
               }) == 1;
    }
};

// ---- drives ----

TEST_F(ControlPageTest, DriveLedsFollowEveryRecordWithoutSelect) {
    counts(4, 0, 0, 0, 0);
    const std::string page = NONE + "00000004 FFFFFFFB 12345604 00000000" + times(4, NONE);
    proc(page);
    EXPECT_EQ(fake.takeCalls(), (Strings{"led on 0", "led on 2"}));
    EXPECT_EQ(esaControl.driveFaultLedStatus0, 0x5u);
    EXPECT_EQ(trace_.take(), (Strings{
                                 "Turn On Fault LED on Drive [0].",
                                 "Drive Fault LED already OFF Drive [1].",
                                 "Turn On Fault LED on Drive [2].",
                                 "Drive Fault LED already OFF Drive [3].",
                             }));
    EXPECT_EQ(hexText(part(Bytes(reinterpret_cast<U8_t*>(esaControl.deviceElementControl),
                                 reinterpret_cast<U8_t*>(esaControl.deviceElementControl + 4)),
                           0, 16)),
              hexText("00000004 FFFFFFFB 12345604 00000000"));

    const std::vector<Bytes> sent = peer_.take();
    ASSERT_EQ(messageNames(sent), Strings{"event 5/2"});
    EXPECT_EQ(hexText(part(sent[0], 216, 28)),
              hexText("05000000 00000004 00000000 00000000 00000000 00000000 00000005"));
}

TEST_F(ControlPageTest, RepeatedPageChangesNothingAndSendsNothing) {
    counts(16, 0, 0, 0, 0);
    const std::string page = NONE + times(8, "00000004 00000000") + times(4, NONE);
    proc(page);
    fake.takeCalls();
    trace_.take();
    EXPECT_EQ(peer_.take().size(), 1u);
    proc(page);
    EXPECT_TRUE(fake.calls.empty());
    EXPECT_TRUE(peer_.take().empty());
    EXPECT_EQ(esaControl.driveFaultLedStatus0, 0x5555u);
    const Strings lines = trace_.take();
    ASSERT_EQ(lines.size(), 16u);
    EXPECT_EQ(lines[14], "Drive Fault LED already ON Drive [14].");
    EXPECT_EQ(lines[15], "Drive Fault LED already OFF Drive [15].");
}

TEST_F(ControlPageTest, DriveLedGoesOutAgain) {
    counts(2, 0, 0, 0, 0);
    esaControl.driveFaultLedStatus0 = 0x3;
    proc(NONE + "00000000 00000004" + times(4, NONE));
    EXPECT_EQ(fake.takeCalls(), Strings{"led off 0"});
    EXPECT_EQ(esaControl.driveFaultLedStatus0, 0x2u);
    EXPECT_EQ(trace_.take()[0], "Turn Off Fault LED on Drive [0].");
    EXPECT_EQ(messageNames(peer_.take()), Strings{"event 5/2"});
}

TEST_F(ControlPageTest, ResultIsThatOfTheLastLedRoutine) {
    counts(3, 2, 0, 0, 0);
    fake.ledResults = {{0, ESA_E_GENERR}, {1, ESA_E_GENERR_I2C_UNAVAILABLE}};
    const std::string rest = SELECT_ALL + times(2, "80000002") + times(3, NONE);
    EXPECT_EQ(proc(NONE + "00000004 00000004 00000000" + rest), ESA_E_GENERR_I2C_UNAVAILABLE);
    EXPECT_EQ(proc(NONE + "00000000 00000004 00000000" + rest), ESA_E_GENERR);
    EXPECT_EQ(proc(NONE + "00000000 00000000 00000004" + rest), ESA_E_OK);
    EXPECT_EQ(proc(NONE + "00000000 00000000 00000004" + rest), ESA_E_OK);  // none was called
}

TEST_F(ControlPageTest, VolumeManagerDrivesLedsOnly) {
    const std::string page = "000000FF" + times(16, "80000004") + SELECT_ALL +
                             times(2, "80000002") + SELECT_ALL + times(4, "80000004") + SELECT_ALL +
                             times(4, "80010203") + SELECT_ALL + "80000002";
    proc(page, VOLUME_MANAGER);
    EXPECT_EQ(esaControl.driveFaultLedStatus0, 0xFFFFu);
    EXPECT_EQ(esaControl.deviceElementControlOverall, 0xFFu);
    EXPECT_EQ(fake.takeCalls().size(), 16u);
    EXPECT_EQ(trace_.take().back(), "Rx Drive Fault LED SES msg from VM. No further processing.");
    EXPECT_EQ(esaControl.powerSupplyElementControlOverall, 0u);
    EXPECT_EQ(stored(esaControl.powerSupplyElementControl), hexText(times(3, NONE)));
    EXPECT_EQ(stored(esaControl.coolingElementControl), hexText(times(8, NONE)));
    EXPECT_EQ(stored(esaControl.temperatureSensorElementControl), hexText(times(8, NONE)));
    EXPECT_EQ(stored(esaControl.audibleAlarmElementControl), hexText(NONE));
    EXPECT_EQ(esaControl.alarmState, 0u);
}

// ---- power supplies ----

TEST_F(ControlPageTest, SupplyFaultIndicationFollowsSelectedRecords) {
    struct {
        const char* list;  // overall word and two records
        U32_t before;
        U32_t after;
        Strings calls;
        Strings lines;
    } const cases[] = {
        {"00000080 80000002 00000000",
         7,
         3,
         {"supply fault"},
         {"Turn On Fault LED for Power Supply."}},
        {"00000080 80000002 80000002",
         7,
         3,
         {"supply fault"},
         {"Turn On Fault LED for Power Supply.", "Fault LED already [ON] for Power Supply."}},
        {"00000080 80000002 80000000",
         7,
         7,
         {"supply fault", "supply ok"},
         {"Turn On Fault LED for Power Supply.", "Turn Off Fault LED for Power Supply."}},
        {"00000080 00000002 80000000",
         3,
         7,
         {"supply ok"},
         {"Turn Off Fault LED for Power Supply."}},
        {"00000080 80000000 00000000", 7, 7, {}, {"Fault LED already [OFF] for Power Supply."}},
        {"00000080 80000002 00000000", 0, 0, {}, {"Fault LED already [ON] for Power Supply."}},
        {"FFFFFF7F 80000002 80000002", 7, 7, {}, {}},  // the overall word does not select
        {"00000080 7F0000FF 00000002", 7, 7, {}, {}},  // no record is selected
    };
    counts(0, 2, 0, 0, 0);
    for (const auto& c : cases) {
        esaControl.powerSupplyStatus = c.before;
        proc(NONE + c.list + times(3, NONE));
        EXPECT_EQ(fake.takeCalls(), c.calls) << c.list;
        EXPECT_EQ(trace_.take(), c.lines) << c.list;
        EXPECT_EQ(esaControl.powerSupplyStatus, c.after) << c.list;
        EXPECT_EQ(esaControl.powerSupplyElementControlOverall, be32At(hexBytes(c.list), 0));
        EXPECT_EQ(stored(esaControl.powerSupplyElementControl),
                  hexText(std::string(c.list).substr(9) + NONE));
        const std::vector<Bytes> sent = peer_.take();
        EXPECT_EQ(messageNames(sent), c.calls.empty() ? Strings{} : Strings{"event 6/2"});
        if (!sent.empty()) {
            EXPECT_EQ(be32At(sent[0], 216 + 8), 2u);
            EXPECT_EQ(be32At(sent[0], 216 + 32), c.after);
        }
    }
}

// ---- fans ----

TEST_F(ControlPageTest, SelectedFansAreSwitched) {
    counts(0, 0, 4, 4, 0);
    std::fill_n(esaControl.fanPwmLoad, 8, U8_t{50});
    proc(NONE + NONE + SELECT_ALL + "80000004 80000000 00000000 800000FB" + NONE + times(4, NONE) +
         NONE);
    EXPECT_EQ(fake.takeCalls(), (Strings{"fan on 0", "fan off 1", "fan off 3"}));
    EXPECT_EQ(trace_.take(),
              (Strings{"Turn On Fan [0].", "Turn Off Fan [1].", "Turn Off Fan [3]."}));
    EXPECT_EQ(Bytes(esaControl.fanPwmLoad, esaControl.fanPwmLoad + 8),
              (Bytes{100, 0, 50, 0, 50, 50, 50, 50}));
    EXPECT_EQ(Bytes(esaControl.coolingElementOnOff, esaControl.coolingElementOnOff + 8),
              (Bytes{2, 1, 0, 1, 0, 0, 0, 0}));
    EXPECT_TRUE(peer_.take().empty());
}

TEST_F(ControlPageTest, FansAreOnlyStoredWithoutTheOverallSelect) {
    counts(0, 0, 2, 2, 0);
    proc(NONE + NONE + "FFFFFF7F" + "80000004 800000FF" + times(3, NONE) + NONE);
    EXPECT_TRUE(fake.calls.empty());
    EXPECT_EQ(esaControl.coolingElementControlOverall, 0xFFFFFF7Fu);
    EXPECT_EQ(stored(esaControl.coolingElementControl),
              hexText("80000004 800000FF" + times(6, NONE)));
    EXPECT_EQ(esaControl.coolingElementOnOff[0], ESA_E_FAN_NOT_AVAILABLE);
}

TEST_F(ControlPageTest, GroupedFansAreSwitchedAndBookedTogether) {
    struct {
        const char* records;
        Strings calls;
        Bytes loads;
        Bytes onOff;
    } const cases[] = {
        {"00000000 00000000 00000000 80000004 00000000 00000000",
         {"fan on 0"},
         {100, 100, 100, 100, 50, 50, 50, 50},
         {2, 2, 2, 2, 0, 0, 0, 0}},
        {"00000000 00000000 00000000 00000000 00000000 80000000",
         {"fan off 4"},
         {50, 50, 50, 50, 0, 0, 0, 0},
         {0, 0, 0, 0, 1, 1, 1, 1}},
        {"80000004 80000000 00000000 00000000 80000004 00000000",
         {"fan on 0", "fan off 0", "fan on 4"},
         {0, 0, 0, 0, 100, 100, 100, 100},
         {1, 1, 1, 1, 2, 2, 2, 2}},
    };
    fake.row = FakeChassis::GROUPED;
    counts(0, 0, 6, 6, 0);
    for (const auto& c : cases) {
        std::fill_n(esaControl.fanPwmLoad, 8, U8_t{50});
        std::fill_n(esaControl.coolingElementOnOff, 8, U8_t{0});
        proc(NONE + NONE + SELECT_ALL + c.records + times(7, NONE) + NONE);
        EXPECT_EQ(fake.takeCalls(), c.calls);
        EXPECT_EQ(Bytes(esaControl.fanPwmLoad, esaControl.fanPwmLoad + 8), c.loads);
        EXPECT_EQ(Bytes(esaControl.coolingElementOnOff, esaControl.coolingElementOnOff + 8),
                  c.onOff);
    }
}

// ---- temperature sensors: skipped by the other type's count ----

TEST_F(ControlPageTest, EqualCountsStoreTemperatureRecordsInPlace) {
    counts(0, 0, 4, 4, 1);
    proc(NONE + NONE + NONE + numbered(0x11, 4) + "00002000" + numbered(0x21, 4) + SELECT_ALL +
         "80000002");
    EXPECT_EQ(esaControl.temperatureSensorElementControlOverall, 0x2000u);
    EXPECT_EQ(stored(esaControl.temperatureSensorElementControl),
              hexText(numbered(0x21, 4) + times(4, NONE)));
    EXPECT_EQ(fake.takeCalls(), Strings{"silence"});
    EXPECT_FALSE(cutLine(trace_.take()));
}

TEST_F(ControlPageTest, FourFansAndEightSensorsShiftTheSensorsButFindTheAlarm) {
    counts(0, 0, 4, 8, 1);
    std::fill_n(esaControl.temperatureSensorElementControl, 8,
                TemperatureSensorElementCont_t{0, 0, 0, {0x77, 0x77}});
    proc(NONE + NONE + NONE + numbered(0x11, 4) + "00002000" + numbered(0x21, 8) + SELECT_ALL +
         "80000002");
    // Read 16 bytes late: the last two records lie behind the message and stay as they were.
    EXPECT_EQ(esaControl.temperatureSensorElementControlOverall, 0x00240000u);
    EXPECT_EQ(stored(esaControl.temperatureSensorElementControl),
              hexText(numbered(0x25, 4) + "00000080 80000002 00007777 00007777"));
    EXPECT_EQ(fake.takeCalls(), Strings{"silence"});
    EXPECT_FALSE(cutLine(trace_.take()));
}

TEST_F(ControlPageTest, EightFansAndFourSensorsShiftTheSensorsButFindTheAlarm) {
    counts(0, 0, 8, 4, 1);
    proc(NONE + NONE + NONE + numbered(0x11, 8) + "00002000" + numbered(0x21, 4) + SELECT_ALL +
         "80000002");
    // Read 16 bytes early.
    EXPECT_EQ(esaControl.temperatureSensorElementControlOverall, 0x00150000u);
    EXPECT_EQ(stored(esaControl.temperatureSensorElementControl),
              hexText(numbered(0x16, 3) + "00002000" + times(4, NONE)));
    EXPECT_EQ(fake.takeCalls(), Strings{"silence"});
    EXPECT_FALSE(cutLine(trace_.take()));
}

TEST_F(ControlPageTest, CountsAboveTheArraysAreWalkedButNeverActedOn) {
    struct {
        U8_t fans, sensors;
    } const cases[] = {{44, 44}, {44, 9}, {9, 255}, {255, 255}};
    for (const auto& c : cases) {
        counts(0, 0, c.fans, c.sensors, 1);
        proc(NONE + NONE + SELECT_ALL + times(c.fans, "80000004") + NONE +
             times(c.sensors, "80000000") + SELECT_ALL + "80000002");
        const Strings calls = fake.takeCalls();
        EXPECT_EQ(calls.size(), 9u);
        EXPECT_EQ(calls[7], "fan on 7");
        EXPECT_EQ(calls.back(), "silence");
        EXPECT_FALSE(cutLine(trace_.take()));
        // Neighbours of the arrays in the control block.
        EXPECT_EQ(esaControl.coolingElementStatusOverall, 0u);
        EXPECT_EQ(esaControl.temperatureSensorElementStatusOverall, 0u);
    }
}

// ---- audible alarm ----

TEST_F(ControlPageTest, AlarmRequestsByPrecedence) {
    struct {
        const char* record;
        const char* call;  // null: none
        U32_t state;
        const char* groupedCall;
        U32_t groupedState;
    } const cases[] = {
        {"800000FF", "silence", 3, "silence", 3},  // mute wins
        {"80000002", "silence", 3, "silence", 3},
        {"80000082", "silence", 3, "silence", 3},
        {"80000080", "sound 1", 1, "sound 4", 4},  // unrecoverable
        {"80000040", "sound 1", 1, "sound 4", 4},  // critical
        {"800000F0", "sound 1", 1, "sound 4", 4},
        {"80000020", "sound 1", 1, "sound 1", 1},  // non-critical
        {"80000010", "sound 1", 1, "sound 1", 1},  // information
        {"80000030", "sound 1", 1, "sound 1", 1},
        {"80000008", nullptr, 7, nullptr, 7},  // a reminder takes no part
        {"8001FF05", nullptr, 7, nullptr, 7},
        {"7F0000FF", nullptr, 7, nullptr, 7},  // not selected
    };
    for (const auto& c : cases) {
        for (const bool grouped : {false, true}) {
            fake.row = grouped ? FakeChassis::GROUPED : FakeChassis::FULL;
            counts(0, 0, 0, 0, 1);
            esaControl.alarmState = 7;
            proc(times(4, NONE) + SELECT_ALL + c.record);
            const char* call = grouped ? c.groupedCall : c.call;
            EXPECT_EQ(fake.takeCalls(), call == nullptr ? Strings{} : Strings{call}) << c.record;
            EXPECT_EQ(esaControl.alarmState, grouped ? c.groupedState : c.state) << c.record;
            EXPECT_EQ(stored(esaControl.audibleAlarmElementControl), hexText(c.record));
        }
    }
    EXPECT_TRUE(peer_.take().empty());
}

TEST_F(ControlPageTest, AlarmIsOnlyStoredWithoutTheOverallSelect) {
    counts(0, 0, 0, 0, 1);
    proc(times(4, NONE) + "00000020" + "A0000002");
    EXPECT_TRUE(fake.calls.empty());
    EXPECT_EQ(esaControl.alarmState, 0u);
    EXPECT_EQ(esaControl.audibleAlarmElementControlOverall, 0x20u);
    EXPECT_EQ(stored(esaControl.audibleAlarmElementControl), hexText("A0000002"));
}

// ---- chassis without back-end ----

TEST_F(ControlPageTest, WithoutBackEndTheBooksAreKept) {
    for (const FakeChassis::Row row : {FakeChassis::NO_BACKEND, FakeChassis::UNKNOWN_TYPE}) {
        fake.row = row;
        counts(1, 1, 1, 1, 1);
        esaControl.driveFaultLedStatus0 = 0;
        esaControl.powerSupplyStatus = 7;
        esaControl.alarmState = 0;
        esaControl.coolingElementOnOff[0] = 0;
        EXPECT_EQ(proc(NONE + "00000004" + SELECT_ALL + "80000002" + SELECT_ALL + "80000004" +
                       times(2, NONE) + SELECT_ALL + "80000040"),
                  ESA_E_OK);
        EXPECT_TRUE(fake.calls.empty());
        EXPECT_EQ(messageNames(peer_.take()), (Strings{"event 5/2", "event 6/2"}));
        EXPECT_EQ(esaControl.driveFaultLedStatus0, 1u);
        EXPECT_EQ(esaControl.powerSupplyStatus, 3u);
        EXPECT_EQ(esaControl.fanPwmLoad[0], 100);
        EXPECT_EQ(esaControl.coolingElementOnOff[0], ESA_E_FAN_ON);
        EXPECT_EQ(esaControl.alarmState, 1u);
    }
}

// ---- messages that end early ----

// Elements of a section that starts at list byte `start` and lie wholly inside `length` bytes.
int whole(int length, int start, int count) {
    return std::clamp((length - start) / 4 - 1, 0, count);
}

// What the whole page asks for, one call per element that acts.
Strings callsOfList(int length) {
    Strings calls;
    for (int n = 0; n < whole(length, 0, 16); ++n) {
        calls.push_back("led on " + std::to_string(n));
    }
    if (whole(length, 68, 2) > 0) {
        calls.push_back("supply fault");
    }
    for (int n = 0; n < whole(length, 80, 4); ++n) {
        calls.push_back("fan on " + std::to_string(n));
    }
    if (whole(length, 120, 1) > 0) {
        calls.push_back("silence");
    }
    return calls;
}

TEST_F(ControlPageTest, OnlyRecordsWhollyInsideTheMessageAreHandled) {
    const Bytes complete =
        command(NONE + times(16, "00000004") + SELECT_ALL + times(2, "80000002") + SELECT_ALL +
                times(4, "80000004") + "000000C0" + numbered(0x21, 4) + SELECT_ALL + "80000002");
    ASSERT_EQ(complete.size(), 16u + 128u);
    for (std::size_t came = 0; came <= complete.size(); ++came) {
        const S32_t link = esaControl.socketFdMSM;
        esaControl = {};
        esaControl.socketFdMSM = link;
        counts(16, 2, 4, 4, 1);
        esaControl.powerSupplyStatus = 7;
        // Behind the message stands an older one, whose records would all act.
        MMSG_t* message = request(29, complete);
        message->mmch.mmsg_length = static_cast<U16_t>(64 + came);
        esaEncContPageProc(message);

        const int length = static_cast<int>(came) - 16;
        EXPECT_EQ(fake.takeCalls(), callsOfList(length)) << came;
        EXPECT_EQ(cutLine(trace_.take()), came < complete.size()) << came;
        EXPECT_EQ(esaControl.temperatureSensorElementControlOverall, length >= 104 ? 0xC0u : 0u);
        const int sensors = whole(length, 100, 4);
        EXPECT_EQ(stored(esaControl.temperatureSensorElementControl),
                  hexText(numbered(0x21, sensors) + times(8 - sensors, NONE)))
            << came;
        // A change is reported even when the section that brought it is cut.
        Strings events;
        if (length >= 8) {
            events.emplace_back("event 5/2");
        }
        if (length >= 76) {
            events.emplace_back("event 6/2");
        }
        EXPECT_EQ(messageNames(peer_.take()), events) << came;
    }
}

TEST_F(ControlPageTest, FanRecordsAboveTheArrayThatDidNotComeEndTheWalk) {
    counts(0, 0, 44, 2, 1);
    proc(NONE + NONE + SELECT_ALL + times(20, "80000004"));
    EXPECT_EQ(fake.takeCalls().size(), 8u);
    EXPECT_EQ(stored(esaControl.temperatureSensorElementControl), hexText(times(8, NONE)));
    EXPECT_TRUE(cutLine(trace_.take()));
}

TEST_F(ControlPageTest, VolumeManagersListMayEndWithTheDrives) {
    proc(NONE + times(16, "00000004"), VOLUME_MANAGER);
    EXPECT_EQ(fake.takeCalls().size(), 16u);
    EXPECT_FALSE(cutLine(trace_.take()));
}

}  // namespace
