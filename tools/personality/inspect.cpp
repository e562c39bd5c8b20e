// SPDX-License-Identifier: Apache-2.0
// The file as the service reads it: its own routines fill esaControl and say where a value stands.
// The text is only looked at again for what those routines pass over in silence.
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "basetypes.h"
#include "chassis/table.h"
#include "start/personality.h"
#include "tools/personality/judge.h"
#include "tools/personality/quoted.h"
#include "tools/personality/report.h"

namespace personality {

namespace {

constexpr std::size_t WRITTEN_MAX = 20;  // characters shown of a value
constexpr std::size_t VALUE_WORD = 7;    // value, the equals sign and the opening quote

const char* text() {
    return esPersonalityToolkitXmlFilePtr;
}

int lineOf(const char* place) {
    return narrowTo<int>(std::count(text(), place, '\n')) + 1;
}

bool isInComment(const char* place) {
    const std::string_view before(text(), static_cast<std::size_t>(place - text()));
    const std::size_t open = before.rfind("<!--");
    return open != before.npos && before.find("-->", open) == before.npos;
}

void commentCheck(Findings& findings, const std::string& name, const char* place) {
    if (isInComment(place)) {
        findings.push_back({Severity::warning, "in-comment",
                            fmt::format("{} (line {}) stands in an XML comment; the service does "
                                        "not know comments and takes it",
                                        name, lineOf(place))});
    }
}

// Where something like `name` stands that the service does not find; empty without.
std::string nearMiss(const std::string& name) {
    const char* const found = strcasestr(text(), name.c_str());
    return found != nullptr
               ? fmt::format("; line {} has it, but not spelled exactly \"{}\" in double quotes",
                             lineOf(found), name)
               : "";
}

// ---- the file ----

void sizeCheck(Report& report) {
    if (report.size > ESA_K_PERSONALITY_SIZE) {
        report.findings.push_back({Severity::warning, "file-too-long",
                                   fmt::format("{} bytes: only the first {} are read", report.size,
                                               ESA_K_PERSONALITY_SIZE)});
    }
    const std::size_t length = std::strlen(text());
    if (length < std::min<std::uintmax_t>(report.size, ESA_K_PERSONALITY_SIZE)) {
        report.findings.push_back(
            {Severity::warning, "zero-byte",
             fmt::format("a zero byte at offset {} ends the text (a 16-bit encoding?)", length)});
    }
}

bool fileRead(Report& report) {
    std::error_code error;
    const bool isFile = std::filesystem::is_regular_file(report.file, error);
    if (!error && isFile && esaPersonalityFileRead(report.file.c_str())) {
        report.size = std::filesystem::file_size(report.file, error);
        sizeCheck(report);
        return true;
    }
    const std::string why =
        error ? error.message() : (isFile ? std::strerror(errno) : "not a regular file");
    report.findings.push_back(
        {Severity::unusable, "unreadable",
         fmt::format("the file cannot be read ({}): no enclosure services", why)});
    return false;
}

// ---- the chassis ----

void namesFind(Report& report) {
    const EsaPersonalityName_t* const chosen = esaPersonalityChoiceFind(text()).name;
    std::string misses;
    KORVO_E_CHASSIS_t type = KORVO_E_CHASSIS_NONE;
    for (const EsaChassis_t* const row : esaChassisTableInUse()) {
        for (const EsaPersonalityName_t& name : row->names) {
            const char* const found = std::strstr(text(), name.quoted);
            if (found == nullptr) {
                misses += nearMiss(bare(name.quoted));
                continue;
            }
            report.names.push_back({bare(name.quoted), type, lineOf(found), &name == chosen});
            commentCheck(report.findings, name.quoted, found);
        }
        ++type;
    }
    if (chosen == nullptr) {
        report.findings.push_back(
            {Severity::unusable, "chassis-missing",
             "no chassis name the service knows: no enclosure services" + misses});
    }
    if (report.names.size() > 1) {
        report.findings.push_back(
            {Severity::warning, "chassis-several",
             fmt::format("{} chassis names: \"{}\" wins by the service's list, wherever it stands",
                         report.names.size(), report.names.front().name)});
    }
}

// ---- the keys ----

// The value's text up to its closing quote, fit to be printed.
std::string writtenText(const char* value) {
    std::string written(value, strcspn(value, "\"'<>\r\n"));
    if (written.size() > WRITTEN_MAX) {
        written = written.substr(0, WRITTEN_MAX) + "...";
    }
    std::replace_if(
        written.begin(), written.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return written;
}

// What the text between key and value says about whose value that is.
void ownerCheck(Findings& findings, const Key& key, const EsaPersonalityPlace_t& place) {
    const std::string_view between(place.key + key.name.size() + 2, place.value - VALUE_WORD);
    for (const EsaPersonalityKey_t& other : esaPersonalityKeys()) {
        if (between.find(other.quoted) != between.npos) {
            findings.push_back({Severity::unusable, "value-shared",
                                fmt::format("{} (line {}) has no value of its own and takes the "
                                            "one behind {}",
                                            key.name, key.line, bare(other.quoted))});
            return;
        }
    }
    if (between.find("/>") != between.npos || between.find("</") != between.npos) {
        findings.push_back({Severity::warning, "value-elsewhere",
                            fmt::format("{} (line {}) takes the value of a later element, in "
                                        "line {}",
                                        key.name, key.line, lineOf(place.value))});
    }
}

void repeatCheck(Findings& findings, const Key& key, const EsaPersonalityKey_t& row,
                 const char* first) {
    const char* const next = std::strstr(first + 1, row.quoted);
    if (next != nullptr) {
        findings.push_back({Severity::warning, "key-repeated",
                            fmt::format("{} stands in line {} and again in line {}: the first "
                                        "counts",
                                        key.name, key.line, lineOf(next))});
    }
}

// How the number of the file came to be another one in the field.
void storeCheck(Findings& findings, const Key& key, long long number) {
    const bool fits32 = number >= INT32_MIN && number <= INT32_MAX;
    if (!fits32) {
        findings.push_back({Severity::warning, "value-clamped",
                            fmt::format("{}: {} does not fit 32 bits and is stored as {}", key.name,
                                        key.written, key.stored)});
    } else if (number != key.stored && key.bits == 8) {
        findings.push_back({Severity::warning, "value-cut",
                            fmt::format("{}: {} is cut to 8 bits and stored as {}", key.name,
                                        number, key.stored)});
    } else if (number != key.stored) {
        findings.push_back(
            {Severity::warning, "value-negative",
             fmt::format("{}: {} is taken without sign, as {}", key.name, number, key.stored)});
    }
}

void numberCheck(Findings& findings, Key& key, const char* value) {
    char* end = nullptr;
    const long long number = std::strtoll(value, &end, 10);
    if (end == value) {
        key.reading = Reading::noNumber;
        return;
    }
    key.reading = Reading::number;
    const std::size_t spaces = strspn(end, " \t");
    if (end[spaces] != '"' && end[spaces] != '\'') {
        findings.push_back({Severity::warning, "value-tail",
                            fmt::format("{}: of \"{}\" only {} is read", key.name, key.written,
                                        std::string_view(value, end))});
    }
    storeCheck(findings, key, number);
}

Key keyFind(Findings& findings, const EsaPersonalityKey_t& row) {
    Key key;
    key.name = bare(row.quoted);
    key.bits = row.narrow != nullptr ? 8 : 32;
    key.stored = row.narrow != nullptr ? esaControl.*row.narrow : esaControl.*row.wide;
    const EsaPersonalityPlace_t place = esaPersonalityKeyFind(text(), row.quoted);
    if (place.key == nullptr) {
        key.nearMiss = nearMiss(key.name);
        return key;
    }
    key.line = lineOf(place.key);
    key.reading = Reading::noValue;
    commentCheck(findings, key.name, place.key);
    repeatCheck(findings, key, row, place.key);
    if (place.value != nullptr) {
        key.written = writtenText(place.value);
        ownerCheck(findings, key, place);
        numberCheck(findings, key, place.value);
    }
    return key;
}

}  // namespace

Severity verdict(const Report& report) {
    return report.findings.empty() ? Severity::note : report.findings.front().severity;
}

Report inspect(const std::string& path) {
    Report report;
    report.file = path;
    esaControl = EsaControl_t{};
    esaChassisTableUse(esaChassisTable());
    report.read = fileRead(report);
    if (report.read) {
        esaPersonalityChassisChoose();
        esaPersonalityTuningRead();
        namesFind(report);
        for (const EsaPersonalityKey_t& row : esaPersonalityKeys()) {
            report.keys.push_back(keyFind(report.findings, row));
        }
        judge(report.keys, report.findings);
    }
    std::ranges::stable_sort(report.findings, std::ranges::greater{}, &Finding::severity);
    return report;
}

}  // namespace personality
