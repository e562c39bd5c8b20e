// SPDX-License-Identifier: Apache-2.0
// Messages: what a received one makes the service say and do, what the printer says of it, and the
// bytes of those the service sends.
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <set>

#include "link/esa_event.h"
#include "link/esa_startup.h"
#include "ses/esa_control_page.h"
#include "ses/esa_dispatch.h"
#include "ses/esa_print.h"
#include "ses/esa_status.h"
#include "ses/esa_test_msg.h"
#include "state/esa_control.h"
#include "state/esa_trace.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/hex.h"
#include "tests/support/script.h"
#include "tests/support/switch_listener.h"
#include "tests/support/trace_capture.h"

// What a message is dispatched to says so in the trace log, which gives the order.
ESA_CODE_e esaEncContPageProc(const MMSG_t*) {
    ESA_TRACE("<control page>");
    return ESA_E_OK;
}
void esaStatusSend(const MMSG_t*, U8_t statusCode, U8_t pageCode, U8_t senseKey, U8_t asc,
                   U8_t ascq) {
    ESA_TRACE("<status %d page %d sense %d/%02X/%d>", statusCode, pageCode, senseKey, asc, ascq);
}

namespace {

// A message alone in a buffer of its own, so that the sanitizer catches what reads past it. What
// goes beyond its length is an older message's.
Bytes received(const std::string& text) {
    static const std::map<std::string, std::pair<std::size_t, std::size_t>> FIELDS = {
        {"message", {8, 1}},    {"length", {10, 2}}, {"protocol", {12, 1}}, {"type", {13, 3}},
        {"requestor", {16, 1}}, {"cont", {17, 1}},   {"dest", {18, 1}},     {"local0", {20, 4}},
        {"local", {24, 4}},     {"other0", {28, 4}}, {"other", {32, 4}},    {"return", {36, 4}},
        {"handle", {40, 4}},    {"use1", {44, 4}}};
    const std::size_t bar = std::min(text.find('|'), text.size());
    Bytes bytes(4064, 0xEE);
    std::memset(bytes.data(), 0, 64);
    const std::string defaults = "message=14 length=72 protocol=18 type=28 requestor=26 local=2 ";
    for (const std::string& word : Words(defaults + text.substr(0, bar)).all) {
        const auto [offset, size] = FIELDS.at(word.substr(0, word.find('=')));
        unsigned long value = std::stoul(word.substr(word.find('=') + 1), nullptr, 0);
        for (std::size_t at = offset + size; at-- > offset; value >>= 8) {
            bytes[at] = static_cast<std::uint8_t>(value);
        }
    }
    const Bytes data = hexBytes(text.substr(std::min(bar + 1, text.size())));
    std::copy(data.begin(), data.end(), bytes.begin() + 64);
    return bytes;
}

class MessagePlayer : public Player {
  public:
    MessagePlayer() {
        std::signal(SIGPIPE, SIG_IGN);
        esaControl = {};
        esaControl.socketFdMSM = peer_.connect();
        std::memset(esaControl.esaWorkSpace, 0xEE, sizeof esaControl.esaWorkSpace);
        takeAltRecords();
        commands["receive"] = [](auto& w) {
            esaMmsgMsgProc(wireView<MMSG_t>(received(w.from(1)).data()));
        };
        commands["show"] = commands["print"] = [this](auto& w) {
            printed_ = w[0];
            esaMmsgPrint(wireView<MMSG_t>(received(w.from(1)).data()));
        };
        commands["remembered"] = [this](auto& w) {
            say(esaControl.pageCodeInRecentSndDiagCmd);
            esaControl.pageCodeInRecentSndDiagCmd = w.u8(1);
        };
        commands["counts"] = [](auto& w) {
            U8_t EsaControl_t::*const counts[] = {
                &EsaControl_t::deviceMaxNumber, &EsaControl_t::powerSupplyMaxNumber,
                &EsaControl_t::coolingMaxNumber, &EsaControl_t::temperatureSensorMaxNumber,
                &EsaControl_t::audibleAlarmMaxNumber};
            for (std::size_t n = 0; n < 5; ++n) {
                esaControl.*counts[n] = static_cast<U8_t>(w.number(n + 1));
            }
        };
        commands["level"] = [](auto& w) { TRACE__setTraceLevel(0, w.u16(1)); };
        commands["lost"] = [this](auto&) { peer_.drop(); };
        sender("mail", [](auto&) { return esaEmailNotificationMmsgToStartupSend(); });
        sender("shutdown", [](auto&) { return esaOrderlyShutdownMmsgToStartupSend(); });
        sender("led", [](auto& w) {
            return esaCompositeFaultMmsgToStartupSend(static_cast<ESA_CODE_e>(w.number(1)));
        });
        sender("test", [](auto& w) { return esaTestMsg(w.u8(1), w.u8(2)); });
        sender("event", [](auto& w) {
            const Bytes data = hexBytes(w.from(3));
            return esaEventMmsgToEmpSend(w.u16(1), w.u8(2), data.data());
        });
        sender("statistics", [](auto&) {
            esaControl.enclosureType = 5;
            esaControl.powerSupplyVoltage5V = 5.25;
            esaControl.powerSupplyVoltage12V = 11.75;
            for (int i = 0; i < 8; ++i) {
                esaControl.fanRpmSpeed[i] = static_cast<U16_t>(0x1001 + i);
                esaControl.temperatureSensor[i] = static_cast<S16_t>(0x7FFF - i);
            }
            return esaReportTimeoutProcess();
        });
    }

    ~MessagePlayer() override { close(esaControl.socketFdMSM); }

  private:
    void sender(const std::string& name, std::function<S32_t(const Words&)> send) {
        commands[name] = [this, send](auto& w) {
            const S32_t result = send(w);
            sent_ = "sent " + std::to_string(result);
        };
    }
    // The trace lines; of the printer's only the first behind the header, if it was not asked for.
    void traceSay() {
        for (const std::string& line : trace_.take()) {
            const std::string text = line.substr(std::min(line.find(":  ") + 3, line.size()));
            const bool printers = line.starts_with("esaMmsgPrint:");
            if (!printers || printed_ == "show" ||
                (printed_ == "print" ? !text.starts_with("MMCH") : text.starts_with("This is a"))) {
                say(text);
            }
        }
        printed_.clear();
    }
    // Messages in lines of 32 bytes, those that are all zero left out. The links in front, which
    // are an address, read as 0.
    void finish() override {
        traceSay();
        say(takeFaults());
        if (!sent_.empty()) {
            say(std::exchange(sent_, ""));
        }
        for (Bytes message : peer_.take()) {
            std::fill_n(message.begin(), 8, std::uint8_t{0});
            say(hexRows(message));
        }
    }

    TraceCapture trace_{0x4010};
    SwitchListener peer_;
    std::string printed_;
    std::string sent_;
};

// What failed and where: a critical fault as "sender:line", no more of the name than a trace line
// has.
std::string faultPlace() {
    const Bytes record = takeAltRecords().at(0).bytes;
    const std::string function(reinterpret_cast<const char*>(&record.at(216)));
    return function.substr(0, std::min<std::size_t>(function.find("()"), 32)) + ":" +
           std::to_string(be16At(record, 282));
}

// Lines of the printer without the one of the length.
Lines printed(TraceCapture* trace, const void* message) {
    esaMmsgPrint(wireView<MMSG_t>(message));
    Lines lines = trace->take();
    std::erase_if(lines, [](const auto& line) { return line.starts_with("MMCH mmsg_length"); });
    return lines;
}

}  // namespace

TEST(Messages, ComeOutAsWritten) {
    scriptPlay<MessagePlayer>(MSG_TESTS "/messages.txt");
    scriptPlay<MessagePlayer>(MSG_TESTS "/print.txt");
}

// Whatever the length, direction and counts, the lines do not depend on what an older message left
// behind this one, and of what is sent a response has one byte more than its length says.
TEST(Messages, NothingBehindAMessageIsPrinted) {
    TraceCapture trace;
    for (const char* message :
         {"type=29 | 1D AD 33 FF 22 33 5A FF 02", "cont=0x40 | 00 01 12", "cont=0x40 | 00 02 5A",
          "type=29 cont=0x40 | 02 E1 11 5A FF", "| 1C 85 02 FF 12 34 A7"}) {
        for (const int count : {1, 255}) {
            std::memset(&esaControl.deviceMaxNumber, count, 5);  // to the alarms
            for (int length = 0; length < 65536; length += length < 120 ? 1 : 3944) {
                Bytes bytes = received("length=" + std::to_string(length) + " " + message);
                const auto end = bytes.begin() + std::clamp(length, 64, 4064);
                Lines lines[2];
                for (const std::uint8_t older : Bytes{0x00, 0x02}) {
                    std::fill(end, bytes.end(), older);
                    lines[older / 2] = printed(&trace, bytes.data());
                }
                ASSERT_EQ(lines[0], lines[1]) << length << " " << message;

                const int sent =
                    (bytes[17] & 0x40) != 0 ? std::clamp(length, 64, 4064) + 1 : length;
                std::ranges::copy(bytes, esaControl.esaWorkSpace);
                bytes[10] = static_cast<std::uint8_t>(sent >> 8);
                bytes[11] = static_cast<std::uint8_t>(sent);
                ASSERT_EQ(printed(&trace, esaControl.esaWorkSpace), printed(&trace, bytes.data()))
                    << length << " " << message;
            }
        }
    }
}

// Whoever sends, it is its own name and line that a lost message is reported with.
TEST(Messages, WhatIsLostIsReportedWhereItsSenderStands) {
    std::signal(SIGPIPE, SIG_IGN);
    TraceCapture trace(0x4010);
    std::set<std::string> places;
    S32_t (*const senders[])() = {esaEmailNotificationMmsgToStartupSend,
                                  [] { return esaCompositeFaultMmsgToStartupSend(ESA_E_OK); },
                                  esaOrderlyShutdownMmsgToStartupSend, esaReportTimeoutProcess,
                                  [] { return esaTestMsg(28, 1); }};
    for (const auto send : senders) {
        SwitchListener peer;
        esaControl.socketFdMSM = peer.connect();
        peer.drop();
        takeAltRecords();
        send();
        const std::string fault = faultPlace();
        EXPECT_TRUE(places.insert(fault).second) << fault;
        send();
        EXPECT_TRUE(trace.take().back().starts_with(fault + ":  MMSG with opcode ")) << fault;
    }
}

// A line of the printer stands where its field's row does, whichever routine walks the rows.
TEST(Messages, EachPrintedFieldHasALineOfItsOwn) {
    TraceCapture trace(0x4010);
    esaMmsgPrint(wireView<MMSG_t>(received("length=92 cont=0x40 | 02 E1").data()));
    std::set<std::string> places;
    for (const std::string& line : trace.take()) {
        EXPECT_TRUE(places.insert(line.substr(0, line.find(":  "))).second) << line;
    }
    EXPECT_EQ(places.size(), 10u + 3u + 17u);
}
