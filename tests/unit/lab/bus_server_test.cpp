// SPDX-License-Identifier: Apache-2.0
// The bus server's frames byte by byte (scripts/frames.txt), and what it does with frames that
// break the protocol.
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
#include "tests/support/script.h"

namespace enclab {
namespace {

using asio::local::stream_protocol;

class BusServerPlayer : public Player {
  public:
    BusServerPlayer() {
        bus.attach(0x41, controller);
        bus.attach(0x4C, sensor);
        commands["smbus"] = [this](const Words&) { server.setKind(AdapterKind::kSmbusOnly); };
        commands["frame"] = [this](const Words& w) {
            auto client = connect();
            say(ask(client, hexBytes(w.from(1))));
        };
        commands["pieces"] = [this](const Words& w) {
            auto client = connect();
            for (const std::uint8_t byte : hexBytes(w.from(1))) {
                say(ask(client, {byte}));
            }
        };
        commands["state"] = [this](const Words&) {
            say(bus.count(), " transfers, duty ", static_cast<int>(controller.dutyPercent(0)),
                ", time-out ", server.settings().timeoutMs, ", ", server.settings().retries,
                " retries");
        };
    }

  private:
    // Another client is served whatever one did.
    void finish() override {
        EXPECT_EQ(ask(other, hexBytes("04000000 00000005")), "04 00 00 00 00 00 00 00");
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
                                                                                   : hexLine(reply);
    }

    const std::string path =
        std::filesystem::temp_directory_path() / ("bus-server-" + std::to_string(getpid()));
    asio::io_context io;
    Vsc055 controller;
    Lm75 sensor;
    Bus bus;
    RealSchedule schedule{io, 1};
    BusServer server{io, schedule, bus, path};
    stream_protocol::socket other = connect();
};

TEST(BusServer, AnswersFramesAsTypedAndABrokenOneEndsItsConnectionAlone) {
    scriptPlay<BusServerPlayer>(SCRIPTS "/frames.txt");
}

}  // namespace
}  // namespace enclab
