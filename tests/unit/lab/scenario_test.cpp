// SPDX-License-Identifier: Apache-2.0
// Scenario files, checks and their judge: what is refused and with which words, what counts as
// expected, and what a run says of it.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <regex>
#include <thread>

#include "lab/scenario/judge.h"
#include "lab/scenario/run_command.h"
#include "lab/session/commands.h"
#include "lab/session/findings.h"
#include "tests/unit/lab/random.h"

namespace enclab {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

const fs::path kPlace = fs::temp_directory_path() / ("scenario-" + std::to_string(getpid()));

fs::path fileOf(const std::string& text) {
    std::ofstream(kPlace.native() + ".toml") << text;
    return kPlace.native() + ".toml";
}

TEST(JudgeTest, EachExpectationTakesOneMessageAndTheRestIsNamed) {
    Judge judge({"led*"});
    judge.expect(1, {"2x mail", "event fan"});
    EXPECT_TRUE(judge.take("mail    e-mail"));
    EXPECT_TRUE(judge.take("led     on")) << "allowed";
    EXPECT_FALSE(judge.take("event   supply")) << "nobody's";
    judge.expect(2, {"mail"});
    EXPECT_TRUE(judge.take("mail    e-mail"));
    EXPECT_THAT(judge.close(1), ElementsAre("missed: event fan; came instead: event supply"));
    EXPECT_FALSE(judge.take("event   fan")) << "too late";
    EXPECT_THAT(judge.close(2), ElementsAre("missed: mail; came instead: event fan"));
}

TEST(CheckTest, ComparesAsItSaysForAnyNumbers) {
    Lab lab({.directory = kPlace, .daemon = "/bin/true"});
    int rpm = 0;
    lab.chassis().turnFansBy([&](int) { return rpm; });
    for (int n = 0; n < 300; ++n) {
        rpm = below(7);
        lab.chassis().spinFans();
        const int low = below(7), high = low + below(3);
        const bool within = low <= rpm && rpm <= high;
        const std::string range = fmt::format("{}..{}", low, high);
        for (const auto& [wanted, holds] : {std::pair{"= " + range, within},
                                            {"not " + range, !within},
                                            {fmt::format("= {}", low), rpm == low},
                                            {fmt::format("not {}", low), rpm != low},
                                            {fmt::format("< {}", low), rpm < low},
                                            {fmt::format("> {}", low), rpm > low}}) {
            EXPECT_EQ(Check("fan 1 rpm " + wanted).instead(lab),
                      holds ? std::nullopt : std::optional(std::to_string(rpm)));
        }
    }
    EXPECT_NE(Check("daemon < 9").instead(lab), std::nullopt) << "no number";
    EXPECT_THROW(Check("fan 9 rpm = 1").instead(lab), std::exception);
}

class RunTest : public testing::Test {
  protected:
    // The exit status; what was printed is in `out` and `error`, the report in `report`.
    int run(const std::string& text, RunArguments arguments = {}) {
        arguments.files = {fileOf(text)};
        arguments.junit = kPlace;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int status = runScenarios(arguments);
        out = testing::internal::GetCapturedStdout();
        error = testing::internal::GetCapturedStderr();
        std::stringstream written;
        written << std::ifstream(kPlace).rdbuf();
        report = written.str();
        fs::remove(kPlace);
        return status;
    }
    std::string out, error, report;
};

constexpr char kFanPulled[] = R"(title = "t"
chassis = ["vsc055", "xyratex"]
[[step]]
at = 60
do = "fan 1 pull"
expect = ["event fan fault status: warning, fans {fans}, failed 0x02", "{fault}"]
check = "fans load > 99"
)";

TEST_F(RunTest, WhatIsMissedSaysWhatCameInstead) {
    RunArguments arguments{.options = {.bus = true}};
    arguments.options.lab.trace = true;
    EXPECT_EQ(run(kFanPulled, arguments), 0) << out << error;
    EXPECT_THAT(out, HasSubstr("bus     R 63 04="));
    EXPECT_THAT(out, HasSubstr("trace   Jan  1 00:00:00"));
    const std::string text = std::regex_replace(kFanPulled, std::regex("0x02"), "0x04");
    EXPECT_EQ(run(std::regex_replace(text, std::regex("> 99"), "< 99"), {.chassis = "vsc055"}), 1);
    EXPECT_THAT(out, HasSubstr("not expected: event   fan fault status: warning, fans 4, failed"));
    EXPECT_THAT(out, HasSubstr("missed: event fan fault status: warning, fans 4, failed 0x04; came "
                               "instead: event fan fault status: warning, fans 4, failed 0x02"));
    EXPECT_THAT(report, HasSubstr("line 7: fans load &lt; 99: it is 100"));
}

TEST_F(RunTest, AllMistakesAreToldWithTheirLinesBeforeAnythingPlays) {
    const std::string t = "title = 't'\nchassis = ['vsc055', 'xyratex']\n";
    const std::string step = t + "[[step]]\nat = 9\n";
    const std::pair<std::string, const char*> cases[] = {
        {"", "1: a scenario has a title"},
        {t + "steps = 1", "3: unknown key 'steps'( .did you mean 'step'..)?;.*"},
        {"title = 't'\nchassis = 'vsc56'", "2: no chassis 'vsc56' .did you mean 'vsc055'..;.*"},
        {step, "3: a step has something to do, to expect or to check"},
        {step + "do = '{fan}'", "5: nothing stands for '.fan.' here; there is: .., .controller.*"},
        {step + "check = 'mails not 5..1'", "5: '5..1' is not LOW..HIGH"},
        {step + "do = ['daemon kill', 'psu lsot',\n'fna 1 pull']\n"
                "check = ['page fans/77/rmp = 1',\n'led nix = on', 'page fans/77/rpm > 0']\n"
                "[[step]]\nat = 9\nexpects = 'mail'\n"
                "[[step]]\nat = 9\nexpect = '3x mial*'\ncheck = 'fan load = 5'",
         "5: psu: 'lsot' where 'lost' or 'good' is expected\n"
         "6: no command 'fna' .did you mean 'fan'..;[^\n]*\n"
         "7: the status page has no 'fans/77/rmp' .did you mean 'rpm'..;[^\n]*, rpm, [^\n]*\n"
         "8: the chassis has no status LED 'nix'\n"
         "11: unknown key 'expects' .did you mean 'expect'..;[^\n]*\n"
         "14: no message begins with 'mial' .did you mean 'mail'..;[^\n]*\n"
         "15: nothing to check by 'fan load' .did you mean 'fans load'..; there is: [^\n]*"},
    };
    for (const auto& [text, mistakes] : cases) {
        EXPECT_EQ(run(text, {.check = true}), 2);
        EXPECT_THAT(std::regex_replace(error, std::regex("[^\n]*toml:"), ""),
                    testing::MatchesRegex(std::string(mistakes) + "\n"));
    }
    EXPECT_EQ(run(cases[6].first), 2);
    EXPECT_EQ(out, "") << "nothing played";
    EXPECT_EQ(run(kFanPulled, {.check = true}), 0);
    EXPECT_EQ(out, "2 scenarios, no mistake\n");
}

// Commands at any time, a few of them refused.
TEST_F(RunTest, TheRecordOfAnyLifePlaysAsItWas) {
    const std::string all =
        "fan # pull;fan # return;fan # lock;fan # wear 4#;temp # 5#;temp all auto;inlet 4#;heat 9#;"
        "psu lost;psu good;rail 5 lost;rail 12 1#;drive # absent;cut lm75-#;mend lm75-#;fault "
        "clear;"
        "fault add lm75-# act=nak heal=2#;switch close;switch open;switch stop;switch go;"
        "switch glue 2;switch delay 90#;switch die 2#;switch flood 1#/s 3;startup error;"
        "startup silent;shutdown perform;ses page 2;ses drive # fault on;raw first 64 10=003f;"
        "daemon kill;daemon start;clock 9#;disk log full;heal;heal";
    const std::regex semicolon(";"), digit("#");
    const std::vector<std::string> any(
        std::sregex_token_iterator(all.begin(), all.end(), semicolon, -1), {});
    for (const std::string& chassis : selectableChassis()) {
        for (const bool plant : {false, true}) {
            Lab lab({.directory = kPlace.native() + ".lab",
                     .personality = personalityOf(chassis).xml(),
                     .plant = plant,
                     .virtualTime = true});
            Commands commands(
                lab, [] {}, [](bool) {});
            for (double time = 1; time < 200; time += 0.1 * below(150)) {
                lab.schedule().after(Schedule::Seconds(time), [&] {
                    const std::string& line = any[numbers() % any.size()];
                    commands.run(std::regex_replace(line, digit, std::to_string(below(4))));
                });
            }
            lab.startDaemon();
            lab.runFor(std::chrono::seconds(200));
            const std::string scenario = commands.run("record").text;
            EXPECT_EQ(run(scenario), 0) << scenario << error << out;
            commands.run("heal");
            EXPECT_TRUE(findings(lab).empty()) << scenario << labState(lab);
        }
    }
}

// A daemon that never waits: time stands still.
TEST_F(RunTest, ASignalEndsItEvenWhileTheDaemonWorks) {
    const fs::path daemon = kPlace.native() + ".sh", works = kPlace.native() + ".works";
    std::ofstream(daemon) << "#!/bin/sh\n: >" << works.native() << "\nwhile :; do :; done\n";
    fs::permissions(daemon, fs::perms::owner_all);
    std::thread sender([&works] {
        while (!fs::exists(works)) {
            std::this_thread::yield();
        }
        kill(getpid(), SIGTERM);
    });
    RunArguments arguments;
    arguments.options.lab.launcher = {daemon};  // in front of the daemon
    EXPECT_EQ(run(kFanPulled, arguments), 1);
    sender.join();
    EXPECT_THAT(report, HasSubstr("tests=\"1\" failures=\"1\""));
    EXPECT_THAT(out, HasSubstr("FAILED  ended before its time"));
}

}  // namespace
}  // namespace enclab
