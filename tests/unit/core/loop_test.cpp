// SPDX-License-Identifier: Apache-2.0
// The loop beside a model of its rules, whatever comes in and whatever fails.
#include <algorithm>
#include <cerrno>
#include <deque>
#include <set>
#include <tuple>
#include <utility>

#include "link/esa_mmsg.h"
#include "link/esa_startup.h"
#include "start/esa_manager.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/fake_system_calls.h"
#include "tests/unit/core/core.h"

namespace {

using State = std::tuple<int, bool, bool, U32_t>;

// What the service manager was told last.
State told;

std::string words(const State& state) {
    const auto& [type, isPolled, isUp, faults] = state;
    std::string line = type == 2   ? "Xyratex 2U12ATX"
                       : type == 3 ? "TolVex"
                       : type == 5 ? "VSC055"
                                   : "none";
    line += isPolled ? "" : ", not polled";
    line += isUp ? ", link up, faults:" : ", link down, faults:";
    const char* const names[] = {" supply voltage", " supply redundancy", " fan", " overheat",
                                 " I2C"};
    for (std::size_t n = 0; n < std::size(names); ++n) {
        line += (faults >> n & 1) != 0 ? names[n] : "";
    }
    return line + (faults == 0 ? " none" : "");
}

class Loop : public Core {
  protected:
    Loop() {
        stage.isManaged = true;
        esaControl.enclosureType = 9;
        esaManagerTell();
        told = {9, false, false, 0};
        stage.calls.clear();
    }

    // ---- what happens between two passes ----

    void disturb() {
        const auto what = random.below(24);
        if (what < 4 && isUp && !isHalf) {
            messageCome();
        } else if (what == 4 && isHalf) {
            listener.send(Bytes(32));
            isHalf = false;
            lengths.push_back(72);
        } else if (what == 5) {
            selectError = systemCalls.selectError = random.of({EINTR, EBADF, ENOMEM});
        } else if (what == 6 && random.onceIn(3) && isUp && !isHalf && lengths.empty()) {
            listener.drop();
            isGone = true;
        } else if (what < 10) {
            request(random.of({"init", "led", "mail"}));
        } else if (what == 10) {
            isReachable = random.onceIn(2);
        } else if (what == 11) {
            esaControl.compositeFaultStatus =
                random.of<U32_t>({0, 0x80000004, 0x80000013, 0x8, 0xC000000E});
        } else if (what == 12) {
            esaControl.enclosureType = random.of<U8_t>({1, 2, 3, 5, 5, 9});
            esaControl.i2cConnected = random.of<U8_t>({0, 1, 1, 1, 2});
        } else if (what == 13) {
            pass = random.of<std::int64_t>({1000000, 1000000, 700000, 2345678});
            esaControl.selectTimeout = timeOf(pass);
        } else if (what == 14) {
            reportSeconds = random.of<U32_t>({0, 0, 3, 5});
            report = std::int64_t{reportSeconds} * 1000000;
            esaControl.reportTimeoutUserInput = reportSeconds;
            esaControl.reportTimeout = timeOf(report);
        } else if (what == 15) {
            poll = pass + random.of({-1, 0, 1, 5000000});
            esaControl.pollTimeout = timeOf(poll);
        } else if (what == 16) {
            stage.isManaged = !random.onceIn(4);
        }
    }

    // Whole, or not yet.
    void messageCome() {
        isHalf = random.onceIn(4);
        Bytes message(isHalf ? 72 : 64 + random.below(190));
        message[11] = static_cast<U8_t>(message.size());
        message.resize(isHalf ? 40 : message.size());
        listener.send(message);
        if (!isHalf) {
            lengths.push_back(static_cast<int>(message.size()));
        }
    }

    void request(const std::string& name) {
        if (name == "init") {
            esaInitCompleteSend();
        } else if (name == "mail") {
            esaEmailNotificationMmsgToStartupSend();
        } else {
            esaCompositeFaultMmsgToStartupSend(isLit() ? ESA_E_GENERR : ESA_E_OK);
        }
        requested(name);
    }

    // ---- the model ----

    static bool isLit() { return (esaControl.compositeFaultStatus & 0x80000000) != 0; }
    static MPU_TIME_t timeOf(std::int64_t us) {
        return {static_cast<U32_t>(us / 1000000), static_cast<U32_t>(us % 1000000)};
    }

    bool deliver(const std::string& name) {
        if (isUp && !isGone) {
            messages.push_back(name);
        } else {
            down();
        }
        return isUp;
    }
    // What does not get through is remembered.
    void requested(const std::string& name) {
        if (!deliver(name != "led" ? name : isLit() ? "led on" : "led off")) {
            undelivered.insert(name);
        }
    }

    void down() {
        passesDown = isUp ? 0 : passesDown;
        isUp = isHalf = isGone = false;
        lengths.clear();
    }

    // Half a message is waited for as long as the pass has left, in steps of 10 ms.
    void expectPass(std::int64_t used) {
        waits = 0;
        if (selectError != 0) {
            faults.push_back("main(): Linux select function fails");
            if (selectError != EINTR) {
                down();
            }
        } else if (isUp && !lengths.empty()) {
            calls.push_back(text("dispatched ", lengths.front()));
            lengths.pop_front();
        } else if (isGone) {
            down();
        } else if (isHalf) {
            waits = static_cast<int>(std::max<std::int64_t>(pass - used, 0) / 10000);
        }
        selectError = 0;
        expectTimers();
        if (!isUp && ++passesDown == 10) {
            passesDown = 0;
            expectAttempt();
        }
        expectManager();
    }

    // Less than a pass left is due.
    void expectTimers() {
        if (poll >= pass) {
            poll -= pass;
        } else {
            poll = 10000000;
            const bool isFitted = esaControl.enclosureType > 1 && esaControl.enclosureType < 8;
            if (esaControl.i2cConnected == 1 && isFitted) {
                calls.push_back("poll");
            }
        }
        if (reportSeconds != 0 && report >= pass) {
            report -= pass;
        } else if (reportSeconds != 0) {
            report = std::int64_t{reportSeconds} * 1000000;
            deliver("event 10/1");
        }
    }

    void expectAttempt() {
        isUp = isReachable;
        for (const std::string name : {"init", "led", "mail"}) {
            if (isUp && undelivered.erase(name) != 0) {
                requested(name);
            }
        }
    }

    void expectManager() {
        const State now = {esaControl.enclosureType, esaControl.i2cConnected == 1, isUp,
                           esaControl.compositeFaultStatus & 0x1F};
        if (stage.isManaged && now != told) {
            calls.push_back(words(now));
            told = now;
        }
        if (stage.isManaged) {
            calls.push_back("alive");
        }
    }

    bool isUp = true, isReachable = true;
    bool isGone = false;      // the connection has ended, unnoticed
    bool isHalf = false;      // a message
    std::deque<int> lengths;  // of messages that have come
    int passesDown = 0, selectError = 0, waits = 0;
    std::set<std::string> undelivered;
    std::int64_t pass = 1000000, poll = 10000000, report = 0;  // microseconds
    U32_t reportSeconds = 0;
    Lines messages, calls, faults;
};

// Timers count passes, not time; a link that is down changes nothing of their rhythm.
TEST_F(Loop, PassesDoWhatTheRulesSay) {
    ASSERT_TRUE(esaLinkOpen() && listener.accept());
    esaControl.pollTimeout = timeOf(poll);
    esaControl.selectTimeout = timeOf(pass);
    for (int round = 0; round < 20000; ++round) {
        SCOPED_TRACE(round);
        disturb();
        const bool wasUp = isUp;
        const int watched = isUp ? esaControl.socketFdMSM + 1 : 0;
        systemCalls.connectErrors.assign(isReachable ? 0 : 1, ECONNREFUSED);
        systemCalls.selectUses = random.of({0, 300000, 1000000});
        systemCalls.polls = systemCalls.selects = 0;
        expectPass(systemCalls.selectUses);
        esaLoopPass();
        ASSERT_EQ(esaLinkIsUp(), isUp);
        ASSERT_TRUE(wasUp || !isUp || listener.accept());
        ASSERT_EQ(sent(), std::exchange(messages, {}));
        ASSERT_EQ(std::exchange(stage.calls, {}), std::exchange(calls, {}));
        ASSERT_EQ(systemCalls.selects, 1);
        ASSERT_EQ(systemCalls.selectMicroseconds, pass);
        ASSERT_EQ(systemCalls.selectDescriptors, watched);
        ASSERT_EQ(systemCalls.polls, waits);
        Lines said = takeFaults();
        std::erase_if(said, [](const auto& line) { return line.find("select") == line.npos; });
        ASSERT_EQ(said, std::exchange(faults, {}));
    }
}

}  // namespace
