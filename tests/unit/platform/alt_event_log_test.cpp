// SPDX-License-Identifier: Apache-2.0
// The alternate event log on real files: what a slot holds, which slot is next, what damage costs.
#include "alt_event_log.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/support/hex.h"

namespace fs = std::filesystem;
using Bytes = std::vector<U8_t>;

namespace {

// A record told by its first byte, with the CRC the slot must carry.
struct Sample {
    U8_t first;
    U8_t step;
    const char* crc;
};
constexpr Sample ZEROS = {0x00, 0, "7A A6 10 C7"};
constexpr Sample LADDER = {0x03, 7, "EA 56 68 D8"};  // 03 0A 11 ...
constexpr Sample FIVES = {0x5A, 0, "9B 58 6B 8F"};

Bytes recordOf(const Sample& sample) {
    Bytes record(ALT_EVENT_K_RECORD_SIZE);
    for (std::size_t i = 0; i < record.size(); ++i) {
        record[i] = static_cast<U8_t>(sample.first + i * sample.step);
    }
    return record;
}

// A whole slot as an earlier process has left it; `header` is typed, without the time.
Bytes slotOf(const std::string& header, const Sample& sample) {
    Bytes slot = hexBytes(header + "00 00 00 00 65 00 00 00");
    const Bytes record = recordOf(sample);
    slot.insert(slot.end(), record.begin(), record.end());
    return slot;
}
std::string headerOf(const char* sequenceNumber, const Sample& sample) {
    return std::string("41 45 4C 31 00 01 00 02 00 00 00 00") + sample.crc + sequenceNumber;
}

class AltEventLogTest : public testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/altevent-test-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        root_ = pattern;
        use(root_);
    }
    void TearDown() override { fs::remove_all(root_); }

    void use(const std::string& directory) {
        ASSERT_LE(directory.size(), sizeof params_.nonVolatileDirectory);
        directory.copy(params_.nonVolatileDirectory, directory.size());
    }
    fs::path log() const { return root_ / "altevent.log"; }

    int store(const Sample& sample) { return altEventLogM(recordOf(sample).data(), &params_); }

    Bytes file() const {
        std::ifstream stream(log(), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    AltEventSlot_t slot(std::size_t index) const {
        const Bytes bytes = file();
        AltEventSlot_t slot = {};
        if (bytes.size() >= (index + 1) * sizeof slot) {
            std::memcpy(&slot, bytes.data() + index * sizeof slot, sizeof slot);
        }
        return slot;
    }
    // Sequence number of a good slot, 0 of any other.
    U64_t numberAt(U32_t index) const {
        const AltEventSlot_t found = slot(index);
        const bool good = altEventSlotCheck(found, index) == ALT_EVENT_E_SLOT_GOOD;
        return good ? U64_t{found.header.sequenceNumber} : 0;
    }
    void overwrite(std::size_t offset, const Bytes& bytes) const {
        const int fd = open(log().c_str(), O_WRONLY | O_CREAT, 0600);
        ASSERT_EQ(pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(offset)),
                  static_cast<ssize_t>(bytes.size()));
        close(fd);
    }

    fs::path root_;
    MPU_PARAMS_t params_ = {};
};

}  // namespace

TEST_F(AltEventLogTest, SlotIsTheTypedHeaderAndTheRecord) {
    const std::time_t before = std::time(nullptr);
    ASSERT_EQ(altEventLog(recordOf(LADDER).data(), &params_, -1), 0);
    ASSERT_EQ(altEventLogM(recordOf(ZEROS).data(), &params_), 0);
    const Bytes bytes = file();
    ASSERT_EQ(bytes.size(), 8192u);
    const auto part = [&](std::size_t from, std::size_t count) {
        const auto start = bytes.begin() + static_cast<std::ptrdiff_t>(from);
        return hexText(Bytes(start, start + static_cast<std::ptrdiff_t>(count)));
    };
    EXPECT_EQ(part(0, 24), hexText("41 45 4C 31  00 01 00 01  FF FF FF FF  EA 56 68 D8"
                                   "00 00 00 00 00 00 00 01"));
    EXPECT_EQ(part(32, 4064), hexText(recordOf(LADDER)));
    EXPECT_EQ(part(4096, 24), hexText("41 45 4C 31  00 01 00 02  00 00 00 00  7A A6 10 C7"
                                      "00 00 00 00 00 00 00 02"));
    EXPECT_EQ(part(4096 + 32, 4064), hexText(recordOf(ZEROS)));
    const U64_t time = slot(1).header.time;
    EXPECT_GE(time, static_cast<U64_t>(before));
    EXPECT_LE(time, static_cast<U64_t>(std::time(nullptr)));
}

TEST_F(AltEventLogTest, NumbersGoOnBehindTheNewestSlotOfAnEarlierRun) {
    overwrite(40 * 4096, slotOf(headerOf("00 00 00 01 00 00 00 29", ZEROS), ZEROS));
    overwrite(39 * 4096, slotOf(headerOf("00 00 00 01 00 00 00 28", FIVES), FIVES));
    ASSERT_EQ(store(LADDER), 0);
    EXPECT_EQ(numberAt(41), 0x10000002Au);
    EXPECT_EQ(file().size(), 42u * 4096);
}

TEST_F(AltEventLogTest, Record257OverwritesTheOldest) {
    for (int n = 0; n < 257; ++n) {
        ASSERT_EQ(store(n == 256 ? LADDER : ZEROS), 0);
    }
    EXPECT_EQ(file().size(), 256u * 4096);
    EXPECT_EQ(numberAt(0), 257u);
    EXPECT_EQ(slot(0).record[1], 0x0A);
    EXPECT_EQ(numberAt(1), 2u);
    EXPECT_EQ(numberAt(255), 256u);
    ASSERT_EQ(store(FIVES), 0);
    EXPECT_EQ(numberAt(1), 258u);
}

TEST_F(AltEventLogTest, TornNewestSlotIsTheNextToBeWritten) {
    const Bytes newHeader = hexBytes(headerOf("00 00 00 00 00 00 00 03", LADDER));
    struct Case {
        const char* name;
        std::function<void()> damage;
    };
    const Case cases[] = {
        {"one byte of the record", [&] { overwrite(2 * 4096 + 4000, {0xEE}); }},
        {"cut inside the record", [&] { fs::resize_file(log(), 2 * 4096 + 2048); }},
        {"cut inside the header", [&] { fs::resize_file(log(), 2 * 4096 + 16); }},
        {"new header, record not yet written",
         [&] {
             overwrite(2 * 4096, newHeader);
             overwrite(2 * 4096 + 32, recordOf(ZEROS));
         }},
        {"header not yet written", [&] { overwrite(2 * 4096, Bytes(32)); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        fs::remove(log());
        store(ZEROS);
        store(FIVES);
        store(LADDER);
        c.damage();
        ASSERT_EQ(numberAt(2), 0u);
        ASSERT_EQ(store(FIVES), 0);
        EXPECT_EQ(numberAt(0), 1u);
        EXPECT_EQ(numberAt(1), 2u);
        EXPECT_EQ(numberAt(2), 3u);
        EXPECT_EQ(slot(2).record[0], 0x5A);
    }
}

TEST_F(AltEventLogTest, ForeignSlotsDoNotCountAndAreReused) {
    struct Case {
        const char* name;
        std::string header;
    };
    const Case cases[] = {
        {"magic", "41 45 4C 32 00 01 00 02 00 00 00 00 7A A6 10 C7 00 00 00 00 00 00 00 01"},
        {"version", "41 45 4C 31 00 02 00 02 00 00 00 00 7A A6 10 C7 00 00 00 00 00 00 00 01"},
        {"number of another place",
         "41 45 4C 31 00 01 00 02 00 00 00 00 7A A6 10 C7 00 00 00 00 00 00 00 02"},
        {"number 0", "41 45 4C 31 00 01 00 02 00 00 00 00 7A A6 10 C7 00 00 00 00 00 00 00 00"},
        {"text", "4E 6F 76 20 32 31 20 31 32 3A 30 30 3A 30 30 20 62 6F 61 72 64 20 6B 65"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        fs::remove(log());
        overwrite(0, slotOf(c.header, ZEROS));
        EXPECT_EQ(altEventSlotCheck(slot(0), 0), ALT_EVENT_E_SLOT_FOREIGN);
        ASSERT_EQ(store(FIVES), 0);
        EXPECT_EQ(numberAt(0), 1u);
        EXPECT_EQ(file().size(), 4096u);
    }
}

TEST_F(AltEventLogTest, LastNumberOfAllIsForeignSoThatNumbersNeverWrap) {
    overwrite(254 * 4096, slotOf(headerOf("FF FF FF FF FF FF FF FF", ZEROS), ZEROS));
    ASSERT_EQ(store(FIVES), 0);
    EXPECT_EQ(numberAt(0), 1u);
}

TEST_F(AltEventLogTest, SlotThatWasNeverWrittenIsEmpty) {
    overwrite(0, Bytes(4096));
    EXPECT_EQ(altEventSlotCheck(slot(0), 0), ALT_EVENT_E_SLOT_EMPTY);
    overwrite(4095, {1});
    EXPECT_EQ(altEventSlotCheck(slot(0), 0), ALT_EVENT_E_SLOT_TORN);
}

TEST_F(AltEventLogTest, UnusablePlaceCostsOneLineAndIsNotWaitedFor) {
    const std::string place = root_.string();
    struct Case {
        const char* name;
        std::function<void()> prepare;
        std::string directory;
        const char* reason;
    };
    const Case cases[] = {
        {"missing", [] {}, place + "/none", "No such file or directory"},
        {"a file", [&] { std::ofstream(place + "/file") << "x"; }, place + "/file",
         "Not a directory"},
        {"a FIFO", [&] { mkfifo((place + "/fifo").c_str(), 0600); }, place + "/fifo",
         "Not a directory"},
        {"not writable", [] {}, "/proc/self", "No such file or directory"},
        {"log is a directory", [&] { fs::create_directories(place + "/1/altevent.log"); },
         place + "/1", "Is a directory"},
        {"log is a FIFO",
         [&] {
             fs::create_directory(place + "/2");
             mkfifo((place + "/2/altevent.log").c_str(), 0600);
         },
         place + "/2", "Invalid argument"},
        {"log is a device",
         [&] {
             fs::create_directory(place + "/3");
             fs::create_symlink("/dev/full", place + "/3/altevent.log");
         },
         place + "/3", "Invalid argument"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        c.prepare();
        params_ = {};
        use(c.directory);
        testing::internal::CaptureStderr();
        EXPECT_EQ(store(ZEROS), -1);
        EXPECT_EQ(
            testing::internal::GetCapturedStderr(),
            "event record not stored in " + c.directory + "/altevent.log: " + c.reason + "\n");
    }
}

TEST_F(AltEventLogTest, NoDirectoryIsNotTheRootDirectory) {
    const MPU_PARAMS_t empty = {};
    const MPU_PARAMS_t* const none[] = {nullptr, &empty};
    for (const MPU_PARAMS_t* params : none) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(altEventLog(recordOf(ZEROS).data(), params, -1), -1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "event record not stored in /altevent.log: No such file or directory\n");
    }
    EXPECT_FALSE(fs::exists("/altevent.log"));
}

TEST_F(AltEventLogTest, DirectoryThatFillsItsFieldIsReadNoFurther) {
    std::string directory = root_.string() + "/";
    directory.resize(128, 'd');
    fs::create_directory(directory);
    use(directory);
    params_.logDirectory[0] = 'x';  // follows the field without a zero between
    EXPECT_EQ(store(ZEROS), 0);
    EXPECT_EQ(fs::file_size(directory + "/altevent.log"), 4096u);
}

TEST_F(AltEventLogTest, FullMediumIsReportedAndTheOldRecordsStay) {
    std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(store(ZEROS), 0);
    rlimit limit;
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {6000, limit.rlim_max};  // the second slot goes in half
    setrlimit(RLIMIT_FSIZE, &small);
    testing::internal::CaptureStderr();
    EXPECT_EQ(store(FIVES), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "event record not stored in " + log().string() + ": No space left on device\n");
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(numberAt(0), 1u);
    EXPECT_EQ(store(LADDER), 0);
    EXPECT_EQ(numberAt(1), 2u);
}

TEST_F(AltEventLogTest, FullStandardErrorIsNotWaitedFor) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
    while (write(ends[1], "x", 1) == 1) {
    }
    fcntl(ends[1], F_SETFL, 0);  // from here a write waits
    const int keep = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    const int result = altEventLogM(recordOf(ZEROS).data(), nullptr);
    dup2(keep, STDERR_FILENO);
    EXPECT_EQ(result, -1);
    for (const int fd : {ends[0], ends[1], keep}) {
        close(fd);
    }
}

TEST_F(AltEventLogTest, ErrnoIsLeftAlone) {
    errno = E2BIG;
    store(ZEROS);
    EXPECT_EQ(errno, E2BIG);
    testing::internal::CaptureStderr();
    altEventLogM(recordOf(ZEROS).data(), nullptr);
    EXPECT_EQ(errno, E2BIG);
    testing::internal::GetCapturedStderr();
}

namespace {
const MPU_PARAMS_t* handlerParams;
const Bytes* handlerRecord;
volatile sig_atomic_t handlerRuns;

void storeFromHandler(int) {
    if (altEventLogM(handlerRecord->data(), handlerParams) == 0) {
        handlerRuns = handlerRuns + 1;
    }
}
}  // namespace

TEST_F(AltEventLogTest, HandlerMayInterruptAnAppend) {
    const Bytes record = recordOf(FIVES);
    handlerParams = &params_;
    handlerRecord = &record;
    handlerRuns = 0;
    struct sigaction action = {};
    action.sa_handler = storeFromHandler;
    action.sa_flags = SA_RESTART;
    sigaction(SIGALRM, &action, nullptr);
    // Once an append: where appends are slow a periodic timer would leave them no time.
    const itimerval once = {{}, {0, 2000}};
    const itimerval off = {};
    int stored = 0;
    while (handlerRuns < 20 && stored < 5000) {
        setitimer(ITIMER_REAL, &once, nullptr);
        stored += store(LADDER) == 0 ? 1 : 0;
    }
    setitimer(ITIMER_REAL, &off, nullptr);
    EXPECT_GT(stored, 0);
    EXPECT_GE(handlerRuns, 20);
    const std::size_t slots = file().size() / 4096;
    ASSERT_GT(slots, 10u);
    for (U32_t index = 0; index < slots; ++index) {
        EXPECT_NE(numberAt(index), 0u) << "slot " << index;
    }
}
