// SPDX-License-Identifier: Apache-2.0
// enclab: a virtual enclosure and the peer processes around the unmodified daemon, on a laptop.
// `enclab` runs a lab in the foreground, `enclab ctl` sends a command to a running one, `enclab
// run` plays scenarios.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>
#include <asio/buffer.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/read_until.hpp>
#include <asio/signal_set.hpp>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>

#include "lab/scenario/run_command.h"
#include "lab/session/commands.h"
#include "lab/session/control_server.h"
#include "lab/session/lab.h"
#include "lab/web/panel.h"
#include "tools/common/command_line.h"

using enclab::Commands;
using enclab::Lab;
using enclab::LabDirectory;
using enclab::LabOptions;

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
constexpr int kExitNoLab = 3;

// All that would end the program without leave.
constexpr int kEndSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGALRM};

// A signal must not cut the building up or the clearing up short.
void maskEndSignals(int how) {
    sigset_t signals;
    sigemptyset(&signals);
    for (int number : kEndSignals) {
        sigaddset(&signals, number);
    }
    sigprocmask(how, &signals, nullptr);
}

struct Arguments {
    std::string name = "default";
    std::filesystem::path directory;
    std::string chassis;
    std::filesystem::path personality;
    std::filesystem::path daemon;
    std::filesystem::path encdev;
    std::string emulator;
    unsigned speed = 1;
    bool trace = false;
    bool noRcp = false;
    bool smbus = false;
    bool keep = false;
    bool still = false;
    std::vector<std::string> faults;
    std::vector<std::string> dumps;
    bool noPanel = false;
    int port = 0;
    std::vector<std::string> command;
    enclab::RunArguments run;

    // Command line to the words in front of the daemon.
    std::vector<std::string> launcher() const {
        std::istringstream words(emulator);
        return {std::istream_iterator<std::string>(words), {}};
    }
    std::filesystem::path labDirectory() const {
        return directory.empty() ? LabDirectory::defaultPath(name) : directory;
    }
};

LabOptions labOptions(const Arguments& arguments) {
    LabOptions options;
    options.directory = arguments.labDirectory();
    options.daemon = arguments.daemon;
    options.encdev = arguments.encdev;
    options.launcher = arguments.launcher();
    options.speed = arguments.speed;
    options.trace = arguments.trace;
    options.rcpComplete = !arguments.noRcp;
    options.plant = !arguments.still;
    for (const std::string& dump : arguments.dumps) {
        const std::size_t equals = dump.find('=');
        options.dumps.push_back({dump.substr(0, equals), dump.substr(equals + 1)});
    }
    if (arguments.smbus) {
        options.adapter = enclab::AdapterKind::kSmbusOnly;
    }
    options.chassis = arguments.chassis;
    if (!arguments.chassis.empty()) {
        options.personality = enclab::personalityOf(arguments.chassis).xml();
    }
    if (!arguments.personality.empty()) {
        std::ostringstream text;
        text << std::ifstream(arguments.personality).rdbuf();
        options.personality = text.str();
    }
    return options;
}

// The lab in the foreground: live lines, typed commands, signals, the end.
class Foreground {
  public:
    // `panel` may be null.
    Foreground(const Arguments& arguments, enclab::Panel* panel)
        : panel_(panel),
          lab_(labOptions(arguments)),
          commands_(
              lab_, [this] { stop(); }, [this](bool on) { watchBus_ = on; }),
          control_(lab_.io(), lab_.directory().controlSocket(), commands_),
          signals_(lab_.io()),
          input_(lab_.io()) {
        if (arguments.keep) {
            lab_.directory().keepLogs();
        }
        for (const std::string& rule : arguments.faults) {
            const Commands::Result result = commands_.run("fault add " + rule);
            if (!result.ok) {
                throw std::invalid_argument("--fault: " + result.text);
            }
        }
        lab_.onMessage([this](std::uint8_t from, const enclab::Message& message) {
            if (from != MMSG_E_EPID_STARTUPMP) {
                show(enclab::describe(message));
            }
            if (panel_ != nullptr) {
                panel_->message(from, message);
            }
        });
        lab_.onDaemonLine([this](const std::string& line) { tell("daemon", line); });
        lab_.onDaemonExit([this] { daemonEnded(); });
        lab_.onNote([this](const std::string& line) { tell("lab", line); });
        lab_.chassis().bus().observe([this](const enclab::BusTransfer& transfer) {
            if (watchBus_) {
                tell("bus", enclab::describe(transfer));
            }
        });
        if (panel_ != nullptr) {
            panel_->show(lab_, {[this](const std::string& line) { return doForPanel(line); },
                                [this](const std::string& chassis) {
                                    nextChassis_ = chassis;
                                    stop();
                                }});
        }
    }
    ~Foreground() {
        if (panel_ != nullptr) {
            panel_->leave();
        }
    }
    Foreground(const Foreground&) = delete;
    Foreground& operator=(const Foreground&) = delete;

    // The chassis of the lab that is to follow this one; empty: none.
    const std::string& nextChassis() const { return nextChassis_; }

    int run(const Arguments& arguments) {
        watchSignals();
        if (panel_ != nullptr) {
            tell("panel", panel_->url());
        }
        tell("lab", fmt::format("directory {}", lab_.directory().path().native()));
        if (arguments.trace) {
            tell("lab", fmt::format("trace {}/esa_01.log", lab_.directory().log().native()));
        }
        lab_.startDaemon();
        tell("lab", fmt::format("daemon process {}, key {}", lab_.daemon().pid(),
                                lab_.parameters().key()));
        readInput();
        lab_.io().run();
        maskEndSignals(SIG_BLOCK);
        if (arguments.keep) {
            tell("lab", fmt::format("logs kept in {}", lab_.directory().path().native()));
        }
        return status_;
    }

  private:
    void show(const std::string& line) {
        if (panel_ != nullptr) {
            panel_->line(lab_.time(), line);
        }
        fmt::print("[{:9.1f}] {}\n", lab_.time(), line);
        // Nobody listens any more: the same as a signal.
        if (std::fflush(stdout) != 0) {
            stop();
        }
    }
    void tell(std::string_view tag, const std::string& text) {
        show(fmt::format("{:<8}{}", tag, text));
    }

    void stop() { lab_.io().stop(); }

    void daemonEnded() {
        tell("lab", fmt::format("the daemon ended with status {}",
                                lab_.daemon().exitStatus().value_or(0)));
        status_ = kExitFailed;
        // With a panel the lab stays for who looks at it.
        if (panel_ == nullptr) {
            stop();
        }
    }

    void watchSignals() {
        for (int number : kEndSignals) {
            signals_.add(number);
        }
        maskEndSignals(SIG_UNBLOCK);
        signals_.async_wait([this](const asio::error_code&, int) { stop(); });
        // A closed output is noticed in show(); typing is noticed only in the foreground.
        std::signal(SIGPIPE, SIG_IGN);
        std::signal(SIGTTIN, SIG_IGN);
    }

    // The end of the input does not end the lab.
    void readInput() {
        if (!input_.is_open()) {
            input_.assign(dup(STDIN_FILENO));
        }
        asio::async_read_until(input_, asio::dynamic_buffer(typed_, 4096), '\n',
                               [this](const asio::error_code& error, std::size_t length) {
                                   if (error) {
                                       return;
                                   }
                                   doTyped(typed_.substr(0, length - 1));
                                   typed_.erase(0, length);
                                   readInput();
                               });
    }

    void doTyped(const std::string& line) {
        const Commands::Result result = commands_.run(line);
        std::istringstream lines(result.text);
        for (std::string text; std::getline(lines, text);) {
            tell(result.ok ? "lab" : "error", text);
        }
    }

    // What has been done is of interest here too; an answer of many lines is for who asked.
    Commands::Result doForPanel(const std::string& line) {
        Commands::Result result = commands_.run(line);
        if (result.text.find('\n') == std::string::npos) {
            tell(result.ok ? "lab" : "error", result.text);
        }
        return result;
    }

    enclab::Panel* panel_;
    Lab lab_;
    Commands commands_;
    enclab::ControlServer control_;
    asio::signal_set signals_;
    asio::posix::stream_descriptor input_;
    std::string typed_;
    bool watchBus_ = false;
    std::string nextChassis_;
    int status_ = 0;
};

// One lab, and as many more as are asked for in the panel.
int runLabs(Arguments arguments) {
    maskEndSignals(SIG_BLOCK);
    const auto panel = arguments.noPanel ? nullptr : enclab::openPanel(arguments.port);
    for (;;) {
        Foreground lab(arguments, panel.get());
        const int status = lab.run(arguments);
        if (lab.nextChassis().empty()) {
            return status;
        }
        arguments.chassis = lab.nextChassis();
        arguments.personality.clear();
        arguments.faults.clear();  // these name devices of the last one
        arguments.dumps.clear();
    }
}

int runControl(const Arguments& arguments) {
    const auto socket = arguments.labDirectory() / "ctl";
    try {
        const Commands::Result result =
            enclab::controlLab(socket, fmt::format("{}", fmt::join(arguments.command, " ")));
        if (!result.text.empty()) {
            fmt::print(result.ok ? stdout : stderr, "{}\n", result.text);
        }
        return result.ok ? 0 : kExitFailed;
    } catch (const std::system_error&) {
        fmt::print(stderr, "enclab: no lab is running in {}\n", arguments.labDirectory().native());
        return kExitNoLab;
    }
}

void addLabChoice(CLI::App& app, Arguments& arguments) {
    app.add_option("--name", arguments.name, "name of the lab")->capture_default_str();
    app.add_option("--dir", arguments.directory,
                   "directory of the lab (default: /tmp/enclab-UID/NAME)");
}

void addDaemonOptions(CLI::App& app, Arguments& arguments) {
    app.add_option("--daemon", arguments.daemon, "daemon to run (default: esa beside enclab)")
        ->check(CLI::ExistingFile);
    app.add_option("--encdev", arguments.encdev,
                   "preload library for that daemon (default: the one of this build)");
    app.add_option("--emulator", arguments.emulator,
                   "command line that runs a daemon built for another machine");
}

void addLabOptions(CLI::App& app, Arguments& arguments) {
    addLabChoice(app, arguments);
    app.add_option("--speed", arguments.speed, "the daemon's time runs N times as fast")
        ->check(CLI::Range(1u, 1000u))
        ->capture_default_str();
    app.add_flag("--trace", arguments.trace, "switch the daemon's verbose trace on");
    app.add_option(
           "--chassis", arguments.chassis,
           fmt::format("chassis to build, with a personality file that selects it (default: "
                       "what --personality selects, or {})",
                       enclab::kDefaultChassis))
        ->check(CLI::IsMember(enclab::selectableChassis()));
    app.add_option("--personality", arguments.personality, "personality file to use")
        ->check(CLI::ExistingFile);
    app.add_flag("--no-rcp", arguments.noRcp, "leave the platform's RCP-complete flag clear");
    app.add_flag("--smbus", arguments.smbus, "the enclosure's adapter can only do SMBus transfers");
    app.add_flag("--still", arguments.still,
                 "no physics: fans follow their load at once, temperatures stay as set");
    app.add_option("--fault", arguments.faults,
                   "fault rule set before the daemon starts, as of the command 'fault add' "
                   "(may be repeated)")
        ->allow_extra_args(false);
    app.add_option("--dump", arguments.dumps,
                   "CHIP=FILE: a register dump, as i2cdump prints it, for a chip to start from")
        ->allow_extra_args(false)
        ->check([](const std::string& word) {
            return word.find('=') == word.npos ? "it takes CHIP=FILE" : std::string();
        });
    addDaemonOptions(app, arguments);
    app.add_option("--port", arguments.port,
                   "port of the panel (default: the first free one from 8090 on)")
        ->check(CLI::Range(1, 65535));
    app.add_flag("--no-panel", arguments.noPanel, "no panel in the browser");
    app.add_flag("--keep", arguments.keep, "keep the trace and the alternate event log at the end");
}

int runFiles(Arguments& arguments) {
    LabOptions& lab = arguments.run.options.lab;
    lab.daemon = arguments.daemon;
    lab.encdev = arguments.encdev;
    lab.launcher = arguments.launcher();
    lab.trace = arguments.trace;
    return enclab::runScenarios(arguments.run);
}

CLI::App* addRun(CLI::App& app, Arguments& arguments) {
    CLI::App* run = app.add_subcommand("run", "play scenarios under virtual time");
    run->add_option("files", arguments.run.files, "scenario files")
        ->required()
        ->check(CLI::ExistingFile);
    run->add_option("--junit", arguments.run.junit, "write the results as JUnit XML");
    run->add_option("--chassis", arguments.run.chassis,
                    "play on this chassis only (default: on each the file is for)")
        ->check(CLI::IsMember(enclab::selectableChassis()));
    run->add_option("--seed", arguments.run.options.seed, "seed of fault rules that act by chance");
    run->add_flag("--check", arguments.run.check, "only look for mistakes; nothing is played");
    run->add_flag("--trace", arguments.trace, "show the daemon's verbose trace, too");
    run->add_flag("--bus", arguments.run.options.bus, "show the bus transfers, too");
    addDaemonOptions(*run, arguments);
    return run;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("A virtual enclosure around the Enclosure Services Adapter", "enclab");
    tools::setUp(app);
    Arguments arguments;
    addLabOptions(app, arguments);
    CLI::App* control = app.add_subcommand("ctl", "send a command to a running lab");
    addLabChoice(*control, arguments);
    control->add_option("command", arguments.command, "the command and its words")->required();
    const CLI::App* run = addRun(app, arguments);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kExitUsage;
    }
    try {
        return *control ? runControl(arguments) : *run ? runFiles(arguments) : runLabs(arguments);
    } catch (const std::exception& error) {
        fmt::print(stderr, "enclab: {}\n", error.what());
        return kExitFailed;
    }
}
