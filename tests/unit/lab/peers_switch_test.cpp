// SPDX-License-Identifier: Apache-2.0
// The message switch and the start-up process through real sockets.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "lab/peers/startup_process.h"
#include "lab/peers/switch.h"

using enclab::Bytes;
using enclab::Message;
using Local = asio::local::stream_protocol;

namespace {

constexpr std::uint8_t kDaemon = 33;
constexpr std::uint8_t kEnviron = 26;
constexpr std::uint8_t kVolumeManager = 20;

class SwitchTest : public testing::Test {
  protected:
    SwitchTest() {
        std::string name = (std::filesystem::temp_directory_path() / "switch-XXXXXX").string();
        directory_ = mkdtemp(name.data());
        switch_ = std::make_unique<enclab::MessageSwitch>(io_, directory_);
        switch_->listen(kDaemon, "esadapter");
        switch_->listen(kEnviron, "environ");
        switch_->listen(kVolumeManager, "volmgr");
    }
    ~SwitchTest() override {
        switch_.reset();
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
    static Message from(std::uint8_t requestor, std::initializer_list<std::uint8_t> recipients) {
        Message message = Message::make(18, 28, requestor, 72);
        for (std::uint8_t recipient : recipients) {
            message.addRecipient(recipient);
        }
        return message;
    }
    static void send(Local::socket& socket, const Bytes& bytes) {
        asio::write(socket, asio::buffer(bytes));
    }

    asio::io_context io_;
    enclab::RealSchedule schedule_{io_, 1};
    std::filesystem::path directory_;
    std::unique_ptr<enclab::MessageSwitch> switch_;
};

}  // namespace

TEST_F(SwitchTest, RoutesByTheRecipientMapToEveryConnectionOfTheEndpoint) {
    auto daemon = connect("esadapter");
    auto first = connect("environ");
    auto second = connect("environ");
    auto volumeManager = connect("volmgr");
    const Message request = from(kEnviron, {kDaemon});
    send(first, request.bytes());
    EXPECT_EQ(take(daemon), request.bytes());
    EXPECT_TRUE(take(second).empty());

    const Message reply = from(kDaemon, {kEnviron});
    send(daemon, reply.bytes());
    EXPECT_EQ(take(first), reply.bytes());
    EXPECT_EQ(take(second), reply.bytes());
    EXPECT_TRUE(take(volumeManager).empty());
    EXPECT_EQ(switch_->undelivered(), 0u);
}

TEST_F(SwitchTest, CountsWhatNobodyTakes) {
    auto daemon = connect("esadapter");
    send(daemon, from(kDaemon, {kEnviron, 5}).bytes());
    settle();
    EXPECT_EQ(switch_->undelivered(), 2u);
}

TEST_F(SwitchTest, AMessageToTheSenderItselfComesBack) {
    auto daemon = connect("esadapter");
    const Message test = from(kDaemon, {kDaemon});
    send(daemon, test.bytes());
    EXPECT_EQ(take(daemon), test.bytes());
}

TEST_F(SwitchTest, GarbageOrHalfAMessageCostsOnlyTheSender) {
    auto daemon = connect("esadapter");
    auto garbage = connect("environ");
    auto half = connect("environ");
    auto good = connect("environ");
    send(garbage, Bytes(64, 0xFF));
    const Message request = from(kEnviron, {kDaemon});
    send(half, Bytes(request.bytes().begin(), request.bytes().begin() + 70));
    settle();
    EXPECT_EQ(switch_->brokenStreams(), 1u);
    EXPECT_EQ(switch_->connections(kEnviron), 2u);
    half.close();
    send(good, request.bytes());
    EXPECT_EQ(take(daemon), request.bytes());
    EXPECT_EQ(switch_->connections(kEnviron), 1u);
}

TEST_F(SwitchTest, StoppedItTakesNothingAndLosesNothing) {
    auto daemon = connect("esadapter");
    auto client = connect("environ");
    switch_->stopReading(kDaemon);
    const Message reply = from(kDaemon, {kEnviron});
    send(daemon, reply.bytes());
    EXPECT_TRUE(take(client).empty());

    // The daemon's end fills up: nothing is read for it.
    daemon.non_blocking(true);
    const Bytes block(1 << 16, 0);
    asio::error_code full;
    for (int n = 0; n < 100 && !full; ++n) {
        asio::write(daemon, asio::buffer(block), full);
        settle();
    }
    EXPECT_EQ(full, asio::error::would_block);

    switch_->resumeReading(kDaemon);
    EXPECT_EQ(take(client), reply.bytes());
}

TEST_F(SwitchTest, StoppedAppliesToALaterConnection) {
    switch_->stopReading(kDaemon);
    auto daemon = connect("esadapter");
    auto client = connect("environ");
    send(daemon, from(kDaemon, {kEnviron}).bytes());
    EXPECT_TRUE(take(client).empty());
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
    const Message request = from(kEnviron, {kDaemon});
    send(client, request.bytes());
    EXPECT_EQ(take(again), request.bytes());
}

TEST_F(SwitchTest, AConnectionThatNeverReadsDoesNotStopTheOthers) {
    auto daemon = connect("esadapter");
    auto deaf = connect("environ");
    auto good = connect("environ");
    Message large = Message::make(18, 28, kDaemon, 4064);
    large.addRecipient(kEnviron);
    for (int n = 0; n < 600; ++n) {
        send(daemon, large.bytes());
        EXPECT_EQ(take(good).size(), 4064u) << n;
    }
    EXPECT_EQ(switch_->connections(kEnviron), 2u);
}

TEST_F(SwitchTest, RawBytesReachTheDaemonAsTheyAre) {
    auto daemon = connect("esadapter");
    const Bytes odd = {1, 2, 3};
    switch_->sendRaw(kDaemon, odd);
    EXPECT_EQ(take(daemon), odd);
    EXPECT_THROW(switch_->sendRaw(5, odd), std::invalid_argument);
}

TEST_F(SwitchTest, TheSocketFilesGoWithTheSwitch) {
    switch_.reset();
    EXPECT_TRUE(std::filesystem::is_empty(directory_));
}

TEST_F(SwitchTest, TheStartupProcessAnswersLikeTheRealOne) {
    enclab::StartupProcess startup(*switch_, schedule_);
    auto daemon = connect("esadapter");
    int notified = 0;
    startup.onInitComplete([&] { ++notified; });
    Message init = Message::make(12, 1, kDaemon);
    init.header().handle = 0x01020304;
    init.addRecipient(18);
    send(daemon, init.bytes());
    const Bytes answer = take(daemon);
    const Bytes expected = {0,  0,    0,  0, 0, 0, 0, 0, 14, 1, 0, 64, 12, 0, 0, 1,
                            18, 0x40, 33, 0, 0, 0, 0, 0, 0,  0, 0, 2,  0,  0, 0, 0,
                            0,  0,    0,  0, 0, 0, 0, 1, 1,  2, 3, 4,  0,  0, 0, 0,
                            0,  0,    0,  0, 0, 0, 0, 0, 0,  0, 0, 0,  0,  0, 0, 0};
    EXPECT_EQ(answer, expected);
    EXPECT_EQ(notified, 1);
    EXPECT_EQ(startup.initCompletes(), 1);
}
