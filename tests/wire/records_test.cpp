// SPDX-License-Identifier: Apache-2.0
// The records that leave the process, against golden bytes typed by hand.
#include <gtest/gtest.h>

#include <cstring>

#include "esa_evl.h"
#include "mmsg.h"
#include "ses_mesgs.h"
#include "tests/support/hex.h"

using Bytes = std::vector<std::uint8_t>;

namespace {

// Where a field stands in its record, and what it reads in one of zeros with these bytes; as a
// double, which holds every integer used exactly. Bits are packed from the most significant one
// down; several layouts mirror the published standard's, as all peers share them.
struct Row {
    std::string record, field;
    std::size_t size, offset;
    const char* bytes;
    double value;
    double (*read)(const void*);
};
#define ROW(type, field, offset, bytes, value)                                       \
    {                                                                                \
#type, #field, sizeof(type), offset, bytes, value,                           \
            [](const void* r) { return double(static_cast<const type*>(r)->field); } \
    }

// clang-format off
const Row ROWS[] = {
    ROW(EsaEvent_t, header.evEnclosureId[0], 0, "41", 65),
    ROW(EsaEvent_t, header.evBladeId[0], 64, "43", 67),
    ROW(EsaEvent_t, header.evSlotId, 128, "01 02 03 04", 16909060),
    ROW(EsaEvent_t, header.evInstanceNumber, 132, "05 06 07 08", 84281096),
    ROW(EsaEvent_t, header.evSequenceId, 136, "09 0A 0B 0C", 151653132),
    ROW(EsaEvent_t, header.evTime, 140, "8D 0E 0F 10", 2366508816),
    ROW(EsaEvent_t, header.evStructLength, 144, "01 28", 296),
    ROW(EsaEvent_t, header.evSource, 146, "21", 33),
    ROW(EsaEvent_t, header.evType, 147, "03", 3),
    ROW(EsaEvent_t, header.evCategory, 148, "13", 19),
    ROW(EsaEvent_t, header.evIdVersion, 149, "01", 1),
    ROW(EsaEvent_t, header.evId, 150, "0A 0B", 2571),
    ROW(EsaEvent_t, data.enclosureType, 152, "05", 5),
    ROW(EsaEvent_t, data.numberOfDrive, 156, "11 12 13 14", 286397204),
    ROW(EsaEvent_t, data.numberOfPowerSupply, 160, "15 16 17 18", 353769240),
    ROW(EsaEvent_t, data.numberOfFan, 164, "19 1A 1B 1C", 421141276),
    ROW(EsaEvent_t, data.numberOfTemperatureSensor, 168, "1D 1E 1F 20", 488513312),
    ROW(EsaEvent_t, data.numberOfAlarm, 172, "21 22 23 24", 555885348),
    ROW(EsaEvent_t, data.driveFaultLedStatus0, 176, "25 26 27 28", 623257384),
    ROW(EsaEvent_t, data.driveFaultLedStatus1, 180, "29 2A 2B 2C", 690629420),
    ROW(EsaEvent_t, data.powerSupplyStatus, 184, "2D 2E 2F 30", 758001456),
    ROW(EsaEvent_t, data.fanFaultStatus, 188, "31 32 33 34", 825373492),
    ROW(EsaEvent_t, data.temperatureStatus, 192, "35 36 37 38", 892745528),
    ROW(EsaEvent_t, data.temperatureSensorPosition, 196, "39 3A 3B 3C", 960117564),
    ROW(EsaEvent_t, data.temperature, 200, "FF FB", -5),
    ROW(EsaEvent_t, data.alarmState, 204, "41 42 43 44", 1094861636),
    ROW(EsaEvent_t, data.information, 208, "45 46 47 48", 1162233672),
    ROW(EsaEvent_t, data.powerSupplyVoltage5V, 216, "40 14 66 66 66 66 66 66", 5.1),
    ROW(EsaEvent_t, data.powerSupplyVoltage12V, 224, "C0 28 19 99 99 99 99 9A", -12.05),
    ROW(EsaEvent_t, data.fanRpmSpeed[0], 232, "23 28", 9000),
    ROW(EsaEvent_t, data.fanRpmSpeed[1], 234, "51 52", 20818),
    ROW(EsaEvent_t, data.temperatureSensor[0], 248, "7F FF", 32767),
    ROW(EsaEvent_t, data.temperatureSensor[1], 250, "FF E7", -25),
    ROW(EsaEvent_t, data.general_use1, 264, "61 62 63 64", 1633837924),
    ROW(EsaEvent_t, data.general_use2, 268, "65 66 67 68", 1701209960),
    ROW(EsaEvent_t, data.general_use3, 272, "69 6A 6B 6C", 1768581996),
    ROW(EsaEvent_t, data.general_use4, 276, "6D 6E 6F 70", 1835954032),
    ROW(EsaEvent_t, data.general_use5, 280, "71 72 73 74", 1903326068),
    ROW(EsaEvent_t, data.reserved5, 284, "75 76 77 78", 1970698104),
    ROW(EsaEvent_t, data.reserved6, 288, "79 7A 7B 7C", 2038070140),
    ROW(SndDiagCommand_t, operationCode, 0, "1D", 29),
    ROW(SndDiagCommand_t, unitOffL, 1, "80", 1),
    ROW(SndDiagCommand_t, devOffL, 1, "40", 1),
    ROW(SndDiagCommand_t, selfTest, 1, "20", 1),
    ROW(SndDiagCommand_t, reservedBit, 1, "10", 1),
    ROW(SndDiagCommand_t, pf, 1, "08", 1),
    ROW(SndDiagCommand_t, selfTestCode, 1, "05", 5),
    ROW(SndDiagCommand_t, reserved, 2, "91", 145),
    ROW(SndDiagCommand_t, parameterListLength, 4, "01 23", 291),
    ROW(SndDiagCommand_t, control, 6, "A5", 165),
    ROW(SenseData_t, responseCode, 0, "E0", 112),
    ROW(SenseData_t, valid, 0, "01", 1),
    ROW(SenseData_t, obsolete, 1, "91", 145),
    ROW(SenseData_t, senseKey, 2, "50", 5),
    ROW(SenseData_t, reserved, 2, "08", 1),
    ROW(SenseData_t, ili, 2, "04", 1),
    ROW(SenseData_t, eom, 2, "02", 1),
    ROW(SenseData_t, filemark, 2, "01", 1),
    ROW(SenseData_t, information, 4, "11 12 13 14", 286397204),
    ROW(SenseData_t, additionalSenseLength, 8, "21", 33),
    ROW(SenseData_t, commandSpecificInformation, 12, "31 32 33 34", 825373492),
    ROW(SenseData_t, additionalSenseCode, 16, "24", 36),
    ROW(SenseData_t, additionalSenseCodeQualifier, 17, "41", 65),
    ROW(SenseData_t, fieldReplaceableUnitCode, 18, "42", 66),
    ROW(SenseData_t, senseKeySpecific7Bits, 19, "A2", 81),
    ROW(SenseData_t, sksv, 19, "01", 1),
    ROW(SenseData_t, senseKeySpecific16Bits, 20, "61 62", 24930),
    ROW(ConfDiagPage_t, header.pageCode, 0, "01", 1),
    ROW(ConfDiagPage_t, header.numberSubEnclosure, 1, "02", 2),
    ROW(ConfDiagPage_t, header.pageLength, 2, "03 40", 832),
    ROW(ConfDiagPage_t, header.generationCode, 4, "05 06 07 08", 84281096),
    ROW(ConfDiagPage_t, enclosureDesc.numberESProcesses, 8, "A0", 5),
    ROW(ConfDiagPage_t, enclosureDesc.reserved1, 8, "10", 1),
    ROW(ConfDiagPage_t, enclosureDesc.relESProcessId, 8, "0A", 5),
    ROW(ConfDiagPage_t, enclosureDesc.reserved2, 8, "01", 1),
    ROW(ConfDiagPage_t, enclosureDesc.subEnclosureId, 9, "11", 17),
    ROW(ConfDiagPage_t, enclosureDesc.numberElementTypeDescHdrs, 10, "12", 18),
    ROW(ConfDiagPage_t, enclosureDesc.enclosureDescLength, 11, "24", 36),
    ROW(ConfDiagPage_t, enclosureDesc.enclosureLogId[0], 12, "31", 49),
    ROW(ConfDiagPage_t, enclosureDesc.enclosureVendorId[0], 20, "33", 51),
    ROW(ConfDiagPage_t, enclosureDesc.productId[0], 28, "35", 53),
    ROW(ConfDiagPage_t, enclosureDesc.productRevLevel[0], 44, "37", 55),
    ROW(ConfDiagPage_t, typeDescHdrs[0].elementType, 48, "06", 6),
    ROW(ConfDiagPage_t, typeDescHdrs[0].numberPossibleElements, 49, "41", 65),
    ROW(ConfDiagPage_t, typeDescHdrs[0].subEnclosureId, 50, "42", 66),
    ROW(ConfDiagPage_t, typeDescHdrs[0].typeDescTextLength, 51, "43", 67),
    ROW(EncStatDiagPage_t, header.pageCode, 0, "02", 2),
    ROW(EncStatDiagPage_t, header.unrecov, 1, "80", 1),
    ROW(EncStatDiagPage_t, header.crit, 1, "40", 1),
    ROW(EncStatDiagPage_t, header.nonCrit, 1, "20", 1),
    ROW(EncStatDiagPage_t, header.info, 1, "10", 1),
    ROW(EncStatDiagPage_t, header.invop, 1, "08", 1),
    ROW(EncStatDiagPage_t, header.reserved, 1, "05", 5),
    ROW(EncStatDiagPage_t, header.pageLength, 2, "01 88", 392),
    ROW(EncStatDiagPage_t, header.generationCode, 4, "05 06 07 08", 84281096),
    ROW(EncStatDiagPage_t, statusList[0], 8, "11", 17),
    ROW(EncContDiagPage_t, header.pageCode, 0, "02", 2),
    ROW(EncContDiagPage_t, header.unrecov, 1, "80", 1),
    ROW(EncContDiagPage_t, header.crit, 1, "40", 1),
    ROW(EncContDiagPage_t, header.nonCrit, 1, "20", 1),
    ROW(EncContDiagPage_t, header.info, 1, "10", 1),
    ROW(EncContDiagPage_t, header.reserved, 1, "09", 9),
    ROW(EncContDiagPage_t, header.pageLength, 2, "01 88", 392),
    ROW(EncContDiagPage_t, header.generationCode, 4, "05 06 07 08", 84281096),
    ROW(EncContDiagPage_t, controlList[0], 8, "11", 17),
    ROW(DeviceElementStat_t, commonStatus, 0, "81", 129),
    ROW(DeviceElementStat_t, slotAddress, 1, "0F", 15),
    ROW(DeviceElementStat_t, report, 2, "80", 1),
    ROW(DeviceElementStat_t, ident, 2, "40", 1),
    ROW(DeviceElementStat_t, rmv, 2, "20", 1),
    ROW(DeviceElementStat_t, readyToInsert, 2, "10", 1),
    ROW(DeviceElementStat_t, enclosureBypB, 2, "08", 1),
    ROW(DeviceElementStat_t, enclosureBypA, 2, "04", 1),
    ROW(DeviceElementStat_t, doNotRemove, 2, "02", 1),
    ROW(DeviceElementStat_t, appClientBypA, 2, "01", 1),
    ROW(DeviceElementStat_t, deviceBypB, 3, "80", 1),
    ROW(DeviceElementStat_t, deviceBypA, 3, "40", 1),
    ROW(DeviceElementStat_t, BypB, 3, "20", 1),
    ROW(DeviceElementStat_t, BypA, 3, "10", 1),
    ROW(DeviceElementStat_t, deviceOff, 3, "08", 1),
    ROW(DeviceElementStat_t, faultReqstd, 3, "04", 1),
    ROW(DeviceElementStat_t, faultSensed, 3, "02", 1),
    ROW(DeviceElementStat_t, appClientBypB, 3, "01", 1),
    ROW(PowerSupplyElementStat_t, commonStatus, 0, "81", 129),
    ROW(PowerSupplyElementStat_t, reserved1, 1, "A2", 81),
    ROW(PowerSupplyElementStat_t, ident, 1, "01", 1),
    ROW(PowerSupplyElementStat_t, rsvd1, 2, "80", 1),
    ROW(PowerSupplyElementStat_t, dcOverCurrent, 2, "40", 1),
    ROW(PowerSupplyElementStat_t, dcUnderVoltage, 2, "20", 1),
    ROW(PowerSupplyElementStat_t, dcOverVoltage, 2, "10", 1),
    ROW(PowerSupplyElementStat_t, reserved2, 2, "09", 9),
    ROW(PowerSupplyElementStat_t, dcFail, 3, "80", 1),
    ROW(PowerSupplyElementStat_t, acFail, 3, "40", 1),
    ROW(PowerSupplyElementStat_t, tempWarn, 3, "20", 1),
    ROW(PowerSupplyElementStat_t, ovrtmpFail, 3, "10", 1),
    ROW(PowerSupplyElementStat_t, off, 3, "08", 1),
    ROW(PowerSupplyElementStat_t, rqstedOn, 3, "04", 1),
    ROW(PowerSupplyElementStat_t, fail, 3, "02", 1),
    ROW(PowerSupplyElementStat_t, rsvd2, 3, "01", 1),
    ROW(CoolingElementStat_t, commonStatus, 0, "81", 129),
    ROW(CoolingElementStat_t, actualFanSpeedMsb, 1, "80", 2),
    ROW(CoolingElementStat_t, reserved, 1, "26", 19),
    ROW(CoolingElementStat_t, ident, 1, "01", 1),
    ROW(CoolingElementStat_t, actualFanSpeed, 2, "84", 132),
    ROW(CoolingElementStat_t, actualSpeedCode, 3, "A0", 5),
    ROW(CoolingElementStat_t, rsvd1, 3, "10", 1),
    ROW(CoolingElementStat_t, off, 3, "08", 1),
    ROW(CoolingElementStat_t, rqstedOn, 3, "04", 1),
    ROW(CoolingElementStat_t, fail, 3, "02", 1),
    ROW(CoolingElementStat_t, rsvd2, 3, "01", 1),
    ROW(TemperatureSensorElementStat_t, commonStatus, 0, "81", 129),
    ROW(TemperatureSensorElementStat_t, reserved1, 1, "A2", 81),
    ROW(TemperatureSensorElementStat_t, ident, 1, "01", 1),
    ROW(TemperatureSensorElementStat_t, temperature, 2, "32", 50),
    ROW(TemperatureSensorElementStat_t, utWarning, 3, "80", 1),
    ROW(TemperatureSensorElementStat_t, utFailure, 3, "40", 1),
    ROW(TemperatureSensorElementStat_t, otWarning, 3, "20", 1),
    ROW(TemperatureSensorElementStat_t, otFailure, 3, "10", 1),
    ROW(TemperatureSensorElementStat_t, reserved2, 3, "09", 9),
    ROW(AudibleAlarmElementStat_t, commonStatus, 0, "81", 129),
    ROW(AudibleAlarmElementStat_t, reserved1, 1, "A2", 81),
    ROW(AudibleAlarmElementStat_t, ident, 1, "01", 1),
    ROW(AudibleAlarmElementStat_t, reserved2, 2, "61", 97),
    ROW(AudibleAlarmElementStat_t, unrecov, 3, "80", 1),
    ROW(AudibleAlarmElementStat_t, crit, 3, "40", 1),
    ROW(AudibleAlarmElementStat_t, nonCrit, 3, "20", 1),
    ROW(AudibleAlarmElementStat_t, info, 3, "10", 1),
    ROW(AudibleAlarmElementStat_t, remind, 3, "08", 1),
    ROW(AudibleAlarmElementStat_t, rsvd, 3, "04", 1),
    ROW(AudibleAlarmElementStat_t, muted, 3, "02", 1),
    ROW(AudibleAlarmElementStat_t, rqstMute, 3, "01", 1),
    ROW(DeviceElementCont_t, commonControl, 0, "81", 129),
    ROW(DeviceElementCont_t, reserved1, 1, "51", 81),
    ROW(DeviceElementCont_t, reserved2, 2, "80", 1),
    ROW(DeviceElementCont_t, rqstIdent, 2, "40", 1),
    ROW(DeviceElementCont_t, rqstRemove, 2, "20", 1),
    ROW(DeviceElementCont_t, rqstInsert, 2, "10", 1),
    ROW(DeviceElementCont_t, reserved3, 2, "08", 2),
    ROW(DeviceElementCont_t, doNotRemove, 2, "02", 1),
    ROW(DeviceElementCont_t, rqstActive, 2, "01", 1),
    ROW(DeviceElementCont_t, reserved4, 3, "80", 2),
    ROW(DeviceElementCont_t, enableBypB, 3, "20", 1),
    ROW(DeviceElementCont_t, enableBypA, 3, "10", 1),
    ROW(DeviceElementCont_t, deviceOff, 3, "08", 1),
    ROW(DeviceElementCont_t, rqstFault, 3, "04", 1),
    ROW(DeviceElementCont_t, reserved5, 3, "02", 2),
    ROW(PowerSupplyElementCont_t, commonControl, 0, "81", 129),
    ROW(PowerSupplyElementCont_t, reserved1, 1, "A2", 81),
    ROW(PowerSupplyElementCont_t, rqstIdent, 1, "01", 1),
    ROW(PowerSupplyElementCont_t, reserved2, 2, "61", 97),
    ROW(PowerSupplyElementCont_t, reserved3, 3, "98", 19),
    ROW(PowerSupplyElementCont_t, rqstOn, 3, "04", 1),
    ROW(PowerSupplyElementCont_t, rqstFail, 3, "02", 1),
    ROW(PowerSupplyElementCont_t, rsvd, 3, "01", 1),
    ROW(CoolingElementCont_t, commonControl, 0, "81", 129),
    ROW(CoolingElementCont_t, reserved1, 1, "A2", 81),
    ROW(CoolingElementCont_t, rqstIdent, 1, "01", 1),
    ROW(CoolingElementCont_t, reserved2, 2, "61", 97),
    ROW(CoolingElementCont_t, requestedSpeedCode, 3, "A0", 5),
    ROW(CoolingElementCont_t, reserved3, 3, "10", 2),
    ROW(CoolingElementCont_t, rqstOn, 3, "04", 1),
    ROW(CoolingElementCont_t, rqstFail, 3, "02", 1),
    ROW(CoolingElementCont_t, rsvd, 3, "01", 1),
    ROW(TemperatureSensorElementCont_t, commonControl, 0, "81", 129),
    ROW(TemperatureSensorElementCont_t, reserved1, 1, "A2", 81),
    ROW(TemperatureSensorElementCont_t, rqstIdent, 1, "01", 1),
    ROW(TemperatureSensorElementCont_t, reserved2[0], 2, "61", 97),
    ROW(TemperatureSensorElementCont_t, reserved2[1], 3, "62", 98),
    ROW(AudibleAlarmElementCont_t, commonControl, 0, "81", 129),
    ROW(AudibleAlarmElementCont_t, reserved1, 1, "A2", 81),
    ROW(AudibleAlarmElementCont_t, rqstIdent, 1, "01", 1),
    ROW(AudibleAlarmElementCont_t, reserved2, 2, "61", 97),
    ROW(AudibleAlarmElementCont_t, unrecov, 3, "80", 1),
    ROW(AudibleAlarmElementCont_t, crit, 3, "40", 1),
    ROW(AudibleAlarmElementCont_t, nonCrit, 3, "20", 1),
    ROW(AudibleAlarmElementCont_t, info, 3, "10", 1),
    ROW(AudibleAlarmElementCont_t, setRemind, 3, "08", 1),
    ROW(AudibleAlarmElementCont_t, rsvd1, 3, "04", 1),
    ROW(AudibleAlarmElementCont_t, setMute, 3, "02", 1),
    ROW(AudibleAlarmElementCont_t, rsvd2, 3, "01", 1),
};
// clang-format on

struct TextRecord {
    char text[8];
    char next;
};

std::string filled(const char* text) {
    TextRecord record;
    std::memset(&record, 0xEE, sizeof record);
    wireTextSet(record.text, text);
    return hexText(Bytes(record.text, record.text + sizeof record));
}

template <typename Type, typename Plain>
void checkNumber(Plain value, const char* bytes) {
    const Type stored(value);
    const auto* const at = reinterpret_cast<const std::uint8_t*>(&stored);
    EXPECT_EQ(hexText(Bytes(at, at + sizeof stored)), hexText(bytes));
    EXPECT_EQ(static_cast<Plain>(*wireView<Type>(hexBytes(bytes).data())), value);
}

}  // namespace

TEST(Wire, EachFieldReadsItsOwnBytesAndNoOthers) {
    for (const Row& typed : ROWS) {
        Bytes record = hexBytes(typed.bytes);
        record.insert(record.begin(), typed.offset, 0);
        record.resize(typed.size);
        for (const Row& row : ROWS) {
            if (row.record == typed.record) {
                EXPECT_EQ(row.read(record.data()), row.field == typed.field ? typed.value : 0)
                    << row.record << "." << row.field << " with " << typed.field << " set";
            }
        }
    }
}

TEST(Wire, NumbersAreBigEndianAndKeepTheirSign) {
    checkNumber<Be16>(std::uint16_t{0xFE02}, "FE 02");
    checkNumber<Be24>(std::uint32_t{0xFEDC03}, "FE DC 03");
    EXPECT_EQ(Be24(0xAB010203), 0x010203U) << "the top byte is cut";
    checkNumber<Be32>(std::uint32_t{0xFEDCBA04}, "FE DC BA 04");
    checkNumber<Be64>(std::uint64_t{0xFEDCBA9876543208}, "FE DC BA 98 76 54 32 08");
    checkNumber<BeS16>(std::int16_t{-25}, "FF E7");
    checkNumber<BeS16>(std::int16_t{32767}, "7F FF");
    checkNumber<BeS16>(std::int16_t{-32768}, "80 00");
    checkNumber<BeDouble>(-2.5, "C0 04 00 00 00 00 00 00");
    checkNumber<BeDouble>(12.05, "40 28 19 99 99 99 99 9A");
    MMCH_OPCODE_u opcode = {};
    opcode.whole = 0x08000001;
    EXPECT_EQ(opcode.request.protocol, MMSG_E_PROTOCOL_EVENTMGR);
    opcode.request.type = 0x123456;
    EXPECT_EQ(opcode.whole, 0x08123456U);
}

TEST(Wire, TextIsPaddedCutAndNeverRunsIntoTheNextField) {
    const char unterminated[8] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
    EXPECT_EQ(filled(""), hexText("00 00 00 00 00 00 00 00 EE"));
    EXPECT_EQ(filled("abc"), hexText("61 62 63 00 00 00 00 00 EE"));
    for (const char* text : {"abcdefgh", "abcdefghi", unterminated}) {
        EXPECT_EQ(filled(text), hexText("61 62 63 64 65 66 67 68 EE"));
    }
}
