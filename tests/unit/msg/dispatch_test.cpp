// SPDX-License-Identifier: Apache-2.0
// Dispatch: what is dropped, what is routed where, and in which order it is said.
#include "msg/esa_dispatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "core/esa_control.h"
#include "esa_trace.h"
#include "msg/esa_mmsg_read.h"
#include "msg/esa_print.h"
#include "ses/esa_control_page.h"
#include "ses/esa_status.h"
#include "tests/support/trace_capture.h"
#include "tests/unit/msg/inbound.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

// The routines dispatched to say so here and in the trace log, which gives the order.
static Lines calls;

static void called(const std::string& what) {
    calls.push_back(what);
    ESA_TRACE("<%s>", what.c_str());
}

void esaMmsgPrint(const MMSG_t*) {
    called("print");
}
ESA_CODE_e esaEncContPageProc(const MMSG_t*) {
    called("control page");
    return ESA_E_OK;
}
void esaStatusSend(const MMSG_t*, U8_t statusCode, U8_t pageCode, U8_t senseKey, U8_t asc,
                   U8_t ascq) {
    char text[64];
    std::snprintf(text, sizeof text, "status %d page %d sense %d/%02X/%d", statusCode, pageCode,
                  senseKey, asc, ascq);
    called(text);
}

namespace {

constexpr char RECEIVED[] = "Receive a MMSG to the Enclosure Services Adapter";
constexpr char PRINT[] = "<print>";
constexpr char RCV[] = "ESA receives RCV DIAG Cmd.";
constexpr char SND[] = "ESA receives SND DIAG Cmd.";

// Page 1 asked for, 0x0102 bytes of allocation.
const std::vector<std::uint8_t> RCV_PAGE_1 = {0x1C, 0x80, 0x01, 0x00, 0x01, 0x02, 0x00, 0x00};
// As above, but the page is not named: the byte in its place counts for nothing.
const std::vector<std::uint8_t> RCV_NO_PAGE = {0x1C, 0x7F, 0x01, 0x00, 0x01, 0x02, 0x00, 0x00};
// Page format, 0x0060 bytes of page 2.
const std::vector<std::uint8_t> SND_PAGE_2 = {0x1D, 0x08, 0x00, 0x00, 0x00, 0x60, 0x00, 0x00, 0x02};

class Dispatch : public testing::Test {
  protected:
    Dispatch() {
        esaControl = {};
        calls.clear();
    }
    Lines dispatch(const Inbound& in) {
        calls.clear();
        InboundBuffer buffer(in);
        esaMmsgMsgProc(buffer.message());
        return trace_.take();
    }

    TraceCapture trace_;
};

struct Case {
    const char* rule;
    Inbound in;
    Lines lines;
};

void PrintTo(const Case& c, std::ostream* out) {
    *out << c.rule;
}

class DispatchCase : public Dispatch, public testing::WithParamInterface<Case> {};

TEST_P(DispatchCase, SaysAndDoesInOrder) {
    EXPECT_THAT(dispatch(GetParam().in), ElementsAreArray(GetParam().lines)) << GetParam().rule;
}

Lines badLength(const char* length) {
    return {std::string("MMSG mmsh_length [") + length + "] is out of range",
            "MMSG requestor [26] sends wrong mmsg_length!!!", PRINT};
}

INSTANTIATE_TEST_SUITE_P(
    Checks, DispatchCase,
    testing::Values(
        Case{"length 0", {.length = 0}, badLength("0")},
        Case{"length 1", {.length = 1}, badLength("1")},
        Case{"length 63", {.length = 63}, badLength("63")},
        Case{"length 4065", {.length = 4065, .data = RCV_PAGE_1}, badLength("4065")},
        Case{"length 65535", {.length = 65535, .data = RCV_PAGE_1}, badLength("65535")},
        Case{"length 64 is a message without a command",
             {.length = 64, .data = RCV_PAGE_1},
             {RECEIVED, PRINT, RCV}},
        Case{"length 4064 is the largest",
             {.length = 4064, .data = RCV_PAGE_1},
             {RECEIVED, PRINT, RCV, "<status 0 page 1 sense 0/00/0>"}},
        Case{"the length is tested before the addressee and the protocol",
             {.length = 63, .protocol = 8, .localRecipients = 0},
             badLength("63")},
        Case{"every bit but ours set in both maps",
             {.localRecipients = 0xFFFFFFFD, .otherRecipients = 0xFFFFFFFD, .data = RCV_PAGE_1},
             {"Received a MMSG but it isn't for us?", PRINT}},
        Case{"the addressee is tested before the protocol",
             {.protocol = 8, .localRecipients = 0},
             {"Received a MMSG but it isn't for us?", PRINT}},
        Case{"addressed on the other blade's map only",
             {.localRecipients = 0, .otherRecipients = 2, .data = RCV_PAGE_1},
             {RECEIVED, PRINT, RCV, "<status 0 page 1 sense 0/00/0>"}},
        Case{"a message of another type needs no recipient",
             {.messageType = 13, .localRecipients = 0, .data = RCV_PAGE_1},
             {RECEIVED, PRINT, RCV, "<status 0 page 1 sense 0/00/0>"}},
        Case{"protocol next to SES", {.protocol = 19}, {"Invalid MMSG protocol [19]", PRINT}},
        Case{"protocol next to STARTUP", {.protocol = 13}, {"Invalid MMSG protocol [13]", PRINT}},
        Case{"a command under the start-up protocol is dispatched too",
             {.protocol = 12, .data = RCV_PAGE_1},
             {RECEIVED, PRINT, RCV, "<status 0 page 1 sense 0/00/0>"}}));

INSTANTIATE_TEST_SUITE_P(
    Responses, DispatchCase,
    testing::Values(Case{"answer to the test message",
                         {.requestor = 33, .cont = 0x40, .data = RCV_PAGE_1},
                         {RECEIVED, PRINT, "Receive a Response MMSG for a Test Message."}},
                    Case{"start-up process agrees",
                         {.protocol = 12, .requestor = 18, .cont = 0xFF, .returnCode = 1},
                         {RECEIVED, PRINT,
                          "Receive a Response MMSG from Startup with returned code [OK]."}},
                    Case{"start-up process refuses",
                         {.protocol = 12, .requestor = 18, .cont = 0x40, .returnCode = 2},
                         {RECEIVED, PRINT,
                          "Receive a Response MMSG from Startup with returned code [REJECTED]."}},
                    Case{"any other code is a refusal",
                         {.protocol = 12, .requestor = 18, .cont = 0x40, .returnCode = 0x01000000},
                         {RECEIVED, PRINT,
                          "Receive a Response MMSG from Startup with returned code [REJECTED]."}},
                    Case{"a response from anyone else is taken as a command",
                         {.requestor = 19, .cont = 0x40, .data = RCV_PAGE_1},
                         {RECEIVED, PRINT, RCV, "<status 0 page 1 sense 0/00/0>"}}));

INSTANTIATE_TEST_SUITE_P(
    Commands, DispatchCase,
    testing::Values(
        Case{"unknown command",
             {.type = 30, .data = RCV_PAGE_1},
             {RECEIVED, PRINT, "Un-supported SES Command [30]."}},
        Case{"all 24 bits of the type count",
             {.type = 0x01001C, .data = RCV_PAGE_1},
             {RECEIVED, PRINT, "Un-supported SES Command [65564]."}},
        Case{"operation code of another command",
             {.data = {0x1D, 0x80, 0x01, 0x00, 0x01, 0x02}},
             {RECEIVED, PRINT, RCV}},
        Case{"no allocation",
             {.data = {0x1C, 0x80, 0x01, 0xFF, 0x00, 0x00, 0xFF, 0xFF}},
             {RECEIVED, PRINT, RCV}},
        Case{"no page named and none remembered",
             {.data = RCV_NO_PAGE},
             {RECEIVED, PRINT, RCV, "<status 0 page 0 sense 0/00/0>"}},
        Case{"page 255 is for the status code to refuse",
             {.data = {0x1C, 0x80, 0xFF, 0x00, 0x00, 0x01}},
             {RECEIVED, PRINT, RCV, "<status 0 page 255 sense 0/00/0>"}},
        Case{"empty parameter list in page format",
             {.length = 73, .type = 29, .data = {0x1D, 0x08, 0, 0, 0, 0, 0, 0, 2}},
             {RECEIVED, PRINT, SND, "<status 2 page 0 sense 5/24/0>"}},
        Case{"empty parameter list, every flag but page format",
             {.length = 73, .type = 29, .data = {0x1D, 0xF7, 0, 0, 0, 0, 0, 0, 2}},
             {RECEIVED, PRINT, SND, "<status 0 page 0 sense 0/00/0>"}},
        Case{"control page",
             {.length = 168, .type = 29, .data = SND_PAGE_2},
             {RECEIVED, PRINT, SND, "<control page>", "<status 0 page 0 sense 0/00/0>"}},
        Case{"operation code of the block does not matter",
             {.length = 168, .type = 29, .data = {0, 0, 0, 0, 1, 0, 0, 0, 2}},
             {RECEIVED, PRINT, SND, "<control page>", "<status 0 page 0 sense 0/00/0>"}},
        Case{"the volume manager gets no answer",
             {.length = 168, .type = 29, .requestor = 20, .data = SND_PAGE_2},
             {RECEIVED, PRINT, SND, "<control page>",
              "Rx Drive Fault LED SES msg from VM. No returning Status msg."}},
        Case{"other page",
             {.length = 168, .type = 29, .data = {0x1D, 0x08, 0, 0, 0, 0x60, 0, 0, 4}},
             {RECEIVED, PRINT, SND, "Un-supported SES Page [4]."}}));

struct ShortCase {
    std::uint32_t length;
    const char* outcome;
    int remembered;
};

// The buffer always holds a whole command; only what the length covers may count.
TEST_F(Dispatch, BytesOfAnOlderMessageAreNoCommand) {
    const ShortCase sends[] = {
        {64, "<status 0 page 0 sense 0/00/0>", 0}, {65, "<status 0 page 0 sense 0/00/0>", 0},
        {66, "<status 2 page 0 sense 5/24/0>", 0}, {69, "<status 2 page 0 sense 5/24/0>", 0},
        {70, "Un-supported SES Page [0].", 0},     {72, "Un-supported SES Page [0].", 0},
        {73, "<status 0 page 0 sense 0/00/0>", 2},
    };
    for (const ShortCase& c : sends) {
        esaControl.pageCodeInRecentSndDiagCmd = 77;
        const Lines lines = dispatch({.length = c.length, .type = 29, .data = SND_PAGE_2});
        EXPECT_EQ(lines.back(), c.outcome) << c.length;
        EXPECT_EQ(esaControl.pageCodeInRecentSndDiagCmd, c.remembered) << c.length;
    }
    esaControl.pageCodeInRecentSndDiagCmd = 0;
    const ShortCase receives[] = {
        {64, RCV, 0},
        {68, RCV, 0},
        {69, "<status 0 page 1 sense 0/00/0>", 0},  // half an allocation length: 0x0100
        {70, "<status 0 page 1 sense 0/00/0>", 0},
    };
    for (const ShortCase& c : receives) {
        EXPECT_EQ(dispatch({.length = c.length, .data = RCV_PAGE_1}).back(), c.outcome) << c.length;
    }
}

TEST_F(Dispatch, RecordsBehindTheMessageReadAsZero) {
    for (const std::uint32_t length : {0u, 64u, 72u, 73u, 75u, 4064u, 65535u}) {
        InboundBuffer buffer({.length = length});
        const int came = length < 72 ? 0 : length < 76 ? static_cast<int>(length) - 72 : 4;
        std::uint32_t expected = 0;
        for (int i = 0; i < 4; ++i) {
            expected = (expected << 8) | (i < came ? 0xEEu : 0u);
        }
        EXPECT_EQ(esaMmsgRecord<Be32>(buffer.message(), 72), expected) << length;
    }
}

TEST_F(Dispatch, PageOfTheLatestSendDiagnosticIsAnsweredWhenNoneIsNamed) {
    struct Step {
        std::vector<std::uint8_t> send;
        const char* answer;
    };
    const Step steps[] = {
        {SND_PAGE_2, "<status 0 page 2 sense 0/00/0>"},
        // An unsupported page and a list said to be empty are remembered all the same.
        {{0x1D, 0x08, 0, 0, 0, 0x60, 0, 0, 7}, "<status 0 page 7 sense 0/00/0>"},
        {{0x1D, 0x08, 0, 0, 0, 0, 0, 0, 9}, "<status 0 page 9 sense 0/00/0>"},
        {{0x1D, 0x00, 0, 0, 0, 0, 0, 0, 1}, "<status 0 page 1 sense 0/00/0>"},
    };
    for (const Step& step : steps) {
        dispatch({.length = 168, .type = 29, .data = step.send});
        EXPECT_EQ(dispatch({.data = RCV_NO_PAGE}).back(), step.answer);
    }
    // Naming a page does not change what is remembered.
    dispatch({.data = {0x1C, 0x80, 0x02, 0x00, 0x01, 0x02}});
    EXPECT_EQ(dispatch({.data = RCV_NO_PAGE}).back(), "<status 0 page 1 sense 0/00/0>");
}

TEST_F(Dispatch, EveryRequestorAndControlByteIsRouted) {
    TRACE__setTraceLevel(0, 0);
    for (int requestor = 0; requestor < 256; ++requestor) {
        for (int cont = 0; cont < 256; ++cont) {
            const bool response = (cont & 0x40) != 0 && (requestor == 33 || requestor == 18);
            Inbound in = {.length = 168,
                          .type = 29,
                          .requestor = static_cast<std::uint8_t>(requestor),
                          .cont = static_cast<std::uint8_t>(cont),
                          .data = SND_PAGE_2};
            dispatch(in);
            Lines expected = {"print"};
            if (!response) {
                expected.push_back("control page");
            }
            if (!response && requestor != 20) {
                expected.push_back("status 0 page 0 sense 0/00/0");
            }
            ASSERT_EQ(calls, expected) << requestor << "/" << cont;
        }
    }
}

TEST_F(Dispatch, PrinterIsCalledWhetherOrNotTracingIsOn) {
    TRACE__setTraceLevel(0, 0);
    for (const Inbound& in :
         {Inbound{.length = 63}, Inbound{.localRecipients = 0}, Inbound{.protocol = 0},
          Inbound{.requestor = 33, .cont = 0x40}, Inbound{.type = 99}}) {
        EXPECT_THAT(dispatch(in), IsEmpty());
        EXPECT_THAT(calls, ElementsAre("print"));
    }
}

}  // namespace
