// SPDX-License-Identifier: Apache-2.0
// The alternate event log on real files: what a slot holds, which slot is next, what damage costs.
#include "alt_event_log.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>

#include "tests/support/hex.h"
#include "tests/support/script.h"

namespace fs = std::filesystem;
using Bytes = std::vector<U8_t>;

namespace {

Bytes recordOf(int first, int step) {
    Bytes record(ALT_EVENT_K_RECORD_SIZE);
    for (U8_t& byte : record) {
        byte = static_cast<U8_t>(first);
        first += step;
    }
    return record;
}
// "zeros", "ladder" (03 0A 11 ...) or "fives".
Bytes recordOf(const std::string& name) {
    return name == "zeros" ? recordOf(0, 0) : name == "ladder" ? recordOf(3, 7) : recordOf(0x5A, 0);
}

// Works in a directory of its own.
class LogPlayer : public Player {
  public:
    LogPlayer() {
        mkdtemp(root_);
        fs::current_path(root_);
        directory(".");
        commands["store"] = [this](auto& w) { store(w); };
        commands["times"] = [this](auto& w) {
            for (int n = 0; n < w.number(1); ++n) {
                altEventLogM(recordOf(w[2]).data(), &params_);
            }
        };
        // A whole slot as an earlier process has left it; the header is typed, without the time.
        commands["slot"] = [](auto& w) {
            Bytes slot = hexBytes(w.from(3) + "00 00 00 00 65 00 00 00");
            const Bytes record = recordOf(w[2]);
            slot.insert(slot.end(), record.begin(), record.end());
            overwrite(4096 * w.number(1), slot);
        };
        commands["put"] = [](auto& w) { overwrite(w.number(1), hexBytes(w.from(2))); };
        commands["header"] = [this](auto& w) {
            const AltEventSlot_t slot = slotAt(w.number(1));
            const auto* const bytes = reinterpret_cast<const U8_t*>(&slot);
            say(hexLine({bytes, bytes + 24}));
            const auto now = static_cast<U64_t>(std::time(nullptr));
            say(begun_ <= slot.header.time && slot.header.time <= now ? "just now"
                                                                      : "another time");
        };
        commands["look"] = [this](auto& w) { look(w); };
        commands["sh"] = [](auto& w) { ASSERT_EQ(std::system(w.from(1).c_str()), 0); };
        commands["directory"] = [this](auto& w) { directory(w[1]); };
        commands["limit"] = [this](auto& w) {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit small = {w.u32(1), limit_.rlim_max};
            setrlimit(RLIMIT_FSIZE, w[1].empty() ? &limit_ : &small);
        };
    }
    ~LogPlayer() override {
        setrlimit(RLIMIT_FSIZE, &limit_);
        fs::current_path("/");
        fs::remove_all(root_);
    }

  private:
    // Fills the field without a zero behind it when it is as long, and what follows it.
    void directory(std::string name) {
        name.resize(name == "longest" ? sizeof params_.nonVolatileDirectory : name.size(), '.');
        params_ = {};
        name.copy(params_.nonVolatileDirectory, sizeof params_.nonVolatileDirectory);
        params_.logDirectory[0] = 'x';
    }
    // store RECORD [ARGUMENT | nowhere]
    void store(const Words& w) {
        errno = E2BIG;
        const Bytes record = recordOf(w[1]);
        const int result = w[2].empty() || w[2] == "nowhere"
                               ? altEventLogM(record.data(), w[2].empty() ? &params_ : nullptr)
                               : altEventLog(record.data(), &params_, w.number(2));
        EXPECT_EQ(errno, E2BIG) << "left alone";
        say(result == 0 ? "stored" : std::to_string(result));
    }
    // look INDEX...: number of the slots in the file, and each of those named.
    void look(const Words& w) {
        say(fs::file_size("altevent.log"), " bytes");
        for (std::size_t n = 1; n < w.all.size(); ++n) {
            const AltEventSlot_t slot = slotAt(w.number(n));
            const char* const names[] = {"good", "empty", "foreign", "torn"};
            const int state = altEventSlotCheck(slot, w.u32(n));
            const Bytes record(slot.record, slot.record + sizeof slot.record);
            std::string text = w[n] + " " + names[state];
            for (const char* name : {"zeros", "ladder", "fives"}) {
                if (state == ALT_EVENT_E_SLOT_GOOD && record == recordOf(name)) {
                    text += " " + std::to_string(slot.header.sequenceNumber) + " " + name;
                }
            }
            say(text);
        }
    }
    static AltEventSlot_t slotAt(int index) {
        AltEventSlot_t slot = {};
        std::ifstream file("altevent.log", std::ios::binary);
        file.seekg(index * 4096);
        file.read(reinterpret_cast<char*>(&slot), sizeof slot);
        return slot;
    }
    static void overwrite(int offset, const Bytes& bytes) {
        const int fd = open("altevent.log", O_WRONLY | O_CREAT, 0600);
        ASSERT_EQ(pwrite(fd, bytes.data(), bytes.size(), offset),
                  static_cast<ssize_t>(bytes.size()));
        close(fd);
    }

    char root_[30] = "/tmp/altevent-test-XXXXXX";
    MPU_PARAMS_t params_ = {};
    const U64_t begun_ = static_cast<U64_t>(std::time(nullptr));
    const rlimit limit_ = [] {
        rlimit limit;
        getrlimit(RLIMIT_FSIZE, &limit);
        return limit;
    }();
};

}  // namespace

TEST(AltEventLog, SlotsComeOutAsWritten) {
    scriptPlay<LogPlayer>(PLATFORM_TESTS "/alt_event_log.txt");
}

TEST(AltEventLog, FullStandardErrorIsNotWaitedFor) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
    while (write(ends[1], "x", 1) == 1) {
    }
    fcntl(ends[1], F_SETFL, 0);  // from here a write waits
    const int keep = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    const int result = altEventLogM(recordOf("zeros").data(), nullptr);
    dup2(keep, STDERR_FILENO);
    EXPECT_EQ(result, -1);
    for (const int fd : {ends[0], ends[1], keep}) {
        close(fd);
    }
}

namespace {
const MPU_PARAMS_t* handlerParams;
const Bytes handlerRecord = recordOf("fives");
volatile sig_atomic_t handlerRuns, handlerStores;

void storeFromHandler(int) {
    handlerStores =
        handlerStores + (altEventLogM(handlerRecord.data(), handlerParams) == 0 ? 1 : 0);
    handlerRuns = handlerRuns + 1;
}
}  // namespace

TEST(AltEventLog, HandlerMayInterruptAnAppend) {
    char root[] = "/tmp/altevent-test-XXXXXX";
    ASSERT_NE(mkdtemp(root), nullptr);
    MPU_PARAMS_t params = {};
    wireTextSet(params.nonVolatileDirectory, root);
    handlerParams = &params;
    const Bytes record = recordOf("ladder");
    struct sigaction action = {};
    action.sa_handler = storeFromHandler;
    action.sa_flags = SA_RESTART;
    sigaction(SIGALRM, &action, nullptr);
    // Armed again when it has fired: where appends are slow, a periodic timer would leave them no
    // time; where they are fast, one armed with each append would never fire.
    const itimerval once = {{}, {0, 2000}};
    int armed = 0;
    handlerRuns = 0;
    handlerStores = 0;
    while (handlerRuns < 20) {
        if (handlerRuns == armed) {
            ++armed;
            setitimer(ITIMER_REAL, &once, nullptr);
        }
        ASSERT_EQ(altEventLogM(record.data(), &params), 0);
    }
    EXPECT_EQ(handlerStores, 20);
    std::ifstream file(std::string(root) + "/altevent.log", std::ios::binary);
    U32_t slots = 0;
    for (AltEventSlot_t slot; file.read(reinterpret_cast<char*>(&slot), sizeof slot); ++slots) {
        EXPECT_EQ(altEventSlotCheck(slot, slots), ALT_EVENT_E_SLOT_GOOD) << "slot " << slots;
    }
    EXPECT_GT(slots, 10U);
    fs::remove_all(root);
}
