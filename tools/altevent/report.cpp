// SPDX-License-Identifier: Apache-2.0
#include "tools/altevent/report.h"

#include <fmt/format.h>

#include <algorithm>
#include <ctime>

#include "tools/altevent/record.h"

namespace altevent {

static std::string timeText(U64_t sinceEpoch) {
    const auto time = static_cast<std::time_t>(sinceEpoch);
    std::tm parts;
    char text[64];
    if (gmtime_r(&time, &parts) == nullptr ||
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts) == 0) {
        return std::to_string(sinceEpoch);
    }
    return text;
}

static std::string callName(const AltEventSlotHdr_t& header) {
    switch (header.call) {
        case ALT_EVENT_E_CALL_LOG:
            return "altEventLog";
        case ALT_EVENT_E_CALL_LOG_M:
            return "altEventLogM";
        default:
            return fmt::format("call {}", U16_t{header.call});
    }
}

static S32_t callArgument(const AltEventSlotHdr_t& header) {
    return static_cast<S32_t>(U32_t{header.argument});
}

// "altEventLog -1"
static std::string callText(const AltEventSlotHdr_t& header) {
    return header.call == ALT_EVENT_E_CALL_LOG_M
               ? callName(header)
               : fmt::format("{} {}", callName(header), callArgument(header));
}

static const char* damageText(const DamagedSlot& slot) {
    return slot.foreign ? "foreign" : "torn";
}

// ---- text ----

// Blanks at the end of a line are left out.
static void appendLine(std::string& out, int indent, const std::string& line) {
    out += std::string(static_cast<std::size_t>(indent), ' ') + line;
    out.erase(out.find_last_not_of(' ') + 1);
    out += '\n';
}

static void appendFields(std::string& out, const Fields& fields, int indent) {
    std::size_t width = 0;
    for (const Field& field : fields) {
        width = std::max(width, field.name.size());
    }
    for (const Field& field : fields) {
        if (field.parts.empty() && field.lines.size() == 1) {
            appendLine(out, indent,
                       fmt::format("{:<{}}  {}", field.name, width, field.lines.front()));
            continue;
        }
        appendLine(out, indent, field.name);
        for (const std::string& line : field.lines) {
            appendLine(out, indent + 2, line);
        }
        appendFields(out, field.parts, indent + 2);
    }
}

// The service fills few fields of the event header; the others are left out.
static Fields filledFields(Fields fields) {
    std::erase_if(fields, [](const Field& field) { return field.value == 0 || field.value == ""; });
    return fields;
}

static void appendRecord(std::string& out, const Record& record, bool withHex) {
    const AltEventSlotHdr_t& header = record.slot.header;
    const Decoded decoded = decodeRecord(record.slot.record);
    out += fmt::format("#{}  {}  {}  (slot {}, {})\n", U64_t{header.sequenceNumber},
                       timeText(header.time), decoded.kind, record.index, callText(header));
    Fields fields = {group("event header", filledFields(decoded.header)),
                     group("payload", decoded.payload)};
    if (withHex) {
        fields.push_back(hexDump("record", record.slot.record));
    }
    appendFields(out, fields, 2);
    out += '\n';
}

std::string textReport(const Log& log, bool withHex) {
    std::string out;
    for (const Record& record : log.records) {
        appendRecord(out, record, withHex);
    }
    for (const DamagedSlot& slot : log.damaged) {
        out += fmt::format(
            "slot {} (at byte {}) is {}: {}\n", slot.index, slot.index * ALT_EVENT_K_SLOT_SIZE,
            damageText(slot),
            slot.foreign ? "this log did not write it" : "its record was not written to the end");
    }
    out += fmt::format("{} records, {} damaged slots\n", log.records.size(), log.damaged.size());
    return out;
}

// ---- JSON ----

static Json toJson(const Fields& fields) {
    Json object = Json::object();
    for (const Field& field : fields) {
        object[field.name] = field.parts.empty() ? field.value : toJson(field.parts);
    }
    return object;
}

static Json toJson(const Record& record, bool withHex) {
    const AltEventSlotHdr_t& header = record.slot.header;
    const Decoded decoded = decodeRecord(record.slot.record);
    Json object = {
        {"sequenceNumber", U64_t{header.sequenceNumber}},
        {"slot", record.index},
        {"time", timeText(header.time)},
        {"call", callName(header)},
        {"argument", callArgument(header)},
        {"kind", decoded.kind},
        {"header", toJson(decoded.header)},
        {"payload", toJson(decoded.payload)},
    };
    if (withHex) {
        object["record"] = hexDump("", record.slot.record).value;
    }
    return object;
}

std::string jsonReport(const Log& log, bool withHex) {
    Json records = Json::array();
    for (const Record& record : log.records) {
        records.push_back(toJson(record, withHex));
    }
    Json damaged = Json::array();
    for (const DamagedSlot& slot : log.damaged) {
        damaged.push_back({{"slot", slot.index}, {"state", damageText(slot)}});
    }
    return Json{{"records", std::move(records)}, {"damaged", std::move(damaged)}}.dump(2) + "\n";
}

}  // namespace altevent
