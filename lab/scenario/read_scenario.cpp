// SPDX-License-Identifier: Apache-2.0
// Scenario files: TOML, read strictly, so that a misspelt word is an error and not a test left out.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <toml++/toml.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

#include "lab/scenario/chassis_words.h"
#include "lab/scenario/scenario.h"

namespace enclab {

namespace {

// The daemon's hardware poll comes every eleven seconds.
constexpr double kOnePoll = 11;
// After the last step, for what must not come any more.
constexpr double kQuiet = 2 * kOnePoll;
constexpr std::size_t kMostSteps = 20000;

class Reader {
  public:
    explicit Reader(const std::filesystem::path& file) : file_(file) {}

    std::vector<Scenario> read() {
        const toml::table root = parse();
        const std::vector<std::string> chassis = chassisOf(root);
        std::vector<Scenario> scenarios;
        for (const std::string& name : chassis) {
            scenarios.push_back(readFor(name, root));
            scenarios.back().oneOfSeveral = chassis.size() > 1;
        }
        return scenarios;
    }

  private:
    Scenario readFor(const std::string& chassis, const toml::table& root) {
        scenario_ = {};
        scenario_.file = file_;
        scenario_.chassis = chassis;
        line_ = 1;
        allowKeys(root,
                  {"title", "chassis", "plant", "personality", "start", "allow", "end", "step"});
        scenario_.title = text(root, "title").value_or("");
        if (scenario_.title.empty()) {
            fail("a scenario has a title");
        }
        readPersonality(root);
        words_.emplace(chassis, scenario_.personality);
        scenario_.plant = value<bool>(root, "plant", "true or false").value_or(false);
        scenario_.start = texts(root, "start");
        if (!root.contains("start")) {
            scenario_.start = words_->usualStart();
        }
        scenario_.allowed = texts(root, "allow");
        readSteps(root);
        readEnd(root);
        return std::move(scenario_);
    }

    [[noreturn]] void fail(const std::string& text) const {
        throw ScenarioError(file_, line_, text);
    }
    void at(const toml::node& node) { line_ = static_cast<int>(node.source().begin.line); }

    toml::table parse() {
        try {
            return toml::parse_file(file_.native());
        } catch (const toml::parse_error& error) {
            line_ = static_cast<int>(error.source().begin.line);
            fail(std::string(error.description()));
        }
    }

    void allowKeys(const toml::table& table, std::initializer_list<std::string_view> known) {
        for (const auto& [key, value] : table) {
            if (std::ranges::find(known, key.str()) == known.end()) {
                line_ = static_cast<int>(key.source().begin.line);
                fail(fmt::format("unknown key '{}'; known here: {}", key.str(),
                                 fmt::join(known, ", ")));
            }
        }
    }

    template <typename Value>
    std::optional<Value> value(const toml::table& table, std::string_view key, const char* what) {
        const toml::node* node = table.get(key);
        if (node == nullptr) {
            return std::nullopt;
        }
        at(*node);
        const auto found = node->value<Value>();
        if (!found) {
            fail(fmt::format("'{}' is {}", key, what));
        }
        return found;
    }
    std::optional<std::string> text(const toml::table& table, std::string_view key) {
        return value<std::string>(table, key, "a text");
    }
    std::optional<double> number(const toml::table& table, std::string_view key) {
        const auto found = value<double>(table, key, "a number");
        if (found && !std::isfinite(*found)) {
            fail(fmt::format("'{}' is a number", key));
        }
        return found;
    }

    // One text or a list of texts, as they read on the chassis.
    std::vector<std::string> texts(const toml::table& table, std::string_view key) {
        std::vector<std::string> all;
        for (const std::string& entry : plainTexts(table, key)) {
            try {
                const std::vector<std::string> these = words_->on(entry);
                all.insert(all.end(), these.begin(), these.end());
            } catch (const std::exception& error) {
                fail(error.what());
            }
        }
        return all;
    }
    std::vector<std::string> plainTexts(const toml::table& table, std::string_view key) {
        const toml::node* node = table.get(key);
        if (node == nullptr) {
            return {};
        }
        const toml::array* list = node->as_array();
        if (list == nullptr) {
            return {*text(table, key)};
        }
        std::vector<std::string> all;
        for (const toml::node& entry : *list) {
            at(entry);
            if (!entry.is_string()) {
                fail(fmt::format("'{}' is a text or a list of texts", key));
            }
            all.push_back(*entry.value<std::string>());
        }
        return all;
    }

    // "all", one or a list.
    std::vector<std::string> chassisOf(const toml::table& root) {
        const toml::node* node = root.get("chassis");
        if (node == nullptr) {
            return {std::string(kDefaultChassis)};
        }
        const std::vector<std::string> names = plainTexts(root, "chassis");
        const std::vector<std::string> known = selectableChassis();
        if (names == std::vector<std::string>{"all"}) {
            return known;
        }
        for (const std::string& name : names) {
            if (std::ranges::find(known, name) == known.end()) {
                fail(fmt::format("no chassis '{}'; there is: {}", name, fmt::join(known, ", ")));
            }
        }
        at(*node);
        if (names.empty()) {
            fail("'chassis' names one at least, or \"all\"");
        }
        return names;
    }

    void readPersonality(const toml::table& root) {
        scenario_.personality = personalityOf(scenario_.chassis);
        const toml::node* node = root.get("personality");
        if (node == nullptr) {
            return;
        }
        at(*node);
        if (!node->is_table()) {
            fail("'personality' is a table of keys and numbers");
        }
        for (const auto& [key, ignored] : *node->as_table()) {
            const auto row = std::ranges::find(kPersonalityKeys, key.str(), &PersonalityKey::name);
            if (row == std::end(kPersonalityKeys)) {
                line_ = static_cast<int>(key.source().begin.line);
                fail(fmt::format("the personality has no key '{}'", key.str()));
            }
            const auto wanted = value<std::int64_t>(*node->as_table(), key.str(), "a whole number");
            scenario_.personality.*row->value = static_cast<int>(*wanted);
        }
    }

    void readSteps(const toml::table& root) {
        const toml::node* node = root.get("step");
        const toml::array* list = node != nullptr ? node->as_array() : nullptr;
        if (list == nullptr || list->empty() || !list->is_homogeneous<toml::table>()) {
            fail("a scenario has steps, each under [[step]]");
        }
        for (const toml::node& entry : *list) {
            readStep(*entry.as_table());
        }
        std::ranges::stable_sort(scenario_.steps, {}, &Step::at);
    }

    void readStep(const toml::table& table) {
        at(table);
        const int line = line_;
        allowKeys(table,
                  {"at", "name", "do", "expect", "check", "within", "every", "times", "for"});
        Step step;
        step.line = line;
        const bool something =
            table.contains("do") || table.contains("expect") || table.contains("check");
        const auto when = number(table, "at");
        step.name = text(table, "name").value_or("");
        step.commands = texts(table, "do");
        step.expected = texts(table, "expect");
        const std::vector<std::string> checks = texts(table, "check");
        const auto within = number(table, "within");
        line_ = line;
        if (!when) {
            fail("a step says when: at = SECONDS after the daemon's start");
        }
        step.at = *when;
        if (!something) {
            fail("a step has something to do, to expect or to check");
        }
        if (step.commands.empty() && step.expected.empty() && checks.empty()) {
            return;  // it is for other chassis
        }
        const bool waits = !step.expected.empty() || !step.commands.empty();
        step.within = within.value_or(waits ? kOnePoll : 0);
        if (step.within < 0) {
            fail("'within' is not negative");
        }
        addRepeated(step, checks, table);
    }

    // A step with `every`, once for each of `for` or as many times as `times`.
    void addRepeated(const Step& step, const std::vector<std::string>& checks,
                     const toml::table& table) {
        const auto every = number(table, "every");
        const auto times = value<std::int64_t>(table, "times", "a whole number");
        std::vector<std::string> values = valuesOf(table);
        if (times && values.empty()) {
            values.assign(static_cast<std::size_t>(std::clamp<std::int64_t>(*times, 0, kMostSteps)),
                          "");
        }
        line_ = step.line;
        if (every.has_value() != !values.empty() || every.value_or(0) < 0 ||
            (times && table.contains("for"))) {
            fail("a repeated step has 'every = SECONDS' and either 'times = N' or 'for = [...]'");
        }
        if (values.empty()) {
            values.emplace_back();
        }
        for (std::size_t n = 0; n < values.size(); ++n) {
            Step copy = step;
            copy.at = step.at + static_cast<double>(n) * every.value_or(0);
            for (auto* lines : {&copy.commands, &copy.expected}) {
                for (std::string& entry : *lines) {
                    entry = filled(entry, values[n]);
                }
            }
            for (const std::string& check : checks) {
                addCheck(copy, filled(check, values[n]));
            }
            copy.name = filled(copy.name, values[n]);
            scenario_.steps.push_back(std::move(copy));
        }
        if (scenario_.steps.size() > kMostSteps) {
            fail(fmt::format("more than {} steps", kMostSteps));
        }
    }

    void addCheck(Step& step, const std::string& text) {
        try {
            step.checks.emplace_back(text);
        } catch (const std::exception& error) {
            fail(error.what());
        }
    }

    // "for": a list of numbers and texts, or "FIRST..LAST".
    std::vector<std::string> valuesOf(const toml::table& table) {
        const toml::node* node = table.get("for");
        if (node == nullptr) {
            return {};
        }
        at(*node);
        std::vector<std::string> all;
        if (const toml::array* list = node->as_array()) {
            for (const toml::node& entry : *list) {
                const auto word = entry.value<std::string>();
                const auto figure = entry.value<double>();
                if (!word && !figure) {
                    fail("'for' is a list of numbers or texts, or \"FIRST..LAST\"");
                }
                all.push_back(word ? *word : fmt::format("{}", *figure));
            }
            return all;
        }
        int first = 0;
        int last = -1;
        int used = 0;
        const std::string range = node->value<std::string>().value_or("");
        if (std::sscanf(range.c_str(), "%d..%d%n", &first, &last, &used) != 2 ||
            static_cast<std::size_t>(used) != range.size() || last < first ||
            last - first >= static_cast<int>(kMostSteps)) {
            fail("'for' is a list of numbers or texts, or \"FIRST..LAST\"");
        }
        for (int n = first; n <= last; ++n) {
            all.push_back(std::to_string(n));
        }
        return all;
    }

    static std::string filled(std::string text, const std::string& value) {
        for (std::size_t place = text.find("{}"); place != text.npos;
             place = text.find("{}", place + value.size())) {
            text.replace(place, 2, value);
        }
        return text;
    }

    void readEnd(const toml::table& root) {
        double last = 0;
        for (const Step& step : scenario_.steps) {
            last = std::max(last, step.at + step.within);
        }
        scenario_.end = number(root, "end").value_or(last + kQuiet);
        if (scenario_.end < last) {
            fail(fmt::format("'end' is before the last step is over, at {}", last));
        }
    }

    std::filesystem::path file_;
    Scenario scenario_;
    std::optional<ChassisWords> words_;
    int line_ = 1;
};

}  // namespace

ScenarioError::ScenarioError(const std::filesystem::path& file, int line, const std::string& text)
    : std::runtime_error(fmt::format("{}:{}: {}", file.native(), line, text)) {}

std::vector<Scenario> readScenario(const std::filesystem::path& file) {
    return Reader(file).read();
}

}  // namespace enclab
