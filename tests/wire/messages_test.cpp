// SPDX-License-Identifier: Apache-2.0
// Golden bytes of the message header and of what the service logs: events, and the records of its
// critical faults.
#include "alt_event_log.h"
#include "esa_evl.h"
#include "mmsg.h"
#include "tests/wire/record_rows.h"

using wire::checkRecord;
using wire::Row;

TEST(WireMessage, Header) {
    using RECORD = MMCH_t;
    const Row<RECORD> rows[] = {
        ROW(mmch_lh.flink, 0x01020304u, 0, "01 02 03 04"),
        ROW(mmch_lh.blink, 0x05060708u, 4, "05 06 07 08"),
        ROW(message_type, 0x0E, 8, "0E"),
        ROW(mmch_version, 0x81, 9, "81"),
        ROW(mmsg_length, 0x0FE0, 10, "0F E0"),
        ROW(opcode.request.protocol, 0x12, 12, "12"),
        ROW(opcode.request.type, 0x91929Cu, 13, "91 92 9C"),
        ROW(requestor, 0x21, 16, "21"),
        ROW(mmsg_cont, 0x40, 17, "40"),
        ROW(dest_ep, 0x23, 18, "23"),
        ROW(pad, 0x24, 19, "24"),
        ROW(recipient_loc_bm[0], 0x08040201u, 20, "08 04 02 01"),
        ROW(recipient_loc_bm[1], 0x80000002u, 24, "80 00 00 02"),
        ROW(recipient_ob_bm[0], 0x31323334u, 28, "31 32 33 34"),
        ROW(recipient_ob_bm[1], 0x35363738u, 32, "35 36 37 38"),
        ROW(return_code, 0x41424344u, 36, "41 42 43 44"),
        ROW(handle, 0x51525354u, 40, "51 52 53 54"),
        ROW(general_use1, 0x61626364u, 44, "61 62 63 64"),
        ROW(general_use2, 0x71727374u, 48, "71 72 73 74"),
        ROW(general_use3, 0xA1A2A3A4u, 52, "A1 A2 A3 A4"),
        ROW(timestamp.high, 0xB1B2B3B4u, 56, "B1 B2 B3 B4"),
        ROW(timestamp.low, 0xC1C2C3C4u, 60, "C1 C2 C3 C4"),
    };
    checkRecord(rows);
}

TEST(WireMessage, OpcodeWordIsProtocolAndType) {
    MMCH_OPCODE_u opcode = {};
    opcode.whole = 0x08000001;
    EXPECT_EQ(opcode.request.protocol, MMSG_E_PROTOCOL_EVENTMGR);
    EXPECT_EQ(opcode.request.type, 1u);
    opcode.request.type = 0x123456;
    EXPECT_EQ(opcode.whole, 0x08123456u);
}

TEST(WireMessage, Event) {
    using RECORD = EsaEvent_t;
    const Row<RECORD> rows[] = {
        ROW(header.evEnclosureId[0], 'A', 0, "41"),
        ROW(header.evEnclosureId[63], 'B', 63, "42"),
        ROW(header.evBladeId[0], 'C', 64, "43"),
        ROW(header.evBladeId[63], 'D', 127, "44"),
        ROW(header.evSlotId, 0x01020304u, 128, "01 02 03 04"),
        ROW(header.evInstanceNumber, 0x05060708u, 132, "05 06 07 08"),
        ROW(header.evSequenceId, 0x090A0B0Cu, 136, "09 0A 0B 0C"),
        ROW(header.evTime, 0x8D0E0F10u, 140, "8D 0E 0F 10"),
        ROW(header.evStructLength, 0x0128, 144, "01 28"),
        ROW(header.evSource, 0x21, 146, "21"),
        ROW(header.evType, 0x03, 147, "03"),
        ROW(header.evCategory, 0x13, 148, "13"),
        ROW(header.evIdVersion, 0x01, 149, "01"),
        ROW(header.evId, 0x0A0B, 150, "0A 0B"),
        ROW(data.enclosureType, 0x05, 152, "05"),
        ROW(data.numberOfDrive, 0x11121314u, 156, "11 12 13 14"),
        ROW(data.numberOfPowerSupply, 0x15161718u, 160, "15 16 17 18"),
        ROW(data.numberOfFan, 0x191A1B1Cu, 164, "19 1A 1B 1C"),
        ROW(data.numberOfTemperatureSensor, 0x1D1E1F20u, 168, "1D 1E 1F 20"),
        ROW(data.numberOfAlarm, 0x21222324u, 172, "21 22 23 24"),
        ROW(data.driveFaultLedStatus0, 0x25262728u, 176, "25 26 27 28"),
        ROW(data.driveFaultLedStatus1, 0x292A2B2Cu, 180, "29 2A 2B 2C"),
        ROW(data.powerSupplyStatus, 0x2D2E2F30u, 184, "2D 2E 2F 30"),
        ROW(data.fanFaultStatus, 0x31323334u, 188, "31 32 33 34"),
        ROW(data.temperatureStatus, 0x35363738u, 192, "35 36 37 38"),
        ROW(data.temperatureSensorPosition, 0x393A3B3Cu, 196, "39 3A 3B 3C"),
        ROW(data.temperature, -5, 200, "FF FB"),
        ROW(data.alarmState, 0x41424344u, 204, "41 42 43 44"),
        ROW(data.information, 0x45464748u, 208, "45 46 47 48"),
        ROW(data.powerSupplyVoltage5V, 5.1, 216, "40 14 66 66 66 66 66 66"),
        ROW(data.powerSupplyVoltage12V, -12.05, 224, "C0 28 19 99 99 99 99 9A"),
        ROW(data.fanRpmSpeed[0], 0x2328, 232, "23 28"),
        ROW(data.fanRpmSpeed[1], 0x5152, 234, "51 52"),
        ROW(data.fanRpmSpeed[7], 0xFFFE, 246, "FF FE"),
        ROW(data.temperatureSensor[0], 32767, 248, "7F FF"),
        ROW(data.temperatureSensor[1], -25, 250, "FF E7"),
        ROW(data.temperatureSensor[7], 60, 262, "00 3C"),
        ROW(data.general_use1, 0x61626364u, 264, "61 62 63 64"),
        ROW(data.general_use2, 0x65666768u, 268, "65 66 67 68"),
        ROW(data.general_use3, 0x696A6B6Cu, 272, "69 6A 6B 6C"),
        ROW(data.general_use4, 0x6D6E6F70u, 276, "6D 6E 6F 70"),
        ROW(data.general_use5, 0x71727374u, 280, "71 72 73 74"),
        ROW(data.reserved5, 0x75767778u, 284, "75 76 77 78"),
        ROW(data.reserved6, 0x797A7B7Cu, 288, "79 7A 7B 7C"),
    };
    checkRecord(rows);
}

TEST(WireMessage, ErrorMessageOfACriticalFault) {
    using RECORD = EsaErrorMsg_t;
    const Row<RECORD> rows[] = {
        ROW(esaFileName[0], 'a', 0, "61"),
        ROW(esaFileName[63], 'b', 63, "62"),
        ROW(esaFunctionName[0], 'c', 64, "63"),
        ROW(esaFunctionName[63], 'd', 127, "64"),
        ROW(esaLineNumber, 0x01020384u, 128, "01 02 03 84"),
        ROW(esaErrorMsg[0], 'e', 132, "65"),
        ROW(esaErrorMsg[63], 'f', 195, "66"),
    };
    checkRecord(rows);
}

TEST(WireMessage, ServiceStateOfACriticalFault) {
    using RECORD = EsaInfo_t;
    const Row<RECORD> rows[] = {
        ROW(socketFdMSM, 0xFFFFFFFDu, 0, "FF FF FF FD"),
        ROW(socketAddressMSM.sun_family, 0x0102, 4, "01 02"),
        ROW(socketAddressMSM.sun_path[0], '/', 6, "2F"),
        ROW(socketAddressMSM.sun_path[107], 'z', 113, "7A"),
        ROW(i2cFileFd, 0x01020304u, 116, "01 02 03 04"),
        ROW(enclosureType, 0x05, 120, "05"),
        ROW(elementTypeMaxNumber, 0x06, 121, "06"),
        ROW(deviceMaxNumber, 0x10, 122, "10"),
        ROW(powerSupplyMaxNumber, 0x12, 123, "12"),
        ROW(coolingMaxNumber, 0x14, 124, "14"),
        ROW(temperatureSensorMaxNumber, 0x15, 125, "15"),
        ROW(audibleAlarmMaxNumber, 0x16, 126, "16"),
        ROW(pageCodeInRecentSndDiagCmd, 0x17, 127, "17"),
        ROW(sesTypeDescriptorList[0], 0x21, 128, "21"),
        ROW(sesTypeDescriptorList[4], 0x26, 132, "26"),
        ROW(deviceElementControlOverall, 0x31323334u, 136, "31 32 33 34"),
        ROW(deviceElementControl[0].commonControl, 0x80, 140, "80"),
        ROW(deviceElementControl[15].rqstFault, 1, 203, "04"),
        ROW(deviceElementStatusOverall, 0x35363738u, 204, "35 36 37 38"),
        ROW(deviceElementStatus[0].commonStatus, 0x01, 208, "01"),
        ROW(deviceElementStatus[15].appClientBypB, 1, 271, "01"),
        ROW(driveFaultLedStatus0, 0x41424344u, 272, "41 42 43 44"),
        ROW(driveFaultLedStatus1, 0x45464748u, 276, "45 46 47 48"),
        ROW(powerSupplyElementControlOverall, 0x51525354u, 280, "51 52 53 54"),
        ROW(powerSupplyElementControl[0].commonControl, 0x81, 284, "81"),
        ROW(powerSupplyElementControl[2].rqstFail, 1, 295, "02"),
        ROW(powerSupplyElementStatusOverall, 0x55565758u, 296, "55 56 57 58"),
        ROW(powerSupplyElementStatus[0].commonStatus, 0x05, 300, "05"),
        ROW(powerSupplyElementStatus[2].dcFail, 1, 311, "80"),
        ROW(powerSupplyStatus, 0x595A5B5Cu, 312, "59 5A 5B 5C"),
        ROW(coolingElementControlOverall, 0x61626364u, 316, "61 62 63 64"),
        ROW(coolingElementControl[0].commonControl, 0x82, 320, "82"),
        ROW(coolingElementControl[7].rqstOn, 1, 351, "04"),
        ROW(coolingElementStatusOverall, 0x65666768u, 352, "65 66 67 68"),
        ROW(coolingElementStatus[0].commonStatus, 0x02, 356, "02"),
        ROW(coolingElementStatus[7].off, 1, 387, "08"),
        ROW(coolingElementOnOff[0], 0x02, 388, "02"),
        ROW(coolingElementOnOff[7], 0x01, 395, "01"),
        ROW(fanFaultStatus, 0x696A6B6Cu, 396, "69 6A 6B 6C"),
        ROW(temperatureSensor[0], -25, 400, "FF E7"),
        ROW(temperatureSensor[7], 32767, 414, "7F FF"),
        ROW(temperatureReportStatus[0], 0x71727374u, 416, "71 72 73 74"),
        ROW(temperatureReportStatus[7], 0x75767778u, 444, "75 76 77 78"),
        ROW(audibleAlarmElementControlOverall, 0x81828384u, 448, "81 82 83 84"),
        ROW(audibleAlarmElementControl[0].setMute, 1, 455, "02"),
        ROW(audibleAlarmElementStatusOverall, 0x85868788u, 456, "85 86 87 88"),
        ROW(audibleAlarmElementStatus[0].remind, 1, 463, "08"),
        ROW(alarmState, 0x91929394u, 464, "91 92 93 94"),
        ROW(compositeFaultStatus, 0x95969798u, 468, "95 96 97 98"),
        ROW(esaDebug, 0x01, 472, "01"),
        ROW(vitesse.vsc055GPD[0], 0xA1, 473, "A1"),
        ROW(vitesse.vsc055GPD[7], 0xA2, 480, "A2"),
        ROW(vitesse.vsc055DDP[0], 0xA3, 481, "A3"),
        ROW(vitesse.vsc055DDP[7], 0xA4, 488, "A4"),
        ROW(vitesse.vsc055FSC[0], 0xA5, 489, "A5"),
        ROW(vitesse.vsc055FSC[7], 0xA6, 496, "A6"),
        ROW(vitesse.vsc055PWMC[0], 0xA7, 497, "A7"),
        ROW(vitesse.vsc055PWMC[7], 0xA8, 504, "A8"),
        ROW(selectTimeout.sec, 0xB1B2B3B4u, 508, "B1 B2 B3 B4"),
        ROW(selectTimeout.usec, 0xB5B6B7B8u, 512, "B5 B6 B7 B8"),
        ROW(pollTimeout.sec, 0xC1C2C3C4u, 516, "C1 C2 C3 C4"),
        ROW(pollTimeout.usec, 0xC5C6C7C8u, 520, "C5 C6 C7 C8"),
    };
    checkRecord(rows);
}

TEST(WireMessage, SlotOfTheAlternateEventLog) {
    using RECORD = AltEventSlotHdr_t;
    const Row<RECORD> rows[] = {
        ROW(magic[0], 'A', 0, "41"),
        ROW(magic[3], '1', 3, "31"),
        ROW(formatVersion, 0x0102, 4, "01 02"),
        ROW(call, 0x0304, 6, "03 04"),
        ROW(argument, 0xFFFFFFFEu, 8, "FF FF FF FE"),
        ROW(recordCrc, 0x11121314u, 12, "11 12 13 14"),
        ROW(sequenceNumber, 0x010203040506u, 16, "00 00 01 02 03 04 05 06"),
        ROW(time, 0x100069205A80u, 24, "00 00 10 00 69 20 5A 80"),
    };
    checkRecord(rows);
}
