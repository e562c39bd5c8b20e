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
#include "lab/scenario/judge.h"
#include "lab/scenario/scenario.h"
#include "lab/words.h"

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
        try {
            return readAll();
        } catch (const std::invalid_argument& error) {
            throw ScenarioError(file_, line_, error.what());
        }
    }

  private:
    std::vector<Scenario> readAll() {
        const toml::table root = parse();
        const std::vector<std::string> chassis = chassisOf(root);
        std::vector<Scenario> scenarios;
        for (const std::string& name : chassis) {
            scenarios.push_back(readFor(name, root));
            scenarios.back().oneOfSeveral = chassis.size() > 1;
        }
        return scenarios;
    }

    Scenario readFor(const std::string& chassis, const toml::table& root) {
        scenario_ = {};
        scenario_.file = file_;
        scenario_.chassis = chassis;
        line_ = 1;
        allowKeys(root,
                  {"title", "chassis", "plant", "personality", "start", "allow", "end", "step"});
        scenario_.title = text(root, "title").value_or("");
        if (scenario_.title.empty()) {
            refuse("a scenario has a title");
        }
        readPersonality(root);
        words_.emplace(chassis, scenario_.personality);
        scenario_.plant = value<bool>(root, "plant", "true or false").value_or(false);
        scenario_.start = messages(root, "start");
        if (!root.contains("start")) {
            scenario_.start = words_->usualStart();
        }
        scenario_.allowed = messages(root, "allow");
        readSteps(root);
        readEnd(root);
        return std::move(scenario_);
    }

    // A mistake at line_ that lets the reading go on; what refuse() throws ends a step, or all.
    void note(const std::string& text) { scenario_.mistakes.push_back({text, line_}); }
    void at(const toml::node& node) { line_ = static_cast<int>(node.source().begin.line); }

    toml::table parse() {
        try {
            return toml::parse_file(file_.native());
        } catch (const toml::parse_error& error) {
            line_ = static_cast<int>(error.source().begin.line);
            refuse(std::string(error.description()));
        }
    }

    void allowKeys(const toml::table& table, std::initializer_list<std::string_view> known) {
        for (const auto& [key, value] : table) {
            if (std::ranges::find(known, key.str()) == known.end()) {
                line_ = static_cast<int>(key.source().begin.line);
                refuse(fmt::format("unknown key '{}'{}; known here: {}", key.str(),
                                   didYouMean(key.str(), known), fmt::join(known, ", ")));
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
            refuse(fmt::format("'{}' is {}", key, what));
        }
        return found;
    }
    std::optional<std::string> text(const toml::table& table, std::string_view key) {
        return value<std::string>(table, key, "a text");
    }
    std::optional<double> number(const toml::table& table, std::string_view key) {
        const auto found = value<double>(table, key, "a number");
        if (found && !std::isfinite(*found)) {
            refuse(fmt::format("'{}' is a number", key));
        }
        return found;
    }

    // One text or a list of texts, as they read on the chassis.
    std::vector<Text> texts(const toml::table& table, std::string_view key) {
        std::vector<Text> all;
        for (const Text& entry : plainTexts(table, key)) {
            line_ = entry.line;
            try {
                for (const std::string& text : words_->on(entry.text)) {
                    all.push_back({text, entry.line});
                }
            } catch (const std::exception& error) {
                note(error.what());
            }
        }
        return all;
    }
    // Patterns of messages.
    std::vector<std::string> messages(const toml::table& table, std::string_view key) {
        std::vector<std::string> all;
        for (const Text& entry : texts(table, key)) {
            line_ = entry.line;
            try {
                checkPattern(entry.text);
            } catch (const std::exception& error) {
                note(error.what());
            }
            all.push_back(entry.text);
        }
        return all;
    }
    std::vector<Text> plainTexts(const toml::table& table, std::string_view key) {
        const toml::node* node = table.get(key);
        if (node == nullptr) {
            return {};
        }
        const toml::array* list = node->as_array();
        if (list == nullptr) {
            const std::string one = *text(table, key);
            return {{one, line_}};
        }
        std::vector<Text> all;
        for (const toml::node& entry : *list) {
            at(entry);
            if (!entry.is_string()) {
                refuse(fmt::format("'{}' is a text or a list of texts", key));
            }
            all.push_back({*entry.value<std::string>(), line_});
        }
        return all;
    }

    // "all", one or a list.
    std::vector<std::string> chassisOf(const toml::table& root) {
        const toml::node* node = root.get("chassis");
        if (node == nullptr) {
            return {std::string(kDefaultChassis)};
        }
        std::vector<std::string> names;
        std::ranges::transform(plainTexts(root, "chassis"), std::back_inserter(names), &Text::text);
        const std::vector<std::string> known = selectableChassis();
        if (names == std::vector<std::string>{"all"}) {
            return known;
        }
        for (const std::string& name : names) {
            if (std::ranges::find(known, name) == known.end()) {
                refuse(fmt::format("no chassis '{}'{}; there is: {}", name, didYouMean(name, known),
                                   fmt::join(known, ", ")));
            }
        }
        at(*node);
        if (names.empty()) {
            refuse("'chassis' names one at least, or \"all\"");
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
            refuse("'personality' is a table of keys and numbers");
        }
        for (const auto& [key, ignored] : *node->as_table()) {
            const auto row = std::ranges::find(kPersonalityKeys, key.str(), &PersonalityKey::name);
            if (row == std::end(kPersonalityKeys)) {
                line_ = static_cast<int>(key.source().begin.line);
                refuse(fmt::format(
                    "the personality has no key '{}'{}", key.str(),
                    didYouMean(key.str(),
                               std::views::transform(kPersonalityKeys, &PersonalityKey::name))));
            }
            const auto wanted = value<std::int64_t>(*node->as_table(), key.str(), "a whole number");
            scenario_.personality.*row->value = static_cast<int>(*wanted);
        }
    }

    void readSteps(const toml::table& root) {
        const toml::node* node = root.get("step");
        const toml::array* list = node != nullptr ? node->as_array() : nullptr;
        if (list == nullptr || list->empty() || !list->is_homogeneous<toml::table>()) {
            refuse("a scenario has steps, each under [[step]]");
        }
        for (const toml::node& entry : *list) {
            try {
                readStep(*entry.as_table());
            } catch (const std::invalid_argument& error) {
                note(error.what());
            }
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
        step.expected = messages(table, "expect");
        const std::vector<Text> checks = texts(table, "check");
        const auto within = number(table, "within");
        line_ = line;
        if (!when) {
            refuse("a step says when: at = SECONDS after the daemon's start");
        }
        step.at = *when;
        if (!something) {
            refuse("a step has something to do, to expect or to check");
        }
        if (step.commands.empty() && step.expected.empty() && checks.empty()) {
            return;  // it is for other chassis
        }
        const bool waits = !step.expected.empty() || !step.commands.empty();
        step.within = within.value_or(waits ? kOnePoll : 0);
        if (step.within < 0) {
            refuse("'within' is not negative");
        }
        addRepeated(step, checks, table);
    }

    // A step with `every`, once for each of `for` or as many times as `times`.
    void addRepeated(const Step& step, const std::vector<Text>& checks, const toml::table& table) {
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
            refuse("a repeated step has 'every = SECONDS' and either 'times = N' or 'for = [...]'");
        }
        if (values.empty()) {
            values.emplace_back();
        }
        for (std::size_t n = 0; n < values.size(); ++n) {
            Step copy = step;
            copy.at = step.at + static_cast<double>(n) * every.value_or(0);
            for (Text& command : copy.commands) {
                command.text = filled(command.text, values[n]);
            }
            for (std::string& message : copy.expected) {
                message = filled(message, values[n]);
            }
            for (const Text& check : checks) {
                addCheck(copy, {filled(check.text, values[n]), check.line});
            }
            copy.name = filled(copy.name, values[n]);
            scenario_.steps.push_back(std::move(copy));
        }
        if (scenario_.steps.size() > kMostSteps) {
            refuse(fmt::format("more than {} steps", kMostSteps));
        }
    }

    void addCheck(Step& step, const Text& check) {
        line_ = check.line;
        try {
            step.checks.emplace_back(check.text, check.line);
        } catch (const std::exception& error) {
            note(error.what());
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
                    refuse("'for' is a list of numbers or texts, or \"FIRST..LAST\"");
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
            refuse("'for' is a list of numbers or texts, or \"FIRST..LAST\"");
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
            refuse(fmt::format("'end' is before the last step is over, at {}", last));
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
