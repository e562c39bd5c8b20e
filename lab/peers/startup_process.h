// SPDX-License-Identifier: Apache-2.0
// Stand-in for the controller's start-up process: answers each request, keeps the composite fault
// LED, and counts what it was asked for. It sends no mail and shuts nothing down.
#pragma once

#include <functional>

#include "lab/peers/switch.h"

namespace enclab {

class StartupProcess {
  public:
    // Lives at its endpoint of the switch, which must outlive it in use.
    explicit StartupProcess(MessageSwitch& messageSwitch);
    StartupProcess(const StartupProcess&) = delete;
    StartupProcess& operator=(const StartupProcess&) = delete;

    // Called when the daemon says that its initialisation is complete.
    void onInitComplete(std::function<void()> handler) { onInitComplete_ = std::move(handler); }
    // Return code of the answers (SUS_E_MMSG_RESP_OK at first).
    void answerWith(std::uint32_t returnCode) { returnCode_ = returnCode; }

    bool compositeLedLit() const { return compositeLedLit_; }
    int initCompletes() const { return initCompletes_; }
    int ledRequests() const { return ledRequests_; }
    int mails() const { return mails_; }
    int shutdownRequests() const { return shutdownRequests_; }

  private:
    void receive(const Message& message);
    void answer(const Message& request);

    MessageSwitch& switch_;
    std::function<void()> onInitComplete_;
    std::uint32_t returnCode_;
    bool compositeLedLit_ = false;
    int initCompletes_ = 0;
    int ledRequests_ = 0;
    int mails_ = 0;
    int shutdownRequests_ = 0;
};

}  // namespace enclab
