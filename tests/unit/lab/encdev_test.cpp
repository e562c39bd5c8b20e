// SPDX-License-Identifier: Apache-2.0
// The preload library end to end: a probe program that is not built for it runs as its own process
// against a bus server of this process. Each rule holds for a program built as the daemon is, and
// for a fortified one with the C library's default time width.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <asio.hpp>
#include <filesystem>
#include <memory>
#include <sstream>

#include "lab/chassis/vsc055_chassis.h"
#include "lab/encdev/bus_server.h"
#include "lab/encdev/clock_server.h"

namespace enclab {
namespace {

using Lines = std::vector<std::string>;

Lines split(const std::string& text, char separator) {
    Lines parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

std::vector<char*> pointers(Lines& strings) {
    std::vector<char*> result;
    for (std::string& string : strings) {
        result.push_back(string.data());
    }
    result.push_back(nullptr);
    return result;
}

std::string temporary(const char* name) {
    return (std::filesystem::temp_directory_path() / (name + std::to_string(getpid()))).string();
}

class EncdevTest : public testing::TestWithParam<const char*> {
  protected:
    EncdevTest() { startServer(); }

    void startServer() {
        server = std::make_unique<BusServer>(io, schedule, chassis.bus(), socket);
    }

    // Runs the probe with the steps given as words and serves it until it ends; its lines.
    Lines run(const std::string& steps, Lines environment = {}) {
        Lines command = split(ENCLAB_EMULATOR, ' ');
        const std::string preload = "LD_PRELOAD=" ENCLAB_PRELOAD;
        if (command.empty()) {
            environment.push_back(preload);
        } else {
            command.insert(command.end(), {"-E", preload});
        }
        command.push_back(GetParam());
        for (const std::string& step : split(steps, ' ')) {
            command.push_back(step);
        }
        environment.push_back("ENCLAB_BUS=" + socket);
        if (clock) {
            environment.push_back("ENCLAB_CLOCK=" + clockSocket);
        }
        return split(outputOf(command, environment), '\n');
    }

    std::string outputOf(Lines& command, Lines& environment) {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        pid_t child = -1;
        EXPECT_EQ(posix_spawnp(&child, command[0].c_str(), &actions, nullptr,
                               pointers(command).data(), pointers(environment).data()),
                  0);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        const std::string output = serveUntilEnd(ends[0]);
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
        return output;
    }

    std::string serveUntilEnd(int readEnd) {
        asio::posix::stream_descriptor pipe(io, readEnd);
        std::string output;
        bool ended = false;
        asio::async_read(pipe, asio::dynamic_buffer(output),
                         [&](std::error_code, std::size_t) { ended = true; });
        io.restart();
        while (!ended) {
            io.run_one();
            grantWait();
        }
        return output;
    }

    // The wait the probe is in is over at once, its whole length later.
    void grantWait() {
        if (clock && clock->wait()) {
            now = clock->wait()->ready ? now : std::max(now, clock->wait()->until);
            clock->setNow({now, now + std::chrono::hours(24)});
            clock->answer();
        }
    }

    Lines busLog() {
        Lines lines;
        for (const BusTransfer& transfer : chassis.bus().log()) {
            lines.push_back(describe(transfer));
        }
        chassis.bus().clearLog();
        return lines;
    }

    asio::io_context io;
    RealSchedule schedule{io, 1};
    Vsc055Chassis chassis;
    std::string socket = temporary("encdev-");
    std::unique_ptr<BusServer> server;
    std::string clockSocket = temporary("clock-");
    std::unique_ptr<ClockServer> clock;  // none: time is real
    ClockServer::Time now{0};
};

TEST_P(EncdevTest, PlainI2cTransfersReachTheBus) {
    EXPECT_EQ(run("open funcs read 4c 0 write 41 98 27 read 41 32 close"),
              (Lines{"open 0", "funcs 7f0001", "read 1e", "write 1", "read 85", "close 0"}));
    EXPECT_EQ(busLog(), (Lines{"R 4c 00=1e", "W 41 98=27", "R 41 32=85"}));
}

TEST_P(EncdevTest, SmbusCommandsReachTheBus) {
    EXPECT_EQ(run("openat slave 41 smbus 0 98 2 27 smbus 1 98 2 0 smbus 0 98 3 2f37 "
                  "smbus 1 98 3 0 smbus 0 9a 1 0 smbus 1 0 1 0 smbus 0 0 0 0 smbus 1 0 0 0 "
                  "force 4c smbus 1 0 2 0"),
              (Lines{"openat 0", "slave 0", "smbus 0", "smbus 27", "smbus 0", "smbus 2f37",
                     "smbus 0", "smbus 3f", "smbus 0", "smbus 0", "force 0", "smbus 1e"}));
    EXPECT_EQ(busLog(), (Lines{"W 41 98=27", "R 41 98=27", "W 41 98=37 2f", "R 41 98=37 2f",
                               "W 41 9a", "R 41 =3f", "W 41", "R 41 =", "R 4c 00=1e"}));
}

TEST_P(EncdevTest, SmbusOnlyAdapterOffersNoPlainTransfers) {
    server->setKind(AdapterKind::kSmbusOnly);
    EXPECT_EQ(run("open funcs read 4c 0 slave 4c smbus 1 0 2 0"),
              (Lines{"open 0", "funcs 7f0000", "read EOPNOTSUPP", "slave 0", "smbus 1e"}));
}

TEST_P(EncdevTest, FailedTransfersGiveTheAdaptersErrors) {
    chassis.bus().cut(0x4B);
    chassis.bus().add({.nth = 3, .action = FaultAction::kTimeout});
    EXPECT_EQ(run("open read 4b 0 smbus 1 0 2 0 read 4c 0 read 4c 0"),
              (Lines{"open 0", "read ENXIO", "smbus ENXIO", "read ETIMEDOUT", "read 1e"}));
}

TEST_P(EncdevTest, BadRequestsNeverReachTheBus) {
    EXPECT_EQ(
        run("open slave 80 slave ffffffff raw 0 1 0 raw 0 1 2b raw 0 2001 1 raw 1 2000 3 "
            "raw 10 1 1 smbus 1 0 5 0 smbus 2 0 2 0 nodata timeout 80000000 retries 80000000 "
            "pec 1"),
        (Lines{"open 0", "slave EINVAL", "slave EINVAL", "raw EINVAL", "raw EINVAL", "raw EINVAL",
               "raw EINVAL", "raw EOPNOTSUPP", "smbus EOPNOTSUPP", "smbus EINVAL", "nodata EINVAL",
               "timeout EINVAL", "retries EINVAL", "pec ENOTTY"}));
    EXPECT_EQ(busLog(), Lines{});
}

TEST_P(EncdevTest, LongestTransfersPass) {
    EXPECT_EQ(run("open raw 0 2000 1 raw 1 2000 2 raw 0 1 2a"),
              (Lines{"open 0", "raw 1", "raw 2", "raw 2a"}));
    EXPECT_EQ(busLog().size(), 3U);
}

TEST_P(EncdevTest, TimeoutAndRetriesAreKeptByTheAdapter) {
    EXPECT_EQ(run("open timeout 5 retries 0"), (Lines{"open 0", "timeout 0", "retries 0"}));
    EXPECT_EQ(server->settings().timeoutMs, 50);
    EXPECT_EQ(server->settings().retries, 0);
}

TEST_P(EncdevTest, OtherFilesPassThrough) {
    const std::string file = temporary("encdev-file-");
    EXPECT_EQ(run("files " + file),
              (Lines{"create 0", "mode 640", "write 1", "close 0", "missing ENOENT"}));
    std::filesystem::remove(file);
    EXPECT_EQ(run("open reuse"),
              (Lines{"open 0", "close 0", "pipe 0", "same number 1", "ioctl 0", "waiting 0"}));
}

TEST_P(EncdevTest, WithoutALabThereIsNoDevice) {
    server.reset();
    EXPECT_EQ(run("open"), Lines{"open ENXIO"});
    socket = std::string(120, 'x');
    EXPECT_EQ(run("open"), Lines{"open ENAMETOOLONG"});
}

TEST_P(EncdevTest, LabThatGoesAwayIsAnInputOutputError) {
    chassis.bus().observe(
        [this](const BusTransfer&) { asio::post(io, [this] { server.reset(); }); });
    EXPECT_EQ(run("open read 4c 0 read 4c 0 funcs close"),
              (Lines{"open 0", "read 1e", "read EIO", "funcs EIO", "close 0"}));
}

// Lines "NAME result elapsed": all results 0, all waits between the bounds in milliseconds.
void expectWaits(const Lines& lines, const Lines& names, long least, long most) {
    ASSERT_EQ(lines.size(), names.size());
    for (std::size_t n = 0; n < lines.size(); ++n) {
        const Lines words = split(lines[n], ' ');
        EXPECT_EQ(words[0] + " " + words[1], names[n] + " 0");
        EXPECT_GE(std::stol(words[2]), least) << lines[n];
        EXPECT_LE(std::stol(words[2]), most) << lines[n];
    }
}

const Lines kWaits{"usleep",  "nanosleep", "clock_nanosleep", "select",
                   "pselect", "poll",      "ppoll",           "recv"};

TEST_P(EncdevTest, WaitsAreDividedBySpeed) {
    const Lines lines = run("waits 10001", {"ENCLAB_SPEED=500"});
    expectWaits(lines, kWaits, 20, 2000);
    EXPECT_GE(std::stol(split(lines[5], ' ')[2]), 21) << "rounded up: a wait stays a wait";
    expectWaits(run("sleep 10 sleep 1", {"ENCLAB_SPEED=500"}), {"sleep", "sleep"}, 2, 2000);
}

TEST_P(EncdevTest, WaitsAreLeftAloneWithoutASpeed) {
    for (const char* speed : {"ENCLAB_SPEED=1", "ENCLAB_SPEED=0", "ENCLAB_SPEED=x", "OTHER=1"}) {
        expectWaits(run("waits 20", {speed}), kWaits, 20, 2000);
    }
    expectWaits(run("absolute", {"ENCLAB_SPEED=500"}), {"absolute"}, 99, 2000);
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

TEST_P(EncdevTest, WhatIsLeftOfAWaitIsInTheCallersTime) {
    const Lines lines = run("interrupted 1000 selectrest 3e8", {"ENCLAB_SPEED=10"});
    ASSERT_EQ(lines.size(), 8U);
    EXPECT_EQ(lines[0], "sleep left 1");
    EXPECT_EQ(lines[1], "nanosleep EINTR");
    EXPECT_EQ(lines[3], "clock_nanosleep EINTR");
    EXPECT_EQ(lines[5], "select 1");
    for (std::size_t n : {2U, 4U, 6U}) {
        EXPECT_GT(std::stoi(split(lines[n], ' ')[1]), 900) << lines[n];
    }
    EXPECT_EQ(lines[7], "negative EINVAL");
}

INSTANTIATE_TEST_SUITE_P(Programs, EncdevTest, testing::Values(PROBE, PROBE_PLAIN),
                         [](const auto& instance) {
                             return std::string(instance.param) == PROBE ? "AsTheDaemon" : "Plain";
                         });

}  // namespace
}  // namespace enclab
