// SPDX-License-Identifier: Apache-2.0
// Parts of the service inside one process: a line of the trace log beside a bare write of it.
// usage: bench_parts [GOOGLE BENCHMARK OPTIONS]
//        bench_parts --count lines|writes|faults N    so many and no more, for who counts what
//                                                     they do; faults are critical ones
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "state/esa_fault.h"
#include "trace.h"

namespace {

constexpr U16_t STATEMENT = 0x0010;
constexpr U16_t VERBOSE = TRACE_K_TIMESTAMP | TRACE_K_FUNCTION | STATEMENT;

// A log in a directory of its own, its text, and a file to write the same to.
struct Log {
    std::filesystem::path directory;
    MPU_PARAMS_t params = {};
    std::string line;
    int plain = -1;

    Log() : directory(std::filesystem::temp_directory_path() / "bench-XXXXXX") {
        std::string name = directory;
        directory = mkdtemp(name.data());
        std::strcpy(params.logDirectory, directory.c_str());
        std::strcpy(params.nonVolatileDirectory, directory.c_str());
        pMpuParams = &params;
        const char* const names[] = {"ESA"};
        TRACE__init(&params, "esa_%02d.log", 1, names);
        statement(VERBOSE);
        std::getline(std::ifstream(directory / "esa_01.log"), line);
        line += '\n';
        plain = open((directory / "plain").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    }
    ~Log() { std::filesystem::remove_all(directory); }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    static void statement(U16_t level) {
        TRACE__setTraceLevel(0, level);
        trace();
    }
    [[gnu::noinline]] static void trace() {
        TRACE_STATEMENT(0, STATEMENT, "esamain.cpp", "Load PWM [%d] Percent to Fan [%d]", 50, 3);
    }
    void write() const { benchmark::DoNotOptimize(::write(plain, line.data(), line.size())); }
};

Log& theLog() {
    static Log log;
    return log;
}

void TraceLine(benchmark::State& state) {
    theLog().statement(VERBOSE);
    for (auto _ : state) {
        Log::trace();
    }
}

void TraceOff(benchmark::State& state) {
    theLog().statement(0);
    for (auto _ : state) {
        Log::trace();
    }
}

void BareWrite(benchmark::State& state) {
    const Log& log = theLog();
    for (auto _ : state) {
        log.write();
    }
}

// Fixed: the files would grow without end.
BENCHMARK(TraceLine)->Iterations(5000);
BENCHMARK(BareWrite)->Iterations(5000);
BENCHMARK(BareWrite)->Name("Control")->Iterations(5000);
BENCHMARK(TraceOff)->Iterations(5000);

void repeat(long number, void (*part)(const Log&)) {
    const Log& log = theLog();
    for (long n = 0; n < number; ++n) {
        part(log);
    }
}

void count(std::string_view what, long number) {
    if (what == "faults") {
        repeat(number, [](const Log&) { ESA_FAULT("bench", "a critical fault"); });
    } else if (what == "lines") {
        repeat(number, [](const Log&) { Log::trace(); });
    } else {
        repeat(number, [](const Log& log) { log.write(); });
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], "--count") == 0) {
        count(argv[2], std::atol(argv[3]));
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
