// SPDX-License-Identifier: Apache-2.0
// personality: values at random, beside what the chassis' pages and the ladder's rule make of them;
// personality.txt has what is typed.
#include <fmt/format.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "tests/unit/tools/tools.h"
#include "tools/personality/cli.h"

namespace {

using Json = nlohmann::json;
using Values = std::map<std::string, std::string>;

// "key=value": "_" is a blank.
Values changed(Values values, const Lines& words) {
    for (const std::string& word : words) {
        const std::size_t equals = word.find('=');
        std::string& value = values[word.substr(0, equals)] = word.substr(equals + 1);
        std::ranges::replace(value, '_', ' ');
    }
    return values;
}

const Values GOOD = changed(
    {}, Words("coolingMaxNumber=4 fanFaultRpmLimit=1500 fanPwm100To75TemperatureThreshold=41 "
              "fanPwm25To50TemperatureThreshold=32 fanPwm50To25TemperatureThreshold=29 "
              "fanPwm50To75TemperatureThreshold=38 fanPwm75To100TemperatureThreshold=44 "
              "fanPwm75To50TemperatureThreshold=35 fanPwmLoadMinimum=25 fanSpeedDivisor=4 "
              "overheatTemperatureLimit=60 temperatureSensorMaxNumber=2")
            .all);
const std::string FILE_NAME = "web/OEM/EnvPersonalityParams.xml";

std::string fileOf(const std::string& chassis, const Values& values) {
    std::string text = "<chassis name=\"" + chassis + "\"/>\n";
    for (const auto& [key, value] : values) {
        text += value == "-" ? "" : fmt::format("<p name=\"{}\" value=\"{}\"/>\n", key, value);
    }
    return text;
}

// Where the service looks for its file, by $STARTUP.
class Startup {
  public:
    Startup() {
        std::filesystem::create_directories("web/OEM");
        std::filesystem::create_directory("startup");
        setenv("STARTUP", "./startup", 1);
    }
    ~Startup() { unsetenv("STARTUP"); }
    void write(const std::string& text) { std::ofstream(FILE_NAME) << text; }
};

// In scripts: the good file with some change, and the findings.
class PersonalityPlayer : public ToolPlayer {
  public:
    PersonalityPlayer() : ToolPlayer("personality", personality::run) {
        startup_.write(good());
        commands["chassis"] = [this](const Words& words) {
            chassis_ = words.from(1);
            find(good());
        };
        commands["set"] = [this](const Words& words) {
            const Lines changes(words.all.begin() + 1, words.all.end());
            find(fileOf(chassis_, changed(GOOD, changes)));
        };
        commands["replace"] = [this](const Words& words) {
            const std::string line = words.from(1);
            const std::size_t by = line.find(" => ");
            std::string text = good();
            text.replace(text.find(line.substr(0, by)), by, line.substr(by + 4));
            find(text);
        };
        commands["before"] = [this](const Words& words) { find(words.from(1) + good()); };
        commands["behind"] = [this](const Words& words) { find(good() + words.from(1)); };
        commands["zero"] = [this](const Words&) { find(good() + std::string(1, '\0')); };
        commands["pad"] = [this](const Words& words) {
            std::string text = good();
            text.resize(words.u32(1), ' ');
            find(text);
        };
        commands["whole"] = [this](const Words& words) { find(words.from(1)); };
    }

  private:
    std::string good() const { return fileOf(chassis_, GOOD); }
    void find(const std::string& text) {
        startup_.write(text);
        const Json report = Json::parse(told(personality::run, "personality --json").out);
        for (const Json& finding : report["findings"]) {
            const auto of = [&](const char* key) { return finding[key].get<std::string>(); };
            const std::string line = of("severity") + " " + of("check") + ": " + of("text");
            say(std::regex_replace(line, std::regex("(.{60,120}) "), "$1\n    "));
        }
    }
    std::string chassis_ = "Vitesse VSC055 Custom";
    Startup startup_;
};

// ---- what the values mean ----

struct Chassis {
    const char* name;
    unsigned sensors, fans, hottest, tachometerClock, start;
};
constexpr Chassis CHASSIS[] = {
    {"Vitesse VSC055 Custom", 6, 8, 127, 1200000, 50},
    {"Xyratex 2U12ATX", 2, 8, 127, 1200000, 25},
    {"Winbond W83792AD Custom", 3, 6, 255, 1350000, 50},
};
constexpr unsigned LOADS[] = {25, 50, 75, 100};

// Numbers of a file, and what they lead to.
struct Model {
    const Chassis& chassis;
    std::map<std::string, unsigned> values;

    unsigned of(const std::string& key) const { return values.at(key); }
    unsigned floor() const { return of("fanPwmLoadMinimum"); }
    unsigned threshold(unsigned from, unsigned to) const {
        return of(fmt::format("fanPwm{}To{}TemperatureThreshold", LOADS[from], LOADS[to]));
    }
    // A threshold no average passes leads nowhere.
    bool goesUp(unsigned n) const { return n < 3 && threshold(n, n + 1) < chassis.hottest; }
    bool isBlocked(unsigned n) const { return n > 0 && floor() > LOADS[n - 1]; }
    bool goesDown(unsigned n) const { return n > 0 && !isBlocked(n) && threshold(n, n - 1) != 0; }

    // Fans go both ways between step `n` and the next one.
    bool isPair(unsigned n) const {
        return goesUp(n) && goesDown(n + 1) && threshold(n, n + 1) != 0;
    }

    // One poll: up above the threshold, else down below the other.
    unsigned next(unsigned n, unsigned degrees) const {
        if (n < 3 && degrees > threshold(n, n + 1)) {
            return n + 1;
        }
        return n > 0 && !isBlocked(n) && degrees < threshold(n, n - 1) ? n - 1 : n;
    }
    // From the start load, or from 100 percent, at any temperatures.
    std::set<unsigned> reached() const {
        std::set<unsigned> all = {3, chassis.start / 25 - 1};
        for (std::size_t before = 0; before != all.size();) {
            before = all.size();
            const std::set<unsigned> known = all;
            for (const unsigned n : known) {
                for (unsigned degrees = 0; degrees <= chassis.hottest; degrees++) {
                    all.insert(next(n, degrees));
                }
            }
        }
        return all;
    }

    Lines checks() const;
};

// The checks that find something, in any order.
Lines Model::checks() const {
    Lines found;
    const auto when = [&](bool finds, const char* check) {
        if (finds) {
            found.emplace_back(check);
        }
    };
    const bool isXyratex = chassis.start == 25;
    const unsigned divisor = isXyratex ? 1 : of("fanSpeedDivisor");
    for (const auto& [key, value] : values) {
        const bool isFree = key == "fanPwmLoadMinimum" || (isXyratex && key == "fanSpeedDivisor");
        when(value == 0 && !isFree, "value-zero");
        when(key.find("Temperature") != key.npos && value >= chassis.hottest,
             "temperature-unreachable");
    }
    const unsigned fans = of("coolingMaxNumber"), sensors = of("temperatureSensorMaxNumber");
    when(fans > 8, "count-above-array");
    when(sensors > 8, "count-above-array");
    when(std::min(fans, 8U) > chassis.fans, "fans-above-chassis");
    when(sensors > chassis.sensors, "sensors-above-chassis");
    when(isXyratex && of("fanSpeedDivisor") != 1, "divisor-unused");
    when(chassis.fans == 6 && divisor > 7, "divisor-above-chip");
    const unsigned limit = of("fanFaultRpmLimit"), overheat = of("overheatTemperatureLimit");
    if (limit != 0 && divisor != 0) {
        const bool isHigh = limit > std::min(65535U, chassis.tachometerClock / divisor);
        when(isHigh, "fan-limit-too-high");
        when(!isHigh && limit <= chassis.tachometerClock / (254 * divisor),
             "fan-limit-unreachable");
    }
    when(overheat != 0 && overheat <= threshold(2, 3), "overheat-below-ladder");
    when(floor() > chassis.start, "floor-above-start");
    for (unsigned n = 0; n < 3; n++) {
        const unsigned up = threshold(n, n + 1), back = threshold(n + 1, n);
        when(isBlocked(n + 1), "floor-blocks-step");
        when(isPair(n) && back == up, "hysteresis-none");
        when(isPair(n) && back > up, "hysteresis-inverted");
        when(n < 2 && goesUp(n) && goesUp(n + 1) && threshold(n + 1, n + 2) != 0 &&
                 up >= threshold(n + 1, n + 2),
             "steps-up-out-of-order");
        when(n < 2 && goesDown(n + 1) && goesDown(n + 2) && back >= threshold(n + 2, n + 1),
             "steps-down-out-of-order");
    }
    std::ranges::sort(found);
    return found;
}

// Around the bounds that there are.
Model anyModel(Random& random) {
    Model model{CHASSIS[random(3)], {}};
    const auto oneOf = [&](const std::vector<unsigned>& values) {
        return values[random(narrowTo<unsigned>(values.size()))];
    };
    for (const auto& [key, value] : GOOD) {
        model.values[key] =
            random(4) == 0 ? oneOf({0, model.chassis.hottest - 1 + random(3)}) : 26 + random(24);
    }
    const unsigned divisor = model.values["fanSpeedDivisor"] = oneOf({0, 1, 2, 4, 7, 8, 255});
    const unsigned clock = model.chassis.tachometerClock, by = std::max(1U, divisor);
    model.values["fanFaultRpmLimit"] =
        oneOf({0, 1500, clock / by, clock / by + 1, clock / (254 * by), clock / (254 * by) + 1,
               65535, 65536});
    model.values["coolingMaxNumber"] = random(11);
    model.values["temperatureSensorMaxNumber"] = random(11);
    model.values["fanPwmLoadMinimum"] = oneOf({0, 25, 26, 50, 51, 75, 76});
    return model;
}

void expectLadder(const Model& model, const Json& ladder) {
    EXPECT_EQ(ladder["start"], model.chassis.start);
    EXPECT_EQ(ladder["floor"], model.floor());
    EXPECT_EQ(ladder["overheat"], model.of("overheatTemperatureLimit"));
    const std::set<unsigned> reached = model.reached();
    for (unsigned n = 0; n < 4; n++) {
        const Json expected = {{"load", LOADS[n]},
                               {"up", n < 3 ? Json(model.threshold(n, n + 1)) : Json()},
                               {"down", n > 0 ? Json(model.threshold(n, n - 1)) : Json()},
                               {"floorBlocksDown", model.isBlocked(n)},
                               {"reached", reached.contains(n)}};
        EXPECT_EQ(ladder["steps"][n], expected);
    }
}

// Of each inverted pair of steps: the temperatures that drive the fans to and fro.
void expectInversions(const Model& model, const std::string& text) {
    for (unsigned n = 0; n < 3; n++) {
        std::vector<unsigned> swings;
        for (unsigned degrees = 0; degrees < 300; degrees++) {
            if (model.next(n, degrees) == n + 1 && model.next(n + 1, degrees) == n) {
                swings.push_back(degrees);
            }
        }
        if (model.isPair(n) && model.threshold(n + 1, n) > model.threshold(n, n + 1)) {
            const std::string at = swings.empty()
                                       ? ""
                                       : fmt::format(", at {} to {} degrees on every poll",
                                                     swings.front(), swings.back());
            const std::string line =
                fmt::format("to and fro between {} and {} percent{}\n", LOADS[n], LOADS[n + 1], at);
            EXPECT_NE(text.find(line), text.npos) << line;
        }
    }
}

// Bars stand where fans stay, on the axis that the numbers below them give.
void expectDrawn(const Model& model, const std::string& text, const std::string& svg) {
    const Lines lines = linesIn(text);
    const auto title =
        std::ranges::find(lines, "Load ladder: where fans stay, by average temperature");
    ASSERT_GT(lines.end() - title, 7);
    const Words ticks(title[6]);
    const double low = ticks.number(0), high = ticks.number(ticks.all.size() - 2);
    const auto place = [&](unsigned degrees) {
        return (std::clamp<double>(degrees, low, high) - low) / (high - low);
    };
    const std::set<unsigned> reached = model.reached();
    for (unsigned n = 0; n < 4; n++) {
        const bool up = model.goesUp(n), down = model.goesDown(n);
        const bool isStart = LOADS[n] == model.chassis.start, isReached = reached.contains(n);
        const unsigned below = down ? model.threshold(n, n - 1) : 0;
        const unsigned above = up ? model.threshold(n, n + 1) : 0;
        const double from = down ? place(below) : 0, to = up ? place(above) : 1;
        std::string row(45, ' ');
        Lines words;
        const auto say = [&](bool isSo, const std::string& what) {
            words.insert(words.end(), isSo ? 1 : 0, what);
        };
        say(isStart, "start");
        say(!isReached, "not reached");
        say(down, fmt::format("below {} down", below));
        say(model.isBlocked(n), "no step down (floor)");
        say(up, fmt::format("above {} up", above));
        if (up && down && below > above) {
            words.emplace_back("stays nowhere");
        } else {
            const auto first = static_cast<std::size_t>(std::lround(from * 44));
            const auto last = static_cast<std::size_t>(std::lround(to * 44));
            row.replace(first, last - first + 1, last - first + 1, '=');
            row[first] = down ? '|' : '<';
            row[last] = up ? '|' : '>';
            const std::string bar = fmt::format(R"("bar{}" x1="{:.1f}" y1="{}.0" x2="{:.1f}")",
                                                isReached ? "" : " faint", 108 + 622 * from,
                                                298 - 66 * n, 108 + 622 * to);
            EXPECT_NE(svg.find(bar), svg.npos) << bar;
        }
        EXPECT_EQ(title[4 - n],
                  fmt::format("{:>5} % {}  {}", LOADS[n], row, fmt::join(words, ", ")));
    }
    const unsigned limit = model.of("overheatTemperatureLimit");
    const auto hot = static_cast<std::size_t>(std::lround(place(limit) * 44));
    EXPECT_EQ(squeezed(title[7]), limit < model.chassis.hottest
                                      ? fmt::format("^ above {} shutdown", limit)
                                      : "no shutdown: the limit is above every reading");
    EXPECT_EQ(title[7][8 + hot] == '^', limit < model.chassis.hottest);
}

}  // namespace

TEST(Personality, AnswersAsTyped) {
    scriptPlay<PersonalityPlayer>(CASES "/personality.txt");
}

TEST(Personality, DrawsWhatTheDocumentationShows) {
    const Place place;
    Startup().write(fileOf("Vitesse VSC055 Custom", GOOD));
    EXPECT_EQ(told(personality::run, "personality " + FILE_NAME + " --svg drawing.svg").err, "");
    EXPECT_EQ(contentOf("drawing.svg"), contentOf(SOURCES "/docs/personality.svg"));
    Startup().write(fileOf("Korvo Standard", GOOD));  // no fans
    const Told none = told(personality::run, "personality --json --svg none.svg");
    EXPECT_EQ(Json::parse(none.out)["ladder"], Json());
    EXPECT_FALSE(std::filesystem::exists("none.svg"));
}

TEST(Personality, TellsWhatTheValuesMean) {
    const Place place;
    Startup startup;
    Random random;
    for (int round = 0; round < 48; round++) {
        SCOPED_TRACE(round);
        const Model model = anyModel(random);
        Values values;
        for (const auto& [key, value] : model.values) {
            values[key] = std::to_string(value);
        }
        startup.write(fileOf(model.chassis.name, values));
        const Told json = told(personality::run, "personality --json"),
                   text = told(personality::run, "personality --svg drawing.svg");
        const Json report = Json::parse(json.out);
        const Lines expected = model.checks();
        Lines checks;
        std::vector<int> severities;
        for (const Json& finding : report["findings"]) {
            checks.push_back(finding["check"]);
            severities.push_back(
                finding["severity"] == "unusable" ? 2 : finding["severity"] == "warning");
        }
        EXPECT_TRUE(std::ranges::is_sorted(severities, std::greater()));
        std::ranges::sort(checks);
        EXPECT_EQ(checks, expected);
        const bool cannotStart = model.chassis.fans == 8 && model.chassis.sensors == 6 &&
                                 model.of("temperatureSensorMaxNumber") > 6;
        const auto notes = std::ranges::count(expected, "divisor-unused");
        const int worst = cannotStart ? 2 : std::ssize(expected) > notes;
        EXPECT_EQ(severities.empty() ? 0 : severities[0], worst);
        EXPECT_EQ(report["verdict"],
                  (Lines{"fine", "warnings", "unusable"})[static_cast<std::size_t>(worst)]);
        EXPECT_EQ(json.code, worst == 2 ? 6 : worst);
        for (const Json& key : report["keys"]) {
            const auto at = GOOD.find(key["name"]);
            const bool isNarrow = at->first.ends_with("Number") || at->first == "fanSpeedDivisor";
            EXPECT_EQ(key["stored"], model.of(at->first)) << key;
            EXPECT_EQ(key["written"], values[at->first]) << key;
            EXPECT_EQ(key["line"], std::distance(GOOD.begin(), at) + 2) << key;
            EXPECT_EQ(key["bits"], isNarrow ? 8 : 32) << key;
        }
        EXPECT_EQ(report["keys"].size(), GOOD.size());
        expectLadder(model, report["ladder"]);
        expectInversions(model, text.out);
        expectDrawn(model, text.out, contentOf("drawing.svg"));
    }
}
