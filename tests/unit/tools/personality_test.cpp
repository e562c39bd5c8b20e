// SPDX-License-Identifier: Apache-2.0
// personality.txt: what comes of a good file with some change.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tests/unit/tools/tools.h"

namespace {

using Values = std::map<std::string, std::string>;

// "KEY=VALUE": "_" is a blank.
Values changed(Values values, const std::string& changes) {
    for (const std::string& word : Words(changes).all) {
        const std::size_t equals = word.find('=');
        std::string& value = values[word.substr(0, equals)] = word.substr(equals + 1);
        std::ranges::replace(value, '_', ' ');
    }
    return values;
}
const Values GOOD =
    changed({},
            "coolingMaxNumber=4 fanFaultRpmLimit=1500 fanPwm100To75TemperatureThreshold=41 "
            "fanPwm25To50TemperatureThreshold=32 fanPwm50To25TemperatureThreshold=29 "
            "fanPwm50To75TemperatureThreshold=38 fanPwm75To100TemperatureThreshold=44 "
            "fanPwm75To50TemperatureThreshold=35 fanPwmLoadMinimum=25 fanSpeedDivisor=4 "
            "overheatTemperatureLimit=60 temperatureSensorMaxNumber=2");

// What the service finds by $STARTUP.
class PersonalityPlayer : public ToolPlayer {
  public:
    PersonalityPlayer() {
        std::filesystem::create_directories("web/OEM");
        std::filesystem::create_directory("startup");
        setenv("STARTUP", "./startup", 1);
        write(good());
        commands["chassis"] = [this](const Words& words) { chassis_ = words.from(1); };
        commands["set"] = [this](const Words& words) { find(good(words.from(1))); };
        // around KEY VALUE...: the checks of those that are not fine; "!" is unusable
        commands["around"] = [this](const Words& words) {
            Lines all;
            for (std::size_t n = 2; n < words.all.size(); n++) {
                write(good(words[1] + "=" + words[n]));
                const Told one = told("personality --json");
                const Json report = Json::parse(one.out);
                std::string line = words[n];
                for (const Json& finding : report["findings"]) {
                    line += " " + finding["check"].get<std::string>();
                }
                EXPECT_EQ(one.code == 6, report["verdict"] == "unusable");
                all.insert(all.end(), one.code == 0 ? 0 : 1, line + (one.code == 6 ? "!" : ""));
            }
            say(fmt::format("{}", fmt::join(all, ", ")));
        };
        commands["replace"] = [this](const Words& words) {
            const std::string line = words.from(1), text = good();
            const std::size_t by = line.find(" => "), at = text.find(line.substr(0, by));
            find(text.substr(0, at) + line.substr(by + 4) + text.substr(at + by));
        };
        // size BYTES [ZERO]: filled up with blanks or zeros
        commands["size"] = [this](const Words& words) {
            const std::string text = good();
            find(text + std::string(words.u32(1) - text.size(), words[2].empty() ? ' ' : '\0'));
        };
        commands["ladder"] = [this](const Words&) {
            const Lines lines = linesIn(told("personality").out);
            say(Lines(
                std::ranges::find(lines, "Load ladder: where fans stay, by average temperature"),
                std::ranges::find_if(
                    lines, [](const auto& line) { return line.starts_with("warning"); })));
        };
        commands["drawing"] = [this](const Words&) {
            told("personality web/OEM/EnvPersonalityParams.xml --svg drawing.svg");
            const bool isSame =
                contentOf("drawing.svg") == contentOf(SOURCES "/docs/personality.svg");
            say(isSame ? "as the documentation shows it" : "another");
        };
    }
    ~PersonalityPlayer() override { unsetenv("STARTUP"); }

  private:
    std::string good(const std::string& changes = "") const {
        std::string text = "<chassis name=\"" + chassis_ + "\"/>\n";
        for (const auto& [key, value] : changed(GOOD, changes)) {
            text += fmt::format("<p name=\"{}\" value=\"{}\"/>\n", key, value);
        }
        return text;
    }
    static void write(const std::string& text) {
        std::ofstream("web/OEM/EnvPersonalityParams.xml") << text;
    }
    void find(const std::string& file) {
        write(file);
        const Json report = Json::parse(told("personality --json").out);
        for (const Json& finding : report["findings"]) {
            sayShort(text(finding["check"].get<std::string>(), ": ",
                          finding["text"].get<std::string>()));
        }
    }
    std::string chassis_ = "Vitesse VSC055 Custom";
};

}  // namespace

TEST(Personality, AnswersAsTyped) {
    scriptPlay<PersonalityPlayer>(CASES "/personality.txt");
}
