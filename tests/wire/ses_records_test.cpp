// SPDX-License-Identifier: Apache-2.0
// Every field of every SES record stands at its own bits: one field at a time is filled, and the
// bytes must be those peers expect, on little-endian and big-endian machines alike.
#include <gtest/gtest.h>

#include "ses_mesgs.h"
#include "tests/support/hex.h"

namespace {

template <typename Record>
std::string textOf(const Record& record) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&record);
    return hexText(std::vector<std::uint8_t>(bytes, bytes + sizeof record));
}

// A record in which only `field` has a value must read `bytes`.
#define EXPECT_FIELD(Type, field, value, bytes)                        \
    do {                                                               \
        Type record = {};                                              \
        record.field = (value);                                        \
        EXPECT_EQ(textOf(record), hexText(bytes)) << #Type "." #field; \
    } while (0)

TEST(SesRecords, ReceiveDiagnosticResultsCommand) {
    EXPECT_FIELD(RcvDiagResCommand_t, operationCode, 0x1C, "1C00000000000000");
    EXPECT_FIELD(RcvDiagResCommand_t, pcv, 1, "0080000000000000");
    EXPECT_FIELD(RcvDiagResCommand_t, reserved, 0x7F, "007F000000000000");
    EXPECT_FIELD(RcvDiagResCommand_t, pageCode, 0xA5, "0000A50000000000");
    EXPECT_FIELD(RcvDiagResCommand_t, allocationLength, 0x1234, "0000000012340000");
    EXPECT_FIELD(RcvDiagResCommand_t, control, 0xA5, "000000000000A500");
}

TEST(SesRecords, SendDiagnosticCommand) {
    EXPECT_FIELD(SndDiagCommand_t, operationCode, 0x1D, "1D00000000000000");
    EXPECT_FIELD(SndDiagCommand_t, unitOffL, 1, "0080000000000000");
    EXPECT_FIELD(SndDiagCommand_t, devOffL, 1, "0040000000000000");
    EXPECT_FIELD(SndDiagCommand_t, selfTest, 1, "0020000000000000");
    EXPECT_FIELD(SndDiagCommand_t, reservedBit, 1, "0010000000000000");
    EXPECT_FIELD(SndDiagCommand_t, pf, 1, "0008000000000000");
    EXPECT_FIELD(SndDiagCommand_t, selfTestCode, 7, "0007000000000000");
    EXPECT_FIELD(SndDiagCommand_t, reserved, 0xA5, "0000A50000000000");
    EXPECT_FIELD(SndDiagCommand_t, parameterListLength, 0x1234, "0000000012340000");
    EXPECT_FIELD(SndDiagCommand_t, control, 0xA5, "000000000000A500");
}

TEST(SesRecords, SenseData) {
    SenseData_t sense = {};
    sense.responseCode = 0x70;
    sense.obsolete = 0x11;
    sense.senseKey = 5;
    sense.information = 0x21222324;
    sense.additionalSenseLength = 0x31;
    sense.commandSpecificInformation = 0x41424344;
    sense.additionalSenseCode = 0x51;
    sense.additionalSenseCodeQualifier = 0x52;
    sense.fieldReplaceableUnitCode = 0x53;
    sense.senseKeySpecific7Bits = 0x54;
    sense.senseKeySpecific16Bits = 0x6162;
    EXPECT_EQ(textOf(sense), hexText(R"(
        E0 11 50 00  21222324  31 000000  41424344  51 52 53 A8  6162 0000)"));

    SenseData_t flags = {};
    flags.valid = 1;
    flags.reserved = 1;
    flags.sksv = 1;
    EXPECT_EQ(textOf(flags), hexText("01000800 00000000 00000000 00000000 00000001 00000000"));
    flags = {};
    flags.ili = 1;
    EXPECT_EQ(textOf(flags), hexText("00000400" + std::string(40, '0')));
    flags = {};
    flags.eom = 1;
    EXPECT_EQ(textOf(flags), hexText("00000200" + std::string(40, '0')));
    flags = {};
    flags.filemark = 1;
    EXPECT_EQ(textOf(flags), hexText("00000100" + std::string(40, '0')));
}

TEST(SesRecords, PageHeaders) {
    EXPECT_FIELD(ConfDiagPageHdr_t, pageCode, 1, "0100000000000000");
    EXPECT_FIELD(ConfDiagPageHdr_t, numberSubEnclosure, 0xA5, "00A5000000000000");
    EXPECT_FIELD(ConfDiagPageHdr_t, pageLength, 0x1234, "0000123400000000");
    EXPECT_FIELD(ConfDiagPageHdr_t, generationCode, 0x12345678, "0000000012345678");

    EXPECT_FIELD(EncStatDiagPageHdr_t, unrecov, 1, "0080000000000000");
    EXPECT_FIELD(EncStatDiagPageHdr_t, crit, 1, "0040000000000000");
    EXPECT_FIELD(EncStatDiagPageHdr_t, nonCrit, 1, "0020000000000000");
    EXPECT_FIELD(EncStatDiagPageHdr_t, info, 1, "0010000000000000");
    EXPECT_FIELD(EncStatDiagPageHdr_t, invop, 1, "0008000000000000");
    EXPECT_FIELD(EncStatDiagPageHdr_t, reserved, 7, "0007000000000000");
    EXPECT_FIELD(EncStatDiagPageHdr_t, pageLength, 0x1234, "0000123400000000");
    EXPECT_FIELD(EncStatDiagPageHdr_t, generationCode, 0x12345678, "0000000012345678");

    EXPECT_FIELD(EncContDiagPageHdr_t, unrecov, 1, "0080000000000000");
    EXPECT_FIELD(EncContDiagPageHdr_t, crit, 1, "0040000000000000");
    EXPECT_FIELD(EncContDiagPageHdr_t, nonCrit, 1, "0020000000000000");
    EXPECT_FIELD(EncContDiagPageHdr_t, info, 1, "0010000000000000");
    EXPECT_FIELD(EncContDiagPageHdr_t, reserved, 0xF, "000F000000000000");
    EXPECT_FIELD(EncContDiagPageHdr_t, pageLength, 0x1234, "0000123400000000");
}

TEST(SesRecords, EnclosureAndTypeDescriptors) {
    EnclosureDescHdr_t enclosure = {};
    enclosure.numberESProcesses = 5;
    enclosure.relESProcessId = 3;
    enclosure.subEnclosureId = 0x11;
    enclosure.numberElementTypeDescHdrs = 0x12;
    enclosure.enclosureDescLength = 0x13;
    enclosure.enclosureLogId[0] = 0x21;
    enclosure.enclosureVendorId[0] = 0x31;
    enclosure.productId[0] = 0x41;
    enclosure.productRevLevel[0] = 0x51;
    EXPECT_EQ(textOf(enclosure), hexText(R"(
        A6 11 12 13
        2100000000000000 3100000000000000
        41000000000000000000000000000000 51000000)"));
    enclosure = {};
    enclosure.reserved1 = 1;
    enclosure.reserved2 = 1;
    EXPECT_EQ(textOf(enclosure).substr(0, 2), "11");
    EXPECT_EQ(textOf(TypeDescHdr_t{1, 2, 3, 4}), hexText("01020304"));
}

TEST(SesRecords, DeviceElement) {
    EXPECT_FIELD(DeviceElementStat_t, commonStatus, 0xA5, "A5000000");
    EXPECT_FIELD(DeviceElementStat_t, slotAddress, 0xA5, "00A50000");
    EXPECT_FIELD(DeviceElementStat_t, report, 1, "00008000");
    EXPECT_FIELD(DeviceElementStat_t, ident, 1, "00004000");
    EXPECT_FIELD(DeviceElementStat_t, rmv, 1, "00002000");
    EXPECT_FIELD(DeviceElementStat_t, readyToInsert, 1, "00001000");
    EXPECT_FIELD(DeviceElementStat_t, enclosureBypB, 1, "00000800");
    EXPECT_FIELD(DeviceElementStat_t, enclosureBypA, 1, "00000400");
    EXPECT_FIELD(DeviceElementStat_t, doNotRemove, 1, "00000200");
    EXPECT_FIELD(DeviceElementStat_t, appClientBypA, 1, "00000100");
    EXPECT_FIELD(DeviceElementStat_t, deviceBypB, 1, "00000080");
    EXPECT_FIELD(DeviceElementStat_t, deviceBypA, 1, "00000040");
    EXPECT_FIELD(DeviceElementStat_t, BypB, 1, "00000020");
    EXPECT_FIELD(DeviceElementStat_t, BypA, 1, "00000010");
    EXPECT_FIELD(DeviceElementStat_t, deviceOff, 1, "00000008");
    EXPECT_FIELD(DeviceElementStat_t, faultReqstd, 1, "00000004");
    EXPECT_FIELD(DeviceElementStat_t, faultSensed, 1, "00000002");
    EXPECT_FIELD(DeviceElementStat_t, appClientBypB, 1, "00000001");

    EXPECT_FIELD(DeviceElementCont_t, commonControl, 0xA5, "A5000000");
    EXPECT_FIELD(DeviceElementCont_t, reserved1, 0xA5, "00A50000");
    EXPECT_FIELD(DeviceElementCont_t, reserved2, 1, "00008000");
    EXPECT_FIELD(DeviceElementCont_t, rqstIdent, 1, "00004000");
    EXPECT_FIELD(DeviceElementCont_t, rqstRemove, 1, "00002000");
    EXPECT_FIELD(DeviceElementCont_t, rqstInsert, 1, "00001000");
    EXPECT_FIELD(DeviceElementCont_t, reserved3, 3, "00000C00");
    EXPECT_FIELD(DeviceElementCont_t, doNotRemove, 1, "00000200");
    EXPECT_FIELD(DeviceElementCont_t, rqstActive, 1, "00000100");
    EXPECT_FIELD(DeviceElementCont_t, reserved4, 3, "000000C0");
    EXPECT_FIELD(DeviceElementCont_t, enableBypB, 1, "00000020");
    EXPECT_FIELD(DeviceElementCont_t, enableBypA, 1, "00000010");
    EXPECT_FIELD(DeviceElementCont_t, deviceOff, 1, "00000008");
    EXPECT_FIELD(DeviceElementCont_t, rqstFault, 1, "00000004");
    EXPECT_FIELD(DeviceElementCont_t, reserved5, 3, "00000003");
}

TEST(SesRecords, PowerSupplyElement) {
    EXPECT_FIELD(PowerSupplyElementStat_t, commonStatus, 0xA5, "A5000000");
    EXPECT_FIELD(PowerSupplyElementStat_t, reserved1, 0x7F, "00FE0000");
    EXPECT_FIELD(PowerSupplyElementStat_t, ident, 1, "00010000");
    EXPECT_FIELD(PowerSupplyElementStat_t, rsvd1, 1, "00008000");
    EXPECT_FIELD(PowerSupplyElementStat_t, dcOverCurrent, 1, "00004000");
    EXPECT_FIELD(PowerSupplyElementStat_t, dcUnderVoltage, 1, "00002000");
    EXPECT_FIELD(PowerSupplyElementStat_t, dcOverVoltage, 1, "00001000");
    EXPECT_FIELD(PowerSupplyElementStat_t, reserved2, 0xF, "00000F00");
    EXPECT_FIELD(PowerSupplyElementStat_t, dcFail, 1, "00000080");
    EXPECT_FIELD(PowerSupplyElementStat_t, acFail, 1, "00000040");
    EXPECT_FIELD(PowerSupplyElementStat_t, tempWarn, 1, "00000020");
    EXPECT_FIELD(PowerSupplyElementStat_t, ovrtmpFail, 1, "00000010");
    EXPECT_FIELD(PowerSupplyElementStat_t, off, 1, "00000008");
    EXPECT_FIELD(PowerSupplyElementStat_t, rqstedOn, 1, "00000004");
    EXPECT_FIELD(PowerSupplyElementStat_t, fail, 1, "00000002");
    EXPECT_FIELD(PowerSupplyElementStat_t, rsvd2, 1, "00000001");

    EXPECT_FIELD(PowerSupplyElementCont_t, commonControl, 0xA5, "A5000000");
    EXPECT_FIELD(PowerSupplyElementCont_t, reserved1, 0x7F, "00FE0000");
    EXPECT_FIELD(PowerSupplyElementCont_t, rqstIdent, 1, "00010000");
    EXPECT_FIELD(PowerSupplyElementCont_t, reserved2, 0xA5, "0000A500");
    EXPECT_FIELD(PowerSupplyElementCont_t, reserved3, 0x1F, "000000F8");
    EXPECT_FIELD(PowerSupplyElementCont_t, rqstOn, 1, "00000004");
    EXPECT_FIELD(PowerSupplyElementCont_t, rqstFail, 1, "00000002");
    EXPECT_FIELD(PowerSupplyElementCont_t, rsvd, 1, "00000001");
}

TEST(SesRecords, CoolingElement) {
    EXPECT_FIELD(CoolingElementStat_t, commonStatus, 0xA5, "A5000000");
    EXPECT_FIELD(CoolingElementStat_t, actualFanSpeedMsb, 3, "00C00000");
    EXPECT_FIELD(CoolingElementStat_t, reserved, 0x1F, "003E0000");
    EXPECT_FIELD(CoolingElementStat_t, ident, 1, "00010000");
    EXPECT_FIELD(CoolingElementStat_t, actualFanSpeed, 0xA5, "0000A500");
    EXPECT_FIELD(CoolingElementStat_t, actualSpeedCode, 7, "000000E0");
    EXPECT_FIELD(CoolingElementStat_t, rsvd1, 1, "00000010");
    EXPECT_FIELD(CoolingElementStat_t, off, 1, "00000008");
    EXPECT_FIELD(CoolingElementStat_t, rqstedOn, 1, "00000004");
    EXPECT_FIELD(CoolingElementStat_t, fail, 1, "00000002");
    EXPECT_FIELD(CoolingElementStat_t, rsvd2, 1, "00000001");

    EXPECT_FIELD(CoolingElementCont_t, commonControl, 0xA5, "A5000000");
    EXPECT_FIELD(CoolingElementCont_t, reserved1, 0x7F, "00FE0000");
    EXPECT_FIELD(CoolingElementCont_t, rqstIdent, 1, "00010000");
    EXPECT_FIELD(CoolingElementCont_t, reserved2, 0xA5, "0000A500");
    EXPECT_FIELD(CoolingElementCont_t, requestedSpeedCode, 7, "000000E0");
    EXPECT_FIELD(CoolingElementCont_t, reserved3, 3, "00000018");
    EXPECT_FIELD(CoolingElementCont_t, rqstOn, 1, "00000004");
    EXPECT_FIELD(CoolingElementCont_t, rqstFail, 1, "00000002");
    EXPECT_FIELD(CoolingElementCont_t, rsvd, 1, "00000001");
}

TEST(SesRecords, TemperatureSensorElement) {
    EXPECT_FIELD(TemperatureSensorElementStat_t, commonStatus, 0xA5, "A5000000");
    EXPECT_FIELD(TemperatureSensorElementStat_t, reserved1, 0x7F, "00FE0000");
    EXPECT_FIELD(TemperatureSensorElementStat_t, ident, 1, "00010000");
    EXPECT_FIELD(TemperatureSensorElementStat_t, temperature, 0xA5, "0000A500");
    EXPECT_FIELD(TemperatureSensorElementStat_t, utWarning, 1, "00000080");
    EXPECT_FIELD(TemperatureSensorElementStat_t, utFailure, 1, "00000040");
    EXPECT_FIELD(TemperatureSensorElementStat_t, otWarning, 1, "00000020");
    EXPECT_FIELD(TemperatureSensorElementStat_t, otFailure, 1, "00000010");
    EXPECT_FIELD(TemperatureSensorElementStat_t, reserved2, 0xF, "0000000F");

    EXPECT_FIELD(TemperatureSensorElementCont_t, commonControl, 0xA5, "A5000000");
    EXPECT_FIELD(TemperatureSensorElementCont_t, reserved1, 0x7F, "00FE0000");
    EXPECT_FIELD(TemperatureSensorElementCont_t, rqstIdent, 1, "00010000");
    EXPECT_FIELD(TemperatureSensorElementCont_t, reserved2[0], 0xA5, "0000A500");
    EXPECT_FIELD(TemperatureSensorElementCont_t, reserved2[1], 0xA5, "000000A5");
}

TEST(SesRecords, AudibleAlarmElement) {
    EXPECT_FIELD(AudibleAlarmElementStat_t, commonStatus, 0xA5, "A5000000");
    EXPECT_FIELD(AudibleAlarmElementStat_t, reserved1, 0x7F, "00FE0000");
    EXPECT_FIELD(AudibleAlarmElementStat_t, ident, 1, "00010000");
    EXPECT_FIELD(AudibleAlarmElementStat_t, reserved2, 0xA5, "0000A500");
    EXPECT_FIELD(AudibleAlarmElementStat_t, unrecov, 1, "00000080");
    EXPECT_FIELD(AudibleAlarmElementStat_t, crit, 1, "00000040");
    EXPECT_FIELD(AudibleAlarmElementStat_t, nonCrit, 1, "00000020");
    EXPECT_FIELD(AudibleAlarmElementStat_t, info, 1, "00000010");
    EXPECT_FIELD(AudibleAlarmElementStat_t, remind, 1, "00000008");
    EXPECT_FIELD(AudibleAlarmElementStat_t, rsvd, 1, "00000004");
    EXPECT_FIELD(AudibleAlarmElementStat_t, muted, 1, "00000002");
    EXPECT_FIELD(AudibleAlarmElementStat_t, rqstMute, 1, "00000001");

    EXPECT_FIELD(AudibleAlarmElementCont_t, commonControl, 0xA5, "A5000000");
    EXPECT_FIELD(AudibleAlarmElementCont_t, reserved1, 0x7F, "00FE0000");
    EXPECT_FIELD(AudibleAlarmElementCont_t, rqstIdent, 1, "00010000");
    EXPECT_FIELD(AudibleAlarmElementCont_t, reserved2, 0xA5, "0000A500");
    EXPECT_FIELD(AudibleAlarmElementCont_t, unrecov, 1, "00000080");
    EXPECT_FIELD(AudibleAlarmElementCont_t, crit, 1, "00000040");
    EXPECT_FIELD(AudibleAlarmElementCont_t, nonCrit, 1, "00000020");
    EXPECT_FIELD(AudibleAlarmElementCont_t, info, 1, "00000010");
    EXPECT_FIELD(AudibleAlarmElementCont_t, setRemind, 1, "00000008");
    EXPECT_FIELD(AudibleAlarmElementCont_t, rsvd1, 1, "00000004");
    EXPECT_FIELD(AudibleAlarmElementCont_t, setMute, 1, "00000002");
    EXPECT_FIELD(AudibleAlarmElementCont_t, rsvd2, 1, "00000001");
}

}  // namespace
