// SPDX-License-Identifier: Apache-2.0
// SES pages of a VSC055 enclosure down to its registers: a page costs the prescribed transfers, in
// order, and not one more.
#include <gtest/gtest.h>

#include <algorithm>

#include "core/esa_control.h"
#include "ses/esa_control_page.h"
#include "ses/esa_status.h"
#include "tests/support/fake_bus.h"
#include "tests/support/hex.h"
#include "tests/support/switch_peer.h"

namespace {

using Strings = std::vector<std::string>;

// 2 drives, 2 supplies, 2 fans, 2 sensors, 1 alarm, all healthy.
class Vsc055Pages : public testing::Test {
  protected:
    Vsc055Pages() {
        const S32_t link = esaControl.socketFdMSM;
        esaControl = {};
        esaControl.socketFdMSM = link;
        esaControl.enclosureType = KORVO_E_CHASSIS_KORVO_VSC055;
        esaControl.i2cConnected = 1;
        esaControl.i2cAddressVsc055 = 0x41;
        esaControl.i2cAddressLM75[0] = 0x4C;
        esaControl.i2cAddressLM75[1] = 0x4B;
        esaControl.deviceMaxNumber = 2;
        esaControl.powerSupplyMaxNumber = 2;
        esaControl.coolingMaxNumber = 2;
        esaControl.temperatureSensorMaxNumber = 2;
        esaControl.audibleAlarmMaxNumber = 1;
        esaControl.fanSpeedDivisor = 2;
        esaControl.powerSupplyStatus = 7;
        bus_.reg(0x41, 0x04) = 0x80;
        bus_.reg(0x41, 0x32) = 200;
        bus_.reg(0x41, 0x36) = 200;
        bus_.reg(0x4C, 0x00) = 25;
        bus_.reg(0x4B, 0x00) = 56;
    }

    static MMSG_t* message(U32_t type, const std::string& userData) {
        const Bytes bytes = hexBytes(userData);
        std::fill_n(esaControl.esaInMsg, sizeof esaControl.esaInMsg, U8_t{0});
        auto* msg = wireView<MMSG_t>(esaControl.esaInMsg);
        msg->mmch.opcode.request.protocol = MMSG_E_PROTOCOL_SES;
        msg->mmch.opcode.request.type = type;
        msg->mmch.requestor = 29;
        msg->mmch.mmsg_length = static_cast<U16_t>(64 + bytes.size());
        std::copy(bytes.begin(), bytes.end(), esaControl.esaInMsg + 64);
        return msg;
    }
    static void statusAsk() { esaStatusSend(message(28, "1C 80 02 00 FFFF 00 00"), 0, 2, 0, 0, 0); }
    static void control(const std::string& list) {
        esaEncContPageProc(message(29, "1D 10 00 00 0000 00 00 02 00 0000 00000000" + list));
    }
    std::string page() {
        statusAsk();
        const Bytes reply = peer_.take().back();
        return hexText(Bytes(reply.begin() + 65 + 8, reply.end()));
    }

    FakeBus bus_;
    SwitchPeer peer_;
};

TEST_F(Vsc055Pages, StatusPageReadsEachRegisterAsOftenAsPrescribed) {
    EXPECT_EQ(page(), hexText(R"(
        00000000 01000000 01010000
        00000000 01000001 01000001
        00000000 00402CE0 00402CE0
        00000000 00002D00 00004C20
        00000000 000000)"));
    EXPECT_EQ(bus_.takeLog(), (Strings{"R 41 04=80", "R 41 04=80", "R 41 32=C8", "R 41 36=C8",
                                       "R 4C 00=19", "R 4C 00=19", "R 4B 00=38", "R 4B 00=38"}));
}

TEST_F(Vsc055Pages, LostRedundancyIsReportedOnceAndAnsweredByBothSupplies) {
    bus_.reg(0x41, 0x04) = 0x00;
    statusAsk();
    EXPECT_EQ(messageNames(peer_.take()), (Strings{"led on", "mail", "event 6/2", "reply 128"}));
    EXPECT_EQ(page().substr(48, 24), hexText("05000003 05000003"));
    bus_.reg(0x41, 0x04) = 0x80;
    statusAsk();
    EXPECT_EQ(messageNames(peer_.take()), (Strings{"led off", "event 6/2", "reply 128"}));
}

TEST_F(Vsc055Pages, LostSensorIsReportedBeforeTheReplyThatMarksIt) {
    bus_.cut(0x4B);
    statusAsk();
    const std::vector<Bytes> sent = peer_.take();
    ASSERT_FALSE(sent.empty());
    EXPECT_EQ(messageNames(sent), (Strings{"led on", "mail", "event 10/2", "reply 128"}));
    EXPECT_EQ(hexText(Bytes(sent.back().begin() + 65 + 44, sent.back().begin() + 65 + 56)),
              hexText("00000000 00002D00 00000000"));
}

TEST_F(Vsc055Pages, ControlPageMovesExactlyTheRegistersItNames) {
    esaControl.vitesse.vsc055GPD[1] = 0x03;
    esaControl.vitesse.vsc055GPD[4] = 0x50;
    esaControl.vitesse.vsc055GPD[6] = 0xFF;
    control(
        "00000000 00000000 00000004"  // LED of drive 1
        "00000000 00000000 00000000"
        "00000080 80000004 80000000"  // fan 0 on, fan 1 off
        "00000000 00000000 00000000"
        "00000080 80000002");  // mute
    EXPECT_EQ(bus_.takeLog(), (Strings{"W 41 06=FD", "W 41 98=3F", "W 41 99=00", "W 41 01=01",
                                       "W 41 04=10", "W 41 04=50"}));
    EXPECT_EQ(esaControl.alarmState, ESA_E_ALARM_STATE_MUTE_S3);
}

TEST_F(Vsc055Pages, RequestedSupplyFaultIsACompositeFault) {
    control(
        "00000000 00000000 00000000"
        "00000080 80000002 00000000"
        "00000000 00000000 00000000"
        "00000000 00000000 00000000"
        "00000000 00000000");
    EXPECT_EQ(messageNames(peer_.take()), (Strings{"led on", "mail", "event 6/2"}));
    EXPECT_EQ(page().substr(48, 24), hexText("01000003 01000001"));
}

}  // namespace
