// SPDX-License-Identifier: Apache-2.0
// Last resorts of a process: bug check, fatal signals, and the spin lock on a shared counter.
#include <fcntl.h>
#include <sched.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "MPU/event_record.h"
#include "mpu_gbl.h"
#include "osdep.h"

namespace {

constexpr int COMMAND_LINE_READ = 50;

static_assert(sizeof(siginfo_t) == sizeof(SignalPayload_t::signalInfo));

struct FatalSignal {
    int number;
    const char* installError;
};
const FatalSignal FATAL_SIGNALS[] = {
    {SIGILL, "     - Unable to set sigaction for illegal instruction event.\n"},
    {SIGFPE, "     - Unable to set sigaction for floating point exception event.\n"},
    {SIGSEGV, "     - Unable to set sigaction for segmentation violation event.\n"},
    {SIGBUS, "     - Unable to set sigaction for bus error event.\n"},
    {SIGHUP, "     - Unable to set sigaction for hangup event.\n"},
    {SIGTERM, "     - Unable to set sigaction for termination event.\n"},
    {SIGQUIT, "     - Unable to set sigaction for quit event from keyboard.\n"},
};

// Kept ready for the handler.
pid_t processId;
char programName[sizeof SignalPayload_t::programName];
BugCheckRecord_t signalRecord;

void rememberProcess() {
    processId = getpid();
    char path[32];
    std::snprintf(path, sizeof path, "/proc/%d/cmdline", processId);
    char commandLine[COMMAND_LINE_READ + 1] = {};
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return;  // GCOVR_EXCL_LINE: without /proc
    }
    if (read(fd, commandLine, COMMAND_LINE_READ) > 0) {
        std::snprintf(programName, sizeof programName, "%.19s", commandLine);
    }
    close(fd);
}

void installHandler(const FatalSignal& fatal) {
    struct sigaction action = {};
    action.sa_sigaction = catchEvent;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    if (sigaction(fatal.number, &action, nullptr) != 0) {
        const int error = errno;  // GCOVR_EXCL_LINE: each of these can be caught
        std::fprintf(stderr, "%s", fatal.installError);             // GCOVR_EXCL_LINE: as above
        std::fprintf(stderr, "       %s\n", std::strerror(error));  // GCOVR_EXCL_LINE: as above
    }
}

// The block of general registers the kernel saved.
const void* savedRegisters(const void* context) {
    const auto* const machine = &static_cast<const ucontext_t*>(context)->uc_mcontext;
#if defined(__powerpc__) && !defined(__powerpc64__)
    static_assert(sizeof(machine->uc_regs->gregs) >= sizeof(SignalPayload_t::registers));
    return machine->uc_regs->gregs;
#else
    static_assert(sizeof(machine->gregs) >= sizeof(SignalPayload_t::registers));
    return machine->gregs;
#endif
}

}  // namespace

void MPU_BUGCHECK(U32_t status, const char* text) {
    std::perror("MPU_BUGCHECK() encountered");
    std::fprintf(stderr, ": %s\n", text);
    std::exit(static_cast<int>(status));
}

void handleUnexpectedSignals() {
    // Deliberate: the flags play no part. Where an area is attached the platform's own crash
    // handling is in charge. (compatibility: no-handlers)
    if (pMpuParams != nullptr) {
        return;
    }
    rememberProcess();
    for (const FatalSignal& fatal : FATAL_SIGNALS) {
        installHandler(fatal);
    }
}

void catchEvent(int, siginfo_t* info, void* context) {
    bugCheckRecordBegin(signalRecord, SIGNAL_K_SOURCE, SIGNAL_K_EVENT_ID);
    signalRecord.header.evStructLength = sizeof(SignalPayload_t);
    auto* const payload = wireView<SignalPayload_t>(signalRecord.payload);
    payload->processId = static_cast<U32_t>(processId);
    wireTextSet(payload->programName, programName);
    if (info != nullptr) {
        std::memcpy(payload->signalInfo, info, sizeof payload->signalInfo);
    }
    if (context != nullptr) {
        std::memcpy(payload->registers, savedRegisters(context), sizeof payload->registers);
    }
    bugCheckRecordLeave(signalRecord, pMpuParams);
}

S32_t mpuSpinLock_Get(volatile S32_t* lock) {
    std::atomic_ref<S32_t> counter(const_cast<S32_t&>(*lock));
    for (;;) {
        S32_t count = counter.load();
        if (count > 0 && counter.compare_exchange_strong(count, count - 1)) {
            return count - 1;
        }
        if (count <= 0) {
            sched_yield();
        }
    }
}
