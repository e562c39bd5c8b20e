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
#include "lab/chips/vsc055.h"
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
    Vsc055 controller;
    Lm75 sensor;
    Bus bus;
    bus.attach(0x41, controller);
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
    const struct {
        AdapterKind kind;
        const char* frame;
        const char* reply;
    } rows[] = {
        {AdapterKind::kI2c, "01000000 00000000", "01 00 00 00 00 7F 00 01"},
        {AdapterKind::kI2c, "02000002 00000009 4C00000102 4C010002",
         "02 00 00 00 00 00 00 02 4B 00"},
        {AdapterKind::kI2c, "03000001 00000006 410000029827", "03 00 00 00 00 00 00 00"},
        {AdapterKind::kI2c, "02000001 00000004 10000000", "02 00 00 06 00 00 00 00"},
        {AdapterKind::kI2c, "04000000 00000005", "04 00 00 00 00 00 00 00"},
        {AdapterKind::kI2c, "05000000 00010000", "05 00 00 00 00 00 00 00"},
        {AdapterKind::kSmbusOnly, "01000000 00000000", "01 00 00 00 00 7F 00 00"},
        {AdapterKind::kSmbusOnly, "02000001 00000004 4C000000", "02 00 00 5F 00 00 00 00"},
        {AdapterKind::kSmbusOnly, "03000001 00000005 4C00000102", "03 00 00 00 00 00 00 00"},
        {AdapterKind::kSmbusOnly, "03000001 00000004 4C010001", "03 00 00 00 00 00 00 01 4B"},
        // Operations that are none, no message, a payload above the limit or of 4 GB.
        {AdapterKind::kI2c, "00000000 00000000", "end"},
        {AdapterKind::kI2c, "06000000 00000000", "end"},
        {AdapterKind::kI2c, "02000000 00000000", "end"},
        {AdapterKind::kI2c, "02000001 00004001", "end"},
        {AdapterKind::kI2c, "02000001 FFFFFFFF", "end"},
        // More messages than payload, more payload than messages, a write longer than the payload,
        // half a message head, reads larger than a reply.
        {AdapterKind::kI2c, "02000002 00000004 4C000000", "end"},
        {AdapterKind::kI2c, "02000001 00000005 4C00000000", "end"},
        {AdapterKind::kI2c, "02000001 00000005 4C00000200", "end"},
        {AdapterKind::kI2c, "02000001 00000003 4C0000", "end"},
        {AdapterKind::kI2c, "02000001 00000004 4C014001", "end"},
    };
    for (const auto& row : rows) {
        server.setKind(row.kind);
        const auto frame = hexBytes(row.frame);
        const auto middle = frame.begin() + below(8);
        stream_protocol::socket client = connect();
        EXPECT_EQ(ask(client, {frame.begin(), middle}), "") << row.frame;
        EXPECT_EQ(ask(client, {middle, frame.end()}), row.reply) << row.frame;
        EXPECT_EQ(ask(other, hexBytes("04000000 00000005")), "04 00 00 00 00 00 00 00");
    }
    EXPECT_EQ(bus.count(), 5U) << "broken ones never reach it";
    EXPECT_EQ(controller.dutyPercent(0), 25);
    EXPECT_EQ(server.settings().timeoutMs, 50);
    EXPECT_EQ(server.settings().retries, 65536);
}

}  // namespace
}  // namespace enclab
