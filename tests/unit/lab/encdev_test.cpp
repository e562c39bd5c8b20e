// SPDX-License-Identifier: Apache-2.0
// The preload library end to end: a probe program that is not built for it runs as its own process
// against a bus server of this process (cases/encdev.txt). Each rule holds for a program built as
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
#include "tests/support/cases.h"

namespace enclab {
namespace {

using Lines = std::vector<std::string>;

class EncdevTest : public testing::TestWithParam<const char*> {
  protected:
    // Runs the probe with the steps given as words and serves it until it ends; its lines.
    Lines run(const std::string& steps, Lines environment = {}) {
        Lines command = wordsOf(ENCLAB_EMULATOR);
        const std::string preload = "LD_PRELOAD=" ENCLAB_PRELOAD;
        if (command.empty()) {
            environment.push_back(preload);
        } else {
            command.insert(command.end(), {"-E", preload});
        }
        command.push_back(GetParam());
        for (const std::string& step : wordsOf(steps)) {
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
    std::string busLog() {
        Lines lines;
        for (const BusTransfer& transfer : chassis.bus().log()) {
            lines.push_back(describe(transfer));
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

TEST_P(EncdevTest, DeviceIsAsTyped) {
    for (const Case& c : casesOf(CASES "/encdev.txt")) {
        SCOPED_TRACE(c.name);
        server->setKind(c.get("lab") == "smbus" ? AdapterKind::kSmbusOnly : AdapterKind::kI2c);
        if (c.get("lab") == "faults") {
            chassis.bus().cut(0x4B);
            chassis.bus().add({.nth = 3, .action = FaultAction::kTimeout});
        }
        EXPECT_EQ(joined(run(c.get("steps"))), c.get("says"));
        const std::string log = busLog();
        EXPECT_EQ(log, c.get("bus", log));
        if (c.has("adapter")) {
            EXPECT_EQ(std::to_string(server->settings().timeoutMs) + " " +
                          std::to_string(server->settings().retries),
                      c.get("adapter"));
        }
        chassis.bus().clearFaults();
    }
    std::filesystem::remove("/tmp/encdev-file");
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
        const Lines words = wordsOf(lines[n]);
        EXPECT_EQ(words[0] + " " + words[1], names[n] + " 0");
        EXPECT_GE(std::stol(words[2]), least) << lines[n];
        EXPECT_LT(std::stol(words[2]), below) << lines[n];
    }
}

constexpr long kAnyTime = std::numeric_limits<long>::max();
const Lines kWaits{"usleep",  "nanosleep", "clock_nanosleep", "select",
                   "pselect", "poll",      "ppoll",           "recv"};

TEST_P(EncdevTest, WaitsAreDividedBySpeed) {
    const Lines lines = run("waits 1000001", {"ENCLAB_SPEED=50000"});
    expectWaits(lines, kWaits, 20, 1000001);
    EXPECT_GE(std::stol(wordsOf(lines[5])[2]), 21) << "rounded up: a wait stays a wait";
    expectWaits(run("sleep 1000", {"ENCLAB_SPEED=50000"}), {"sleep"}, 20, 1000000);
}

TEST_P(EncdevTest, WaitsAreLeftAloneWithoutASpeed) {
    for (const char* speed : {"ENCLAB_SPEED=1", "ENCLAB_SPEED=0", "ENCLAB_SPEED=x", "OTHER=1"}) {
        expectWaits(run("waits 20", {speed}), kWaits, 20, kAnyTime);
    }
    expectWaits(run("absolute", {"ENCLAB_SPEED=500"}), {"absolute"}, 100, kAnyTime);
}

TEST_P(EncdevTest, WhatIsLeftOfAWaitIsInTheCallersTime) {
    const Lines lines = run("interrupted 1000000 selectrest f4240", {"ENCLAB_SPEED=1000"});
    ASSERT_EQ(lines.size(), 8U);
    EXPECT_EQ(lines[0], "sleep left 1");
    EXPECT_EQ(lines[1], "nanosleep EINTR");
    EXPECT_EQ(lines[3], "clock_nanosleep EINTR");
    EXPECT_EQ(lines[5], "select 1");
    for (std::size_t n : {2U, 4U, 6U}) {
        EXPECT_GT(std::stoi(wordsOf(lines[n])[1]), 1000) << "more than all of it in real time";
    }
    EXPECT_EQ(lines[7], "negative EINVAL");
}

TEST_P(EncdevTest, UnderTheLabsTimeWaitsTakeExactlyTheirLengthAndNoRealOne) {
    clock = std::make_unique<ClockServer>(io, clockSocket);
    Lines lines = run("waits 100");
    ASSERT_EQ(lines.size(), kWaits.size());
    for (std::size_t n = 0; n + 1 < kWaits.size(); ++n) {  // recv waits in the kernel
        EXPECT_EQ(lines[n], kWaits[n] + " 0 100");
    }
    lines = run("sleep 86400 absolute sendfull 3 selectrest 3e8 wall");
    EXPECT_EQ(lines, (Lines{"sleep 0 86400000", "absolute 0 100", "send -1 3000", "EAGAIN",
                            "select 1", "rest 1000", "negative EINVAL", "wall 172803"}))
        << "select found its descriptor ready: no time passed";
}

INSTANTIATE_TEST_SUITE_P(Programs, EncdevTest, testing::Values(PROBE, PROBE_PLAIN),
                         [](const auto& instance) {
                             return std::string(instance.param) == PROBE ? "AsTheDaemon" : "Plain";
                         });

}  // namespace
}  // namespace enclab
