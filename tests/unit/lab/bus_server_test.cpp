// SPDX-License-Identifier: Apache-2.0
// The bus server's frames byte by byte, and those that break the protocol.
#include "lab/encdev/bus_server.h"

#include <gtest/gtest.h>

#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/write.hpp>
#include <filesystem>

#include "lab/chips/lm75.h"
#include "tests/support/hex.h"
#include "tests/unit/lab/random.h"

namespace enclab {
namespace {

using asio::local::stream_protocol;

// Each frame from a client of its own, in two pieces; "end": that client's connection, no other's.
TEST(BusServer, AnswersFramesHoweverTheyComeAndABrokenOneEndsItsConnectionAlone) {
    asio::io_context io;
    const std::string path =
        std::filesystem::temp_directory_path() / ("bus-server-" + std::to_string(getpid()));
    Lm75 sensor;
    Bus bus;
    bus.attach(0x4C, sensor);
    RealSchedule schedule{io, 1};
    BusServer server{io, schedule, bus, path};
    const auto connect = [&] {
        stream_protocol::socket client(io);
        client.connect(path);
        client.non_blocking(true);
        return client;
    };
    const auto ask = [&](stream_protocol::socket& client, const std::vector<std::uint8_t>& frame) {
        std::vector<std::uint8_t> reply(100);
        std::error_code error;
        asio::write(client, asio::buffer(frame), error);
        io.restart();
        io.poll();
        reply.resize(client.read_some(asio::buffer(reply), error));
        const bool ended = error == asio::error::eof || error == asio::error::connection_reset;
        return ended ? "end" : hexLine(reply);
    };
    stream_protocol::socket other = connect();
    const std::pair<const char*, const char*> rows[] = {
        {"02000002 00000009 4C00000102 4C010002", "02 00 00 00 00 00 00 02 4B 00"},
        {"02000001 00000004 10000000", "02 00 00 06 00 00 00 00"},
        // Operations that are none, no message, a payload above the limit or of 4 GB.
        {"00000000 00000000", "end"},
        {"06000000 00000000", "end"},
        {"02000000 00000000", "end"},
        {"02000001 00004001", "end"},
        {"02000001 FFFFFFFF", "end"},
        // More messages than payload, more payload than messages, a write longer than the payload,
        // half a message head, reads larger than a reply.
        {"02000002 00000004 4C000000", "end"},
        {"02000001 00000005 4C00000000", "end"},
        {"02000001 00000005 4C00000200", "end"},
        {"02000001 00000003 4C0000", "end"},
        {"02000001 00000004 4C014001", "end"},
    };
    for (const auto& [typed, reply] : rows) {
        const auto frame = hexBytes(typed);
        const auto middle = frame.begin() + below(8);
        stream_protocol::socket client = connect();
        EXPECT_EQ(ask(client, {frame.begin(), middle}), "") << typed;
        EXPECT_EQ(ask(client, {middle, frame.end()}), reply) << typed;
        EXPECT_EQ(ask(other, hexBytes("04000000 00000005")), "04 00 00 00 00 00 00 00");
    }
    EXPECT_EQ(bus.count(), 2U) << "broken ones never reach it";
    EXPECT_EQ(server.settings().timeoutMs, 50);
}

}  // namespace
}  // namespace enclab
