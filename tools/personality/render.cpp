// SPDX-License-Identifier: Apache-2.0
#include "tools/personality/render.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "start/personality.h"
#include "tools/personality/facts.h"

namespace personality {

namespace {

// Keys stand in the order they are written in.
using Json = nlohmann::ordered_json;

const char* const SEVERITIES[] = {"note", "warning", "unusable"};
const char* const VERDICTS[] = {"fine", "warnings", "unusable"};

const char* severityName(Severity severity) {
    return SEVERITIES[static_cast<int>(severity)];
}

const char* verdictName(const Report& report) {
    return VERDICTS[static_cast<int>(verdict(report))];
}

// ---- text ----

std::string nameLine(const Name& name) {
    const std::string fate = name.chosen ? "chosen: the first of the service's list that is there"
                                         : fmt::format("lost (would be type {})", name.type);
    return fmt::format("  \"{}\" in line {}: {}\n", name.name, name.line, fate);
}

std::string chassisText(const Report& report) {
    std::string text =
        fmt::format("Chassis: type {}, {}\n", esaControl.enclosureType, chassis().facts.words);
    for (const Name& name : report.names) {
        text += nameLine(name);
    }
    return text;
}

std::string keyLine(const Key& key) {
    const std::string line = key.line != 0 ? std::to_string(key.line) : "-";
    const std::string written = key.reading == Reading::missing   ? "missing"
                                : key.reading == Reading::noValue ? "no value"
                                                                  : key.written;
    return fmt::format("{:<34}{:>5}{:>24}{:>12}\n", key.name, line, written, key.stored);
}

std::string keysText(const Report& report) {
    std::string text = fmt::format("{:<34}{:>5}{:>24}{:>12}\n", "Key", "line", "written", "stored");
    for (const Key& key : report.keys) {
        text += keyLine(key);
    }
    return text;
}

std::string findingsText(const Report& report) {
    std::string text;
    for (const Finding& finding : report.findings) {
        text += fmt::format("{}: {}\n", severityName(finding.severity), finding.text);
    }
    const auto warnings =
        std::ranges::count(report.findings, Severity::warning, &Finding::severity);
    return text + (verdict(report) == Severity::warning
                       ? fmt::format("Verdict: {} warning{}\n", warnings, warnings == 1 ? "" : "s")
                       : fmt::format("Verdict: {}\n", verdictName(report)));
}

// ---- JSON ----

template <typename T>
Json orNull(const std::optional<T>& value) {
    return value ? Json(*value) : Json(nullptr);
}

Json chassisJson(const Report& report) {
    Json names = Json::array();
    for (const Name& name : report.names) {
        names.push_back({{"name", name.name},
                         {"type", name.type},
                         {"line", name.line},
                         {"chosen", name.chosen}});
    }
    return {{"type", esaControl.enclosureType}, {"words", chassis().facts.words}, {"names", names}};
}

Json keysJson(const Report& report) {
    Json keys = Json::array();
    for (const Key& key : report.keys) {
        keys.push_back(
            {{"name", key.name},
             {"line", key.line != 0 ? Json(key.line) : Json(nullptr)},
             {"written", key.reading < Reading::noValue ? Json(key.written) : Json(nullptr)},
             {"stored", key.stored},
             {"bits", key.bits}});
    }
    return keys;
}

Json ladderJson(const Ladder& ladder) {
    Json steps = Json::array();
    for (const Step& step : ladder.steps) {
        steps.push_back({{"load", step.load},
                         {"down", orNull(step.down)},
                         {"up", orNull(step.up)},
                         {"floorBlocksDown", step.floorBlocks},
                         {"reached", step.reached}});
    }
    return {{"start", ladder.startLoad},
            {"floor", ladder.floor},
            {"overheat", ladder.overheat},
            {"steps", steps}};
}

Json findingsJson(const Report& report) {
    Json findings = Json::array();
    for (const Finding& finding : report.findings) {
        findings.push_back({{"severity", severityName(finding.severity)},
                            {"check", finding.check},
                            {"text", finding.text}});
    }
    return findings;
}

}  // namespace

std::string reportText(const Report& report, const Ladder& ladder) {
    if (!report.read) {
        return fmt::format("{}\n{}", report.file, findingsText(report));
    }
    const std::string drawing = ladder.startLoad != 0 ? ladderText(ladder) + "\n" : "";
    return fmt::format("{}\n{} bytes, at most {} are read\n\n{}\n{}\n{}{}", report.file,
                       report.size, ESA_K_PERSONALITY_SIZE, chassisText(report), keysText(report),
                       drawing, findingsText(report));
}

std::string reportJson(const Report& report, const Ladder& ladder) {
    Json json = {{"file", report.file}, {"verdict", verdictName(report)}};
    if (report.read) {
        json["size"] = report.size;
        json["sizeLimit"] = ESA_K_PERSONALITY_SIZE;
        json["chassis"] = chassisJson(report);
        json["keys"] = keysJson(report);
        json["ladder"] = ladder.startLoad != 0 ? ladderJson(ladder) : Json(nullptr);
    }
    json["findings"] = findingsJson(report);
    // A file name need not be UTF-8.
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace personality
