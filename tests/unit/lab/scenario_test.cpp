// SPDX-License-Identifier: Apache-2.0
// Scenario files, checks and their judge: what is refused and with which words, what counts as
// expected, and what a run says of it.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fnmatch.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <random>
#include <regex>
#include <thread>

#include "lab/scenario/judge.h"
#include "lab/scenario/run_command.h"

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

std::string refusal(const std::string& text) {
    const fs::path file = fileOf(text);
    try {
        readScenario(file);
    } catch (const ScenarioError& error) {
        return std::string(error.what()).substr(file.native().size());
    }
    return "taken";
}

TEST(ScenarioFileTest, WhatCannotBeMeantIsRefusedWithItsLine) {
    const std::string t = "title = 't'\n", step = t + "[[step]]\nat = 1\n";
    const std::pair<std::string, const char*> cases[] = {
        {"", ":1: a scenario has a title"},
        {t, ":1: a scenario has steps, each under [[step]]"},
        {t + "[[step]", ":2: "},
        {t + "steps = 1", ":2: unknown key 'steps'"},
        {t + "chassis = 'vsc56'", ":2: no chassis 'vsc56'; there is: vsc055"},
        {t + "chassis = ['vsc055', 'all']", ":2: no chassis 'all'"},
        {t + "chassis = []", ":2: 'chassis' names one at least"},
        {t + "personality = { divisor = 2 }", ":2: the personality has no key 'divisor'"},
        {t + "[[step]]\ndo = 'x'", ":2: a step says when: at = SECONDS"},
        {t + "[[step]]\nat = 'soon'\ndo = 'x'", ":3: 'at' is a number"},
        {t + "end = 5\n[[step]]\nat = 1\ndo = 'x'", ":2: 'end' is before the last step"},
        {step, ":2: a step has something to do, to expect or to check"},
        {step + "expects = 'mail*'", ":4: unknown key 'expects'"},
        {step + "expect = ['a',\n2]", ":5: 'expect' is a text or a list"},
        {step + "do = 'x'\nwithin = -1", ":2: 'within' is not negative"},
        {step + "do = 'x'\nevery = 3", ":2: a repeated step has 'every"},
        {step + "do = 'x'\nevery = 3\nfor = '9..1'", ":6: 'for' is a list"},
        {step + "do = '{fan}'", ":4: nothing stands for '{fan}' here; there is: {}, {controller}"},
        {step + "do = '[xyratex x'", ":4: '[xyratex x' is not [CHASSIS...] TEXT"},
        {step + "do = '[not here] x'", ":4: no chassis \"here\""},
        {step + "check = 'fans load 5'", ":2: 'fans load 5' is not SUBJECT = VALUE"},
        {step + "check = 'fan load = 5'",
         ":2: nothing to check by 'fan load'; there is: fans load,"},
        {step + "check = 'mails < few'", ":2: 'few' is not a number"},
        {step + "check = 'mails not 5..1'", ":2: '5..1' is not LOW..HIGH"},
    };
    for (const auto& [text, wanted] : cases) {
        EXPECT_THAT(refusal(text), testing::StartsWith(wanted)) << text;
    }
}

// Its steps: when, what is done, expected and how much is checked; then start and end.
std::string told(const Scenario& scenario) {
    std::string text;
    for (const Step& step : scenario.steps) {
        text +=
            fmt::format("{}+{} {}; {}; {}\n", step.at, step.within, fmt::join(step.commands, ", "),
                        fmt::join(step.expected, ", "), step.checks.size());
    }
    return text + fmt::format("{} {}", scenario.start.size(), scenario.end);
}

TEST(ScenarioFileTest, StepsReadAsTheChassisHasThemRepeatedFilledInAndInOrder) {
    const std::vector<Scenario> all = readScenario(fileOf(R"(title = "t"
chassis = "all"
[[step]]
at = 20
check = "[not vsc055] mails = {sensors}"
[[step]]
at = 10
every = 10
for = "7..8"
do = ["temp {} {}", "[vsc055 xyratex] cut {controller}"]
expect = ["{fans} of {title}", "[xyratex] {fault}", "{healed}"]
)"));
    EXPECT_EQ(told(all.at(0)),
              R"(10+11 temp 7 7, cut vsc055; 4 of VSC055, led composite fault LED off; 0
20+11 temp 8 8, cut vsc055; 4 of VSC055, led composite fault LED off; 0
3 53)");
    EXPECT_THAT(told(all.at(1)),
                HasSubstr("; 8 of Xyratex 2U12ATX, mail e-mail notification, led "
                          "composite fault LED on, led composite fault LED off; 0"));
    EXPECT_EQ(told(all.at(2)), R"(10+11 temp 7 7; 6 of W83792AD; 0
20+0 ; ; 1
20+11 temp 8 8; 6 of W83792AD; 0
7 53)");
    EXPECT_EQ(all[2].steps[1].checks[0].text(), "mails = 3");
}

// A line matches as the shell does it, with anything behind and one blank for many.
TEST(JudgeTest, APatternIsTheBeginningOfTheLineForAnyTexts) {
    std::mt19937 random(3);
    const auto anyText = [&](const char* letters, std::size_t most) {
        std::string text(random() % most, ' ');
        std::ranges::generate(text, [&] { return letters[random() % std::strlen(letters)]; });
        return text;
    };
    const auto squeezed = [](const std::string& text) {
        return std::regex_replace(text, std::regex(" +"), " ");
    };
    int matched = 0;
    for (int n = 0; n < 1500; ++n) {
        const std::string line = anyText("ab ", 9), pattern = anyText("ab *", 6);
        const bool wanted =
            fnmatch((squeezed(pattern) + "*").c_str(), squeezed(line).c_str(), 0) == 0;
        matched += wanted;
        ASSERT_EQ(matches(line, pattern), wanted) << "'" << line << "' by '" << pattern << "'";
    }
    EXPECT_GT(matched, 100);
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
    for (rpm = 0; rpm < 7; ++rpm) {
        lab.chassis().spinFans();
        for (int low = 0; low < 7; ++low) {
            for (int high = low; high < 7; ++high) {
                const bool within = low <= rpm && rpm <= high;
                const std::string range = std::to_string(low) + ".." + std::to_string(high);
                EXPECT_EQ(!Check("fan 1 rpm = " + range).instead(lab), within) << rpm;
                EXPECT_EQ(!Check("fan 1 rpm not " + range).instead(lab), !within) << rpm;
            }
            for (const auto& [sign, holds] : {std::pair{"=", rpm == low},
                                              {"not", rpm != low},
                                              {"<", rpm < low},
                                              {">", rpm > low}}) {
                const Check check("fan 1 rpm " + std::string(sign) + " " + std::to_string(low));
                EXPECT_EQ(check.instead(lab),
                          holds ? std::nullopt : std::optional(std::to_string(rpm)));
            }
        }
    }
    // Each of several; what is no number is in no range; of no page nothing holds.
    lab.chassis().bus().writeRegister(0x41, 0x11, 0);
    lab.chassis().bus().writeRegister(0x41, 0x01, 0x0E);  // takes fan 0 its power
    for (const char* const missed :
         {"fans load not 0..100", "fans load > 50", "daemon < 9", "page fault not true"}) {
        EXPECT_NE(Check(missed).instead(lab), std::nullopt) << missed;
    }
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

TEST_F(RunTest, PlaysOnEachChassisAndShowsMoreWhereItIsAskedFor) {
    EXPECT_EQ(run(kFanPulled), 0) << out << error;
    EXPECT_THAT(out, HasSubstr(".toml on vsc055: all held"));
    EXPECT_THAT(report, HasSubstr("tests=\"2\" failures=\"0\""));
    EXPECT_THAT(report, HasSubstr(" on xyratex\" time"));
    EXPECT_EQ(run(kFanPulled, {.chassis = "xyratex"}), 0);
    EXPECT_THAT(out, testing::Not(HasSubstr("vsc055")));
    const std::string plain = out;
    RunArguments arguments{.chassis = "xyratex", .options = {.bus = true}};
    arguments.options.lab.trace = true;
    EXPECT_EQ(run(kFanPulled, arguments), 0);
    EXPECT_THAT(out, HasSubstr("bus     R 63 04="));
    EXPECT_THAT(out, HasSubstr("trace   Jan  1 00:00:00"));
    EXPECT_EQ(std::regex_replace(out, std::regex("\\[ +[0-9.]+\\] (trace|bus) [^\n]*\n"), ""),
              plain);
    EXPECT_EQ(run(kFanPulled, {.chassis = "w83792ad"}), 2);
    EXPECT_EQ(error, "enclab: nothing here plays on w83792ad\n");
}

TEST_F(RunTest, WhatIsMissedSaysWhatCameInstead) {
    const std::string text = std::regex_replace(kFanPulled, std::regex("0x02"), "0x04");
    EXPECT_EQ(run(std::regex_replace(text, std::regex("> 99"), "< 99"), {.chassis = "vsc055"}), 1);
    EXPECT_THAT(out, HasSubstr("not expected: event   fan fault status: warning, fans 4, failed"));
    EXPECT_THAT(out, HasSubstr("missed: event fan fault status: warning, fans 4, failed 0x04; came "
                               "instead: event fan fault status: warning, fans 4, failed 0x02"));
    EXPECT_THAT(report, HasSubstr("line 3: fans load &lt; 99: it is 100"));
    EXPECT_EQ(run("title = \"t\"\n[[step]]\nat = 1\ndo = \"fan 9 pull\"\n"), 2);
    EXPECT_THAT(error, HasSubstr(".toml:2: fan: no fan 9"));
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
