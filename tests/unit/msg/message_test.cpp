// SPDX-License-Identifier: Apache-2.0
// Messages: what a received one makes the service say and do, and the bytes of those it sends.
#include <csignal>
#include <functional>

#include "link/esa_event.h"
#include "link/esa_mmsg.h"
#include "link/esa_startup.h"
#include "ses/esa_control_page.h"
#include "ses/esa_dispatch.h"
#include "ses/esa_status.h"
#include "ses/esa_test_msg.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/hex.h"
#include "tests/support/laws.h"
#include "tests/support/switch_listener.h"
#include "tests/support/trace_capture.h"

// What a message is dispatched to says so in the trace log, which gives the order.
#define CALLED(...) TRACE__statement(0, "", "", 0, __VA_ARGS__)
ESA_CODE_e esaEncContPageProc(const MMSG_t*) {
    CALLED("<control page>");
    return ESA_E_OK;
}
void esaStatusSend(const MMSG_t*, U8_t statusCode, U8_t pageCode, U8_t senseKey, U8_t asc,
                   U8_t ascq) {
    CALLED("<status %d page %d sense %d/%d/%d>", statusCode, pageCode, senseKey, asc, ascq);
}

namespace {

// A word for the printer, the others' lines without their prefix.
Lines said(TraceCapture* trace) {
    Lines lines;
    for (const std::string& line : trace->take()) {
        const bool isPrinters = line.starts_with("esaMmsgPrint:");
        if (!isPrinters) {
            lines.push_back(line.substr(line.find(":  ") + 3));
        } else if (lines.empty() || lines.back() != "<printed>") {
            lines.emplace_back("<printed>");
        }
    }
    return lines;
}

struct Received {
    std::string changes;  // "BYTE=VALUE ..." to a control page of the environment monitor
    Lines lines;          // behind the printer's, of a usable one
    Lines refusal = {};   // in front of them, of others
};

std::string good(int page) {
    return text("<status 0 page ", page, " sense 0/0/0>");
}
Lines tooLongOrShort(int length) {
    return {text("MMSG mmsh_length [", length, "] is out of range"),
            "MMSG requestor [26] sends wrong mmsg_length!!!"};
}
const std::string SEND = "ESA receives SND DIAG Cmd.", RECEIVE = "ESA receives RCV DIAG Cmd.",
                  CONTROL = "<control page>", RECEIVE_COMMAND = "15=28 64=28 ",
                  STARTUP = "Receive a Response MMSG from Startup with returned code ";
const Lines DONE = {SEND, CONTROL, good(0)}, NOT_OURS = {"Received a MMSG but it isn't for us?"},
            TEST = {"Receive a Response MMSG for a Test Message."};

// In this order: what is remembered of one shows in the next.
const Received RECEIVED[] = {
    {"", DONE},
    {"16=20", {SEND, CONTROL, "Rx Drive Fault LED SES msg from VM. No returning Status msg."}},
    {"72=7", {SEND, "Un-supported SES Page [7]."}},
    {RECEIVE_COMMAND + "65=127 66=9", {RECEIVE, good(7)}},
    {RECEIVE_COMMAND + "65=128 66=9", {RECEIVE, good(9)}},
    {RECEIVE_COMMAND + "68=1 69=0", {RECEIVE, good(7)}},
    {RECEIVE_COMMAND + "69=0", {RECEIVE}},
    {"15=28", {RECEIVE}},
    {"65=247 69=0 72=5", {SEND, good(0)}},
    {RECEIVE_COMMAND, {RECEIVE, good(5)}},
    {"65=8 69=0", {SEND, "<status 2 page 0 sense 5/36/0>"}},
    {"65=8 68=1 69=0", DONE},
    {"15=30", {"Un-supported SES Command [30]."}},
    {"13=1", {"Un-supported SES Command [65565]."}},
    // What lies behind the length reads as 0.
    {"11=73", DONE},
    {"11=72", {SEND, "Un-supported SES Page [0]."}},
    {"11=69", {SEND, good(0)}},
    {RECEIVE_COMMAND, {RECEIVE, good(0)}},
    {"11=64", {SEND, good(0)}},
    {"10=15 11=224", DONE},
    {"11=63 12=19 27=0", {}, tooLongOrShort(63)},
    {"10=15 11=225", {}, tooLongOrShort(4065)},
    {"10=255 11=255", {}, tooLongOrShort(65535)},
    {"12=19 27=253 35=253", {}, NOT_OURS},
    {"27=0 35=2", DONE},
    {"8=13 27=0", DONE},
    {"12=19", {}, {"Invalid MMSG protocol [19]"}},
    {"12=12", DONE},
    {"16=33 17=64", TEST},
    {"16=33 17=191", DONE},
    {"17=255", DONE},
    {"16=18 17=64 39=1", {STARTUP + "[OK]."}},
    {"16=18 17=64 39=0", {STARTUP + "[REJECTED]."}},
    {"16=18 17=64 36=1 39=1", {STARTUP + "[REJECTED]."}},
};

class Messages : public testing::Test {
  protected:
    Messages() {
        std::signal(SIGPIPE, SIG_IGN);
        esaControl = {};
    }
    ~Messages() override { esaLinkDown(); }

    TraceCapture trace{0x4010};
};

TEST_F(Messages, WhatComesOfAReceivedOneFollowsFromItsFields) {
    for (const Received& received : RECEIVED) {
        Bytes message(4064);
        std::istringstream fields("8=14 11=100 12=18 15=29 16=26 27=2 64=29 65=16 69=96 72=2 " +
                                  received.changes);
        std::size_t at;
        char equals;
        for (int value; fields >> at >> equals >> value;) {
            message.at(at) = static_cast<U8_t>(value);
        }
        esaMmsgMsgProc(wireView<MMSG_t>(message.data()));
        Lines expected = received.refusal;
        if (expected.empty()) {
            expected = {"Receive a MMSG to the Enclosure Services Adapter"};
        }
        expected.emplace_back("<printed>");
        std::ranges::copy(received.lines, std::back_inserter(expected));
        EXPECT_EQ(said(&trace), expected) << received.changes;
    }
}

std::string hex(int digits, U32_t number) {
    char text[9];
    std::snprintf(text, sizeof text, "%0*X", digits, number);
    return text;
}

struct Outgoing {
    std::function<S32_t()> send;
    std::string sender;  // of a fault
    Lines lines;
    std::size_t size;
    std::string bytes = "";  // "PLACE:BYTES ...", not zero; without any others prove them

    Bytes message() const {
        Bytes message(std::max<std::size_t>(size, 100));
        const auto space = reinterpret_cast<std::uintptr_t>(esaControl.esaWorkSpace);
        const std::string address = hex(8, space & UINT32_MAX);
        std::istringstream parts("0:" + address + address + " 8:0E01" +
                                 hex(4, narrowTo<U32_t>(size)) + "00000000210000 " + bytes);
        for (std::string part; parts >> part;) {
            std::ranges::copy(hexBytes(part.substr(part.find(':') + 1)),
                              &message.at(std::stoul(part)));
        }
        message.resize(size);
        return message;
    }
};

// The first `count` of numbers of 16 bits.
std::string halves(const auto& numbers, std::size_t count) {
    std::string all;
    for (std::size_t n = 0; n < std::min(count, std::size(numbers)); ++n) {
        all += hex(4, static_cast<U16_t>(numbers[n]));
    }
    return all;
}

// The control page of a test message: some drives are faulty, the rest is on, the alarm muted.
std::string testPage() {
    const EsaControl_t& c = esaControl;
    std::string page = "0200000000000000";
    const auto section = [&page](const std::string& flags, std::size_t count) {
        page += "00000000";
        for (const char flag : flags.substr(0, count)) {
            page += std::string("0000000") + flag;
        }
    };
    section("4004000400004000", c.deviceMaxNumber);
    section("444", c.powerSupplyMaxNumber);
    section(std::string(255, '4'), c.coolingMaxNumber);
    section("2", c.audibleAlarmMaxNumber);
    return page;
}

Outgoing testMessage(U8_t command, U8_t page, const std::string& word, const std::string& data) {
    Lines lines = {"This test SES Command Message is from Local Blade.", word,
                   "Send out a Test SES Command MMSG from the ESA to ESA.", "<printed>"};
    std::erase(lines, "");
    return {[=] { return esaTestMsg(command, page); }, "esaTestMsg", lines,
            data.empty() ? 0 : 64 + data.size() / 2,
            "12:120000" + hex(2, command) + "21002100 24:00000002 64:" + data};
}

std::vector<Outgoing> allOutgoing() {
    const EsaControl_t& c = esaControl;
    const std::string page = testPage(), led = "esaCompositeFaultMmsgToStartupSend";
    const U32_t room = 4U * (c.powerSupplyMaxNumber + c.deviceMaxNumber + c.coolingMaxNumber) + 21;
    const auto pageSize = narrowTo<U32_t>(page.size() / 2);
    return {{[] { return esaCompositeFaultMmsgToStartupSend(ESA_E_OK); }, led,
             Lines{"[Clear] Composite Fault LED in Startup."}, 64},
            {[] { return esaCompositeFaultMmsgToStartupSend(ESA_E_GENERR); }, led,
             Lines{"[Set] Composite Fault LED in Startup."}, 64},
            {esaEmailNotificationMmsgToStartupSend, "esaEmailNotificationMmsgToStartupSend",
             Lines{"Send Email Notification MMSG To Startup."}, 64},
            // Deliberately another's name.
            {esaOrderlyShutdownMmsgToStartupSend, "esaEventMmsgToEmpSend",
             Lines{"Send request of Orderly Shutdown to Startup"}, 64},
            // 5.25 and -11.75 volts
            {esaReportTimeoutProcess, "esaEventMmsgToEmpSend",
             Lines{"Send the Enclosure Services Statistics Event Log."}, 360,
             "12:08000001 20:08000000 208:000000010301000A" + hex(2, c.enclosureType) +
                 " 228:" + hex(8, c.coolingMaxNumber) + hex(8, c.temperatureSensorMaxNumber) +
                 " 272:00000009 280:4015000000000000C027800000000000 296:" +
                 halves(c.fanRpmSpeed, c.coolingMaxNumber) +
                 " 312:" + halves(c.temperatureSensor, c.temperatureSensorMaxNumber)},
            testMessage(28, 9, "", "1C800900" + hex(4, room & 0xFFFF) + "0000"),
            testMessage(29, 2, text("mmsg_length = [", 72 + pageSize, "], sizeof(MMCH_t) = [64]"),
                        "1D080000" + hex(4, pageSize) + "0000" + page),
            testMessage(29, 3, "Un-supported SES Page [3].", ""),
            testMessage(30, 2, "Un-supported SES Command [30].", "")};
}

// Whatever the counts, and whatever the work space held before.
TEST_F(Messages, EachThatIsSentHasItsBytesInTheirPlacesAndItsSendersNameWhenItIsLost) {
    Random random(22);
    SwitchListener peer;
    for (int round = 0; round < 15; ++round) {
        std::generate_n(&esaControl.deviceMaxNumber, 5, [&random] {
            return random.of<U8_t>({0, 1, 2, 3, 4, 7, 8, 9, 16, 17, 255});
        });
        random.fill(esaControl.fanRpmSpeed);
        random.fill(esaControl.temperatureSensor);
        esaControl.enclosureType = random.of<U8_t>({0, 5, 255});
        esaControl.powerSupplyVoltage5V = 5.25;
        esaControl.powerSupplyVoltage12V = -11.75;
        for (const Outgoing& outgoing : allOutgoing()) {
            peer.drop();
            esaControl.socketFdMSM = peer.connect();
            random.fill(esaControl.esaWorkSpace);
            ASSERT_EQ(outgoing.send(), static_cast<S32_t>(outgoing.size));
            ASSERT_EQ(said(&trace), outgoing.lines);
            if (!outgoing.bytes.empty()) {
                ASSERT_EQ(peer.take(),
                          std::vector<Bytes>(outgoing.size == 0 ? 0 : 1, outgoing.message()))
                    << outgoing.lines.at(0);
            }
            esaLinkDown();
            takeAltRecords();
            EXPECT_EQ(outgoing.send(), -1);
            EXPECT_TRUE(takeFaults().at(0).starts_with(outgoing.sender + "(): Linux send"));
            trace.take();
        }
    }
}

}  // namespace
