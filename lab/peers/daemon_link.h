// SPDX-License-Identifier: Apache-2.0
// The way of the messages from the switch to the daemon, and what can go wrong on it: late, in
// pieces, several at once, cut off in the middle, or far too many.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "lab/peers/switch.h"
#include "lab/schedule.h"

namespace enclab {

class DaemonLink {
  public:
    using Seconds = Schedule::Seconds;
    // Who asks in a flood; its requests have handles from kFloodHandle on.
    static constexpr std::uint8_t kFloodEndpoint = 63;
    static constexpr std::uint32_t kFloodHandle = 1000000;

    // Both must outlive the link in use.
    DaemonLink(MessageSwitch& messageSwitch, Schedule& schedule);
    DaemonLink(const DaemonLink&) = delete;
    DaemonLink& operator=(const DaemonLink&) = delete;

    // Until plain(): each message so much later; each write in two, the first of so many bytes and
    // the rest after a pause; messages held back until there are so many, then one write.
    void delay(Seconds time) { delay_ = time; }
    void split(std::size_t bytes, Seconds pause);
    void glue(std::size_t messages);
    void plain();
    bool isPlain() const { return delay_.count() == 0 && split_ == 0 && glue_ == 1 && !cutAfter_; }

    // The next message is cut after so many bytes, then the switch closes the daemon's connection
    // and refuses new ones, as MessageSwitch::close() does.
    void dieAfter(std::size_t bytes) { cutAfter_ = bytes; }

    // Status requests, all at once or so many a second.
    void flood(std::size_t requests);
    void flood(double perSecond, Seconds time);
    std::uint32_t floodSent() const { return floodSent_; }
    std::uint32_t floodAnswered() const { return floodAnswered_; }

    // "delay 50 ms, split at 17, glue 2", "plain"; then the flood's counts if there was one.
    std::string describe() const;

  private:
    struct Piece {
        Bytes bytes;
        std::uint64_t connection;  // the daemon's at the time, as the switch counts them
        bool last;                 // the switch closes behind it
    };

    void take(const Bytes& message);
    void passHeld();
    void put(Bytes bytes, double due, bool last = false);
    void write(const Piece& piece);
    void floodOne();
    void floodOn(double start, double perSecond, std::uint64_t done, std::uint64_t total);

    MessageSwitch& switch_;
    Schedule& schedule_;
    Seconds delay_{0};
    std::size_t split_ = 0;  // 0: whole
    Seconds pause_{0};
    std::size_t glue_ = 1;
    std::optional<std::size_t> cutAfter_;
    Bytes held_;
    std::size_t heldMessages_ = 0;
    std::deque<Piece> queue_;
    double due_ = 0;  // lab time of the newest piece
    std::uint32_t floodSent_ = 0;
    std::uint32_t floodAnswered_ = 0;
};

}  // namespace enclab
