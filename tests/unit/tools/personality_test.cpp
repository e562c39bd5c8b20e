// SPDX-License-Identifier: Apache-2.0
// personality: values at random, beside what the chassis' pages and the ladder's rule make of them;
// personality.txt has what is typed.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <regex>

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

std::string fileOf(const std::string& chassis, const Values& values) {
    std::string text = "<chassis name=\"" + chassis + "\"/>\n";
    for (const auto& [key, value] : values) {
        text += fmt::format("<p name=\"{}\" value=\"{}\"/>\n", key, value);
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
    void write(const std::string& text) {
        std::ofstream("web/OEM/EnvPersonalityParams.xml") << text;
    }
};

// The good file with some change, and the findings.
class PersonalityPlayer : public ToolPlayer {
  public:
    PersonalityPlayer() {
        startup_.write(good());
        commands["chassis"] = [this](const Words& words) {
            chassis_ = words.from(1);
            find(good());
        };
        commands["set"] = [this](const Words& words) {
            find(fileOf(chassis_, changed(GOOD, words.from(1))));
        };
        commands["replace"] = [this](const Words& words) {
            const std::string line = words.from(1), text = good();
            const std::size_t by = line.find(" => "), at = text.find(line.substr(0, by));
            find(text.substr(0, at) + line.substr(by + 4) + text.substr(at + by));
        };
        // size BYTES [ZERO]: filled up with blanks or zeros
        commands["size"] = [this](const Words& words) {
            std::string text = good();
            text.resize(words.u32(1), words[2].empty() ? ' ' : '\0');
            find(text);
        };
        commands["ladder"] = [this](const Words&) {
            const Lines lines = linesIn(told("personality").out);
            say(Lines(
                std::ranges::find(lines, "Load ladder: where fans stay, by average temperature"),
                std::ranges::find_if(
                    lines, [](const auto& line) { return line.starts_with("warning"); })));
        };
    }

  private:
    std::string good() const { return fileOf(chassis_, GOOD); }
    void find(const std::string& text) {
        startup_.write(text);
        const Json report = Json::parse(told("personality --json").out);
        for (const Json& finding : report["findings"]) {
            const std::string line = finding["check"].get<std::string>() + ": ";
            sayWrapped(line + finding["text"].get<std::string>());
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

std::string keyOf(unsigned from, unsigned to) {
    return fmt::format("fanPwm{}To{}TemperatureThreshold", LOADS[from], LOADS[to]);
}

// What stands in a file, and what it leads to.
struct Model {
    const Chassis& chassis;
    Values values;
    Lines found = {};  // severity, check, and the keys and numbers its text begins with

    unsigned of(const std::string& key) const {
        const auto at = values.find(key);
        return at == values.end() ? 0 : Words(at->second).u32(0);
    }
    unsigned floor() const { return of("fanPwmLoadMinimum"); }
    unsigned threshold(unsigned from, unsigned to) const { return of(keyOf(from, to)); }
    // A threshold no average passes leads nowhere.
    bool goesUp(unsigned n) const { return n < 3 && threshold(n, n + 1) < chassis.hottest; }
    bool isBlocked(unsigned n) const { return n > 0 && floor() > LOADS[n - 1]; }
    bool goesDown(unsigned n) const { return n > 0 && !isBlocked(n) && threshold(n, n - 1) != 0; }

    // One poll: up above the threshold, else down below the other.
    unsigned next(unsigned n, unsigned degrees) const {
        if (n < 3 && degrees > threshold(n, n + 1)) {
            return n + 1;
        }
        return n > 0 && !isBlocked(n) && degrees < threshold(n, n - 1) ? n - 1 : n;
    }
    template <typename... Parts>
    void find(bool isSo, const std::string& check, const Parts&... parts) {
        found.insert(found.end(), isSo ? 1 : 0, (check + ... + text(" ", parts)));
    }
    void findKeys();
    void findCounts();
    void findSteps(unsigned n);
    void findAll();
    Lines swings(unsigned n) const;
};

void Model::findKeys() {
    for (const auto& [key, good] : GOOD) {
        const auto at = values.find(key);
        const bool isThere = at != values.end(), isNumber = isThere && !at->second.empty();
        const bool isFree = (key == "fanPwmLoadMinimum" && isNumber) ||
                            (key == "fanSpeedDivisor" && chassis.start == 25);
        const bool isZero = of(key) == 0 && !isFree;
        const auto line = std::distance(values.begin(), at) + 2;
        find(isZero && isNumber, "warning value-zero", key, line, 0);
        find(isZero && isThere && !isNumber, "unusable value-no-number", key, line, 0);
        find(isZero && !isThere, "warning key-missing", key, 0);
        find(key.find("Temperature") != key.npos && of(key) >= chassis.hottest,
             "warning temperature-unreachable", key, of(key), chassis.hottest);
    }
}

void Model::findCounts() {
    const unsigned fans = of("coolingMaxNumber"), sensors = of("temperatureSensorMaxNumber");
    find(fans > 8, "warning count-above-array coolingMaxNumber", fans, 8);
    find(sensors > 8, "warning count-above-array temperatureSensorMaxNumber", sensors, 8);
    find(std::min(fans, 8U) > chassis.fans, "warning fans-above-chassis coolingMaxNumber", fans,
         chassis.fans, 100);
    const std::string severity = chassis.sensors == 6 ? "unusable" : "warning";
    find(sensors > chassis.sensors, severity + " sensors-above-chassis temperatureSensorMaxNumber",
         sensors, chassis.sensors);
    const bool isXyratex = chassis.start == 25;
    const unsigned written = of("fanSpeedDivisor"), divisor = isXyratex ? 1 : written;
    find(isXyratex && written != 1, "note divisor-unused fanSpeedDivisor", 1);
    find(chassis.fans == 6 && divisor > 7, "warning divisor-above-chip fanSpeedDivisor", divisor,
         divisor % 8);
    const unsigned limit = of("fanFaultRpmLimit");
    if (limit != 0 && divisor != 0) {
        const unsigned fastest = std::min(65535U, chassis.tachometerClock / divisor);
        const unsigned slowest = chassis.tachometerClock / (254 * divisor);
        find(limit > fastest, "warning fan-limit-too-high fanFaultRpmLimit", limit, fastest, 100);
        find(limit <= slowest, "warning fan-limit-unreachable fanFaultRpmLimit", limit, divisor,
             slowest);
    }
}

// Temperatures that drive the fans to and fro between two steps.
Lines Model::swings(unsigned n) const {
    Lines all;
    for (unsigned degrees = 0; degrees < 300; degrees++) {
        if (next(n, degrees) == n + 1 && next(n + 1, degrees) == n) {
            all.push_back(std::to_string(degrees));
        }
    }
    return all;
}

// Between a step and the one above it.
void Model::findSteps(unsigned n) {
    const unsigned up = threshold(n, n + 1), back = threshold(n + 1, n);
    const bool isPair = goesUp(n) && goesDown(n + 1) && up != 0;
    const std::string ways = text(keyOf(n + 1, n), " ", back, " ", keyOf(n, n + 1), " ", up);
    const Lines to = swings(n);
    find(isBlocked(n + 1), "warning floor-blocks-step fanPwmLoadMinimum", floor(), LOADS[n + 1],
         LOADS[n], keyOf(n + 1, n));
    find(isPair && back == up, "warning hysteresis-none", ways);
    find(isPair && back > up, "warning hysteresis-inverted", ways, LOADS[n],
         text(LOADS[n + 1], to.empty() ? "" : " " + to.front() + " " + to.back()));
    if (n < 2) {
        const unsigned upper = threshold(n + 1, n + 2), upperBack = threshold(n + 2, n + 1);
        find(goesUp(n) && goesUp(n + 1) && upper != 0 && up >= upper,
             "warning steps-up-out-of-order", keyOf(n, n + 1), up, keyOf(n + 1, n + 2), upper,
             LOADS[n + 1]);
        find(goesDown(n + 1) && goesDown(n + 2) && back >= upperBack,
             "warning steps-down-out-of-order", keyOf(n + 1, n), back, keyOf(n + 2, n + 1),
             upperBack, LOADS[n + 1]);
    }
}

void Model::findAll() {
    findKeys();
    findCounts();
    for (unsigned n = 0; n < 3; n++) {
        findSteps(n);
    }
    const unsigned overheat = of("overheatTemperatureLimit"), last = threshold(2, 3);
    find(overheat != 0 && overheat <= last,
         "warning overheat-below-ladder overheatTemperatureLimit", overheat, last, 100);
    find(floor() > chassis.start, "warning floor-above-start fanPwmLoadMinimum", floor(),
         chassis.start);
    std::ranges::sort(found);
}

// Around the bounds that there are; some values are missing or empty.
Model anyModel(Random& random) {
    Model model{CHASSIS[random.below(3)], GOOD};
    const auto set = [&](const std::string& key, std::size_t value) {
        model.values[key] = std::to_string(value);
    };
    for (const auto& [key, value] : GOOD) {
        const std::size_t extreme =
            random.onceIn(2) ? 0 : model.chassis.hottest - 1 + random.below(3);
        set(key, random.onceIn(4) ? extreme : 26 + random.below(24));
    }
    const unsigned divisor = random.of({0U, 1U, 2U, 4U, 7U, 8U, 255U});
    const unsigned clock = model.chassis.tachometerClock / std::max(1U, divisor);
    set("fanSpeedDivisor", divisor);
    set("fanFaultRpmLimit",
        random.of({0U, 1500U, clock, clock + 1, clock / 254, clock / 254 + 1, 65535U, 65536U}));
    set("coolingMaxNumber", random.below(11));
    set("temperatureSensorMaxNumber", random.below(11));
    set("fanPwmLoadMinimum", random.of({0U, 25U, 26U, 50U, 51U, 75U, 76U}));
    for (auto& [key, value] : GOOD) {
        if (random.onceIn(40)) {
            model.values.erase(key);
        } else if (random.onceIn(40)) {
            model.values[key] = "";
        }
    }
    model.findAll();
    return model;
}

// The severity, the check and the keys and numbers of all findings.
Lines findingsOf(const Json& report) {
    Lines lines;
    static const std::regex word("[a-z]+[A-Z][A-Za-z0-9]+|[0-9]+");
    for (const Json& finding : report["findings"]) {
        const std::string text = finding["text"];
        std::string& line = lines.emplace_back(finding["severity"]);
        line += " " + finding["check"].get<std::string>();
        for (std::sregex_iterator at(text.begin(), text.end(), word), end; at != end; ++at) {
            line += " " + at->str();
        }
    }
    std::ranges::sort(lines);
    return lines;
}

}  // namespace

TEST(Personality, AnswersAsTyped) {
    scriptPlay<PersonalityPlayer>(CASES "/personality.txt");
}

TEST(Personality, DrawsWhatTheDocumentationShows) {
    const Place place;
    Startup().write(fileOf("Vitesse VSC055 Custom", GOOD));
    told("personality web/OEM/EnvPersonalityParams.xml --svg drawing.svg");
    EXPECT_EQ(contentOf("drawing.svg"), contentOf(SOURCES "/docs/personality.svg"));
}

TEST(Personality, TellsWhatTheValuesMean) {
    const Place place;
    Startup startup;
    Random random;
    for (int round = 0; round < 100; round++) {
        const Model model = anyModel(random);
        const std::string file = fileOf(model.chassis.name, model.values);
        SCOPED_TRACE(file);
        startup.write(file);
        const Told json = told("personality --json");
        const Json report = Json::parse(json.out);
        Lines found = findingsOf(report);
        for (std::size_t n = 0; n < std::min(found.size(), model.found.size()); n++) {
            found[n].resize(std::min(found[n].size(), model.found[n].size()));
        }
        EXPECT_EQ(found, model.found);
        const std::string all = fmt::format("{}", fmt::join(found, " "));
        const int code = all.find("unusable") != all.npos ? 6 : all.find("warning") != all.npos;
        EXPECT_EQ(json.code, code);
        EXPECT_EQ(report["verdict"], code == 6 ? "unusable" : code == 1 ? "warnings" : "fine");
        for (const Json& key : report["keys"]) {
            EXPECT_EQ(key["stored"], model.of(key["name"])) << key;
            EXPECT_EQ(key["written"], model.values.contains(key["name"])
                                          ? Json(model.values.at(key["name"]))
                                          : Json());
        }
        EXPECT_EQ(report["keys"].size(), GOOD.size());
    }
}
