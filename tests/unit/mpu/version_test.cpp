// SPDX-License-Identifier: Apache-2.0
// Last resorts: bug check, the handler of fatal signals and its record, the counting spin lock.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>

#include "mpu_gbl.h"
#include "osdep.h"
#include "tests/unit/mpu/last_record.h"

using testing::ExitedWithCode;
using testing::KilledBySignal;

namespace {

constexpr int SIGNALS[] = {SIGILL, SIGFPE, SIGSEGV, SIGBUS, SIGHUP, SIGTERM, SIGQUIT};

// Puts the handlers of the fatal signals back where they were.
class KeptHandlers {
  public:
    KeptHandlers() {
        for (std::size_t i = 0; i < std::size(SIGNALS); i++) {
            sigaction(SIGNALS[i], nullptr, &kept_[i]);
        }
    }
    ~KeptHandlers() {
        for (std::size_t i = 0; i < std::size(SIGNALS); i++) {
            sigaction(SIGNALS[i], &kept_[i], nullptr);
        }
    }
    KeptHandlers(const KeptHandlers&) = delete;
    KeptHandlers& operator=(const KeptHandlers&) = delete;

  private:
    struct sigaction kept_[std::size(SIGNALS)];
};

bool caught(int signal) {
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == catchEvent;
}

int hostInt(const std::string& bytes) {
    int value;
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

}  // namespace

TEST(BugCheck, ExitsWithTheLowByteOfItsCode) {
    errno = EPIPE;
    EXPECT_EXIT(MPU_BUGCHECK(0x40000006, "mpuMutex_Get(): get lock failure."), ExitedWithCode(6),
                "^MPU_BUGCHECK\\(\\) encountered: Broken pipe\n"
                ": mpuMutex_Get\\(\\): get lock failure\\.\n$");
}

TEST(Signals, AnAttachedAreaKeepsHandlersOutWhateverItsFlags) {
    KeptHandlers kept;
    for (const U32_t flags : {0U, 0x4000U, 0xFFFFFFFFU}) {
        MPU_PARAMS_t params = {};
        params.flags = flags;
        pMpuParams = &params;
        handleUnexpectedSignals();
        pMpuParams = nullptr;
        for (const int signal : SIGNALS) {
            EXPECT_FALSE(caught(signal)) << signal << " with flags " << flags;
        }
    }
}

TEST(Signals, WithoutAnAreaEveryFatalSignalIsCaught) {
    KeptHandlers kept;
    handleUnexpectedSignals();
    for (const int signal : SIGNALS) {
        EXPECT_TRUE(caught(signal)) << signal;
    }
    EXPECT_FALSE(caught(SIGINT));
}

TEST(Signals, TheRecordNamesTheProcessAndCarriesTheSignal) {
    LastRecord record;
    KeptHandlers kept;
    handleUnexpectedSignals();
    EXPECT_EXIT(raise(SIGTERM), KilledBySignal(SIGABRT), "stored with no area");
    EXPECT_TRUE(record.zero(0, 12));
    EXPECT_EQ(record.hex(12, 4), "08000001");
    EXPECT_TRUE(record.zero(16, 208));
    EXPECT_EQ(record.hex(208, 8), "0158120301010004");
    char parent[9];  // the handlers were installed before the fork
    std::snprintf(parent, sizeof parent, "%08X", static_cast<unsigned>(getpid()));
    EXPECT_EQ(record.hex(216, 4), parent);
    EXPECT_STREQ(record.text(220, 20).c_str(),
                 std::string(program_invocation_name).substr(0, 19).c_str());
    EXPECT_EQ(hostInt(record.text(240, 4)), SIGTERM);
    EXPECT_FALSE(record.zero(368, 544));
    EXPECT_TRUE(record.zero(544, 4064));
}

TEST(SpinLock, TakesUnitsDownToZero) {
    S32_t lock = 2;
    EXPECT_EQ(mpuSpinLock_Get(&lock), 1);
    EXPECT_EQ(mpuSpinLock_Get(&lock), 0);
    EXPECT_EQ(lock, 0);
}

TEST(SpinLock, WaitsUntilAUnitIsThere) {
    for (const S32_t start : {0, -3}) {
        S32_t lock = start;
        S32_t got = -1;
        std::atomic<bool> running = false;
        std::thread waiter([&] {
            running = true;
            got = mpuSpinLock_Get(&lock);
        });
        while (!running) {
            std::this_thread::yield();
        }
        for (int turn = 0; turn < 1000; turn++) {
            std::this_thread::yield();
        }
        EXPECT_EQ(std::atomic_ref<S32_t>(lock).exchange(1), start);
        waiter.join();
        EXPECT_EQ(got, 0);
        EXPECT_EQ(lock, 0);
    }
}
