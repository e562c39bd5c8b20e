// SPDX-License-Identifier: Apache-2.0
// A lab's time that does not run by itself. It stands still while the daemon works. Once the daemon
// waits, everything the daemon sent is handled and everything due is done, and only when nothing is
// left to do does time move on: to the daemon's deadline or the next thing due, whichever is first.
// So the same lab sees the same at the same times, however fast the machine is.
#pragma once

#include <asio/io_context.hpp>
#include <filesystem>
#include <functional>
#include <map>

#include "lab/encdev/clock_server.h"
#include "lab/schedule.h"

namespace enclab {

class VirtualTime : public Schedule {
  public:
    using Time = ClockServer::Time;
    static constexpr Time kForever = Time::max();

    // `rest` is what may only be handled while the daemon waits. `clockSocket` is the path of the
    // daemon's clock.
    VirtualTime(asio::io_context& rest, const std::filesystem::path& clockSocket);

    // For all that the daemon, while it works, gets an answer from at once, and for its end.
    asio::io_context& workIo() { return work_; }

    double now() const override { return Seconds(now_).count(); }
    void after(Seconds wait, std::function<void()> action) override;

    // The daemon's wall clock jumps.
    void stepWallClock(Seconds step);

    struct World {
        std::function<bool()> daemonRuns;
        std::function<bool()> daemonHeld;  // a device it asked lets it wait for a later time
        std::function<bool()> done;        // asked whenever the daemon waits
    };
    // Lets time pass until all is done, at most until `end`, everything of that moment included;
    // whether it is done. Throws std::runtime_error when the daemon works for ten minutes of real
    // time without a wait.
    bool run(const World& world, Time end);
    // From within workIo(): ends run() at once, with what is done by then, and every later one.
    void stop() { stopped_ = true; }
    Time time() const { return now_; }

  private:
    void letDaemonWork(const World& world);
    bool handleAll();
    bool doDue();
    void moveTo(Time time);

    asio::io_context& rest_;
    asio::io_context work_;
    ClockServer clock_;
    Time now_{};
    Time wall_;  // at now_ == 0
    std::multimap<Time, std::function<void()>> due_;
    bool stopped_ = false;
    bool changed_ = false;  // something was handled since the daemon was last told the time
};

}  // namespace enclab
