// SPDX-License-Identifier: Apache-2.0
// The trace log: its lines, whatever the names, texts and levels, and its files, whatever stands in
// their way.
#include "trace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>

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
        std::string prefix;
        char stamp[40];
        std::strftime(stamp, sizeof stamp, "%b %e %H:%M:%S  ", std::localtime(&timeIs));
        const bool hasFile = (level & FILE_NAME) != 0, hasFunction = (level & FUNCTION) != 0;
        const std::string number = std::to_string(line) + ":";
        prefix += (level & TIME) != 0 && kind != DUMP ? stamp : "";
        prefix += hasFile ? file.substr(0, 32) + ":" : "";
        if (kind == INFO || kind == DUMP) {
            prefix += hasFunction ? function.substr(0, 32) + ":" : "";
            prefix += hasFile || hasFunction ? number + (kind == INFO ? "  " : " ") : "";
        } else {
            prefix += (hasFile ? number : "") + (kind == ENTER ? "ENTERING into" : "EXITING from") +
                      " func: " + function + ": ";
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
    static void init(const MPU_PARAMS_t* params, const char* pattern = "esa_%02d.log") {
        static const char* const names[] = {"ESA", "I2C"};
        TRACE__init(params, pattern, 2, names);
    }
    Statement statement(std::size_t longest) {
        const auto length = [this] { return random.of<std::size_t>({0, 8, 20, 31, 32, 33, 36}); };
        Statement made{
            random.of({Statement::INFO, Statement::ENTER, Statement::RETURN, Statement::DUMP}),
            static_cast<U16_t>(random() & (TIME | FUNCTION | FILE_NAME)),
            std::string(length(), 'f'),
            std::string(random.onceIn(4) ? random.below(200) : length(), 'g'),
            std::string(random.onceIn(3) ? longest - random.below(longest / 2) : random.below(40),
                        't'),
            static_cast<int>(random() >> random.below(32)),
            {}};
        if (made.kind == Statement::DUMP) {
            made.bytes =
                random.bytes(random.onceIn(8) ? 4064 - random.below(3000) : random.below(70));
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

}  // namespace

// Into a pipe of packets, which shows that a line is one write.
TEST_F(Trace, ALineHasWhatTheLevelWantsAndIsOneWrite) {
    setenv("TZ", "XYZ-05:30", 1);
    init(nullptr);
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_DIRECT | O_NONBLOCK), 0);
    traceData.fd = fdopen(ends[1], "w");
    for (int round = 0; round < 2000; ++round) {
        timeIs += random.of({0, 0, 0, 1, -1, 86400, 31 * 86400, -7 * 86400});
        const Statement next = statement(1100);
        traceData.logWriteCount = 0;
        next.write();
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
    // By the caller's own hand: a length beyond the text's buffer, and output that is off.
    for (const bool on : {true, false}) {
        pthread_mutex_lock(&traceData.lock);
        std::memset(traceData.infoBuf, 't', sizeof traceData.infoBuf);
        traceData.infoBufLen = 4000;
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
    testing::internal::CaptureStderr();
    init(nullptr);
    EXPECT_EQ(std::string(traceData.modNames[0]) + traceData.modNames[1], "ESAI2C");
    for (const int index : {1, 0, 2, -1, 256}) {
        const bool good = index == 0 || index == 1;
        EXPECT_EQ(TRACE__setTraceLevel(index, 0xC0F0), good ? 0 : -1);
        EXPECT_EQ(TRACE__getTraceLevel(index), good ? 0xC0F0 : 0);
        EXPECT_EQ(TRACE__getTraceLevel(0), index == 1 ? 0 : 0xC0F0);
        std::string errors;
        for (const char* call : {"set", "get"}) {
            errors +=
                good ? ""
                     : text("ERROR !! TRACE__", call, "TraceLevel: Invalid trace MODULE INDEX \n");
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(), errors);
        testing::internal::CaptureStderr();
    }
    testing::internal::GetCapturedStderr();
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
        EXPECT_EQ(log.take(), (Lines{text("f:operator():", line, ":  1"),
                                     text("f:operator():", line + 1, ": 2")}));
        TRACE__setTraceLevel(0, 0x10);
        TRACE_STATEMENT(0, 0x10, "f", "outer %d", traced());
        EXPECT_EQ(log.take(), (Lines{"inner", "outer 5"}));
    }
    say(0xFFFF);
    EXPECT_EQ(evaluated, 2);
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
        if (traceData.numModLevels != 0 && random.onceIn(3)) {
            TRACE__done();
            EXPECT_EQ(traceData.fd, stderr);
        }
        directory =
            random.of<std::string>({".", "./100%s%n%02d", std::string(128, 'd'), "missing", ""});
        area.params = {};
        directory.copy(area.params.logDirectory, sizeof area.params.logDirectory);
        const char* const pattern = random.onceIn(6) ? "" : "esa_%02d.log";
        const bool none = random.onceIn(6);
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
        const Statement next = statement(1023);
        if (++count > 99999) {
            check();
        }
        count += next.writes() - 1;
        const std::string line = next.written();
        (toFile ? last : errors) += line;
        size += line.size();
        next.write();
    }
    // Something stands where the next file is to be.
    void obstruct() {
        const std::string path = directory + fileName(random.of({0, instance}) + 1);
        if (path == name() || !fs::is_directory(directory)) {
            return;
        }
        fs::remove_all(path);
        switch (random.below(6)) {
            case 0:
                return fs::create_symlink(root + std::string("/victim"), path);
            case 1:
                return fs::create_hard_link("victim", path);
            case 2:
                EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
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
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        testing::internal::CaptureStderr();
        const std::size_t what = round % 50 == 0 ? 0 : random.below(12);
        if (what == 0) {
            redirect();
        } else if (what == 1) {
            open();
            TRACE_openLog();
        } else if (what == 2) {
            check();
            TRACE_checkLog();
        } else if (what == 3) {
            count = traceData.logWriteCount = 99998 + random.of({0U, 1U});
        } else if (what == 4 && toFile) {
            size = random.of<std::uintmax_t>({0, 0, 1999999999, 2000000000});
            fs::resize_file(name(), size);  // from outside
        } else if (what == 5) {
            obstruct();
        } else if (what == 6) {
            traceData.logInstanceNumber = static_cast<U8_t>(instance = 254);
            open();
            TRACE_openLog();
        } else {
            write();
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(), std::exchange(errors, ""));
        inspect();
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(fs::file_size("victim"), 4U);
}

TEST_F(Trace, ANameIsCutToItsField) {
    const std::string directory(128, 'd');
    fs::create_directory(directory);
    directory.copy(area.params.logDirectory, 128);
    init(&area.params, ("%09d" + std::string(60, 'p')).c_str());
    char name[TRACE_K_NAME_SIZE];
    TRACE__getLogName(name);
    // The pattern is cut first.
    EXPECT_EQ(name, (directory + "/000000001" + std::string(58, 'p')).substr(0, 191));
    EXPECT_TRUE(fs::exists(name));
}
