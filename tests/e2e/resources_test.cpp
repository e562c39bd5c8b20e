// SPDX-License-Identifier: Apache-2.0
// What the daemon uses: trace file, processor, heap, system calls.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <fstream>
#include <regex>

#include "tests/e2e/e2e.h"
#include "tests/support/cases.h"

using namespace enclab;
using testing::HasSubstr;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

namespace {

class ResourcesTest : public LabTest {
  protected:
    // A bit of everything the loop does.
    void busyTime() {
        SesClient client(lab());
        for (std::uint32_t handle = 1; handle < 20; ++handle) {
            client.send(getPage(0).bytes());  // no page, no reply
            ASSERT_TRUE(client.request(getPage(handle % 2 == 0 ? 1 : 2, 4000, handle)));
        }
        lab().chassis().pullFan(0);
        lab().chassis().setTemperature(0, 70);
        lab().chassis().bus().cut(0x4B);
        ASSERT_TRUE(pollsPass(2));
        lab().messageSwitch().close(kDaemon);
        ASSERT_TRUE(pollsPass(2));
        lab().messageSwitch().open(kDaemon);
        lab().chassis().returnFan(0);
        lab().chassis().bus().mend(0x4B);
        ASSERT_TRUE(pollsPass(2));
        EXPECT_TRUE(answers());
    }
};

// Texts that log readers match on.
constexpr char TRACE_TEXTS[] = R"(esaDebug set to TRUE
Enclosure Services Adapter connects to MSM with socket [
Enclosure Type in XML File = [ESA_K_NAME_STRING_VITESSE_VSC055_CUSTOM]
Fan Speed Divisor = [4].
Finish initializing the Enclosure Services Adapter internal data structures.
ESA finishes initialization and sends the message to the Startup process.
RCP Complete flag is marked now.
rcpWaitRetryCount = [
Read I2C succeeds. I2C cable is connected
Load PWM [50] Percent to Fan [3]
Finish initializing for the Vsc055 based Enclosure.
Receive a Response MMSG from Startup with returned code [OK].
Send out a Diagnostic Page.
Now marking Fault on Fan [0].
At least 1 Fan Fault, FanFaultStatus = [0x1]
Send Email Notification MMSG To Startup.
[Set] Composite Fault LED in Startup.
Now marking Fault on I2C Device with Address [0x4b].
temperatureReportStatus[0] reporting over 55 degrees Event.
Alarm State is set to [)";

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

bool isWait(const std::string& call) {
    return call.find("select") != call.npos;
}

// System calls between two waits of the loop, the first wait included; calls on the enclosure's
// adapter, a socket here (connected last) and one ioctl each on a board, are left out.
std::vector<std::vector<std::string>> passes(const std::filesystem::path& log) {
    std::vector<std::vector<std::string>> found;
    std::string adapter = "none";
    std::ifstream file(log);
    static const std::regex call(R"(^(?:\d+ )?(\w+)\((\w*))");
    for (std::string line; std::getline(file, line);) {
        std::smatch match;
        if (!std::regex_search(line, match, call)) {
            continue;
        }
        const std::string name = match[1];
        if (name == "connect") {
            adapter = match[2];
        }
        if (isWait(name)) {
            found.emplace_back();
        }
        const bool onAdapter = !isWait(name) && match[2] == adapter;
        if (!found.empty() && !onAdapter) {
            found.back().push_back(name);
        }
    }
    return found;
}

}  // namespace

TEST_F(ResourcesTest, TheLoopAllocatesNothingAndTracesOnlyWhenTold) {
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
        const std::vector<std::string> lines = this->trace();
        EXPECT_EQ(lines.empty(), !trace);
        for (const std::string& text : linesOf(trace ? TRACE_TEXTS : "")) {
            EXPECT_GE(traced(text), 1) << text;
        }
        const std::regex line(R"(^[A-Z][a-z]{2} [ \d]\d \d\d:\d\d:\d\d  \w{1,32}:\d+:  .*)");
        EXPECT_TRUE(!trace || std::regex_match(lines.at(0), line)) << lines.at(0);
    }
}

TEST_F(ResourcesTest, WithTheSwitchGoneItPollsOnUnderOnePercentOfACore) {
    start();
    lab().messageSwitch().close(kDaemon);
    ASSERT_TRUE(pollsPass(1));
    const double time = lab().time();
    const double used = lab().daemon().cpuSeconds();
    ASSERT_TRUE(pollsPass(5));
    EXPECT_LT((lab().daemon().cpuSeconds() - used) / (lab().time() - time), 0.01);
    EXPECT_TRUE(lab().daemonRunning());
}

TEST_F(ResourcesTest, AStatusRequestCostsFourSystemCalls) {
    const std::filesystem::path log = options.directory.native() + ".calls";
    std::filesystem::create_directories(log.parent_path());
    std::ofstream(log).close();
#if defined(__powerpc__)
    options.launcher = {"qemu-ppc", "-L", "/usr/powerpc-linux-gnu", "-strace", "-D", log};
#else
    options.launcher = {"strace", "-qq", "-o", log};
#endif
    start();
    SesClient client(lab());
    ASSERT_TRUE(client.request(getPage(1, 4000, 1)));
    ASSERT_TRUE(client.request(getPage(2, 4000, 2)));
    ASSERT_TRUE(pollsPass(1));
    int requests = 0;
    for (const auto& calls : passes(log)) {
        if (calls.back().find("send") == calls.back().npos || calls.size() < 3) {
            continue;
        }
        ++requests;
        ASSERT_EQ(calls.size(), 4u);
        EXPECT_THAT(calls[0], HasSubstr("select"));
        EXPECT_THAT(calls[1], HasSubstr("recv"));
        EXPECT_THAT(calls[2], HasSubstr("recv"));
    }
    EXPECT_EQ(requests, 2);
    std::filesystem::remove(log);
}
