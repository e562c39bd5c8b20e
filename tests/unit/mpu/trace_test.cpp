// SPDX-License-Identifier: Apache-2.0
// The trace log's lines, whatever the names, texts and levels.
#include <fcntl.h>
#include <unistd.h>

#include "tests/support/trace_capture.h"
#include "tests/unit/mpu/trace_fixture.h"

unsigned allocations;

#ifndef __SANITIZE_ADDRESS__  // which has an allocator of its own
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* malloc(std::size_t size) {
    allocations++;
    return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
    allocations++;
    return __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) {
    allocations++;
    return __libc_realloc(block, size);
}
}
#endif

// (Redirected with 64-bit time, and so is this.)
std::time_t timeIs = 0;
extern "C" time_t time(time_t*) noexcept {
    timespec now = {timeIs, 0};
    if (timeIs == 0) {
        clock_gettime(CLOCK_REALTIME, &now);
    }
    return now.tv_sec;
}

// Into a pipe of packets, which shows that a line is one write.
TEST_F(Trace, ALineHasWhatTheLevelWantsAndIsOneWrite) {
    setenv("TZ", "XYZ-05:30", 1);
    init(nullptr);
    for (const int buffering : {_IOFBF, _IONBF}) {
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_DIRECT | O_NONBLOCK), 0);
        traceData.fd = fdopen(ends[1], "w");
        std::setvbuf(traceData.fd, nullptr, buffering, 4096);
        timeIs = 1700000000;
        for (int round = 0; round < 1500; ++round) {
            timeIs += random.of({0, 0, 0, 1, -1, 86400, 31 * 86400, -7 * 86400});
            Statement next = statement(1100);
            TRACE__setTraceLevel(next.module, next.level);
            TRACE__setTraceLevel(1 - next.module, static_cast<U16_t>(~next.level));
            traceData.logWriteCount = 0;
            const bool raw = random.onceIn(2);
            counted([&] { raw ? next.writeRaw() : next.write(); });
            ASSERT_EQ(traceData.logWriteCount, next.writes()) << round;
            std::string got;
            int packets = 0;
            char packet[4096];
            for (ssize_t size; (size = read(ends[0], packet, sizeof packet)) > 0; ++packets) {
                got.append(packet, static_cast<std::size_t>(size));
            }
            ASSERT_EQ(got, next.written()) << round;
            ASSERT_TRUE(next.kind == Statement::DUMP || packets == 1) << packets;
        }
        pthread_mutex_lock(&traceData.lock);
        TRACE__logInfo(0, 0);  // output is off
        char nothing;
        EXPECT_EQ(read(ends[0], &nothing, 1), -1);
        std::fclose(std::exchange(traceData.fd, stderr));
        close(ends[0]);
    }
    char stamp[64] = "1234567";
    EXPECT_EQ(TRACE_getTimestamp(stamp, 4), 3);
    EXPECT_EQ(std::string(stamp + 4), "567");
    EXPECT_EQ(TRACE_getTimestamp(nullptr, 64) + TRACE_getTimestamp(stamp, 0), 0);
    EXPECT_EQ(TRACE_getTimestamp(stamp, sizeof stamp), 15);
    timeIs = 0;
    unsetenv("TZ");
}

TEST_F(Trace, LevelsAreKeptForEachModuleAndRefusedForOthers) {
    testing::internal::CaptureStderr();
    init(nullptr);
    EXPECT_EQ(std::string(traceData.modNames[0]) + traceData.modNames[1], "ESAI2C");
    std::string errors;
    for (const int index : {1, 0, 2, -1, 256}) {
        const bool good = index == 0 || index == 1;
        EXPECT_EQ(TRACE__setTraceLevel(index, 0xC0F0), good ? 0 : -1);
        EXPECT_EQ(TRACE__getTraceLevel(index), good ? 0xC0F0 : 0);
        EXPECT_EQ(TRACE__getTraceLevel(0), index == 1 ? 0 : 0xC0F0);
        for (const char* call : {"set", "get"}) {
            errors += good ? ""
                           : std::string("ERROR !! TRACE__") + call +
                                 "TraceLevel: Invalid trace MODULE INDEX \n";
        }
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), errors);
}

static int traced() {
    TRACE_STATEMENT(0, 0x10, "f", "inner");
    return 5;
}

// Before the log is open and when it is closed all are off. An argument may be traced itself.
TEST(TraceStatement, EvaluatesNothingWhileItIsOff) {
    int evaluated = 0, line = 0;
    const auto say = [&](U16_t level) {
        line = __LINE__ + 1;
        TRACE_STATEMENT(0, level, "f", "%d", ++evaluated);
        TRACE_DUMP_STATEMENT(0, level, "f", "A", 0, "%d", ++evaluated);
    };
    say(0xFFFF);
    {
        TraceCapture log(0x6001);
        say(0x10);
        EXPECT_EQ(evaluated, 0);
        say(0x01);
        const std::string place = "f:operator():", first = place + std::to_string(line);
        EXPECT_EQ(log.take(), (Lines{first + ":  1", place + std::to_string(line + 1) + ": 2"}));
        TRACE__setTraceLevel(0, 0x10);
        TRACE_STATEMENT(0, 0x10, "f", "outer %d", traced());
        EXPECT_EQ(log.take(), (Lines{"inner", "outer 5"}));
    }
    say(0xFFFF);
    EXPECT_EQ(evaluated, 2);
}
