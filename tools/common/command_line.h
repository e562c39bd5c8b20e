// SPDX-License-Identifier: Apache-2.0
// What the command lines of all tools have in common.
#pragma once

#include <CLI/CLI.hpp>
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

}  // namespace tools
