// SPDX-License-Identifier: Apache-2.0
// Configuration, status and control pages, written and read by the tests' own knowledge of them.
#pragma once

#include <fmt/format.h>

#include <array>
#include <nlohmann/json.hpp>

#include "tests/support/hex.h"
#include "tests/unit/tools/tools.h"

using Json = nlohmann::json;
using Byte = std::uint8_t;
using Counts = std::array<unsigned, 5>;

// ---- pages ----

struct Kind {
    const char* key;
    const char* what;
    Byte type;
    unsigned most;       // how many of them the service keeps
    const char* good;    // a record in good order
    const char* layout;  // behind the first byte
};
inline const Kind KINDS[] = {
    {"devices", "slot", 1, 16, "01000000",
     "slot:8 .:1 ident .:4 doNotRemove .:5 off faultRequested faultSensed .:1"},
    {"powerSupplies", "power supply", 2, 3, "01000001",
     ".:7 ident .:1 dcOverCurrent dcUnderVoltage dcOverVoltage .:4 dcFail acFail "
     "temperatureWarning overTemperature off requestedOn fail .:1"},
    {"fans", "fan", 3, 8, "0000E1E0",
     "high:2 .:5 ident low:8 speedCode:3 .:1 off requestedOn fail .:1"},
    {"temperatureSensors", "temperature sensor", 4, 8, "00003200",
     ".:7 ident raw:8 underTemperatureWarning underTemperatureFailure overTemperatureWarning "
     "overTemperatureFailure .:4"},
    {"audibleAlarms", "audible alarm", 6, 1, "00000000",
     ".:7 ident .:8 unrecoverable critical nonCritical information remind .:1 muted "
     "requestedMute"},
};
// Flags that make no fault; in a fan "off" does.
inline const std::set<std::string> HARMLESS = {
    "disabled",         "ident",  "doNotRemove", "off",          "requestedOn", "information",
    "invalidOperation", "remind", "muted",       "requestedMute"};
inline const char* const STATUS[] = {
    "unsupported",   "OK",      "critical",     "non-critical", "unrecoverable",
    "not installed", "unknown", "not available"};

struct Pages {
    Bytes configuration, status;  // whole
    Counts counts;

    explicit Pages(const Counts& numbers) : counts(numbers) {
        configuration = hexBytes(
            "01000000 00000000 20000524 0000000000000000 41434D4520202020"
            "426F7800000000000000000000000000 312E3032");
        status = hexBytes("02000000 00000000");
        for (std::size_t n = 0; n < 5; n++) {
            const Byte descriptor[] = {KINDS[n].type, static_cast<Byte>(counts[n]), 0, 0};
            configuration.insert(configuration.end(), descriptor, descriptor + 4);
            status.resize(status.size() + 4);
            for (unsigned i = 0; i < counts[n]; i++) {
                std::ranges::copy(hexBytes(KINDS[n].good), std::back_inserter(status));
            }
        }
        for (Bytes* page : {&configuration, &status}) {
            (*page)[2] = static_cast<Byte>((page->size() - 4) >> 8);
            (*page)[3] = static_cast<Byte>(page->size() - 4);
        }
    }
    // Where the overall word of a kind is; its records follow.
    std::size_t overall(std::size_t kind) const {
        return kind == 0 ? 8 : overall(kind - 1) + 4 + 4 * counts[kind - 1];
    }
    std::size_t record(std::size_t kind, std::size_t n) const { return overall(kind) + 4 + 4 * n; }
};

inline Pages anyPages(Random& random, unsigned most) {
    Counts counts;
    std::ranges::generate(counts, [&] { return random(most); });
    Pages pages(counts);
    pages.configuration[7] = pages.status[7] = static_cast<Byte>(random(256));
    for (std::size_t at = 8; at < pages.status.size(); at++) {
        pages.status[at] = static_cast<Byte>(random(2) * random(256));
    }
    return pages;
}

// ---- what a status page says ----

// Adds values to `object`; true for a fault.
inline bool add(Json& object, const Byte* record, const std::string& layout) {
    bool isFault = false;
    for (const Part& part : partsOf(record, layout)) {
        object[part.name] = part.width == 1 ? Json(part.value == 1) : Json(part.value);
        isFault |= part.width == 1 && part.value == 1 && !HARMLESS.contains(part.name);
    }
    return isFault;
}

inline bool addElement(Json& list, std::size_t kind, const Byte* record, bool isLast) {
    Json object = {{"index", list.size()}};
    add(object, record, ".:2 disabled .:1 statusCode:4");
    const unsigned code = object["statusCode"];
    object["status"] = code < 8 ? STATUS[code] : fmt::format("reserved {}", code);
    Json values;
    bool isFault = add(values, record + 1, KINDS[kind].layout);
    if (kind == 2) {
        const bool isOff = values["off"];
        const unsigned rpm =
            (values["high"].get<unsigned>() * 256 + values["low"].get<unsigned>()) * 10;
        values["rpm"] = rpm > 0 || isOff ? Json(rpm) : Json();
        isFault |= isOff || rpm == 0;
        values.erase("high");
        values.erase("low");
    } else if (kind == 3) {
        const bool isRead = values["raw"] != 0 || values["underTemperatureFailure"];
        values["celsius"] = isRead ? Json(values["raw"].get<int>() - 20) : Json();
        isFault |= !isRead;
        values.erase("raw");
    } else if (kind == 4) {  // the last byte of the page is not told
        object["ident"] = values["ident"];
        values.erase("ident");
        values = {{"flags", isLast ? Json() : values}};
        isFault &= !isLast;
    }
    object.update(values);
    list.push_back(object);
    return isFault || (code >= 2 && code <= 4);
}

inline Json saidOf(const Pages& pages) {
    Json all;
    bool isFault = add(all["enclosure"], &pages.status[1],
                       "unrecoverable critical nonCritical information invalidOperation .:3");
    for (std::size_t kind = 0; kind < 5; kind++) {
        Json& list = all[KINDS[kind].key] = Json::array();
        for (std::size_t n = 0; n < pages.counts[kind]; n++) {
            isFault |= addElement(list, kind, &pages.status[pages.record(kind, n)],
                                  n + 1 == pages.counts[kind]);
        }
    }
    all["fault"] = isFault;
    return all;
}

// What is requested in a status page, and nothing else, as the control page that keeps it.
inline Bytes controlOf(const Pages& pages) {
    const Bytes& status = pages.status;
    Bytes page(status.size());
    std::copy_n(status.begin(), 8, page.begin());
    page[1] = 0;
    for (std::size_t kind = 0; kind < 5; kind++) {
        for (std::size_t at = pages.record(kind, 0), n = 0; n < pages.counts[kind]; n++, at += 4) {
            const bool isWell = (status[at] & 0x0F) == 1 && (status[at + 3] & 0x40) == 0;
            const unsigned kept = kind == 1 && isWell ? 0x06 : kind < 3 ? 0x04 : 0;
            page[at] = static_cast<Byte>(kind == 4 ? status[at] & 0x20 : 0);
            page[at + 3] = static_cast<Byte>(status[at + 3] & kept);
        }
    }
    page[pages.overall(4) + 3] = status[pages.overall(4) + 3] & 0x20;
    return page;
}
