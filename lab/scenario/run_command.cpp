// SPDX-License-Identifier: Apache-2.0
#include "lab/scenario/run_command.h"

#include <fmt/format.h>
#include <unistd.h>
#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <optional>
#include <set>
#include <stdexcept>

namespace enclab {

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUnusable = 2;

struct Result {
    std::string name;
    Outcome outcome;
    double seconds;  // real ones
};

// What is to be played of the file. Throws ScenarioError.
std::vector<Scenario> scenariosIn(const std::filesystem::path& file, const std::string& chassis) {
    std::vector<Scenario> scenarios = readScenario(file);
    std::erase_if(scenarios, [&](const Scenario& scenario) {
        return !chassis.empty() && scenario.chassis != chassis;
    });
    return scenarios;
}

// "FILE:LINE: MISTAKE", a line each; what is wrong on several chassis, once.
std::string mistakesIn(const std::vector<Scenario>& scenarios, const RunOptions& options) {
    std::set<std::pair<int, std::string>> mistakes;
    for (const Scenario& scenario : scenarios) {
        for (const std::vector<Text>& found : {scenario.mistakes, rehearse(scenario, options)}) {
            for (const Text& mistake : found) {
                mistakes.emplace(mistake.line, mistake.text);
            }
        }
    }
    std::string text;
    for (const auto& [line, mistake] : mistakes) {
        text += fmt::format("{}:{}: {}\n", scenarios.front().file.native(), line, mistake);
    }
    return text;
}

// What is to be played of all files; none when there are mistakes, which are printed.
std::optional<std::vector<Scenario>> scenariosOf(const RunArguments& arguments,
                                                 const RunOptions& options) {
    std::vector<Scenario> all;
    std::string mistakes;
    for (const auto& file : arguments.files) {
        try {
            std::vector<Scenario> scenarios = scenariosIn(file, arguments.chassis);
            mistakes += mistakesIn(scenarios, options);
            std::ranges::move(scenarios, std::back_inserter(all));
        } catch (const ScenarioError& error) {
            mistakes += fmt::format("{}\n", error.what());
        }
    }
    fmt::print(stderr, "{}", mistakes);
    return mistakes.empty() ? std::optional(std::move(all)) : std::nullopt;
}

// "fan-pulled.toml", "fan-pulled.toml on xyratex"
std::string named(const std::filesystem::path& file, const Scenario& scenario) {
    return file.native() + (scenario.oneOfSeveral ? " on " + scenario.chassis : "");
}

// Whether one has come, between two scenarios or while one was played.
class Signals {
  public:
    Signals() : signals_(io_, SIGHUP, SIGINT, SIGTERM) {
        signals_.async_wait([this](const asio::error_code&, int) { came_ = true; });
    }
    bool came() {
        io_.poll();
        return came_;
    }

  private:
    asio::io_context io_;
    asio::signal_set signals_;
    bool came_ = false;
};

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '"':
                result += "&quot;";
                break;
            default:
                // What XML does not take.
                result += static_cast<unsigned char>(c) < ' ' && c != '\n' ? '?' : c;
        }
    }
    return result;
}

void writeJunit(const std::filesystem::path& file, const std::vector<Result>& results) {
    std::size_t failed = 0;
    std::string cases;
    for (const Result& result : results) {
        cases += fmt::format("  <testcase classname=\"scenario\" name=\"{}\" time=\"{:.3f}\">\n",
                             escaped(result.name), result.seconds);
        failed += result.outcome.failures.empty() ? 0 : 1;
        for (const std::string& failure : result.outcome.failures) {
            cases += fmt::format("    <failure message=\"{}\"/>\n", escaped(failure));
        }
        cases += "  </testcase>\n";
    }
    std::ofstream out(file);
    out << fmt::format(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<testsuite name=\"scenarios\" tests=\"{}\" failures=\"{}\">\n{}</testsuite>\n",
        results.size(), failed, cases);
    if (!out.flush()) {
        throw std::runtime_error(fmt::format("cannot write {}", file.native()));
    }
}

Result play(const Scenario& scenario, const RunOptions& options, Signals& signals) {
    const auto begun = std::chrono::steady_clock::now();
    const std::string name = named(scenario.file.filename(), scenario);
    fmt::print("== {}: {}\n", name, scenario.title);
    Result result{named(scenario.file.stem(), scenario), {}, 0};
    result.outcome = runScenario(scenario, options, [&signals](const std::string& line) {
        fmt::print("{}\n", line);
        return !signals.came();
    });
    const std::size_t failures = result.outcome.failures.size();
    fmt::print("== {}: {}\n\n", name,
               failures == 0 ? "all held" : fmt::format("{} failed", failures));
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
    return result;
}

}  // namespace

int runScenarios(const RunArguments& arguments) {
    Signals signals;
    RunOptions options = arguments.options;
    options.lab.directory = LabDirectory::defaultPath(fmt::format("run-{}", getpid()));
    std::vector<Result> results;
    const auto scenarios = scenariosOf(arguments, options);
    if (!scenarios) {
        return kExitUnusable;
    }
    if (scenarios->empty()) {
        fmt::print(stderr, "enclab: nothing here plays on {}\n", arguments.chassis);
        return kExitUnusable;
    }
    if (arguments.check) {
        fmt::print("{} scenarios, no mistake\n", scenarios->size());
        return 0;
    }
    try {
        for (const Scenario& scenario : *scenarios) {
            results.push_back(play(scenario, options, signals));
            if (signals.came()) {
                break;
            }
        }
    } catch (const ScenarioError& error) {
        std::fflush(stdout);
        fmt::print(stderr, "{}\n", error.what());
        return kExitUnusable;
    }
    if (!arguments.junit.empty()) {
        writeJunit(arguments.junit, results);
    }
    const auto held = [](const Result& result) { return result.outcome.failures.empty(); };
    return std::ranges::all_of(results, held) ? 0 : kExitFailed;
}

}  // namespace enclab
