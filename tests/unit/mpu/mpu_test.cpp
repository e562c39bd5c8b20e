// SPDX-License-Identifier: Apache-2.0
// The runtime library: the trace log's lines, files and rotation, what a dying process leaves, the
// parameter area. Once its log is open it allocates nothing; the allocator's calls are counted.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <regex>
#include <thread>

#include "alt_event_log.h"
#include "osdep.h"
#include "tests/support/hex.h"
#include "tests/support/script.h"
#include "tests/support/trace_capture.h"
#include "trace.h"

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

// The alternate event log's last record, in memory that outlives the child that stored it.
static U8_t* const record = static_cast<U8_t*>(mmap(
    nullptr, ALT_EVENT_K_RECORD_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
int altEventLogM(const void* stored, const MPU_PARAMS_t* mpuParams) {
    std::memcpy(record, stored, ALT_EVENT_K_RECORD_SIZE);
    std::fprintf(stderr, "stored with %s\n", mpuParams == nullptr ? "no area" : "an area");
    return 0;
}
void altEventFlush(const MPU_PARAMS_t*) {
    std::fprintf(stderr, "flushed\n");
}

namespace {

pid_t lastChild;

// Runs `last` in a child of its own; how that ended. Deadly signals are exit statuses, as a shell
// shows them: an emulator has something to say of those that kill.
std::string endOf(const std::function<void()>& last) {
    lastChild = fork();
    if (lastChild == 0) {
        for (const int number : {SIGABRT, SIGSEGV}) {
            std::signal(number, [](int deadly) { _exit(128 + deadly); });
        }
        last();
        _exit(0);
    }
    int status = 0;
    waitpid(lastChild, &status, 0);
    return WIFEXITED(status) ? "exit " + std::to_string(WEXITSTATUS(status)) : "killed";
}

// Works in a directory of its own.
class TracePlayer : public Player {
  public:
    TracePlayer() {
        mkdtemp(root_);
        std::filesystem::current_path(root_);
        fileCommands();
        writerCommands();
        lastCommands();
        commands["level"] = [this](auto& w) {
            if (TRACE__setTraceLevel(w.number(1), w.u16(2)) != 0) {
                say("refused");
            }
            say("level ", TRACE__getTraceLevel(w.number(1)));
        };
        commands["modules"] = [this](auto&) {
            say(traceData.modNames[0], " ", traceData.modNames[1]);
        };
        commands["allocations"] = [this](auto&) { say(allocated_); };
        commands["sh"] = [](auto& w) { ASSERT_EQ(std::system(w.from(1).c_str()), 0); };
    }
    ~TracePlayer() override {
        if (traceData.numModLevels != 0) {
            TRACE__done();
        }
        std::filesystem::current_path("/");
        std::filesystem::remove_all(root_);
    }

  private:
    void fileCommands() {
        // init, redirect DIRECTORY [PATTERN]; "none" for no area, "empty" for an empty directory or
        // pattern.
        const auto place = [this](const Words& w) {
            const std::string directory = w[1] == "empty" ? "" : w[1];
            area_.params = {};
            directory.copy(area_.params.logDirectory, sizeof area_.params.logDirectory);
            pattern_ = w[2].empty() ? "esa_%02d.log" : w[2] == "empty" ? "" : w[2];
            return w[1] == "none" ? nullptr : &area_.params;
        };
        commands["init"] = [place, this](auto& w) {
            static const char* const names[] = {"ESA", "I2C"};
            const MPU_PARAMS_t* const params = place(w);
            if (traceData.numModLevels != 0) {
                TRACE__done();
            }
            TRACE__init(params, pattern_.c_str(), 2, names);
            TRACE__setTraceLevel(0, 0x10);
            shown_.clear();
            allocated_ = 0;
        };
        commands["redirect"] = [place, this](auto& w) {
            TRACE__redirect(place(w), pattern_.c_str());
        };
        commands["done"] = [](auto&) { TRACE__done(); };
        commands["next"] = counted([](auto&) { TRACE_openLog(); });
        commands["check"] = counted([](auto&) { TRACE_checkLog(); });
        commands["grow"] = [this](auto& w) {
            shownSize_ = static_cast<std::streamoff>(w.value(2));
            std::filesystem::resize_file(w[1], std::stoull(w[2]));
        };
        commands["instance"] = [](auto& w) { traceData.logInstanceNumber = w.u8(1); };
        commands["count"] = [this](auto& w) {
            say(traceData.logWriteCount);
            traceData.logWriteCount = w.u32(1);
        };
    }
    void writerCommands() {
        commands["place"] = [this](auto& w) {
            file_ = w[1];
            function_ = w[2];
        };
        const auto writer =
            [this](void (*write)(U8_t, const char*, const char*, int, const char*, ...)) {
                return counted([this, write](auto& w) {
                    write(0, file_.c_str(), function_.c_str(), 77, "%s", w.from(1).c_str());
                });
            };
        commands["info"] = writer(TRACE__statement);
        commands["enter"] = writer(TRACE__enterStatement);
        commands["return"] = writer(TRACE__returnStatement);
        // dump COUNT FIRST TEXT: bytes that count up.
        commands["dump"] = counted([this](auto& w) {
            for (int n = 0; n < w.number(1); ++n) {
                bytes_[n] = static_cast<U8_t>(w.number(2) + n);
            }
            TRACE__dumpStatement(0, file_.c_str(), function_.c_str(), 77, bytes_, w.u32(1), "%s",
                                 w.from(3).c_str());
        });
        // A writer is handed a length beyond the text's buffer.
        commands["raw"] = [](auto& w) {
            pthread_mutex_lock(&traceData.lock);
            traceData.infoBufLen = 4000;
            traceData.funcName = "f";
            w[1] == "enter"  ? TRACE__logEnter()
            : w[1] == "dump" ? TRACE__logDump(nullptr, 0)
                             : TRACE__logInfo(0, 0);
        };
    }
    void lastCommands() {
        const auto last = [this](const std::string& name, std::function<void(const Words&)> act) {
            commands[name] = [this, act](auto& w) {
                std::memset(record, 0, ALT_EVENT_K_RECORD_SIZE);
                say(endOf([&] { act(w); }));
                say(hexRows({record, record + ALT_EVENT_K_RECORD_SIZE}));
            };
        };
        last("bugcheck", [](auto& w) {
            errno = w.number(1);
            MPU_BUGCHECK(w.u32(2), w.from(3).c_str());
        });
        // bugstatement FILE FUNCTION LINE TEXT, on standard error
        last("bugstatement", [this](auto& w) {
            traceData.fd = stderr;
            pMpuParams = &area_.params;
            TRACE__bugCheckStatement(0, w[1].c_str(), w[2].c_str(), w.number(3), "%s",
                                     w.from(4).c_str());
        });
        last("relock", [](auto& w) {
            pthread_mutex_lock(&traceData.lock);
            w[1] == "done" ? TRACE__done() : TRACE__statement(0, "f", "g", 1, "text");
        });
        last("unlock", [](auto&) { TRACE__logInfo(0, 0); });
    }

    std::function<void(const Words&)> counted(std::function<void(const Words&)> act) {
        return [this, act](const Words& w) {
            const unsigned before = allocations;
            act(w);
            allocated_ += allocations - before;
            EXPECT_LT(traceData.infoBufLen, 1024U);
        };
    }
    // What has come into the current file, which is named when it is another one. Times and the
    // addresses in front of a dump's rows are the same in each run.
    void finish() override {
        char name[TRACE_K_NAME_SIZE];
        TRACE__getLogName(name);
        if (shown_ != name) {
            shown_ = name;
            shownSize_ = 0;
            say(shown_);
        }
        std::ifstream file(shown_);
        file.seekg(shownSize_);
        static const std::regex time(R"(^[A-Z][a-z]{2} [ \d]\d \d\d:\d\d:\d\d  )");
        for (std::string line; std::getline(file, line);) {
            shownSize_ += static_cast<std::streamoff>(line.size()) + 1;
            line = std::regex_replace(line, time, "<time>  ");
            if (line.starts_with("0x")) {
                const auto at = std::stoul(line.substr(2, 8), nullptr, 16) -
                                (reinterpret_cast<std::uintptr_t>(bytes_) & UINT32_MAX);
                line = std::to_string(at) + line.substr(10);
            }
            say(line);
        }
    }

    char root_[30] = "/tmp/esa-trace-XXXXXX";
    struct {
        MPU_PARAMS_t params = {};
        U32_t behind = ~0U;  // no zero
    } area_;
    std::string pattern_;
    std::string file_ = "esamain.cpp", function_ = "fan";
    U8_t bytes_[4064] = {};
    unsigned allocated_ = 0;
    std::string shown_;  // file
    std::streamoff shownSize_ = 0;
};

int tracedValue() {
    TRACE_STATEMENT(0, 0x10, "esamain.cpp", "inner");
    return 5;
}

}  // namespace

TEST(Trace, ComesOutAsWritten) {
    scriptPlay<TracePlayer>(MPU_TESTS "/trace.txt");
}

TEST(Trace, StatementThatIsOffEvaluatesNothing) {
    int evaluated = 0;
    const auto say = [&](U16_t level) {
        TRACE_STATEMENT(0, level, "esamain.cpp", "%d", ++evaluated);
        TRACE_DUMP_STATEMENT(0, level, "esamain.cpp", "A", 0, "%d", ++evaluated);
    };
    say(0xFFFF);  // before the log opens
    {
        TraceCapture log(0x6001);
        say(0x10);
        EXPECT_EQ(evaluated, 0);
        say(0x01);
        const std::string place = "esamain.cpp:operator():" + std::to_string(__LINE__ - 9) + ":  1";
        EXPECT_THAT(log.take(), testing::ElementsAre(place, testing::EndsWith(": 2")));
        TRACE__setTraceLevel(0, 0x10);
        TRACE_STATEMENT(0, 0x10, "esamain.cpp", "outer %d", tracedValue());
        EXPECT_THAT(log.take(), testing::ElementsAre("inner", "outer 5"));
    }
    say(0xFFFF);  // after it is closed
    EXPECT_EQ(evaluated, 2);
    EXPECT_EQ(traceData.fd, stderr);
}

TEST(Trace, ADumpHoldsEachByteInRowsOf32AndGroupsOfEight) {
    TraceCapture log;
    U8_t bytes[4064];
    for (std::size_t n = 0; n < sizeof bytes; ++n) {
        bytes[n] = static_cast<U8_t>(n * 7 + n / 256);
    }
    for (const U32_t length : {0U, 1U, 8U, 31U, 32U, 33U, 256U, 397U, 398U, 399U, 4064U}) {
        std::vector<std::string> rows{"text"};
        for (U32_t n = 0; n < length; ++n) {
            char text[20];
            if (n % 32 == 0) {
                std::snprintf(text, sizeof text, "0x%08X:",
                              narrowTo<U32_t>(reinterpret_cast<std::uintptr_t>(bytes + n)));
                rows.push_back(text);
            }
            std::snprintf(text, sizeof text, n % 8 == 0 ? " %02X" : "%02X", bytes[n]);
            rows.back() += text;
        }
        traceData.logWriteCount = 0;
        TRACE_DUMP_STATEMENT(0, 0x10, "esamain.cpp", bytes, length, "text");
        EXPECT_EQ(log.take(), rows) << length;
    }
    EXPECT_EQ(traceData.logWriteCount, 11U) << "pieces of 1009 to 1023 characters";
}

TEST(Trace, EachLineIsOneWrite) {
    TraceCapture log(0xE010);
    std::FILE* const memory = traceData.fd;
    for (const int buffering : {_IOFBF, _IONBF}) {
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_DIRECT), 0);  // a packet for each write
        traceData.fd = fdopen(ends[1], "w");
        std::setvbuf(traceData.fd, nullptr, buffering, 4096);
        const std::string text(900, 'x');
        for (int n = 0; n < 5; ++n) {
            TRACE_STATEMENT(0, 0x10, "esamain.cpp", "%s", text.c_str());
            char packet[2000];
            const ssize_t size = read(ends[0], packet, sizeof packet);
            EXPECT_THAT(std::string(packet, static_cast<std::size_t>(size)),
                        testing::EndsWith(":  " + text + "\n"));
        }
        std::fclose(traceData.fd);
        close(ends[0]);
    }
    traceData.fd = memory;
}

TEST(Trace, TimestampIsLocalTimeInsideItsBuffer) {
    setenv("TZ", "XYZ-05:30", 1);
    TraceCapture log(0x8010);
    char stamp[64] = {}, expected[32];
    for (const int step : {1, 0, 0, 1, -1, 0, 86400, 31 * 86400, 1 - 7 * 86400, 0}) {
        timeIs = (timeIs == 0 ? 1700000000 : timeIs) + step;
        std::strftime(expected, sizeof expected, "%b %e %H:%M:%S", std::localtime(&timeIs));
        EXPECT_EQ(TRACE_getTimestamp(stamp, sizeof stamp), 15);
        EXPECT_STREQ(stamp, expected);
        TRACE_STATEMENT(0, 0x10, "esamain.cpp", "text");
        EXPECT_THAT(log.take(), testing::ElementsAre(std::string(expected) + "  text"));
    }
    timeIs = 0;
    unsetenv("TZ");
    EXPECT_EQ(TRACE_getTimestamp(nullptr, 64), 0);
    EXPECT_EQ(TRACE_getTimestamp(stamp, 0), 0);
    EXPECT_EQ(TRACE_getTimestamp(std::strcpy(stamp, "1234567"), 4), 3);
    EXPECT_EQ(std::string(stamp + 4), "567");
}

TEST(Signals, AreCaughtWithoutAnAreaOnlyAndLeaveARecord) {
    const auto caught = [] {
        std::string names;
        for (const int number :
             {SIGILL, SIGFPE, SIGSEGV, SIGBUS, SIGHUP, SIGTERM, SIGQUIT, SIGINT}) {
            struct sigaction action = {};
            sigaction(number, nullptr, &action);
            const bool ours =
                (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == catchEvent;
            names += ours ? strsignal(number) + std::string(" ") : "";
        }
        return names;
    };
    std::memset(record, 0xEE, ALT_EVENT_K_RECORD_SIZE);
    testing::internal::CaptureStderr();
    EXPECT_EQ(endOf([&] {
                  static MPU_PARAMS_t params;
                  params.flags = 0xFFFFFFFF;
                  pMpuParams = &params;
                  handleUnexpectedSignals();
                  EXPECT_EQ(caught(), "") << "whatever the flags";
                  pMpuParams = nullptr;
                  handleUnexpectedSignals();
                  EXPECT_EQ(caught(),
                            "Illegal instruction Floating point exception Segmentation "
                            "fault Bus error Hangup Terminated Quit ");
                  pMpuParams = &params;  // attached later
                  if (!testing::Test::HasFailure()) {
                      raise(SIGTERM);
                  }
              }),
              "exit 134");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "stored with an area\nflushed\n");
    char process[9];
    std::snprintf(process, sizeof process, "%08X", static_cast<unsigned>(lastChild));
    EXPECT_EQ(hexText({record, record + 220}),
              hexText(std::string(24, '0') + "08000001" + std::string(384, '0') +
                      "0158120301010004" + process));
    EXPECT_STREQ(std::string(reinterpret_cast<char*>(record) + 220, 20).c_str(),
                 std::string(program_invocation_name).substr(0, 19).c_str());
    int number;
    std::memcpy(&number, record + 240, sizeof number);
    EXPECT_EQ(number, SIGTERM);
    EXPECT_FALSE(hexRows({record + 368, record + 456}).empty()) << "registers";
    EXPECT_FALSE(hexRows({record + 456, record + 544}).empty()) << "more of them";
    EXPECT_TRUE(hexRows({record + 544, record + ALT_EVENT_K_RECORD_SIZE}).empty());
}

TEST(SpinLock, TakesUnitsDownToZeroAndWaitsForOne) {
    S32_t lock = 2;
    EXPECT_EQ(mpuSpinLock_Get(&lock), 1);
    EXPECT_EQ(mpuSpinLock_Get(&lock), 0);
    for (const S32_t start : {0, -3}) {
        lock = start;
        std::atomic<bool> running = false;
        std::thread waiter([&] {
            running = true;
            EXPECT_EQ(mpuSpinLock_Get(&lock), 0);
        });
        while (!running) {
            std::this_thread::yield();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        EXPECT_EQ(std::atomic_ref<S32_t>(lock).exchange(1), start);
        waiter.join();
        EXPECT_EQ(lock, 0);
    }
}

TEST(MpuParams, OnlyAnAreaOfVersion16IsAttachedAndItIsReadOnly) {
    const int key = 0x45000000 + getpid();
    int shmid = -1;
    const auto attach = [&] {
        testing::internal::CaptureStderr();
        EXPECT_EQ(MPU_getMpuParamsAndShmid(&shmid, key), pMpuParams);
        return testing::internal::GetCapturedStderr();
    };
    const std::string opening = "Error opening the MPU shared memory area.\n   ";
    EXPECT_EQ(attach(), opening + "No such file or directory\n");
    int id = shmget(key, 747, IPC_CREAT | IPC_EXCL | 0600);
    EXPECT_EQ(attach(), opening + "Invalid argument\n");
    shmctl(id, IPC_RMID, nullptr);
    id = shmget(key, 748, IPC_CREAT | IPC_EXCL | 0600);
    ASSERT_NE(id, -1);
    auto* const area = static_cast<MPU_PARAMS_t*>(shmat(id, nullptr, 0));
    for (const char* version : {"15", "17", "16"}) {
        area->version = static_cast<U32_t>(std::stoi(version));
        const bool good = area->version == 16;
        EXPECT_EQ(attach(), good ? ""
                                 : std::string("Error with shared memory area.\n"
                                               "  Expected version 16, attached to version ") +
                                       version + ".\n");
        shmid_ds status = {};
        shmctl(id, IPC_STAT, &status);
        EXPECT_EQ(status.shm_nattch, good ? 2U : 1U);
        EXPECT_EQ(pMpuParams != nullptr, good);
        EXPECT_EQ(shmid, id);
    }
    area->flags = 0x01001000;
    EXPECT_EQ(mpuFlags(pMpuParams), 0x01001000U) << "read afresh";
    EXPECT_EQ(endOf([] { const_cast<MPU_PARAMS_t*>(pMpuParams)->flags = 0; }), "exit 139");
    shmdt(pMpuParams);
    pMpuParams = nullptr;
    shmdt(area);
    shmctl(id, IPC_RMID, nullptr);
}
