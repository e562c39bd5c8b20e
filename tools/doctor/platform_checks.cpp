// SPDX-License-Identifier: Apache-2.0
// What the platform must have made before the service starts.
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "tools/doctor/checks.h"
#include "tools/esaparams/area.h"
#include "tools/personality/report.h"

namespace doctor {

namespace {

constexpr char AREA[] = "parameter area";
constexpr std::time_t PLAUSIBLE_SINCE = 1735689600;  // 2025: clocks without a battery start earlier

std::string text(const char (&field)[MPU_K_DIRECTORY_SIZE]) {
    return {field, strnlen(field, sizeof field)};
}

// ---- the area ----

Finding areaFlags(const MPU_PARAMS_t& params) {
    const U32_t flags = mpuFlags(&params);
    const bool complete = (flags & MPU_K_FLAG_RCP_COMPLETE) != 0;
    return {complete ? Severity::fine : Severity::note, "start-up",
            fmt::format("{}, trace {}", complete ? "complete" : "not complete",
                        (flags & MPU_K_FLAG_TRACE_VERBOSE) != 0 ? "on" : "off"),
            complete ? "" : "the service waits three minutes for it; on a bench: esaparams rcp"};
}

// ---- directories ----

Finding checkPath(const std::string& subject, const std::string& path, unsigned wanted,
                  const Account& account, Severity severity, const std::string& missing) {
    struct stat status = {};
    if (path.empty() || stat(path.c_str(), &status) != 0) {
        return {severity, subject,
                path.empty() ? "not named in the area" : path + ": " + std::strerror(errno),
                missing};
    }
    const std::string obstacle = account.obstacle(path, wanted);
    if (!obstacle.empty()) {
        return {severity, subject, fmt::format("{}: {} may not use it", obstacle, account.name),
                "chown or chmod it"};
    }
    return {Severity::fine, subject, path};
}

void checkSocket(const std::string& directory, const Account& account, Findings& findings) {
    const std::string path = directory + "/esadapter";
    Finding finding = checkPath("message switch", path, MAY_WRITE, account, Severity::unusable,
                                "start the message switch; in a lab: enclab");
    struct stat status = {};
    if (path.size() >= sizeof(sockaddr_un::sun_path)) {
        finding = {
            Severity::unusable, finding.subject,
            fmt::format("{}: longer than {} characters", path, sizeof(sockaddr_un::sun_path) - 1),
            "give the switch a shorter directory"};
    } else if (stat(path.c_str(), &status) == 0 && !S_ISSOCK(status.st_mode)) {
        finding = {Severity::unusable, finding.subject, path + ": no socket", "remove it"};
    }
    findings.push_back(finding);
}

}  // namespace

bool checkArea(int key, const Account& account, MPU_PARAMS_t& params, Findings& findings) {
    try {
        const esaparams::Area area(key, esaparams::Access::read);
        params = area.params();
        const ipc_perm& owner = area.segment().shm_perm;
        if (account.may(owner.uid, owner.gid, owner.mode, MAY_READ)) {
            findings.push_back({Severity::fine, AREA, fmt::format("version {}", params.version)});
            findings.push_back(areaFlags(params));
        } else {
            findings.push_back(
                {Severity::unusable, AREA,
                 fmt::format("mode {:04o}: {} may not read it", owner.mode & 0777, account.name),
                 "make it 0644, or 0640 with a group of the service"});
        }
        return true;
    } catch (const esaparams::Failure& failure) {
        findings.push_back({Severity::unusable, AREA, failure.what(),
                            "the platform's start-up makes it, as the service expects it; on a "
                            "bench: esaparams create"});
        return false;
    }
}

void checkDirectories(const MPU_PARAMS_t& params, const Account& account, Findings& findings) {
    checkSocket(text(params.mmsgDirectory), account, findings);
    constexpr unsigned writing = MAY_WRITE | MAY_SEARCH;
    findings.push_back(checkPath("alternate event log", text(params.nonVolatileDirectory), writing,
                                 account, Severity::warning, "without it faults leave no record"));
    findings.push_back(checkPath("trace log", text(params.logDirectory), writing, account,
                                 Severity::warning, "without it the trace goes to standard error"));
}

void checkPersonality(const std::string& path, const Account& account, Findings& findings) {
    const personality::Report report = personality::inspect(path);
    constexpr Severity SEVERITIES[] = {Severity::fine, Severity::warning, Severity::unusable};
    const Severity severity = SEVERITIES[static_cast<int>(personality::verdict(report))];
    const std::string chosen = report.names.empty() ? "" : report.names.front().name;
    const std::string obstacle = report.read ? account.obstacle(path, MAY_READ) : "";
    if (!obstacle.empty()) {
        findings.push_back({Severity::unusable, "personality",
                            fmt::format("{}: {} may not read it", obstacle, account.name),
                            "chown or chmod it"});
    } else if (severity == Severity::fine) {
        findings.push_back({severity, "personality", path + ": " + chosen});
    } else {
        findings.push_back({severity, "personality", path + ": " + report.findings.front().text,
                            report.read ? "more: personality " + path
                                        : "install it there, or set STARTUP in the settings"});
    }
}

void checkClock(Findings& findings) {
    const std::time_t now = std::time(nullptr);
    const bool plausible = now >= PLAUSIBLE_SINCE;
    findings.push_back({plausible ? Severity::fine : Severity::warning, "clock",
                        fmt::format("{:%Y-%m-%d %H:%M:%S} UTC", fmt::gmtime(now)),
                        plausible ? "" : "set it before the service starts: records carry it"});
}

}  // namespace doctor
