// SPDX-License-Identifier: Apache-2.0
// The trace log: its lines, whatever the names, texts and levels, and its files, whatever stands in
// their way.
#include "trace.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <numeric>

#include "tests/support/laws.h"
#include "tests/support/trace_capture.h"

namespace fs = std::filesystem;

// The time of day, where a test has said it. (Redirected with 64-bit time, and so is this.)
static std::time_t timeIs = 0;
extern "C" time_t time(time_t*) noexcept {
    timespec now = {timeIs, 0};
    if (timeIs == 0) {
        clock_gettime(CLOCK_REALTIME, &now);
    }
    return now.tv_sec;
}

namespace {

constexpr U16_t TIME = 0x8000, FUNCTION = 0x4000, FILE_NAME = 0x2000;

// A trace statement with what it is to write.
struct Statement {
    enum Kind { INFO, ENTER, RETURN, DUMP } kind;
    U16_t level;  // of the module
    std::string file, function, text;
    int line;
    Bytes bytes;  // of a dump

    void write() const {
        const auto writer = kind == INFO    ? TRACE__statement
                            : kind == ENTER ? TRACE__enterStatement
                                            : TRACE__returnStatement;
        if (kind == DUMP) {
            TRACE__dumpStatement(1, file.c_str(), function.c_str(), line, bytes.data(),
                                 narrowTo<U32_t>(bytes.size()), "%s", text.c_str());
        } else {
            writer(1, file.c_str(), function.c_str(), line, "%s", text.c_str());
        }
    }
    // What it counts as: a dump one more for each 1009 characters and more that it has collected.
    U32_t writes() const {
        U32_t writes = 1, held = 0;
        for (std::size_t n = 0; n < bytes.size(); ++n) {
            writes += held > 1008 ? 1 : 0;
            held = (held > 1008 ? 0 : held) + (n % 32 == 0 ? 15 : n % 8 == 0 ? 3 : 2);
        }
        return writes;
    }
    // What it writes: a prefix of 167 characters at most, a text of 1023.
    std::string written() const {
        char stamp[40] = "";
        if ((level & TIME) != 0 && kind != DUMP) {
            std::strftime(stamp, sizeof stamp, "%b %e %H:%M:%S  ", std::localtime(&timeIs));
        }
        const bool hasFile = (level & FILE_NAME) != 0, hasFunction = (level & FUNCTION) != 0;
        const bool isCall = kind == ENTER || kind == RETURN;
        std::string prefix = stamp + (hasFile ? file.substr(0, 32) + ":" : "");
        prefix += hasFunction && !isCall ? function.substr(0, 32) + ":" : "";
        prefix += hasFile || (hasFunction && !isCall) ? std::to_string(line) + ":" : "";
        if (isCall) {
            prefix += (kind == ENTER ? "ENTERING into func: " : "EXITING from func: ") + function;
            prefix += ": ";
        } else if (hasFile || hasFunction) {
            prefix += kind == INFO ? "  " : " ";
        }
        return prefix.substr(0, 167) + text.substr(0, 1023) + rows() + "\n";
    }
    // 32 bytes a row behind their address, in groups of eight.
    std::string rows() const {
        std::string rows;
        char cell[20];
        for (std::size_t n = 0; n < bytes.size(); ++n) {
            const auto address = reinterpret_cast<std::uintptr_t>(&bytes[n]) & UINT32_MAX;
            std::snprintf(cell, sizeof cell, "\n0x%08X: ", static_cast<U32_t>(address));
            rows += n % 32 == 0 ? cell : n % 8 == 0 ? " " : "";
            std::snprintf(cell, sizeof cell, "%02X", bytes[n]);
            rows += cell;
        }
        return rows;
    }
};

// A directory for the log.
class Trace : public testing::Test {
  protected:
    Trace() {
        mkdtemp(root);
        fs::current_path(root);
        timeIs = 1700000000;
    }
    ~Trace() override {
        if (traceData.numModLevels != 0) {
            TRACE__done();
        }
        fs::current_path("/");
        fs::remove_all(root);
        timeIs = 0;
    }
    static void init(const MPU_PARAMS_t* params, const char* pattern) {
        static const char* const names[] = {"ESA", "I2C"};
        TRACE__init(params, pattern, 2, names);
    }
    // Opens the log there; what came of it on standard error.
    std::string open(const std::string& directory, const char* pattern = "esa_%02d.log") {
        area.params = {};
        directory.copy(area.params.logDirectory, sizeof area.params.logDirectory);
        testing::internal::CaptureStderr();
        traceData.numModLevels == 0 ? init(&area.params, pattern)
                                    : TRACE__redirect(&area.params, pattern);
        TRACE__statement(0, "", "", 0, "text");
        return testing::internal::GetCapturedStderr();
    }
    static std::string name() {
        char name[TRACE_K_NAME_SIZE];
        TRACE__getLogName(name);
        return name;
    }
    static std::ptrdiff_t descriptors() {
        return std::distance(fs::directory_iterator("/proc/self/fd"), {});
    }
    static std::string content(const std::string& file) {
        return {std::istreambuf_iterator<char>(std::ifstream(file).rdbuf()), {}};
    }
    Statement statement() {
        const auto some = [this](char letter) {
            return std::string(random.of<std::size_t>({0, 8, 31, 32, 33, random.below(200)}),
                               letter);
        };
        Statement made{
            random.of({Statement::INFO, Statement::ENTER, Statement::RETURN, Statement::DUMP}),
            static_cast<U16_t>(random() & (TIME | FUNCTION | FILE_NAME)),
            some('f'),
            some('g'),
            std::string(random.of({random.below(40), 1020 + random.below(8)}), 't'),
            static_cast<int>(random() >> random.below(32)),
            {}};
        if (made.kind == Statement::DUMP) {
            made.bytes = random.bytes(
                random.of({random.below(70), 400 + random.below(4), random.below(4064)}));
        }
        TRACE__setTraceLevel(0, static_cast<U16_t>(~made.level));
        TRACE__setTraceLevel(1, made.level);
        return made;
    }

    char root[30] = "/tmp/esa-trace-XXXXXX";
    Random random{25};
    struct {
        MPU_PARAMS_t params = {};
        U32_t behind = ~0U;  // no zero
    } area;
};

// Into a pipe of packets, which shows that a line is one write.
TEST_F(Trace, ALineHasWhatTheLevelWantsAndIsOneWrite) {
    setenv("TZ", "XYZ-05:30", 1);
    init(nullptr, "");
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_DIRECT | O_NONBLOCK), 0);
    traceData.fd = fdopen(ends[1], "w");
    for (int round = 0; round < 1000; ++round) {
        timeIs += random.of({0, 0, 0, 1, -1, 86400, 31 * 86400, -7 * 86400});
        const Statement next = statement();
        traceData.logWriteCount = 0;
        next.write();
        ASSERT_EQ(traceData.logWriteCount, next.writes());
        Lines packets;
        char packet[4096];
        for (ssize_t size; (size = read(ends[0], packet, sizeof packet)) > 0;) {
            packets.emplace_back(packet, static_cast<std::size_t>(size));
        }
        ASSERT_EQ(std::accumulate(packets.begin(), packets.end(), std::string()), next.written());
        ASSERT_TRUE(next.kind == Statement::DUMP || packets.size() == 1);
    }
    // By the caller's own hand: a length beyond the text's buffer, and output that is off.
    for (const bool on : {true, false}) {
        pthread_mutex_lock(&traceData.lock);
        std::memset(traceData.infoBuf, 't', sizeof traceData.infoBuf);
        traceData.infoBufLen = 1025;
        traceData.funcName = "g";
        TRACE__setTraceLevel(traceData.moduleIndex, 0);
        on ? TRACE__logEnter() : TRACE__logInfo(0, 0);
    }
    char line[2048] = {};
    EXPECT_EQ(read(ends[0], line, sizeof line), 23 + 1023 + 1);
    EXPECT_EQ(line, "ENTERING into func: g: " + std::string(1023, 't') + "\n");
    EXPECT_EQ(read(ends[0], line, 1), -1);
    std::fclose(std::exchange(traceData.fd, stderr));
    close(ends[0]);
    char stamp[64] = "1234567";
    EXPECT_EQ(TRACE_getTimestamp(stamp, 4), 3);
    EXPECT_STREQ(stamp + 4, "567");
    EXPECT_EQ(TRACE_getTimestamp(nullptr, 64) + TRACE_getTimestamp(stamp, 0), 0);
    EXPECT_EQ(TRACE_getTimestamp(stamp, sizeof stamp), 15);
    unsetenv("TZ");
}

TEST_F(Trace, LevelsAreKeptForEachModuleAndRefusedForOthers) {
    init(nullptr, "");
    EXPECT_EQ(std::string(traceData.modNames[0]) + traceData.modNames[1], "ESAI2C");
    for (const int index : {1, 0, 2, -1, 256}) {
        const bool good = index == 0 || index == 1;
        testing::internal::CaptureStderr();
        EXPECT_EQ(TRACE__setTraceLevel(index, 0xC0F0), good ? 0 : -1);
        EXPECT_EQ(TRACE__getTraceLevel(index), good ? 0xC0F0 : 0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  good ? ""
                       : "ERROR !! TRACE__setTraceLevel: Invalid trace MODULE INDEX \n"
                         "ERROR !! TRACE__getTraceLevel: Invalid trace MODULE INDEX \n");
        EXPECT_EQ(TRACE__getTraceLevel(0), index == 1 ? 0 : 0xC0F0);
    }
}

// Before the log is open and when it is closed all are off. An argument may be traced itself.
TEST(TraceStatement, EvaluatesNothingWhileItIsOff) {
    int evaluated = 0;
    const auto say = [&](U16_t level) {
        TRACE_STATEMENT(0, level, "f", "%d", ++evaluated);
        TRACE_DUMP_STATEMENT(0, level, "f", "A", 0, "%d", ++evaluated);
    };
    say(0xFFFF);
    {
        TraceCapture log(0x6001);
        say(0x10);
        EXPECT_EQ(evaluated, 0);
        say(0x01);
        EXPECT_THAT(log.take(),
                    testing::ElementsAre(testing::MatchesRegex("f:operator..:[0-9]+:  1"),
                                         testing::MatchesRegex("f:operator..:[0-9]+: 2")));
        TRACE__setTraceLevel(0, 0x10);
        const auto traced = [] {
            TRACE_STATEMENT(0, 0x10, "f", "inner");
            return 5;
        };
        TRACE_STATEMENT(0, 0x10, "f", "outer %d", traced());
        EXPECT_EQ(log.take(), (Lines{"inner", "outer 5"}));
    }
    say(0xFFFF);
    EXPECT_EQ(evaluated, 2);
}

TEST_F(Trace, FilesAreWhereTheAreaSaysUnlessItSaysNothing) {
    const std::ptrdiff_t before = descriptors();
    const std::string longest(128, 'd');
    for (const std::string& directory : {std::string("./100%s%n%02d"), longest}) {
        fs::create_directory(directory);
        for (const char* text : {"", "from an earlier run"}) {
            std::ofstream(directory + "/esa_01.log") << text;
            fs::permissions(directory + "/esa_01.log", fs::perms(0666));
            EXPECT_EQ(open(directory), "");
            EXPECT_EQ(name(), directory + "/esa_01.log");
            EXPECT_EQ(content(name()), "text\n");
            EXPECT_EQ(fs::status(name()).permissions(), fs::perms(0640));
            EXPECT_EQ(descriptors(), before + 1);
        }
    }
    for (const auto& [directory, pattern] : {std::pair{"", "esa"}, {".", ""}}) {
        EXPECT_EQ(open(directory, pattern), "text\n");
        EXPECT_EQ(name(), "<stderr>");
    }
    open(".");
    TRACE__done();
    EXPECT_EQ(descriptors(), before);
    EXPECT_EQ(traceData.fd, stderr);
    // The pattern is cut to its field, and then the name.
    open(longest, ("%09d" + std::string(60, 'p')).c_str());
    EXPECT_EQ(name(), (longest + "/000000001" + std::string(58, 'p')).substr(0, 191));
    EXPECT_TRUE(fs::exists(name()));
}

// Only plain files with one name are written, at the start and when it is the next one's turn.
TEST_F(Trace, WhatIsInTheWayOfFilesLeavesStandardError) {
    std::ofstream("victim") << "kept";
    std::ofstream("alone") << "kept";  // the link alone is what is wrong with it
    fs::create_symlink("alone", "symlink");
    fs::create_hard_link("victim", "link_04");
    EXPECT_EQ(mkfifo("fifo", 0600), 0);
    fs::create_directory("directory");
    const std::string error = " So We are going print all log messages on to stdout",
                      failed = "TRACE_openLog: Failed to open logfile ./";
    const std::ptrdiff_t before = descriptors();
    EXPECT_EQ(open("./missing"), failed + "missing/esa_01.log" + error + "text\n");
    for (const char* other : {"symlink", "link_04", "fifo", "directory"}) {
        EXPECT_EQ(open(".", other), failed + other + error + "text\n");
        EXPECT_EQ(name(), "<stderr>");
    }
    open(".", "link_%02d");
    traceData.logInstanceNumber = 3;
    testing::internal::CaptureStderr();
    TRACE_openLog();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), failed + "link_04" + error);
    EXPECT_EQ(descriptors(), before);
    EXPECT_EQ(content("victim") + content("alone"), "keptkept");
}

// Sizes are looked at every so many lines, or when somebody asks.
TEST_F(Trace, FilesFollowEachOtherBySize) {
    open(".");
    const std::ptrdiff_t before = descriptors();
    for (const auto& [last, next, asked] :
         {std::tuple{"01", "02", false}, {"254", "255", false}, {"255", "00", true}}) {
        traceData.logInstanceNumber = static_cast<U8_t>(std::atoi(last) - 1);
        TRACE_openLog();
        for (const std::uintmax_t size : {1999999999U, 2000000000U}) {
            const std::string file = name();
            EXPECT_EQ(file, text("./esa_", last, ".log"));
            fs::resize_file(file, size);  // from outside
            traceData.logWriteCount = 99998;
            TRACE__statement(0, "", "", 0, "text");
            EXPECT_EQ(fs::file_size(file), size + 5) << "not looked at";
            fs::resize_file(file, size);
            asked ? TRACE_checkLog() : TRACE__statement(0, "", "", 0, "text");
            EXPECT_EQ(traceData.logWriteCount, 0U);
        }
        EXPECT_EQ(name(), text("./esa_", next, ".log"));
        EXPECT_EQ(content(name()), asked ? "" : "text\n");
        EXPECT_EQ(descriptors(), before);
    }
}

}  // namespace
