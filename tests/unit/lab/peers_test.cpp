// SPDX-License-Identifier: Apache-2.0
// The peers: what messages are described by (cases/describe.txt), framing, and the switch
// and the start-up process through real sockets.
#include <gtest/gtest.h>
#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>

#include <filesystem>
#include <string>

#include "lab/peers/startup_process.h"
#include "lab/peers/switch.h"
#include "tests/support/cases.h"
#include "tests/support/hex.h"

namespace enclab {
namespace {

using Local = asio::local::stream_protocol;

constexpr std::uint8_t kDaemon = 33;
constexpr std::uint8_t kEnviron = 26;

// A message as describe.txt types it.
Message typed(const std::string& text) {
    const std::vector<std::string> words = wordsOf(text);
    const bool isEvent = words[0] == "event";
    const std::size_t length = isEvent ? 360 : std::stoul(words[0]);
    Bytes bytes(length);
    const auto put = [&bytes](std::size_t at, const Bytes& piece) {
        std::copy(piece.begin(), piece.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
    };
    put(8, hexBytes("0E01 0000 00000000 21"));
    put(10, {static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length)});
    if (isEvent) {
        put(12, hexBytes("08000001 21000000 08000000"));
        put(211, {static_cast<std::uint8_t>(std::stoi(words[2])), 3, 1, 0,
                  static_cast<std::uint8_t>(std::stoi(words[1]))});
    }
    for (std::size_t n = isEvent ? 3 : 1; n < words.size(); ++n) {
        put(std::stoul(words[n]) + (isEvent ? 216 : 0),
            hexBytes(words[n].substr(words[n].find(':') + 1)));
    }
    return Message(bytes);
}

TEST(Describe, SaysWhatIsTyped) {
    std::ifstream file(CASES "/describe.txt");
    int count = 0;
    for (std::string line; std::getline(file, line);) {
        if (line[0] != '#') {
            const std::size_t bar = line.find(" | ");
            EXPECT_EQ(describe(typed(line.substr(0, bar))), line.substr(bar + 3));
            ++count;
        }
    }
    EXPECT_GT(count, 0);
}

// A record may claim anything; a line comes out for every command, page and length.
TEST(Describe, SurvivesEveryLengthAndByteValue) {
    for (const std::uint8_t protocol : Bytes{8, 12, 13, 18}) {
        for (std::size_t length = 64; length < 100; ++length) {
            for (int value = 0; value < 256; value += 5) {
                Bytes bytes(length, static_cast<std::uint8_t>(value));
                bytes[12] = protocol;
                EXPECT_FALSE(describe(Message(bytes)).empty());
            }
        }
    }
}

TEST(Framer, CutsMessagesWhereverTheStreamIsSplit) {
    const Bytes second = typed("72 71:AB").bytes();
    Bytes stream = typed("64 40:01020304").bytes();
    stream.insert(stream.end(), second.begin(), second.end());
    for (std::size_t split = 0; split <= stream.size(); ++split) {
        Framer framer;
        std::vector<Bytes> messages;
        for (const auto& part :
             {std::span(stream).first(split), std::span(stream).subspan(split)}) {
            framer.append(part);
            while (auto message = framer.next()) {
                messages.push_back(message->bytes());
            }
        }
        ASSERT_EQ(messages.size(), 2u) << "split at " << split;
        EXPECT_EQ(messages[0].size(), 64u);
        EXPECT_EQ(messages[1], second);
    }
}

TEST(Framer, StopsAtALengthNoMessageHas) {
    for (const char* const bad : {"64 10:0000", "64 10:003F", "64 10:0FE1", "64 10:FFFF"}) {
        Framer framer;
        framer.append(typed("64").bytes());
        framer.append(typed(bad).bytes());
        framer.append(typed("64").bytes());
        EXPECT_TRUE(framer.next().has_value());
        EXPECT_FALSE(framer.next().has_value());
        EXPECT_TRUE(framer.broken()) << bad;
    }
}

class SwitchTest : public testing::Test {
  protected:
    SwitchTest() {
        std::string name = (std::filesystem::temp_directory_path() / "switch-XXXXXX").string();
        directory_ = mkdtemp(name.data());
        switch_ = std::make_unique<MessageSwitch>(io_, directory_);
        switch_->listen(kDaemon, "esadapter");
        switch_->listen(kEnviron, "environ");
        switch_->listen(20, "volmgr");
    }
    ~SwitchTest() override {
        switch_.reset();
        EXPECT_TRUE(std::filesystem::is_empty(directory_)) << "the socket files go with it";
        std::filesystem::remove_all(directory_);
    }

    Local::socket connect(const std::string& name) {
        Local::socket socket(io_);
        socket.connect(Local::endpoint((directory_ / name).string()));
        settle();
        return socket;
    }
    // Lets everything happen that is due; local sockets deliver at once.
    void settle() {
        do {
            io_.restart();
        } while (io_.poll() > 0);
    }
    Bytes take(Local::socket& socket) {
        settle();
        Bytes bytes(socket.available());
        asio::read(socket, asio::buffer(bytes));
        return bytes;
    }
    static void send(Local::socket& socket, const Bytes& bytes) {
        asio::write(socket, asio::buffer(bytes));
    }

    const Bytes request_ = typed("72 12:1200001C 16:1A 24:00000002").bytes();
    const Bytes reply_ = typed("72 12:1200001C 20:04").bytes();  // to endpoint 26
    asio::io_context io_;
    std::filesystem::path directory_;
    std::unique_ptr<MessageSwitch> switch_;
};

TEST_F(SwitchTest, RoutesByTheRecipientMapToEveryConnectionOfTheEndpoint) {
    auto daemon = connect("esadapter");
    auto first = connect("environ");
    auto second = connect("environ");
    auto volumeManager = connect("volmgr");
    send(first, request_);
    EXPECT_EQ(take(daemon), request_);
    EXPECT_TRUE(take(second).empty());
    send(daemon, reply_);
    EXPECT_EQ(take(first), reply_);
    EXPECT_EQ(take(second), reply_);
    EXPECT_TRUE(take(volumeManager).empty());
    EXPECT_EQ(switch_->undelivered(), 0u);
    send(daemon, typed("64 20:00000020").bytes());
    settle();
    EXPECT_EQ(switch_->undelivered(), 1u);
    const Bytes self = typed("64 24:00000002").bytes();
    send(daemon, self);
    EXPECT_EQ(take(daemon), self) << "the sender itself";
    switch_->sendRaw(kDaemon, Bytes{1, 2, 3});
    EXPECT_EQ(take(daemon), (Bytes{1, 2, 3}));
    EXPECT_THROW(switch_->sendRaw(5, Bytes{1}), std::invalid_argument);
}

TEST_F(SwitchTest, GarbageHalfAMessageOrDeafnessCostsOnlyTheClient) {
    auto daemon = connect("esadapter");
    auto garbage = connect("environ");
    auto half = connect("environ");
    auto good = connect("environ");
    send(garbage, Bytes(64, 0xFF));
    send(half, Bytes(request_.begin(), request_.begin() + 70));
    settle();
    EXPECT_EQ(switch_->brokenStreams(), 1u);
    EXPECT_EQ(switch_->connections(kEnviron), 2u);
    half.close();
    send(good, request_);
    EXPECT_EQ(take(daemon), request_);
    EXPECT_EQ(switch_->connections(kEnviron), 1u);

    auto deaf = connect("environ");
    for (int n = 0; n < 600; ++n) {
        send(daemon, typed("4064 20:04").bytes());
        EXPECT_EQ(take(good).size(), 4064u) << n;
    }
    EXPECT_EQ(switch_->connections(kEnviron), 2u);
}

TEST_F(SwitchTest, StoppedItTakesNothingAndLosesNothing) {
    switch_->stopReading(kDaemon);
    auto daemon = connect("esadapter");  // a later connection too
    auto client = connect("environ");
    send(daemon, reply_);
    EXPECT_TRUE(take(client).empty());

    // The daemon's end fills up: nothing is read for it.
    daemon.non_blocking(true);
    asio::error_code full;
    for (int n = 0; n < 100 && !full; ++n) {
        asio::write(daemon, asio::buffer(Bytes(1 << 16)), full);
        settle();
    }
    EXPECT_EQ(full, asio::error::would_block);
    switch_->resumeReading(kDaemon);
    EXPECT_EQ(take(client), reply_);
}

TEST_F(SwitchTest, ClosedItDropsAndRefusesOpenedItTakesAgain) {
    auto daemon = connect("esadapter");
    switch_->close(kDaemon);
    settle();
    char byte;
    asio::error_code error;
    daemon.read_some(asio::buffer(&byte, 1), error);
    EXPECT_EQ(error, asio::error::eof);
    Local::socket refused(io_);
    refused.connect(Local::endpoint((directory_ / "esadapter").string()), error);
    EXPECT_EQ(error, asio::error::connection_refused);

    switch_->open(kDaemon);
    auto again = connect("esadapter");
    auto client = connect("environ");
    send(client, request_);
    EXPECT_EQ(take(again), request_);
}

TEST_F(SwitchTest, TheStartupProcessAnswersLikeTheRealOne) {
    RealSchedule schedule(io_, 1);
    StartupProcess startup(*switch_, schedule);
    auto daemon = connect("esadapter");
    int notified = 0;
    startup.onInitComplete([&] { ++notified; });
    const Bytes init = typed("64 12:0C000001 20:0004 40:01020304").bytes();
    send(daemon, init);
    EXPECT_EQ(hexText(take(daemon)), hexText(R"(
        00000000 00000000 0E010040 0C000001 12402100 00000000 00000002 00000000
        00000000 00000001 01020304 00000000 00000000 00000000 00000000 00000000)"));
    EXPECT_EQ(notified, 1);
    EXPECT_EQ(startup.initCompletes(), 1);
}

}  // namespace
}  // namespace enclab
