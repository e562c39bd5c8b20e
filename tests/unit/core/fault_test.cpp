// SPDX-License-Identifier: Apache-2.0
// A critical fault: the box and the dump of a random state in the trace, and the four records.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <regex>
#include <span>

#include "state/esa_control.h"
#include "state/esa_fault.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/laws.h"
#include "tests/support/trace_capture.h"

namespace {

// ---- what is dumped, and stands in the record of the state ----

enum class Form { DECIMAL, BARE, HEX, TEXT, BYTES, SENSORS, RECORD_ONLY };

struct Row {
    std::string name;  // with the blanks in front of the equals sign, where they are not padded
    Form form;
    const void* data;
    std::size_t width, count;  // of numbers, in bytes; width 1 for raw bytes
};

#define ROW(name, form, field, count) \
    { name, Form::form, &esaControl.field, sizeof esaControl.field / (count), count }
#define NUMBER(form, field) ROW(#field, form, field, 1)
#define RAW(field, blanks) ROW(#field blanks, BYTES, field, sizeof esaControl.field)
#define ELEMENTS(type, blanks)                                         \
    NUMBER(DECIMAL, type##ControlOverall), RAW(type##Control, blanks), \
        NUMBER(DECIMAL, type##StatusOverall), RAW(type##Status, blanks)

// In the record each stands behind the one before, at a multiple of its width, and no buffer does.
const Row ROWS[] = {NUMBER(DECIMAL, socketFdMSM),
                    NUMBER(RECORD_ONLY, socketAddressMSM.sun_family),
                    ROW("socketAddressMSM.sun_path", TEXT, socketAddressMSM.sun_path, 108),
                    NUMBER(DECIMAL, i2cFileFd),
                    NUMBER(DECIMAL, enclosureType),
                    NUMBER(DECIMAL, elementTypeMaxNumber),
                    NUMBER(DECIMAL, deviceMaxNumber),
                    NUMBER(DECIMAL, powerSupplyMaxNumber),
                    NUMBER(DECIMAL, coolingMaxNumber),
                    NUMBER(DECIMAL, temperatureSensorMaxNumber),
                    NUMBER(DECIMAL, audibleAlarmMaxNumber),
                    NUMBER(DECIMAL, pageCodeInRecentSndDiagCmd),
                    RAW(sesTypeDescriptorList, " "),
                    ELEMENTS(deviceElement, " "),
                    NUMBER(HEX, driveFaultLedStatus0),
                    NUMBER(HEX, driveFaultLedStatus1),
                    ELEMENTS(powerSupplyElement, "  "),
                    NUMBER(HEX, powerSupplyStatus),
                    ELEMENTS(coolingElement, "  "),
                    RAW(coolingElementOnOff, "  "),
                    NUMBER(HEX, fanFaultStatus),
                    ROW("temperatureSensor", SENSORS, temperatureSensor, 8),
                    ROW("temperatureReportStatus", SENSORS, temperatureReportStatus, 8),
                    ELEMENTS(audibleAlarmElement, "  "),
                    NUMBER(BARE, alarmState),
                    NUMBER(HEX, compositeFaultStatus),
                    NUMBER(DECIMAL, esaDebug),
                    RAW(vitesse.vsc055GPD, "  "),
                    RAW(vitesse.vsc055DDP, "  "),
                    RAW(vitesse.vsc055FSC, "  "),
                    ROW("", RECORD_ONLY, vitesse.vsc055PWMC, 8),
                    NUMBER(DECIMAL, selectTimeout.sec),
                    NUMBER(RECORD_ONLY, selectTimeout.usec),
                    NUMBER(DECIMAL, pollTimeout.sec),
                    NUMBER(RECORD_ONLY, pollTimeout.usec),
                    {"esaInMsg  ", Form::BYTES, esaControl.esaInMsg, 1, 256},
                    {"esaWorkSpace  ", Form::BYTES, esaControl.esaWorkSpace, 1, 256}};

template <typename Number>
int valueOf(const U8_t* at) {
    Number number;
    std::memcpy(&number, at, sizeof number);
    return static_cast<int>(number);
}

// Two bytes carry a sign.
int numberAt(const Row& row, std::size_t n = 0) {
    const U8_t* const at = static_cast<const U8_t*>(row.data) + n * row.width;
    return row.width == 1 ? *at : row.width == 2 ? valueOf<S16_t>(at) : valueOf<U32_t>(at);
}

Lines textsOf(const Row& row) {
    const auto line = [&](const std::string& value) {
        return Lines{fmt::format("esaControl.{:34}= {}", row.name, value)};
    };
    const auto* const bytes = static_cast<const U8_t*>(row.data);
    Lines lines;
    switch (row.form) {
        case Form::DECIMAL:
            return line(fmt::format("[{}]", numberAt(row)));
        case Form::BARE:
            return line(fmt::format("{}", numberAt(row)));
        case Form::HEX:
            return line(fmt::format("[{:#x}]", static_cast<unsigned>(numberAt(row))));
        case Form::TEXT:
            return line("[" + std::string(bytes, std::find(bytes, bytes + row.count, 0)) + "]");
        case Form::BYTES:  // 32 in a row, in groups of eight, behind an address that is left out
            lines = {"esaControl." + row.name + "="};
            for (std::size_t n = 0; n < row.count; ++n) {
                n % 32 == 0 ? lines.emplace_back() : lines.back();
                lines.back() += fmt::format("{}{:02X}", n % 8 == 0 ? " " : "", bytes[n]);
            }
            return lines;
        case Form::SENSORS:
            for (std::size_t n = 0; n < row.count; ++n) {
                const std::string name = fmt::format("{}[{}]", row.name, n);
                lines.push_back(fmt::format("esaControl.{:29}= {}", name, numberAt(row, n)));
            }
            return lines;
        case Form::RECORD_ONLY:
            return {};
    }
    return lines;
}

// ---- the records ----

void put(Bytes* bytes, std::size_t at, std::size_t width, U32_t value) {
    for (std::size_t n = 0; n < width; ++n) {
        (*bytes)[at + n] = static_cast<U8_t>(value >> 8 * (width - 1 - n));
    }
}

Bytes stateRecord() {
    Bytes payload(524);
    std::size_t at = 0;
    for (const Row& row : std::span(ROWS).first(std::size(ROWS) - 2)) {
        at = (at + row.width - 1) / row.width * row.width;
        for (std::size_t n = 0; n < row.count; ++n, at += row.width) {
            put(&payload, at, row.width, static_cast<U32_t>(numberAt(row, n)));
        }
    }
    return payload;
}

// Texts are cut at 64 bytes and padded with zeros.
Bytes errorRecord(std::string file, std::string function, U32_t line, std::string message) {
    Bytes payload;
    for (std::string* text : {&file, &function, &message}) {
        text->resize(64);
        payload.insert(payload.end(), text->begin(), text->end());
    }
    payload.insert(payload.begin() + 128, 4, 0);
    put(&payload, 128, 4, line);
    return payload;
}

// A payload behind the header of an event.
Bytes recordOf(U32_t id, const Bytes& payload) {
    Bytes record(4064);
    put(&record, 144, 4, narrowTo<U32_t>(payload.size()) << 16 | 0x2103);
    put(&record, 148, 4, 0x03010000 | id);
    std::ranges::copy(payload, &record[152]);
    return record;
}

}  // namespace

// The records are stored whatever is traced.
TEST(Fault, LeavesABoxADumpAndFourRecords) {
    Random random(1);
    for (U32_t round = 0; round < 140; ++round) {
        SCOPED_TRACE(round);
        const bool isTraced = round % 7 == 0;
        TraceCapture trace(isTraced ? 0x0001 | TRACE_K_FILE | TRACE_K_FUNCTION : 0x0010);
        const Bytes state = random.bytes(sizeof esaControl);
        std::memcpy(&esaControl, state.data(), state.size());
        char* const path = esaControl.socketAddressMSM.sun_path;
        std::memset(path, round % 2 == 0 ? 'p' : 0, 108);  // up to its end
        EsaControl_t after = esaControl;
        after.esaDebug = TRUE;
        const std::string file(round, 'f'), function(140 - round, 'g'), message(round * 8, 'm');
        const U32_t line = round * 0x9E3779B1;
        esaFault(file.c_str(), static_cast<int>(line), function.c_str(), "%s", message.c_str());
        EXPECT_EQ(std::memcmp(&after, &esaControl, sizeof after), 0);
        EXPECT_EQ(std::strlen(esaDebugMsg), std::min<std::size_t>(message.size(), 1023));

        const auto records = takeAltRecords();
        const Bytes payloads[] = {errorRecord(file, function, line, message), stateRecord(),
                                  Bytes(esaControl.esaInMsg, esaControl.esaInMsg + 256),
                                  Bytes(esaControl.esaWorkSpace, esaControl.esaWorkSpace + 256)};
        ASSERT_EQ(records.size(), 4U);
        for (U32_t n = 0; n < 4; ++n) {
            EXPECT_EQ(records[n].bytes, recordOf(n + 1, payloads[n])) << n;
            EXPECT_EQ(records[n].logM, n < 3) << "the last one by altEventLog, which may wait";
            EXPECT_EQ(records[n].argument, n < 3 ? 0 : -1);
        }

        const std::string stars(22, '*'), frame(59, '*');
        Lines lines = {stars + " Critical Error " + stars.substr(1),
                       "| File:      " + file,
                       "| Function:  " + function,
                       text("| Line:      ", static_cast<int>(line)),
                       "| Message:   " + message.substr(0, 1010),
                       frame};
        for (const Row& row : ROWS) {
            std::ranges::move(textsOf(row), std::back_inserter(lines));
        }
        lines.insert(lines.end(),
                     {"", "Finish the Enclosure Services Adapter internal data dump."});
        static const std::regex prefix(R"(^esamain\.cpp:esaFault:\d+: {1,2}|^0x\w{8}:)");
        Lines said = trace.take();
        for (std::string& each : said) {
            each = std::regex_replace(each, prefix, "");
        }
        EXPECT_EQ(said, isTraced ? lines : Lines());
    }
}
