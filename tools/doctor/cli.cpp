// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor/cli.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <climits>
#include <nlohmann/json.hpp>

#include "start/personality.h"
#include "tools/common/command_line.h"
#include "tools/common/settings.h"
#include "tools/doctor/checks.h"

namespace doctor {

namespace {

constexpr int EXIT_USAGE = 2;
constexpr int EXIT_CODES[] = {0, 0, 1, 6};  // by severity
const char* const SEVERITIES[] = {"ok", "note", "warning", "unusable"};

const char* const FOOTER = R"(
Nothing is written: no file, no register of a chip; each chip is read once. The adapter's time-out is
set to the service's 40 ms.

Exit codes: 0 fine, 1 warnings, 2 usage or an output that cannot be written, 6 the service cannot
run here.)";

struct Options {
    std::string settings = tools::SETTINGS;
    int key = 0;
    std::string user = "_esa";
    std::string bus = "/dev/enc-0";
    std::string personality;
    bool json = false;
};

void define(CLI::App& app, Options& options) {
    tools::setUp(app);
    const auto text = [&app](const char* name, std::string& value, const char* type,
                             const char* what) {
        app.add_option(name, value, what)->type_name(type);
    };
    text("--settings", options.settings, "FILE", "the unit's settings (/etc/default/esa)");
    app.add_option("KEY", options.key, "of the parameter area (the settings' ESA_SHM_KEY)")
        ->type_name("")
        ->check(CLI::Range(MPU_K_PARAMS_KEY_MIN, INT_MAX, "KEY"));
    text("--user", options.user, "NAME", "whom the service runs as (_esa)");
    text("--bus", options.bus, "PATH", "the enclosure's I2C adapter (/dev/enc-0)");
    text("--personality", options.personality, "FILE", "its file (the one under $STARTUP)");
    app.add_flag("--json", options.json, "the findings as one JSON array");
    app.footer(FOOTER);
}

int keyOf(const Options& options) {
    return options.key != 0 ? options.key : tools::settingsKey(options.settings);
}

void checkPlatform(const Options& options, const Account& account, Findings& findings) {
    const int key = keyOf(options);
    if (key < MPU_K_PARAMS_KEY_MIN) {
        findings.push_back({Severity::unusable, "parameter area",
                            fmt::format("{}: no ESA_SHM_KEY of at least {}", options.settings,
                                        MPU_K_PARAMS_KEY_MIN),
                            "set it there, or give a key"});
        return;
    }
    MPU_PARAMS_t params = {};
    if (checkArea(key, account, params, findings)) {
        checkDirectories(params, account, findings);
    }
}

Findings examine(const Options& options) {
    Findings findings;
    const Account account = accountOf(options.user, "i2c");
    if (account.groups.empty()) {
        findings.push_back({Severity::unusable, "service's user",
                            "there is no user " + options.user,
                            "install the package, or give --user"});
    } else {
        findings.push_back({Severity::fine, "service's user", options.user});
    }
    checkPlatform(options, account, findings);
    const std::string file = tools::setting(options.settings, "STARTUP") + ESA_K_PERSONALITY_FILE;
    checkPersonality(options.personality.empty() ? file : options.personality, account, findings);
    checkBus(options.bus, account, findings);
    checkClock(findings);
    return findings;
}

std::string tableText(const Findings& findings) {
    std::string text;
    for (const Finding& finding : findings) {
        text += fmt::format("{:<9} {:<25} {}\n", SEVERITIES[static_cast<int>(finding.severity)],
                            finding.subject, finding.found);
        if (!finding.cure.empty()) {
            text += fmt::format("{:<9} {:<25} -> {}\n", "", "", finding.cure);
        }
    }
    return text;
}

std::string tableJson(const Findings& findings) {
    nlohmann::ordered_json table = nlohmann::ordered_json::array();
    for (const Finding& finding : findings) {
        table.push_back({{"severity", SEVERITIES[static_cast<int>(finding.severity)]},
                         {"subject", finding.subject},
                         {"found", finding.found},
                         {"cure", finding.cure}});
    }
    return table.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
}

}  // namespace

int run(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    Options options;
    CLI::App app("Says whether this machine can run the enclosure service, and what is missing.",
                 "esa-doctor");
    define(app, options);
    return tools::run(app, {argc, argv, out, err}, {EXIT_USAGE, EXIT_USAGE}, [&] {
        const Findings findings = examine(options);
        out << (options.json ? tableJson : tableText)(findings);
        const Finding& worst = *std::ranges::max_element(findings, {}, &Finding::severity);
        return EXIT_CODES[static_cast<int>(worst.severity)];
    });
}

}  // namespace doctor
