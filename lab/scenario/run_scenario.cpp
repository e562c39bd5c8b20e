// SPDX-License-Identifier: Apache-2.0
#include "lab/scenario/run_scenario.h"

#include <fmt/format.h>

#include <asio/signal_set.hpp>

#include <algorithm>
#include <cmath>
#include <csignal>

#include "lab/scenario/judge.h"
#include "lab/scenario/log_tail.h"
#include "lab/session/commands.h"

namespace enclab {

namespace {

constexpr int kStart = -1;           // owner of the start's expectations
constexpr double kStartWithin = 30;  // seconds; the daemon begins with a sleep of ten
// A window is over after what else happens in that moment.
constexpr double kMoment = 1e-6;

LabOptions optionsFor(const Scenario& scenario, LabOptions options) {
    options.virtualTime = true;
    options.chassis = scenario.chassis;
    options.plant = scenario.plant;
    options.personality = scenario.personality.xml();
    return options;
}

class Run {
  public:
    Run(const Scenario& scenario, const RunOptions& options,
        const std::function<bool(const std::string&)>& tell)
        : scenario_(scenario),
          tell_(tell),
          lab_(optionsFor(scenario, options.lab)),
          signals_(lab_.virtualTime()->workIo(), SIGHUP, SIGINT, SIGTERM),
          commands_(
              lab_, [] {}, [this](bool on) { bus_ = on; }),
          log_(lab_.directory().log() / "esa_01.log"),
          judge_(scenario.allowed),
          before_(std::max(0.0, -scenario.steps.front().at)),
          bus_(options.bus) {
        if (options.seed) {
            commands_.setSeed(*options.seed);
        }
        signals_.async_wait([this](const asio::error_code& error, int) {
            if (!error) {
                goesOn_ = false;
                lab_.virtualTime()->stop();
            }
        });
        lab_.chassis().bus().observe([this](const BusTransfer& transfer) {
            if (bus_) {
                show("bus", describe(transfer));
            }
        });
    }

    Outcome run() {
        lab_.onMessage([this](std::uint8_t from, const Message& message) { see(from, message); });
        lab_.onDaemonStart([this] { daemonStarted(); });
        lab_.onDaemonExit([this] { daemonEnded(); });
        lab_.onNote([this](const std::string& line) { show("lab", line); });
        at(0, [this] { doCommand({"daemon start", 1}); });
        for (std::size_t n = 0; n < scenario_.steps.size(); ++n) {
            const Step& step = scenario_.steps[n];
            at(step.at, [this, n] { begin(n); });
            at(step.at + step.within + kMoment, [this, n] { finish(n); });
        }
        const auto over = [this] {
            showLog();
            return !goesOn_;
        };
        const long end = std::lround((before_ + scenario_.end) * 1000);
        lab_.runUntil(over, std::chrono::milliseconds(end + 1));  // the last moment is in it
        if (!goesOn_) {
            giveUp();
        }
        outcome_.daemonOutput.assign(lab_.daemonOutput().begin(), lab_.daemonOutput().end());
        return std::move(outcome_);
    }

  private:
    double time() const { return lab_.time() - before_; }
    void at(double when, std::function<void()> action) {
        lab_.schedule().after(Schedule::Seconds(before_ + when - lab_.time()), std::move(action));
    }

    void put(const std::string& line) {
        showLog();
        goesOn_ = tell_(fmt::format("[{:10.1f}] {}", time(), line)) && goesOn_;
    }
    // What the daemon has written comes before what has come of it.
    void showLog() {
        if (!lab_.options().trace) {
            return;
        }
        const std::string& directory = lab_.directory().path().native();
        for (std::string line : log_.lines()) {
            if (const std::size_t place = line.find(directory); place != line.npos) {
                line.replace(place, directory.size(), "DIRECTORY");
            }
            tell_(fmt::format("[{:10.1f}] {:<8}{}", time(), "trace", line));
        }
    }
    void show(std::string_view tag, const std::string& text) {
        put(fmt::format("{:<8}{}", tag, text));
    }
    void fail(int line, const std::string& text) {
        show("FAILED", text);
        outcome_.failures.push_back(line > 0
                                        ? fmt::format("at {:.1f}, line {}: {}", time(), line, text)
                                        : fmt::format("at {:.1f}: {}", time(), text));
    }

    void see(std::uint8_t from, const Message& message) {
        if (from == MMSG_E_EPID_STARTUPMP) {
            return;
        }
        const std::string line = describe(message);
        put(line);
        if (from == MMSG_E_EPID_ES_ADAPTERMP && !judge_.take(line) &&
            !lab_.sesInitiator().awaits(message)) {
            fail(0, "not expected: " + line);
        }
    }

    void giveUp() {
        fail(0, "ended before its time");
        if (lab_.daemonRunning()) {
            lab_.endDaemon(SIGKILL);
        }
    }

    void daemonStarted() {
        log_.restart();
        judge_.close(kStart);
        judge_.expect(kStart, scenario_.start);
        at(time() + kStartWithin, [this, started = ++starts_] {
            if (started == starts_) {
                close(kStart, 0);
            }
        });
    }

    void daemonEnded() {
        fail(0, fmt::format("the daemon ended with status {}",
                            lab_.daemon().exitStatus().value_or(0)));
    }

    void doCommand(const Text& command) {
        constexpr std::size_t kShown = 100;
        const std::string& text = command.text;
        show("do", text.size() > kShown ? text.substr(0, kShown) + "..." : text);
        const Commands::Result result = commands_.run(text);
        if (!result.ok) {
            throw ScenarioError(scenario_.file, command.line, result.text);
        }
    }

    void begin(std::size_t n) {
        const Step& step = scenario_.steps[n];
        // A repeated step's once.
        if (!step.name.empty() && step.name != lastName_) {
            show("--", step.name);
            lastName_ = step.name;
        }
        judge_.expect(static_cast<int>(n), step.expected);
        for (const Text& command : step.commands) {
            doCommand(command);
        }
    }

    void finish(std::size_t n) {
        const Step& step = scenario_.steps[n];
        close(static_cast<int>(n), step.line);
        for (const Check& check : step.checks) {
            checkNow(check);
        }
    }

    void close(int owner, int line) {
        for (const std::string& missed : judge_.close(owner)) {
            fail(line, missed);
        }
    }

    void checkNow(const Check& check) {
        std::optional<std::string> instead;
        try {
            instead = check.instead(lab_);
        } catch (const std::exception& error) {
            throw ScenarioError(scenario_.file, check.line(), error.what());
        }
        if (instead) {
            fail(check.line(), fmt::format("{}: it is {}", check.text(), *instead));
        } else {
            show("holds", check.text());
        }
    }

    const Scenario& scenario_;
    const std::function<bool(const std::string&)>& tell_;
    Outcome outcome_;
    Lab lab_;
    asio::signal_set signals_;
    Commands commands_;
    LogTail log_;
    Judge judge_;
    double before_;  // lab time before the daemon starts
    int starts_ = 0;
    std::string lastName_;
    bool bus_;  // transfers are shown
    bool goesOn_ = true;
};

}  // namespace

std::vector<Text> rehearse(const Scenario& scenario, const RunOptions& options) {
    std::vector<Text> mistakes;
    Lab lab(optionsFor(scenario, options.lab));
    Commands commands(
        lab, [] {}, [](bool) {});
    commands.rehearse();
    for (const Step& step : scenario.steps) {
        for (const Text& command : step.commands) {
            if (const Commands::Result result = commands.run(command.text); !result.ok) {
                mistakes.push_back({result.text, command.line});
            }
        }
        for (const Check& check : step.checks) {
            try {
                check.instead(lab);
            } catch (const std::exception& error) {
                mistakes.push_back({error.what(), check.line()});
            }
        }
    }
    return mistakes;
}

Outcome runScenario(const Scenario& scenario, const RunOptions& options,
                    const std::function<bool(const std::string&)>& tell) {
    return Run(scenario, options, tell).run();
}

}  // namespace enclab
