// SPDX-License-Identifier: Apache-2.0
// The bus server's frames byte by byte, and what it does with frames that break the protocol.
#include "lab/encdev/bus_server.h"

#include <gtest/gtest.h>

#include <array>
#include <asio.hpp>
#include <filesystem>
#include <vector>

#include "lab/chips/lm75.h"
#include "lab/chips/vsc055.h"

namespace enclab {
namespace {

using Bytes = std::vector<std::uint8_t>;
using asio::local::stream_protocol;

std::filesystem::path socketPath() {
    return std::filesystem::temp_directory_path() / ("bus-server-" + std::to_string(getpid()));
}

class BusServerTest : public testing::Test {
  protected:
    BusServerTest() {
        bus.attach(0x41, controller);
        bus.attach(0x4C, sensor);
    }

    stream_protocol::socket connect() {
        stream_protocol::socket socket(io);
        socket.connect(socketPath().string());
        socket.non_blocking(true);
        return socket;
    }

    void settle() {
        io.restart();
        io.poll();
    }

    // Everything the server answers to `frame`; "ended" tells whether it closed the connection.
    Bytes ask(stream_protocol::socket& socket, const Bytes& frame) {
        asio::write(socket, asio::buffer(frame));
        settle();
        Bytes reply(100);
        std::error_code error;
        reply.resize(socket.read_some(asio::buffer(reply), error));
        ended = error == asio::error::eof || error == asio::error::connection_reset;
        return reply;
    }

    Bytes ask(const Bytes& frame) {
        auto socket = connect();
        return ask(socket, frame);
    }

    asio::io_context io;
    Vsc055 controller;
    Lm75 sensor;
    Bus bus;
    RealSchedule schedule{io, 1};
    BusServer server{io, schedule, bus, socketPath()};
    bool ended = false;
};

TEST_F(BusServerTest, FramesAreBigEndian) {
    const struct {
        const char* what;
        Bytes request, reply;
    } rows[] = {
        {"I2C, quick, byte, byte data, word data",
         {1, 0, 0, 0, 0, 0, 0, 0},
         {1, 0, 0, 0, 0x00, 0x7F, 0x00, 0x01}},
        {"register read",
         {2, 0, 0, 2, 0, 0, 0, 9, 0x4C, 0, 0, 1, 0x02, 0x4C, 1, 0, 2},
         {2, 0, 0, 0, 0, 0, 0, 2, 0x4B, 0x00}},
        {"SMBus write",
         {3, 0, 0, 1, 0, 0, 0, 6, 0x41, 0, 0, 2, 0x98, 0x27},
         {3, 0, 0, 0, 0, 0, 0, 0}},
        {"no acknowledge", {2, 0, 0, 1, 0, 0, 0, 4, 0x10, 0, 0, 0}, {2, 0, 0, 6, 0, 0, 0, 0}},
        {"time-out", {4, 0, 0, 0, 0, 0, 0, 5}, {4, 0, 0, 0, 0, 0, 0, 0}},
        {"retries", {5, 0, 0, 0, 0, 1, 0, 0}, {5, 0, 0, 0, 0, 0, 0, 0}},
    };
    auto socket = connect();
    for (const auto& row : rows) {
        EXPECT_EQ(ask(socket, row.request), row.reply) << row.what;
        EXPECT_FALSE(ended);
    }
    EXPECT_EQ(controller.dutyPercent(0), 25);
    EXPECT_EQ(server.settings().timeoutMs, 50);
    EXPECT_EQ(server.settings().retries, 65536);
}

TEST_F(BusServerTest, SmbusAdapterRefusesPlainTransfersOnly) {
    server.setKind(AdapterKind::kSmbusOnly);
    auto socket = connect();
    EXPECT_EQ(ask(socket, {1, 0, 0, 0, 0, 0, 0, 0}), (Bytes{1, 0, 0, 0, 0x00, 0x7F, 0x00, 0x00}));
    EXPECT_EQ(ask(socket, {2, 0, 0, 1, 0, 0, 0, 4, 0x4C, 0, 0, 0}),
              (Bytes{2, 0, 0, 95, 0, 0, 0, 0}));
    EXPECT_TRUE(bus.log().empty());
    EXPECT_EQ(ask(socket, {3, 0, 0, 1, 0, 0, 0, 4, 0x4C, 1, 0, 1}),
              (Bytes{3, 0, 0, 0, 0, 0, 0, 1, 0x19}));
}

TEST_F(BusServerTest, RequestInPiecesIsOneRequest) {
    auto socket = connect();
    const Bytes request{3, 0, 0, 1, 0, 0, 0, 4, 0x4C, 1, 0, 1};
    for (std::size_t n = 0; n + 1 < request.size(); ++n) {
        EXPECT_EQ(ask(socket, {request[n]}), Bytes{});
    }
    EXPECT_EQ(ask(socket, {request.back()}), (Bytes{3, 0, 0, 0, 0, 0, 0, 1, 0x19}));
}

TEST_F(BusServerTest, BrokenFrameEndsItsConnectionAndNoOther) {
    const struct {
        const char* what;
        Bytes request;
    } rows[] = {
        {"unknown operation 0", {0, 0, 0, 0, 0, 0, 0, 0}},
        {"unknown operation 6", {6, 0, 0, 0, 0, 0, 0, 0}},
        {"no message", {2, 0, 0, 0, 0, 0, 0, 0}},
        {"payload larger than allowed", {2, 0, 0, 1, 0, 0, 0x40, 1}},
        {"payload of 4 GB", {2, 0, 0, 1, 0xFF, 0xFF, 0xFF, 0xFF}},
        {"more messages than payload", {2, 0, 0, 2, 0, 0, 0, 4, 0x4C, 0, 0, 0}},
        {"more payload than messages", {2, 0, 0, 1, 0, 0, 0, 5, 0x4C, 0, 0, 0, 0}},
        {"write longer than payload", {2, 0, 0, 1, 0, 0, 0, 5, 0x4C, 0, 0, 2, 0}},
        {"half a message head", {2, 0, 0, 1, 0, 0, 0, 3, 0x4C, 0, 0}},
        {"reads larger than a reply", {2, 0, 0, 1, 0, 0, 0, 4, 0x4C, 1, 0x40, 1}},
    };
    auto other = connect();
    for (const auto& row : rows) {
        EXPECT_EQ(ask(row.request), Bytes{}) << row.what;
        EXPECT_TRUE(ended) << row.what;
        EXPECT_EQ(ask(other, {4, 0, 0, 0, 0, 0, 0, 5}).size(), 8U) << row.what;
    }
    EXPECT_TRUE(bus.log().empty());
}

TEST_F(BusServerTest, ClientThatLeavesInTheMiddleDisturbsNobody) {
    ask({2, 0, 0, 1, 0, 0, 0, 4, 0x4C});
    settle();
    EXPECT_EQ(ask({3, 0, 0, 1, 0, 0, 0, 4, 0x4C, 1, 0, 1}).size(), 9U);
}

TEST(BusServer, SocketFileIsReplacedAndGoesWithTheServer) {
    asio::io_context io;
    Bus bus;
    const auto path = socketPath();
    std::filesystem::create_directories(path.parent_path());
    { stream_protocol::acceptor stale(io, path.string()); }
    ASSERT_TRUE(std::filesystem::exists(path));
    RealSchedule schedule(io, 1);
    { BusServer server(io, schedule, bus, path); }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_THROW(BusServer(io, schedule, bus, std::string(200, 'x')), std::system_error);
}

}  // namespace
}  // namespace enclab
