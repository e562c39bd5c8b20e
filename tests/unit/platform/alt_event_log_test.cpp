// SPDX-License-Identifier: Apache-2.0
// The alternate event log on real files, beside an image of what the file is to hold, whatever
// earlier processes and bad luck have left in it. (The C library redirects pread and pwrite with
// its 64-bit offsets; the definitions below follow.)
#include "alt_event_log.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>

#include "tests/support/laws.h"

namespace fs = std::filesystem;

// What the log asks of the system, how that fails, and what interrupts it.
static int reads, syncs, directorySyncs, syncError;
static int writeResult;  // errno of the next write, -N: so many bytes go; 0: all
static std::function<void()> beforeWrite;

extern "C" ssize_t pread(int fd, void* buffer, size_t size, off_t offset) {
    ++reads;
    const iovec whole = {buffer, size};
    return preadv(fd, &whole, 1, offset);
}
extern "C" ssize_t pwrite(int fd, const void* buffer, size_t size, off_t offset) {
    if (beforeWrite) {
        std::exchange(beforeWrite, nullptr)();
    }
    errno = writeResult;
    const iovec part = {const_cast<void*>(buffer),
                        writeResult < 0 ? static_cast<size_t>(-writeResult) : size};
    return writeResult > 0 ? -1 : pwritev(fd, &part, 1, offset);
}
extern "C" int fdatasync(int) {
    ++syncs;
    errno = syncError;
    return syncError == 0 ? 0 : -1;
}
extern "C" int fsync(int fd) {
    struct stat file;
    directorySyncs += fstat(fd, &file) == 0 && S_ISDIR(file.st_mode) ? 1 : 0;
    return 0;
}

namespace {

const std::string ZEDS(4064, 'Z'), ZEROS(4064, '\0');

// CRC-32 of IEEE 802.3, bit by bit.
U32_t crcOf(const std::string& bytes) {
    U32_t crc = ~0U;
    for (std::size_t n = 0; n < 8 * bytes.size(); ++n) {
        const U32_t bit = (crc ^ static_cast<U32_t>(static_cast<U8_t>(bytes[n / 8]) >> n % 8)) & 1;
        crc = crc >> 1 ^ bit * 0xEDB88320;
    }
    return ~crc;
}

std::string bigEndian(U64_t value, std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t n = size; n-- > 0; value >>= 8) {
        bytes[n] = static_cast<char>(value);
    }
    return bytes;
}

// A slot as it stands in the file, but for the time.
std::string slotOf(U64_t number, U64_t call, int argument, const std::string& record) {
    return "AEL1" + bigEndian(1 << 16 | call, 4) + bigEndian(static_cast<U64_t>(argument), 4) +
           bigEndian(record == ZEDS ? 0x9B586B8F : crcOf(record), 4) + bigEndian(number, 8) +
           bigEndian(0, 8) + record;
}

ALT_EVENT_SLOT_e checked(const void* slot, U64_t number) {
    return altEventSlotCheck(*wireView<AltEventSlot_t>(slot), narrowTo<U32_t>((number - 1) % 256));
}

struct Damage {
    void (*act)(U8_t* slot);
    ALT_EVENT_SLOT_e result;
};
const Damage DAMAGES[] = {
    {[](U8_t* slot) { slot[4095] ^= 1; }, ALT_EVENT_E_SLOT_TORN},
    {[](U8_t* slot) { std::memset(slot, 0, 32); }, ALT_EVENT_E_SLOT_TORN},  // no header yet
    {[](U8_t* slot) { std::memset(slot, 0, 16); }, ALT_EVENT_E_SLOT_FOREIGN},
    {[](U8_t* slot) { std::memset(slot, 0, 4096); }, ALT_EVENT_E_SLOT_EMPTY},
    {[](U8_t* slot) { slot[3] ^= 1; }, ALT_EVENT_E_SLOT_FOREIGN},      // magic
    {[](U8_t* slot) { slot[5] ^= 2; }, ALT_EVENT_E_SLOT_FOREIGN},      // version
    {[](U8_t* slot) { slot[23] ^= 0x10; }, ALT_EVENT_E_SLOT_FOREIGN},  // a number of another place
};

// The current directory, with the log in it.
class AltEventLog : public testing::Test {
  protected:
    AltEventLog() {
        mkdtemp(root);
        fs::current_path(root);
        params.nonVolatileDirectory[0] = '.';
        writeResult = syncError = 0;
    }
    ~AltEventLog() override {
        fs::current_path("/");
        fs::remove_all(root);
    }
    static std::size_t placeOf(U64_t number) {
        return narrowTo<std::size_t>((number - 1) % 256 * 4096);
    }
    void restore(U64_t number) {
        image.replace(placeOf(number), 4096, slotOf(number, 2, 0, ZEDS));
        good.insert(number);
    }
    // As if `newest` records had been stored.
    void begin(U64_t newest) {
        const auto slots = narrowTo<std::size_t>(std::min<U64_t>(newest, 256));
        image.assign(4096 * slots, '\0');
        good.clear();
        for (U64_t number = newest - slots + 1; number <= newest; ++number) {
            restore(number);
        }
    }
    // Mostly the newest ones are damaged, now and then nearly all. The file's end may never have
    // come, or be somebody else's.
    void spoil(U64_t newest) {
        const std::size_t slots = image.size() / 4096;
        for (std::size_t count = random.below(random.onceIn(20) ? 400 : 5); count > 0; --count) {
            const U64_t number = newest - random.below(random.of<std::size_t>({4, 256})) % slots;
            const Damage& damage = DAMAGES[random.below(std::size(DAMAGES))];
            restore(number);
            damage.act(reinterpret_cast<U8_t*>(&image[placeOf(number)]));
            good.erase(number);
            EXPECT_EQ(checked(&image[placeOf(number)], number), damage.result);
        }
        if (random.onceIn(4)) {
            image.resize(random.below(image.size()));
            std::erase_if(good, [this](U64_t n) { return placeOf(n) + 4096 > image.size(); });
        } else if (slots == 256 && random.onceIn(4)) {
            image.resize(257 * 4096 + random.below(9000), 'x');
        }
    }
    static std::string fileRead() {
        std::ostringstream bytes;
        bytes << std::ifstream("altevent.log", std::ios::binary).rdbuf();
        return bytes.str();
    }
    // Stores a record, and judges what came on standard error. Leaves errno alone and nothing open.
    void store(int error, const std::string& record, const int* argument = nullptr) {
        const auto descriptors = [] {
            return std::distance(fs::directory_iterator("/proc/self/fd"), {});
        };
        const auto before = descriptors();
        testing::internal::CaptureStderr();
        errno = E2BIG;
        const int result = argument == nullptr ? altEventLogM(record.data(), area)
                                               : altEventLog(record.data(), area, *argument);
        EXPECT_EQ(errno, E2BIG);
        EXPECT_EQ(result, error == 0 ? 0 : -1);
        const char* const directory = area == nullptr ? "" : area->nonVolatileDirectory;
        const std::string line =
            text("event record not stored in ",
                 std::string(directory, strnlen(directory, MPU_K_DIRECTORY_SIZE)),
                 "/altevent.log: ", strerrordesc_np(error), "\n");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), error == 0 ? "" : line);
        EXPECT_EQ(descriptors(), before);
    }

    MPU_PARAMS_t params = {};
    const MPU_PARAMS_t* area = &params;
    std::string image;
    std::set<U64_t> good;  // numbers of the records that are still whole
    Random random{28};

  private:
    char root[30] = "/tmp/altevent-test-XXXXXX";
};

}  // namespace

// The next slot is written and nothing else. A record that was not stored whole is reported with
// its reason.
TEST_F(AltEventLog, ARecordFollowsTheNewestGoodOneWhateverIsDamaged) {
    for (int round = 0; round < 150; ++round) {
        const U64_t newest =
            random.of<U64_t>({random.below(700), random.below(700), random.below(3), 257}) +
            (random.onceIn(4) ? 1ULL << 32 : 0);
        begin(newest);
        bool sound = newest == 0 || random.onceIn(4);
        if (!sound) {
            spoil(newest);
        }
        std::ofstream("altevent.log", std::ios::binary) << image;
        for (int n = 0; n < 3; ++n) {
            const U64_t number = good.empty() ? 1 : *good.rbegin() + 1;
            const std::size_t at = placeOf(number);
            std::string record(4064, '\0');
            random.fill(record);
            const int argument = static_cast<int>(random());
            const bool last = random.onceIn(2), wasEmpty = image.empty();
            writeResult = random.of({0, 0, 0, 0, EIO, ENOSPC, -20, -32, -2000, -4090});
            syncError = random.of({0, 0, 0, EIO});
            reads = syncs = directorySyncs = 0;

            const bool whole = writeResult == 0;
            const int error = writeResult > 0   ? writeResult
                              : writeResult < 0 ? ENOSPC
                              : last            ? syncError
                                                : 0;
            const auto begun = static_cast<U64_t>(std::time(nullptr));
            store(error, record, last ? &argument : nullptr);
            ASSERT_EQ(syncs, last && whole ? 1 : 0);
            ASSERT_EQ(directorySyncs, wasEmpty ? 1 : 0);
            ASSERT_TRUE(!sound || reads <= 11) << reads;  // bisected

            const std::size_t went =
                whole ? 4096 : static_cast<std::size_t>(-std::min(writeResult, 0));
            image.resize(std::max(image.size(), at + went));
            image.replace(at, went, slotOf(number, last ? 1 : 2, last ? argument : 0, record), 0,
                          went);
            const std::string file = fileRead();
            if (went >= 32) {
                image.replace(at + 24, 8, file, at + 24, 8);
                const U64_t time = wireView<AltEventSlotHdr_t>(&file[at])->time;
                ASSERT_TRUE(begun <= time && time <= static_cast<U64_t>(std::time(nullptr)));
            }
            ASSERT_TRUE(file == image) << "round " << round << ", number " << number;
            sound = sound && whole;
            if (went > 0) {
                good.erase(number - 256);
            }
            if (whole) {
                good.insert(number);
            }
        }
    }
}

// The largest number leaves no room for one more.
TEST_F(AltEventLog, ANumberFollowsWhateverCanBeOne) {
    for (const U64_t number : {0ULL, ~0ULL, ~0ULL - 1}) {
        EXPECT_EQ(checked(slotOf(number, 2, 0, ZEDS).data(), number),
                  number == ~0ULL - 1 ? ALT_EVENT_E_SLOT_GOOD : ALT_EVENT_E_SLOT_FOREIGN);
    }
}

// A place that cannot be used costs one line and is not waited for. A directory may fill its field.
TEST_F(AltEventLog, ThePlaceIsReadNoFurtherThanItsField) {
    const std::string longest(MPU_K_DIRECTORY_SIZE, 'd'), file = longest + "/altevent.log";
    fs::create_directory(longest);
    std::ofstream{file};
    params.logDirectory[0] = 'x';
    for (const auto& [directory, error] : {std::pair{std::string("none"), ENOENT},
                                           {"/dev/null", ENOTDIR},
                                           {"", ENOENT},
                                           {longest, 0},
                                           {longest, EIO}}) {
        writeResult = error == EIO ? EIO : 0;
        std::memset(params.nonVolatileDirectory, 0, MPU_K_DIRECTORY_SIZE);
        directory.copy(params.nonVolatileDirectory, MPU_K_DIRECTORY_SIZE);
        store(error, ZEROS);
    }
    area = nullptr;
    store(ENOENT, ZEROS);
    EXPECT_EQ(fs::file_size(file), 4096U);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
    syncs = 0;
    altEventFlush(&params);
    EXPECT_EQ(syncs, 1);
}

TEST_F(AltEventLog, FullStandardErrorIsNotWaitedFor) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
    while (write(ends[1], "x", 1) == 1) {
    }
    fcntl(ends[1], F_SETFL, 0);  // from here a write waits
    const int keep = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    EXPECT_EQ(altEventLogM(ZEROS.data(), nullptr), -1);
    dup2(keep, STDERR_FILENO);
    for (const int fd : {ends[0], ends[1], keep}) {
        close(fd);
    }
}

// A signal handler's; both have looked for the newest one, and the later write stands.
TEST_F(AltEventLog, AnAppendMayInterruptAnother) {
    const std::string other(4064, 'o');
    store(0, ZEROS);
    beforeWrite = [&] { EXPECT_EQ(altEventLogM(other.data(), &params), 0); };
    store(0, ZEROS);
    const std::string file = fileRead();
    ASSERT_EQ(file.size(), 2U * 4096);
    EXPECT_EQ(file.substr(4096, 24) + file.substr(4096 + 32), slotOf(2, 2, 0, ZEROS).erase(24, 8));
}
