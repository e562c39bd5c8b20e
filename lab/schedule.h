// SPDX-License-Identifier: Apache-2.0
// Lab time, and what is to happen at a later point of it. All that the lab does by itself after a
// while goes through the schedule of the lab, so that it keeps pace with the daemon's time.
#pragma once

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <utility>

namespace enclab {

class Schedule {
  public:
    using Seconds = std::chrono::duration<double>;

    virtual ~Schedule() = default;
    // Lab time: the daemon's seconds since the lab was made.
    virtual double now() const = 0;
    // Calls `action` once, from the loop, `wait` of lab time from now. Actions of the same time
    // come in the order in which they were asked for. There is no taking back: an action looks
    // whether it is still wanted.
    virtual void after(Seconds wait, std::function<void()> action) = 0;
};

// Real seconds times a speed.
class RealSchedule : public Schedule {
  public:
    RealSchedule(asio::io_context& io, unsigned speed) : io_(io), speed_(speed) {}

    double now() const override {
        return Seconds(std::chrono::steady_clock::now() - start_).count() * speed_;
    }
    void after(Seconds wait, std::function<void()> action) override {
        const auto real = std::chrono::duration_cast<std::chrono::nanoseconds>(wait / speed_);
        const auto timer = std::make_shared<asio::steady_timer>(io_, real);
        timer->async_wait([timer, action = std::move(action)](const asio::error_code& error) {
            if (!error) {
                action();
            }
        });
    }

  private:
    asio::io_context& io_;
    double speed_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace enclab
