// SPDX-License-Identifier: Apache-2.0
// The preload library end to end: a probe program that is not built for it runs as its own process
// against a bus server of this process. Each rule holds for a program built as the daemon is, and
// for a fortified one with the C library's default time width.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <asio/io_context.hpp>
#include <asio/post.hpp>
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
    std::string run(const std::string& steps, Lines environment = {}) {
        Lines command = Words(ENCLAB_EMULATOR).all;
        const std::string preload = "LD_PRELOAD=" ENCLAB_PRELOAD;
        command.empty() ? environment.push_back(preload)
                        : void(command.insert(command.end(), {"-E", preload}));
        command.push_back(GetParam());
        for (const std::string& step : Words(steps).all) {
            command.push_back(step);
        }
        environment.push_back("ENCLAB_BUS=" + socket);
        if (clock) {
            environment.push_back("ENCLAB_CLOCK=" + clockSocket);
        }
        lines.clear();
        Child probe(io, command, environment,
                    [this](const std::string& line) { lines.push_back(line); });
        bool ended = false;
        probe.onExit([&ended] { ended = true; });
        io.restart();
        while (!ended) {
            io.run_one();
            grantWait();
        }
        EXPECT_EQ(probe.exitStatus(), 0);
        return joined(lines);
    }

    // The wait the probe is in is over at once, its whole length later.
    void grantWait() {
        if (clock && clock->wait()) {
            now = clock->wait()->ready ? now : std::max(now, clock->wait()->until);
            clock->setNow({now, now + std::chrono::hours(24)});
            clock->answer();
        }
    }

    static std::string joined(const Lines& all) { return fmt::format("{}", fmt::join(all, ", ")); }
    // The newest first.
    std::string busLog() {
        Lines log;
        for (const BusTransfer& transfer : chassis.bus().log()) {
            log.insert(log.begin(), describe(transfer));
        }
        chassis.bus().clearLog();
        return joined(log);
    }

    Lines lines;  // of the last run
    asio::io_context io;
    RealSchedule schedule{io, 1};
    Vsc055Chassis chassis;
    std::string socket = fmt::format("/tmp/encdev-{}", getpid());
    std::unique_ptr<BusServer> server =
        std::make_unique<BusServer>(io, schedule, chassis.bus(), socket);
    std::string clockSocket = fmt::format("/tmp/clock-{}", getpid());
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
        {"plain", "open funcs read 4c 0 raw 0 3 1 read 41 32 close",
         "open 0, funcs 7f0001, read 1e, raw 1, read 21, close 0",
         "R 41 32=21, W 41 00=00 00, R 4c 00=1e"},
        {"plain",
         "openat set 703 41 smbus 0 98 3 2f37 smbus 1 98 3 0 smbus 0 98 2 27 smbus 0 9a 1 0 "
         "smbus 1 0 1 0 smbus 0 0 0 0 smbus 1 0 0 0 set 706 4c smbus 1 0 2 0",
         "openat 0, set 0, smbus 0, smbus 2f37, smbus 0, smbus 0, smbus 3f, smbus 0, smbus 0, "
         "set 0, smbus 1e",
         "R 4c 00=1e, R 41 =, W 41, R 41 =3f, W 41 9a, W 41 98=27, R 41 98=37 2f, W 41 98=37 2f"},
        {"smbus", "open funcs read 4c 0 set 703 4c smbus 1 0 2 0",
         "open 0, funcs 7f0000, read EOPNOTSUPP, set 0, smbus 1e", "R 4c 00=1e"},
        {"faults", "open read 4b 0 smbus 1 0 2 0 read 4c 0 read 4c 0",
         "open 0, read ENXIO, smbus ENXIO, read ETIMEDOUT, read 1e",
         "R 4c 00=1e, R 4c 00 ETIMEDOUT, R 00 00 ENXIO, R 4b 00 ENXIO"},
        // Addresses, counts, lengths, flags, sizes, directions, values and requests that are none.
        {"plain",
         "open set 703 80 raw 0 1 0 raw 0 1 2b raw 0 2001 1 raw 1 2000 3 raw 10 1 1 smbus 1 0 5 0 "
         "smbus 2 0 2 0 set 702 80000000 set 708 1 set 702 4 set 701 0",
         "open 0, set EINVAL, raw EINVAL, raw EINVAL, raw EINVAL, raw EINVAL, raw EOPNOTSUPP, "
         "smbus EOPNOTSUPP, smbus EINVAL, set EINVAL, set ENOTTY, set 0, set 0",
         ""},
        {"plain", "missing open close unread", "missing ENOENT, open 0, close 0, unread EBADF", ""},
    };
    for (const auto& row : rows) {
        server->setKind(*row.lab == 's' ? AdapterKind::kSmbusOnly : AdapterKind::kI2c);
        if (*row.lab == 'f') {
            chassis.bus().cut(0x4B);
            chassis.bus().add({.nth = 3, .action = FaultAction::kTimeout});
        }
        EXPECT_EQ(run(row.steps), row.says);
        EXPECT_EQ(busLog(), row.bus) << row.steps;
        chassis.bus().clearFaults();
    }
    EXPECT_EQ(server->settings().timeoutMs, 40);
    EXPECT_EQ(server->settings().retries, 0);
    EXPECT_EQ(run("open raw 0 2000 1 raw 1 2000 2 raw 0 1 2a"), "open 0, raw 1, raw 2, raw 2a");
}

TEST_P(EncdevTest, WithoutALabThereIsNoDeviceAndOneThatGoesAwayIsAnInputOutputError) {
    chassis.bus().observe(
        [this](const BusTransfer&) { asio::post(io, [this] { server.reset(); }); });
    EXPECT_EQ(run("open read 4c 0 read 4c 0 funcs close"),
              "open 0, read 1e, read EIO, funcs EIO, close 0");
    EXPECT_EQ(run("open"), "open ENXIO");
}

constexpr long kAnyTime = std::numeric_limits<long>::max();

// A million milliseconds under a speed, 20 without one.
TEST_P(EncdevTest, WaitsAreDividedBySpeedAndWhatIsLeftIsInTheCallersTime) {
    for (const char* const speed : {"50000", "1", "0", "x"}) {
        const bool divides = std::string(speed) == "50000";
        run(divides ? "waits f4240" : "waits 14", {std::string("ENCLAB_SPEED=") + speed});
        ASSERT_EQ(lines.size(), 9U);
        for (std::size_t n = 0; n < 8; ++n) {
            const Words words(lines[n]);
            const bool isShort = words.value(2) < 1000000;
            EXPECT_TRUE(words[1] == "0" && words.value(2) >= 20 && (!divides || isShort))
                << lines[n];
        }
        const int left = std::stoi(Words(lines[8])[1], nullptr, 16);
        EXPECT_TRUE(divides ? left > 20 && left < 1000000 : left == 19) << left;
    }
}

TEST_P(EncdevTest, UnderTheLabsTimeWaitsTakeExactlyTheirLengthAndNoRealOne) {
    clock = std::make_unique<ClockServer>(io, clockSocket);
    EXPECT_EQ(run("waits 64 wall"),
              "usleep 0 100, nanosleep 0 100, clock_nanosleep 0 100, pselect 0 100, poll 0 100, "
              "ppoll 0 100, select 0 100, recv 0 0, waits 64, wall 15180")
        << "recv waits in the kernel; no time passed where select found something";
}

INSTANTIATE_TEST_SUITE_P(Programs, EncdevTest, testing::Values(PROBE, PROBE_PLAIN),
                         [](const auto& instance) {
                             return std::string(instance.param) == PROBE ? "AsTheDaemon" : "Plain";
                         });

}  // namespace
}  // namespace enclab
