// SPDX-License-Identifier: Apache-2.0
// SES commands through the switch, byte for byte.
#include "tests/e2e/e2e.h"
#include "tests/support/hex.h"

using namespace enclab;
using testing::ElementsAre;

namespace {

class SesTest : public LabTest {
  protected:
    // A control page for 16 slots, 2 supplies, 4 fans, 4 sensors and the alarm that asks for
    // nothing: all zero.
    static Bytes controlPage() {
        Bytes page(8 + 5 * 4 + (16 + 2 + 4 + 4 + 1) * 4, 0);
        page[0] = 2;
        page[3] = static_cast<std::uint8_t>(page.size() - 4);
        return page;
    }
    static constexpr std::size_t kSlots = 12;  // offsets in the page
    static constexpr std::size_t kSupplyOverall = 8 + 68;
    static constexpr std::size_t kFanOverall = kSupplyOverall + 12;
    static constexpr std::size_t kSensorOverall = kFanOverall + 20;
    static constexpr std::size_t kAlarmOverall = kSensorOverall + 20;
};

}  // namespace

TEST_F(SesTest, TheConfigurationPageComesWithoutItsLastByte) {
    start();
    SesClient client(lab());
    const auto reply = client.request(getPage(1, 68, 0x01020304));
    ASSERT_TRUE(reply);
    const Bytes header = {14, 1, 0, 132, 18, 0, 0, 28, 33, 0x40, 26, 0, 0x04, 0, 0, 0, 0, 0,
                          0,  0, 0, 0,   0,  0, 0, 0,  0,  0,    0,  0, 0,    0, 1, 2, 3, 4};
    EXPECT_EQ(Bytes(reply->bytes().begin() + 8, reply->bytes().begin() + 44), header);
    EXPECT_EQ(hexText(userData(*reply)), hexText(hexBytes(R"(
        00                                       # GOOD
        01 00 0040 00000000                      # configuration page, 64 bytes follow
        20 00 05 24 00000000 00000000            # one enclosure, five element types
        00000000 00000000 00000000 00000000 00000000 00000000 00000000
        01 10 00 00                              # device
        02 02 00 00                              # power supply
        03 04 00 00                              # cooling
        04 04 00 00                              # temperature sensor
        06 01 00                                 # audible alarm, the last byte left out
    )")));
}

TEST_F(SesTest, TheStatusPageShowsTheEnclosureAsItIsNow) {
    start();
    lab().chassis().setTemperature(1, 56);
    lab().chassis().setTemperature(2, 61);
    // Both reads of a sensor give its whole degrees: below zero half a degree is added, the rest
    // cut.
    lab().chassis().setTemperature(3, -2);
    SesClient client(lab());
    const auto reply = client.request(getPage(2));
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->header().mmsg_length, 200);
    EXPECT_EQ(hexText(userData(*reply)), hexText(hexBytes(R"(
        00                                       # GOOD
        02 00 0084 00000000                      # enclosure status page, 132 bytes follow
        00000000                                 # devices
        01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000
        01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
        00000000                                 # power supplies
        01000001 01000001
        00000000                                 # fans at 447 times 10 RPM
        0040BFE0 0040BFE0 0040BFE0 0040BFE0
        00000000                                 # sensors at 30, 56, 61 and -1 degrees
        00003200 00004C20 00005130 000013C0
        00000000 000000                          # alarm, the last byte left out
    )")));
}

TEST_F(SesTest, AControlPageSwitchesTheDriveLedsAndTheStatusPageShowsThem) {
    start();
    SesClient client(lab());
    Bytes page = controlPage();
    page[kSlots + 4 * 3 + 3] = 0x04;
    page[kSlots + 4 * 12 + 3] = 0x04;
    const auto reply = client.request(putPage(page, 7));
    ASSERT_TRUE(reply);
    EXPECT_EQ(userData(*reply), (Bytes{0, 0, 0, 0}));
    for (int slot = 0; slot < 16; ++slot) {
        EXPECT_EQ(lab().chassis().driveFaultLed(slot), slot == 3 || slot == 12) << slot;
    }
    auto leds = events(ESA_E_ID_ES_ADAPTERMP_DRIVE_FAULT_LED_STATUS);
    ASSERT_EQ(leds.size(), 1u);
    EXPECT_EQ(leds[0].data.driveFaultLedStatus0, 0x1008u);

    const auto status = client.request(getPage(2, 4000, 8));
    ASSERT_TRUE(status);
    EXPECT_EQ(status->bytes().at(65 + kSlots + 4 * 3 + 3), 0x04);
    EXPECT_EQ(status->bytes().at(65 + kSlots + 4 * 4 + 3), 0x00);

    ASSERT_TRUE(client.request(putPage(page, 9)));
    EXPECT_EQ(events(ESA_E_ID_ES_ADAPTERMP_DRIVE_FAULT_LED_STATUS).size(), 1u)
        << "the same page again changes nothing";
}

TEST_F(SesTest, AControlPageSwitchesFans) {
    start();
    SesClient client(lab());
    Bytes page = controlPage();
    page[kFanOverall + 4 + 4 * 2] = 0x80;
    ASSERT_TRUE(client.request(putPage(page, 1)));
    EXPECT_THAT(fanLoads(), ElementsAre(50, 50, 50, 50)) << "not selected overall";
    page[kFanOverall + 3] = 0x80;
    page[kFanOverall + 4 + 4 * 2 + 3] = 0x04;
    ASSERT_TRUE(client.request(putPage(page, 2)));
    EXPECT_THAT(fanLoads(), ElementsAre(50, 50, 100, 50));
    page[kFanOverall + 4 + 4 * 2 + 3] = 0x00;
    ASSERT_TRUE(client.request(putPage(page, 3)));
    // The copy of the fan enable port starts at zero: its first write takes power from every fan.
    EXPECT_THAT(fanLoads(), ElementsAre(0, 0, 0, 0));
}

TEST_F(SesTest, ASupplyFaultIsTakenBackBeforeItCanBeRequested) {
    start();
    SesClient client(lab());
    Bytes page = controlPage();
    page[kSupplyOverall + 3] = 0x80;
    page[kSupplyOverall + 4] = 0x80;
    page[kSupplyOverall + 4 + 3] = 0x02;
    ASSERT_TRUE(client.request(putPage(page, 1)));
    EXPECT_TRUE(events(ESA_E_ID_ES_ADAPTERMP_POWER_SUPPLY_STATUS).empty()) << "counts as on";
    page[kSupplyOverall + 4 + 3] = 0x00;
    ASSERT_TRUE(client.request(putPage(page, 2)));
    page[kSupplyOverall + 4 + 3] = 0x02;
    ASSERT_TRUE(client.request(putPage(page, 3)));
    const auto found = events(ESA_E_ID_ES_ADAPTERMP_POWER_SUPPLY_STATUS);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].data.powerSupplyStatus, 7u);
    EXPECT_EQ(found[1].data.powerSupplyStatus, 3u);
    EXPECT_TRUE(lab().startupProcess().compositeLedLit());
}

TEST_F(SesTest, TheVolumeManagerDrivesLedsOnlyAndGetsNoReply) {
    start();
    SesClient volumeManager(lab(), "volmgr");
    Bytes page = controlPage();
    page[kSlots + 3] = 0x04;
    page[kFanOverall + 3] = 0x80;
    page[kFanOverall + 4] = 0x80;
    volumeManager.send(putPage(page, 1, kVolumeManager).bytes());
    EXPECT_TRUE(lab().runUntil([&] { return lab().chassis().driveFaultLed(0); }));
    EXPECT_TRUE(volumeManager.staysSilent());
    EXPECT_THAT(fanLoads(), ElementsAre(50, 50, 50, 50));
}

TEST_F(SesTest, CommandsWithoutAPageAndUnknownOnes) {
    start();
    SesClient client(lab());
    // No parameters with the page format bit: CHECK CONDITION, ILLEGAL REQUEST, invalid field.
    const auto refused = client.request(putPage({}, 2));
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->bytes().size(), 92u);
    EXPECT_EQ(refused->header().return_code, 2u);
    Bytes sense(28, 0);
    sense[0] = 2;
    sense[1] = 0xE0;
    sense[3] = 0x50;
    sense[17] = 0x24;
    EXPECT_EQ(userData(*refused), sense);

    for (const std::uint8_t page : Bytes{0, 3, 255}) {
        client.send(getPage(page).bytes());
    }
    client.send(getPage(1, 67).bytes());
    client.send(getPage(1, 0).bytes());
    Message unknown = getPage(1);
    unknown.header().opcode.request.type = 30;
    client.send(unknown.bytes());
    EXPECT_TRUE(client.staysSilent());
    EXPECT_TRUE(answers());
}

TEST_F(SesTest, ARequesterNoRecipientMapCanNameGetsNoReply) {
    start();
    SesClient client(lab());
    client.send(getPage(1, 4000, 1, 64).bytes());
    client.send(getPage(1, 4000, 1, 255).bytes());
    EXPECT_TRUE(client.staysSilent());
    EXPECT_TRUE(answers());
}

TEST_F(SesTest, EveryConnectionGetsTheReplyAndPicksItsOwn) {
    start();
    SesClient first(lab());
    SesClient second(lab());
    second.send(getPage(2, 4000, 22).bytes());
    lab().runFor(100ms);
    const auto mine = first.request(getPage(1, 4000, 11));
    ASSERT_TRUE(mine);
    EXPECT_EQ(mine->bytes().size(), 132u);
    const auto other = second.replyTo(22);
    ASSERT_TRUE(other);
    EXPECT_EQ(other->bytes().size(), 200u);
    EXPECT_TRUE(second.replyTo(11)) << "each reply goes to both";
}
