// SPDX-License-Identifier: Apache-2.0
// The loop beside a model of its rules, whatever comes in and whatever fails. The link has a model
// of its own, elsewhere: here it is up again in the tenth pass after each loss.
#include <algorithm>
#include <cerrno>
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

// As the service manager is told.
std::string words(const State& state) {
    const auto& [type, isPolled, isUp, faults] = state;
    const char* const titles[] = {
        "",       "none",    "Xyratex 2U12ATX", "TolVex", "Chenbro 3U16ATX",
        "VSC055", "W83782D", "W83792AD",        "none",   "none"};
    const char* const names[] = {" supply voltage", " supply redundancy", " fan", " overheat",
                                 " I2C"};
    std::string line = text(titles[type], isPolled ? "" : ", not polled", ", link ",
                            isUp ? "up" : "down", ", faults:", faults == 0 ? " none" : "");
    for (std::size_t n = 0; n < std::size(names); ++n) {
        line += (faults >> n & 1) != 0 ? names[n] : "";
    }
    return line;
}

class Loop : public Core {
  protected:
    Loop() {
        stage.isManaged = true;
        esaControl.enclosureType = 9;
        esaManagerTell();  // on from what an earlier test has left
        stage.calls.clear();
    }

    // What happens between two passes.
    void disturb() {
        esaControl.enclosureType = static_cast<U8_t>(random.onceIn(2) ? 5 : 1 + random.below(9));
        esaControl.i2cConnected = random.of<U8_t>({0, 1, 1, 1, 2});
        esaControl.compositeFaultStatus = random.of<U32_t>({0, 0, 0x80000004, 0x80000013, 0x8});
        stage.isManaged = !random.onceIn(20);
        const auto what = random.below(14);
        if (isHalf) {
            isHalf = false;
            listener.send(Bytes(length - 40));
        } else if (what < 4 && isUp && length == 0) {
            messageCome();
        } else if (what == 4) {
            selectError = systemCalls.selectError = random.of({EINTR, EBADF, ENOMEM});
        } else if (what < 8) {
            request(random.of({"init", "led", "mail"}));
        } else if (what == 8) {
            pass = random.of<std::int64_t>({1000000, 990000, 999999, 2345678});
            esaControl.selectTimeout = timeOf(pass);
        } else if (what == 9) {
            reportSeconds = random.of<U32_t>({0, 0, 3, 5});
            report = std::int64_t{reportSeconds} * 1000000;
            esaControl.reportTimeoutUserInput = reportSeconds;
            esaControl.reportTimeout = timeOf(report);
        } else if (what == 10) {
            poll = pass + random.of({-1, 0, 1, 5000000});
            esaControl.pollTimeout = timeOf(poll);
        }
    }

    // Whole, or the first bytes.
    void messageCome() {
        isHalf = random.onceIn(4);
        Bytes message(64 + random.below(190));
        length = message.size();
        message[11] = static_cast<U8_t>(length);
        message.resize(isHalf ? 40 : length);
        listener.send(message);
    }

    void request(const std::string& name) {
        if (name == "init") {
            esaInitCompleteSend();
        } else if (name == "mail") {
            esaEmailNotificationMmsgToStartupSend();
        } else {
            esaCompositeFaultMmsgToStartupSend(isLit() ? ESA_E_GENERR : ESA_E_OK);
        }
        undelivered.insert(name);
        expectDelivery();
    }

    // ---- the model ----

    static bool isLit() { return (esaControl.compositeFaultStatus & 0x80000000) != 0; }
    static MPU_TIME_t timeOf(std::int64_t us) {
        return {static_cast<U32_t>(us / 1000000), static_cast<U32_t>(us % 1000000)};
    }
    void expectDelivery() {
        while (isUp && !undelivered.empty()) {
            const std::string name = undelivered.extract(undelivered.begin()).value();
            messages.push_back(name != "led" ? name : isLit() ? "led on" : "led off");
        }
    }

    // Half a message is waited for as long as the pass has left, in steps of 10 ms.
    void expectPass(std::int64_t used) {
        waits = 0;
        if (selectError != 0) {
            faults.push_back("main(): Linux select function fails");
            if (isUp && selectError != EINTR) {
                isUp = isHalf = false;
                length = passesDown = 0;
            }
        } else if (isHalf) {
            waits = static_cast<int>(std::max<std::int64_t>(pass - used, 0) / 10000);
        } else if (length != 0) {
            calls.push_back(text("dispatched ", std::exchange(length, 0)));
        }
        selectError = 0;
        expectTimers();
        if (!isUp && ++passesDown == 10) {
            isUp = true;
            expectDelivery();
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
            calls.resize(calls.size() + (esaControl.i2cConnected == 1 && isFitted), "poll");
        }
        if (reportSeconds != 0 && report >= pass) {
            report -= pass;
        } else if (reportSeconds != 0) {
            report = std::int64_t{reportSeconds} * 1000000;
            messages.resize(messages.size() + isUp, "event 10/1");
        }
    }

    void expectManager() {
        const State now = {esaControl.enclosureType, esaControl.i2cConnected == 1, isUp,
                           esaControl.compositeFaultStatus & 0x1F};
        if (stage.isManaged && std::exchange(told, now) != now) {
            calls.push_back(words(now));
        }
        calls.resize(calls.size() + stage.isManaged, "alive");
    }

    bool isUp = true, isHalf = false;
    std::size_t length = 0;  // of a message that has come; 0: none
    int passesDown = 0, selectError = 0, waits = 0;
    std::set<std::string> undelivered;
    std::int64_t pass = 1000000, poll = 10000000, report = 0;  // microseconds
    U32_t reportSeconds = 0;
    State told = {9, false, false, 0};
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
