// SPDX-License-Identifier: Apache-2.0
// Messages: what a received one makes the service say and do, and the bytes of those it sends.
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <set>

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

// What a message is dispatched to says so in the trace log, whatever its level: that gives the
// order.
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

const std::string RESPONSE = "This is a Response Message.", REQUEST = "This is a Request Message.";

// The lines without their prefix; of the printer's only the one that names the kind of message.
Lines said(TraceCapture* trace) {
    Lines lines;
    for (const std::string& line : trace->take()) {
        const std::string text = line.substr(line.find(":  ") + 3);
        if (!line.starts_with("esaMmsgPrint:") || text == RESPONSE || text == REQUEST) {
            lines.push_back(text);
        }
    }
    return lines;
}

std::string goodStatus(int page) {
    return text("<status 0 page ", page, " sense 0/0/0>");
}

// What a usable command makes the service do. Bytes behind the message's length read as 0.
Lines answerTo(const Bytes& message, U8_t* remembered) {
    const int length = be16At(message, 10), type = message[13] << 16 | be16At(message, 14);
    const auto at = [&](std::size_t n) {
        return static_cast<int>(n) < length ? message[n] : U8_t{0};
    };
    const bool emptyBlock = at(68) == 0 && at(69) == 0;
    if (type == 28) {
        const std::string answer = goodStatus((at(65) & 0x80) != 0 ? at(66) : *remembered);
        return {"ESA receives RCV DIAG Cmd.", at(64) == 28 && !emptyBlock ? answer : ""};
    }
    if (type != 29) {
        return {text("Un-supported SES Command [", type, "].")};
    }
    *remembered = at(72);  // before anything is tested
    Lines lines = {"ESA receives SND DIAG Cmd."};
    if (emptyBlock) {
        lines.push_back((at(65) & 0x08) != 0 ? "<status 2 page 0 sense 5/36/0>" : goodStatus(0));
    } else if (at(72) == 2) {
        lines.push_back("<control page>");
        lines.push_back(message[16] == 20
                            ? "Rx Drive Fault LED SES msg from VM. No returning Status msg."
                            : goodStatus(0));
    } else {
        lines.push_back(text("Un-supported SES Page [", at(72), "]."));
    }
    return lines;
}

// All that comes of a message: a test after the other, and the message printed in between.
Lines outcomeOf(const Bytes& message, U8_t* remembered) {
    const int length = be16At(message, 10), requestor = message[16];
    const bool response = (message[17] & 0x40) != 0;
    const std::string printed = response ? RESPONSE : REQUEST;
    if (length < 64 || length > 4064) {
        return {text("MMSG mmsh_length [", length, "] is out of range"),
                text("MMSG requestor [", requestor, "] sends wrong mmsg_length!!!"), printed};
    }
    if (message[8] == 14 && ((message[27] | message[35]) & 2) == 0) {
        return {"Received a MMSG but it isn't for us?", printed};
    }
    if (message[12] != 18 && message[12] != 12) {
        return {text("Invalid MMSG protocol [", message[12], "]"), printed};
    }
    Lines lines = {"Receive a MMSG to the Enclosure Services Adapter", printed};
    if (response && requestor == 33) {
        lines.push_back("Receive a Response MMSG for a Test Message.");
    } else if (response && requestor == 18) {
        const bool ok = be16At(message, 36) == 0 && be16At(message, 38) == 1;
        lines.push_back(text("Receive a Response MMSG from Startup with returned code [",
                             (ok ? "OK" : "REJECTED"), "]."));
    } else {
        for (const std::string& line : answerTo(message, remembered)) {
            lines.push_back(line);
        }
    }
    std::erase(lines, "");
    return lines;
}

class Messages : public testing::Test {
  protected:
    Messages() {
        std::signal(SIGPIPE, SIG_IGN);
        esaControl = {};
        esaControl.socketFdMSM = peer.connect();
    }
    ~Messages() override { close(esaControl.socketFdMSM); }

    U8_t oneOf(std::initializer_list<int> values) { return static_cast<U8_t>(random.of(values)); }
    template <typename Field>
    void fillRandomly(Field& field) {
        const Bytes bytes = random.bytes(sizeof field);
        std::memcpy(static_cast<void*>(&field), bytes.data(), sizeof field);
    }
    // Mostly a good one. Now and then nothing but random bytes.
    Bytes randomMessage() {
        Bytes message = random.bytes(4064);
        if (random.onceIn(20)) {
            return message;
        }
        const int length =
            random.onceIn(2)
                ? 100
                : random.of({0, 1, 63, 64, 65, 66, 68, 69, 70, 72, 73, 168, 4064, 4065, 65535});
        const std::pair<std::size_t, std::vector<int>> fields[] = {
            {8, {14, 14, 14, 13}},
            {10, {length >> 8}},
            {11, {length}},
            {12, {18, 18, 18, 12, 12, 19, 13, 8}},
            {13, {0, 0, 0, 0, 0, 0, 0, 1}},
            {14, {0}},
            {15, {28, 29, 29, 29, 30, 27}},
            {16, {26, 33, 18, 20, 20, 17, 19, 32, 34}},
            {17, {0, 0, 0xBF, 0x40, 0xFF}},
            {27, {2, 2, 2, 0, 0xFD}},
            {35, {0, 2, 0xFD}},
            {36, {0}},
            {37, {0, 0, 1}},
            {38, {0}},
            {39, {1, 1, 0, 2}},
            {64, {28, 28, 28, 29, 0}},
            {68, {0, 0, 0, 1}},
            {69, {0, 96}},
            {72, {2, 2, 2, 1, 0, 255}}};
        for (const auto& [at, values] : fields) {
            message[at] = static_cast<U8_t>(values[random.below(values.size())]);
        }
        return message;
    }

    SwitchListener peer;
    TraceCapture trace{0x4010};
    Random random{22};
};

}  // namespace

// Each in a buffer of its own, so that the sanitizer sees what is read past it. Of all that the
// service knows, only the page asked for last changes.
TEST_F(Messages, WhatComesOfAReceivedOneFollowsFromItAndThePageRemembered) {
    U8_t remembered = 0;
    for (int round = 0; round < 2500; ++round) {
        Bytes message = randomMessage();
        const bool traced = !random.onceIn(8);
        TRACE__setTraceLevel(0, traced ? 0x4010 : 0x4000);
        EsaControl_t before;
        std::memcpy(&before, &esaControl, sizeof before);
        esaMmsgMsgProc(wireView<MMSG_t>(message.data()));
        Lines expected = outcomeOf(message, &remembered);
        std::erase_if(expected, [&](const std::string& line) { return !traced && line[0] != '<'; });
        ASSERT_EQ(said(&trace), expected) << "round " << round;
        before.pageCodeInRecentSndDiagCmd = remembered;
        ASSERT_EQ(std::memcmp(&before, &esaControl, sizeof before), 0) << "round " << round;
    }
}

namespace {

// What sending says, and the words of the message that are not zero, by their places.
struct Outgoing {
    Outgoing(Lines itsLines, U32_t length, const std::map<std::size_t, std::vector<U32_t>>& words)
        : lines(std::move(itsLines)), message(length) {
        const auto space = reinterpret_cast<std::uintptr_t>(esaControl.esaWorkSpace);
        const auto address = static_cast<U32_t>(space);
        put(0, {address, address, 0x0E010000 | length, 0, 0x21000000});
        for (const auto& [at, these] : words) {
            put(at, these);
        }
    }
    void put(std::size_t at, const std::vector<U32_t>& words) {
        for (const U32_t word : words) {
            for (int shift = 24; at < message.size() && shift >= 0; shift -= 8) {
                message[at++] = static_cast<U8_t>(word >> shift);
            }
        }
    }
    Lines lines;
    Bytes message;
};

// The control page that a test message carries, behind its command.
std::vector<U32_t> testPage() {
    std::vector<U32_t> words = {0x1D080000, 0, 0x02000000, 0};
    const auto section = [&](int count, auto record) {
        words.push_back(0);
        for (int n = 0; n < count; ++n) {
            words.push_back(record(n));
        }
    };
    const std::set<int> faulty = {0, 3, 7, 12};
    const EsaControl_t& c = esaControl;
    section(std::min<int>(c.deviceMaxNumber, 16),
            [&](int n) { return faulty.contains(n) ? 4U : 0U; });
    section(std::min<int>(c.powerSupplyMaxNumber, 3), [](int) { return 4U; });
    section(c.coolingMaxNumber, [](int) { return 4U; });
    section(std::min<int>(c.audibleAlarmMaxNumber, 1), [](int) { return 2U; });
    words[1] = narrowTo<U32_t>(4 * words.size() - 8) << 16;
    return words;
}

Outgoing testMessage(U8_t command, U8_t page) {
    const EsaControl_t& c = esaControl;
    const int elements = c.powerSupplyMaxNumber + c.deviceMaxNumber + c.coolingMaxNumber;
    std::vector<U32_t> block = {0x1C800000U | static_cast<U32_t>(page << 8),
                                static_cast<U32_t>(4 * elements + 21) << 16};
    std::string word;
    if (command == 29 && page == 2) {
        block = testPage();
        word = text("mmsg_length = [", 64 + 4 * block.size(), "], sizeof(MMCH_t) = [64]");
    } else if (command != 28) {
        block.clear();
        word = command == 29 ? text("Un-supported SES Page [", page, "].")
                             : text("Un-supported SES Command [", command, "].");
    }
    const auto length = block.empty() ? 0U : narrowTo<U32_t>(64 + 4 * block.size());
    Outgoing message({"This test SES Command Message is from Local Blade.", word,
                      "Send out a Test SES Command MMSG from the ESA to ESA.", REQUEST},
                     length, {{12, {0x12000000U | command, 0x21002100}}, {24, {2}}, {64, block}});
    std::erase(message.lines, "");
    return message;
}

// The first `count` of eight numbers.
template <typename Number>
std::vector<U32_t> halves(const Number (&numbers)[8], int count) {
    std::vector<U32_t> words(4);
    for (std::size_t n = 0; n < 8 && static_cast<int>(n) < count; ++n) {
        words[n / 2] |= U32_t{static_cast<U16_t>(numbers[n])} << (n % 2 == 0 ? 16 : 0);
    }
    return words;
}

Outgoing statistics() {
    const EsaControl_t& c = esaControl;
    return {{"Send the Enclosure Services Statistics Event Log."},
            360,
            {{12, {0x08000001}},
             {20, {0x08000000}},
             {208, {1, 0x0301000A, U32_t{c.enclosureType} << 24}},
             {228, {c.coolingMaxNumber, c.temperatureSensorMaxNumber}},
             {272, {9}},
             {280, {0x40150000, 0, 0xC0278000, 0}},  // 5.25 and -11.75 volts
             {296, halves(c.fanRpmSpeed, c.coolingMaxNumber)},
             {312, halves(c.temperatureSensor, c.temperatureSensorMaxNumber)}}};
}

}  // namespace

// Whatever the counts, and whatever the work space held before.
TEST_F(Messages, EachThatIsSentHasItsBytesInTheirPlaces) {
    for (int round = 0; round < 700; ++round) {
        fillRandomly(esaControl.esaWorkSpace);
        fillRandomly(esaControl.fanRpmSpeed);
        fillRandomly(esaControl.temperatureSensor);
        std::generate_n(&esaControl.deviceMaxNumber, 5, [this] {
            return oneOf({0, 1, 2, 3, 4, 7, 8, 9, 13, 16, 17, 255});
        });
        esaControl.enclosureType = oneOf({0, 5, 255});
        esaControl.powerSupplyVoltage5V = 5.25;
        esaControl.powerSupplyVoltage12V = -11.75;
        const U8_t first = oneOf({28, 29, 29, 30, 0, 1}), second = oneOf({2, 2, 3, 255});
        const bool lit = first != 0;
        Be32 data[36];
        fillRandomly(data);
        const std::pair<std::function<S32_t()>, Outgoing> senders[] = {
            {esaEmailNotificationMmsgToStartupSend,
             {{"Send Email Notification MMSG To Startup."},
              64,
              {{12, {0x0C000010}}, {20, {0x40000}}}}},
            {esaOrderlyShutdownMmsgToStartupSend,
             {{"Send request of Orderly Shutdown to Startup"},
              64,
              {{12, {0x0D000001}}, {20, {0x40000}}, {48, {1}}}}},
            {[&] { return esaCompositeFaultMmsgToStartupSend(static_cast<ESA_CODE_e>(first)); },
             {{text("[", (lit ? "Set" : "Clear"), "] Composite Fault LED in Startup.")},
              64,
              {{12, {0x0C00000E}}, {20, {0x40000}}, {44, {2, lit ? 2U : 1U}}}}},
            {[&] {
                 return esaEventMmsgToEmpSend(static_cast<U16_t>(first << 8 | second), second,
                                              data);
             },
             {{},
              360,
              {{12, {0x08000001}},
               {20, {0x08000000}},
               {208, {second, 0x03010000U | static_cast<U32_t>(first << 8 | second)}},
               {216, {data, data + 36}}}}},
            {esaReportTimeoutProcess, statistics()},
            {[&] { return esaTestMsg(first, second); }, testMessage(first, second)},
        };
        const auto& [send, expected] = senders[random.below(std::size(senders))];
        ASSERT_EQ(send(), static_cast<S32_t>(expected.message.size()));
        ASSERT_EQ(said(&trace), expected.lines) << "round " << round;
        const std::vector<Bytes> sent = peer.take();
        ASSERT_EQ(sent.empty() ? Bytes() : sent.at(0), expected.message) << "round " << round;
    }
}

// Recipients are added; what lies behind the length, or the header, is left alone.
TEST_F(Messages, AHeaderIsClearedAndNamesItsRecipients) {
    for (const U32_t length : {0U, 63U, 64U, 72U, 360U, 4064U}) {
        std::memset(esaControl.esaWorkSpace, 0xEE, sizeof esaControl.esaWorkSpace);
        MMCH_t* const header = wireView<MMCH_t>(esaControl.esaWorkSpace);
        esaMmsgHeaderInit(header, MMSG_E_PROTOCOL_SES, 0x010203, length);
        Outgoing expected({}, std::max(length, 64U), {{8, {0x0E010000 | length, 0x12010203}}});
        std::set<U32_t> recipients = {0, 31, 32, 63};
        recipients.insert(random() % 64);
        for (const U32_t endpoint : recipients) {
            esaMmsgRecipientAdd(header, endpoint);
            expected.message[20 + endpoint / 32 * 4 + 3 - endpoint % 32 / 8] |=
                static_cast<U8_t>(1 << endpoint % 8);
        }
        expected.message.resize(4064, 0xEE);
        EXPECT_EQ(Bytes(esaControl.esaWorkSpace, esaControl.esaWorkSpace + 4064), expected.message)
            << length;
    }
}

// Whoever sends, it is its own name and line that a lost message is reported with; the shutdown
// request deliberately has another's name.
TEST_F(Messages, WhatIsLostIsReportedWhereItsSenderStands) {
    std::set<std::string> places;
    const std::tuple<S32_t (*)(), std::string, int> senders[] = {
        {esaEmailNotificationMmsgToStartupSend, "esaEmailNotificationMmsgToStartupSend", 64},
        {[] { return esaCompositeFaultMmsgToStartupSend(ESA_E_OK); },
         "esaCompositeFaultMmsgToStartupSend", 64},
        {esaOrderlyShutdownMmsgToStartupSend, "esaEventMmsgToEmpSend", 64},
        {esaReportTimeoutProcess, "esaEventMmsgToEmpSend", 360},
        {[] { return esaTestMsg(28, 1); }, "esaTestMsg", 72}};
    for (const auto& [send, name, size] : senders) {
        SwitchListener lost;
        esaControl.socketFdMSM = lost.connect();
        lost.drop();
        takeAltRecords();
        EXPECT_EQ(send(), -1);
        const Bytes record = takeAltRecords().at(0).bytes;
        const std::string fault(reinterpret_cast<const char*>(&record.at(284)));
        EXPECT_EQ(fault, text("Linux send function fails, sendSize = [", size, "] is wrong"));
        EXPECT_EQ(reinterpret_cast<const char*>(&record.at(216)), name + "()");
        trace.take();
        EXPECT_EQ(send(), -1);
        // A line's name is cut to 32 characters.
        const std::string place = name.substr(0, 32) + ":" + std::to_string(be16At(record, 282));
        EXPECT_TRUE(trace.take().back().starts_with(place + ":  MMSG with opcode ")) << place;
        EXPECT_TRUE(places.insert(place).second) << place;
    }
}
