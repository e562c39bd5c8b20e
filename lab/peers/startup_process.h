// SPDX-License-Identifier: Apache-2.0
// Stand-in for the controller's start-up process: answers each request, keeps the composite fault
// LED and a mailbox, counts what it was asked for, and performs the shutdown when told to.
#pragma once

#include <deque>
#include <functional>
#include <string>

#include "lab/peers/switch.h"
#include "lab/schedule.h"

namespace enclab {

// Its answers: SUS_E_MMSG_RESP_OK, SUS_E_MMSG_RESP_REJECTED, or none.
enum class StartupAnswer { kOk, kRejected, kNone };
// What it does about a request for a shutdown: answers OK and leaves it at that, answers OK and
// takes the power away, or rejects it.
enum class ShutdownWay { kIgnore, kPerform, kRefuse };

class StartupProcess {
  public:
    static constexpr std::size_t kMailsMax = 1000;

    // Lives at its endpoint of the switch; both must outlive it in use.
    StartupProcess(MessageSwitch& messageSwitch, Schedule& schedule);
    StartupProcess(const StartupProcess&) = delete;
    StartupProcess& operator=(const StartupProcess&) = delete;

    // Called when the daemon says that its initialisation is complete.
    void onInitComplete(std::function<void()> handler) { onInitComplete_ = std::move(handler); }
    // Called, once the answer is out, when the power is to go away.
    void onPowerOff(std::function<void()> handler) { onPowerOff_ = std::move(handler); }
    // Whatever it answers, it keeps and counts.
    void setAnswer(StartupAnswer answer) { answer_ = answer; }
    void setShutdown(ShutdownWay way) { shutdownWay_ = way; }
    StartupAnswer answer() const { return answer_; }
    ShutdownWay shutdown() const { return shutdownWay_; }

    bool compositeLedLit() const { return compositeLedLit_; }
    int initCompletes() const { return initCompletes_; }
    int ledRequests() const { return ledRequests_; }
    int mails() const { return mails_; }
    // "3 mails", then one line for each with its time and the time since the one before.
    std::string mailbox() const;
    int shutdownRequests() const { return shutdownRequests_; }

  private:
    void receive(const Message& message);
    void answer(const Message& request);
    void takeMail();
    void takeShutdown();

    MessageSwitch& switch_;
    Schedule& schedule_;
    std::function<void()> onInitComplete_;
    std::function<void()> onPowerOff_;
    StartupAnswer answer_ = StartupAnswer::kOk;
    ShutdownWay shutdownWay_ = ShutdownWay::kIgnore;
    std::deque<double> mailTimes_;  // lab times of the newest kMailsMax mails, oldest first
    bool compositeLedLit_ = false;
    int initCompletes_ = 0;
    int ledRequests_ = 0;
    int mails_ = 0;
    int shutdownRequests_ = 0;
};

}  // namespace enclab
