// SPDX-License-Identifier: Apache-2.0
// Peers that misbehave, and what they note, on a schedule that moves by hand: what the daemon gets
// at which millisecond.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "lab/peers/daemon_link.h"
#include "lab/peers/event_manager.h"
#include "lab/peers/startup_process.h"

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

class PeersInTrouble : public testing::Test {
  protected:
    PeersInTrouble() {
        std::filesystem::create_directories(directory_);
        switch_.listen(33, "daemon");
        connect();
    }
    ~PeersInTrouble() override { std::filesystem::remove_all(directory_); }

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
    // What comes to the daemon within 300 ms: "at:bytes" for each millisecond with any, "closed".
    std::string arrivals() {
        std::string text;
        for (int ms = 0; ms < 300; ++ms) {
            schedule_.doDue();
            const std::size_t size = take().size();
            text += size > 0 ? fmt::format("{}{}:{}", text.empty() ? "" : " ", ms, size) : "";
            schedule_.passMillisecond();
        }
        return text + (switch_.connections(33) == 0 ? " closed" : "");
    }
    // From the daemon to a peer, or from a client to the daemon.
    static Bytes message(std::uint8_t protocol, std::uint8_t type, std::uint8_t to,
                         std::size_t length = 64) {
        Message made = Message::make(protocol, type, to == 33 ? 26 : 33, length);
        made.addRecipient(to);
        return made.bytes();
    }
    void toDaemon(std::size_t length) { switch_.route(26, Message(message(18, 28, 33, length))); }
    // The daemon sends; the return code of the answer, -1 when none comes.
    int ask(const Bytes& request) {
        asio::write(daemon_, asio::buffer(request));
        settle();
        schedule_.doDue();
        const Bytes answer = take();
        return answer.empty() ? -1 : answer.at(39);
    }

    asio::io_context io_;
    HandSchedule schedule_;
    std::filesystem::path directory_ =
        std::filesystem::temp_directory_path() / fmt::format("trouble-{}", getpid());
    MessageSwitch switch_{io_, directory_};
    DaemonLink link_{switch_, schedule_};
    Socket daemon_{io_};
};

struct LinkCase {
    const char* what;
    std::function<void(DaemonLink&)> before;  // one message of 64 bytes and one of 72
    std::function<void(DaemonLink&)> behind;
    const char* arrivals;
};

TEST_F(PeersInTrouble, TheLinkDelaysSplitsGluesAndCuts) {
    using std::chrono::milliseconds;
    const auto nothing = [](DaemonLink&) {};
    const LinkCase cases[] = {
        {"as it is", nothing, nothing, "0:136"},
        {"late", [](auto& link) { link.delay(milliseconds(50)); }, nothing, "50:136"},
        {"no overtaking", [](auto& link) { link.delay(milliseconds(50)); },
         [&](auto& link) { link.plain(), toDaemon(80); }, "50:216"},
        {"split", [](auto& link) { link.split(17, milliseconds(100)); }, nothing,
         "0:17 100:64 200:55"},
        {"split behind the first message", [](auto& link) { link.split(64, milliseconds(9)); },
         nothing, "0:128 9:8"},
        {"two at once", [](auto& link) { link.glue(2), link.split(70, milliseconds(9)); }, nothing,
         "0:70 9:66"},
        {"held back", [](auto& link) { link.glue(3); }, nothing, ""},
        {"no longer held back", nothing, [](auto& link) { link.plain(); }, "0:272"},
        {"dies in the first", [](auto& link) { link.dieAfter(10); }, nothing, "0:10 closed"},
        {"dies before it", [](auto& link) { link.dieAfter(0); }, nothing, " closed"},
        {"dies late", [](auto& link) { link.delay(milliseconds(5)), link.dieAfter(99); }, nothing,
         "5:64 closed"},
    };
    for (const LinkCase& row : cases) {
        if (std::string(row.what) != "no longer held back") {
            link_.plain();
            take();
        }
        row.before(link_);
        toDaemon(64);
        toDaemon(72);
        row.behind(link_);
        EXPECT_EQ(arrivals(), row.arrivals) << row.what;
        switch_.open(33);
        connect();
    }
}

TEST_F(PeersInTrouble, ARestartedDaemonGetsNoRestOfAMessage) {
    link_.split(17, std::chrono::milliseconds(100));
    toDaemon(64);
    EXPECT_EQ(take().size(), 17u);
    connect();
    EXPECT_EQ(arrivals(), "");
    link_.plain();
    toDaemon(64);
    EXPECT_EQ(arrivals(), "0:64");
}

TEST_F(PeersInTrouble, AFloodAsksForTheStatusPage) {
    link_.flood(2);
    const Bytes both = take();
    ASSERT_EQ(both.size(), 144u);
    EXPECT_EQ(Bytes(both.begin() + 136, both.end()), (Bytes{28, 0x80, 2, 0, 0x0F, 0xA0, 0, 0}));
    EXPECT_EQ(Bytes(both.begin() + 112, both.begin() + 116), (Bytes{0, 0x0F, 0x42, 0x41}));
    EXPECT_EQ(ask(message(18, 28, 63, 80)), -1);
    EXPECT_EQ(link_.floodAnswered(), 1u);
    link_.flood(100, std::chrono::milliseconds(30));
    EXPECT_EQ(arrivals(), "0:72 10:72 20:72");
    EXPECT_EQ(link_.describe(), "plain, flood 5 sent, 1 answered");
}

TEST_F(PeersInTrouble, TheStartupProcessNotesAndAnswersAsItIsTold) {
    StartupProcess startup(switch_, schedule_);
    int powerOffs = 0;
    startup.onPowerOff([&] { ++powerOffs; });
    const Bytes mail = message(12, 16, 18);
    const Bytes shutdown = message(13, 1, 18);
    EXPECT_EQ(ask(mail), 1);
    EXPECT_EQ(ask(shutdown), 1);
    EXPECT_EQ(powerOffs, 0) << "ignored at first";
    startup.setShutdown(ShutdownWay::kRefuse);
    EXPECT_EQ(ask(shutdown), 2);
    EXPECT_EQ(ask(message(12, 1, 18)), 1) << "refuses nothing else";
    EXPECT_EQ(powerOffs, 0);
    startup.setShutdown(ShutdownWay::kPerform);
    EXPECT_EQ(ask(shutdown), 1);
    EXPECT_EQ(powerOffs, 1);
    arrivals();
    startup.setAnswer(StartupAnswer::kRejected);
    EXPECT_EQ(ask(mail), 2);
    startup.setAnswer(StartupAnswer::kNone);
    Bytes led = message(12, 14, 18);
    led[47] = led[51] = 2;
    EXPECT_EQ(ask(led), -1);
    EXPECT_TRUE(startup.compositeLedLit());
    led[47] = led[51] = 1;
    ask(led);
    EXPECT_TRUE(startup.compositeLedLit()) << "another LED";
    led[47] = 2;
    ask(led);
    EXPECT_FALSE(startup.compositeLedLit());
    EXPECT_EQ(startup.ledRequests(), 3);
    EXPECT_EQ(startup.shutdownRequests(), 3);
    EXPECT_EQ(startup.mailbox(), "2 mails\n      0.0\n      0.3  0.3 s later");
}

TEST_F(PeersInTrouble, TheEventManagerGroupsWhatSaysTheSame) {
    EventManager events(switch_, schedule_);
    Bytes event = message(8, 1, 27, 360);
    const auto send = [&](std::uint8_t id) {
        event[211] = 2;
        event[215] = id;
        asio::write(daemon_, asio::buffer(event));
        arrivals();
    };
    send(7);
    send(10);
    send(7);
    EXPECT_EQ(events.count(7), 2);
    EXPECT_EQ(events.count(10), 1);
    EXPECT_EQ(events.count(8), 0);
    ASSERT_EQ(events.groups().size(), 2u);
    EXPECT_EQ(events.groups()[0].count, 2);
    EXPECT_EQ(events.groups()[0].last, 0.6);
    EXPECT_EQ(events.list(),
              "   2 x       0.0 to 0.6  fan fault status: warning, fans 0, failed 0x00 (none)\n"
              "   1 x       0.3 to 0.3  information 0: warning, enclosure 0, argument 0x0");
}

}  // namespace
}  // namespace enclab
