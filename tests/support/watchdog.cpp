// SPDX-License-Identifier: Apache-2.0
// Ends a test program after the seconds ESA_TEST_SECONDS gives it, a little before CTest would, and
// says in which test it was, and in which step of which script.
#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "tests/support/script.h"

namespace {

class Watchdog : public testing::EmptyTestEventListener {
    // Alarms are the tests'; a test may have taken standard error away.
    void OnTestProgramStart(const testing::UnitTest&) override {
        const char* const seconds = std::getenv("ESA_TEST_SECONDS");
        if (seconds == nullptr) {
            return;
        }
        output = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 200);
        std::signal(SIGVTALRM, timeIsOver);
        sigevent how = {};
        how.sigev_notify = SIGEV_SIGNAL;
        how.sigev_signo = SIGVTALRM;
        timer_t timer;
        itimerspec once = {};
        once.it_value.tv_sec = std::atoi(seconds);
        if (timer_create(CLOCK_MONOTONIC, &how, &timer) != 0 ||
            timer_settime(timer, 0, &once, nullptr) != 0) {
            std::perror("no watchdog");
            std::exit(EXIT_FAILURE);
        }
    }
    void OnTestStart(const testing::TestInfo& test) override {
        scriptStep[0] = '\0';
        std::snprintf(name, sizeof name, "%s.%s", test.test_suite_name(), test.name());
    }

    // The program may hang with any lock held; this takes none.
    static void timeIsOver(int) {
        dprintf(output, "ended by the clock: %s %s\n", name, scriptStep);
        _exit(EXIT_FAILURE);
    }

    inline static int output = STDERR_FILENO;
    inline static char name[300] = "no test";
};

[[maybe_unused]] const bool listens = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
    return true;
}();

}  // namespace
