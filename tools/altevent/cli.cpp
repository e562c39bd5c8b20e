// SPDX-License-Identifier: Apache-2.0
#include "tools/altevent/cli.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <sstream>

#include "tools/altevent/report.h"
#include "tools/common/command_line.h"

namespace altevent {

namespace {

enum ExitCode { OK = 0, DAMAGED = 1, USAGE = 2, UNREADABLE = 3 };

struct Options {
    std::string file = ALT_EVENT_K_FILE_NAME;
    bool json = false;
    bool hex = false;
    std::size_t last = ALT_EVENT_K_SLOTS;
};

constexpr char DESCRIPTION[] =
    "altevent - list and decode an alternate event log\n\n"
    "Prints every record of FILE, oldest first: the four records of each critical fault of\n"
    "the service (message, state, received message, last message built), bug checks of the\n"
    "trace log and fatal signals. Slots that hold no whole record are named after them.\n";

constexpr char FOOTER[] =
    "Exit status:\n"
    "  0  all slots are whole\n"
    "  1  a slot is damaged: torn (its record was not written to the end) or foreign\n"
    "  2  wrong usage\n"
    "  3  FILE cannot be read or is not an alternate event log, or the output not written\n\n"
    "Examples:\n"
    "  altevent /var/lib/esa/altevent.log --last 4\n"
    "  altevent altevent.log --json | jq '.records[].kind'";

void addOptions(CLI::App& app, Options& options) {
    tools::setUp(app);
    app.add_option("FILE", options.file, "the log")->capture_default_str();
    app.add_flag("--json", options.json, "print one JSON document instead of text");
    app.add_flag("--hex", options.hex, "add the bytes of each record");
    app.add_option("--last", options.last, "print the newest N records only")
        ->type_name("N")
        ->check(CLI::Range(1u, ALT_EVENT_K_SLOTS));
    app.footer(FOOTER);
}

int list(const Options& options, std::ostream& out) {
    Log log = readLog(options.file);
    if (log.records.size() > options.last) {
        log.records.erase(log.records.begin(),
                          log.records.end() - static_cast<std::ptrdiff_t>(options.last));
    }
    out << (options.json ? jsonReport(log, options.hex) : textReport(log, options.hex));
    return log.damaged.empty() ? OK : DAMAGED;
}

int execute(const Options& options, std::ostream& out, std::ostream& err) {
    try {
        return list(options, out);
    } catch (const std::exception& error) {
        err << "altevent: " << error.what() << '\n';
        return UNREADABLE;
    }
}

bool put(const std::string& text, std::FILE* file) {
    return std::fwrite(text.data(), 1, text.size(), file) == text.size() && std::fflush(file) == 0;
}

}  // namespace

int run(int argc, const char* const* argv, std::FILE* out, std::FILE* err) {
    CLI::App app(DESCRIPTION, "altevent");
    Options options;
    addOptions(app, options);
    std::ostringstream output, errors;
    int code = tools::run(app, {argc, argv, output, errors}, {USAGE, UNREADABLE},
                          [&] { return execute(options, output, errors); });
    if (!put(output.str(), out)) {
        errors << "altevent: cannot write: " << std::strerror(errno) << '\n';
        code = UNREADABLE;
    }
    put(errors.str(), err);
    return code;
}

}  // namespace altevent
