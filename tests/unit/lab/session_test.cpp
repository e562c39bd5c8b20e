// SPDX-License-Identifier: Apache-2.0
// The parts a lab is made of, where no run of a lab shows them: directory, personality file, child
// process, commands.
#include <gmock/gmock.h>
#include <sys/shm.h>
#include <unistd.h>
#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/write.hpp>

#include <fstream>
#include <future>
#include <regex>

#include "lab/session/commands.h"
#include "lab/session/control_server.h"
#include "lab/session/lab.h"
#include "lab/session/lab_json.h"
#include "tests/support/hex.h"
#include "tests/support/script.h"
#include "tests/unit/lab/random.h"

using namespace std::chrono_literals;
namespace fs = std::filesystem;
using testing::HasSubstr;

namespace enclab {
namespace {

// A place of its own for each test, short enough for sockets.
class LabDirectoryTest : public testing::Test {
  protected:
    LabDirectoryTest() : place_("/tmp/lab-test-" + std::to_string(getpid())) {
        fs::create_directory(place_);
    }
    ~LabDirectoryTest() override { fs::remove_all(place_); }

    static std::string failure(const fs::path& path) {
        try {
            LabDirectory directory(path);
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

TEST_F(LabDirectoryTest, RefusesWhatIsNotForItAndTakesNothingOfOthers) {
    file("c/log/diary.txt");
    EXPECT_THAT(failure(place_ / "c"), HasSubstr("not empty"));
    EXPECT_TRUE(fs::exists(place_ / "c" / "log" / "diary.txt"));
    const std::string name(108 - place_.native().size() - 1 - sizeof "/mmsg/esadapter", 'x');
    EXPECT_THAT(failure(place_ / (name + "y")), HasSubstr("too long")) << "for its sockets";
    EXPECT_EQ(failure(place_ / name), "");

    const ParameterArea mine;
    EXPECT_NE(ParameterArea().key(), mine.key());
    file("b/lock", std::to_string(getpid() + 1) + " " + std::to_string(mine.shmid()) + "\n");
    EXPECT_EQ(failure(place_ / "b"), "");
    EXPECT_EQ(shmget(mine.key(), 0, 0), mine.shmid()) << "a removed one loses its key";
}

TEST(PersonalityTest, SelectsTheChassisItIsMadeForAndIsReadAsTheDaemonDoes) {
    for (const std::string& chassis : selectableChassis()) {
        EXPECT_EQ(chassisOf(personalityOf(chassis).xml()), chassis);
    }
    EXPECT_THROW(personalityOf("w83782d"), std::out_of_range);
    EXPECT_EQ(chassisOf("name=\"Winbond W83792AD Custom\" other=\"Xyratex 2U12ATX\""), "xyratex")
        << "the daemon looks for it first";
    EXPECT_EQ(chassisOf("Xyratex 2U12ATX"), "vsc055") << "no quotes";

    Personality personality;
    personality.coolingMaxNumber = 7;
    const std::string xml = personality.xml();
    EXPECT_THAT(xml, HasSubstr("\"coolingMaxNumber\" value=\"7\""));
    EXPECT_EQ(personalityValue(xml, "coolingMaxNumber"), 7);
    EXPECT_EQ(personalityValue(xml, "fanPwm100To75TemperatureThreshold"), 41);
    EXPECT_EQ(personalityValue(xml, "coolingMax"), std::nullopt);
    EXPECT_EQ(personalityValue("\"key\" no such word", "key"), std::nullopt);
    EXPECT_EQ(personalityValue("\"key\" value", "key"), std::nullopt);
}

TEST(ChildTest, GivesItsLinesAndItsExitStatusAndSeesNothingElse) {
    const int inherited = dup(0);
    const struct {
        std::vector<std::string> command;
        const char* lines;
        int status;
    } cases[] = {
        {{"/bin/sh", "-c", "echo one; echo two >&2; printf three; exit 7"}, "one two three ", 7},
        {{"/bin/sh", "-c", "kill -KILL $$"}, "", 128 + 9},
        // The three standard files and the one ls looks with.
        {{"/bin/sh", "-c", "echo $WORD$HOME; ls /proc/self/fd | wc -l"}, "hello 4 ", 0},
        {{"/no/such"}, "cannot run /no/such: No such file or directory ", 127},
    };
    for (const auto& c : cases) {
        asio::io_context io;
        std::string lines;
        int exits = 0;
        Child child(io, c.command, {"WORD=hello"},
                    [&](const std::string& line) { lines += line + " "; });
        child.onExit([&] { ++exits; });
        EXPECT_TRUE(child.running() && !child.exitStatus());
        io.run();
        EXPECT_EQ(lines, c.lines);
        EXPECT_EQ(child.exitStatus(), c.status);
        EXPECT_TRUE(!child.running() && exits == 1);
    }
    close(inherited);
}

TEST(ChildTest, CountsItsProcessorTimeAndIsGoneEvenWhenItIgnoresTheTermination) {
    const auto begun = std::chrono::steady_clock::now();
    asio::io_context io;
    bool ready = false;
    auto child = std::make_unique<Child>(
        io, std::vector<std::string>{"/bin/sh", "-c", "trap '' TERM; echo; while :; do :; done"},
        std::vector<std::string>{}, [&](const std::string&) { ready = true; });
    const pid_t pid = child->pid();
    while (!ready) {
        io.run_one();
    }
    double used = 0;
    while (used < 0.02) {
        used = child->cpuSeconds();
    }
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begun;
    EXPECT_LE(used, passed.count());
    child.reset();
    EXPECT_EQ(kill(pid, 0), -1);
}

TEST(ChildTest, MayGoWhileItsEndIsBeingTold) {
    for (int round = 0; round < 20; ++round) {
        asio::io_context io;
        std::unique_ptr<Child> children[2];
        for (auto& child : children) {
            child = std::make_unique<Child>(io, std::vector<std::string>{"/bin/true"},
                                            std::vector<std::string>{}, [](const std::string&) {});
            auto& other = &child == children ? children[1] : children[0];
            child->onExit([&] { other.reset(); });
        }
        io.run();
        EXPECT_NE(children[0] == nullptr, children[1] == nullptr);
    }
}

class CommandsTest : public LabDirectoryTest {
  protected:
    void make(const std::string& chassis) {
        LabOptions options;
        options.personality = personalityOf(chassis.substr(0, chassis.find(' '))).xml();
        options.plant = chassis.ends_with(" plant");
        options.speed = 1000;
        options.directory = place_ / "lab";
        options.daemon = "/bin/true";
        commands_.reset();
        lab_.reset();
        lab_ = std::make_unique<Lab>(options);
        commands_ = std::make_unique<Commands>(
            *lab_, [] { ADD_FAILURE() << "quits"; }, [this](bool on) { watching_ = on; });
    }
    // "COMMAND = what it says", "COMMAND ? a part of it".
    void step(const std::string& line) {
        static const std::regex parts("([^]*?) ([=?!~])(?: ([^]*))?");
        std::smatch match;
        const bool says = std::regex_match(line, match, parts);
        const std::string command = says ? match[1].str() : line;
        const char sign = says ? match[2].str()[0] : '~';
        const std::string expected = says ? match[3].str() : "";
        const std::vector<std::string> words = Words(command).all;
        const auto byte = [&](std::size_t n) {
            return static_cast<std::uint8_t>(std::stoi(words.at(n), nullptr, 16));
        };
        if (!words.empty() && words[0] == "read") {
            const auto value = lab_->chassis().bus().readRegister(byte(1), byte(2));
            EXPECT_EQ(value ? int{*value} : -1,
                      expected == "none" ? -1 : std::stoi(expected, nullptr, 16));
        } else if (!words.empty() && words[0] == "write") {
            EXPECT_TRUE(lab_->chassis().bus().writeRegister(byte(1), byte(2), byte(3)));
        } else {
            const Commands::Result result = commands_->run(command);
            EXPECT_EQ(result.ok, sign != '!') << result.text;
            EXPECT_TRUE(result.ok || result.text.find('\n') == std::string::npos) << result.text;
            EXPECT_TRUE(sign == '?'   ? result.text.find(expected) != std::string::npos
                        : sign == '!' ? result.text.starts_with(expected)
                                      : sign == '~' || result.text == expected)
                << result.text;
        }
    }

    std::unique_ptr<Lab> lab_;
    std::unique_ptr<Commands> commands_;
    bool watching_ = false;
};

// By one-byte reads over the bus, after random writes over the bus.
TEST_F(CommandsTest, TheJsonSaysWhatTheChipsHold) {
    for (const char* const name : {"vsc055", "xyratex", "w83792ad"}) {
        make(name);
        Chassis& chassis = lab_->chassis();
        for (int n = 0; n < 300; ++n) {
            const auto& device = chassis.devices()[numbers() % chassis.devices().size()];
            chassis.bus().writeRegister(device.address, byteOf(numbers()), byteOf(numbers()));
            chassis.setTemperature(below(chassis.sensors()), below(120));
            below(2) != 0 ? chassis.pullFan(below(chassis.fans())) : chassis.returnFan(0);
        }
        chassis.bus().writeRegister(chassis.devices()[0].address, 0x11, 0x5A);
        const nlohmann::json json = labJson(*lab_);
        EXPECT_EQ(json["chips"][0]["lastWrite"], nlohmann::json({0x11, 0x5A}));
        EXPECT_EQ(json["bus"]["transfers"], 301);
        for (const auto& chip : json["chips"]) {
            const auto registers = hexBytes(chip["registers"].get<std::string>());
            for (std::size_t n = 0; n < registers.size(); ++n) {
                ASSERT_EQ(chassis.bus().readRegister(chip["address"], byteOf(n)), registers[n])
                    << chip["name"] << " " << n;
            }
        }
        const auto& front = json["chassis"];
        for (int n = 0; n < chassis.slots(); ++n) {
            EXPECT_EQ(front["slots"][std::size_t(n)]["faultLed"], chassis.driveFaultLed(n));
            const bool fan = n < chassis.fans(), sensor = n < chassis.sensors();
            EXPECT_TRUE(!fan || front["fans"][std::size_t(n)]["rpm"] == chassis.fanRpm(n)) << n;
            EXPECT_TRUE(!sensor ||
                        front["sensors"][std::size_t(n)]["celsius"] == chassis.temperature(n));
        }
    }
}

TEST_F(CommandsTest, DumpsMoveARegisterStateToAnotherLab) {
    make("vsc055");
    const fs::path file = lab_->directory().path() / "log" / "dump.txt";
    step("write 41 10 5C");
    step("dump vsc055 " + file.native());
    step("dump 0x41 ? \n10: 5c ff ff");
    LabOptions options{.directory = file.parent_path() / "b", .daemon = "/bin/true"};
    options.dumps = {{"vsc055", file}};
    EXPECT_EQ(Lab(options).chassis().bus().readRegister(0x41, 0x10), 0x5C);

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

TEST_F(CommandsTest, TimePassesInTheChassisAtTheDaemonsPace) {
    make("xyratex");
    for (const char* const line :
         {"psu lost", "write 63 15 10", "write 63 05 0B", "write 63 05 03"}) {
        line[0] == 'p' ? void(commands_->run(line)) : step(line);
    }
    EXPECT_EQ(lab_->chassis().alarm(), "S3 mute");
    lab_->io().run_one();
    EXPECT_EQ(lab_->chassis().alarm(), "S2 remind") << "a tenth of a second is 100 s here";
}

TEST_F(CommandsTest, AnswerOverTheControlSocketWhereSilentClientsStopNobody) {
    make("vsc055");
    ControlServer server(lab_->io(), lab_->directory().controlSocket(), *commands_);
    using Local = asio::local::stream_protocol;
    Local::socket clients[] = {Local::socket(lab_->io()), Local::socket(lab_->io())};
    for (Local::socket& client : clients) {
        client.connect(Local::endpoint(lab_->directory().controlSocket().string()));
    }
    asio::write(clients[1], asio::buffer(std::string(5000, 'x')));
    const auto ask = [&](const std::string& line) {
        auto answer =
            std::async(std::launch::async, controlLab, lab_->directory().controlSocket(), line);
        lab_->runUntil([&] { return answer.wait_for(0s) == std::future_status::ready; });
        return answer.get().text;
    };
    EXPECT_EQ(ask("fan 0 pull"), "fan 0 pulled");
}

}  // namespace
}  // namespace enclab
