// SPDX-License-Identifier: Apache-2.0
// The program enclab as its user meets it: live lines, commands, and that nothing is left behind
// however it ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/shm.h>
#include <unistd.h>

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
using testing::MatchesRegex;
namespace fs = std::filesystem;

namespace {

class EnclabTest : public testing::Test {
  protected:
    EnclabTest()
        : name_("program-" + std::to_string(getpid())),
          directory_(LabDirectory::defaultPath(name_)) {}
    ~EnclabTest() override {
        if (HasFailure()) {
            for (const std::string& line : lines_) {
                std::printf("%s\n", line.c_str());
            }
        }
        lab_.reset();
        fs::remove_all(directory_);
    }

    // Words of a program of this build, under the emulator where it needs one.
    std::vector<std::string> program(const std::vector<std::string>& words) const {
        std::istringstream emulator(ENCLAB_EMULATOR);
        std::vector<std::string> command(std::istream_iterator<std::string>(emulator), {});
        command.push_back(fs::read_symlink("/proc/self/exe").parent_path() / "enclab");
        command.insert(command.end(), words.begin(), words.end());
        return command;
    }
    static std::vector<std::string> environment() {
        return {std::string("PATH=") + std::getenv("PATH")};
    }
    void start(std::vector<std::string> words = {}) {
        words.insert(words.begin(), {"--name", name_, "--speed", "50", "--no-panel"});
        exits_ = 0;
        lab_ = std::make_unique<Child>(io_, program(words), environment(),
                                       [this](const std::string& line) { lines_.push_back(line); });
        lab_->onExit([this] { ++exits_; });
    }
    void startUntilLoop(const std::vector<std::string>& words = {}) {
        start(words);
        ASSERT_TRUE(untilLine("enclosure bus: information, enclosure VSC055, answers"));
    }
    bool runUntil(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + 30s;
        while (!condition() && std::chrono::steady_clock::now() < deadline) {
            io_.restart();
            io_.run_one_for(20ms);
        }
        return condition();
    }
    bool untilLine(const std::string& text) {
        return runUntil([&] { return position(text) != lines_.size(); });
    }
    std::size_t position(const std::string& text) const {
        std::size_t n = 0;
        while (n < lines_.size() && lines_[n].find(text) == std::string::npos) {
            ++n;
        }
        return n;
    }
    bool untilExit() {
        return runUntil([this] { return exits_ > 0; });
    }
    Commands::Result control(const std::string& line) {
        return controlLab(directory_ / "ctl", line);
    }
    // Process and segment of the running lab, as it notes them itself.
    void readNotes() {
        std::ifstream(directory_ / "lock") >> labPid_ >> shmid_;
        std::string line = lines_.at(position("daemon process "));
        daemonPid_ = std::stoi(line.substr(line.find("process ") + 8));
    }
    void expectNothingLeft() {
        shmid_ds segment;
        EXPECT_EQ(shmctl(shmid_, IPC_STAT, &segment), -1) << "the segment";
        EXPECT_EQ(kill(daemonPid_, 0), -1) << "the daemon";
        EXPECT_FALSE(fs::exists(directory_)) << "the directory";
    }

    asio::io_context io_;
    std::string name_;
    fs::path directory_;
    std::unique_ptr<Child> lab_;
    std::vector<std::string> lines_;
    int exits_ = 0;
    pid_t labPid_ = 0;
    pid_t daemonPid_ = 0;
    int shmid_ = -1;
};

}  // namespace

TEST_F(EnclabTest, ShowsOneLineForEachEventWithTheDaemonsTime) {
    startUntilLoop();
    for (const char* tag : {"lab     directory ", "startup initialisation complete",
                            "event   personality: information, enclosure VSC055"}) {
        ASSERT_LT(position(tag), lines_.size()) << tag;
        EXPECT_THAT(lines_[position(tag)], MatchesRegex("\\[ +[0-9]+\\.[0-9]\\] .*"));
    }
    EXPECT_EQ(control("fan 1 pull").text, "fan 1 pulled");
    ASSERT_TRUE(untilLine("mail    e-mail notification"));
    const std::size_t event = position("event   fan fault status: warning, fans 4, failed 0x02");
    EXPECT_LT(event, position("led     composite fault LED on"));
    EXPECT_LT(position("led     composite fault LED on"), position("mail    e-mail notification"));
    EXPECT_THAT(control("show").text, HasSubstr("fan 1       pulled"));
    EXPECT_EQ(position("bus     "), lines_.size());
    control("bus on");
    EXPECT_TRUE(untilLine("bus     R 41 04="));
}

TEST_F(EnclabTest, EveryWayOfEndingLeavesNothingBehind) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGALRM}) {
        startUntilLoop();
        readNotes();
        kill(labPid_, signal);
        kill(labPid_, signal);
        ASSERT_TRUE(untilExit()) << signal;
        EXPECT_EQ(lab_->exitStatus(), 0) << signal;
        expectNothingLeft();
        lines_.clear();
    }
    startUntilLoop();
    readNotes();
    EXPECT_TRUE(control("quit").ok);
    ASSERT_TRUE(untilExit());
    EXPECT_EQ(lab_->exitStatus(), 0);
    expectNothingLeft();
}

TEST_F(EnclabTest, TypedCommandsAreDoneAndTheEndOfTheInputEndsNothing) {
    std::string command;
    for (const std::string& word : program({"--name", name_, "--speed", "50", "--still"})) {
        command += " '" + word + "'";
    }
    lab_ = std::make_unique<Child>(
        io_,
        std::vector<std::string>{"/bin/sh", "-c",
                                 "printf 'fan 2 pull\\nnonsense\\n\\ntemp 0 3' |" + command},
        environment(), [this](const std::string& line) { lines_.push_back(line); });
    lab_->onExit([this] { ++exits_; });
    ASSERT_TRUE(untilLine("lab     fan 2 pulled"));
    ASSERT_TRUE(untilLine("error   no command 'nonsense'; help lists them"));
    ASSERT_TRUE(untilLine("event   fan fault status: warning, fans 4, failed 0x04 (fan 2)"));
    EXPECT_THAT(control("show").text, HasSubstr("sensor 0    30.0 degrees"))
        << "half a line is no command";
    EXPECT_TRUE(control("quit").ok);
    ASSERT_TRUE(untilExit());
}

TEST_F(EnclabTest, EndsWithTheDaemonAndSaysSo) {
    startUntilLoop();
    readNotes();
    kill(daemonPid_, SIGKILL);  // a sanitizer turns other fatal signals into an exit
    ASSERT_TRUE(untilExit());
    EXPECT_EQ(lab_->exitStatus(), 1);
    EXPECT_LT(position("lab     the daemon ended with status 137"), lines_.size());
    expectNothingLeft();
}

TEST_F(EnclabTest, KilledItTakesTheDaemonAlongAndTheNextLabClearsTheRest) {
    startUntilLoop();
    readNotes();
    kill(labPid_, SIGKILL);
    ASSERT_TRUE(untilExit());
    EXPECT_TRUE(runUntil([this] { return kill(daemonPid_, 0) == -1; }));
    const int left = shmid_;
    shmid_ds segment;
    EXPECT_EQ(shmctl(left, IPC_STAT, &segment), 0);
    lines_.clear();
    startUntilLoop();
    EXPECT_EQ(shmctl(left, IPC_STAT, &segment), -1);
    readNotes();
    EXPECT_TRUE(control("quit").ok);
    ASSERT_TRUE(untilExit());
    expectNothingLeft();
}

TEST_F(EnclabTest, ASecondLabOfTheSameNameIsRefusedInOneLine) {
    startUntilLoop();
    std::vector<std::string> said;
    int ended = 0;
    Child second(io_, program({"--name", name_}), environment(),
                 [&](const std::string& line) { said.push_back(line); });
    second.onExit([&] { ++ended; });
    ASSERT_TRUE(runUntil([&] { return ended > 0; }));
    EXPECT_EQ(second.exitStatus(), 1);
    ASSERT_EQ(said.size(), 1u);
    EXPECT_THAT(said[0], HasSubstr("enclab: a lab is already running in " + directory_.native()));
    EXPECT_TRUE(control("show").ok) << "the first goes on";
}

TEST_F(EnclabTest, WrongUseAndMissingThingsHaveTheirExitStatus) {
    const struct {
        std::vector<std::string> words;
        int status;
        const char* text;
    } cases[] = {
        {{"--help"}, 0, "--speed"},
        {{"--speed", "0"}, 2, "--speed"},
        {{"--nonsense"}, 2, "--nonsense"},
        {{"--personality", "/no/such/file"}, 2, "/no/such/file"},
        {{"--daemon", "/etc/passwd"}, 1, "no daemon at /etc/passwd"},
        {{"ctl"}, 2, "command"},
        {{"ctl", "--name", "no-such-lab", "show"}, 3, "no lab is running in"},
    };
    for (const auto& c : cases) {
        lines_.clear();
        exits_ = 0;
        lab_ = std::make_unique<Child>(io_, program(c.words), environment(),
                                       [this](const std::string& line) { lines_.push_back(line); });
        lab_->onExit([this] { ++exits_; });
        ASSERT_TRUE(untilExit());
        EXPECT_EQ(lab_->exitStatus(), c.status) << c.text;
        EXPECT_LT(position(c.text), lines_.size()) << c.text;
    }
}

TEST_F(EnclabTest, ControlCommandsComeFromTheCommandLineToo) {
    startUntilLoop();
    const auto run = [this](std::vector<std::string> words) {
        words.insert(words.begin(), {"ctl", "--name", name_});
        std::vector<std::string> said;
        int ended = 0;
        Child client(io_, program(words), environment(),
                     [&](const std::string& line) { said.push_back(line); });
        client.onExit([&] { ++ended; });
        runUntil([&] { return ended > 0; });
        return std::to_string(client.exitStatus().value_or(-1)) + " " +
               (said.empty() ? "" : said[0]);
    };
    EXPECT_EQ(run({"temp", "all", "-5"}), "0 all sensors at -5 degrees");
    EXPECT_EQ(run({"fan", "7", "pull"}).substr(0, 2), "1 ");
    EXPECT_EQ(run({"psu lost"}), "0 supply redundancy lost");
}

TEST_F(EnclabTest, KeepsTheTraceWhenToldTo) {
    startUntilLoop({"--trace", "--keep"});
    EXPECT_LT(position("lab     trace " + directory_.native() + "/log/esa_01.log"), lines_.size());
    EXPECT_TRUE(control("quit").ok);
    ASSERT_TRUE(untilExit());
    EXPECT_GT(fs::file_size(directory_ / "log" / "esa_01.log"), 0u);
    EXPECT_FALSE(fs::exists(directory_ / "mmsg"));
}
