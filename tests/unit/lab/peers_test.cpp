// SPDX-License-Identifier: Apache-2.0
// Framing, the switch and the link to the daemon, on real sockets and a schedule that moves by
// hand. What the other peers do with the daemon's messages the scenarios check.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>
#include <filesystem>

#include "lab/peers/daemon_link.h"
#include "tests/unit/lab/random.h"

namespace enclab {
namespace {

using Socket = asio::local::stream_protocol::socket;
using Seconds = Schedule::Seconds;

constexpr std::uint8_t kDaemon = 33, kEnvironment = 26, kVolumes = 20;

void append(Bytes& all, const Bytes& bytes) {
    all.insert(all.end(), bytes.begin(), bytes.end());
}

// A message filled at random.
Message someMessage(std::initializer_list<std::uint8_t> recipients,
                    std::size_t length = 64 + numbers() % 200) {
    Bytes bytes = Message::make(12, 1, kDaemon, length).bytes();
    std::ranges::generate(bytes.begin() + 28, bytes.end(), [] { return byteOf(numbers()); });
    Message message(bytes);
    std::ranges::for_each(recipients, [&](auto endpoint) { message.addRecipient(endpoint); });
    return message;
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
    asio::io_context io;
    HandSchedule schedule;
    std::filesystem::path directory =
        std::filesystem::temp_directory_path() / fmt::format("peers-{}", getpid());
    MessageSwitch theSwitch{io, directory};
    DaemonLink link{theSwitch, schedule};
    Socket daemon{io};
};

TEST_F(PeersTest, TheSwitchCutsAndRoutesAnyStreamAndBadClientsCostNobodyElse) {
    Socket first = connect(kEnvironment), good = connect(kEnvironment), deaf = connect(kVolumes);
    for (int step = 0; step < 100; ++step) {
        Bytes stream;
        for (int n = below(4); n >= 0; --n) {
            const std::size_t length = below(9) == 0 ? 4064 : 64 + numbers() % 99;
            append(stream, someMessage({kEnvironment, 5}, length).bytes());
        }
        for (std::size_t at = 0, piece = 0; at < stream.size(); at += piece) {
            piece = std::min(stream.size() - at, 1 + numbers() % 300);
            write(good, Bytes(&stream[at], &stream[at] + piece));
        }
        ASSERT_TRUE(take(first) == stream && take(good) == stream) << "step " << step;
        ASSERT_EQ(take(daemon).size() + take(deaf).size(), 0U);
    }
    for (const unsigned length : {0, 63, 4065, 65535}) {
        Bytes bytes(64);
        bytes[10] = byteOf(length >> 8);
        bytes[11] = byteOf(length);
        Socket garbage = connect(kVolumes);
        write(garbage, bytes);
    }
    EXPECT_EQ(theSwitch.brokenStreams(), 4U);
    const auto lost = theSwitch.undelivered();  // nobody's endpoint
    for (int n = 0; n < 600; ++n) {
        write(daemon, someMessage({kEnvironment, kVolumes}, 4064).bytes());
        ASSERT_EQ(take(good).size(), 4064U);
    }
    EXPECT_GT(theSwitch.undelivered(), lost) << "what a deaf one alone was to get";
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
        } else if (act < 20) {
            const Message message = someMessage({kDaemon});
            append(held, message.bytes());
            theSwitch.route(kEnvironment, message);
            ++messages >= glue ? pass() : void();
        }
        if (below(50) == 0) {  // a restarted daemon gets no rest
            daemon = connect(kDaemon);
            due.clear();
        }
        schedule.doDue();
        ASSERT_EQ(take(daemon), due[schedule.ms]) << "step " << step;
        ++schedule.ms;
    }
}

}  // namespace
}  // namespace enclab
