// SPDX-License-Identifier: Apache-2.0
// The link to the switch: what is taken off the stream for which length, what a pass does with half
// a message, when the link goes down and how it comes back.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <regex>

#include "emp_mesgs.h"
#include "esa_evl.h"
#include "link/esa_mmsg.h"
#include "link/esa_receive.h"
#include "mpu_gbl.h"
#include "state/esa_control.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/fake_system_calls.h"
#include "tests/support/hex.h"
#include "tests/support/script.h"
#include "tests/support/switch_listener.h"
#include "tests/support/trace_capture.h"

namespace {

// Bytes `from` to `to` (0: the end) of a message of at least a header whose bytes count up from
// 1 + `shift`, but for the length.
Bytes pieceOf(int length, int from, int to, int shift = 0) {
    Bytes message(static_cast<std::size_t>(std::max(length, 64)));
    for (std::size_t n = 0; n < message.size(); ++n) {
        message[n] = static_cast<std::uint8_t>(static_cast<int>(n) + 1 + shift);
    }
    message[10] = static_cast<std::uint8_t>(length >> 8);
    message[11] = static_cast<std::uint8_t>(length);
    return {message.begin() + from, to == 0 ? message.end() : message.begin() + to};
}

// A pass waits five short waits; nobody listens at first.
class LinkPlayer : public Player {
  public:
    LinkPlayer() {
        std::signal(SIGPIPE, SIG_IGN);
        systemCalls = {};
        esaControl = {};
        esaControl.socketFdMSM = -1;
        wireTextSet(params_.mmsgDirectory, listener_.directory().c_str());
        pMpuParams = &params_;
        takeAltRecords();
        connectCommands();
        receiveCommands();
        sendCommands();
    }
    ~LinkPlayer() override {
        esaLinkDown();
        pMpuParams = nullptr;
    }

  private:
    void connectCommands() {
        commands["listen"] = [this](auto&) { listener_.open(); };
        commands["connect"] = [this](auto&) { say(esaLinkOpen() ? "connected" : "not connected"); };
        commands["up"] = [this](auto&) {
            listener_.open();
            EXPECT_TRUE(esaLinkOpen() && listener_.accept());
            systemCalls.connects = 0;
        };
        commands["accept"] = [this](auto&) { say(listener_.accept() ? "accepted" : "nobody"); };
        commands["drop"] = [this](auto&) { listener_.drop(); };
        commands["down"] = [](auto&) { esaLinkDown(); };
        commands["socket"] = [](auto& w) { systemCalls.nextSocket = w.number(1); };
        // The message directory in so many bytes, by slashes in front.
        commands["directory"] = [this](auto& w) {
            std::string path = listener_.directory();
            path.insert(0, static_cast<std::size_t>(w.number(1)) - path.size(), '/');
            params_ = {};
            path.copy(params_.mmsgDirectory, sizeof params_.mmsgDirectory);
        };
        commands["pass"] = [this](auto& w) {
            for (int pass = 1; pass <= std::max(w.number(1), 1); ++pass) {
                if (esaLinkPass()) {
                    say("connected in pass ", pass);
                }
            }
        };
    }
    void receiveCommands() {
        commands["arrive"] = [this](auto& w) {
            listener_.send(pieceOf(w.number(1), w.number(2), w.number(3), w.number(4)));
        };
        // A byte from 64 on in each short wait.
        commands["trickle"] = [this](auto& w) {
            systemCalls.onPoll = [this, length = w.number(1), at = 64]() mutable {
                listener_.send(pieceOf(length, at, at + 1));
                ++at;
            };
        };
        commands["later"] = [this](auto& w) {
            systemCalls.onPoll = [this, piece = pieceOf(w.number(1), w.number(2), w.number(3)),
                                  waits = w.number(4)]() mutable {
                if (--waits == 0) {
                    listener_.send(piece);
                }
            };
        };
        commands["errors"] = [](auto& w) {
            systemCalls.receiveErrors = {w.number(1), w.number(2), w.number(3)};
        };
        commands["receive"] = [this](auto&) {
            std::ranges::fill(esaControl.esaWorkSpace, U8_t{0xEE});
            say(esaMmsgReceive(50) ? "message" : "no message");
            EXPECT_THAT(esaControl.esaWorkSpace, testing::Each(0xEE)) << "past the buffer";
            systemCalls.onPoll = nullptr;
        };
        // The first bytes of the buffer as runs that count up: first value, number.
        commands["look"] = [this](auto& w) {
            std::string text;
            for (int at = 0, from = 0; at < w.number(1); from = at) {
                do {
                    ++at;
                } while (at < w.number(1) &&
                         esaControl.esaInMsg[at] ==
                             static_cast<U8_t>(esaControl.esaInMsg[at - 1] + 1));
                text += std::to_string(esaControl.esaInMsg[from]) + "+" +
                        std::to_string(at - from) + " ";
            }
            say(text.substr(0, text.size() - 1));
        };
    }
    void sendCommands() {
        commands["header"] = [this](auto& w) {
            std::ranges::fill(esaControl.esaWorkSpace, U8_t{0xEE});
            esaMmsgHeaderInit(message_, MMSG_E_PROTOCOL_EVENTMGR, 0x010203, 72);
            const U32_t address = reinterpret_cast<std::uintptr_t>(message_) & UINT32_MAX;
            EXPECT_EQ(message_->mmch_lh.flink, address);
            EXPECT_EQ(message_->mmch_lh.blink, address);
            for (std::size_t n = 1; n < w.all.size(); ++n) {
                esaMmsgRecipientAdd(message_, w.u32(n));
            }
            say(hexLine({esaControl.esaWorkSpace + 8, esaControl.esaWorkSpace + 36}));
            say(hexLine({esaControl.esaWorkSpace + 36, esaControl.esaWorkSpace + 76}));
        };
        commands["send"] = [this](auto& w) {
            const bool event = w[1] == "event";
            esaMmsgHeaderInit(message_, event ? MMSG_E_PROTOCOL_EVENTMGR : MMSG_E_PROTOCOL_STARTUP,
                              event ? EMP_E_MSGS_LOG : w.u32(2), 64);
            wireView<EsaEvent_t>(message_ + 1)->header.evId = w.u16(2);
            const auto start = std::chrono::steady_clock::now();
            const S32_t sent = esaMmsgSend(ESA_SENDER(sender));
            const auto took = std::chrono::steady_clock::now() - start;
            const std::chrono::seconds limit(std::exchange(limit_[0], 0));
            say("sent ", sent, limit.count() > 0 && took >= limit ? " after that" : "",
                (systemCalls.sendFlags & MSG_DONTWAIT) != 0 ? " without waiting" : "");
            const std::vector<Bytes> out = listener_.take();
            if (!out.empty()) {
                say("went out: ",
                    out.size() > 1 ? "many" : hexLine({out[0].begin() + 8, out[0].begin() + 20}));
            }
        };
        commands["fails"] = [](auto& w) { systemCalls.sendErrors = {w.number(1), w.number(2)}; };
        commands["refuse"] = [](auto& w) {
            systemCalls.connectErrors = {w.number(1), w.number(2), w.number(3)};
        };
        commands["fill"] = [this](auto&) {
            socklen_t size = sizeof limit_;
            getsockopt(esaControl.socketFdMSM, SOL_SOCKET, SO_SNDTIMEO_OLD, limit_, &size);
            say("a send takes ", limit_[0], " s at most");
            esaMmsgHeaderInit(message_, MMSG_E_PROTOCOL_SES, 28, 4064);
            while (sendto(esaControl.socketFdMSM, message_, 4064, MSG_DONTWAIT, nullptr, 0) > 0) {
            }
        };
        commands["undelivered"] = [this](auto& w) {
            say(esaMmsgIsUndelivered(static_cast<SUS_MMSG>(w.number(1))) ? "yes" : "no");
        };
    }
    // Faults, trace lines without socket numbers and dump rows, of a dump in whose name it is, the
    // link's end, and the calls made.
    void finish() override {
        say(takeFaults());
        static const std::regex prefix(R"(^\w+:\d+:  |:\d+(?=: )| socket \[.*)");
        for (const std::string& line : trace_.take()) {
            if (!line.starts_with("0x")) {
                say(std::regex_replace(line, prefix, ""));
            }
        }
        if (fd_ >= 0 && !esaLinkIsUp()) {
            say(fcntl(fd_, F_GETFD) == -1 ? "closed" : "left open");
        }
        fd_ = esaControl.socketFdMSM;
        const std::pair<int&, const char*> calls[] = {{systemCalls.connects, "connects"},
                                                      {systemCalls.receives, "receives"},
                                                      {systemCalls.polls, "waits"},
                                                      {systemCalls.sends, "sends"}};
        std::string text;
        for (const auto& [count, name] : calls) {
            text += count == 0 ? "" : " " + std::to_string(std::exchange(count, 0)) + " " + name;
        }
        if (!text.empty()) {
            say("calls:" + text);
        }
    }

    MPU_PARAMS_t params_ = {};
    SwitchListener listener_;
    TraceCapture trace_{0x4010};
    MMCH_t* const message_ = wireView<MMCH_t>(esaControl.esaWorkSpace);
    int fd_ = -1;
    long limit_[2] = {};  // of the next send, to a full socket: seconds, microseconds
};

}  // namespace

TEST(Link, ComesOutAsWritten) {
    scriptPlay<LinkPlayer>(MSG_TESTS "/link.txt");
}
