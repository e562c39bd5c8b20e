// SPDX-License-Identifier: Apache-2.0
// The peers on real sockets and a schedule that moves by hand: framing, switch, the link to the
// daemon, start-up process and event manager, and what lines no scenario expects read like.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>
#include <filesystem>

#include "lab/peers/daemon_link.h"
#include "lab/peers/event_manager.h"
#include "lab/peers/startup_process.h"
#include "tests/support/hex.h"
#include "tests/support/script.h"
#include "tests/unit/lab/random.h"

namespace enclab {
namespace {

using Socket = asio::local::stream_protocol::socket;
using Seconds = Schedule::Seconds;

constexpr std::uint8_t kDaemon = 33, kEnvironment = 26, kVolumes = 20;

// A length and "OFFSET:BYTES" put into a header from the adapter.
Bytes typed(const Words& words) {
    Bytes bytes(words.u32(0));
    const auto put = [&bytes](std::size_t at, const Bytes& piece) {
        std::ranges::copy(piece, bytes.begin() + static_cast<std::ptrdiff_t>(at));
    };
    put(8, {14, 1, byteOf(bytes.size() >> 8), byteOf(bytes.size()), 0, 0, 0, 0, kDaemon});
    for (std::size_t n = 1; n < words.all.size(); ++n) {
        put(std::stoul(words[n]), hexBytes(words[n].substr(words[n].find(':') + 1)));
    }
    return bytes;
}

// Some of what no scenario expects; a line comes out for every command, page and length.
TEST(Describe, SaysWhatAMessageHoldsWhateverItClaims) {
    const std::pair<const char*, const char*> rows[] = {
        {"64 12:0C00000E 16:1240 36:00000002", "answer  start-up process: REJECTED"},
        {"360 12:08000001 211:01 215:0A 216:07 228:0000000200000002 272:00000009 "
         "280:40140000000000004028800000000000 296:23280BB8 312:001EFFFF",
         "event   statistics: information, enclosure W83792AD, 5.00 V, 12.25 V, fans 9000 3000 "
         "RPM, temperatures 30 -1 degrees"},
        {"92 12:1200001D 17:401A 64:02E00050 81:2400",
         "reply   to environment manager: CHECK CONDITION, key 5, code 0x24/0x00, 92 bytes, "
         "handle 0"},
        {"64 12:1200001C 17:40 24:00000002",
         "broken  protocol 18, type 28, from adapter, recipients 0x00000000 0x00000002, return "
         "code 0, 64 bytes, handle 0"}};
    for (const auto& [words, line] : rows) {
        EXPECT_EQ(describe(Message(typed(Words(words)))), line);
    }
    for (int n = 0; n < 5000; ++n) {
        Bytes bytes(64 + numbers() % 40, byteOf(numbers()));
        bytes[12] = Bytes{8, 12, 13, 18}[numbers() % 4];
        bytes[15] = byteOf(numbers() % 32);
        EXPECT_FALSE(describe(Message(bytes)).empty());
    }
}

// A message filled at random.
Message someMessage(std::initializer_list<std::uint8_t> recipients,
                    std::size_t length = 64 + numbers() % 200) {
    Bytes bytes = typed(Words(std::to_string(length)));
    std::ranges::generate(bytes.begin() + 28, bytes.end(), [] { return byteOf(numbers()); });
    Message message(bytes);
    std::ranges::for_each(recipients, [&](auto endpoint) { message.addRecipient(endpoint); });
    return message;
}
void append(Bytes& all, const Bytes& bytes) {
    all.insert(all.end(), bytes.begin(), bytes.end());
}

TEST(Framer, CutsMessagesWhereverTheStreamIsSplitUpToALengthNoneHas) {
    for (int world = 0; world < 200; ++world) {
        const unsigned bad = std::vector{0U, 63U, 4065U, 65535U}[numbers() % 4];
        Framer framer;
        Bytes stream, sent, cut;
        for (int n = below(6); n > 0; --n) {
            append(sent, someMessage({}, below(9) == 0 ? 4064 : 64 + numbers() % 99).bytes());
        }
        append(stream, sent);
        append(stream, someMessage({}).bytes());
        stream[sent.size() + 10] = byteOf(bad >> 8);
        stream[sent.size() + 11] = byteOf(bad);
        for (std::size_t at = 0, piece = 0; at < stream.size(); at += piece) {
            piece = std::min(stream.size() - at, 1 + numbers() % 300);
            framer.append(std::span(stream).subspan(at, piece));
            while (auto message = framer.next()) {
                ASSERT_EQ(message->bytes().size(), message->header().mmsg_length);
                append(cut, message->bytes());
            }
        }
        ASSERT_EQ(cut, sent) << "world " << world;
        ASSERT_TRUE(framer.broken()) << bad;
    }
}

class HandSchedule : public Schedule {
  public:
    double now() const override { return static_cast<double>(ms) / 1000; }
    void after(Seconds wait, std::function<void()> action) override {
        due_.emplace(ms + std::llround(wait.count() * 1000), std::move(action));
    }
    void doDue() {
        while (!due_.empty() && due_.begin()->first <= ms) {
            due_.extract(due_.begin()).mapped()();
        }
    }
    long long ms = 0;

  private:
    std::multimap<long long, std::function<void()>> due_;
};

class PeersTest : public testing::Test {
  protected:
    PeersTest() {
        std::filesystem::create_directories(directory);
        for (const std::uint8_t endpoint : {kDaemon, kEnvironment, kVolumes}) {
            theSwitch.listen(endpoint, std::to_string(endpoint));
        }
        daemon = connect(kDaemon);
    }
    ~PeersTest() override { std::filesystem::remove_all(directory); }

    void settle() {
        do {
            io.restart();
        } while (io.poll() > 0);
    }
    Socket connect(int endpoint) {
        Socket socket(io);
        socket.connect((directory / std::to_string(endpoint)).string());
        settle();
        return socket;
    }
    void write(Socket& socket, const Bytes& bytes) {
        asio::write(socket, asio::buffer(bytes));
        settle();
    }
    Bytes take(Socket& socket) {
        settle();
        Bytes bytes(socket.available());
        asio::read(socket, asio::buffer(bytes));
        return bytes;
    }
    // A request of the daemon; the return code of the answer, 0 when there is none.
    int ask(const std::string& request) {
        write(daemon, typed(Words("64 20:00040000 " + request)));
        schedule.doDue();
        const Bytes answer = take(daemon);
        return answer.empty() ? 0 : answer.at(39);
    }

    asio::io_context io;
    HandSchedule schedule;
    std::filesystem::path directory =
        std::filesystem::temp_directory_path() / fmt::format("peers-{}", getpid());
    MessageSwitch theSwitch{io, directory};
    DaemonLink link{theSwitch, schedule};
    StartupProcess startup{theSwitch, schedule};
    EventManager events{theSwitch, schedule};
    Socket daemon{io};
};

TEST_F(PeersTest, TheSwitchRoutesByTheMapAndBadClientsCostNobodyElse) {
    Socket first = connect(kEnvironment), good = connect(kEnvironment);
    Socket deaf = connect(kEnvironment), alone = connect(kVolumes), garbage = connect(kVolumes);
    for (int step = 0; step < 100; ++step) {
        const Message message = someMessage({kEnvironment, kVolumes, 63});
        const auto middle = message.bytes().begin() + below(int(message.bytes().size()));
        write(good, Bytes(message.bytes().begin(), middle));
        write(good, Bytes(middle, message.bytes().end()));
        ASSERT_TRUE(take(first) == message.bytes() && take(good) == message.bytes()) << step;
        ASSERT_EQ(take(daemon).size(), 0U);
        ASSERT_EQ(take(alone), message.bytes());
    }
    EXPECT_EQ(link.floodAnswered(), 100U) << "the endpoint of the link";
    write(garbage, Bytes(64, 0xFF));
    write(first, Bytes(70, 1));  // half a message
    for (int n = 0; n < 600; ++n) {
        write(daemon, someMessage({kEnvironment, kVolumes}, 4064).bytes());
        ASSERT_EQ(take(good).size(), 4064U);
    }
    EXPECT_GT(theSwitch.undelivered(), 0U) << "what a deaf one alone was to get";
    EXPECT_EQ(theSwitch.brokenStreams(), 1U);
    EXPECT_EQ(theSwitch.connections(kVolumes), 1U);
}

// Random manners over random messages: what comes when, to the byte.
TEST_F(PeersTest, TheLinkDelaysSplitsAndGluesAndNothingOvertakes) {
    Bytes held;
    std::size_t messages = 0, split = 0, glue = 1;
    int delay = 0, pause = 0;
    long long last = 0;  // when the newest piece is due
    std::map<long long, Bytes> due;
    const auto pass = [&] {
        messages = 0;
        const Bytes all = std::exchange(held, {});
        last = std::max(last, schedule.ms + delay);
        const bool whole = split == 0 || split >= all.size();
        const auto middle = whole ? all.end() : all.begin() + std::ptrdiff_t(split);
        append(due[last], Bytes(all.begin(), middle));
        last += whole ? 0 : pause;
        append(due[last], Bytes(middle, all.end()));
    };
    for (int step = 0; step < 3000; ++step) {
        const int act = below(40);
        if (act < 2) {
            link.delay(Seconds((delay = below(30)) / 1000.0));
        } else if (act < 4) {
            link.split(split = numbers() % 300, Seconds((pause = below(30)) / 1000.0));
        } else if (act < 6) {
            link.glue(glue = 1 + numbers() % 3);
            messages >= glue ? pass() : void();
        } else if (act == 6) {
            link.plain();
            delay = 0, split = 0, glue = 1;
            messages > 0 ? pass() : void();
        } else if (act < 20) {
            const Message message = someMessage({kDaemon});
            append(held, message.bytes());
            theSwitch.route(kEnvironment, message);
            ++messages >= glue ? pass() : void();
        }
        schedule.doDue();
        ASSERT_EQ(take(daemon), due[schedule.ms]) << "step " << step;
        ++schedule.ms;
    }
    link.flood(100, Seconds(0.03));
    schedule.ms += 20;
    schedule.doDue();
    ask("12:1200001C 17:40 20:00000000 24:80000000");
    link.delay(Seconds(0.04));
    link.split(17, Seconds(0.1));
    link.glue(2);
    EXPECT_EQ(link.describe(), "delay 40 ms, split at 17, glue 2, flood 3 sent, 1 answered");
}

TEST_F(PeersTest, ARestartedDaemonGetsNoRest) {
    link.delay(Seconds(0.04));
    theSwitch.route(kEnvironment, someMessage({kDaemon}));
    daemon = connect(kDaemon);
    schedule.ms += 200;
    schedule.doDue();
    EXPECT_EQ(take(daemon).size(), 0U);
}

// Everything is noted, whatever is answered; a shutdown that is refused is rejected, too.
TEST_F(PeersTest, TheStartUpProcessNotesAllAndAnswersAsItIsTold) {
    int off = 0;
    startup.onPowerOff([&] { ++off; });
    for (int n = 1; n <= 9; ++n, schedule.ms += 300) {
        const int code = n % 3, way = n / 4;  // no answer, OK, rejected; ignore, perform, refuse
        startup.setAnswer(static_cast<StartupAnswer>((code + 2) % 3));
        startup.setShutdown(static_cast<ShutdownWay>(way));
        const int lit = n & 1, before = off;
        EXPECT_EQ(ask("12:0C000001"), code);
        EXPECT_EQ(ask("12:0C000010"), code);
        EXPECT_EQ(ask(lit != 0 ? "12:0C00000E 44:0000000200000002" : "12:0C00000E 47:02"), code);
        EXPECT_EQ(ask("12:0C00000E 44:0000000100000003"), code) << "another LED";
        EXPECT_EQ(ask("12:0D000001"), way == 2 && code == 1 ? 2 : code);
        EXPECT_EQ(ask("12:0D000001 17:40"), 0) << "an answer is not answered";
        EXPECT_EQ(startup.compositeLedLit(), lit);
        EXPECT_EQ(off - before, way == 1);
        EXPECT_EQ(startup.initCompletes() + startup.mails() + startup.shutdownRequests(), 3 * n);
    }
    EXPECT_EQ(startup.mailbox().substr(0, 44), "9 mails\n      0.0\n      0.3  0.3 s later\n   ");
}

// Of too many groups, the one not seen longest is forgotten.
TEST_F(PeersTest, TheEventManagerGroupsWhatSaysTheSame) {
    for (unsigned n = 0; n <= EventManager::kGroupsMax + 1; ++n) {
        const unsigned fans = n == 2 ? 0 : n;  // the first comes again
        write(daemon,
              typed(Words(fmt::format("360 12:08000001 20:08 211:02 215:07 228:{:08X}", fans))));
        schedule.ms += 100;
    }
    EXPECT_EQ(events.list().substr(0, 157),
              "   2 x       0.0 to 0.2  fan fault status: warning, fans 0, failed 0x00 (none)\n"
              "   1 x       0.3 to 0.3  fan fault status: warning, fans 3, failed 0x00 (none)");
    EXPECT_EQ(events.count(7), int(EventManager::kGroupsMax) + 2);
}

}  // namespace
}  // namespace enclab
