// SPDX-License-Identifier: Apache-2.0
// Peers that misbehave, and what they note, on a schedule that moves by hand, as
// scripts/peers_trouble.txt types it.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>
#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>

#include <filesystem>
#include <map>

#include "lab/peers/daemon_link.h"
#include "lab/peers/event_manager.h"
#include "lab/peers/startup_process.h"
#include "tests/support/script.h"

namespace enclab {
namespace {

using Socket = asio::local::stream_protocol::socket;

class HandSchedule : public Schedule {
  public:
    double now() const override { return static_cast<double>(now_) / 1000; }
    void after(Seconds wait, std::function<void()> action) override {
        due_.emplace(now_ + std::llround(wait.count() * 1000), std::move(action));
    }
    void passMillisecond() {
        ++now_;
        doDue();
    }
    void doDue() {
        while (!due_.empty() && due_.begin()->first <= now_) {
            due_.extract(due_.begin()).mapped()();
        }
    }

  private:
    long long now_ = 0;
    std::multimap<long long, std::function<void()>> due_;
};

class TroublePlayer : public Player {
  public:
    TroublePlayer() {
        std::filesystem::create_directories(directory_);
        switch_.listen(33, "daemon");
        startup_.onPowerOff([this] { say("power off"); });
        connect();
        linkCommands();
        peerCommands();
    }
    ~TroublePlayer() override { std::filesystem::remove_all(directory_); }

  private:
    void linkCommands() {
        commands["delay"] = [this](const Words& w) { link_.delay(milliseconds(w.number(1))); };
        commands["split"] = [this](const Words& w) {
            link_.split(static_cast<std::size_t>(w.number(1)), milliseconds(w.number(2)));
        };
        commands["glue"] = [this](const Words& w) { link_.glue(w.u32(1)); };
        commands["plain"] = [this](const Words&) { link_.plain(); };
        commands["die"] = [this](const Words& w) { link_.dieAfter(w.u32(1)); };
        commands["flood"] = [this](const Words& w) {
            w.number(2) == 0 ? link_.flood(w.u32(1))
                             : link_.flood(w.number(1), milliseconds(w.number(2)));
        };
        commands["link"] = [this](const Words&) { say(link_.describe()); };
        commands["open"] = [this](const Words&) { switch_.open(33); };
        commands["connect"] = [this](const Words&) { connect(); };
        commands["send"] = [this](const Words& w) {
            switch_.route(26, Message(message(18, 28, 33, w.u32(1))));
        };
        commands["arrivals"] = [this](const Words&) { say(arrivals()); };
        commands["bytes"] = [this](const Words& w) { say(hexText(take()).substr(w.u32(1))); };
    }
    void peerCommands() {
        commands["startup"] = [this](const Words& w) {
            startup_.setAnswer(static_cast<StartupAnswer>(w.number(1)));
        };
        commands["shutdown"] = [this](const Words& w) {
            startup_.setShutdown(static_cast<ShutdownWay>(w.number(1)));
        };
        commands["ask"] = [this](const Words& w) { ask(w); };
        commands["noted"] = [this](const Words&) {
            say("LED ", startup_.compositeLedLit() ? "lit" : "off", ", ", startup_.ledRequests(),
                " requests, ", startup_.shutdownRequests(), " shutdowns");
            say(startup_.mailbox());
        };
        commands["event"] = [this](const Words& w) {
            Bytes event = message(8, 1, 27, 360);
            event[211] = 2;
            event[215] = w.u8(1);
            asio::write(daemon_, asio::buffer(event));
            settle();
        };
        commands["events"] = [this](const Words& w) {
            say(events_.list());
            say(events_.count(w.u16(1)), " of id ", w.u16(1));
        };
    }

    static DaemonLink::Seconds milliseconds(int count) { return DaemonLink::Seconds(count) / 1000; }
    static std::string hexText(const Bytes& bytes) {
        return fmt::format("{:02x}", fmt::join(bytes, ""));
    }
    // From the daemon to a peer, or from a client to the daemon.
    static Bytes message(std::uint8_t protocol, std::uint8_t type, std::uint8_t to,
                         std::size_t length = 64) {
        Message made = Message::make(protocol, type, to == 33 ? 26 : 33, length);
        made.addRecipient(to);
        return made.bytes();
    }
    void connect() {
        daemon_ = Socket(io_);
        daemon_.connect((directory_ / "daemon").string());
        settle();
    }
    void settle() {
        do {
            io_.restart();
        } while (io_.poll() > 0);
    }
    Bytes take() {
        settle();
        Bytes bytes(daemon_.available());
        asio::read(daemon_, asio::buffer(bytes));
        return bytes;
    }
    // "at:bytes" for each of 300 ms with any.
    std::string arrivals() {
        std::string text;
        for (int ms = 0; ms < 300; ++ms) {
            schedule_.doDue();
            const std::size_t size = take().size();
            text += size > 0 ? fmt::format("{}{}:{}", text.empty() ? "" : " ", ms, size) : "";
            schedule_.passMillisecond();
        }
        return switch_.connections(33) == 0 ? text + " closed" : text.empty() ? "nothing" : text;
    }
    void ask(const Words& words) {
        Bytes request = message(words.u8(2), words.u8(3), words.u8(1));
        request[47] = words.u8(4);
        request[51] = words.u8(5);
        asio::write(daemon_, asio::buffer(request));
        settle();
        schedule_.doDue();
        const Bytes answer = take();
        say(answer.empty() ? "no answer" : fmt::format("answer {}", answer.at(39)));
    }

    asio::io_context io_;
    HandSchedule schedule_;
    std::filesystem::path directory_ =
        std::filesystem::temp_directory_path() / fmt::format("trouble-{}", getpid());
    MessageSwitch switch_{io_, directory_};
    DaemonLink link_{switch_, schedule_};
    StartupProcess startup_{switch_, schedule_};
    EventManager events_{switch_, schedule_};
    Socket daemon_{io_};
};

TEST(Peers, InTroubleDoWhatTheyAreTold) {
    scriptPlay<TroublePlayer>(SCRIPTS "/peers_trouble.txt");
}

}  // namespace
}  // namespace enclab
