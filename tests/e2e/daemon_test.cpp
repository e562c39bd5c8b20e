// SPDX-License-Identifier: Apache-2.0
// The shipped daemon in a lab of its own, time divided: how it starts with something missing, and
// what it uses: trace file, waits, heap, system calls. What it does for an enclosure is told by
// the scenarios.
#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <fstream>
#include <regex>

#include "lab/session/lab.h"

using namespace enclab;
using testing::HasSubstr;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

namespace {

class DaemonTest : public testing::Test {
  protected:
    DaemonTest() {
        options.directory = LabDirectory::defaultPath(fmt::format("test-{}", getpid()));
        options.speed = 50;
    }
    ~DaemonTest() override {
        if (HasFailure() && lab_) {
            fmt::print("{}\nthe daemon wrote:\n{}\n", fmt::join(said(), "\n"), output());
        }
    }

    Lab& lab() { return *lab_; }
    // The lab without the daemon; `options` count until here.
    Lab& prepare() {
        lab_.reset();
        polls_.clear();
        lab_ = std::make_unique<Lab>(options);
        lab_->chassis().bus().observe([this](const BusTransfer& transfer) {
            // A poll reads the redundancy input once, first of all.
            const BusMessage& first = transfer.messages.front();
            if (first.address == 0x41 && first.bytes == Bytes{0x04}) {
                polls_.push_back(lab_->time());
            }
        });
        return *lab_;
    }
    // Lab and daemon, up to the event that is the last thing before the loop.
    void start() {
        prepare().startDaemon();
        EXPECT_TRUE(untilSaid("event   enclosure bus: "));
    }
    // Runs until `count` more polls have ended: until the one after them begins. Nobody may ask for
    // status pages meanwhile.
    bool pollsPass(std::size_t count) {
        const std::size_t target = polls_.size() + count + 1;
        return lab().runUntil([&] { return polls_.size() >= target; });
    }
    // The environment manager asks for a page and gets it.
    bool answers(std::uint8_t page) {
        const std::size_t before = lab().sesInitiator().unanswered();
        lab().sesInitiator().get(MMSG_E_EPID_ENVIRONMP, page);
        return lab().runUntil([&] { return lab().sesInitiator().unanswered() == before; });
    }

    // What the daemon sent, wrote and traced.
    std::vector<std::string> said() const {
        std::vector<std::string> lines;
        for (const Received& received : lab_->received()) {
            lines.push_back(describe(received.message));
        }
        return lines;
    }
    bool untilSaid(const std::string& text) {
        return lab().runUntil(
            [&] { return fmt::format("{}", fmt::join(said(), "\n")).find(text) != text.npos; });
    }
    std::string output() { return fmt::format("{}", fmt::join(lab().daemonOutput(), "\n")); }
    std::string trace() {
        std::stringstream text;
        text << std::ifstream(lab().directory().log() / "esa_01.log").rdbuf();
        return text.str();
    }

    // A bit of everything the loop does.
    void busyTime() {
        lab().sesInitiator().get(MMSG_E_EPID_ENVIRONMP, 0);  // no page, no reply
        for (int n = 1; n < 20; ++n) {
            ASSERT_TRUE(answers(n % 2 == 0 ? 1 : 2));
        }
        lab().chassis().pullFan(0);
        lab().chassis().setTemperature(0, 70);
        lab().chassis().bus().cut(0x4B);
        ASSERT_TRUE(pollsPass(2));
        lab().messageSwitch().close(MMSG_E_EPID_ES_ADAPTERMP);
        ASSERT_TRUE(pollsPass(2));
        lab().messageSwitch().open(MMSG_E_EPID_ES_ADAPTERMP);
        lab().chassis().returnFan(0);
        lab().chassis().bus().mend(0x4B);
        ASSERT_TRUE(pollsPass(2));
        EXPECT_TRUE(answers(2));
    }

    LabOptions options;
    std::vector<double> polls_;  // the lab's times at which they began

  private:
    std::unique_ptr<Lab> lab_;
};

// Calls of the allocation functions, counted by the preloaded library.
class AllocationCount {
  public:
    explicit AllocationCount(std::filesystem::path path) : path_(std::move(path)) {
        std::ofstream(path_) << std::string(sizeof(std::uint32_t), '\0');
        const int fd = open(path_.c_str(), O_RDWR);
        count_ = static_cast<volatile std::uint32_t*>(
            mmap(nullptr, sizeof(std::uint32_t), PROT_READ, MAP_SHARED, fd, 0));
        close(fd);
    }
    ~AllocationCount() {
        munmap(const_cast<std::uint32_t*>(count_), sizeof(std::uint32_t));
        std::filesystem::remove(path_);
    }
    std::uint32_t value() const { return *count_; }

  private:
    std::filesystem::path path_;
    volatile std::uint32_t* count_;
};

// System calls between two waits of the loop, the first wait included: "select recv send ". A
// transfer on the enclosure's adapter, one ioctl on a board, is a send and a receive in two pieces
// on a socket here (connected last); these are left out.
std::vector<std::string> passes(const std::filesystem::path& log) {
    std::vector<std::string> found;
    std::string adapter = "none";
    std::ifstream file(log);
    static const std::regex call(R"(^(?:\d+ )?(\w+)\((\w*))");
    std::smatch match;
    for (std::string line; std::getline(file, line);) {
        if (!std::regex_search(line, match, call)) {
            continue;
        }
        std::string name = match[1];
        for (const char* const known : {"select", "recv", "send", "connect"}) {
            name = name.find(known) != name.npos ? known : name;
        }
        adapter = name == "connect" ? match[2].str() : adapter;
        if (name == "select") {
            found.emplace_back();
        }
        const bool onAdapter = match[2] == adapter && (name == "send" || name == "recv");
        if (!found.empty() && !onAdapter) {
            found.back() += name + " ";
        }
    }
    return found;
}

}  // namespace

TEST_F(DaemonTest, EndsWithAStatusThatSaysWhatIsWrong) {
    const struct {
        std::vector<std::string> arguments;
        U32_t version;
        int status;
        const char* says;
    } rows[] = {
        {{}, 16, 1, "main(): Arguments few than 2."},
        {{"99"}, 16, 2, "main(): shared memory key less than 100."},
        {{"2000000000"}, 16, 3, "Error opening the MPU shared memory area."},
        {{"{}"}, 17, 3, "  Expected version 16, attached to version 17."},
    };
    for (const auto& row : rows) {
        options.arguments = row.arguments;
        prepare().parameters().values().version = row.version;
        lab().startDaemon();
        ASSERT_TRUE(lab().runUntil([&] { return lab().daemon().ended(); })) << row.says;
        EXPECT_EQ(lab().daemon().exitStatus(), row.status) << row.says;
        EXPECT_THAT(output(), HasSubstr("main(): Start the Enclosure Services Adapter."));
        EXPECT_THAT(output(), HasSubstr(row.says));
    }
}

TEST_F(DaemonTest, GoesOnWithoutWhatIsMissing) {
    const LabOptions whole = options;
    const struct {
        std::function<void(LabOptions&)> lacks;
        const char* says;
    } rows[] = {
        {[](auto& o) { o.device = false; }, "no enclosure services: information, enclosure none"},
        {[](auto& o) { o.personalityFile = false; }, "no personality file: information"},
        {[](auto& o) { o.startupVariable = false; }, "no personality file: information"},
        {[](auto& o) { o.adapter = AdapterKind::kSmbusOnly; }, "enclosure VSC055, answers"},
        {[](auto& o) { o.arguments = {"{:#x} and more"}; }, "enclosure VSC055, answers"},
    };
    for (const auto& row : rows) {
        options = whole;
        row.lacks(options);
        prepare().startDaemon();
        EXPECT_TRUE(untilSaid(row.says)) << row.says;
        EXPECT_TRUE(answers(1)) << row.says;
        EXPECT_EQ(lab().startupProcess().initCompletes(), 1) << row.says;
        EXPECT_EQ(lab().startupProcess().mails(), 0) << row.says;
    }
}

TEST_F(DaemonTest, TheLoopAllocatesNothingAndTracesOnlyWhenTold) {
    for (const bool trace : {false, true}) {
        options.trace = trace;
        const std::filesystem::path path = options.directory.native() + ".count";
        std::filesystem::create_directories(path.parent_path());
        const AllocationCount count(path);
        if (!kSanitized) {  // the sanitizer has an allocator of its own
            options.preload = {std::filesystem::read_symlink("/proc/self/exe").parent_path() /
                               ".." / "lib" / "libcountalloc.so"};
            options.environment = {"COUNT_ALLOC_FILE=" + path.native()};
        }
        start();
        const std::uint32_t before = count.value();
        EXPECT_TRUE(kSanitized || before > 0) << "the counter works";
        busyTime();
        EXPECT_EQ(count.value(), before) << (trace ? "with" : "without") << " the trace";
        const std::string written = this->trace();
        EXPECT_EQ(written.empty(), !trace);
        for (const char* const text : {"Enclosure Services Adapter connects to MSM with socket [",
                                       "Finish initializing for the Vsc055 based Enclosure."}) {
            EXPECT_EQ(written.find(text) != written.npos, trace) << text;
        }
        const std::regex line(R"(^[A-Z][a-z]{2} [ \d]\d \d\d:\d\d:\d\d  \w{1,32}:\d+:  .*)");
        const std::string first = written.substr(0, written.find('\n'));
        EXPECT_TRUE(!trace || std::regex_match(first, line)) << first;
    }
}

// A closed socket is readable for ever: who watches it does not wait.
TEST_F(DaemonTest, WithTheSwitchGoneItWaitsBetweenPollsAsBefore) {
    start();
    lab().messageSwitch().close(MMSG_E_EPID_ES_ADAPTERMP);
    ASSERT_TRUE(pollsPass(5));
    for (std::size_t n = 1; n < polls_.size(); ++n) {
        EXPECT_GE(polls_[n] - polls_[n - 1], 11);
    }
    EXPECT_TRUE(lab().daemonRunning());
}

TEST_F(DaemonTest, AStatusRequestCostsFourSystemCalls) {
    const std::filesystem::path log = options.directory.native() + ".calls";
    std::filesystem::create_directories(log.parent_path());
    std::ofstream(log).close();
#if defined(__powerpc__)
    options.launcher = {"qemu-ppc", "-L", "/usr/powerpc-linux-gnu", "-strace", "-D", log};
#else
    options.launcher = {"strace", "-qq", "-o", log};
#endif
    start();
    ASSERT_TRUE(answers(1));
    ASSERT_TRUE(answers(2));
    ASSERT_TRUE(pollsPass(1));
    const auto all = passes(log);
    const auto answering = [](const std::string& calls) {
        return calls.ends_with("send ") && calls != "select send ";
    };
    EXPECT_EQ(std::ranges::count_if(all, answering), 2) << "requests";
    EXPECT_EQ(std::ranges::count(all, "select recv recv send "), 2);
    std::filesystem::remove(log);
}
