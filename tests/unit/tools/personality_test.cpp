// SPDX-License-Identifier: Apache-2.0
// personality: what it finds in a file, that its ladder is the one the service walks, its drawings
// and its exit codes.
#include <gmock/gmock.h>

#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "policy/esa_policy.h"
#include "tests/support/personality_dir.h"
#include "tools/personality/cli.h"
#include "tools/personality/ladder.h"
#include "tools/personality/report.h"

using namespace personality;
using testing::HasSubstr;
using testing::Not;

namespace {

using Values = std::map<std::string, std::string>;

const Values GOOD = {
    {"fanSpeedDivisor", "4"},
    {"coolingMaxNumber", "4"},
    {"temperatureSensorMaxNumber", "2"},
    {"overheatTemperatureLimit", "60"},
    {"fanPwm25To50TemperatureThreshold", "32"},
    {"fanPwm50To75TemperatureThreshold", "38"},
    {"fanPwm75To100TemperatureThreshold", "44"},
    {"fanPwm100To75TemperatureThreshold", "41"},
    {"fanPwm75To50TemperatureThreshold", "35"},
    {"fanPwm50To25TemperatureThreshold", "29"},
    {"fanFaultRpmLimit", "1500"},
    {"fanPwmLoadMinimum", "25"},
};
constexpr char VSC055[] = "Vitesse VSC055 Custom";
constexpr char XYRATEX[] = "Xyratex 2U12ATX";
constexpr char W83792AD[] = "Winbond W83792AD Custom";

std::string named(const std::string& name) {
    return "<chassis name=\"" + name + "\"/>\n";
}
std::string keyed(const std::string& key, const std::string& value) {
    return "<p name=\"" + key + "\" value=\"" + value + "\"/>\n";
}

// A good file with some values changed; "-" leaves the key out.
std::string fileOf(const std::string& chassis, const Values& changes = {}) {
    Values values = changes;
    values.insert(GOOD.begin(), GOOD.end());
    std::string text = named(chassis);
    for (const auto& [key, value] : values) {
        text += value == "-" ? "" : keyed(key, value);
    }
    return text;
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    return text.replace(text.find(what), what.size(), with);
}

class PersonalityTool : public testing::Test {
  protected:
    Report reportOf(const std::string& text) {
        dir_.write(text);
        return inspect(dir_.file());
    }
    // "check, check", the worst first; notes in brackets, what makes unusable with a mark.
    std::string checksOf(const std::string& text) {
        std::string checks;
        for (const Finding& finding : reportOf(text).findings) {
            const bool isNote = finding.severity == Severity::note;
            checks += (checks.empty() ? "" : ", ") +
                      (isNote ? "(" + finding.check + ")" : finding.check) +
                      (finding.severity == Severity::unusable ? "!" : "");
        }
        return checks;
    }
    int run(std::vector<const char*> arguments) {
        arguments.insert(arguments.begin(), "personality");
        out_.str("");
        return personality::run(static_cast<int>(arguments.size()), arguments.data(), out_, err_);
    }

    PersonalityDir dir_;
    std::ostringstream out_;
    std::ostringstream err_;
};

}  // namespace

// ---- findings ----

TEST_F(PersonalityTool, ValuesOfAGoodFileAreJudgedByTheChassis) {
    struct Case {
        const char* chassis;
        Values changes;
        const char* checks;
    };
    const Case cases[] = {
        {VSC055, {}, ""},
        {W83792AD, {}, ""},
        {XYRATEX, {{"fanFaultRpmLimit", "5000"}}, "(divisor-unused)"},
        {"Korvo Standard", {{"fanFaultRpmLimit", "-"}}, "(no-back-end)"},
        {"Nobody", {}, "chassis-missing!, (no-back-end)"},
        // What is stored is not what is written.
        {VSC055, {{"coolingMaxNumber", "260"}}, "value-cut"},
        {VSC055, {{"coolingMaxNumber", "300"}}, "value-cut, count-above-array"},
        {VSC055, {{"fanFaultRpmLimit", "4294967296"}}, "value-clamped, fan-limit-too-high"},
        {VSC055, {{"overheatTemperatureLimit", "-1"}}, "value-negative, temperature-unreachable"},
        {VSC055, {{"fanFaultRpmLimit", "1500.5"}}, "value-tail"},
        {VSC055, {{"fanFaultRpmLimit", " 1500 "}}, ""},
        {VSC055, {{"fanFaultRpmLimit", "much"}}, "value-no-number!"},
        {VSC055, {{"fanPwmLoadMinimum", ""}}, "value-no-number!"},
        // Nothing and 0.
        {VSC055, {{"fanSpeedDivisor", "-"}}, "key-missing"},
        {VSC055, {{"fanPwmLoadMinimum", "-"}}, "key-missing"},
        {VSC055, {{"fanPwmLoadMinimum", "0"}}, ""},
        {VSC055, {{"overheatTemperatureLimit", "0"}}, "value-zero"},
        {VSC055, {{"fanPwm50To75TemperatureThreshold", "0"}}, "value-zero"},
        {VSC055, {{"fanPwm50To25TemperatureThreshold", "0"}}, "value-zero"},
        {XYRATEX, {{"fanFaultRpmLimit", "5000"}, {"fanSpeedDivisor", "0"}}, "(divisor-unused)"},
        // Counts.
        {VSC055, {{"temperatureSensorMaxNumber", "6"}, {"coolingMaxNumber", "8"}}, ""},
        {VSC055, {{"temperatureSensorMaxNumber", "7"}}, "sensors-above-chassis!"},
        {VSC055,
         {{"temperatureSensorMaxNumber", "9"}},
         "sensors-above-chassis!, count-above-array"},
        {W83792AD, {{"temperatureSensorMaxNumber", "3"}, {"coolingMaxNumber", "6"}}, ""},
        {W83792AD, {{"temperatureSensorMaxNumber", "4"}}, "sensors-above-chassis"},
        {W83792AD, {{"coolingMaxNumber", "7"}}, "fans-above-chassis"},
        // 1200000 / (254 x 4) is 1181, 1350000 / (254 x 4) is 1328.
        {VSC055, {{"fanFaultRpmLimit", "1182"}}, ""},
        {VSC055, {{"fanFaultRpmLimit", "1181"}}, "fan-limit-unreachable"},
        {W83792AD, {{"fanFaultRpmLimit", "1329"}}, ""},
        {W83792AD, {{"fanFaultRpmLimit", "1328"}}, "fan-limit-unreachable"},
        {XYRATEX, {{"fanFaultRpmLimit", "4724"}}, "fan-limit-unreachable, (divisor-unused)"},
        {VSC055, {{"fanSpeedDivisor", "255"}, {"fanFaultRpmLimit", "4705"}}, ""},
        {VSC055, {{"fanSpeedDivisor", "255"}, {"fanFaultRpmLimit", "4706"}}, "fan-limit-too-high"},
        {VSC055, {{"fanFaultRpmLimit", "65536"}}, "fan-limit-too-high"},
        {W83792AD, {{"fanSpeedDivisor", "8"}}, "divisor-above-chip"},
        // The ladder.
        {VSC055,
         {{"fanPwm50To75TemperatureThreshold", "32"}, {"fanPwm75To50TemperatureThreshold", "31"}},
         "steps-up-out-of-order"},
        {VSC055, {{"fanPwm75To50TemperatureThreshold", "29"}}, "steps-down-out-of-order"},
        {VSC055, {{"fanPwm75To100TemperatureThreshold", "42"}}, ""},
        {VSC055, {{"fanPwm75To100TemperatureThreshold", "41"}}, "hysteresis-none"},
        {VSC055, {{"fanPwm75To100TemperatureThreshold", "40"}}, "hysteresis-inverted"},
        {VSC055, {{"fanPwmLoadMinimum", "26"}}, "floor-blocks-step"},
        {VSC055,
         {{"fanPwmLoadMinimum", "51"}},
         "floor-blocks-step, floor-blocks-step, floor-above-start"},
        {XYRATEX,
         {{"fanFaultRpmLimit", "5000"}, {"fanPwmLoadMinimum", "50"}},
         "floor-blocks-step, floor-above-start, (divisor-unused)"},
        // Of a way down that the floor blocks nothing else is said.
        {VSC055,
         {{"fanPwmLoadMinimum", "50"}, {"fanPwm50To25TemperatureThreshold", "36"}},
         "floor-blocks-step"},
        {VSC055, {{"overheatTemperatureLimit", "45"}}, ""},
        {VSC055, {{"overheatTemperatureLimit", "44"}}, "overheat-below-ladder"},
        {VSC055, {{"overheatTemperatureLimit", "127"}}, "temperature-unreachable"},
        {W83792AD, {{"overheatTemperatureLimit", "127"}}, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.changes) + " on " + c.chassis);
        EXPECT_EQ(checksOf(fileOf(c.chassis, c.changes)), c.checks);
    }
}

TEST_F(PersonalityTool, TextThatIsReadOtherwiseThanItLooksIsFound) {
    const std::string good = fileOf(VSC055);
    const std::string divisor = keyed("fanSpeedDivisor", "4");
    const std::string dead = "x=\"fanPwmLoadMinimum\"";
    const struct {
        const char* what;
        std::string text;
        const char* checks;
    } cases[] = {
        {"empty", "", "chassis-missing!, (no-back-end)"},
        {"two names", named(W83792AD) + good, "chassis-several"},
        {"name in a comment", "<!-- " + named("PeltoTolvex") + "-->" + good,
         "in-comment, chassis-several"},
        {"behind a comment", "<!-- x -->" + good, ""},
        {"key in a comment", "<!--" + keyed("fanSpeedDivisor", "9") + "-->" + good,
         "in-comment, key-repeated"},
        {"key twice", good + divisor, "key-repeated"},
        {"value of the next key",
         replaced(good, "coolingMaxNumber\" value=\"4\"", "coolingMaxNumber\""),
         "value-shared!, value-cut, count-above-array"},
        {"value before its key",
         replaced(good, divisor, "<p value=\"4\" name=\"fanSpeedDivisor\"/>\n<p value=\"4\"/>\n"),
         "value-elsewhere"},
        {"value in an inner element",
         replaced(good, divisor, "<p name=\"fanSpeedDivisor\"><n value=\"4\"/></p>\n"), ""},
        {"spaces round the equals sign",
         replaced(good, divisor, "<p name=\"fanSpeedDivisor\" value = \"4\"/>\n"),
         "value-no-number!"},
        {"no value at all", fileOf(VSC055, {{"fanPwmLoadMinimum", "-"}}) + dead, "value-missing!"},
        {"8192 bytes", good + std::string(8192 - good.size(), ' '), ""},
        {"8193 bytes", good + std::string(8193 - good.size(), ' '), "file-too-long"},
        {"a zero byte", good + std::string(1, '\0') + divisor, "zero-byte"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(checksOf(c.text), c.checks);
    }
}

TEST_F(PersonalityTool, ReportSaysWhatIsStoredAndWhatThatDoes) {
    dir_.write("\n" + fileOf(W83792AD, {{"fanFaultRpmLimit", "1181"}}) +
               fileOf("ASUSi316", {{"coolingMaxNumber", "300"}, {"fanSpeedDivisor", "\x1b[7m"}}));
    const std::string file = dir_.file();
    EXPECT_EQ(run({file.c_str()}), 1);
    for (const char* const part :
         {"\"ASUSi316\" in line 15: chosen", "Custom\" in line 2: lost (would be type 7)",
          "coolingMaxNumber stands in line 3 and again in line 16: the first counts",
          "with divisor 4 the slowest speed that can be measured is 1181 RPM",
          "a slower fan looks like that", "Verdict: 14 warnings"}) {
        EXPECT_THAT(out_.str(), HasSubstr(part));
    }
    dir_.write(fileOf(VSC055, {{"coolingMaxNumber", "300"}, {"fanSpeedDivisor", "\x1b[7m"}}));
    run({file.c_str(), "--json"});
    const auto json = nlohmann::json::parse(out_.str());
    EXPECT_EQ(json["chassis"]["type"], 5);
    EXPECT_EQ(json["keys"][1]["written"], "300");
    EXPECT_EQ(json["keys"][1]["stored"], 44);
    EXPECT_EQ(json["keys"][0]["written"], "?[7m");  // nothing that steers a terminal
    EXPECT_EQ(json["verdict"], "unusable");
}

TEST_F(PersonalityTool, FansToAndFroOnlyWhereTheyDo) {
    // From 75 percent the way up at 44 comes before the way down at 46.
    dir_.write(fileOf(VSC055, {{"fanPwm75To50TemperatureThreshold", "46"}}));
    const std::string file = dir_.file();
    run({file.c_str()});
    EXPECT_THAT(out_.str(), HasSubstr("between 50 and 75 percent, at 39 to 44 degrees"));
    EXPECT_THAT(out_.str(), HasSubstr("stays nowhere"));
}

// ---- the ladder ----

// The service's own policy, at every temperature and from every load, goes the way the ladder says.
TEST_F(PersonalityTool, LadderIsTheOneTheServiceWalks) {
    const Values cases[] = {
        {},
        {{"fanPwmLoadMinimum", "26"}},
        {{"fanPwmLoadMinimum", "75"}},
        {{"fanPwm50To25TemperatureThreshold", "0"}, {"fanPwm75To100TemperatureThreshold", "200"}},
        {{"fanPwm75To50TemperatureThreshold", "46"}},
    };
    for (const Values& changes : cases) {
        SCOPED_TRACE(testing::PrintToString(changes));
        reportOf(fileOf(VSC055, changes));
        esaControl.temperatureSensorMaxNumber = 1;
        esaControl.coolingMaxNumber = 1;
        esaControl.i2cFileFd = -1;
        esaControl.socketFdMSM = -1;
        const std::vector<Step> steps = ladder().steps;
        for (S16_t degrees = 0; degrees <= 127; degrees++) {
            for (std::size_t n = 0; n < steps.size(); n++) {
                const Step& step = steps[n];
                const U32_t average = static_cast<U32_t>(degrees);
                const std::size_t next = step.goesUp && average > *step.up       ? n + 1
                                         : step.goesDown && average < *step.down ? n - 1
                                                                                 : n;
                esaControl.fanPwmLoad[0] = step.load;
                esaControl.temperatureSensor[0] = degrees;
                esaTemperatureFanPolicyFlexibleThreshold();
                ASSERT_EQ(esaControl.fanPwmLoad[0], steps[next].load)
                    << degrees << " degrees from " << int{step.load};
            }
        }
    }
}

TEST_F(PersonalityTool, LadderIsDrawnInText) {
    reportOf(fileOf(VSC055, {{"fanPwmLoadMinimum", "50"}}));
    EXPECT_EQ(ladderText(ladder()),
              "Load ladder: where fans stay, by average temperature\n"
              "  100 %                      |======================>  below 41 down\n"
              "   75 %                |=======|                       below 35 down, above 44 up\n"
              "   50 % <=================|                            start, no step down (floor), "
              "above 38 up\n"
              "   25 % <===========|                                  not reached, above 32 up\n"
              "        +----+----+----+----+---+----+----+----+----+\n"
              "        20   25   30   35   40  45   50   55   60   65 C\n"
              "                                               ^       above 60 shutdown\n");
}

TEST_F(PersonalityTool, DrawingHasAnArrowPerStepThatIsTaken) {
    const std::string file = dir_.file();
    const std::string svg = dir_.file().string() + ".svg";
    dir_.write(fileOf(VSC055, {{"fanPwmLoadMinimum", "50"}}));
    EXPECT_EQ(run({file.c_str(), "--svg", svg.c_str()}), 1);
    std::stringstream drawing;
    drawing << std::ifstream(svg).rdbuf();
    EXPECT_THAT(drawing.str(), HasSubstr("<title>Load ladder, Vitesse VSC055 Custom</title>"));
    EXPECT_THAT(drawing.str(), HasSubstr("text-anchor=\"end\">41</text>"));    // way down
    EXPECT_THAT(drawing.str(), HasSubstr("text-anchor=\"start\">44</text>"));  // way up
    EXPECT_THAT(drawing.str(), Not(HasSubstr(">29</text>")));                  // blocked
    EXPECT_THAT(drawing.str(), HasSubstr("above 60 shutdown"));
    EXPECT_THAT(drawing.str(), testing::EndsWith("</svg>\n"));
}

// Thresholds as far out as they go leave the drawings whole.
TEST_F(PersonalityTool, ExtremeThresholdsAreDrawn) {
    for (const char* const value : {"-1", "0", "1", "126", "127", "2147483647"}) {
        Values values = {{"overheatTemperatureLimit", value}};
        for (const auto& [key, good] : GOOD) {
            if (key.find("Threshold") != key.npos) {
                values[key] = value;
            }
        }
        reportOf(fileOf(VSC055, values));
        EXPECT_THAT(ladderText(ladder()), HasSubstr("\n   25 % ")) << value;
        EXPECT_THAT(ladderText(ladder()), Not(HasSubstr("below 0"))) << value;
        EXPECT_THAT(ladderSvg(ladder(), ""), Not(HasSubstr("nan"))) << value;
    }
}

// ---- the command line ----

TEST_F(PersonalityTool, ExitCodeIsTheVerdict) {
    const std::string file = dir_.file();
    const std::string directory = dir_.file().parent_path();
    EXPECT_EQ(run({file.c_str()}), 6);  // not there
    EXPECT_THAT(out_.str(), HasSubstr("No such file"));
    dir_.write(fileOf(VSC055));
    EXPECT_EQ(run({file.c_str()}), 0);
    EXPECT_EQ(run({}), 0);  // the service's own
    EXPECT_EQ(run({directory.c_str()}), 6);
    EXPECT_EQ(run({file.c_str(), file.c_str()}), 2);
    EXPECT_EQ(run({file.c_str(), "--colour"}), 2);
    EXPECT_EQ(run({file.c_str(), "--svg", directory.c_str()}), 2);
    dir_.write(fileOf(VSC055, {{"overheatTemperatureLimit", "40"}}));
    EXPECT_EQ(run({"--json"}), 1);
    dir_.write(named("Nobody"));
    EXPECT_EQ(run({}), 6);
}
