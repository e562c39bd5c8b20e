// SPDX-License-Identifier: Apache-2.0
// What a dying process leaves, the spin lock and the parameter area.
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <functional>
#include <set>
#include <thread>

#include "alt_event_log.h"
#include "osdep.h"
#include "tests/support/laws.h"
#include "trace.h"

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

// Runs `last` in a child of its own, with a trace log; how that ended. Deadly signals are exit
// statuses, as a shell shows them: an emulator has something to say of those that kill.
std::string endOf(const std::function<void()>& last) {
    lastChild = fork();
    if (lastChild == 0) {
        for (const int number : {SIGABRT, SIGSEGV}) {
            std::signal(number, [](int deadly) { _exit(128 + deadly); });
        }
        const char* const module = "ESA";
        TRACE__init(nullptr, "", 1, &module);
        TRACE__setTraceLevel(0, 0x2000);
        last();
        _exit(0);
    }
    int status = 0;
    waitpid(lastChild, &status, 0);
    return WIFEXITED(status) ? text("exit ", WEXITSTATUS(status)) : "killed";
}

// Of a record: a message to the event manager, and the last bytes of its event's header.
std::string recordHead(const std::string& event) {
    return std::string(12, '\0') + std::string("\x08\0\0\x01", 4) + std::string(192, '\0') + event;
}

}  // namespace

TEST(LastResorts, ABugCheckExitsWithTheLowByteOfItsCode) {
    const std::tuple<void (*)(), std::string, std::string> cases[] = {
        {[] {
             errno = EPIPE;
             MPU_BUGCHECK(0x40000123, "text");
         },
         "exit 35", "Broken pipe\n: text\n"},
        {[] {
             pthread_mutex_lock(&traceData.lock);
             TRACE__statement(0, "f", "g", 1, "text");
         },
         "exit 6", "Resource deadlock avoided\n: mpuMutex_Get(): get lock failure.\n"},
        {[] {
             pthread_mutex_lock(&traceData.lock);
             TRACE__done();
         },
         "exit 5", "Device or resource busy\n: mpuMutex_Done(): done failure.\n"},
        {[] { TRACE__logInfo(0, 0); }, "exit 7",
         "Operation not permitted\n: mpuMutex_Unlock(): release lock failure.\n"}};
    for (const auto& [act, end, what] : cases) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(endOf(act), end);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "MPU_BUGCHECK() encountered: " + what);
    }
}

// Names and text, of any length, stay inside their fields of the record.
TEST(LastResorts, ABugCheckStatementLeavesALineAndARecord) {
    Random random(26);
    static MPU_PARAMS_t params;
    for (int round = 0; round < 30; ++round) {
        const std::string stem = std::string(random.below(24), 'f') + random.of({"", ".f"}),
                          file = stem + random.of({"", ".cpp"}), function(random.below(40), 'g'),
                          what(random.below(random.of({20, 300})), 't');
        const auto line = static_cast<int>(random.below(100000));
        const bool area = random.onceIn(2);
        testing::internal::CaptureStderr();
        const std::string end = endOf([&] {
            pMpuParams = area ? &params : nullptr;
            TRACE__bugCheckStatement(0, file.c_str(), function.c_str(), line, "%s", what.c_str());
        });
        EXPECT_EQ(end, "exit 134");
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  text("TRACE LOG BUG-CHECK AT: ", file.substr(0, 32), ":", line, ":  ", what,
                       "\nstored with ", (area ? "an" : "no"), " area\nflushed\n"));
        const std::string names =
            file.substr(0, std::min<std::size_t>(file.rfind('.'), 20)) + '\0' + function;
        std::string expected = recordHead({"\0\0\x17\x03\x01\x01\x07\xD0", 8});
        expected += {static_cast<char>(line >> 8), static_cast<char>(line)};
        expected += names.substr(0, 30);
        expected.resize(248);
        expected += "BUG CHECK: " + what.substr(0, 243) + "\n";
        expected.resize(ALT_EVENT_K_RECORD_SIZE);
        EXPECT_EQ(expected, std::string(record, record + ALT_EVENT_K_RECORD_SIZE)) << round;
    }
}

TEST(Signals, AreCaughtWithoutAnAreaOnlyAndLeaveARecord) {
    const auto caught = [] {
        std::set<int> numbers;
        for (int number = 1; number < 32; ++number) {
            struct sigaction action = {};
            sigaction(number, nullptr, &action);
            if ((action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == catchEvent) {
                numbers.insert(number);
            }
        }
        return numbers;
    };
    const std::set<int> deadly = {SIGILL, SIGFPE, SIGSEGV, SIGBUS, SIGHUP, SIGTERM, SIGQUIT};
    testing::internal::CaptureStderr();
    EXPECT_EQ(endOf([&] {
                  static MPU_PARAMS_t params;
                  pMpuParams = &params;
                  handleUnexpectedSignals();
                  const bool isQuiet = caught().empty();
                  pMpuParams = nullptr;
                  handleUnexpectedSignals();
                  pMpuParams = &params;  // attached later
                  if (isQuiet && caught() == deadly) {
                      raise(SIGTERM);
                  }
              }),
              "exit 134");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "stored with an area\nflushed\n");
    std::string head = recordHead({"\x01\x58\x12\x03\x01\x01\0\x04", 8});
    for (int shift = 24; shift >= 0; shift -= 8) {
        head += static_cast<char>(lastChild >> shift);
    }
    head += std::string(program_invocation_name).substr(0, 19);
    head.resize(240);
    EXPECT_EQ(head, std::string(record, record + 240));
    int number;
    std::memcpy(&number, record + 240, sizeof number);
    EXPECT_EQ(number, SIGTERM);
    const auto isZero = [](int from, int to) {
        return !std::any_of(record + from, record + to, std::identity());
    };
    EXPECT_FALSE(isZero(368, 456) || isZero(456, 544)) << "registers";
    EXPECT_TRUE(isZero(544, ALT_EVENT_K_RECORD_SIZE));
}

TEST(SpinLock, TakesUnitsDownToZeroAndWaitsForOne) {
    S32_t lock = 2;
    EXPECT_EQ(mpuSpinLock_Get(&lock), 1);
    EXPECT_EQ(mpuSpinLock_Get(&lock), 0);
    for (const S32_t start : {0, -3}) {
        lock = start;
        std::thread waiter([&] { EXPECT_EQ(mpuSpinLock_Get(&lock), 0); });
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        EXPECT_EQ(std::atomic_ref<S32_t>(lock).exchange(1), start);
        waiter.join();
        EXPECT_EQ(lock, 0);
    }
}

TEST(MpuParams, OnlyAnAreaOfVersion16IsAttachedAndItIsReadOnly) {
    const int key = 0x45000000 + getpid();
    int id = -1;
    const auto attach = [&] {
        testing::internal::CaptureStderr();
        EXPECT_EQ(MPU_getMpuParams(key), pMpuParams);
        return testing::internal::GetCapturedStderr();
    };
    const std::string opening = "Error opening the MPU shared memory area.\n   ";
    EXPECT_EQ(attach(), opening + "No such file or directory\n");
    for (const std::size_t size : {747, 748}) {
        shmctl(id, IPC_RMID, nullptr);
        id = shmget(key, size, IPC_CREAT | IPC_EXCL | 0600);
        EXPECT_EQ(attach().starts_with(opening + "Invalid argument\n"), size == 747);
    }
    auto* const area = static_cast<MPU_PARAMS_t*>(shmat(id, nullptr, 0));
    for (const U32_t version : {15U, 17U, 16U}) {
        area->version = version;
        EXPECT_EQ(attach(), version == 16
                                ? ""
                                : text("Error with shared memory area.\n  Expected version 16, "
                                       "attached to version ",
                                       version, ".\n"));
        shmid_ds status = {};
        shmctl(id, IPC_STAT, &status);
        EXPECT_EQ(status.shm_nattch, version == 16 ? 2U : 1U);
        EXPECT_EQ(pMpuParams != nullptr, version == 16);
    }
    area->flags = 0x01001000;
    EXPECT_EQ(mpuFlags(pMpuParams), 0x01001000U) << "read afresh";
    EXPECT_EQ(endOf([] { const_cast<MPU_PARAMS_t*>(pMpuParams)->flags = 0; }), "exit 139");
    shmdt(std::exchange(pMpuParams, nullptr));
    shmdt(area);
    shmctl(id, IPC_RMID, nullptr);
}
