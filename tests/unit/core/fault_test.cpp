// SPDX-License-Identifier: Apache-2.0
// A critical fault: the box and the dump of a random state in the trace, and the four records.
#include <fmt/printf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <regex>

#include "state/esa_control.h"
#include "state/esa_fault.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/laws.h"
#include "tests/support/trace_capture.h"

namespace {

// A field's numbers, of so many bytes each.
struct Row {
    std::string name;    // in the dump; of bytes with the blanks in front of the equals sign
    std::string format;  // of a number; none: they are bytes
    std::size_t width;
    std::vector<int> values;
};
template <typename Number>
Row rowOf(const std::string& name, const std::string& format, const Number* numbers,
          std::size_t size) {
    return {name, format, sizeof(Number), {numbers, numbers + size / sizeof(Number)}};
}

#define NUMBER(field, format) rowOf(#field, format, &c.field, sizeof c.field)
#define DECIMAL(field) NUMBER(field, "[%d]")
#define HEX(field) NUMBER(field, "[0x%x]")
#define SENSORS(field) rowOf(#field, "%d", c.field, sizeof c.field)
#define RAW(field, blanks) \
    rowOf(#field blanks, "", reinterpret_cast<const U8_t*>(&c.field), sizeof c.field)
#define ELEMENTS(type, blanks)                                                               \
    DECIMAL(type##ControlOverall), RAW(type##Control, blanks), DECIMAL(type##StatusOverall), \
        RAW(type##Status, blanks)
#define RECORD_ONLY(number) rowOf("", "", &number, sizeof number)

// What is dumped, and stands in the record of the state: there each stands behind the one before,
// at a multiple of its width.
std::vector<Row> rowsOf(const EsaControl_t& c, const std::string& path) {
    // clang-format off
    return {
        DECIMAL(socketFdMSM), RECORD_ONLY(c.socketAddressMSM.sun_family),
        rowOf("socketAddressMSM.sun_path", "[" + path + "]", c.socketAddressMSM.sun_path, 108),
        DECIMAL(i2cFileFd), DECIMAL(enclosureType), DECIMAL(elementTypeMaxNumber),
        DECIMAL(deviceMaxNumber), DECIMAL(powerSupplyMaxNumber), DECIMAL(coolingMaxNumber),
        DECIMAL(temperatureSensorMaxNumber), DECIMAL(audibleAlarmMaxNumber),
        DECIMAL(pageCodeInRecentSndDiagCmd), RAW(sesTypeDescriptorList, " "),
        ELEMENTS(deviceElement, " "), HEX(driveFaultLedStatus0), HEX(driveFaultLedStatus1),
        ELEMENTS(powerSupplyElement, "  "), HEX(powerSupplyStatus),
        ELEMENTS(coolingElement, "  "), RAW(coolingElementOnOff, "  "), HEX(fanFaultStatus),
        SENSORS(temperatureSensor), SENSORS(temperatureReportStatus),
        ELEMENTS(audibleAlarmElement, "  "), NUMBER(alarmState, "%d"),
        HEX(compositeFaultStatus), DECIMAL(esaDebug), RAW(vitesse.vsc055GPD, "  "),
        RAW(vitesse.vsc055DDP, "  "), RAW(vitesse.vsc055FSC, "  "),
        rowOf("", "", c.vitesse.vsc055PWMC, sizeof c.vitesse.vsc055PWMC),
        DECIMAL(selectTimeout.sec), RECORD_ONLY(c.selectTimeout.usec),
        DECIMAL(pollTimeout.sec), RECORD_ONLY(c.pollTimeout.usec)};
    // clang-format on
}

// Bytes are 32 in a row, in groups of eight, behind an address that is left out; eight numbers are
// the sensors'.
Lines dumpOf(const Row& row) {
    const bool isBytes = row.format.empty();
    Lines lines(isBytes ? 1 : 0, "esaControl." + row.name + "=");
    for (std::size_t n = 0; n < row.values.size(); ++n) {
        const int value = row.values[n];
        if (isBytes) {
            lines.resize(2 + n / 32);
            lines.back() += fmt::format("{}{:02X}", n % 8 == 0 ? " " : "", value);
        } else if (row.values.size() == 8) {
            const std::string name = fmt::format("{}[{}]", row.name, n);
            lines.push_back(fmt::format("esaControl.{:29}= {}", name, value));
        } else if (n == 0) {
            lines.push_back(fmt::format("esaControl.{:34}= ", row.name) +
                            fmt::sprintf(row.format, value));
        }
    }
    return lines;
}

// ---- the records ----

void put(Bytes* bytes, std::size_t at, std::size_t width, U32_t value) {
    for (std::size_t n = 0; n < width; ++n) {
        (*bytes)[at + n] = static_cast<U8_t>(value >> 8 * (width - 1 - n));
    }
}

Bytes stateRecord(const std::vector<Row>& rows) {
    Bytes payload(524);
    std::size_t at = 0;
    for (const Row& row : rows) {
        at = (at + row.width - 1) / row.width * row.width;
        for (const int value : row.values) {
            put(&payload, at, row.width, static_cast<U32_t>(value));
            at += row.width;
        }
    }
    return payload;
}

// Texts are cut at 64 bytes and padded with zeros.
Bytes errorRecord(const std::string& file, const std::string& function, U32_t line,
                  const std::string& message) {
    Bytes payload(196);
    char* const texts = reinterpret_cast<char*>(payload.data());
    file.copy(texts, 64);
    function.copy(texts + 64, 64);
    put(&payload, 128, 4, line);
    message.copy(texts + 132, 64);
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
        const std::string path(round % 2 == 0 ? 108 : 0, 'p');  // up to its end
        std::strncpy(esaControl.socketAddressMSM.sun_path, path.c_str(), 108);
        EsaControl_t after = esaControl;
        after.esaDebug = TRUE;
        const std::string file(round, 'f'), function(140 - round, 'g'), message(round * 8, 'm');
        const U32_t line = round * 0x9E3779B1;
        esaFault(file.c_str(), static_cast<int>(line), function.c_str(), "%s", message.c_str());
        EXPECT_EQ(std::memcmp(&after, &esaControl, sizeof after), 0);
        EXPECT_EQ(std::strlen(esaDebugMsg), std::min<std::size_t>(message.size(), 1023));

        std::vector<Row> rows = rowsOf(esaControl, path);
        const auto records = takeAltRecords();
        const Bytes payloads[] = {errorRecord(file, function, line, message), stateRecord(rows),
                                  Bytes(esaControl.esaInMsg, esaControl.esaInMsg + 256),
                                  Bytes(esaControl.esaWorkSpace, esaControl.esaWorkSpace + 256)};
        ASSERT_EQ(records.size(), 4U);
        for (U32_t n = 0; n < 4; ++n) {
            EXPECT_EQ(records[n].bytes, recordOf(n + 1, payloads[n])) << n;
            EXPECT_EQ(records[n].logM, n < 3) << "the last one by altEventLog, which may wait";
            EXPECT_EQ(records[n].argument, n < 3 ? 0 : -1);
        }

        rows.push_back(rowOf("esaInMsg  ", "", esaControl.esaInMsg, 256));
        rows.push_back(rowOf("esaWorkSpace  ", "", esaControl.esaWorkSpace, 256));
        Lines lines = {"********************** Critical Error *********************",
                       "| File:      " + file,
                       "| Function:  " + function,
                       text("| Line:      ", static_cast<int>(line)),
                       "| Message:   " + message.substr(0, 1010),
                       std::string(59, '*')};
        for (const Row& row : rows) {
            std::ranges::move(row.name.empty() ? Lines() : dumpOf(row), std::back_inserter(lines));
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
