// SPDX-License-Identifier: Apache-2.0
#include "lab/scenario/run_command.h"

#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "lab/scenario/run_scenario.h"

namespace enclab {

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUnusable = 2;

struct Result {
    std::string name;
    Outcome outcome;
    double seconds;  // real ones
};

volatile std::sig_atomic_t endWanted = 0;

void watchSignals() {
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
        std::signal(number, [](int) { endWanted = 1; });
    }
}

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

Result runOne(const std::filesystem::path& file, const RunArguments& arguments,
              const LabOptions& lab) {
    const auto begun = std::chrono::steady_clock::now();
    Scenario scenario = readScenario(file);
    scenario.seed = arguments.seed;
    fmt::print("== {}: {}\n", file.filename().native(), scenario.title);
    Result result{file.stem().native(), {}, 0};
    result.outcome = runScenario(scenario, lab, [](const std::string& line) {
        fmt::print("{}\n", line);
        return endWanted == 0;
    });
    const std::size_t failures = result.outcome.failures.size();
    fmt::print("== {}: {}\n\n", file.filename().native(),
               failures == 0 ? "all held" : fmt::format("{} failed", failures));
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
    return result;
}

}  // namespace

int runScenarios(const RunArguments& arguments) {
    watchSignals();
    LabOptions lab = arguments.lab;
    lab.directory = LabDirectory::defaultPath(fmt::format("run-{}", getpid()));
    std::vector<Result> results;
    bool allHeld = true;
    for (const auto& file : arguments.files) {
        try {
            results.push_back(runOne(file, arguments, lab));
        } catch (const ScenarioError& error) {
            std::fflush(stdout);
            fmt::print(stderr, "{}\n", error.what());
            return kExitUnusable;
        }
        allHeld = allHeld && results.back().outcome.failures.empty();
        if (endWanted != 0) {
            break;
        }
    }
    if (!arguments.junit.empty()) {
        writeJunit(arguments.junit, results);
    }
    return allHeld ? 0 : kExitFailed;
}

}  // namespace enclab
