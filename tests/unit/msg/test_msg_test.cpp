// SPDX-License-Identifier: Apache-2.0
// The developers' test command, byte for byte.
#include "msg/esa_test_msg.h"

#include <gmock/gmock.h>

#include <string>

#include "esa_trace.h"
#include "msg/esa_print.h"
#include "tests/unit/msg/sender.h"

using testing::ElementsAre;
using testing::IsEmpty;

void esaMmsgPrint(const MMSG_t*) {
    ESA_TRACE("<print>");
}

namespace {

using TestMessage = Sender;

constexpr char LOCAL[] = "This test SES Command Message is from Local Blade.";
constexpr char SEND_OUT[] = "Send out a Test SES Command MMSG from the ESA to ESA.";

std::string header(const char* length, const char* type) {
    return std::string("00000000 00000000 0E01") + length + "12" + type +
           "21002100 00000000 00000002 00000000 00000000"
           "00000000 00000000 00000000 00000000 00000000 00000000 00000000";
}

TEST_F(TestMessage, AsksForThePage) {
    esaControl.deviceMaxNumber = 16;
    esaControl.powerSupplyMaxNumber = 3;
    esaControl.coolingMaxNumber = 4;
    esaControl.temperatureSensorMaxNumber = 8;  // takes no part
    EXPECT_EQ(esaTestMsg(28, 1), 72);
    EXPECT_EQ(sent(), hexText(header("0048", "00001C") + "1C 80 01 00 0071 00 00"));
    EXPECT_THAT(trace_.take(), ElementsAre(LOCAL, SEND_OUT, "<print>"));
}

TEST_F(TestMessage, SendsAControlPageWithoutTemperatureSensors) {
    esaControl.deviceMaxNumber = 13;
    esaControl.powerSupplyMaxNumber = 2;
    esaControl.coolingMaxNumber = 1;
    esaControl.temperatureSensorMaxNumber = 8;
    esaControl.audibleAlarmMaxNumber = 1;
    EXPECT_EQ(esaTestMsg(29, 2), 164);
    EXPECT_EQ(sent(), hexText(header("00A4", "00001D") + R"(
        1D 08 00 00 005C 00 00                                 # page format, 92 bytes
        02 00 0000 00000000
        00000000                                               # drives: 0, 3, 7 and 12 at fault
        00000004 00000000 00000000 00000004 00000000 00000000 00000000
        00000004 00000000 00000000 00000000 00000000 00000004
        00000000 00000004 00000004                             # supplies on
        00000000 00000004                                      # fan on
        00000000 00000002                                      # alarm muted
    )"));
    EXPECT_THAT(trace_.take(), ElementsAre(LOCAL, "mmsg_length = [164], sizeof(MMCH_t) = [64]",
                                           SEND_OUT, "<print>"));
}

TEST_F(TestMessage, LargestPageFitsTheWorkSpace) {
    esaControl.deviceMaxNumber = 255;
    esaControl.powerSupplyMaxNumber = 255;
    esaControl.coolingMaxNumber = 255;
    esaControl.audibleAlarmMaxNumber = 255;
    EXPECT_EQ(esaTestMsg(29, 2), 1196);  // 16 drives, 3 supplies, 255 fans, 1 alarm
    const Bytes message = peer_.take().at(0);
    EXPECT_EQ(be16At(message, 68), 1124);
    EXPECT_EQ(be32At(message, 1192), 2u);
}

TEST_F(TestMessage, UnsupportedIsAnEmptyMessage) {
    EXPECT_EQ(esaTestMsg(29, 3), 0);
    EXPECT_THAT(trace_.take(),
                ElementsAre(LOCAL, "Un-supported SES Page [3].", SEND_OUT, "<print>"));
    EXPECT_EQ(esaTestMsg(30, 2), 0);
    EXPECT_THAT(trace_.take(),
                ElementsAre(LOCAL, "Un-supported SES Command [30].", SEND_OUT, "<print>"));
    EXPECT_THAT(peer_.take(), IsEmpty());
}

TEST_F(TestMessage, NamesItsSenderWhenLost) {
    EXPECT_THAT(faultOf([] { return esaTestMsg(28, 2); }),
                ElementsAre("| Function:  esaTestMsg()",
                            "| Message:   Linux send function fails, sendSize = [72] is wrong"));
}

}  // namespace
