// SPDX-License-Identifier: Apache-2.0
// What the command lines of all tools have in common.
#pragma once

#include <CLI/CLI.hpp>
#include <ostream>
#include <string>

namespace tools {

// One line per error, and --version. `app` has its name.
inline void setUp(CLI::App& app) {
    const std::string name = app.get_name();
    app.failure_message([name](const CLI::App*, const CLI::Error& error) {
        return name + ": " + error.what() + " (see --help)\n";
    });
    app.set_version_flag("--version", name + " " ESA_VERSION, "show the version and exit");
}

struct CommandLine {
    int argc;
    const char* const* argv;
    std::ostream& out;
    std::ostream& err;
};

struct ErrorCodes {
    int usage;
    int unwritten;  // the output could not be written
};

// Reads a command line into what `app` has bound and does `work`, which returns the exit code. What
// is not written to the end, be it the help, is an error: an empty file is easily taken for "all
// well".
template <typename Work>
int run(CLI::App& app, const CommandLine& line, const ErrorCodes& codes, Work work) {
    int code = 0;
    try {
        app.parse(line.argc, line.argv);
        code = work();
    } catch (const CLI::ParseError& error) {
        code = app.exit(error, line.out, line.err) == 0 ? 0 : codes.usage;
    }
    if (!(line.out << std::flush)) {
        line.err << app.get_name() << ": the output cannot be written\n";
        return codes.unwritten;
    }
    return code;
}

}  // namespace tools
