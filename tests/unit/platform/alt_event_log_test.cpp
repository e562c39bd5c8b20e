// SPDX-License-Identifier: Apache-2.0
// The alternate event log on real files: what a slot holds, which slot is next, what it costs. (The
// C library redirects pread with its 64-bit offsets; the definition below follows.)
#include "alt_event_log.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <random>
#include <set>

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

// The current directory, with the log in it.
class OwnDirectory {
  public:
    OwnDirectory() {
        mkdtemp(root_);
        fs::current_path(root_);
        wireTextSet(params.nonVolatileDirectory, ".");
    }
    ~OwnDirectory() {
        fs::current_path("/");
        fs::remove_all(root_);
    }
    MPU_PARAMS_t params = {};

  private:
    char root_[30] = "/tmp/altevent-test-XXXXXX";
};

AltEventSlot_t slotAt(U32_t index) {
    AltEventSlot_t slot = {};
    std::ifstream file("altevent.log", std::ios::binary);
    file.seekg(index * 4096);
    file.read(reinterpret_cast<char*>(&slot), sizeof slot);
    return slot;
}

class LogPlayer : public Player {
  public:
    LogPlayer() {
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
        commands["header"] = [this](auto& w) {
            const AltEventSlot_t slot = slotAt(w.u32(1));
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
    ~LogPlayer() override { setrlimit(RLIMIT_FSIZE, &limit_); }

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
            const AltEventSlot_t slot = slotAt(w.u32(n));
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
    static void overwrite(int offset, const Bytes& bytes) {
        const int fd = open("altevent.log", O_WRONLY | O_CREAT, 0600);
        ASSERT_EQ(pwrite(fd, bytes.data(), bytes.size(), offset),
                  static_cast<ssize_t>(bytes.size()));
        close(fd);
    }

    OwnDirectory own_;
    MPU_PARAMS_t& params_ = own_.params;
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

namespace {
int reads, syncs;
}

extern "C" ssize_t pread(int fd, void* buffer, size_t size, off_t offset) {
    ++reads;
    const iovec whole = {buffer, size};
    return preadv(fd, &whole, 1, offset);
}

extern "C" int fdatasync(int fd) {
    ++syncs;
    return fsync(fd);
}

namespace {

struct Damage {
    void (*act)(U8_t* slot);
    ALT_EVENT_SLOT_e result;
};
const Damage DAMAGES[] = {
    {[](U8_t* slot) { slot[4095] ^= 1; }, ALT_EVENT_E_SLOT_TORN},
    {[](U8_t* slot) { std::memset(slot, 0, 32); }, ALT_EVENT_E_SLOT_TORN},  // no header yet
    {[](U8_t* slot) { std::memset(slot + 32, 0, 4064); }, ALT_EVENT_E_SLOT_TORN},
    {[](U8_t* slot) { std::memset(slot, 0, 4096); }, ALT_EVENT_E_SLOT_EMPTY},
    {[](U8_t* slot) { std::memset(slot, 'x', 4096); }, ALT_EVENT_E_SLOT_FOREIGN},
    {[](U8_t* slot) { slot[3] ^= 1; }, ALT_EVENT_E_SLOT_FOREIGN},      // magic
    {[](U8_t* slot) { slot[5] ^= 2; }, ALT_EVENT_E_SLOT_FOREIGN},      // version
    {[](U8_t* slot) { slot[23] ^= 0x10; }, ALT_EVENT_E_SLOT_FOREIGN},  // a number of another place
    {[](U8_t* slot) { std::memset(slot + 16, 0, 8); }, ALT_EVENT_E_SLOT_FOREIGN},
    {[](U8_t* slot) { std::memset(slot + 16, 0xFF, 8); }, ALT_EVENT_E_SLOT_FOREIGN},
};

// A file as earlier processes and bad luck have left it, and the numbers that are still good.
struct OldLog {
    explicit OldLog(U64_t newestNumber) : newest(newestNumber) {
        while (slots.size() < std::min<U64_t>(newest, 256)) {
            slots.emplace_back();
        }
        for (U64_t number = newest - slots.size() + 1; number <= newest; ++number) {
            AltEventSlot_t& slot = slots[(number - 1) % 256];
            std::memset(slot.record, 0x5A, sizeof slot.record);
            slot.header = {{'A', 'E', 'L', '1'}, {}, {}, {}, {}, {}, {}};
            slot.header.formatVersion = 1;
            slot.header.recordCrc = 0x9B586B8F;
            slot.header.sequenceNumber = number;
            good.insert(number);
        }
    }
    void damage(U64_t number, const Damage& damage) {
        const auto index = static_cast<U32_t>((number - 1) % 256);
        slots[index] = OldLog(number).slots[index];
        damage.act(reinterpret_cast<U8_t*>(&slots[index]));
        EXPECT_EQ(altEventSlotCheck(slots[index], index), damage.result) << number;
        good.erase(number);
    }
    // The last bytes of the file never came.
    void cut(std::size_t bytes) {
        good.erase(newest - (newest > 256 ? newest % 256 : 0));
        cutBytes = bytes;
    }
    void write() const {
        std::ofstream file("altevent.log", std::ios::binary);
        file.write(reinterpret_cast<const char*>(slots.data()),
                   static_cast<std::streamsize>(slots.size() * 4096 - cutBytes));
    }

    U64_t newest;
    std::vector<AltEventSlot_t> slots;
    std::set<U64_t> good;
    std::size_t cutBytes = 0;
};

}  // namespace

TEST(AltEventLog, ARecordFollowsTheNewestGoodOneWhateverIsDamaged) {
    std::mt19937 random(1);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    const OwnDirectory own;
    for (int round = 0; round < 300; ++round) {
        OldLog log(1 + below(700) + (below(4) == 0 ? 1ULL << 32 : 0));
        // Mostly the newest ones, now and then nearly all.
        for (U64_t count = below(round % 20 == 0 ? 400 : 5); count > 0; --count) {
            const U64_t back = below(below(2) == 0 ? 4 : 256) % log.slots.size();
            log.damage(log.newest - back, DAMAGES[below(std::size(DAMAGES))]);
        }
        if (below(4) == 0) {
            log.cut(1 + below(4096));
        }
        log.write();
        const U64_t expected = log.good.empty() ? 1 : *log.good.rbegin() + 1;
        ASSERT_EQ(altEventLogM(recordOf("ladder").data(), &own.params), 0);
        const auto index = static_cast<U32_t>((expected - 1) % 256);
        const AltEventSlot_t slot = slotAt(index);
        ASSERT_EQ(slot.header.sequenceNumber, expected) << "newest " << log.newest;
        ASSERT_EQ(altEventSlotCheck(slot, index), ALT_EVENT_E_SLOT_GOOD);
    }
}

TEST(AltEventLog, AFaultOfFourRecordsCosts40ReadsAndOneFlushAtItsEnd) {
    const OwnDirectory own;
    const Bytes record = recordOf("ladder");
    for (const U64_t newest :
         {1U, 100U, 255U, 256U, 257U, 300U, 383U, 384U, 509U, 510U, 511U, 512U}) {
        OldLog(newest).write();
        reads = syncs = 0;
        for (int n = 0; n < 3; ++n) {
            altEventLogM(record.data(), &own.params);
        }
        EXPECT_EQ(syncs, 0) << newest;
        altEventLog(record.data(), &own.params, -1);
        EXPECT_EQ(syncs, 1) << newest;
        EXPECT_THAT(reads, testing::AllOf(testing::Ge(8), testing::Le(40))) << newest;
    }
    altEventFlush(&own.params);
    EXPECT_EQ(syncs, 2);
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
    const OwnDirectory own;
    const MPU_PARAMS_t& params = own.params;
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
    std::ifstream file("altevent.log", std::ios::binary);
    U32_t slots = 0;
    for (AltEventSlot_t slot; file.read(reinterpret_cast<char*>(&slot), sizeof slot); ++slots) {
        EXPECT_EQ(altEventSlotCheck(slot, slots), ALT_EVENT_E_SLOT_GOOD) << "slot " << slots;
    }
    EXPECT_GT(slots, 10U);
}
