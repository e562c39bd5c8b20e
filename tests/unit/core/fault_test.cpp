// SPDX-License-Identifier: Apache-2.0
// A critical fault: the box and the dump of a random state in the trace, and the four records.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <random>

#include "state/esa_control.h"
#include "state/esa_fault.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/trace_capture.h"

using Bytes = std::vector<std::uint8_t>;

namespace {

// ---- what is dumped, and where it stands in the record of the state ----

enum class Form { DECIMAL, BARE, HEX, BYTES, SENSORS, RECORD_ONLY };

struct Row {
    const char* name;  // with the blanks in front of the equals sign, where they are not padded
    Form form;
    const void* data;
    int width, count;  // of numbers, in bytes; width 1 for raw bytes
    int offset;        // in the record; -1: not there
};

#define NUMBER(form, field, offset) \
    { #field, Form::form, &esaControl.field, int{sizeof esaControl.field }, 1, offset }
#define RAW(title, field, offset) \
    { title, Form::BYTES, &esaControl.field, 1, int{sizeof esaControl.field}, offset }
#define SENSORS(field, offset) \
    { #field, Form::SENSORS, &esaControl.field, int{sizeof esaControl.field[0] }, 8, offset }

const Row ROWS[] = {
    NUMBER(DECIMAL, socketFdMSM, 0),
    NUMBER(RECORD_ONLY, socketAddressMSM.sun_family, 4),
    {"sun_path", Form::RECORD_ONLY, &esaControl.socketAddressMSM.sun_path, 1, 108, 6},
    NUMBER(DECIMAL, i2cFileFd, 116),
    NUMBER(DECIMAL, enclosureType, 120),
    NUMBER(DECIMAL, elementTypeMaxNumber, 121),
    NUMBER(DECIMAL, deviceMaxNumber, 122),
    NUMBER(DECIMAL, powerSupplyMaxNumber, 123),
    NUMBER(DECIMAL, coolingMaxNumber, 124),
    NUMBER(DECIMAL, temperatureSensorMaxNumber, 125),
    NUMBER(DECIMAL, audibleAlarmMaxNumber, 126),
    NUMBER(DECIMAL, pageCodeInRecentSndDiagCmd, 127),
    RAW("sesTypeDescriptorList ", sesTypeDescriptorList, 128),
    NUMBER(DECIMAL, deviceElementControlOverall, 136),
    RAW("deviceElementControl ", deviceElementControl, 140),
    NUMBER(DECIMAL, deviceElementStatusOverall, 204),
    RAW("deviceElementStatus ", deviceElementStatus, 208),
    NUMBER(HEX, driveFaultLedStatus0, 272),
    NUMBER(HEX, driveFaultLedStatus1, 276),
    NUMBER(DECIMAL, powerSupplyElementControlOverall, 280),
    RAW("powerSupplyElementControl  ", powerSupplyElementControl, 284),
    NUMBER(DECIMAL, powerSupplyElementStatusOverall, 296),
    RAW("powerSupplyElementStatus  ", powerSupplyElementStatus, 300),
    NUMBER(HEX, powerSupplyStatus, 312),
    NUMBER(DECIMAL, coolingElementControlOverall, 316),
    RAW("coolingElementControl  ", coolingElementControl, 320),
    NUMBER(DECIMAL, coolingElementStatusOverall, 352),
    RAW("coolingElementStatus  ", coolingElementStatus, 356),
    RAW("coolingElementOnOff  ", coolingElementOnOff, 388),
    NUMBER(HEX, fanFaultStatus, 396),
    SENSORS(temperatureSensor, 400),
    SENSORS(temperatureReportStatus, 416),
    NUMBER(DECIMAL, audibleAlarmElementControlOverall, 448),
    RAW("audibleAlarmElementControl  ", audibleAlarmElementControl, 452),
    NUMBER(DECIMAL, audibleAlarmElementStatusOverall, 456),
    RAW("audibleAlarmElementStatus  ", audibleAlarmElementStatus, 460),
    NUMBER(BARE, alarmState, 464),
    NUMBER(HEX, compositeFaultStatus, 468),
    NUMBER(DECIMAL, esaDebug, 472),
    RAW("vitesse.vsc055GPD  ", vitesse.vsc055GPD, 473),
    RAW("vitesse.vsc055DDP  ", vitesse.vsc055DDP, 481),
    RAW("vitesse.vsc055FSC  ", vitesse.vsc055FSC, 489),
    {"vsc055PWMC", Form::RECORD_ONLY, &esaControl.vitesse.vsc055PWMC, 1, 8, 497},
    NUMBER(DECIMAL, selectTimeout.sec, 508),
    NUMBER(RECORD_ONLY, selectTimeout.usec, 512),
    NUMBER(DECIMAL, pollTimeout.sec, 516),
    NUMBER(RECORD_ONLY, pollTimeout.usec, 520),
    {"esaInMsg  ", Form::BYTES, esaControl.esaInMsg, 1, 256, -1},
    {"esaWorkSpace  ", Form::BYTES, esaControl.esaWorkSpace, 1, 256, -1},
};

// Of a host number of 1, 2 or 4 bytes; two bytes carry a sign.
long long numberAt(const Row& row, int n) {
    U8_t narrow;
    S16_t degrees;
    U32_t wide;
    const auto* const at = static_cast<const U8_t*>(row.data) + n * row.width;
    if (row.width == 1) {
        std::memcpy(&narrow, at, 1);
        return narrow;
    }
    if (row.width == 2) {
        std::memcpy(&degrees, at, 2);
        return degrees;
    }
    std::memcpy(&wide, at, 4);
    return wide;
}

void random(EsaControl_t* control, unsigned seed) {
    std::mt19937 random(seed);
    for (auto* byte = reinterpret_cast<U8_t*>(control);
         byte != reinterpret_cast<U8_t*>(control + 1); ++byte) {
        *byte = static_cast<U8_t>(random());
    }
    std::memset(control->socketAddressMSM.sun_path, seed % 2 == 0 ? 'p' : 0, 108);  // up to its end
}

// ---- the trace ----

std::string format(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string format(const char* format, ...) {
    char text[300];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return text;
}

// Rows of 32 bytes in groups of eight; the address in front is left out.
std::vector<std::string> bytesText(const Row& row) {
    std::vector<std::string> lines;
    for (int n = 0; n < row.count; ++n) {
        if (n % 32 == 0) {
            lines.emplace_back();
        }
        lines.back() +=
            format("%s%02X", n % 8 == 0 ? " " : "", static_cast<const U8_t*>(row.data)[n]);
    }
    return lines;
}

std::vector<std::string> rowTexts(const Row& row) {
    const int number = static_cast<int>(numberAt(row, 0));
    std::vector<std::string> lines;
    switch (row.form) {
        case Form::RECORD_ONLY:
            if (row.count == 108) {
                const auto* const path = static_cast<const char*>(row.data);
                lines = {format("esaControl.socketAddressMSM.sun_path         = [%.108s]", path)};
            }
            break;
        case Form::DECIMAL:
            lines = {format("esaControl.%-34s= [%d]", row.name, number)};
            break;
        case Form::BARE:
            lines = {format("esaControl.%-34s= %d", row.name, number)};
            break;
        case Form::HEX:
            lines = {format("esaControl.%-34s= [0x%x]", row.name, static_cast<unsigned>(number))};
            break;
        case Form::BYTES:
            lines = bytesText(row);
            lines.insert(lines.begin(), format("esaControl.%s=", row.name));
            break;
        case Form::SENSORS:
            for (int n = 0; n < 8; ++n) {
                const std::string name = format("%s[%d]", row.name, n);
                lines.push_back(format("esaControl.%-29s= %d", name.c_str(),
                                       static_cast<int>(numberAt(row, n))));
            }
    }
    return lines;
}

TEST(Fault, BoxAndDumpAreTraced) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        TraceCapture trace(0x0001);
        random(&esaControl, seed);
        auto expected = esaControl;
        expected.esaDebug = TRUE;
        esaFault("file.cpp", 42, "main()", "Linux select function fails, [%d]", 7);
        EXPECT_EQ(std::memcmp(&expected, &esaControl, sizeof expected), 0)
            << "only esaDebug changes";
        std::vector<std::string> lines = {
            "********************** Critical Error *********************",
            "| File:      file.cpp",
            "| Function:  main()",
            "| Line:      42",
            "| Message:   Linux select function fails, [7]",
            "***********************************************************"};
        for (const Row& row : ROWS) {
            for (const std::string& line : rowTexts(row)) {
                lines.push_back(line);
            }
        }
        lines.insert(lines.end(),
                     {"", "Finish the Enclosure Services Adapter internal data dump."});
        std::vector<std::string> said = trace.take();
        for (std::string& line : said) {
            line = line.starts_with("0x") ? line.substr(line.find(':') + 1) : line;
        }
        ASSERT_EQ(said, lines) << "seed " << seed;
        takeAltRecords();
    }
}

TEST(Fault, EveryLineIsSaidInOneName) {
    TraceCapture trace(0x0001 | TRACE_K_FILE | TRACE_K_FUNCTION);
    esaFault("f", 1, "g", "m");
    for (const std::string& line : trace.take()) {
        EXPECT_TRUE(line.starts_with("esamain.cpp:esaFault:") || line.starts_with("0x") ||
                    line.starts_with("Finish"))
            << line;
    }
    takeAltRecords();
}

// ---- the records ----

// A record: the event's header with the payload behind it.
Bytes recordOf(int id, const Bytes& payload) {
    Bytes record(4064);
    const std::uint8_t header[] = {static_cast<std::uint8_t>(payload.size() >> 8),
                                   static_cast<std::uint8_t>(payload.size()),
                                   0x21,
                                   3,
                                   3,
                                   1,
                                   0,
                                   static_cast<std::uint8_t>(id)};
    std::copy(std::begin(header), std::end(header), &record[144]);
    std::copy(payload.begin(), payload.end(), &record[152]);
    return record;
}

Bytes statePayload() {
    Bytes payload(524);
    for (const Row& row : ROWS) {
        for (int n = 0; n < row.count && row.offset >= 0; ++n) {
            for (int byte = 0; byte < row.width; ++byte) {
                const auto at = static_cast<std::size_t>(row.offset + n * row.width + byte);
                payload[at] =
                    static_cast<std::uint8_t>(numberAt(row, n) >> 8 * (row.width - 1 - byte));
            }
        }
    }
    return payload;
}

// Texts are cut at 64 bytes and padded with zeros.
void textPut(Bytes* payload, std::size_t offset, const std::string& text) {
    std::copy_n(text.begin(), std::min<std::size_t>(text.size(), 64),
                payload->begin() + static_cast<std::ptrdiff_t>(offset));
}

TEST(Fault, FourRecordsAreStoredWhateverTheTraceLevel) {
    for (unsigned seed = 0; seed < 140; ++seed) {
        TraceCapture trace(0x0010);
        random(&esaControl, seed);
        esaControl.esaDebug = TRUE;
        const std::string file(seed, 'f'), function(140 - seed, 'g'), text(seed * 8, 'm');
        const U32_t line = seed * 0x9E3779B1;
        esaFault(file.c_str(), static_cast<int>(line), function.c_str(), "%s", text.c_str());
        EXPECT_EQ(std::strlen(esaDebugMsg), std::min<std::size_t>(text.size(), 1023));
        Bytes error(196);
        textPut(&error, 0, file);
        textPut(&error, 64, function);
        for (std::size_t n = 0; n < 4; ++n) {
            error[128 + n] = static_cast<std::uint8_t>(line >> (24 - 8 * n));
        }
        textPut(&error, 132, text);
        const auto records = takeAltRecords();
        ASSERT_EQ(records.size(), 4U);
        EXPECT_EQ(records[0].bytes, recordOf(1, error));
        EXPECT_EQ(records[1].bytes, recordOf(2, statePayload()));
        EXPECT_EQ(records[2].bytes,
                  recordOf(3, Bytes(esaControl.esaInMsg, esaControl.esaInMsg + 256)));
        EXPECT_EQ(records[3].bytes,
                  recordOf(4, Bytes(esaControl.esaWorkSpace, esaControl.esaWorkSpace + 256)));
        EXPECT_EQ(trace.take(), std::vector<std::string>());
        for (std::size_t n = 0; n < 4; ++n) {
            EXPECT_EQ(records[n].logM, n < 3) << "the last one by altEventLog, which may wait";
            EXPECT_EQ(records[n].argument, n < 3 ? 0 : -1);
        }
    }
}

}  // namespace
