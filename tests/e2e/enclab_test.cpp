// SPDX-License-Identifier: Apache-2.0
// The program enclab as its user meets it: live lines, commands, and that nothing is left behind
// however it ends.
#include <gmock/gmock.h>
#include <sys/shm.h>
#include <unistd.h>
#include <asio/io_context.hpp>

#include <csignal>
#include <fstream>
#include <memory>
#include <sstream>

#include "lab/session/child.h"
#include "lab/session/control_server.h"
#include "lab/session/lab_directory.h"

using namespace std::chrono_literals;
using namespace enclab;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

using Words = std::vector<std::string>;

class EnclabTest : public testing::Test {
  protected:
    // A program that runs, and its lines so far.
    struct Running {
        std::unique_ptr<Child> child;
        Words lines;

        std::size_t position(const std::string& text) const {
            const auto found = std::ranges::find_if(
                lines, [&](const std::string& line) { return line.find(text) != line.npos; });
            return static_cast<std::size_t>(found - lines.begin());
        }
        bool has(const std::string& text) const { return position(text) != lines.size(); }
    };

    EnclabTest()
        : name_("program-" + std::to_string(getpid())),
          directory_(LabDirectory::defaultPath(name_)) {}
    ~EnclabTest() override {
        for (const std::string& line : HasFailure() ? lab_.lines : Words()) {
            std::printf("%s\n", line.c_str());
        }
        lab_.child.reset();
        fs::remove_all(directory_);
    }

    // Words of enclab of this build, under the emulator where it needs one.
    static Words enclab(const Words& words) {
        std::istringstream emulator(ENCLAB_EMULATOR);
        Words command(std::istream_iterator<std::string>(emulator), {});
        command.push_back(fs::read_symlink("/proc/self/exe").parent_path() / "enclab");
        command.insert(command.end(), words.begin(), words.end());
        return command;
    }
    void run(Running& running, const Words& command) {
        running.lines.clear();
        running.child = std::make_unique<Child>(
            io_, command, Words{std::string("PATH=") + std::getenv("PATH")},
            [&running](const std::string& line) { running.lines.push_back(line); });
    }
    bool runUntil(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + 10min;
        while (!condition() && std::chrono::steady_clock::now() < deadline) {
            io_.restart();
            io_.run_one_for(20ms);
        }
        return condition();
    }
    bool untilLine(const std::string& text) {
        return runUntil([&] { return lab_.has(text); });
    }
    bool untilExit(Running& running) {
        return runUntil([&] { return running.child->ended(); });
    }
    // The lab, up to the daemon's loop, and what it notes about itself.
    void start(Words words = {}) {
        words.insert(words.begin(), {"--name", name_, "--speed", "50", "--no-panel"});
        run(lab_, enclab(words));
        awaitLoop();
    }
    void awaitLoop() {
        ASSERT_TRUE(untilLine("enclosure bus: information, enclosure VSC055, answers"));
        std::ifstream(directory_ / "lock") >> labPid_ >> shmid_;
        const std::string line = lab_.lines.at(lab_.position("daemon process "));
        daemonPid_ = std::stoi(line.substr(line.find("process ") + 8));
    }
    bool segmentExists() const {
        shmid_ds segment;
        return shmctl(shmid_, IPC_STAT, &segment) == 0;
    }
    void expectEnd(int status) {
        ASSERT_TRUE(untilExit(lab_));
        EXPECT_EQ(lab_.child->exitStatus(), status);
        EXPECT_FALSE(segmentExists());
        EXPECT_EQ(kill(daemonPid_, 0), -1) << "the daemon";
        EXPECT_FALSE(fs::exists(directory_)) << "the directory";
    }
    // Exit status and first line of another run of the program.
    std::string said(const Words& words) {
        Running other;
        run(other, enclab(words));
        untilExit(other);
        return std::to_string(other.child->exitStatus().value_or(-1)) + " " +
               (other.lines.empty() ? "" : other.lines[0]);
    }

    asio::io_context io_;
    std::string name_;
    fs::path directory_;
    Running lab_;
    pid_t labPid_ = 0;
    pid_t daemonPid_ = 0;
    int shmid_ = -1;
};

}  // namespace

TEST_F(EnclabTest, ShowsOneLineForEachEventAndTakesCommands) {
    std::string command;
    for (const std::string& word :
         enclab({"--name", name_, "--speed", "50", "--still", "--no-panel"})) {
        command += " '" + word + "'";
    }
    run(lab_, {"/bin/sh", "-c", "printf 'fan 2 pull\\nnonsense\\n\\ntemp 0 3' |" + command});
    awaitLoop();
    for (const char* tag : {"lab     directory ", "startup initialisation complete",
                            "event   personality: information, enclosure VSC055"}) {
        ASSERT_TRUE(lab_.has(tag)) << tag;
        EXPECT_THAT(lab_.lines[lab_.position(tag)],
                    testing::MatchesRegex("\\[ +[0-9]+\\.[0-9]\\] .*"));
    }
    EXPECT_TRUE(untilLine("lab     fan 2 pulled"));
    EXPECT_TRUE(untilLine("error   no command 'nonsense'; help lists them"));
    ASSERT_TRUE(untilLine("mail    e-mail notification"));
    const std::size_t led = lab_.position("led     composite fault LED on");
    EXPECT_LT(lab_.position("event   fan fault status: warning, fans 4, failed 0x04 (fan 2)"), led);
    EXPECT_LT(led, lab_.position("mail    e-mail notification"));

    const auto control = [&](const char* line) { return controlLab(directory_ / "ctl", line); };
    EXPECT_THAT(control("show").text, HasSubstr("sensor 0    30.0 degrees"))
        << "half a line is no command, and the end of the input ends nothing";
    EXPECT_FALSE(lab_.has("bus     "));
    control("bus on");
    EXPECT_TRUE(untilLine("bus     R 41 04="));
    EXPECT_EQ(said({"ctl", "--name", name_, "temp", "all", "-5"}), "0 all sensors at -5 degrees");
    EXPECT_THAT(said({"ctl", "--name", name_, "fan", "7", "pull"}), HasSubstr("1 "));
    EXPECT_EQ(said({"ctl", "--name", name_, "psu lost"}), "0 supply redundancy lost");
    EXPECT_THAT(said({"--name", name_}),
                HasSubstr("1 enclab: a lab is already running in " + directory_.native()));
    EXPECT_TRUE(control("quit").ok) << "the first has gone on";
    expectEnd(0);
}

TEST_F(EnclabTest, EveryWayOfEndingLeavesNothingBehind) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        start();
        kill(labPid_, signal);
        kill(labPid_, signal);
        expectEnd(0);
    }
    start();
    kill(daemonPid_, SIGKILL);  // a sanitizer turns other fatal signals into an exit
    expectEnd(1);
    EXPECT_TRUE(lab_.has("lab     the daemon ended with status 137"));
}

TEST_F(EnclabTest, KilledItTakesTheDaemonAlongAndTheNextLabClearsTheRest) {
    start();
    kill(labPid_, SIGKILL);
    ASSERT_TRUE(untilExit(lab_));
    EXPECT_TRUE(runUntil([this] { return kill(daemonPid_, 0) == -1; }));
    EXPECT_TRUE(segmentExists());
    const int left = shmid_;
    start({"--trace", "--keep"});
    shmid_ds segment;
    EXPECT_EQ(shmctl(left, IPC_STAT, &segment), -1);
    EXPECT_TRUE(lab_.has("lab     trace " + directory_.native() + "/log/esa_01.log"));
    EXPECT_TRUE(controlLab(directory_ / "ctl", "quit").ok);
    ASSERT_TRUE(untilExit(lab_));
    EXPECT_GT(fs::file_size(directory_ / "log" / "esa_01.log"), 0u) << "kept";
    EXPECT_FALSE(fs::exists(directory_ / "mmsg"));
}

TEST_F(EnclabTest, WrongUseAndMissingThingsHaveTheirExitStatus) {
    const struct {
        Words words;
        const char* text;
    } cases[] = {
        {{"--speed", "0"}, "2 *--speed"},
        {{"--nonsense"}, "2 *--nonsense"},
        {{"--personality", "/no/such/file"}, "2 */no/such/file"},
        {{"--daemon", "/etc/passwd"}, "1 *no daemon at /etc/passwd"},
        {{"ctl"}, "2 *command"},
        {{"ctl", "--name", "no-such-lab", "show"}, "3 *no lab is running in"},
        {{"--help"}, "0 *"},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(said(c.words),
                    testing::MatchesRegex(std::string(1, c.text[0]) + " .*" + (c.text + 3) + ".*"));
    }
}
