// SPDX-License-Identifier: Apache-2.0
// The preload library end to end: a probe program that is not built for it runs as its own process
// against a bus server of this process Each rule holds for a program built as
// the daemon is, and for a fortified one with the C library's default time width.
#include <gtest/gtest.h>
#include <unistd.h>

#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <filesystem>
#include <limits>
#include <memory>

#include "lab/chassis/vsc055_chassis.h"
#include "lab/encdev/bus_server.h"
#include "lab/encdev/clock_server.h"
#include "lab/session/child.h"
#include "tests/support/script.h"

namespace enclab {
namespace {

class EncdevTest : public testing::TestWithParam<const char*> {
  protected:
    // Runs the probe with the steps given as words and serves it until it ends; its lines.
    Lines run(const std::string& steps, Lines environment = {}) {
        Lines command = Words(ENCLAB_EMULATOR).all;
        const std::string preload = "LD_PRELOAD=" ENCLAB_PRELOAD;
        if (command.empty()) {
            environment.push_back(preload);
        } else {
            command.insert(command.end(), {"-E", preload});
        }
        command.push_back(GetParam());
        for (const std::string& step : Words(steps).all) {
            command.push_back(step);
        }
        environment.push_back("ENCLAB_BUS=" + socket);
        if (clock) {
            environment.push_back("ENCLAB_CLOCK=" + clockSocket);
        }
        Lines lines;
        Child probe(io, command, environment,
                    [&lines](const std::string& line) { lines.push_back(line); });
        bool ended = false;
        probe.onExit([&ended] { ended = true; });
        io.restart();
        while (!ended) {
            io.run_one();
            grantWait();
        }
        EXPECT_EQ(probe.exitStatus(), 0);
        return lines;
    }

    // The wait the probe is in is over at once, its whole length later.
    void grantWait() {
        if (clock && clock->wait()) {
            now = clock->wait()->ready ? now : std::max(now, clock->wait()->until);
            clock->setNow({now, now + std::chrono::hours(24)});
            clock->answer();
        }
    }

    static std::string joined(const Lines& lines) {
        std::string text;
        for (const std::string& line : lines) {
            text += (text.empty() ? "" : ", ") + line;
        }
        return text;
    }
    // The newest first.
    std::string busLog() {
        Lines lines;
        for (const BusTransfer& transfer : chassis.bus().log()) {
            lines.insert(lines.begin(), describe(transfer));
        }
        chassis.bus().clearLog();
        return joined(lines);
    }
    static std::string temporary(const char* name) {
        return (std::filesystem::temp_directory_path() / (name + std::to_string(getpid())))
            .string();
    }

    asio::io_context io;
    RealSchedule schedule{io, 1};
    Vsc055Chassis chassis;
    std::string socket = temporary("encdev-");
    std::unique_ptr<BusServer> server =
        std::make_unique<BusServer>(io, schedule, chassis.bus(), socket);
    std::string clockSocket = temporary("clock-");
    std::unique_ptr<ClockServer> clock;  // none: time is real
    ClockServer::Time now{0};
};

// Steps of the probe, what it says, and what the bus sees.
TEST_P(EncdevTest, DeviceIsAsTyped) {
    const struct {
        const char* lab;
        const char* steps;
        const char* says;
        const char* bus;
    } rows[] = {
        {"plain", "open funcs read 4c 0 write 41 98 27 read 41 32 close",
         "open 0, funcs 7f0001, read 1e, write 1, read 85, close 0",
         "R 41 32=85, W 41 98=27, R 4c 00=1e"},
        {"plain",
         "openat slave 41 smbus 0 98 2 27 smbus 1 98 2 0 smbus 0 98 3 2f37 smbus 1 98 3 0 "
         "smbus 0 9a 1 0 smbus 1 0 1 0 smbus 0 0 0 0 smbus 1 0 0 0 force 4c smbus 1 0 2 0",
         "openat 0, slave 0, smbus 0, smbus 27, smbus 0, smbus 2f37, smbus 0, smbus 3f, smbus 0, "
         "smbus 0, force 0, smbus 1e",
         "R 4c 00=1e, R 41 =, W 41, R 41 =3f, W 41 9a, R 41 98=37 2f, W 41 98=37 2f, R 41 98=27, "
         "W 41 98=27"},
        {"smbus", "open funcs read 4c 0 slave 4c smbus 1 0 2 0",
         "open 0, funcs 7f0000, read EOPNOTSUPP, slave 0, smbus 1e", "R 4c 00=1e"},
        {"faults", "open read 4b 0 smbus 1 0 2 0 read 4c 0 read 4c 0",
         "open 0, read ENXIO, smbus ENXIO, read ETIMEDOUT, read 1e",
         "R 4c 00=1e, R 4c 00 ETIMEDOUT, R 00 00 ENXIO, R 4b 00 ENXIO"},
        {"plain",
         "open slave 80 slave ffffffff raw 0 1 0 raw 0 1 2b raw 0 2001 1 raw 1 2000 3 raw 10 1 1 "
         "smbus 1 0 5 0 smbus 2 0 2 0 nodata timeout 80000000 retries 80000000 pec 1",
         "open 0, slave EINVAL, slave EINVAL, raw EINVAL, raw EINVAL, raw EINVAL, raw EINVAL, "
         "raw EOPNOTSUPP, smbus EOPNOTSUPP, smbus EINVAL, nodata EINVAL, timeout EINVAL, "
         "retries EINVAL, pec ENOTTY",
         ""},
        {"plain", "open timeout 4 retries 0", "open 0, timeout 0, retries 0", ""},
        {"plain", "missing open reuse file", "missing ENOENT, open 0, reuse 1, file 1a0", ""},
    };
    for (const auto& row : rows) {
        server->setKind(*row.lab == 's' ? AdapterKind::kSmbusOnly : AdapterKind::kI2c);
        if (*row.lab == 'f') {
            chassis.bus().cut(0x4B);
            chassis.bus().add({.nth = 3, .action = FaultAction::kTimeout});
        }
        EXPECT_EQ(joined(run(row.steps)), row.says);
        EXPECT_EQ(busLog(), row.bus) << row.steps;
        chassis.bus().clearFaults();
    }
    EXPECT_EQ(server->settings().timeoutMs, 40);
    EXPECT_EQ(server->settings().retries, 0);
    EXPECT_EQ(joined(run("open raw 0 2000 1 raw 1 2000 2 raw 0 1 2a")),
              "open 0, raw 1, raw 2, raw 2a");
}

TEST_P(EncdevTest, WithoutALabThereIsNoDeviceAndOneThatGoesAwayIsAnInputOutputError) {
    chassis.bus().observe(
        [this](const BusTransfer&) { asio::post(io, [this] { server.reset(); }); });
    EXPECT_EQ(joined(run("open read 4c 0 read 4c 0 funcs close")),
              "open 0, read 1e, read EIO, funcs EIO, close 0");
    EXPECT_EQ(joined(run("open")), "open ENXIO");
    socket = std::string(120, 'x');
    EXPECT_EQ(joined(run("open")), "open ENAMETOOLONG");
}

// Lines "NAME result elapsed": all results 0, all waits at least so many milliseconds, and shorter
// than the other.
void expectWaits(const Lines& lines, const Lines& names, long least, long below) {
    ASSERT_EQ(lines.size(), names.size());
    for (std::size_t n = 0; n < lines.size(); ++n) {
        const Words words(lines[n]);
        EXPECT_EQ(words[0] + " " + words[1], names[n] + " 0");
        EXPECT_GE(std::stol(words[2]), least) << lines[n];
        EXPECT_LT(std::stol(words[2]), below) << lines[n];
    }
}

constexpr long kAnyTime = std::numeric_limits<long>::max();
const Lines kWaits{"usleep",  "nanosleep", "clock_nanosleep", "select",
                   "pselect", "poll",      "ppoll",           "recv"};

TEST_P(EncdevTest, WaitsAreDividedBySpeed) {
    const Lines lines = run("waits f4241", {"ENCLAB_SPEED=50000"});
    expectWaits(lines, kWaits, 20, 1000001);
    EXPECT_GE(std::stol(Words(lines[5])[2]), 21) << "rounded up: a wait stays a wait";
    expectWaits(run("sleep 3e8", {"ENCLAB_SPEED=50000"}), {"sleep"}, 20, 1000000);
}

TEST_P(EncdevTest, WaitsAreLeftAloneWithoutASpeed) {
    for (const char* speed : {"ENCLAB_SPEED=1", "ENCLAB_SPEED=0", "ENCLAB_SPEED=x", "OTHER=1"}) {
        expectWaits(run("waits 14", {speed}), kWaits, 20, kAnyTime);
    }
    expectWaits(run("absolute", {"ENCLAB_SPEED=500"}), {"absolute"}, 100, kAnyTime);
}

TEST_P(EncdevTest, WhatIsLeftOfAWaitIsInTheCallersTime) {
    Lines lines = run("interrupted f4240 selectrest f4240", {"ENCLAB_SPEED=1000"});
    ASSERT_EQ(lines.size(), 8U);
    for (const std::size_t n : {2U, 4U, 6U}) {
        EXPECT_GT(std::stoi(Words(lines[n])[1], nullptr, 16), 1000) << "more than real time had";
        lines[n] = Words(lines[n])[0];
    }
    EXPECT_EQ(joined(lines),
              "sleep 1, nanosleep EINTR, left, clock_nanosleep EINTR, left, "
              "select 1, rest, negative EINVAL");
}

TEST_P(EncdevTest, UnderTheLabsTimeWaitsTakeExactlyTheirLengthAndNoRealOne) {
    clock = std::make_unique<ClockServer>(io, clockSocket);
    Lines lines = run("waits 64");
    ASSERT_EQ(lines.size(), kWaits.size());
    for (std::size_t n = 0; n + 1 < kWaits.size(); ++n) {  // recv waits in the kernel
        EXPECT_EQ(lines[n], kWaits[n] + " 0 100");
    }
    EXPECT_EQ(joined(run("sleep 15180 absolute sendfull 3 selectrest 3e8 wall")),
              "sleep 0 86400000, absolute 0 100, send -1 3000, EAGAIN, select 1, rest 3e8, "
              "negative EINVAL, wall 2a303")
        << "select found its descriptor ready: no time passed";
}

INSTANTIATE_TEST_SUITE_P(Programs, EncdevTest, testing::Values(PROBE, PROBE_PLAIN),
                         [](const auto& instance) {
                             return std::string(instance.param) == PROBE ? "AsTheDaemon" : "Plain";
                         });

}  // namespace
}  // namespace enclab
