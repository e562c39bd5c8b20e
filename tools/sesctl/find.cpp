// SPDX-License-Identifier: Apache-2.0
#include "tools/sesctl/find.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tools/esaparams/area.h"
#include "tools/sesctl/failure.h"

namespace sesctl {

namespace {

constexpr char CLIENT_SOCKET[] = "/environ";

std::string labSocket(const std::string& directory, const std::string& name) {
    return (directory.empty() ? fmt::format("/tmp/enclab-{}/{}", getuid(), name) : directory) +
           "/mmsg" + CLIENT_SOCKET;
}

std::string areaSocket(int key) {
    try {
        const esaparams::Area area(key, esaparams::Access::read);
        return esaparams::fieldText(area.params().mmsgDirectory) + CLIENT_SOCKET;
    } catch (const esaparams::Failure& failure) {
        throw Failure(ExitCode::unreachable, failure.what());
    }
}

// Why there is nothing at `path`; empty when there is, if only something that may not be used.
std::string missing(const std::string& path) {
    const bool isThere = access(path.c_str(), F_OK) == 0 || (errno != ENOENT && errno != ENOTDIR);
    return isThere ? "" : fmt::format("{} (there is none)", path);
}

// The board's socket; empty, and why in `lookedAt`, without a switch.
std::string boardSocket(const std::string& settings, std::string& lookedAt) {
    const int key = tools::settingsKey(settings);
    if (key < MPU_K_PARAMS_KEY_MIN) {
        lookedAt += fmt::format("{} (no ESA_SHM_KEY)", settings);
        return "";
    }
    try {
        const std::string path = areaSocket(key);
        lookedAt += missing(path);
        return missing(path).empty() ? path : "";
    } catch (const Failure& failure) {
        lookedAt += fmt::format("{} ({})", settings, failure.what());
        return "";
    }
}

std::string anySocket(const std::string& settings) {
    std::string lookedAt = "ESA_MMSG_DIR (not set), ";
    const std::string board = boardSocket(settings, lookedAt);
    if (!board.empty()) {
        return board;
    }
    const std::string lab = labSocket("", "default");
    if (missing(lab).empty()) {
        return lab;
    }
    throw Failure(ExitCode::unreachable,
                  fmt::format("no switch here; in a lab use --name. Looked at: {}, {}", lookedAt,
                              missing(lab)));
}

}  // namespace

std::string switchSocket(const Whereabouts& where) {
    if (where.key != 0) {
        return areaSocket(where.key);
    }
    if (!where.name.empty() || !where.directory.empty()) {
        return labSocket(where.directory, where.name);
    }
    const char* const messages = std::getenv("ESA_MMSG_DIR");
    return messages != nullptr ? std::string(messages) + CLIENT_SOCKET : anySocket(where.settings);
}

}  // namespace sesctl
