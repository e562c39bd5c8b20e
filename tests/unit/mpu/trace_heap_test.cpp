// SPDX-License-Identifier: Apache-2.0
// Once the log is open nothing is allocated, rotation included. This program counts the C library's
// own allocations too, so it stands alone.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "trace.h"

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
}

static unsigned allocations;

extern "C" void* malloc(std::size_t size) {
    allocations++;
    return __libc_malloc(size);
}
extern "C" void* calloc(std::size_t count, std::size_t size) {
    allocations++;
    return __libc_calloc(count, size);
}
extern "C" void* realloc(void* block, std::size_t size) {
    allocations++;
    return __libc_realloc(block, size);
}

TEST(TraceHeap, OpenLogAllocatesNothing) {
    char directory[] = "/tmp/esa-trace-XXXXXX";
    ASSERT_NE(mkdtemp(directory), nullptr);
    MPU_PARAMS_t params = {};
    std::snprintf(params.logDirectory, sizeof params.logDirectory, "%s", directory);
    static const char* const names[] = {"ESA"};

    const unsigned beforeOpen = allocations;
    TRACE__init(&params, "esa_%02d.log", 1, names);
    TRACE__setTraceLevel(0, 0xE0FF);
    const unsigned opened = allocations;
    const U8_t bytes[256] = {};
    for (int file = 0; file < 3; file++) {
        TRACE_STATEMENT(0, 0x10, "esamain.cpp", "%s %d %5.2f", "text", 7, 3.25);
        TRACE_DUMP_STATEMENT(0, 0x10, "esamain.cpp", bytes, sizeof bytes, "dump");
        TRACE__enterStatement(0, "esamain.cpp", "f", 1, "in");
        TRACE_openLog();
    }
    EXPECT_EQ(allocations - opened, 0U);
    EXPECT_GT(opened, beforeOpen);  // the counting works
    TRACE__done();
    std::filesystem::remove_all(directory);
}
