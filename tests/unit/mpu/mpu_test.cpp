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
#include <random>
#include <thread>

#include "alt_event_log.h"
#include "osdep.h"
#include "tests/support/hex.h"
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

}  // namespace

TEST(LastResorts, ABugCheckExitsWithTheLowByteOfItsCode) {
    static const char* const names[] = {"ESA"};
    const auto relocked = [](const std::function<void()>& act) {
        return [act] {
            TRACE__init(nullptr, "", 1, names);
            pthread_mutex_lock(&traceData.lock);
            act();
        };
    };
    const std::tuple<std::function<void()>, std::string, std::string> cases[] = {
        {[] {
             errno = EPIPE;
             MPU_BUGCHECK(0x40000123, "text");
         },
         "exit 35", "Broken pipe\n: text\n"},
        {relocked([] { TRACE__statement(0, "f", "g", 1, "text"); }), "exit 6",
         "Resource deadlock avoided\n: mpuMutex_Get(): get lock failure.\n"},
        {relocked(TRACE__done), "exit 5",
         "Device or resource busy\n: mpuMutex_Done(): done failure.\n"},
        {[] {
             TRACE__init(nullptr, "", 1, names);
             TRACE__logInfo(0, 0);
         },
         "exit 7", "Operation not permitted\n: mpuMutex_Unlock(): release lock failure.\n"}};
    for (const auto& [act, end, text] : cases) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(endOf(act), end);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "MPU_BUGCHECK() encountered: " + text);
    }
}

// Names and text, of any length, stay inside their fields of the record.
TEST(LastResorts, ABugCheckStatementLeavesALineAndARecord) {
    std::mt19937 random(26);
    static const char* const names[] = {"ESA"};
    static MPU_PARAMS_t params;
    for (int round = 0; round < 40; ++round) {
        const auto name = [&](const char* letter, std::size_t limit) {
            return std::string(random() % limit, *letter);
        };
        const std::string stem = name("f", 24) + (round % 3 == 0 ? ".f" : ""),
                          function = name("g", 40), text = name("t", round % 2 == 0 ? 20 : 300);
        const std::string file = stem + (round % 4 == 0 ? "" : ".cpp");
        const auto line = static_cast<int>(random() % 100000);
        const bool area = round % 2 == 0;
        testing::internal::CaptureStderr();
        EXPECT_EQ(endOf([&] {
                      TRACE__init(nullptr, "", 1, names);
                      TRACE__setTraceLevel(0, 0x2000);
                      pMpuParams = area ? &params : nullptr;
                      TRACE__bugCheckStatement(0, file.c_str(), function.c_str(), line, "%s",
                                               text.c_str());
                  }),
                  "exit 134");
        EXPECT_EQ(
            testing::internal::GetCapturedStderr(),
            "TRACE LOG BUG-CHECK AT: " + file.substr(0, 32) + ":" + std::to_string(line) + ":  " +
                text +
                (area ? "\nstored with an area\nflushed\n" : "\nstored with no area\nflushed\n"));
        std::string expected(ALT_EVENT_K_RECORD_SIZE, '\0');
        expected[12] = 8;
        expected[15] = 1;
        expected.replace(
            210, 8,
            {23, 3, 1, 1, 7, '\xD0', static_cast<char>(line >> 8), static_cast<char>(line)});
        const std::string names30 =
            file.substr(0, std::min<std::size_t>(file.rfind('.'), 20)) + '\0' + function;
        expected.replace(218, std::min<std::size_t>(names30.size(), 30), names30.substr(0, 30));
        const std::string said = "BUG CHECK: " + text.substr(0, 243) + "\n";
        expected.replace(248, said.size(), said);
        EXPECT_EQ(hexText({record, record + ALT_EVENT_K_RECORD_SIZE}),
                  hexText(std::vector<std::uint8_t>(expected.begin(), expected.end())))
            << round;
    }
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
    const auto zeros = [](std::size_t from, std::size_t to) {
        return std::count(record + from, record + to, 0) == static_cast<std::ptrdiff_t>(to - from);
    };
    EXPECT_FALSE(zeros(368, 456) || zeros(456, 544)) << "registers";
    EXPECT_TRUE(zeros(544, ALT_EVENT_K_RECORD_SIZE));
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
