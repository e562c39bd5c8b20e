// SPDX-License-Identifier: Apache-2.0
#include "tools/personality/cli.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <fstream>

#include "start/personality.h"
#include "tools/common/command_line.h"
#include "tools/personality/render.h"

namespace personality {

namespace {

constexpr int EXIT_USAGE = 2;
constexpr int EXIT_CODES[] = {0, 1, 6};  // by verdict

const char* const FOOTER = R"(
Without FILE the service's own is taken: $STARTUP/../web/OEM/EnvPersonalityParams.xml. Without a
chassis that has fans there is no ladder and nothing is drawn.

Exit codes: 0 fine, 1 warnings, 2 usage or an output that cannot be written, 6 unusable: the file
cannot be read, names no chassis, has a key without a number of its own, or more sensors than the
chassis can start up with.)";

struct Options {
    std::string file;
    std::string svg;
    bool json = false;
};

std::string serviceFile() {
    const char* const startup = std::getenv("STARTUP");
    return std::string(startup != nullptr ? startup : "") + ESA_K_PERSONALITY_FILE;
}

void define(CLI::App& app, Options& options) {
    tools::setUp(app);
    app.add_option("FILE", options.file, "personality file")->type_name("");
    app.add_flag("--json", options.json, "the report as one JSON object");
    app.add_option("--svg", options.svg, "draw the load ladder into this file")
        ->type_name("DRAWING");
    app.footer(FOOTER);
}

bool drawingWrite(const std::string& path, const Report& report, const Ladder& ladder) {
    std::ofstream file(path);
    file << ladderSvg(ladder, "Load ladder, " + report.names.front().name);
    return static_cast<bool>(file.flush());
}

// The exit code.
int execute(const Options& options, std::ostream& out, std::ostream& err) {
    const Report report = inspect(options.file.empty() ? serviceFile() : options.file);
    const Ladder ladder = personality::ladder();
    out << (options.json ? reportJson(report, ladder) : reportText(report, ladder));
    const bool isDrawn = !options.svg.empty() && ladder.startLoad != 0;
    if (isDrawn && !drawingWrite(options.svg, report, ladder)) {
        err << fmt::format("personality: {} cannot be written\n", options.svg);
        return EXIT_USAGE;
    }
    return EXIT_CODES[static_cast<int>(verdict(report))];
}

}  // namespace

int run(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    Options options;
    CLI::App app("Checks an enclosure personality file as the service would read it.",
                 "personality");
    define(app, options);
    return tools::run(app, {argc, argv, out, err}, {EXIT_USAGE, EXIT_USAGE},
                      [&] { return execute(options, out, err); });
}

}  // namespace personality
