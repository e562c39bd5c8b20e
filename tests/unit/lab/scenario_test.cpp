// SPDX-License-Identifier: Apache-2.0
// Scenario files and their judge: what is refused and with which words, what counts as expected,
// and what a run says of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "lab/scenario/judge.h"
#include "lab/scenario/run_command.h"
#include "lab/scenario/scenario.h"

namespace enclab {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// A file of this text, as long as it lives.
class ScenarioFile {
  public:
    explicit ScenarioFile(const std::string& text) { std::ofstream(path_) << text; }
    ~ScenarioFile() { std::filesystem::remove(path_); }
    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_ =
        std::filesystem::temp_directory_path() / ("scenario-" + std::to_string(getpid()) + ".toml");
};

std::string refusal(const std::string& text) {
    const ScenarioFile file(text);
    try {
        readScenario(file.path());
    } catch (const ScenarioError& error) {
        return std::string(error.what()).substr(file.path().native().size());
    }
    return "taken";
}

TEST(ScenarioFileTest, WhatCannotBeMeantIsRefusedWithItsLine) {
    const std::string title = "title = \"t\"\n";
    const struct {
        std::string text;
        std::string refusal;
    } cases[] = {
        {"", ":1: a scenario has a title"},
        {title, ":1: a scenario has steps, each under [[step]]"},
        {title + "[[step]\n", ":2: "},
        {title + "steps = 1\n", ":2: unknown key 'steps'"},
        {title + "chassis = \"vsc56\"\n", ":2: "},
        {title + "personality = { fanDivisor = 2 }\n",
         ":2: the personality has no key 'fanDivisor'"},
        {title + "[[step]]\ndo = \"fan 1 pull\"\n", ":2: a step says when: at = SECONDS"},
        {title + "[[step]]\nat = \"soon\"\ndo = \"x\"\n", ":3: 'at' is a number"},
        {title + "[[step]]\nat = 1\n", ":2: a step has something to do, to expect or to check"},
        {title + "[[step]]\nat = 1\nexpects = \"mail*\"\n", ":4: unknown key 'expects'"},
        {title + "[[step]]\nat = 1\nexpect = [\"a\",\n2]\n", ":5: 'expect' is a text or a list"},
        {title + "[[step]]\nat = 1\ndo = \"x\"\nwithin = -1\n", ":2: 'within' is not negative"},
        {title + "[[step]]\nat = 1\ndo = \"x\"\ntimes = 3\n", ":2: a repeated step has 'every"},
        {title + "[[step]]\nat = 1\ndo = \"x\"\nevery = 3\n", ":2: a repeated step has 'every"},
        {title + "[[step]]\nat = 1\ndo = \"x\"\nevery = 3\nfor = \"9..1\"\n",
         ":6: 'for' is a list"},
        {title + "end = 5\n[[step]]\nat = 1\ndo = \"x\"\n", ":2: 'end' is before the last step"},
    };
    for (const auto& [text, wanted] : cases) {
        EXPECT_THAT(refusal(text), testing::StartsWith(wanted)) << text;
    }
}

TEST(ScenarioFileTest, StepsAreRepeatedFilledInAndInOrder) {
    const ScenarioFile file(R"(title = "t"
personality = { fanPwmLoadMinimum = 50 }
[[step]]
at = 20
check = "mails = 0"
[[step]]
at = 10
every = 10
for = "7..9"
do = ["temp {} {}"]
)");
    const Scenario scenario = readScenario(file.path());
    std::vector<std::string> seen;
    for (const Step& step : scenario.steps) {
        seen.push_back(std::to_string(static_cast<int>(step.at)) + " for " +
                       std::to_string(static_cast<int>(step.within)) + ": " +
                       (step.commands.empty() ? step.checks[0] : step.commands[0]));
    }
    EXPECT_THAT(seen, ElementsAre("10 for 11: temp 7 7", "20 for 0: mails = 0",
                                  "20 for 11: temp 8 8", "30 for 11: temp 9 9"));
    EXPECT_EQ(scenario.end, 30 + 11 + 22) << "two polls of quiet";
    EXPECT_EQ(scenario.personality.fanPwmLoadMinimum, 50);
    EXPECT_EQ(scenario.start.size(), 3U);
}

TEST(JudgeTest, APatternIsTheBeginningOfTheLine) {
    EXPECT_TRUE(matches("event   fan fault: x", "event fan"));
    EXPECT_TRUE(matches("a b c d", "a*c"));
    EXPECT_TRUE(matches("aXbXc", "a*b*c"));
    EXPECT_FALSE(matches("a b c", "b"));
    EXPECT_FALSE(matches("a b c", "a*d"));
    EXPECT_FALSE(matches("ab", "abc"));
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

class RunTest : public testing::Test {
  protected:
    // The exit status; what was printed is in `out` and `report`.
    int run(const std::string& text) {
        const ScenarioFile file(text);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int status =
            runScenarios({.files = {file.path()}, .junit = junit, .seed = {}, .lab = {}});
        out = testing::internal::GetCapturedStdout();
        error = testing::internal::GetCapturedStderr();
        std::stringstream written;
        written << std::ifstream(junit).rdbuf();
        report = written.str();
        std::filesystem::remove(junit);
        return status;
    }

    std::filesystem::path junit =
        std::filesystem::temp_directory_path() / ("junit-" + std::to_string(getpid()));
    std::string out, error, report;
};

constexpr char kFanPulled[] = R"(title = "t"
[[step]]
at = 60
do = "fan 1 pull"
expect = ["event fan fault status: warning, fans 4, failed 0x02", "led composite fault LED on", "mail"]
check = ["fans load = 100", "fault led = on"]
)";

TEST_F(RunTest, TheSameScenarioGivesTheSameTimeline) {
    EXPECT_EQ(run(kFanPulled), 0) << out << error;
    const std::string first = out;
    EXPECT_THAT(out, HasSubstr("holds   fans load = 100"));
    EXPECT_THAT(report, HasSubstr("tests=\"1\" failures=\"0\""));
    EXPECT_EQ(run(kFanPulled), 0);
    EXPECT_EQ(out, first);
}

TEST_F(RunTest, WhatIsMissedSaysWhatCameInstead) {
    std::string text = kFanPulled;
    text.replace(text.find("0x02"), 4, "0x04");
    text.replace(text.find("100"), 3, "75");
    EXPECT_EQ(run(text), 1);
    EXPECT_THAT(out, HasSubstr("not expected: event   fan fault status: warning, fans 4, failed"));
    EXPECT_THAT(out, HasSubstr("missed: event fan fault status: warning, fans 4, failed 0x04; came "
                               "instead: event fan fault status: warning, fans 4, failed 0x02"));
    EXPECT_THAT(out, HasSubstr("fans load = 75: it is 100"));
    EXPECT_THAT(report, HasSubstr("line 2: fans load = 75: it is 100"));
}

TEST_F(RunTest, ACommandTheLabRefusesNamesTheLine) {
    EXPECT_EQ(run("title = \"t\"\n[[step]]\nat = 1\ndo = \"fan 9 pull\"\n"), 2);
    EXPECT_THAT(error, HasSubstr(".toml:2: fan: no fan 9"));
    EXPECT_EQ(run("title = \"t\"\n[[step]]\nat = 1\ncheck = \"fan load\"\n"), 2);
    EXPECT_THAT(error, HasSubstr(".toml:2: 'fan load' is not SUBJECT = VALUE"));
}

}  // namespace
}  // namespace enclab
