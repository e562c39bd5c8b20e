// SPDX-License-Identifier: Apache-2.0
// The parts a lab is made of: directory, parameter area, personality file, child process, commands.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <fstream>

#include "lab/session/commands.h"
#include "lab/session/control_server.h"
#include "lab/session/lab.h"

using namespace enclab;
using namespace std::chrono_literals;
namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

// A place of its own for each test, short enough for sockets.
class Place : public testing::Test {
  protected:
    Place() : place_("/tmp/lab-test-" + std::to_string(getpid())) { fs::create_directory(place_); }
    ~Place() override { fs::remove_all(place_); }

    template <typename Action>
    static std::string failure(Action action) {
        try {
            action();
        } catch (const std::exception& error) {
            return error.what();
        }
        return "";
    }
    void file(const fs::path& name, const std::string& text = "x") {
        fs::create_directories((place_ / name).parent_path());
        std::ofstream(place_ / name) << text;
    }

    fs::path place_;
};

using LabDirectoryTest = Place;

}  // namespace

TEST_F(LabDirectoryTest, MakesItsFoldersAndRemovesAllOfThem) {
    {
        LabDirectory directory(place_ / "a");
        EXPECT_TRUE(fs::is_directory(directory.switchSockets()));
        EXPECT_TRUE(fs::is_directory(directory.personality().parent_path()));
        EXPECT_TRUE(fs::exists(directory.startup() / ".." / "web" / "OEM"));
        file("a/log/esa_01.log");
        file("a/web/OEM/EnvPersonalityParams.xml");
    }
    EXPECT_FALSE(fs::exists(place_ / "a"));
}

TEST_F(LabDirectoryTest, KeepsTheLogsWhenTold) {
    {
        LabDirectory directory(place_ / "a");
        directory.keepLogs();
        file("a/log/esa_01.log");
        file("a/bus");
    }
    EXPECT_TRUE(fs::exists(place_ / "a" / "log" / "esa_01.log"));
    EXPECT_FALSE(fs::exists(place_ / "a" / "bus"));
    LabDirectory again(place_ / "a");
    EXPECT_TRUE(fs::is_empty(again.log())) << "a new lab starts with empty folders";
}

TEST_F(LabDirectoryTest, BelongsToOneLabAtATime) {
    LabDirectory first(place_ / "a");
    EXPECT_EQ(failure([&] { LabDirectory second(place_ / "a"); }),
              "a lab is already running in " + (place_ / "a").native() + " (process " +
                  std::to_string(getpid()) + ")");
    LabDirectory other(place_ / "b");
}

TEST_F(LabDirectoryTest, RefusesFoldersOfOthersAndLeavesThemAlone) {
    file("a/log/diary.txt");
    EXPECT_THAT(failure([&] { LabDirectory directory(place_ / "a"); }), HasSubstr("not empty"));
    EXPECT_TRUE(fs::exists(place_ / "a" / "log" / "diary.txt"));
}

TEST_F(LabDirectoryTest, RefusesAPathTooLongForItsSockets) {
    const std::string name(108 - place_.native().size() - 1 - sizeof "/mmsg/esadapter", 'x');
    EXPECT_THAT(failure([&] { LabDirectory directory(place_ / (name + "y")); }),
                HasSubstr("too long"));
    EXPECT_EQ(failure([&] { LabDirectory directory(place_ / name); }), "");
}

TEST_F(LabDirectoryTest, ClearsTheSegmentOfAKilledLabAndNoOther) {
    const pid_t killed = fork();
    if (killed == 0) {
        auto* directory = new LabDirectory(place_ / "a");
        auto* area = new ParameterArea;
        directory->noteSegment(area->shmid());
        _exit(area->shmid() >= 0 ? 0 : 1);
    }
    int status = 1;
    waitpid(killed, &status, 0);
    ASSERT_EQ(status, 0);
    int pid = 0;
    int shmid = -1;
    std::ifstream(place_ / "a" / "lock") >> pid >> shmid;
    shmid_ds segment;
    ASSERT_EQ(shmctl(shmid, IPC_STAT, &segment), 0);
    { LabDirectory next(place_ / "a"); }
    EXPECT_EQ(shmctl(shmid, IPC_STAT, &segment), -1);

    const ParameterArea mine;
    fs::create_directories(place_ / "b");
    std::ofstream(place_ / "b" / "lock") << getpid() + 1 << ' ' << mine.shmid() << '\n';
    { LabDirectory next(place_ / "b"); }
    EXPECT_EQ(shmctl(mine.shmid(), IPC_STAT, &segment), 0);
}

TEST(ParameterAreaTest, HasTheLayoutOfTheBoardInHostByteOrder) {
    ParameterArea area;
    area.setDirectories("/m", "/n", "/l");
    area.setFlag(MPU_K_FLAG_TRACE_VERBOSE);
    area.setFlag(MPU_K_FLAG_RCP_COMPLETE);
    EXPECT_GE(area.key(), 100);
    const int shmid = shmget(area.key(), 0, 0);
    shmid_ds segment;
    ASSERT_EQ(shmctl(shmid, IPC_STAT, &segment), 0);
    EXPECT_EQ(segment.shm_segsz, 748u);
    const auto* bytes = static_cast<const char*>(shmat(shmid, nullptr, SHM_RDONLY));
    std::uint32_t words[2];
    std::memcpy(words, bytes, sizeof words);
    EXPECT_EQ(words[0], 16u);
    EXPECT_EQ(words[1], 0x01001000u);
    EXPECT_STREQ(bytes + 364, "/m");
    EXPECT_STREQ(bytes + 492, "/n");
    EXPECT_STREQ(bytes + 620, "/l");
    area.clearFlag(MPU_K_FLAG_RCP_COMPLETE);
    std::memcpy(words, bytes, sizeof words);
    EXPECT_EQ(words[1], 0x01000000u);
    shmdt(bytes);
    EXPECT_THROW(area.setDirectories(std::string(128, 'x'), "/n", "/l"), std::length_error);
}

TEST(ParameterAreaTest, EachHasAKeyOfItsOwnAndTakesItsSegmentAway) {
    int shmid = -1;
    {
        const ParameterArea first;
        const ParameterArea second;
        EXPECT_NE(first.key(), second.key());
        shmid = first.shmid();
    }
    shmid_ds segment;
    EXPECT_EQ(shmctl(shmid, IPC_STAT, &segment), -1);
}

TEST(PersonalityTest, SelectsTheChassisItIsMadeFor) {
    for (const char* chassis : {"vsc055", "xyratex", "w83792ad"}) {
        EXPECT_EQ(chassisOf(personalityOf(chassis).xml()), chassis);
    }
    for (const char* chassis : {"w83782d", "chenbro", "", "Xyratex 2U12ATX"}) {
        EXPECT_THROW(personalityOf(chassis), std::out_of_range) << chassis;
    }
    EXPECT_EQ(chassisOf("name=\"Winbond W83792AD Custom\" other=\"Xyratex 2U12ATX\""), "xyratex")
        << "the daemon looks for it first";
    EXPECT_EQ(chassisOf("name=\"ChenbroRM326\""), "vsc055");
    EXPECT_EQ(chassisOf("Xyratex 2U12ATX"), "vsc055") << "no quotes";
    EXPECT_EQ(chassisOf(""), "vsc055");
}

TEST(PersonalityTest, PutsEachDigitSevenCharactersBehindItsValueWord) {
    Personality personality;
    personality.coolingMaxNumber = 7;
    personality.fanPwmLoadMinimum = 50;
    const std::string xml = personality.xml();
    EXPECT_NE(xml.find("\"Vitesse VSC055 Custom\""), xml.npos);
    EXPECT_NE(xml.find("\"coolingMaxNumber\" value=\"7\""), xml.npos);
    EXPECT_EQ(personalityValue(xml, "coolingMaxNumber"), 7);
    EXPECT_EQ(personalityValue(xml, "fanPwmLoadMinimum"), 50);
    EXPECT_EQ(personalityValue(xml, "fanPwm100To75TemperatureThreshold"), 41);
    EXPECT_EQ(personalityValue(xml, "coolingMax"), std::nullopt);
    EXPECT_EQ(personalityValue("\"key\" no such word", "key"), std::nullopt);
    EXPECT_EQ(personalityValue("\"key\" value", "key"), std::nullopt);
}

namespace {

class ChildTest : public testing::Test {
  protected:
    Child& start(const std::string& script, const std::vector<std::string>& environment = {}) {
        child_ = std::make_unique<Child>(
            io_, std::vector<std::string>{"/bin/sh", "-c", script}, environment,
            [this](const std::string& line) { lines_.push_back(line); });
        child_->onExit([this] { ++exits_; });
        return *child_;
    }
    bool runUntilExit() {
        const auto deadline = std::chrono::steady_clock::now() + 20s;
        while (exits_ == 0 && std::chrono::steady_clock::now() < deadline) {
            io_.restart();
            io_.run_one_for(50ms);
        }
        return exits_ == 1;
    }

    asio::io_context io_;
    std::unique_ptr<Child> child_;
    std::vector<std::string> lines_;
    int exits_ = 0;
};

}  // namespace

TEST_F(ChildTest, GivesItsLinesAndItsExitStatus) {
    start("echo one; echo two >&2; printf three; exit 7");
    EXPECT_EQ(child_->exitStatus(), std::nullopt);
    ASSERT_TRUE(runUntilExit());
    EXPECT_THAT(lines_, ElementsAre("one", "two", "three"));
    EXPECT_EQ(child_->exitStatus(), 7);
    EXPECT_FALSE(child_->running());
}

TEST_F(ChildTest, ASignalEndsItWith128AndTheNumber) {
    start("kill -KILL $$");
    ASSERT_TRUE(runUntilExit());
    EXPECT_EQ(child_->exitStatus(), 128 + 9);
}

TEST_F(ChildTest, SeesOnlyTheGivenEnvironmentAndNoOpenFiles) {
    const int inherited = dup(0);
    start("echo $WORD$HOME; ls /proc/self/fd | wc -l", {"WORD=hello"});
    ASSERT_TRUE(runUntilExit());
    // The three standard ones and the one ls looks with.
    EXPECT_THAT(lines_, ElementsAre("hello", "4"));
    close(inherited);
}

TEST_F(ChildTest, ThatCannotRunSaysWhy) {
    child_ = std::make_unique<Child>(io_, std::vector<std::string>{"/no/such/program"},
                                     std::vector<std::string>{},
                                     [this](const std::string& line) { lines_.push_back(line); });
    child_->onExit([this] { ++exits_; });
    ASSERT_TRUE(runUntilExit());
    EXPECT_THAT(lines_, ElementsAre("cannot run /no/such/program: No such file or directory"));
    EXPECT_EQ(child_->exitStatus(), 127);
}

TEST_F(ChildTest, IsGoneAfterItsObjectEvenWhenItIgnoresTheTermination) {
    const pid_t pid = start("trap '' TERM; echo ready; while :; do sleep 0.1; done").pid();
    while (lines_.empty()) {
        io_.run_one();
    }
    child_.reset();
    EXPECT_EQ(kill(pid, 0), -1);
}

TEST_F(ChildTest, CountsItsProcessorTime) {
    start("i=0; while [ $i -lt 300000 ]; do i=$((i+1)); done; echo done; sleep 20");
    EXPECT_LT(child_->cpuSeconds(), 5.0);
    while (lines_.empty()) {
        io_.run_one();
    }
    EXPECT_GT(child_->cpuSeconds(), 0.01);
}

namespace {

class CommandsTest : public Place {
  protected:
    explicit CommandsTest(LabOptions options = {})
        : lab_(inPlace(std::move(options))),
          commands_(
              lab_, [this] { ++quits_; }, [this](bool on) { watching_ = on; }) {}

    Lab lab_;
    Commands commands_;
    int quits_ = 0;
    bool watching_ = false;

  private:
    LabOptions inPlace(LabOptions options) const {
        options.directory = place_ / "lab";
        options.daemon = "/bin/true";
        return options;
    }
};

class PlantCommandsTest : public CommandsTest {
  protected:
    PlantCommandsTest()
        : CommandsTest({.personality = personalityOf("w83792ad").xml(), .plant = true}) {}
};

class XyratexCommandsTest : public CommandsTest {
  protected:
    XyratexCommandsTest()
        : CommandsTest({.speed = 100, .personality = personalityOf("xyratex").xml()}) {}
};

}  // namespace

TEST_F(CommandsTest, ActOnTheEnclosure) {
    Chassis& chassis = lab_.chassis();
    EXPECT_EQ(commands_.run("fan 1 pull").text, "fan 1 pulled");
    EXPECT_FALSE(chassis.fanPresent(1));
    EXPECT_EQ(commands_.run("  fan  1   return ").text, "fan 1 returned");
    EXPECT_TRUE(chassis.fanPresent(1));
    EXPECT_TRUE(commands_.run("temp 2 -10.5").ok);
    EXPECT_EQ(chassis.temperature(2), -10.5);
    EXPECT_EQ(chassis.temperature(1), 30.0);
    EXPECT_TRUE(commands_.run("temp all 44").ok);
    EXPECT_EQ(chassis.temperature(0), 44.0);
    EXPECT_EQ(chassis.temperature(3), 44.0);
    EXPECT_TRUE(commands_.run("psu lost").ok);
    EXPECT_FALSE(chassis.redundancy());
    EXPECT_TRUE(commands_.run("psu good").ok);
    EXPECT_TRUE(chassis.redundancy());
    EXPECT_EQ(commands_.run("cut lm75-1").text, "lm75-1 cut off the bus");
    EXPECT_TRUE(chassis.bus().isCut(0x4B));
    EXPECT_EQ(commands_.run("mend 0x4b").text, "lm75-1 back on the bus");
    EXPECT_FALSE(chassis.bus().isCut(0x4B));
    EXPECT_TRUE(commands_.run("fail vsc055 2").ok);
    EXPECT_TRUE(chassis.bus().readRegister(0x41, 0x10).has_value());
    EXPECT_FALSE(chassis.bus().readRegister(0x41, 0x10).has_value());
    EXPECT_TRUE(chassis.bus().readRegister(0x41, 0x10).has_value());
    commands_.run("bus on");
    EXPECT_TRUE(watching_);
    commands_.run("bus off");
    EXPECT_FALSE(watching_);
    EXPECT_TRUE(commands_.run("").ok);
    EXPECT_EQ(quits_, 0);
    EXPECT_TRUE(commands_.run("quit").ok);
    EXPECT_EQ(quits_, 1);
}

TEST_F(CommandsTest, BadInputIsOneErrorLineAndChangesNothing) {
    const std::string before = commands_.run("show").text;
    for (const char* line : {"fan",
                             "fan 1",
                             "fan 1 pull now",
                             "fan 4 pull",
                             "fan -1 pull",
                             "fan x pull",
                             "fan 1x pull",
                             "fan 99999999999 pull",
                             "fan 1 push",
                             "temp",
                             "temp 0",
                             "temp 0 hot",
                             "temp 0 nan",
                             "temp 0 -inf",
                             "temp 4 30",
                             "temp some 30",
                             "temp all 30degrees",
                             "temp all auto",
                             "inlet 22",
                             "heat 10",
                             "fan 0 lock",
                             "fan 0 wear 0",
                             "psu",
                             "psu bad",
                             "rail 5 5",
                             "drive 0 absent",
                             "cut",
                             "cut lm75-9",
                             "cut 0x1234",
                             "mend fan",
                             "fail vsc055",
                             "fail vsc055 0",
                             "fail vsc055 -1",
                             "fail nothing 1",
                             "fault",
                             "fault break",
                             "fault add",
                             "fault add lm75-* act=burn",
                             "fault add lm76-* act=nak",
                             "fault add lm75-9 act=nak",
                             "fault remove",
                             "fault remove 1",
                             "fault list all",
                             "dump",
                             "dump fan",
                             "dump 0x20",
                             "dump vsc055 /no/such/file",
                             "bus",
                             "bus maybe",
                             "switch",
                             "switch off",
                             "switch open now",
                             "switch delay",
                             "switch delay 0",
                             "switch split 0",
                             "switch split 4065",
                             "switch glue 1",
                             "switch die all",
                             "switch flood 0",
                             "switch flood 200 10",
                             "switch flood 0/s 10",
                             "startup late",
                             "shutdown now",
                             "mail now",
                             "show me",
                             "quit now",
                             "nonsense",
                             "FAN 1 pull",
                             "\x01\xff"}) {
        const Commands::Result result = commands_.run(line);
        EXPECT_FALSE(result.ok) << line;
        EXPECT_FALSE(result.text.empty()) << line;
        EXPECT_EQ(result.text.find('\n'), std::string::npos) << result.text;
    }
    EXPECT_EQ(commands_.run("show").text, before);
    EXPECT_EQ(quits_, 0);
}

TEST_F(PlantCommandsTest, ActOnThePhysics) {
    Plant& plant = *lab_.plant();
    for (const char* line : {"fan 0 lock", "fan 1 wear 20", "fan 2 stall 30", "inlet 31.5",
                             "heat 40", "heat 3 100", "rail 12 drift -0.5", "temp 1 51.5"}) {
        EXPECT_TRUE(commands_.run(line).ok) << line;
    }
    EXPECT_EQ(plant.railDrift(1), -0.5);
    const std::string before = commands_.run("show").text;
    for (const char* line :
         {"fan 0       0 RPM, load 94 %, locked\n", "RPM, load 94 %, worn by 20 %\n",
          "RPM, load 94 %, stands below 30 %\n", "sensor 1    51.5 degrees (set)\n",
          "plant       inlet 31.5 degrees, drives 40 to 100 % busy, 227 W\n"}) {
        EXPECT_THAT(before, HasSubstr(line));
    }
    for (const char* line :
         {"fan 0 lock 3",    "fan 0 wear",     "fan 0 wear much", "fan 0 wear 101",
          "fan 6 free",      "fan 1 stall -1", "temp 3 auto",     "temp all automatic",
          "inlet",           "inlet hot",      "inlet 100",       "heat",
          "heat 101",        "heat 16 5",      "heat 1 2 3",      "rail 12 drift",
          "rail 12 sinks 3", "rail 7 drift 1", "rail 7 lost",     "rail 12 drift nan"}) {
        EXPECT_FALSE(commands_.run(line).ok) << line;
    }
    EXPECT_EQ(commands_.run("show").text, before);
    EXPECT_TRUE(commands_.run("fan 0 free").ok);
    EXPECT_FALSE(plant.fan(0).locked());
    EXPECT_TRUE(commands_.run("temp all auto").ok);
    EXPECT_EQ(lab_.chassis().temperature(1), plant.temperature(1));
    EXPECT_TRUE(commands_.run("rail 12 lost").ok);
    EXPECT_EQ(lab_.chassis().rails()[1].volts, 0);
    EXPECT_EQ(plant.railDrift(1), 0) << "it has gone";
}

TEST_F(CommandsTest, DumpsMoveARegisterStateToAnotherLab) {
    const fs::path file = lab_.directory().path() / "log" / "dump.txt";
    lab_.chassis().bus().writeRegister(0x41, 0x10, 0x5C);
    EXPECT_TRUE(commands_.run("dump vsc055 " + file.native()).ok);
    EXPECT_THAT(commands_.run("dump 0x41").text, HasSubstr("\n10: 5c ff ff"));
    LabOptions options{.directory = file.parent_path() / "b", .daemon = "/bin/true"};
    options.dumps = {{"vsc055", file}};
    Lab other(options);
    EXPECT_EQ(other.chassis().bus().readRegister(0x41, 0x10), 0x5C);

    options.directory += "c";
    std::ofstream(file) << "nothing\n";
    EXPECT_THAT([&] { Lab lab(options); },
                testing::ThrowsMessage<std::invalid_argument>(
                    file.native() + ": line 1: no line of column numbers up to here"));
    EXPECT_FALSE(fs::exists(options.directory));
    options.dumps = {{"lm75-9", file}};
    EXPECT_THROW(Lab lab(options), std::out_of_range);
    options.dumps = {{"lm75-0", "/no/such/file"}};
    EXPECT_THROW(Lab lab(options), std::invalid_argument);
}

TEST_F(CommandsTest, ShowTellsTheWholeState) {
    commands_.run("fan 3 pull");
    commands_.run("temp 1 51.5");
    commands_.run("psu lost");
    commands_.run("cut lm75-2");
    lab_.chassis().bus().writeRegister(0x41, 0x16, 0x00);
    lab_.chassis().bus().writeRegister(0x41, 0x06, 0xFA);
    const std::string text = commands_.run("show").text;
    for (const char* line :
         {"daemon      not running\n", "fan 0       9000 RPM, load 100 %\n", "fan 3       pulled\n",
          "sensor 1    51.5 degrees\n", "supplies    redundancy lost\n", "drive LEDs  0 2\n",
          "lm75-2 0x4a (cut)", "events      none"}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
}

TEST_F(XyratexCommandsTest, ActOnRailsAndDrives) {
    Chassis& chassis = lab_.chassis();
    EXPECT_EQ(commands_.run("rail 12 10.5").text, "rail 12 at 10.5 V");
    EXPECT_EQ(chassis.rails().at(1).volts, 10.5);
    EXPECT_EQ(commands_.run("drive 11 absent").text, "drive 11 absent");
    EXPECT_FALSE(chassis.drivePresent(11));
    EXPECT_EQ(commands_.run("drive 11 present").text, "drive 11 present");
    EXPECT_TRUE(chassis.drivePresent(11));
    for (const char* line : {"rail", "rail 5", "rail 3.3 1", "rail 5 low", "drive 12 absent",
                             "drive -1 absent", "drive all absent", "drive 0 gone"}) {
        EXPECT_FALSE(commands_.run(line).ok) << line;
    }
    EXPECT_EQ(chassis.rails().at(0).volts, 5);
}

TEST_F(XyratexCommandsTest, ShowTellsWhatTheChassisHas) {
    commands_.run("rail 5 4.2");
    commands_.run("drive 3 absent");
    commands_.run("drive 10 absent");
    lab_.chassis().bus().writeRegister(0x63, 0x16, 0x00);
    lab_.chassis().bus().writeRegister(0x63, 0x06, 0x2E);
    const std::string text = commands_.run("show").text;
    for (const char* line :
         {"fan 7       20000 RPM, load 100 %\n", "rails       5: 4.20 V, 12: 12.00 V\n",
          "absent      3 10\n", "drive LEDs  8\n",
          "status LEDs psu-ok lit, redundancy-fail off, fan-fail off\n", "alarm       S1 fault\n",
          "devices     vsc055 0x63, lm75-0 0x4c, lm75-1 0x4d\n"}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
}

TEST_F(XyratexCommandsTest, TimePassesInTheChassisAtTheDaemonsPace) {
    Chassis& chassis = lab_.chassis();
    chassis.setRedundancy(false);
    chassis.bus().writeRegister(0x63, 0x15, 0x10);
    chassis.bus().writeRegister(0x63, 0x05, 0x0B);
    chassis.bus().writeRegister(0x63, 0x05, 0x03);
    const double muted = lab_.time();
    EXPECT_EQ(chassis.alarm(), "S3 mute");
    EXPECT_TRUE(lab_.runUntil([&] { return chassis.alarm() == "S2 remind"; }));
    EXPECT_NEAR(lab_.time() - muted, 60, 25) << "a fifth of a second is 20 s here";
}

TEST_F(CommandsTest, HelpNamesCommandsThatExist) {
    std::istringstream help(commands_.run("help").text);
    int commands = 0;
    for (std::string line; std::getline(help, line); ++commands) {
        const std::string name = line.substr(0, line.find(' '));
        EXPECT_THAT(commands_.run(name + " a b c d e f g").text, Not(HasSubstr("no command")));
    }
    EXPECT_GT(commands, 12);
}

TEST_F(CommandsTest, FaultRulesAreSetListedAndRemoved) {
    Bus& bus = lab_.chassis().bus();
    EXPECT_EQ(commands_.run("fault list").text, "no faults");
    EXPECT_EQ(commands_.run("fault add lm75-* nth=1 act=nak").text,
              "fault 1: lm75-* nth=1 act=nak");
    EXPECT_TRUE(commands_.run("fault add 0x41 read reg=4 act=value:0").ok);
    EXPECT_EQ(bus.readRegister(0x4B, 0), std::nullopt);
    EXPECT_EQ(bus.readRegister(0x41, 4), 0);
    EXPECT_EQ(bus.readRegister(0x41, 4), 0);
    EXPECT_EQ(commands_.run("fault list").text,
              "1   lm75-* nth=1 act=nak: acted on 1, matched 1, over\n"
              "2   0x41 read reg=0x04 act=value:0x00: acted on 2, matched 2");
    EXPECT_TRUE(commands_.run("fault remove 1").ok);
    EXPECT_EQ(bus.faults().size(), 1u);
    EXPECT_TRUE(commands_.run("fault clear").ok);
    EXPECT_EQ(bus.readRegister(0x41, 4), 0xFF);
}

TEST_F(CommandsTest, AnswerOverTheControlSocket) {
    ControlServer server(lab_.io(), lab_.directory().controlSocket(), commands_);
    const auto ask = [&](const std::string& line) {
        // The client waits for its answer: it needs a process of its own.
        Commands::Result result{false, "no answer"};
        const fs::path answer = place_ / "answer";
        const pid_t client = fork();
        if (client == 0) {
            const auto got = controlLab(lab_.directory().controlSocket(), line);
            std::ofstream(answer) << got.ok << got.text;
            _exit(0);
        }
        lab_.runUntil([&] { return waitpid(client, nullptr, WNOHANG) == client; });
        std::ifstream stream(answer);
        result.ok = stream.get() == '1';
        std::getline(stream, result.text, '\0');
        return result;
    };
    EXPECT_TRUE(ask("fan 0 pull").ok);
    EXPECT_FALSE(lab_.chassis().fanPresent(0));
    const auto error = ask("fan 9 pull");
    EXPECT_FALSE(error.ok);
    EXPECT_THAT(error.text, HasSubstr("no fan 9"));
    EXPECT_THAT(ask("help").text, HasSubstr("quit"));
}

TEST_F(CommandsTest, AControlClientThatSaysNothingStopsNobody) {
    ControlServer server(lab_.io(), lab_.directory().controlSocket(), commands_);
    using Local = asio::local::stream_protocol;
    const Local::endpoint endpoint(lab_.directory().controlSocket().string());
    Local::socket silent(lab_.io());
    silent.connect(endpoint);
    Local::socket endless(lab_.io());
    endless.connect(endpoint);
    asio::write(endless, asio::buffer(std::string(5000, 'x')));
    Local::socket good(lab_.io());
    good.connect(endpoint);
    asio::write(good, asio::buffer(std::string("psu lost\n")));
    EXPECT_TRUE(lab_.runUntil([&] { return !lab_.chassis().redundancy(); }));
}
