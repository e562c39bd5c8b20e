// SPDX-License-Identifier: Apache-2.0
// Messages: what a received one makes the service say and do, and the bytes of those it sends.
#include <csignal>
#include <functional>
#include <map>

#include "link/esa_event.h"
#include "link/esa_mmsg.h"
#include "link/esa_startup.h"
#include "ses/esa_control_page.h"
#include "ses/esa_dispatch.h"
#include "ses/esa_status.h"
#include "ses/esa_test_msg.h"
#include "tests/support/fake_alt_event_log.h"
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
    {"11=0", {}, tooLongOrShort(0)},
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

}  // namespace

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

namespace {

using Words = std::vector<U32_t>;

struct Outgoing {
    std::function<S32_t()> send;
    std::string sender;  // of a fault
    Lines lines;
    U32_t length;
    std::map<std::size_t, Words> words;  // that are not zero, by their places
};

// The first `count` of numbers of 16 bits.
Words halves(const auto& numbers, std::size_t count) {
    Words words(4);
    for (std::size_t n = 0; n < std::min(count, std::size(numbers)); ++n) {
        words[n / 2] |= U32_t{static_cast<U16_t>(numbers[n])} << (n % 2 == 0 ? 16 : 0);
    }
    return words;
}

// The control page of a test message, behind its command: some drives are faulty, the
// rest is on, the alarm muted.
Words testPage() {
    Words words = {0x1D080000, 0, 0x02000000, 0};
    const auto section = [&words](Words elements, std::size_t count) {
        words.push_back(0);
        elements.resize(std::min(elements.size(), count));
        words.insert(words.end(), elements.begin(), elements.end());
    };
    const EsaControl_t& c = esaControl;
    section({4, 0, 0, 4, 0, 0, 0, 4, 0, 0, 0, 0, 4, 0, 0, 0}, c.deviceMaxNumber);
    section({4, 4, 4}, c.powerSupplyMaxNumber);
    section(Words(255, 4), c.coolingMaxNumber);
    section({2}, c.audibleAlarmMaxNumber);
    words[1] = narrowTo<U32_t>(4 * words.size() - 8) << 16;
    return words;
}

Outgoing testMessage(U8_t command, U8_t page, const std::string& word, const Words& block) {
    Lines lines = {"This test SES Command Message is from Local Blade.", word,
                   "Send out a Test SES Command MMSG from the ESA to ESA.", "<printed>"};
    std::erase(lines, "");
    const auto length = block.empty() ? 0U : narrowTo<U32_t>(64 + 4 * block.size());
    return {[=] { return esaTestMsg(command, page); },
            "esaTestMsg",
            lines,
            length,
            {{12, {0x12000000U | command}}, {16, {0x21002100}}, {24, {2}}, {64, block}}};
}

std::vector<Outgoing> allOutgoing() {
    const EsaControl_t& c = esaControl;
    const auto led = [](ESA_CODE_e status, const char* what, U32_t color) {
        return Outgoing{[status] { return esaCompositeFaultMmsgToStartupSend(status); },
                        "esaCompositeFaultMmsgToStartupSend",
                        {text("[", what, "] Composite Fault LED in Startup.")},
                        64,
                        {{12, {0x0C00000E}}, {20, {0x40000}}, {44, {2, color}}}};
    };
    const U32_t elements = 0U + c.powerSupplyMaxNumber + c.deviceMaxNumber + c.coolingMaxNumber;
    const Words page = testPage();
    return {
        led(ESA_E_OK, "Clear", 1),
        led(ESA_E_GENERR, "Set", 2),
        {esaEmailNotificationMmsgToStartupSend,
         "esaEmailNotificationMmsgToStartupSend",
         {"Send Email Notification MMSG To Startup."},
         64,
         {{12, {0x0C000010}}, {20, {0x40000}}}},
        // Deliberately another's name.
        {esaOrderlyShutdownMmsgToStartupSend,
         "esaEventMmsgToEmpSend",
         {"Send request of Orderly Shutdown to Startup"},
         64,
         {{12, {0x0D000001}}, {20, {0x40000}}, {48, {1}}}},
        {esaReportTimeoutProcess,
         "esaEventMmsgToEmpSend",
         {"Send the Enclosure Services Statistics Event Log."},
         360,
         {{12, {0x08000001}},
          {20, {0x08000000}},
          {208, {1, 0x0301000A, U32_t{c.enclosureType} << 24}},
          {228, {c.coolingMaxNumber, c.temperatureSensorMaxNumber}},
          {272, {9}},
          {280, {0x40150000, 0, 0xC0278000, 0}},  // 5.25 and -11.75 volts
          {296, halves(c.fanRpmSpeed, c.coolingMaxNumber)},
          {312, halves(c.temperatureSensor, c.temperatureSensorMaxNumber)}}},
        testMessage(28, 9, "", {0x1C800900, (4 * elements + 21) << 16}),
        testMessage(
            29, 2, text("mmsg_length = [", 64 + 4 * page.size(), "], sizeof(MMCH_t) = [64]"), page),
        testMessage(29, 3, "Un-supported SES Page [3].", {}),
        testMessage(30, 2, "Un-supported SES Command [30].", {})};
}

}  // namespace

// Whatever the counts, and whatever the work space held before.
TEST_F(Messages, EachThatIsSentHasItsBytesInTheirPlacesAndItsSendersNameWhenItIsLost) {
    Random random(22);
    SwitchListener peer;
    const auto address =
        static_cast<U32_t>(reinterpret_cast<std::uintptr_t>(esaControl.esaWorkSpace));
    for (int round = 0; round < 30; ++round) {
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
            auto words = outgoing.words;
            words[0] = {address, address, 0x0E010000 | outgoing.length};
            words[16].resize(1, 0x21000000);
            Bytes message(outgoing.length);
            for (const auto& [at, these] : words) {
                for (std::size_t n = 0; at + n < message.size() && n < 4 * these.size(); ++n) {
                    message[at + n] = static_cast<U8_t>(these[n / 4] >> (24 - n % 4 * 8));
                }
            }
            ASSERT_EQ(outgoing.send(), static_cast<S32_t>(outgoing.length));
            ASSERT_EQ(said(&trace), outgoing.lines);
            const std::vector<Bytes> sent = peer.take();
            ASSERT_EQ(sent.empty() ? Bytes() : sent.at(0), message) << outgoing.lines.at(0);
            esaLinkDown();
            takeAltRecords();
            EXPECT_EQ(outgoing.send(), -1);
            EXPECT_TRUE(takeFaults().at(0).starts_with(outgoing.sender + "(): Linux send"));
            trace.take();
        }
    }
}
