// SPDX-License-Identifier: Apache-2.0
// Register dumps of the lab's chips: files into chips, chips into files.
#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "lab/session/commands.h"
#include "lab/words.h"

namespace enclab {

static RegisterDump dumpIn(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream) {
        refuse(fmt::format("cannot read {}: {}", file.native(), std::strerror(errno)));
    }
    try {
        return parseDump(text.str());
    } catch (const std::invalid_argument& error) {
        refuse(fmt::format("{}: {}", file.native(), error.what()));
    }
}

void loadDumps(Chassis& chassis, const std::vector<DumpFile>& files) {
    for (const DumpFile& file : files) {
        chassis.chip(file.device).load(dumpIn(file.path));
    }
}

void writeFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream file(path);
    file << text;
    if (!file.flush()) {
        refuse(fmt::format("cannot write {}: {}", path.native(), std::strerror(errno)));
    }
}

// "CHIP", "CHIP FILE"
std::string Commands::dump(const Words& words) {
    std::string text = dumpText(readAll(lab_.chassis().chip(words[0])));
    if (words.size() == 1 || rehearsal_) {
        text.pop_back();
        return text;
    }
    writeFile(words[1], text);
    return fmt::format("registers of {} written to {}", words[0], words[1]);
}

}  // namespace enclab
