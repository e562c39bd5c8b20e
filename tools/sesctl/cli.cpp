// SPDX-License-Identifier: Apache-2.0
#include "tools/sesctl/cli.h"

#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <climits>
#include <functional>
#include <numeric>
#include <thread>

#include "mpu_gbl.h"
#include "tools/common/command_line.h"
#include "tools/sesctl/control_page.h"
#include "tools/sesctl/enclosure.h"
#include "tools/sesctl/failure.h"
#include "tools/sesctl/find.h"
#include "tools/sesctl/render.h"
#include "tools/sesctl/standard.h"

namespace sesctl {

namespace {

constexpr double TIMEOUT_DEFAULT_S = 5;
const CLI::Range SECONDS(0.001, 3600.0);

const char* const FOOTER = R"(
Told nothing of where, it looks at $ESA_MMSG_DIR, then for a board by the key of /etc/default/esa,
then for the lab called default.

Elements are numbered from 0. Replies leave out the last byte of a page; sesctl gives it as 0. It
holds the flags of the last audible alarm, which are therefore shown as not told.

The output of "status --standard" holds both pages in the bit order of the SES standard, which is
not that of the service; Debian's sg_ses decodes them:
  sesctl status --standard | sg_ses --status --page=cf --inhex=-    configuration
  sesctl status --standard | sg_ses --status --page=es --inhex=-    enclosure status

Exit codes: 0 ok, 1 status shows a fault, 2 usage, 3 message switch not reachable,
4 malformed reply, 5 CHECK CONDITION, 7 no reply in time, 8 output that cannot be written.)";

// The command line.
struct Options {
    Whereabouts where;
    double timeout = TIMEOUT_DEFAULT_S;
    bool json = false;
    bool hex = false;
    bool standard = false;
    bool prometheus = false;
    double watch = 0;  // seconds between two looks; 0: one look
    std::string action;
    std::vector<unsigned> numbers;
    bool force = false;
};

// What every command works with.
struct Session {
    const Options& options;
    Client& client;
    std::ostream& out;
};
using Command = ExitCode (*)(Session&);

// The service keeps no more elements than its arrays hold, whatever the counts say.
void checkNumber(unsigned number, unsigned count, int arraySize, const char* what) {
    const unsigned usable = std::min(count, static_cast<unsigned>(arraySize));
    if (usable == 0) {
        throw Failure(ExitCode::usage, fmt::format("this enclosure has no {}", what));
    }
    if (number >= usable) {
        throw Failure(ExitCode::usage,
                      fmt::format("no {} {}: they are numbered 0 to {}", what, number, usable - 1));
    }
}

void checkSlots(const std::vector<unsigned>& slots, const Enclosure& enclosure) {
    for (const unsigned slot : slots) {
        checkNumber(slot, enclosure.configuration.counts[devices], SES_K_DEVICES_MAX, "slot");
    }
}

ExitCode showConfiguration(Session& session) {
    const Bytes page = readPage(session.client, SES_K_CONFIGURATION_DIAGNOSTIC_PAGE);
    session.out << configurationTable(decodeConfiguration(page));
    return ExitCode::ok;
}

std::string pagesText(View configurationPage, View statusPage, const char* order) {
    return pageHex(configurationPage, fmt::format("configuration page, {}", order)) +
           pageHex(statusPage, fmt::format("enclosure status page, {}", order));
}

std::string statusText(const Options& options, const Enclosure& enclosure) {
    if (options.hex) {
        return pagesText(enclosure.configurationPage, enclosure.statusPage,
                         "its last byte completed with 00");
    }
    if (options.standard) {
        return pagesText(standardConfiguration(enclosure.configurationPage),
                         standardStatus(enclosure.statusPage, enclosure.configuration),
                         "bits in the order of the standard");
    }
    if (options.prometheus) {
        return statusMetrics(&enclosure.status);
    }
    return options.json ? statusJson(enclosure.status) : statusTable(enclosure.status);
}

ExitCode showStatus(Session& session) {
    for (;;) {
        const Enclosure enclosure = readEnclosure(session.client);
        // On a terminal each look takes the place of the last one.
        const bool redraws = session.options.watch > 0 && isatty(STDOUT_FILENO) != 0;
        session.out << (redraws ? "\x1b[H\x1b[2J" : "") << statusText(session.options, enclosure)
                    << std::flush;
        if (session.options.prometheus) {
            return ExitCode::ok;  // the metrics tell
        }
        if (session.options.watch == 0 || !session.out) {
            return faultPresent(enclosure.status) ? ExitCode::faultPresent : ExitCode::ok;
        }
        std::this_thread::sleep_for(std::chrono::duration<double>(session.options.watch));
        session.out << '\n';
    }
}

// Reads what is requested now, lets `change` alter it and sends it back.
void control(Session& session, const std::function<void(ControlPage&, const Enclosure&)>& change) {
    const Enclosure enclosure = readEnclosure(session.client);
    ControlPage page(enclosure.configuration, enclosure.status);
    change(page, enclosure);
    callGood(session.client, sendDiagnostic(page.bytes()));
}

ExitCode showLeds(Session& session) {
    const Enclosure enclosure = readEnclosure(session.client);
    std::vector<unsigned> slots = session.options.numbers;
    if (slots.empty()) {
        slots.resize(enclosure.status.devices.size());
        std::iota(slots.begin(), slots.end(), 0);
    } else {
        checkSlots(slots, enclosure);
    }
    session.out << driveLedTable(enclosure.status, slots);
    return ExitCode::ok;
}

ExitCode led(Session& session) {
    const Options& options = session.options;
    if (options.action == "show") {
        return showLeds(session);
    }
    control(session, [&options](ControlPage& page, const Enclosure& enclosure) {
        checkSlots(options.numbers, enclosure);
        for (const unsigned slot : options.numbers) {
            page.driveFault(slot, options.action == "on");
        }
    });
    return ExitCode::ok;
}

ExitCode fan(Session& session) {
    const Options& options = session.options;
    control(session, [&options](ControlPage& page, const Enclosure& enclosure) {
        const unsigned number = options.numbers.front();
        checkNumber(number, enclosure.configuration.counts[fans], SES_K_FANS_MAX, "fan");
        if (options.action == "off" && !options.force) {
            checkFanOff(number, enclosure.configuration);
        }
        page.fan(number, options.action == "on");
    });
    return ExitCode::ok;
}

ExitCode powerSupply(Session& session) {
    const Options& options = session.options;
    control(session, [&options](ControlPage& page, const Enclosure& enclosure) {
        const unsigned number = options.numbers.front();
        checkNumber(number, enclosure.configuration.counts[powerSupplies], SES_K_POWER_SUPPLIES_MAX,
                    "power supply");
        page.powerSupplyFault(number, options.action == "fault");
    });
    return ExitCode::ok;
}

ExitCode alarm(Session& session) {
    const std::string& action = session.options.action;
    const AlarmRequest request = action == "mute"   ? AlarmRequest::mute
                                 : action == "info" ? AlarmRequest::information
                                                    : AlarmRequest::critical;
    control(session, [request](ControlPage& page, const Enclosure& enclosure) {
        checkNumber(0, enclosure.configuration.counts[alarms], SES_K_ALARMS_MAX, "audible alarm");
        page.alarm(0, request);
    });
    return ExitCode::ok;
}

void defineGeneral(CLI::App& app, Options& options) {
    app.require_subcommand(1);
    app.fallthrough();
    tools::setUp(app);
    auto* const name =
        app.add_option("--name", options.where.name, "name of a lab")->type_name("NAME");
    auto* const directory = app.add_option("--dir", options.where.directory, "directory of a lab")
                                ->type_name("DIR")
                                ->excludes(name);
    app.add_option("--key", options.where.key, "System V key of the board's parameter area")
        ->type_name("KEY")
        ->check(CLI::Range(MPU_K_PARAMS_KEY_MIN, INT_MAX, "KEY"))
        ->excludes(name)
        ->excludes(directory);
    app.add_option("--settings", options.where.settings,
                   fmt::format("where the service's key is looked up ({})", tools::SETTINGS))
        ->type_name("FILE");
    app.add_flag("--force", options.force, "\"fan off\" even where nothing turns it on again");
    app.add_option("--timeout", options.timeout, "seconds to wait for each reply (default 5)")
        ->type_name("S")
        ->check(SECONDS);
}

void defineStatus(CLI::App& app, Options& options) {
    auto* const status = app.add_subcommand("status", "state of every element");
    CLI::Option* const forms[] = {
        status->add_flag("--json", options.json, "as one JSON object"),
        status->add_flag("--hex", options.hex, "both pages as they come"),
        status->add_flag("--standard", options.standard, "both pages as sg_ses reads them"),
        status->add_flag("--prometheus", options.prometheus, "as metrics for a Prometheus server"),
        status->add_option("--watch", options.watch, "again every S seconds, until stopped")
            ->type_name("S")
            ->check(SECONDS)};
    for (CLI::Option* const form : forms) {
        for (CLI::Option* const other : forms) {
            if (form != other) {
                form->excludes(other);
            }
        }
    }
}

CLI::App* defineAction(CLI::App& app, Options& options, const char* name, const char* description,
                       const std::vector<std::string>& actions) {
    auto* const command = app.add_subcommand(name, description);
    command->add_option("ACTION", options.action, "what to do")
        ->type_name("")
        ->required()
        ->check(CLI::IsMember(actions));
    return command;
}

void defineNumber(CLI::App& command, Options& options) {
    command.add_option("N", options.numbers, "which one")->type_name("")->required()->expected(1);
}

void defineCommands(CLI::App& app, Options& options) {
    defineGeneral(app, options);
    app.add_subcommand("config", "what the enclosure consists of");
    defineStatus(app, options);
    auto* const leds = defineAction(app, options, "led", "drive fault LEDs", {"on", "off", "show"});
    leds->add_option("SLOT", options.numbers, "slots; show without any shows all")->type_name("");
    leds->callback([&options] {
        if (options.action != "show" && options.numbers.empty()) {
            throw CLI::ValidationError("led", "name at least one slot");
        }
    });
    defineNumber(*defineAction(app, options, "fan", "fans to full speed or off", {"on", "off"}),
                 options);
    defineAction(app, options, "alarm", "audible alarm", {"mute", "info", "critical"});
    defineNumber(
        *defineAction(app, options, "psu", "fault indication of a power supply", {"fault", "ok"}),
        options);
    app.footer(FOOTER);  // last, for subcommands would inherit it
}

const std::pair<const char*, Command> COMMANDS[] = {
    {"config", showConfiguration},
    {"status", showStatus},
    {"led", led},
    {"fan", fan},
    {"alarm", alarm},
    {"psu", powerSupply},
};

Command chosen(const CLI::App& app) {
    const std::string name = app.get_subcommands().front()->get_name();
    return std::find_if(std::begin(COMMANDS), std::end(COMMANDS),
                        [&name](const auto& entry) { return entry.first == name; })
        ->second;
}

ExitCode execute(const CLI::App& app, const Options& options, std::ostream& out,
                 std::ostream& err) {
    try {
        const std::chrono::duration<double> timeout(options.timeout);
        Client client(switchSocket(options.where),
                      std::chrono::ceil<std::chrono::milliseconds>(timeout));
        Session session{options, client, out};
        return chosen(app)(session);
    } catch (const Failure& failure) {
        err << "sesctl: " << failure.what() << '\n';
        if (options.prometheus) {  // that there is no answer is what the metrics tell then
            out << statusMetrics(nullptr);
            return ExitCode::ok;
        }
        return failure.code();
    }
}

}  // namespace

int run(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    Options options;
    CLI::App app("Shows and controls the enclosure through SES commands.", "sesctl");
    defineCommands(app, options);
    const tools::ErrorCodes codes{static_cast<int>(ExitCode::usage),
                                  static_cast<int>(ExitCode::unwritten)};
    return tools::run(app, {argc, argv, out, err}, codes,
                      [&] { return static_cast<int>(execute(app, options, out, err)); });
}

}  // namespace sesctl
