// SPDX-License-Identifier: Apache-2.0
// The peers on real sockets and a schedule that moves by hand: what messages are described by
// (scripts/describe.txt), the framing of streams, the switch, the link to the daemon, the start-up
// process and the event manager.
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
constexpr std::uint64_t kToDaemon = std::uint64_t{1} << kDaemon;

// Length and "OFFSET:BYTES" put into a header from the adapter; "event ID TYPE" is an event record,
// offsets counted in its data.
Bytes typed(const Words& words) {
    const bool isEvent = words[0] == "event";
    Bytes bytes(isEvent ? 360 : words.u32(0));
    const auto put = [&bytes](std::size_t at, const Bytes& piece) {
        std::ranges::copy(piece, bytes.begin() + static_cast<std::ptrdiff_t>(at));
    };
    put(8, hexBytes("0E01 0000 00000000 21"));
    put(10, {byteOf(bytes.size() >> 8), byteOf(bytes.size())});
    if (isEvent) {
        put(12, hexBytes("08000001 21000000 08000000"));
        put(211, {words.u8(2), 3, 1, 0, words.u8(1)});
    }
    for (std::size_t n = isEvent ? 3 : 1; n < words.all.size(); ++n) {
        put(std::stoul(words[n]) + (isEvent ? 216 : 0),
            hexBytes(words[n].substr(words[n].find(':') + 1)));
    }
    return bytes;
}

struct DescribePlayer : Player {
    DescribePlayer() {
        commands["describe"] = [this](const Words& w) {
            say(describe(Message(typed(Words(w.from(1))))));
        };
    }
};

TEST(Describe, SaysWhatAMessageHolds) {
    scriptPlay<DescribePlayer>(SCRIPTS "/describe.txt");
}

// A record may claim anything; a line comes out for every command, page and length.
TEST(Describe, SurvivesEveryLengthAndByteValue) {
    for (const std::uint8_t protocol : Bytes{8, 12, 13, 18}) {
        for (std::size_t length = 64; length < 100; ++length) {
            for (unsigned value = 0; value < 256; value += 5) {
                Bytes bytes(length, byteOf(value));
                bytes[12] = protocol;
                EXPECT_FALSE(describe(Message(bytes)).empty());
            }
        }
    }
}

// A message to the endpoints of the map, filled at random.
Bytes someMessage(std::uint64_t recipients, std::size_t length = 64 + numbers() % 200) {
    Bytes bytes = typed(Words(std::to_string(length)));
    std::ranges::generate(bytes.begin() + 28, bytes.end(), [] { return byteOf(numbers()); });
    for (std::size_t n = 0; n < 8; ++n) {  // two words, endpoint 0 last in the first
        bytes[20 + n] = byteOf(recipients >> (n < 4 ? 24 - 8 * n : 88 - 8 * n));
    }
    return bytes;
}

TEST(Framer, CutsMessagesWhereverTheStreamIsSplitUpToALengthNoneHas) {
    for (int world = 0; world < 200; ++world) {
        const auto bad = std::vector<unsigned>{0, 63, 4065, 65535}[numbers() % 4];
        Framer framer;
        Bytes stream;
        std::vector<Bytes> sent, cut;
        for (int n = below(6); n > 0; --n) {
            sent.push_back(someMessage(0, below(9) == 0 ? 4064 : 64 + numbers() % 99));
            stream.insert(stream.end(), sent.back().begin(), sent.back().end());
        }
        Bytes last = someMessage(0);
        last[10] = byteOf(bad >> 8);
        last[11] = byteOf(bad);
        stream.insert(stream.end(), last.begin(), last.end());
        for (std::size_t at = 0, piece = 0; at < stream.size(); at += piece) {
            piece = std::min(stream.size() - at, 1 + numbers() % 300);
            framer.append(std::span(stream).subspan(at, piece));
            while (auto message = framer.next()) {
                cut.push_back(message->bytes());
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
    bool closed(Socket& socket) {
        std::array<char, 1> byte;
        asio::error_code error;
        socket.non_blocking(true);
        socket.read_some(asio::buffer(byte), error);
        return error == asio::error::eof;
    }
    // A request of the daemon; the return code of the answer, 0 when there is none.
    int ask(const std::string& request) {
        write(daemon, typed(Words(request)));
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

TEST_F(PeersTest, TheSwitchRoutesByTheMapToEveryConnectionOfAnEndpoint) {
    std::vector<std::pair<int, Socket>> peers;
    for (const int endpoint : {kDaemon, kEnvironment, kEnvironment, kVolumes}) {
        peers.emplace_back(endpoint, connect(endpoint));
    }
    std::uint64_t lost = 0;
    std::vector<Bytes> expected(peers.size());
    for (int step = 0; step < 300; ++step) {
        std::uint64_t to = below(3) == 0 ? 1 << 5 : 0;  // nobody's endpoint
        lost += to != 0;
        for (const int endpoint : {kDaemon, kEnvironment, kVolumes}) {
            to |= std::uint64_t{numbers() % 2} << endpoint;
        }
        const Bytes message = someMessage(to);
        const auto middle = message.begin() + below(int(message.size()));
        Socket& from = peers[numbers() % peers.size()].second;
        write(from, Bytes(message.begin(), middle));
        write(from, Bytes(middle, message.end()));
        for (std::size_t n = 0; n < peers.size(); ++n) {
            const bool isFor = (to >> peers[n].first & 1) != 0;
            expected[n].insert(expected[n].end(), message.begin(),
                               isFor ? message.end() : message.begin());
            ASSERT_TRUE(step % 3 > 0 || take(peers[n].second) == std::exchange(expected[n], {}))
                << "connection " << n << " in step " << step;
        }
        ASSERT_EQ(theSwitch.undelivered(), lost);
    }
}

TEST_F(PeersTest, GarbageHalfAMessageOrDeafnessCostsOnlyTheClient) {
    daemon = connect(kDaemon);
    Socket garbage = connect(kEnvironment), half = connect(kEnvironment);
    Socket good = connect(kEnvironment), deaf = connect(kEnvironment), alone = connect(kVolumes);
    write(garbage, Bytes(64, 0xFF));
    EXPECT_TRUE(closed(garbage));
    write(half, someMessage(0));
    write(half, Bytes(70, 1));
    half.close();
    for (int n = 0; n < 600; ++n) {
        write(daemon, someMessage(1 << kEnvironment | 1 << kVolumes, 4064));
        ASSERT_EQ(take(good).size(), 4064U);
    }
    EXPECT_GT(theSwitch.undelivered(), 0U) << "what a deaf one alone was to get";
    EXPECT_EQ(theSwitch.brokenStreams(), 1U);
    EXPECT_EQ(theSwitch.connections(kEnvironment), 2U);
}

// Random manners over random messages: what comes when, to the byte.
TEST_F(PeersTest, TheLinkDelaysSplitsAndGluesAndNothingOvertakes) {
    daemon = connect(kDaemon);
    Bytes held;
    std::size_t messages = 0, split = 0, glue = 1;
    int delay = 0, pause = 0;
    long long last = 0;  // when the newest piece is due
    std::map<long long, Bytes> due;
    const auto put = [&](const Bytes& bytes) {
        due[last].insert(due[last].end(), bytes.begin(), bytes.end());
    };
    const auto pass = [&] {
        messages = 0;
        const Bytes all = std::exchange(held, {});
        last = std::max(last, schedule.ms + delay);
        const bool whole = split == 0 || split >= all.size();
        const auto middle = whole ? all.end() : all.begin() + std::ptrdiff_t(split);
        put(Bytes(all.begin(), middle));
        last += whole ? 0 : pause;
        put(Bytes(middle, all.end()));
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
            const Bytes message = someMessage(kToDaemon);
            held.insert(held.end(), message.begin(), message.end());
            theSwitch.route(kEnvironment, Message(message));
            ++messages >= glue ? pass() : void();
        }
        schedule.doDue();
        ASSERT_EQ(take(daemon), due[schedule.ms]) << "step " << step;
        ++schedule.ms;
    }
}

TEST_F(PeersTest, TheLinkDiesInAMessageAndARestartedDaemonGetsNoRest) {
    const Message message(someMessage(kToDaemon, 64));
    for (const std::size_t last : {0, 10, 99}) {
        theSwitch.open(kDaemon);
        daemon = connect(kDaemon);
        link.dieAfter(last);
        theSwitch.route(kEnvironment, message);
        theSwitch.route(kEnvironment, message);
        EXPECT_EQ(take(daemon).size(), std::min<std::size_t>(last, 64));
        EXPECT_TRUE(closed(daemon) && theSwitch.connections(kDaemon) == 0);
        EXPECT_THROW(connect(kDaemon), std::system_error);
    }
    theSwitch.open(kDaemon);
    daemon = connect(kDaemon);
    link.delay(Seconds(0.04));
    link.split(17, Seconds(0.1));
    theSwitch.route(kEnvironment, message);
    daemon = connect(kDaemon);
    schedule.ms += 200;
    schedule.doDue();
    EXPECT_EQ(take(daemon).size(), 0U);
    link.glue(2);
    EXPECT_EQ(link.describe(), "delay 40 ms, split at 17, glue 2");
}

TEST_F(PeersTest, AFloodAsksForTheStatusPageAndCountsItsAnswers) {
    daemon = connect(kDaemon);
    link.flood(100, Seconds(0.03));
    for (const char* const handle : {"40", "41", "42"}) {
        const std::string typedRequest = "72 12:1200001C 16:3F 24:00000002 40:000F42";
        EXPECT_EQ(hexText(take(daemon)),
                  hexText(typed(Words(typedRequest + handle + " 64:1C8002000FA0"))));
        schedule.ms += 10;
        schedule.doDue();
    }
    EXPECT_EQ(ask("64 12:1200001C 17:40 24:80000000"), 0) << "answered";
    EXPECT_EQ(link.describe(), "plain, flood 3 sent, 1 answered");
}

// Everything is noted, whatever is answered; a shutdown that is refused is rejected, too.
TEST_F(PeersTest, TheStartUpProcessNotesAllAndAnswersAsItIsTold) {
    daemon = connect(kDaemon);
    int off = 0;
    std::string mails;
    startup.onPowerOff([&] { ++off; });
    for (int n = 1; n <= 9; ++n, schedule.ms += 300) {
        const int code = n % 3, way = n / 4;  // no answer, OK, rejected; ignore, perform, refuse
        startup.setAnswer(static_cast<StartupAnswer>((code + 2) % 3));
        startup.setShutdown(static_cast<ShutdownWay>(way));
        const int lit = n & 1, before = off;
        EXPECT_EQ(ask("64 12:0C000001 20:00040000"), code);
        EXPECT_EQ(ask("64 12:0C000010 20:00040000"), code);
        EXPECT_EQ(ask(fmt::format("64 12:0C00000E 20:00040000 44:000000020000000{}", 1 + lit)),
                  code);
        EXPECT_EQ(ask("64 12:0C00000E 20:00040000 44:0000000100000003"), code) << "another LED";
        EXPECT_EQ(ask("64 12:0D000001 20:00040000"), way == 2 && code == 1 ? 2 : code);
        EXPECT_EQ(ask("64 12:0D000001 17:40 20:00040000"), 0) << "an answer is not answered";
        mails += fmt::format("\n{:9.1f}{}", schedule.now(), n == 1 ? "" : "  0.3 s later");
        EXPECT_EQ(startup.mailbox(), fmt::format("{} mail{}", n, n == 1 ? "" : "s") + mails);
        EXPECT_EQ(startup.compositeLedLit(), lit);
        EXPECT_EQ(off - before, way == 1);
        EXPECT_EQ(startup.initCompletes() + startup.mails() + startup.shutdownRequests(), 3 * n);
        EXPECT_EQ(startup.ledRequests(), 2 * n);
    }
    startup.setAnswer(StartupAnswer::kOk);
    write(daemon, typed(Words("64 12:0C000001 20:00040000 40:01020304")));
    EXPECT_EQ(
        hexText(take(daemon)),
        hexText(typed(Words("64 12:0C000001 16:1240 18:21 24:00000002 36:00000001 40:01020304"))));
}

// Of too many groups, the one not seen longest is forgotten.
TEST_F(PeersTest, TheEventManagerGroupsWhatSaysTheSame) {
    daemon = connect(kDaemon);
    EXPECT_EQ(events.list(), "no events");
    for (unsigned n = 0; n <= EventManager::kGroupsMax + 1; ++n) {
        const unsigned fans = n == 2 ? 0 : n;  // the first comes again
        write(daemon, typed(Words(fmt::format("event 7 2 12:{:08X}", fans))));
        schedule.ms += 100;
    }
    EXPECT_EQ(events.list().substr(0, 157),
              "   2 x       0.0 to 0.2  fan fault status: warning, fans 0, failed 0x00 (none)\n"
              "   1 x       0.3 to 0.3  fan fault status: warning, fans 3, failed 0x00 (none)");
    EXPECT_EQ(events.groups().size(), EventManager::kGroupsMax);
    EXPECT_EQ(events.count(7), int(EventManager::kGroupsMax) + 2);
    EXPECT_EQ(events.count(8), 0);
}

}  // namespace
}  // namespace enclab
