// SPDX-License-Identifier: Apache-2.0
// The trace log: its lines, whatever the names, texts and levels, and its files, whatever stands in
// their way. Once the log is open it allocates nothing; the allocator's calls are counted.
#include "trace.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>

#include "tests/support/trace_capture.h"

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

static unsigned allocations;

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

struct Statement {
    enum { INFO, ENTER, RETURN, DUMP } kind;
    U8_t module;
    U16_t level;  // of the module
    std::string file, function, text;
    int line;
    std::vector<U8_t> bytes;  // of a dump

    void write() const {
        const char* const f = file.c_str();
        const auto writer = kind == INFO    ? TRACE__statement
                            : kind == ENTER ? TRACE__enterStatement
                                            : TRACE__returnStatement;
        if (kind == DUMP) {
            TRACE__dumpStatement(module, f, function.c_str(), line, bytes.data(),
                                 static_cast<U32_t>(bytes.size()), "%s", text.c_str());
        } else {
            writer(module, f, function.c_str(), line, "%s", text.c_str());
        }
    }
    // The same by the caller's own hand, with a length beyond the text's buffer.
    void writeRaw() const {
        pthread_mutex_lock(&traceData.lock);
        traceData.moduleIndex = module;
        traceData.fileName = file.c_str();
        traceData.funcName = function.c_str();
        traceData.lineNumber = static_cast<U32_t>(line);
        std::memset(traceData.infoBuf, 0, sizeof traceData.infoBuf);
        text.copy(traceData.infoBuf, sizeof traceData.infoBuf);
        traceData.infoBufLen = text.size() < 1024 ? static_cast<U32_t>(text.size()) : 4000;
        kind == INFO    ? TRACE__logInfo(1, 0)
        : kind == DUMP  ? TRACE__logDump(bytes.data(), static_cast<U32_t>(bytes.size()))
        : kind == ENTER ? TRACE__logEnter()
                        : TRACE__logReturn();
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
        std::string prefix;
        char stamp[40];
        std::strftime(stamp, sizeof stamp, "%b %e %H:%M:%S  ", std::localtime(&timeIs));
        const bool has[] = {(level & TIME) != 0, (level & FILE_NAME) != 0, (level & FUNCTION) != 0};
        const std::string number = std::to_string(line) + ":";
        prefix += has[0] && kind != DUMP ? stamp : "";
        prefix += has[1] ? file.substr(0, 32) + ":" : "";
        if (kind == INFO || kind == DUMP) {
            prefix += has[2] ? function.substr(0, 32) + ":" : "";
            prefix += has[1] || has[2] ? number + (kind == INFO ? "  " : " ") : "";
        } else {
            prefix += (has[1] ? number : "") + (kind == ENTER ? "ENTERING into" : "EXITING from") +
                      " func: " + function + ": ";
        }
        return prefix.substr(0, 167) + text.substr(0, 1023) + (kind == DUMP ? rows() : "") + "\n";
    }
    // 32 bytes a row behind their address, in groups of eight.
    std::string rows() const {
        std::string rows;
        char cell[20];
        for (std::size_t n = 0; n < bytes.size(); ++n) {
            const auto address = static_cast<U32_t>(reinterpret_cast<std::uintptr_t>(&bytes[n]));
            std::snprintf(cell, sizeof cell,
                          n % 32 == 0  ? "\n0x%08X: "
                          : n % 8 == 0 ? " "
                                       : "",
                          address);
            rows += cell;
            std::snprintf(cell, sizeof cell, "%02X", bytes[n]);
            rows += cell;
        }
        return rows;
    }
};

class Trace : public testing::Test {
  protected:
    Trace() {
        mkdtemp(root);
        fs::current_path(root);
    }
    ~Trace() override {
        if (traceData.numModLevels != 0) {
            TRACE__done();
        }
        fs::current_path("/");
        fs::remove_all(root);
    }
    void init(const MPU_PARAMS_t* params, const char* pattern = "esa_%02d.log") {
        static const char* const names[] = {"ESA", "I2C"};
        TRACE__init(params, pattern, 2, names);
    }
    std::size_t below(std::size_t limit) { return random() % limit; }
    static void counted(const std::function<void()>& act) {
        const unsigned before = allocations;
        act();
        EXPECT_EQ(allocations, before);
    }
    Statement statement(std::size_t longest) {
        const std::size_t lengths[] = {0, 8, 20, 31, 32, 33, 36};
        const U16_t level = static_cast<U16_t>(random() & (TIME | FUNCTION | FILE_NAME));
        Statement made{static_cast<decltype(Statement::kind)>(below(4)),
                       static_cast<U8_t>(below(2)),
                       level,
                       std::string(lengths[below(7)], 'f'),
                       std::string(below(4) == 0 ? below(200) : lengths[below(7)], 'g'),
                       std::string(below(3) == 0 ? longest - below(longest / 2) : below(40), 't'),
                       static_cast<int>(random() >> below(32)),
                       {}};
        if (made.kind == Statement::DUMP) {
            made.bytes.resize(below(8) == 0 ? 4064 - below(3000) : below(70));
            std::ranges::generate(made.bytes, [this] { return static_cast<U8_t>(random()); });
        }
        return made;
    }

    char root[30] = "/tmp/esa-trace-XXXXXX";
    std::mt19937 random{25};
    struct {
        MPU_PARAMS_t params = {};
        U32_t behind = ~0U;  // no zero
    } area;
};

}  // namespace

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
            const time_t steps[] = {0, 0, 0, 1, -1, 86400, 31 * 86400, -7 * 86400};
            timeIs += steps[below(8)];
            Statement next = statement(1100);
            TRACE__setTraceLevel(next.module, next.level);
            TRACE__setTraceLevel(1 - next.module, static_cast<U16_t>(~next.level));
            traceData.logWriteCount = 0;
            const bool raw = below(2) == 0;
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

namespace {

// What is known of the files, beside each operation on the log.
class TraceFiles : public Trace {
  protected:
    static std::string fileName(int number) {
        char file[40];
        std::snprintf(file, sizeof file, "/esa_%02d.log", number);
        return file;
    }
    std::string name() const { return toFile ? directory + fileName(instance) : "<stderr>"; }
    // Only plain files with one name are written.
    bool isBlocked() const {
        struct stat file;
        const bool there = lstat(name().c_str(), &file) == 0;
        return there ? !S_ISREG(file.st_mode) || file.st_nlink > 1 : !fs::is_directory(directory);
    }
    void open() {
        count = 0;
        instance = (instance + 1) % 256;
        size = 0;
        if (toFile && isBlocked()) {
            errors += "TRACE_openLog: Failed to open logfile " + name() +
                      " So We are going print all log messages on to stdout";
            toFile = false;
        }
    }
    // Anew, or after the end.
    void redirect() {
        if (traceData.numModLevels != 0 && below(3) == 0) {
            const std::ptrdiff_t open = descriptors();
            TRACE__done();
            EXPECT_EQ(descriptors(), open - (toFile ? 1 : 0));
            EXPECT_EQ(traceData.fd, stderr);
        }
        const std::string directories[] = {".", "./100%s%n%02d", std::string(128, 'd'), "missing",
                                           ""};
        directory = directories[below(5)];
        area.params = {};
        directory.copy(area.params.logDirectory, sizeof area.params.logDirectory);
        const char* const pattern = below(6) == 0 ? "" : "esa_%02d.log";
        const bool none = below(6) == 0;
        toFile = !none && !directory.empty() && *pattern != '\0';
        instance = 0;
        open();
        const MPU_PARAMS_t* const params = none ? nullptr : &area.params;
        traceData.numModLevels == 0 ? init(params, pattern) : TRACE__redirect(params, pattern);
    }
    void check() {
        count = 0;
        if (toFile && size > 1999999999) {
            open();
        }
    }
    void write() {
        Statement next = statement(1023);
        TRACE__setTraceLevel(next.module, next.level);
        if (++count > 99999) {
            check();
        }
        count += next.writes() - 1;
        const std::string line = next.written();
        (toFile ? last : errors) += line;
        size += line.size();
        counted([&] { next.write(); });
    }
    // Something stands where the next file is to be.
    void obstruct() {
        const std::string path = directory + fileName((below(2) == 0 ? 0 : instance) + 1);
        if (path == name() || !fs::is_directory(directory)) {
            return;
        }
        fs::remove_all(path);
        switch (below(6)) {
            case 0:
                return fs::create_symlink(root + std::string("/victim"), path);
            case 1:
                return fs::create_hard_link("victim", path);
            case 2:
                mkfifo(path.c_str(), 0600);
                return;
            case 3:
                fs::create_directory(path);
                return;
            default:
                std::ofstream(path) << "from an earlier run";
                fs::permissions(path, fs::perms(0666));
        }
    }
    // The file's end, its rights, and the descriptors in use.
    void inspect() {
        char log[TRACE_K_NAME_SIZE];
        TRACE__getLogName(log);
        ASSERT_EQ(log, name());
        ASSERT_EQ(traceData.logWriteCount, count);
        ASSERT_EQ(descriptors(), descriptorsAtStart + (toFile ? 1 : 0));
        if (toFile) {
            ASSERT_EQ(fs::file_size(log), size);
            ASSERT_EQ(fs::status(log).permissions(), fs::perms(0640));
            std::ifstream file(log);
            file.seekg(static_cast<std::streamoff>(size - last.size()));
            ASSERT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), last);
        }
        last.clear();
    }

    static std::ptrdiff_t descriptors() {
        return std::distance(fs::directory_iterator("/proc/self/fd"), {});
    }

    const std::ptrdiff_t descriptorsAtStart = descriptors();
    bool toFile = false;
    std::string directory, errors, last;
    int instance = 0;
    U32_t count = 0;
    std::uintmax_t size = 0;
};

}  // namespace

TEST_F(TraceFiles, FollowEachOtherBySizeAndWhatIsInTheirWayLeavesStandardError) {
    std::ofstream("victim") << "kept";
    fs::create_directory("100%s%n%02d");
    fs::create_directory(std::string(128, 'd'));
    timeIs = 1700000000;
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        testing::internal::CaptureStderr();
        const std::size_t what = round % 50 == 0 ? 0 : below(12);
        if (what == 0) {
            redirect();
        } else if (what == 1) {
            open();
            counted(TRACE_openLog);
        } else if (what == 2) {
            check();
            counted(TRACE_checkLog);
        } else if (what == 3) {
            count = traceData.logWriteCount = 99998 + static_cast<U32_t>(below(2));
        } else if (what == 4 && toFile) {
            const std::uintmax_t sizes[] = {0, 0, 1999999999, 2000000000};
            size = sizes[below(4)];
            fs::resize_file(name(), size);  // from outside
        } else if (what == 5) {
            obstruct();
        } else if (what == 6) {
            traceData.logInstanceNumber = static_cast<U8_t>(instance = 254);
            open();
            counted(TRACE_openLog);
        } else {
            write();
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(), std::exchange(errors, ""));
        inspect();
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(fs::file_size("victim"), 4U);
    timeIs = 0;
}

TEST_F(Trace, ANameIsCutToItsField) {
    const std::string directory(128, 'd');
    fs::create_directory(directory);
    directory.copy(area.params.logDirectory, 128);
    init(nullptr);
    for (std::size_t length = 50; length < 62; ++length) {
        const std::string pattern = "%09d" + std::string(length, 'p');
        const std::string kept = pattern.substr(4, 191 - 133);
        TRACE__redirect(&area.params, pattern.c_str());
        char name[TRACE_K_NAME_SIZE];
        TRACE__getLogName(name);
        EXPECT_EQ(name, (directory + "/000000001" + kept).substr(0, 191));
        EXPECT_TRUE(fs::exists(name));
    }
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
