// SPDX-License-Identifier: Apache-2.0
// Critical faults: the box and the dump to the letter, the four records to the byte.
#include "core/esa_fault.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "core/esa_control.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/hex.h"
#include "tests/support/trace_capture.h"
#include "tests/unit/core/fault_golden.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Bytes counting up from `first`.
template <typename Field>
void countUp(Field& field, U8_t first) {
    auto* bytes = reinterpret_cast<U8_t*>(&field);
    std::iota(bytes, bytes + sizeof field, first);
}

void elementsSet() {
    countUp(esaControl.deviceElementControl, 0x40);
    countUp(esaControl.deviceElementStatus, 0x80);
    countUp(esaControl.powerSupplyElementControl, 0xC0);
    countUp(esaControl.powerSupplyElementStatus, 0xD0);
    countUp(esaControl.coolingElementControl, 0x01);
    countUp(esaControl.coolingElementStatus, 0x21);
    countUp(esaControl.audibleAlarmElementControl, 0xF0);
    countUp(esaControl.audibleAlarmElementStatus, 0xF4);
    esaControl.deviceElementControlOverall = 1001;
    esaControl.deviceElementStatusOverall = 1002;
    esaControl.powerSupplyElementControlOverall = 1003;
    esaControl.powerSupplyElementStatusOverall = 1004;
    esaControl.coolingElementControlOverall = 1005;
    esaControl.coolingElementStatusOverall = 1006;
    esaControl.audibleAlarmElementControlOverall = 1007;
    esaControl.audibleAlarmElementStatusOverall = 1008;
}

// Every field distinct, so that one in another's place shows.
void stateSet() {
    esaControl = {};
    esaControl.socketFdMSM = 0x01020304;
    esaControl.socketAddressMSM.sun_family = 1;
    std::strcpy(esaControl.socketAddressMSM.sun_path, "/m/esadapter");
    esaControl.i2cFileFd = -2;
    countUp(esaControl.sesTypeDescriptorList, 0x19);
    esaControl.enclosureType = 0x11;
    esaControl.elementTypeMaxNumber = 0x12;
    esaControl.deviceMaxNumber = 0x13;
    esaControl.powerSupplyMaxNumber = 0x14;
    esaControl.coolingMaxNumber = 0x15;
    esaControl.temperatureSensorMaxNumber = 0x16;
    esaControl.audibleAlarmMaxNumber = 0x17;
    esaControl.pageCodeInRecentSndDiagCmd = 0xFF;
    elementsSet();
    esaControl.driveFaultLedStatus0 = 0x89ABCDEF;
    esaControl.driveFaultLedStatus1 = 0x12;
    esaControl.powerSupplyStatus = 3;
    countUp(esaControl.coolingElementOnOff, 0xE0);
    esaControl.fanFaultStatus = 0x81;
    std::ranges::copy(std::vector<S16_t>{1, -1, 32767, -32768, 25, 258, 0, -40},
                      esaControl.temperatureSensor);
    std::ranges::copy(std::vector<U32_t>{1, 2, 3, 4, 0x01020304, 0xFFFFFFFF, 0, 9},
                      esaControl.temperatureReportStatus);
    esaControl.alarmState = 4;
    esaControl.compositeFaultStatus = 0x80000004;
    countUp(esaControl.vitesse.vsc055GPD, 0x51);
    countUp(esaControl.vitesse.vsc055DDP, 0x61);
    countUp(esaControl.vitesse.vsc055FSC, 0x71);
    countUp(esaControl.vitesse.vsc055PWMC, 0x91);
    esaControl.selectTimeout = {1, 999};
    esaControl.pollTimeout = {10, 5};
    countUp(esaControl.esaInMsg, 0x00);
    countUp(esaControl.esaWorkSpace, 0x07);
}

// The rows of a dump begin with an address of this process.
std::string withoutAddresses(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line.starts_with("0x") ? "@ " + line.substr(12) : line;
        text += '\n';
    }
    return text;
}

class FaultTest : public testing::Test {
  protected:
    FaultTest() { stateSet(); }
};

std::string headerText(const AltRecord& record) {
    return hexText(std::vector(record.bytes.begin(), record.bytes.begin() + 152));
}
std::vector<std::uint8_t> payload(const AltRecord& record, std::size_t length) {
    return {record.bytes.begin() + 152, record.bytes.begin() + 152 + static_cast<long>(length)};
}
std::string text64(const AltRecord& record, std::size_t offset) {
    return {record.bytes.begin() + static_cast<long>(offset),
            record.bytes.begin() + static_cast<long>(offset) + 64};
}
std::string padded64(std::string text) {
    text.resize(64, '\0');
    return text;
}

}  // namespace

TEST_F(FaultTest, TraceShowsTheBoxAndTheWholeState) {
    TraceCapture trace(0x0001);
    esaFault("esamain.cpp", 42, "main()", "Linux select function fails, [%d]", 7);
    EXPECT_EQ(withoutAddresses(trace.take()), std::string(FAULT_TRACE_GOLDEN) + "\n");
}

TEST_F(FaultTest, LinesAreSaidByOneFileAndFunction) {
    TraceCapture trace(0x6001);
    ESA_FAULT("main()", "text");
    for (const std::string& line : trace.take()) {
        if (line.find("esaControl.") != line.npos || line.find('|') != line.npos) {
            EXPECT_TRUE(line.starts_with("esamain.cpp:esaFault:")) << line;
        }
    }
}

TEST_F(FaultTest, SilentTraceStillRecordsAllFour) {
    TraceCapture trace(0x0010);
    takeAltRecords();
    esaFault("esamain.cpp", 42, "main()", "text");
    EXPECT_THAT(trace.take(), IsEmpty());
    EXPECT_EQ(takeAltRecords().size(), 4U);
}

TEST_F(FaultTest, RecordsCarryTheMessageTheStateAndBothBuffers) {
    takeAltRecords();
    esaFault("esamain.cpp", 0x01020304, "main()", "sendSize = [%d]", 64);
    const std::vector<AltRecord> records = takeAltRecords();
    ASSERT_EQ(records.size(), 4U);
    const char* headers[] = {"00C4 2103 03 01 0001", "020C 2103 03 01 0002", "0100 2103 03 01 0003",
                             "0100 2103 03 01 0004"};
    const std::size_t lengths[] = {196, 524, 256, 256};
    for (std::size_t n = 0; n < 4; ++n) {
        SCOPED_TRACE(n);
        EXPECT_EQ(headerText(records[n]), hexText(std::string(144 * 2, '0') + headers[n]));
        const auto end = records[n].bytes.begin() + 152 + static_cast<long>(lengths[n]);
        EXPECT_TRUE(std::all_of(end, records[n].bytes.end(), [](auto b) { return b == 0; }));
        EXPECT_EQ(records[n].logM, n < 3);
    }
    EXPECT_EQ(records[3].argument, -1);

    EXPECT_EQ(text64(records[0], 152), padded64("esamain.cpp"));
    EXPECT_EQ(text64(records[0], 216), padded64("main()"));
    EXPECT_EQ(hexText(std::vector(records[0].bytes.begin() + 280, records[0].bytes.begin() + 284)),
              hexText("01020304"));
    EXPECT_EQ(text64(records[0], 284), padded64("sendSize = [64]"));
    EXPECT_EQ(hexText(payload(records[1], 524)), hexText(INFO_GOLDEN));
    EXPECT_EQ(payload(records[2], 256),
              std::vector(esaControl.esaInMsg, esaControl.esaInMsg + 256));
    EXPECT_EQ(payload(records[3], 256),
              std::vector(esaControl.esaWorkSpace, esaControl.esaWorkSpace + 256));
}

TEST_F(FaultTest, LongTextsAreCutInTheRecordAndWholeInTheBox) {
    const std::string text = std::string(60, 'm') + "0123456789";
    const std::string name = std::string(64, 'f') + "()";
    TraceCapture trace(0x0001);
    takeAltRecords();
    esaFault(name.c_str(), 1, name.c_str(), "%s", text.c_str());
    const AltRecord record = takeAltRecords().at(0);
    EXPECT_EQ(text64(record, 152), std::string(64, 'f'));
    EXPECT_EQ(text64(record, 216), std::string(64, 'f'));
    EXPECT_EQ(text64(record, 284), std::string(60, 'm') + "0123");
    EXPECT_EQ(trace.take().at(4), "| Message:   " + text);
}

TEST_F(FaultTest, TextThatExceedsItsBufferIsCut) {
    esaFault("esamain.cpp", 1, "main()", "%s", std::string(2000, 'x').c_str());
    EXPECT_EQ(std::string(esaDebugMsg), std::string(1023, 'x'));
}

TEST_F(FaultTest, PathThatFillsItsFieldIsPrintedToItsEnd) {
    std::ranges::fill(esaControl.socketAddressMSM.sun_path, 'p');
    TraceCapture trace(0x0001);
    ESA_FAULT("main()", "text");
    EXPECT_EQ(trace.take().at(7),
              "esaControl.socketAddressMSM.sun_path         = [" + std::string(108, 'p') + "]");
}

TEST_F(FaultTest, DebugSwitchStaysOnAndNothingElseChanges) {
    EsaControl_t before = esaControl;
    ESA_FAULT("main()", "text");
    ESA_FAULT("main()", "text");
    before.esaDebug = 1;
    EXPECT_EQ(std::memcmp(&before, &esaControl, sizeof before), 0);
}
