// SPDX-License-Identifier: Apache-2.0
// Golden bytes of the SES commands, pages and elements. Bits are packed from the most significant
// one down; several layouts mirror the published standard's, as all peers share them.
#include "ses_mesgs.h"
#include "tests/wire/record_rows.h"

using wire::checkRecord;
using wire::Row;

// ---- commands and response ----

TEST(WireSes, ReceiveDiagnosticResults) {
    using RECORD = RcvDiagResCommand_t;
    const Row<RECORD> rows[] = {
        ROW(operationCode, 0x1C, 0, "1C"),
        ROW(pcv, 1, 1, "80"),
        ROW(reserved, 0x51, 1, "51"),
        ROW(pageCode, 0x02, 2, "02"),
        ROW(allocationLength, 0x0FE1, 4, "0F E1"),
        ROW(control, 0xA5, 6, "A5"),
    };
    checkRecord(rows);
}

TEST(WireSes, SendDiagnostic) {
    using RECORD = SndDiagCommand_t;
    const Row<RECORD> rows[] = {
        ROW(operationCode, 0x1D, 0, "1D"),
        ROW(unitOffL, 1, 1, "80"),
        ROW(devOffL, 1, 1, "40"),
        ROW(selfTest, 1, 1, "20"),
        ROW(reservedBit, 1, 1, "10"),
        ROW(pf, 1, 1, "08"),
        ROW(selfTestCode, 5, 1, "05"),
        ROW(reserved, 0x91, 2, "91"),
        ROW(parameterListLength, 0x0123, 4, "01 23"),
        ROW(control, 0xA5, 6, "A5"),
    };
    checkRecord(rows);
}

TEST(WireSes, PageOfASendDiagnosticFollowsTheCommand) {
    using RECORD = SndDiagCommandMsg_t;
    const Row<RECORD> rows[] = {
        ROW(sndDiagCommand.operationCode, 0x1D, 0, "1D"),
        ROW(sndDiagCommand.control, 0xA5, 6, "A5"),
        ROW(sndDiagCommandList[0], 0x02, 8, "02"),
    };
    checkRecord(rows);
}

TEST(WireSes, PayloadOfAResponseFollowsTheStatusByte) {
    using RECORD = SesStatus_t;
    const Row<RECORD> rows[] = {
        ROW(statusCode, 0x02, 0, "02"),
        ROW(payloadList[0], 0xE0, 1, "E0"),
    };
    checkRecord(rows);
}

TEST(WireSes, SenseData) {
    using RECORD = SenseData_t;
    const Row<RECORD> rows[] = {
        ROW(responseCode, 0x70, 0, "E0"),
        ROW(valid, 1, 0, "01"),
        ROW(obsolete, 0x91, 1, "91"),
        ROW(senseKey, 5, 2, "50"),
        ROW(reserved, 1, 2, "08"),
        ROW(ili, 1, 2, "04"),
        ROW(eom, 1, 2, "02"),
        ROW(filemark, 1, 2, "01"),
        ROW(information, 0x11121314u, 4, "11 12 13 14"),
        ROW(additionalSenseLength, 0x21, 8, "21"),
        ROW(commandSpecificInformation, 0x31323334u, 12, "31 32 33 34"),
        ROW(additionalSenseCode, 0x24, 16, "24"),
        ROW(additionalSenseCodeQualifier, 0x41, 17, "41"),
        ROW(fieldReplaceableUnitCode, 0x42, 18, "42"),
        ROW(senseKeySpecific7Bits, 0x51, 19, "A2"),
        ROW(sksv, 1, 19, "01"),
        ROW(senseKeySpecific16Bits, 0x6162, 20, "61 62"),
    };
    checkRecord(rows);
}

// ---- configuration page ----

TEST(WireSes, ConfigurationPage) {
    using RECORD = ConfDiagPage_t;
    const Row<RECORD> rows[] = {
        ROW(header.pageCode, 0x01, 0, "01"),
        ROW(header.numberSubEnclosure, 0x02, 1, "02"),
        ROW(header.pageLength, 0x0340, 2, "03 40"),
        ROW(header.generationCode, 0x05060708u, 4, "05 06 07 08"),
        ROW(enclosureDesc.numberESProcesses, 5, 8, "A0"),
        ROW(enclosureDesc.reserved1, 1, 8, "10"),
        ROW(enclosureDesc.relESProcessId, 5, 8, "0A"),
        ROW(enclosureDesc.reserved2, 1, 8, "01"),
        ROW(enclosureDesc.subEnclosureId, 0x11, 9, "11"),
        ROW(enclosureDesc.numberElementTypeDescHdrs, 0x12, 10, "12"),
        ROW(enclosureDesc.enclosureDescLength, 0x24, 11, "24"),
        ROW(enclosureDesc.enclosureLogId[0], 0x31, 12, "31"),
        ROW(enclosureDesc.enclosureLogId[7], 0x32, 19, "32"),
        ROW(enclosureDesc.enclosureVendorId[0], 0x33, 20, "33"),
        ROW(enclosureDesc.enclosureVendorId[7], 0x34, 27, "34"),
        ROW(enclosureDesc.productId[0], 0x35, 28, "35"),
        ROW(enclosureDesc.productId[15], 0x36, 43, "36"),
        ROW(enclosureDesc.productRevLevel[0], 0x37, 44, "37"),
        ROW(enclosureDesc.productRevLevel[3], 0x38, 47, "38"),
        ROW(typeDescHdrs[0].elementType, 0x06, 48, "06"),
        ROW(typeDescHdrs[0].numberPossibleElements, 0x41, 49, "41"),
        ROW(typeDescHdrs[0].subEnclosureId, 0x42, 50, "42"),
        ROW(typeDescHdrs[0].typeDescTextLength, 0x43, 51, "43"),
    };
    checkRecord(rows);
}

// ---- enclosure status and control page ----

TEST(WireSes, EnclosureStatusPage) {
    using RECORD = EncStatDiagPage_t;
    const Row<RECORD> rows[] = {
        ROW(header.pageCode, 0x02, 0, "02"),
        ROW(header.unrecov, 1, 1, "80"),
        ROW(header.crit, 1, 1, "40"),
        ROW(header.nonCrit, 1, 1, "20"),
        ROW(header.info, 1, 1, "10"),
        ROW(header.invop, 1, 1, "08"),
        ROW(header.reserved, 5, 1, "05"),
        ROW(header.pageLength, 0x0188, 2, "01 88"),
        ROW(header.generationCode, 0x05060708u, 4, "05 06 07 08"),
        ROW(statusList[0], 0x11, 8, "11"),
    };
    checkRecord(rows);
}

TEST(WireSes, EnclosureControlPage) {
    using RECORD = EncContDiagPage_t;
    const Row<RECORD> rows[] = {
        ROW(header.pageCode, 0x02, 0, "02"),
        ROW(header.unrecov, 1, 1, "80"),
        ROW(header.crit, 1, 1, "40"),
        ROW(header.nonCrit, 1, 1, "20"),
        ROW(header.info, 1, 1, "10"),
        ROW(header.reserved, 9, 1, "09"),
        ROW(header.pageLength, 0x0188, 2, "01 88"),
        ROW(header.generationCode, 0x05060708u, 4, "05 06 07 08"),
        ROW(controlList[0], 0x11, 8, "11"),
    };
    checkRecord(rows);
}

// ---- element status ----

TEST(WireSes, DeviceStatus) {
    using RECORD = DeviceElementStat_t;
    const Row<RECORD> rows[] = {
        ROW(commonStatus, 0x81, 0, "81"),
        ROW(slotAddress, 0x0F, 1, "0F"),
        ROW(report, 1, 2, "80"),
        ROW(ident, 1, 2, "40"),
        ROW(rmv, 1, 2, "20"),
        ROW(readyToInsert, 1, 2, "10"),
        ROW(enclosureBypB, 1, 2, "08"),
        ROW(enclosureBypA, 1, 2, "04"),
        ROW(doNotRemove, 1, 2, "02"),
        ROW(appClientBypA, 1, 2, "01"),
        ROW(deviceBypB, 1, 3, "80"),
        ROW(deviceBypA, 1, 3, "40"),
        ROW(BypB, 1, 3, "20"),
        ROW(BypA, 1, 3, "10"),
        ROW(deviceOff, 1, 3, "08"),
        ROW(faultReqstd, 1, 3, "04"),
        ROW(faultSensed, 1, 3, "02"),
        ROW(appClientBypB, 1, 3, "01"),
    };
    checkRecord(rows);
}

TEST(WireSes, PowerSupplyStatus) {
    using RECORD = PowerSupplyElementStat_t;
    const Row<RECORD> rows[] = {
        ROW(commonStatus, 0x81, 0, "81"),
        ROW(reserved1, 0x51, 1, "A2"),
        ROW(ident, 1, 1, "01"),
        ROW(rsvd1, 1, 2, "80"),
        ROW(dcOverCurrent, 1, 2, "40"),
        ROW(dcUnderVoltage, 1, 2, "20"),
        ROW(dcOverVoltage, 1, 2, "10"),
        ROW(reserved2, 9, 2, "09"),
        ROW(dcFail, 1, 3, "80"),
        ROW(acFail, 1, 3, "40"),
        ROW(tempWarn, 1, 3, "20"),
        ROW(ovrtmpFail, 1, 3, "10"),
        ROW(off, 1, 3, "08"),
        ROW(rqstedOn, 1, 3, "04"),
        ROW(fail, 1, 3, "02"),
        ROW(rsvd2, 1, 3, "01"),
    };
    checkRecord(rows);
}

TEST(WireSes, CoolingStatus) {
    using RECORD = CoolingElementStat_t;
    const Row<RECORD> rows[] = {
        ROW(commonStatus, 0x81, 0, "81"),
        ROW(actualFanSpeedMsb, 2, 1, "80"),
        ROW(reserved, 0x13, 1, "26"),
        ROW(ident, 1, 1, "01"),
        ROW(actualFanSpeed, 0x84, 2, "84"),
        ROW(actualSpeedCode, 5, 3, "A0"),
        ROW(rsvd1, 1, 3, "10"),
        ROW(off, 1, 3, "08"),
        ROW(rqstedOn, 1, 3, "04"),
        ROW(fail, 1, 3, "02"),
        ROW(rsvd2, 1, 3, "01"),
    };
    checkRecord(rows);
}

TEST(WireSes, TemperatureSensorStatus) {
    using RECORD = TemperatureSensorElementStat_t;
    const Row<RECORD> rows[] = {
        ROW(commonStatus, 0x81, 0, "81"), ROW(reserved1, 0x51, 1, "A2"), ROW(ident, 1, 1, "01"),
        ROW(temperature, 0x32, 2, "32"),  ROW(utWarning, 1, 3, "80"),    ROW(utFailure, 1, 3, "40"),
        ROW(otWarning, 1, 3, "20"),       ROW(otFailure, 1, 3, "10"),    ROW(reserved2, 9, 3, "09"),
    };
    checkRecord(rows);
}

TEST(WireSes, AudibleAlarmStatus) {
    using RECORD = AudibleAlarmElementStat_t;
    const Row<RECORD> rows[] = {
        ROW(commonStatus, 0x81, 0, "81"), ROW(reserved1, 0x51, 1, "A2"),
        ROW(ident, 1, 1, "01"),           ROW(reserved2, 0x61, 2, "61"),
        ROW(unrecov, 1, 3, "80"),         ROW(crit, 1, 3, "40"),
        ROW(nonCrit, 1, 3, "20"),         ROW(info, 1, 3, "10"),
        ROW(remind, 1, 3, "08"),          ROW(rsvd, 1, 3, "04"),
        ROW(muted, 1, 3, "02"),           ROW(rqstMute, 1, 3, "01"),
    };
    checkRecord(rows);
}

// ---- element control ----

TEST(WireSes, DeviceControl) {
    using RECORD = DeviceElementCont_t;
    const Row<RECORD> rows[] = {
        ROW(commonControl, 0x81, 0, "81"), ROW(reserved1, 0x51, 1, "51"),
        ROW(reserved2, 1, 2, "80"),        ROW(rqstIdent, 1, 2, "40"),
        ROW(rqstRemove, 1, 2, "20"),       ROW(rqstInsert, 1, 2, "10"),
        ROW(reserved3, 2, 2, "08"),        ROW(doNotRemove, 1, 2, "02"),
        ROW(rqstActive, 1, 2, "01"),       ROW(reserved4, 2, 3, "80"),
        ROW(enableBypB, 1, 3, "20"),       ROW(enableBypA, 1, 3, "10"),
        ROW(deviceOff, 1, 3, "08"),        ROW(rqstFault, 1, 3, "04"),
        ROW(reserved5, 2, 3, "02"),
    };
    checkRecord(rows);
}

TEST(WireSes, PowerSupplyControl) {
    using RECORD = PowerSupplyElementCont_t;
    const Row<RECORD> rows[] = {
        ROW(commonControl, 0x81, 0, "81"), ROW(reserved1, 0x51, 1, "A2"),
        ROW(rqstIdent, 1, 1, "01"),        ROW(reserved2, 0x61, 2, "61"),
        ROW(reserved3, 0x13, 3, "98"),     ROW(rqstOn, 1, 3, "04"),
        ROW(rqstFail, 1, 3, "02"),         ROW(rsvd, 1, 3, "01"),
    };
    checkRecord(rows);
}

TEST(WireSes, CoolingControl) {
    using RECORD = CoolingElementCont_t;
    const Row<RECORD> rows[] = {
        ROW(commonControl, 0x81, 0, "81"),
        ROW(reserved1, 0x51, 1, "A2"),
        ROW(rqstIdent, 1, 1, "01"),
        ROW(reserved2, 0x61, 2, "61"),
        ROW(requestedSpeedCode, 5, 3, "A0"),
        ROW(reserved3, 2, 3, "10"),
        ROW(rqstOn, 1, 3, "04"),
        ROW(rqstFail, 1, 3, "02"),
        ROW(rsvd, 1, 3, "01"),
    };
    checkRecord(rows);
}

TEST(WireSes, TemperatureSensorControl) {
    using RECORD = TemperatureSensorElementCont_t;
    const Row<RECORD> rows[] = {
        ROW(commonControl, 0x81, 0, "81"), ROW(reserved1, 0x51, 1, "A2"),
        ROW(rqstIdent, 1, 1, "01"),        ROW(reserved2[0], 0x61, 2, "61"),
        ROW(reserved2[1], 0x62, 3, "62"),
    };
    checkRecord(rows);
}

TEST(WireSes, AudibleAlarmControl) {
    using RECORD = AudibleAlarmElementCont_t;
    const Row<RECORD> rows[] = {
        ROW(commonControl, 0x81, 0, "81"), ROW(reserved1, 0x51, 1, "A2"),
        ROW(rqstIdent, 1, 1, "01"),        ROW(reserved2, 0x61, 2, "61"),
        ROW(unrecov, 1, 3, "80"),          ROW(crit, 1, 3, "40"),
        ROW(nonCrit, 1, 3, "20"),          ROW(info, 1, 3, "10"),
        ROW(setRemind, 1, 3, "08"),        ROW(rsvd1, 1, 3, "04"),
        ROW(setMute, 1, 3, "02"),          ROW(rsvd2, 1, 3, "01"),
    };
    checkRecord(rows);
}
