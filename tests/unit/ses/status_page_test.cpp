// SPDX-License-Identifier: Apache-2.0
// The enclosure status page: its bytes, the order in which the hardware is read, and the events it
// raises, which go out whole before the reply.
#include "ses/esa_status.h"

#include <algorithm>
#include <cstring>

#include "msg/esa_event.h"
#include "tests/unit/ses/ses_fixture.h"

namespace {

using Strings = std::vector<std::string>;

constexpr std::size_t PAGE = 65;
constexpr std::size_t LIST = PAGE + 8;

class StatusPageTest : public SesTest {
  protected:
    static void ask() {
        esaStatusSend(request(28, {0x1C, 0x80, 0x02, 0, 0xFF, 0xFF, 0, 0}), 0, 2, 0, 0, 0);
    }
    Bytes page() {
        ask();
        return takeOne();
    }
    // Record `n` behind the overall word at list byte `section`.
    static std::string record(const Bytes& reply, std::size_t section, std::size_t n) {
        return hexText(part(reply, LIST + section + 4 + 4 * n, 4));
    }
};

TEST_F(StatusPageTest, WholeReplyOfAHealthyEnclosure) {
    fake.rpms = {{0, 2560}, {1, 3000}, {2, 3000}, {3, 0}};
    fake.temperatures = {25, 30, 56, ESA_K_TEMPERATURE_UNREADABLE};
    fake.alarmState = 3;
    esaControl.deviceElementControl[2].rqstFault = 1;
    esaControl.deviceElementControl[15].rqstFault = 1;
    esaControl.powerSupplyElementControl[1].rqstOn = 1;
    esaControl.coolingElementControl[1].rqstOn = 1;
    EXPECT_EQ(hexText(page()), hexText(R"(
        00000000 00000000     # links, blanked
        0E 01 00C8            # length 200: one byte of the page is left out
        12 00001C
        21 40 1D 00
        20000000 00000000
        00000000 00000000
        00000000 A1B2C3D4
        00000000 00000000 00000000
        00000000 00000000
        00                    # GOOD
        02 00 0084 00000000   # 132 bytes follow
        00000000              # devices
        01000000 01010000 01020004 01030000 01040000 01050000 01060000 01070000
        01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0004
        00000000              # supplies: OK, last bit set
        01000001 01000005
        00000000              # fans: 256, 300 and requested on, 300, stopped
        004000E0 00402CE4 00402CE0 00000008
        00000000              # sensors: 25, 30, 56 degrees, unreadable
        00002D00 00003200 00004C20 00000000
        00000000              # alarm: not muted
        000000
    )"));
}

TEST_F(StatusPageTest, HardwareIsReadInPageOrderOnce) {
    counts(3, 2, 2, 4, 1);
    fake.rpms = {{0, 3000}};
    ask();
    EXPECT_EQ(fake.takeCalls(), (Strings{"drive 0", "drive 1", "drive 2", "supply 0", "supply 1",
                                         "fan 0", "fan mark 0", "fan 1", "temperatures", "alarm"}));
}

TEST_F(StatusPageTest, DriveThatDoesNotAnswerPresentIsNotInstalled) {
    counts(3, 0, 0, 0, 0);
    fake.drives = {{1, ESA_E_GENERR}, {2, ESA_E_GENERR_I2C_UNAVAILABLE}};
    esaControl.deviceElementControl[1].rqstFault = 1;
    const Bytes reply = page();
    EXPECT_EQ(record(reply, 0, 0), hexText("01000000"));
    EXPECT_EQ(record(reply, 0, 1), hexText("05010004"));
    EXPECT_EQ(record(reply, 0, 2), hexText("05020000"));
}

TEST_F(StatusPageTest, SupplyRecordIsWhatTheChassisFoundAndThePeerRequested) {
    counts(0, 2, 0, 0, 0);
    esaControl.powerSupplyElementControl[0].rqstFail = 1;  // the chassis decides, not the page
    esaControl.powerSupplyElementControl[1].rqstOn = 1;
    fake.supply = [](int supply, PowerSupplyElementStat_t* element, EsaPageChange_t*) {
        if (supply == 1) {
            element->commonStatus = SES_E_ELEMENT_STATUS_CODE_NOT_INSTALLED;
            element->acFail = 1;
            element->fail = 1;
        }
    };
    const Bytes reply = page();
    EXPECT_EQ(record(reply, 4, 0), hexText("01000001"));
    EXPECT_EQ(record(reply, 4, 1), hexText("05000047"));
}

TEST_F(StatusPageTest, FanSpeedTravelsInTenBitsOfTenRpm) {
    struct {
        U16_t rpm;
        const char* record;
    } const cases[] = {
        {0, "00 00 00 08"},     {9, "00 00 00 08"},     {10, "00 00 01 E0"},
        {500, "00 00 32 E0"},   {2550, "00 00 FF E0"},  {2560, "00 40 00 E0"},
        {10230, "00 C0 FF E0"}, {10240, "00 00 00 E0"}, {65535, "00 40 99 E0"},
    };
    counts(0, 0, 1, 0, 0);
    for (const auto& c : cases) {
        fake.rpms = {{0, c.rpm}};
        EXPECT_EQ(record(page(), 8, 0), hexText(c.record)) << c.rpm;
        EXPECT_TRUE(contains(trace_.take(), "Fan [0] has RPM [" + std::to_string(c.rpm) +
                                                "] divided by a factor of 10."));
    }
}

TEST_F(StatusPageTest, FanThatCannotBeReadIsAnsweredAsRunning) {
    counts(0, 0, 1, 0, 0);
    esaControl.coolingElementControl[0].rqstOn = 1;
    for (const ESA_CODE_e code : {ESA_E_GENERR, ESA_E_GENERR_I2C_UNAVAILABLE}) {
        fake.unreadableFan = code;
        EXPECT_EQ(record(page(), 8, 0), hexText("000000E4"));
        EXPECT_EQ(fake.takeCalls(), (Strings{"fan 0", "temperatures"}));  // and is not marked
    }
}

TEST_F(StatusPageTest, FanMarkOfTheChassisReachesTheRecord) {
    counts(0, 0, 2, 0, 0);
    fake.rpms = {{0, 500}, {1, 501}};
    fake.fanMark = [](int, U16_t rpm, CoolingElementStat_t* element, EsaPageChange_t*) {
        element->fail = rpm <= 500;
    };
    const Bytes reply = page();
    EXPECT_EQ(record(reply, 8, 0), hexText("000032E2"));
    EXPECT_EQ(record(reply, 8, 1), hexText("000032E0"));
}

TEST_F(StatusPageTest, TemperatureIsOffsetByTwentyAndFlagged) {
    struct {
        S16_t degrees;
        const char* record;
    } const cases[] = {
        {-128, "00 00 94 C0"}, {-20, "00 00 00 C0"}, {-1, "00 00 13 C0"},  {0, "00 00 14 80"},
        {1, "00 00 15 00"},    {25, "00 00 2D 00"},  {55, "00 00 4B 00"},  {56, "00 00 4C 20"},
        {60, "00 00 50 20"},   {61, "00 00 51 30"},  {127, "00 00 93 30"}, {32767, "00 00 00 00"},
    };
    counts(0, 0, 0, 1, 0);
    for (const auto& c : cases) {
        fake.temperatures = {c.degrees};
        EXPECT_EQ(record(page(), 12, 0), hexText(c.record)) << c.degrees;
    }
}

TEST_F(StatusPageTest, AlarmEchoesTheLastRequestAndTellsWhetherItSounds) {
    struct {
        FakeChassis::Row row;
        U32_t state;
        const char* overall;
        const char* control;
        const char* expected;  // overall word and record
    } const cases[] = {
        {FakeChassis::FULL, 0, "00000000", "00000000", "00000000 00000002"},
        {FakeChassis::FULL, 1, "00000000", "00000000", "00000000 00000000"},
        {FakeChassis::FULL, 3, "00000000", "00000002", "00000000 00000001"},
        {FakeChassis::FULL, 1, "00000000", "00000080", "00000000 00000080"},
        {FakeChassis::FULL, 1, "00000000", "00000040", "00000000 00000040"},
        {FakeChassis::FULL, 1, "00000000", "00000020", "00000000 00000020"},
        {FakeChassis::FULL, 1, "00000000", "00000010", "00000000 00000010"},
        {FakeChassis::FULL, 1, "00000000", "00000008", "00000000 00000008"},
        {FakeChassis::FULL, 1, "00000000", "00000005", "00000000 00000000"},
        {FakeChassis::FULL, 1, "FFFFFFFF", "FFFFFFFF", "00000020 200000F9"},
        {FakeChassis::FULL, 1, "FFFFFFDF", "DFFFFF00", "00000000 00000000"},
        {FakeChassis::NO_BACKEND, 1, "00000000", "00000000", "00000000 00000000"},
        {FakeChassis::NO_BACKEND, 0, "00000000", "00000002", "00000000 00000003"},
    };
    counts(0, 0, 0, 0, 1);
    for (const auto& c : cases) {
        fake.row = c.row;
        fake.alarmState = c.state;
        esaControl.audibleAlarmElementControlOverall = be32At(hexBytes(c.overall), 0);
        esaControl.audibleAlarmElementControl[0] =
            *wireView<AudibleAlarmElementCont_t>(hexBytes(c.control).data());
        // The last byte does not travel, so it is looked up where the page was built.
        EXPECT_EQ(page().size(), 96u);
        const Bytes built(esaControl.esaWorkSpace + LIST + 16, esaControl.esaWorkSpace + LIST + 24);
        EXPECT_EQ(hexText(built), hexText(c.expected)) << c.control << " in state " << c.state;
    }
}

TEST_F(StatusPageTest, WithoutBackEndOnlyTheRequestsAreAnswered) {
    for (const FakeChassis::Row row : {FakeChassis::NO_BACKEND, FakeChassis::UNKNOWN_TYPE}) {
        fake.row = row;
        counts(1, 2, 1, 2, 0);
        esaControl.powerSupplyElementControl[1].rqstFail = 1;
        esaControl.coolingElementControl[0].rqstOn = 1;
        esaControl.temperatureSensor[0] = 40;
        esaControl.temperatureSensor[1] = 0;
        const Bytes reply = page();
        EXPECT_EQ(hexText(part(reply, LIST, reply.size() - LIST)), hexText(R"(
            00000000 01000000
            00000000 01000001 01000003
            00000000 000000E4
            00000000 00003C00 00001480
            000000
        )"));
        EXPECT_TRUE(fake.calls.empty());
    }
}

struct CountCase {
    U8_t fans;
    U8_t sensors;
    std::size_t length;  // of the message
    U16_t pageLength;
};

TEST_F(StatusPageTest, ElementsAboveTheArraysAreAnsweredAsUnreadable) {
    for (const CountCase& c : {CountCase{44, 44, 92 + 4 * 90, 24 + 4 * 90},
                               {255, 9, 92 + 4 * 266, 24 + 4 * 266},
                               {255, 255, 92 + 4 * 512, 24 + 4 * 512}}) {
        counts(1, 0, c.fans, c.sensors, 1);
        for (int n = 0; n < 16; ++n) {
            fake.rpms[n] = 1000;
        }
        fake.temperatures = {20, 20, 20, 20, 20, 20, 20, 20};
        const Bytes reply = page();
        EXPECT_EQ(reply.size(), c.length);
        EXPECT_EQ(be16At(reply, PAGE + 2), c.pageLength);
        const std::size_t sensors = 16u + 4u * c.fans;
        EXPECT_EQ(record(reply, 12, 7), hexText("000064E0"));
        EXPECT_EQ(record(reply, sensors, 7), hexText("00002800"));
        for (std::size_t n = 8; n < c.fans; ++n) {
            EXPECT_EQ(record(reply, 12, n), hexText("000000E0"));
        }
        for (std::size_t n = 8; n < c.sensors; ++n) {
            EXPECT_EQ(record(reply, sensors, n), hexText("00000000"));
        }
        const Strings calls = fake.takeCalls();
        EXPECT_TRUE(contains(calls, "fan 7"));
        EXPECT_FALSE(contains(calls, "fan 8"));
    }
}

TEST_F(StatusPageTest, PageThatFitsNoMessageIsNotAnswered) {
    fake.row = FakeChassis::NO_BACKEND;
    counts(255, 255, 255, 226, 1);  // 992 elements: the last that fit the work space
    EXPECT_EQ(page().size(), 4060u);
    trace_.take();
    counts(255, 255, 255, 227, 1);
    ask();
    EXPECT_EQ(trace_.take().size(), 1u);
    counts(255, 255, 255, 255, 255);
    fake.row = FakeChassis::FULL;
    ask();
    EXPECT_TRUE(peer_.take().empty());
    EXPECT_TRUE(fake.calls.empty());
}

TEST_F(StatusPageTest, ChangesAreReportedOnceBeforeTheReply) {
    fake.rpms = {{0, 100}, {1, 100}};
    fake.supply = [](int, PowerSupplyElementStat_t*, EsaPageChange_t* change) {
        esaControl.powerSupplyStatus = 1;
        change->powerSupply = true;
    };
    fake.fanMark = [](int fan, U16_t, CoolingElementStat_t*, EsaPageChange_t* change) {
        esaControl.fanFaultStatus |= 1u << fan;
        change->fan = change->fan || fan == 0;
    };
    ask();
    const std::vector<Bytes> sent = peer_.take();
    ASSERT_EQ(messageNames(sent), (Strings{"event 6/2", "event 7/2", "reply 200"}));
    EXPECT_EQ(hexText(part(sent[0], 216, 40)), hexText(R"(
        05000000 00000000 00000002 00000000 00000000 00000000 00000000 00000000
        00000001 00000000
    )"));
    EXPECT_EQ(hexText(part(sent[1], 216, 40)), hexText(R"(
        05000000 00000000 00000000 00000004 00000000 00000000 00000000 00000000
        00000000 00000003
    )"));
}

TEST_F(StatusPageTest, NoEventWhenNothingChanged) {
    ask();
    EXPECT_EQ(messageNames(peer_.take()), Strings{"reply 200"});
}

// An I2C fault found by the very last reading sends an event from the buffer the reply is built in.
TEST_F(StatusPageTest, EventRaisedByAReadingLeavesTheReplyWhole) {
    counts(2, 1, 1, 1, 1);
    fake.rpms = {{0, 2560}};
    fake.temperatures = {25};
    const Bytes quiet = page();
    fake.onTemperatures = [] {
        EsaEventData_t event;
        std::memset(static_cast<void*>(&event), 0xAA, sizeof event);
        esaEventMmsgToEmpSend(ESA_E_ID_ES_ADAPTERMP_INFORMATION, EMP_E_TYPE_WARNING, &event);
    };
    ask();
    std::vector<Bytes> sent = peer_.take();
    ASSERT_EQ(messageNames(sent), (Strings{"event 10/2", "reply 116"}));
    EXPECT_EQ(part(sent[0], 216, 144), Bytes(144, 0xAA));
    EXPECT_EQ(sent[0].size(), 360u);
    std::fill_n(sent[1].begin(), 8, std::uint8_t{0});
    EXPECT_EQ(hexText(sent[1]), hexText(quiet));
}

TEST_F(StatusPageTest, StoredStatusRecordsAndFanSpeedsAreLeftAlone) {
    const EsaControl_t before = esaControl;
    fake.rpms = {{0, 2560}};
    page();
    EXPECT_EQ(std::memcmp(esaControl.deviceElementStatus, before.deviceElementStatus,
                          sizeof before.deviceElementStatus),
              0);
    EXPECT_EQ(std::memcmp(esaControl.coolingElementStatus, before.coolingElementStatus,
                          sizeof before.coolingElementStatus),
              0);
    EXPECT_EQ(esaControl.fanRpmSpeed[0], 0);
}

}  // namespace
