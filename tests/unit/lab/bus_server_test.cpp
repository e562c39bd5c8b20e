// SPDX-License-Identifier: Apache-2.0
// The bus server's frames byte by byte (cases/frames.txt), and what it does with frames that break
// the protocol.
#include "lab/encdev/bus_server.h"

#include <gtest/gtest.h>

#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/write.hpp>
#include <filesystem>

#include "lab/chips/lm75.h"
#include "lab/chips/vsc055.h"
#include "tests/support/cases.h"
#include "tests/support/hex.h"

namespace enclab {
namespace {

using asio::local::stream_protocol;

class BusServerTest : public testing::Test {
  protected:
    BusServerTest() {
        bus.attach(0x41, controller);
        bus.attach(0x4C, sensor);
    }

    stream_protocol::socket connect() {
        stream_protocol::socket client(io);
        client.connect(path);
        client.non_blocking(true);
        return client;
    }
    // Everything the server answers to `frame`, or that it ended the connection.
    std::string ask(stream_protocol::socket& client, const std::vector<std::uint8_t>& frame) {
        asio::write(client, asio::buffer(frame));
        io.restart();
        io.poll();
        std::vector<std::uint8_t> reply(100);
        std::error_code error;
        reply.resize(client.read_some(asio::buffer(reply), error));
        return error == asio::error::eof || error == asio::error::connection_reset ? "end"
                                                                                   : hexText(reply);
    }

    const std::string path =
        std::filesystem::temp_directory_path() / ("bus-server-" + std::to_string(getpid()));
    asio::io_context io;
    Vsc055 controller;
    Lm75 sensor;
    Bus bus;
    RealSchedule schedule{io, 1};
    std::unique_ptr<BusServer> server = std::make_unique<BusServer>(io, schedule, bus, path);
};

TEST_F(BusServerTest, AnswersFramesAsTypedAndABrokenOneEndsItsConnectionAlone) {
    auto other = connect();
    for (const Case& c : casesOf(CASES "/frames.txt")) {
        server->setKind(c.name[0] == 'S' ? AdapterKind::kSmbusOnly : AdapterKind::kI2c);
        bus.clearLog();
        for (const std::string& line : linesOf(c.get("frames"))) {
            SCOPED_TRACE(line);
            auto client = connect();
            const std::size_t arrow = line.find(" -> ");
            const std::string expected = line.substr(arrow + 4);
            EXPECT_EQ(ask(client, hexBytes(line.substr(0, arrow))),
                      expected == "end" ? expected : hexText(expected));
            EXPECT_TRUE(expected != "end" || bus.log().empty());
            EXPECT_EQ(ask(other, hexBytes("04000000 00000005")), hexText("04000000 00000000"));
        }
    }
    EXPECT_EQ(controller.dutyPercent(0), 25);
    EXPECT_EQ(server->settings().timeoutMs, 50);
    EXPECT_EQ(server->settings().retries, 65536);
}

TEST_F(BusServerTest, ARequestInPiecesIsOneAndOneLeftInTheMiddleDisturbsNobody) {
    { ask(*std::make_unique<stream_protocol::socket>(connect()), hexBytes("02000001 00000004")); }
    auto client = connect();
    const auto request = hexBytes("03000001 00000004 4C010001");
    for (std::size_t n = 0; n + 1 < request.size(); ++n) {
        EXPECT_EQ(ask(client, {request[n]}), "");
    }
    EXPECT_EQ(ask(client, {request.back()}), hexText("03000000 00000001 19"));
}

TEST_F(BusServerTest, SocketFileIsReplacedAndGoesWithTheServer) {
    server.reset();
    EXPECT_FALSE(std::filesystem::exists(path));
    { stream_protocol::acceptor stale(io, path); }
    ASSERT_TRUE(std::filesystem::exists(path));
    { BusServer again(io, schedule, bus, path); }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_THROW(BusServer(io, schedule, bus, std::string(200, 'x')), std::system_error);
}

}  // namespace
}  // namespace enclab
