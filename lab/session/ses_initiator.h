// SPDX-License-Identifier: Apache-2.0
// SES clients inside the lab: what is asked of the daemon from the lab's command line, as the
// environment manager or the volume manager, and the last status page that came of it.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>

#include "lab/peers/switch.h"
#include "tools/sesctl/control_page.h"

namespace enclab {

class SesInitiator {
  public:
    using Next = std::function<void()>;  // done once the reply is there and is GOOD

    // The switch must outlive its use.
    explicit SesInitiator(MessageSwitch& messageSwitch) : switch_(messageSwitch) {}

    // Asks for a page as the process at `endpoint`.
    void get(std::uint8_t endpoint, std::uint8_t pageCode, Next next = {});
    // Asks for the status page, and before the first one for the configuration.
    void getStatus(std::uint8_t endpoint, Next next = {});
    // Asks for the status and sends a control page made of it with this change.
    using Change = std::function<void(sesctl::ControlPage&)>;
    void change(std::uint8_t endpoint, Change change);

    // Whether the daemon's message is a good reply to a request made here.
    bool awaits(const Message& message) const;
    // Gets every message of the daemon.
    void take(const Message& message);

    const std::optional<sesctl::Configuration>& configuration() const { return configuration_; }
    // Of the newest status page; empty before the first.
    const std::optional<sesctl::Status>& status() const { return status_; }
    const Bytes& statusPage() const { return statusPage_; }
    std::size_t unanswered() const { return waiting_.size(); }

  private:
    struct Request {
        std::uint8_t pageCode;  // 0: no page is expected back
        Next next;
    };
    void send(std::uint8_t endpoint, Bytes request, std::uint8_t pageCode, Next next = {});
    void takePage(std::uint8_t pageCode, sesctl::View payload);

    MessageSwitch& switch_;
    std::map<std::uint32_t, Request> waiting_;  // by handle
    std::uint32_t nextHandle_ = 1;
    std::optional<sesctl::Configuration> configuration_;
    std::optional<sesctl::Status> status_;
    Bytes statusPage_;
};

}  // namespace enclab
