// SPDX-License-Identifier: Apache-2.0
// personality as its users meet it: what it says of the files that cases/personality.txt types, and
// that its ladder is the one the service walks.
#include <algorithm>
#include <map>

#include "policy/esa_policy.h"
#include "tests/support/personality_dir.h"
#include "tests/unit/tools/tool_cases.h"
#include "tools/personality/cli.h"
#include "tools/personality/ladder.h"
#include "tools/personality/report.h"

using namespace personality;

namespace {

std::vector<std::string> cut(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

// A good file of the chassis with some values changed, "key=value;key=value"; "-" leaves a key out.
std::string fileOf(const std::string& chassis, const std::string& changes) {
    std::map<std::string, std::string> values = {
        {"coolingMaxNumber", "4"},
        {"fanFaultRpmLimit", "1500"},
        {"fanPwm100To75TemperatureThreshold", "41"},
        {"fanPwm25To50TemperatureThreshold", "32"},
        {"fanPwm50To25TemperatureThreshold", "29"},
        {"fanPwm50To75TemperatureThreshold", "38"},
        {"fanPwm75To100TemperatureThreshold", "44"},
        {"fanPwm75To50TemperatureThreshold", "35"},
        {"fanPwmLoadMinimum", "25"},
        {"fanSpeedDivisor", "4"},
        {"overheatTemperatureLimit", "60"},
        {"temperatureSensorMaxNumber", "2"},
    };
    for (const std::string& change : cut(changes, ';')) {
        values[change.substr(0, change.find('='))] = change.substr(change.find('=') + 1);
    }
    std::string text = "<chassis name=\"" + chassis + "\"/>\n";
    for (const auto& [key, value] : values) {
        text += value == "-" ? "" : "<p name=\"" + key + "\" value=\"" + value + "\"/>\n";
    }
    return text;
}

// The good file with what the case puts before, behind or in place of something.
std::string fileOf(const Case& c) {
    std::string text = fileOf(c.get("chassis", "Vitesse VSC055 Custom"), c.get("values"));
    if (c.has("replace")) {
        text.replace(text.find(c.get("replace")), c.get("replace").size(), c.get("with"));
    }
    text =
        c.get("before") + text + (c.has("zero byte") ? std::string(1, '\0') : "") + c.get("behind");
    return c.has("file")
               ? c.get("file")
               : text + std::string(c.number("pad", 0) -
                                        std::min<std::size_t>(c.number("pad", 0), text.size()),
                                    ' ');
}

class PersonalityTool : public testing::Test {
  protected:
    // "check, check", the worst first; notes in brackets, what makes unusable with a mark.
    std::string checksOf(const std::string& text) {
        dir_.write(text);
        std::string checks;
        for (const Finding& finding : inspect(dir_.file()).findings) {
            const bool isNote = finding.severity == Severity::note;
            checks += (checks.empty() ? "" : ", ") +
                      (isNote ? "(" + finding.check + ")" : finding.check) +
                      (finding.severity == Severity::unusable ? "!" : "");
        }
        return checks;
    }

    PersonalityDir dir_;
};

}  // namespace

TEST_F(PersonalityTool, FindsWhatIsTyped) {
    for (const Case& c : casesOf(CASES "/cases/personality.txt")) {
        for (const std::string& line : linesOf(c.get("table"))) {
            SCOPED_TRACE(line);
            const std::vector<std::string> row = cut(line + "|", '|');
            EXPECT_EQ(checksOf(fileOf(row[0], row[1])), row[2]);
        }
        SCOPED_TRACE(c.name);
        if (c.has("checks")) {
            EXPECT_EQ(checksOf(fileOf(c)), c.get("checks"));
        }
    }
}

TEST_F(PersonalityTool, ReportsWhatIsTyped) {
    const std::string directory = dir_.file().parent_path();
    for (const Case& c : casesOf(CASES "/cases/personality.txt")) {
        dir_.write(fileOf(c));
        for (const std::string& words : c.all("run")) {
            SCOPED_TRACE(c.name + ": " + words);
            std::vector<std::string> arguments = wordsOf(words);
            for (std::string& argument : arguments) {
                argument = argument[0] == '$' ? directory + argument.substr(1) : argument;
            }
            ToolResult result = runTool("personality", personality::run, arguments);
            if (c.has("drawing")) {
                std::stringstream drawing;
                drawing << std::ifstream(directory + "/drawing.svg").rdbuf();
                EXPECT_EQ(drawing.str(), c.get("drawing"));
            }
            expectTool("personality", c, result, directory);
        }
    }
}

// The service's own policy, at every temperature and from every load, goes the way the ladder says.
TEST_F(PersonalityTool, LadderIsTheOneTheServiceWalks) {
    for (const char* const changes :
         {"", "fanPwmLoadMinimum=26", "fanPwmLoadMinimum=75", "fanPwm75To50TemperatureThreshold=46",
          "fanPwm50To25TemperatureThreshold=0;fanPwm75To100TemperatureThreshold=200"}) {
        SCOPED_TRACE(changes);
        checksOf(fileOf("Vitesse VSC055 Custom", changes));
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

// Thresholds as far out as they go leave the drawings whole.
TEST_F(PersonalityTool, ExtremeThresholdsAreDrawn) {
    for (const std::string value : {"-1", "0", "1", "126", "127", "2147483647"}) {
        std::string changes = "overheatTemperatureLimit=" + value;
        for (const char* const step :
             {"25To50", "50To75", "75To100", "100To75", "75To50", "50To25"}) {
            changes += std::string(";fanPwm") + step + "TemperatureThreshold=" + value;
        }
        checksOf(fileOf("Vitesse VSC055 Custom", changes));
        const std::string text = ladderText(ladder());
        EXPECT_THAT(text, testing::HasSubstr("\n   25 % ")) << value;
        EXPECT_THAT(text, testing::Not(testing::HasSubstr("below 0"))) << value;
        EXPECT_THAT(ladderSvg(ladder(), ""), testing::Not(testing::HasSubstr("nan"))) << value;
    }
}
