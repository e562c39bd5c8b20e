// SPDX-License-Identifier: Apache-2.0
// altevent as a reader: what it says of typed records of every kind.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "tests/unit/tools/altevent_file.h"

using testing::HasSubstr;
using Json = nlohmann::json;

namespace {

// Length, source, type, category, version and id of the event header, at its byte 144.
const Piece ERROR_MESSAGE = {144, "00 C4 21 03 03 01 00 01"};
const Piece SERVICE_STATE = {144, "02 0C 21 03 03 01 00 02"};
const Piece RECEIVED_MESSAGE = {144, "01 00 21 03 03 01 00 03"};
const Piece LAST_MESSAGE = {144, "01 00 21 03 03 01 00 04"};
const Piece LOG_REQUEST = {12, "08 00 00 01"};  // of the message header in front
const Piece BUG_CHECK = {64 + 144, "00 00 17 03 01 01 07 D0"};
const Piece SIGNAL = {64 + 144, "01 58 12 03 01 01 00 04"};

// Every field other than zero, neighbours different.
const char* const STATE_BYTES = R"(
    00 00 00 07                                       # socketFdMSM
    00 01 2F 72 75 6E 2F 6D                           # socketAddressMSM: AF_UNIX, "/run/m"
    00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
    00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
    00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
    00 00 00 00 00 00  00 00                          # gap
    FF FF FF FF                                       # i2cFileFd
    05 04 10 02 06 03 01 0C                           # enclosureType ... pageCodeInRecent...
    01 02 03 04 06  00 00 00                          # sesTypeDescriptorList, gap
    11 12 13 14                                       # deviceElementControlOverall
    80 00 73 3C  80 00 73 3C  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00
    00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00
    00 00 00 00  00 00 00 04
    21 22 23 24                                       # deviceElementStatusOverall
    01 00 FF 00  05 01 00 FF  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00
    00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00
    00 00 00 00  01 0F 00 04
    00 00 00 88  00 01 00 00                          # driveFaultLedStatus0, 1
    31 32 33 34  80 01 00 06  00 00 00 00  00 00 00 02  # powerSupplyElementControl
    35 36 37 38  01 00 70 FE  00 01 00 00  00 00 00 01  # powerSupplyElementStatus
    00 00 00 05                                       # powerSupplyStatus
    41 42 43 44  80 01 00 E6  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00
    00 00 00 00  00 00 00 24                          # coolingElementControl
    45 46 47 48  01 81 2C EE  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00
    00 00 00 00  02 40 01 02                          # coolingElementStatus
    02 01 00 02 02 02 02 03                           # coolingElementOnOff
    00 00 00 82                                       # fanFaultStatus
    00 1E FF FB 7F FF 00 00 00 00 00 00 00 00 80 00   # temperatureSensor
    00 00 00 01 00 00 00 02 00 00 00 03 00 00 00 04 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 09
    51 52 53 54  80 01 00 FA                          # audibleAlarmElementControl
    55 56 57 58  01 01 00 FB                          # audibleAlarmElementStatus
    00 00 00 03  80 00 00 1F                          # alarmState, compositeFaultStatus
    01                                                # esaDebug
    01 02 03 04 05 06 07 08  11 12 13 14 15 16 17 18  21 22 23 24 25 26 27 28  31 32 33 34 35 36 37 38
    00 00 00                                          # vitesse, gap
    00 00 00 01 00 00 00 02  00 00 00 0A 00 07 A1 20  # selectTimeout, pollTimeout
)";

const char* const STATE_TEXT = R"(  payload
    socketFdMSM                        7
    socketAddressMSM
      sun_family  1
      sun_path    /run/m
    i2cFileFd                          -1
    enclosureType                      5 (Korvo, VSC055)
    elementTypeMaxNumber               4
    deviceMaxNumber                    16
    powerSupplyMaxNumber               2
    coolingMaxNumber                   6
    temperatureSensorMaxNumber         3
    audibleAlarmMaxNumber              1
    pageCodeInRecentSndDiagCmd         12
    sesTypeDescriptorList
      [0]      1 (device)
      [1]      2 (power supply)
      [2]      3 (cooling)
      [3]      4 (temperature sensor)
      [4]      6 (audible alarm)
    deviceElementControlOverall        0x11121314
    deviceElementControl
      [0..1]   80 00 73 3c  commonControl=128, rqstIdent, rqstRemove, rqstInsert, doNotRemove, rqstActive, enableBypB, enableBypA, deviceOff, rqstFault
      [2..14]  00 00 00 00
      [15]     00 00 00 04  rqstFault
    deviceElementStatusOverall         0x21222324
    deviceElementStatus
      [0]      01 00 ff 00  commonStatus=1, report, ident, rmv, readyToInsert, enclosureBypB, enclosureBypA, doNotRemove, appClientBypA
      [1]      05 01 00 ff  commonStatus=5, slotAddress=1, deviceBypB, deviceBypA, BypB, BypA, deviceOff, faultReqstd, faultSensed, appClientBypB
      [2..14]  00 00 00 00
      [15]     01 0f 00 04  commonStatus=1, slotAddress=15, faultReqstd
    driveFaultLedStatus0               0x00000088 (drive 3, drive 7)
    driveFaultLedStatus1               0x00010000
    powerSupplyElementControlOverall   0x31323334
    powerSupplyElementControl
      [0]      80 01 00 06  commonControl=128, rqstIdent, rqstOn, rqstFail
      [1]      00 00 00 00
      [2]      00 00 00 02  rqstFail
    powerSupplyElementStatusOverall    0x35363738
    powerSupplyElementStatus
      [0]      01 00 70 fe  commonStatus=1, dcOverCurrent, dcUnderVoltage, dcOverVoltage, dcFail, acFail, tempWarn, ovrtmpFail, off, rqstedOn, fail
      [1]      00 01 00 00  ident
      [2]      00 00 00 01
    powerSupplyStatus                  0x00000005 (voltage in tolerance, no fault indication)
    coolingElementControlOverall       0x41424344
    coolingElementControl
      [0]      80 01 00 e6  commonControl=128, rqstIdent, requestedSpeedCode=7, rqstOn, rqstFail
      [1..6]   00 00 00 00
      [7]      00 00 00 24  requestedSpeedCode=1, rqstOn
    coolingElementStatusOverall        0x45464748
    coolingElementStatus
      [0]      01 81 2c ee  commonStatus=1, actualFanSpeedMsb=2, ident, actualFanSpeed=44, actualSpeedCode=7, off, rqstedOn, fail
      [1..6]   00 00 00 00
      [7]      02 40 01 02  commonStatus=2, actualFanSpeedMsb=1, actualFanSpeed=1, fail
    coolingElementOnOff
      [0]      2 (on)
      [1]      1 (off)
      [2]      0 (not available)
      [3..6]   2 (on)
      [7]      3
    fanFaultStatus                     0x00000082 (fan 1, fan 7)
    temperatureSensor
      [0]      30
      [1]      -5
      [2]      32767 (unreadable)
      [3..6]   0
      [7]      -32768
    temperatureReportStatus
      [0]      1 (below 35)
      [1]      2 (over 35)
      [2]      3 (over 45)
      [3]      4 (over 55)
      [4..6]   0 (not reported)
      [7]      9
    audibleAlarmElementControlOverall  0x51525354
    audibleAlarmElementControl         [0]      80 01 00 fa  commonControl=128, rqstIdent, unrecov, crit, nonCrit, info, setRemind, setMute
    audibleAlarmElementStatusOverall   0x55565758
    audibleAlarmElementStatus          [0]      01 01 00 fb  commonStatus=1, ident, unrecov, crit, nonCrit, info, remind, muted, rqstMute
    alarmState                         3 (mute)
    compositeFaultStatus               0x8000001f (power supply voltage, power supply redundancy, fan, overheat, I2C bus, LED on)
    esaDebug                           1
    vitesse
      vsc055GPD   01 02 03 04 05 06 07 08
      vsc055DDP   11 12 13 14 15 16 17 18
      vsc055FSC   21 22 23 24 25 26 27 28
      vsc055PWMC  31 32 33 34 35 36 37 38
    selectTimeout                      1.000002 s
    pollTimeout                        10.500000 s
)";

class AlteventDecodeTest : public AlteventTest {
  protected:
    // The report on one record.
    std::string textOf(const std::vector<Piece>& pieces) {
        write({slotOf(1, recordOf(pieces))});
        const Result result = run();
        EXPECT_EQ(result.status, 0);
        return result.out;
    }
    Json jsonOf(const std::vector<Piece>& pieces) {
        write({slotOf(1, recordOf(pieces))});
        return Json::parse(run({file_.string(), "--json"}).out)["records"][0];
    }
};

}  // namespace

TEST_F(AlteventDecodeTest, ErrorMessage) {
    const std::vector<Piece> record = {ERROR_MESSAGE,
                                       {152, hexOf("esamain.cpp")},
                                       {152 + 64, hexOf("esaEventMmsgToEmpSend()")},
                                       {152 + 128, "00 00 01 3B"},
                                       {152 + 132, hexOf(std::string(64, 'm'))},
                                       {152 + 196, "58"}};  // no part of the payload
    EXPECT_EQ(textOf(record),
              R"(#1  2025-11-21T12:26:40Z  critical fault, message  (slot 0, altEventLog -1)
  event header
    evStructLength  196
    evSource        33
    evType          3 (error)
    evCategory      3
    evIdVersion     1
    evId            1
  payload
    esaErrorMsg      )" +
                  std::string(64, 'm') + R"(
    esaFileName      esamain.cpp
    esaFunctionName  esaEventMmsgToEmpSend()
    esaLineNumber    315

1 records, 0 damaged slots
)");
    Json json = jsonOf(record);
    EXPECT_EQ(json["sequenceNumber"], 1);
    EXPECT_EQ(json["time"], "2025-11-21T12:26:40Z");
    EXPECT_EQ(json["call"], "altEventLog");
    EXPECT_EQ(json["argument"], -1);
    EXPECT_EQ(json["payload"]["esaLineNumber"], 315);
}

TEST_F(AlteventDecodeTest, EventHeaderFieldsInTheirOrder) {
    Json json = jsonOf({{0, hexOf("enclosure")},
                        {64, hexOf("blade")},
                        {128, "00 00 00 01 00 00 00 02 00 00 00 03 00 00 00 04"},
                        {144, "00 02 06 02 08 09 0A 0B"},
                        {152, "AB CD EF"}});
    EXPECT_EQ(json["kind"], "unknown");
    EXPECT_EQ(json["header"], Json::parse(R"({
        "evEnclosureId": "enclosure", "evBladeId": "blade", "evSlotId": 1, "evInstanceNumber": 2,
        "evSequenceId": 3, "evTime": 4, "evStructLength": 2, "evSource": 6,
        "evType": {"value": 2, "name": "warning"}, "evCategory": 8, "evIdVersion": 9,
        "evId": 2571})"));
    EXPECT_EQ(json["payload"], Json::parse(R"({"bytes": "abcd"})"));
}

TEST_F(AlteventDecodeTest, ServiceStateAsText) {
    ASSERT_EQ(hexBytes(STATE_BYTES).size(), 524u);
    const std::string text = textOf({SERVICE_STATE, {152, STATE_BYTES}});
    EXPECT_EQ(text.substr(text.find("  payload")),
              STATE_TEXT + std::string("\n1 records, 0 damaged slots\n"));
}

TEST_F(AlteventDecodeTest, ServiceStateAsJson) {
    Json state = jsonOf({SERVICE_STATE, {152, STATE_BYTES}})["payload"];
    const struct {
        const char* path;
        const char* value;
    } cases[] = {
        {"/socketAddressMSM", R"({"sun_family": 1, "sun_path": "/run/m"})"},
        {"/i2cFileFd", "-1"},
        {"/enclosureType", R"({"value": 5, "name": "Korvo, VSC055"})"},
        {"/sesTypeDescriptorList", "[1, 2, 3, 4, 6]"},
        {"/deviceElementControlOverall", "286397204"},
        {"/deviceElementControl/15/rqstFault", "1"},
        {"/deviceElementControl/15/deviceOff", "0"},
        {"/deviceElementStatus/1/slotAddress", "1"},
        {"/driveFaultLedStatus0", R"({"value": 136, "set": [3, 7]})"},
        {"/powerSupplyElementControl/2",
         R"({"commonControl": 0, "rqstIdent": 0, "rqstOn": 0, "rqstFail": 1})"},
        {"/coolingElementStatus/0/actualFanSpeedMsb", "2"},
        {"/temperatureSensor", "[30, -5, 32767, 0, 0, 0, 0, -32768]"},
        {"/compositeFaultStatus/value", "2147483679"},
        {"/powerSupplyStatus/set", R"(["voltage in tolerance", "no fault indication"])"},
        {"/vitesse/vsc055FSC", R"("2122232425262728")"},
        {"/pollTimeout", R"({"sec": 10, "usec": 500000})"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(state[Json::json_pointer(c.path)], Json::parse(c.value)) << c.path;
    }
    EXPECT_EQ(state.size(), 41u);
}

TEST_F(AlteventDecodeTest, MessageBuffersShowHeaderAndBytes) {
    const Piece message = {152, R"(
        01 02 03 04  05 06 07 08  0E 01 00 48  12 00 00 1C  1A 40 21 00
        00 04 00 00  00 00 00 02  80 00 00 00  00 00 00 00
        00 00 00 02  00 00 12 34  00 00 00 0A  00 00 00 0B  00 00 00 0C
        00 00 00 0D  00 00 00 0E  1C 80 02 00 10 00 00 00)"};
    const std::string expected = R"(  payload
    header
      flink             0x01020304
      blink             0x05060708
      message_type      14 (MMSG)
      mmch_version      1
      mmsg_length       72
      protocol          18 (SES)
      type              28 RECEIVE DIAGNOSTIC RESULTS
      requestor         26 (ENVIRONMP)
      mmsg_cont         0x40 (response)
      dest_ep           33 (ES_ADAPTERMP)
      recipient_loc_bm  18 (STARTUPMP), 33 (ES_ADAPTERMP)
      recipient_ob_bm   31 (ISNSC)
      return_code       2
      handle            0x00001234
      general_use1      0x0000000a
      general_use2      0x0000000b
      general_use3      0x0000000c
      timestamp.high    0x0000000d
      timestamp.low     0x0000000e
    bytes
      0000  01 02 03 04 05 06 07 08 0e 01 00 48 12 00 00 1c  |...........H....|
      0010  1a 40 21 00 00 04 00 00 00 00 00 02 80 00 00 00  |.@!.............|
      0020  00 00 00 00 00 00 00 02 00 00 12 34 00 00 00 0a  |...........4....|
      0030  00 00 00 0b 00 00 00 0c 00 00 00 0d 00 00 00 0e  |................|
      0040  1c 80 02 00 10 00 00 00 00 00 00 00 00 00 00 00  |................|
      0050  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  |................|
      *
)";
    const std::string received = textOf({RECEIVED_MESSAGE, message});
    EXPECT_THAT(received, HasSubstr("critical fault, received message"));
    EXPECT_THAT(received, HasSubstr(expected));
    const std::string last = textOf({LAST_MESSAGE, message});
    EXPECT_THAT(last, HasSubstr("critical fault, last message built"));
    EXPECT_THAT(last, HasSubstr(expected));
    Json json = jsonOf({LAST_MESSAGE, message})["payload"];
    EXPECT_EQ(json["header"]["recipient_loc_bm"], Json::parse("[18, 33]"));
    EXPECT_EQ(std::string(json["bytes"]).size(), 512u);
}

TEST_F(AlteventDecodeTest, TraceBugCheckSplitsTheNames) {
    EXPECT_THAT(textOf({LOG_REQUEST,
                        BUG_CHECK,
                        {216, "01 41"},
                        {218, hexOf("esamain") + "00" + hexOf("esaVsc055PollingProcesx")},
                        {248, hexOf("BUG CHECK: lock \x1b[2J lost\n")}}),
                HasSubstr("trace bug check"));
    Json json = jsonOf({LOG_REQUEST,
                        BUG_CHECK,
                        {216, "01 41"},
                        {218, hexOf("esamain") + "00" + hexOf("esaVsc055PollingProces")},
                        {248, hexOf("BUG CHECK: lock \x1b[2J lost\n")}});
    EXPECT_EQ(json["payload"], Json::parse(R"({
        "text": "BUG CHECK: lock \\x1b[2J lost", "fileName": "esamain",
        "functionName": "esaVsc055PollingProces", "lineNumber": 321})"));
    Json noZero = jsonOf({LOG_REQUEST, BUG_CHECK, {218, hexOf(std::string(30, 'f'))}});
    EXPECT_EQ(noZero["payload"]["fileName"], std::string(30, 'f'));
    EXPECT_EQ(noZero["payload"]["functionName"], "");
}

TEST_F(AlteventDecodeTest, FaultSignalOfTheController) {
    const std::string text = textOf({LOG_REQUEST,
                                     SIGNAL,
                                     {216, "00 00 12 67"},
                                     {220, hexOf("/usr/sbin/esa 12345")},
                                     {240, "00 00 00 0B  00 00 00 00  00 00 00 01  DE AD BE EF"},
                                     {368, "00 00 00 A0  00 00 00 A1"},
                                     {368 + 32 * 4, "10 00 1A 2C"},
                                     {368 + 43 * 4, "00 00 00 FE"}});
    EXPECT_THAT(text, HasSubstr(R"(  payload
    processId     4711
    programName   /usr/sbin/esa 12345
    signal        11 (SIGSEGV)
    code          1
    faultAddress  0xdeadbeef
    registers
      gpr0      000000a0  gpr1      000000a1  gpr2      00000000  gpr3      00000000
)"));
    EXPECT_THAT(text, HasSubstr("\n      nip       10001a2c  msr       00000000"));
    EXPECT_THAT(text, HasSubstr("dsisr     00000000  result    000000fe\n"));
}

TEST_F(AlteventDecodeTest, SentSignalOfADevelopmentMachine) {
    Json json = jsonOf({LOG_REQUEST,
                        SIGNAL,
                        {240, "0F 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00"},
                        {256, "92 10 00 00  E8 03 00 00"},
                        {368 + 16 * 8, "88 77 66 55 44 33 22 11"}})["payload"];
    EXPECT_EQ(json["signal"], Json::parse(R"({"value": 15, "name": "SIGTERM"})"));
    EXPECT_EQ(json["code"], 0);
    EXPECT_EQ(json["senderProcessId"], 4242);
    EXPECT_EQ(json["senderUserId"], 1000);
    EXPECT_EQ(json["registers"]["rip"], 0x1122334455667788u);
    EXPECT_FALSE(json.contains("faultAddress"));
}

TEST_F(AlteventDecodeTest, FaultSignalThatWasSentNamesItsSender) {
    Json json = jsonOf({LOG_REQUEST,
                        SIGNAL,
                        {240, "00 00 00 0B  00 00 00 00  00 00 00 00"},
                        {252, "00 00 10 92  00 00 03 E8"}})["payload"];
    EXPECT_EQ(json["signal"]["name"], "SIGSEGV");
    EXPECT_EQ(json["senderProcessId"], 4242);
    EXPECT_EQ(json["senderUserId"], 1000);
}

TEST_F(AlteventDecodeTest, SignalOfAnUnknownMachineIsDumped) {
    Json json = jsonOf({LOG_REQUEST, SIGNAL, {240, "00 0B 00 00 AA"}})["payload"];
    EXPECT_EQ(std::string(json["signalInfo"]).substr(0, 10), "000b0000aa");
    EXPECT_EQ(std::string(json["registers"]).size(), 2u * 176);
    EXPECT_TRUE(jsonOf({LOG_REQUEST, SIGNAL})["payload"].contains("signalInfo"));
}

TEST_F(AlteventDecodeTest, RecordOfAnotherLengthOrVersionIsDumpedNotGuessed) {
    const char* const headers[] = {
        "00 C3 21 03 03 01 00 01",  // length
        "00 C4 20 03 03 01 00 01",  // source
        "00 C4 21 02 03 01 00 01",  // type
        "00 C4 21 03 02 01 00 01",  // category
        "00 C4 21 03 03 02 00 01",  // version
        "00 C4 21 03 03 01 01 01",  // id
    };
    for (const char* header : headers) {
        EXPECT_EQ(jsonOf({{144, header}})["kind"], "unknown") << header;
    }
}

TEST_F(AlteventDecodeTest, LengthBeyondTheRecordEndsWithIt) {
    Json alone = jsonOf({{144, "FF FF 05 06 07 08 09 0A"}});
    EXPECT_EQ(std::string(alone["payload"]["bytes"]).size(), 2u * (4064 - 152));
    Json inMessage = jsonOf({LOG_REQUEST, {64 + 144, "FF FF 05 06 07 08 09 0A"}});
    EXPECT_EQ(std::string(inMessage["payload"]["bytes"]).size(), 2u * (4064 - 216));
}
