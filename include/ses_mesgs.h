// SPDX-License-Identifier: Apache-2.0
// SES commands, pages and elements as they travel in management messages. Multi-byte numbers are
// big-endian; bit-fields are packed from the most significant bit down in the order listed. Several
// flag layouts mirror the bit numbering of the published SES and SCSI standards: all peers share
// this layout.
#pragma once

#include "basetypes.h"
#include "wire.h"

// Element types in page order and the array bound of each.
constexpr int SES_K_ELEMENT_TYPES = 5;
constexpr int SES_K_DEVICES_MAX = 16;
constexpr int SES_K_POWER_SUPPLIES_MAX = 3;
constexpr int SES_K_FANS_MAX = 8;
constexpr int SES_K_SENSORS_MAX = 8;
constexpr int SES_K_ALARMS_MAX = 1;

enum SesElementType_e : U8_t {
    SES_E_ELEMENT_TYPE_DEVICE = 1,
    SES_E_ELEMENT_TYPE_POWER_SUPPLY = 2,
    SES_E_ELEMENT_TYPE_COOLING = 3,
    SES_E_ELEMENT_TYPE_TEMPERATURE_SENSOR = 4,
    SES_E_ELEMENT_TYPE_AUDIBLE_ALARM = 6,
};

// SCSI operation codes: opcode.request.type of MMSG_E_PROTOCOL_SES and first command byte.
constexpr U8_t SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND = 28;
constexpr U8_t SES_K_SEND_DIAGNOSTIC_COMMAND = 29;

constexpr U8_t SES_K_SCSI_STATUS_CODE_GOOD = 0;
constexpr U8_t SES_K_SCSI_STATUS_CODE_CHECK_CONDITION = 2;

// Sense values used.
constexpr U8_t SES_K_SENSE_RESPONSE_CODE_CURRENT = 0x70;
constexpr U8_t SES_K_SENSE_KEY_ILLEGAL_REQUEST = 5;
constexpr U8_t SES_K_ASC_INVALID_FIELD_IN_CDB = 0x24;

// Page codes, status direction then control direction. The spellings are the log's.
constexpr U8_t SES_K_SUPPORTED_DIAGNOSTIC_PAGE = 0x00;
constexpr U8_t SES_K_CONFIGURATION_DIAGNOSTIC_PAGE = 0x01;
constexpr U8_t SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE = 0x02;
constexpr U8_t SES_K_ENCLOSURE_CONTROL_DIAGNOSTIC_PAGE = 0x02;
constexpr U8_t SES_K_HELP_TEXT_DIAGNOSTIC_PAGE = 0x03;
constexpr U8_t SES_K_STRING_IN_DIAGNOSTIC_PAGE = 0x04;
constexpr U8_t SES_K_STRING_OUT_DIAGNOSTIC_PAGE = 0x04;
constexpr U8_t SES_K_THRESHOLD_IN_DIAGNOSTIC_PAGE = 0x05;
constexpr U8_t SES_K_THRESHOLD_OUT_DIAGNOSTIC_PAGE = 0x05;
constexpr U8_t SES_K_OBSOLETE_DIAGNOSTIC_PAGE = 0x06;
constexpr U8_t SES_K_ELEMENT_DESCRIPTOR_DIAGNOSTIC_PAGE = 0x07;
constexpr U8_t SES_K_SHORT_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE = 0x08;
constexpr U8_t SES_K_ENCLOSURE_BUSY_DIAGNOSTIC_PAGE = 0x09;
constexpr U8_t SES_K_ADDITIONAL_ELEMENT_STATUS_DIAGNOSTIC_PAGE = 0x0A;
constexpr U8_t SES_K_SUBENCLOSURE_HELP_TEXT_DIAGNOSTIC_PAGE = 0x0B;
constexpr U8_t SES_K_SUBENCLOSURE_STRING_IN_DIAGNOSTIC_PAGE = 0x0C;
constexpr U8_t SES_K_SUBENCLOSURE_STRING_OUT_DIAGNOSTIC_PAGE = 0x0C;
constexpr U8_t SES_K_SUPPORTED_SES_DIAGNOTSTIC_PAGES_DIAGNOSTIC_PAGE = 0x0D;
constexpr U8_t SES_K_DOWNLOAD_MICROCODE_STATUS_DIAGNOSTIC_PAGE = 0x0E;
constexpr U8_t SES_K_DOWNLOAD_MICROCODE_CONTROL_DIAGNOSTIC_PAGE = 0x0E;
constexpr U8_t SES_K_SUNENCLOSURE_NICKNAME_STATUS_DIAGNOSTIC_PAGE = 0x0F;
constexpr U8_t SES_K_SUBENCLOSURE_NICKNAME_CONTROL_DIAGNOSTIC_PAGE = 0x0F;

enum SesElementStatusCode_e : U8_t {
    SES_E_ELEMENT_STATUS_CODE_UNSUPPORTED = 0,
    SES_E_ELEMENT_STATUS_CODE_OK = 1,
    SES_E_ELEMENT_STATUS_CODE_CRITICAL = 2,
    SES_E_ELEMENT_STATUS_CODE_NONCRITICAL = 3,
    SES_E_ELEMENT_STATUS_CODE_UNRECOVERABLE = 4,
    SES_E_ELEMENT_STATUS_CODE_NOT_INSTALLED = 5,
    SES_E_ELEMENT_STATUS_CODE_UNKNOWN = 6,
    SES_E_ELEMENT_STATUS_CODE_NOT_AVAILABLE = 7,
};

enum SesFanActualSpeedCode_e : U8_t {
    SES_E_FAN_ACTUAL_STOP = 0,
    SES_E_FAN_ACTUAL_LOWEST_SPEED = 1,
    SES_E_FAN_ACTUAL_SECOND_LOWEST_SPEED = 2,
    SES_E_FAN_ACTUAL_THIRD_LOWEST_SPEED = 3,
    SES_E_FAN_ACTUAL_INTERMEDIATE_SPEED = 4,
    SES_E_FAN_ACTUAL_THIRD_HIGHEST_SPEED = 5,
    SES_E_FAN_ACTUAL_SECOND_HIGHEST_SPEED = 6,
    SES_E_FAN_ACTUAL_HIGHEST_SPEED = 7,
};

enum SesFanRequestedSpeedCode_e : U8_t {
    SES_E_FAN_REQUESTED_RESERVED = 0,
    SES_E_FAN_REQUESTED_LOWEST_SPEED = 1,
    SES_E_FAN_REQUESTED_SECOND_LOWEST_SPEED = 2,
    SES_E_FAN_REQUESTED_SPEED_3 = 3,
    SES_E_FAN_REQUESTED_SPEED_4 = 4,
    SES_E_FAN_REQUESTED_SPEED_5 = 5,
    SES_E_FAN_REQUESTED_INTERMEDIATE_SPEED = 6,
    SES_E_FAN_REQUESTED_HIGHEST_SPEED = 7,
};

// ---- commands and response, from message byte 64 ----

struct RcvDiagResCommand_t {
    U8_t operationCode;
    WIRE_BYTE2(pcv, 1, reserved, 7);
    U8_t pageCode;
    U8_t padding1;
    Be16 allocationLength;  // bytes the requester can take
    U8_t control;
    U8_t padding2;
};
WIRE_RECORD(RcvDiagResCommand_t, 8);

struct SndDiagCommand_t {
    U8_t operationCode;
    WIRE_BYTE6(unitOffL, 1, devOffL, 1, selfTest, 1, reservedBit, 1, pf, 1, selfTestCode, 3);
    U8_t reserved;
    U8_t padding1;
    Be16 parameterListLength;  // bytes of the page that follows
    U8_t control;
    U8_t padding2;
};
WIRE_RECORD(SndDiagCommand_t, 8);

struct SndDiagCommandMsg_t {
    SndDiagCommand_t sndDiagCommand;
    U8_t sndDiagCommandList[1];  // the page; its first byte is the page code
};
WIRE_OFFSET(SndDiagCommandMsg_t, sndDiagCommandList, 8);

struct SesStatus_t {
    U8_t statusCode;
    U8_t payloadList[1];  // the page or the sense data
};

struct SenseData_t {
    WIRE_BYTE2(responseCode, 7, valid, 1);
    U8_t obsolete;
    WIRE_BYTE5(senseKey, 4, reserved, 1, ili, 1, eom, 1, filemark, 1);
    U8_t padding1;
    Be32 information;
    U8_t additionalSenseLength;
    U8_t padding2[3];
    Be32 commandSpecificInformation;
    U8_t additionalSenseCode;
    U8_t additionalSenseCodeQualifier;
    U8_t fieldReplaceableUnitCode;
    WIRE_BYTE2(senseKeySpecific7Bits, 7, sksv, 1);
    Be16 senseKeySpecific16Bits;
    U8_t padding3[2];
};
WIRE_RECORD(SenseData_t, 24);
WIRE_OFFSET(SenseData_t, information, 4);
WIRE_OFFSET(SenseData_t, commandSpecificInformation, 12);
WIRE_OFFSET(SenseData_t, additionalSenseCode, 16);
WIRE_OFFSET(SenseData_t, senseKeySpecific16Bits, 20);

// Bytes at the head of every page that its pageLength does not count.
constexpr U32_t SES_K_PAGE_LENGTH_EXCLUDES = 4;

// ---- configuration page ----

struct ConfDiagPageHdr_t {
    U8_t pageCode;
    U8_t numberSubEnclosure;
    Be16 pageLength;  // bytes that follow this field
    Be32 generationCode;
};
WIRE_RECORD(ConfDiagPageHdr_t, 8);

struct EnclosureDescHdr_t {
    WIRE_BYTE4(numberESProcesses, 3, reserved1, 1, relESProcessId, 3, reserved2, 1);
    U8_t subEnclosureId;
    U8_t numberElementTypeDescHdrs;
    U8_t enclosureDescLength;
    U8_t enclosureLogId[8];
    U8_t enclosureVendorId[8];
    U8_t productId[16];
    U8_t productRevLevel[4];
};
WIRE_RECORD(EnclosureDescHdr_t, 40);

struct TypeDescHdr_t {
    U8_t elementType;
    U8_t numberPossibleElements;
    U8_t subEnclosureId;
    U8_t typeDescTextLength;
};
WIRE_RECORD(TypeDescHdr_t, 4);

struct ConfDiagPage_t {
    ConfDiagPageHdr_t header;
    EnclosureDescHdr_t enclosureDesc;
    TypeDescHdr_t typeDescHdrs[1];  // numberElementTypeDescHdrs of them
};
WIRE_OFFSET(ConfDiagPage_t, typeDescHdrs, 48);

// ---- enclosure status and control page ----

struct EncStatDiagPageHdr_t {
    U8_t pageCode;
    WIRE_BYTE6(unrecov, 1, crit, 1, nonCrit, 1, info, 1, invop, 1, reserved, 3);
    Be16 pageLength;  // bytes that follow this field
    Be32 generationCode;
};
WIRE_RECORD(EncStatDiagPageHdr_t, 8);

struct EncStatDiagPage_t {
    EncStatDiagPageHdr_t header;
    U8_t statusList[1];  // per element type: overall word, then the element records
};
WIRE_OFFSET(EncStatDiagPage_t, statusList, 8);

struct EncContDiagPageHdr_t {
    U8_t pageCode;
    WIRE_BYTE5(unrecov, 1, crit, 1, nonCrit, 1, info, 1, reserved, 4);
    Be16 pageLength;  // bytes that follow this field
    Be32 generationCode;
};
WIRE_RECORD(EncContDiagPageHdr_t, 8);

struct EncContDiagPage_t {
    EncContDiagPageHdr_t header;
    U8_t controlList[1];  // per element type: overall word, then the element records
};
WIRE_OFFSET(EncContDiagPage_t, controlList, 8);

// Bytes of an element record and of an overall word.
constexpr int SES_K_ELEMENT_SIZE = 4;

// SELECT of a control record's commonControl.
constexpr U8_t SES_K_CONTROL_SELECT = 0x80;

// ---- element status records; commonStatus holds a SesElementStatusCode_e ----

struct DeviceElementStat_t {
    U8_t commonStatus;
    U8_t slotAddress;
    WIRE_BYTE8(report, 1, ident, 1, rmv, 1, readyToInsert, 1, enclosureBypB, 1, enclosureBypA, 1,
               doNotRemove, 1, appClientBypA, 1);
    WIRE_BYTE8(deviceBypB, 1, deviceBypA, 1, BypB, 1, BypA, 1, deviceOff, 1, faultReqstd, 1,
               faultSensed, 1, appClientBypB, 1);
};
WIRE_RECORD(DeviceElementStat_t, 4);

struct PowerSupplyElementStat_t {
    U8_t commonStatus;
    WIRE_BYTE2(reserved1, 7, ident, 1);
    WIRE_BYTE5(rsvd1, 1, dcOverCurrent, 1, dcUnderVoltage, 1, dcOverVoltage, 1, reserved2, 4);
    WIRE_BYTE8(dcFail, 1, acFail, 1, tempWarn, 1, ovrtmpFail, 1, off, 1, rqstedOn, 1, fail, 1,
               rsvd2, 1);
};
WIRE_RECORD(PowerSupplyElementStat_t, 4);

struct CoolingElementStat_t {
    U8_t commonStatus;
    // 10-bit speed in units of 10 RPM: two high bits here, eight low bits in actualFanSpeed.
    WIRE_BYTE3(actualFanSpeedMsb, 2, reserved, 5, ident, 1);
    U8_t actualFanSpeed;
    WIRE_BYTE6(actualSpeedCode, 3, rsvd1, 1, off, 1, rqstedOn, 1, fail, 1, rsvd2, 1);
};
WIRE_RECORD(CoolingElementStat_t, 4);

struct TemperatureSensorElementStat_t {
    U8_t commonStatus;
    WIRE_BYTE2(reserved1, 7, ident, 1);
    U8_t temperature;  // degrees Celsius + 20; 0: no reading
    WIRE_BYTE5(utWarning, 1, utFailure, 1, otWarning, 1, otFailure, 1, reserved2, 4);
};
WIRE_RECORD(TemperatureSensorElementStat_t, 4);

struct AudibleAlarmElementStat_t {
    U8_t commonStatus;
    WIRE_BYTE2(reserved1, 7, ident, 1);
    U8_t reserved2;
    WIRE_BYTE8(unrecov, 1, crit, 1, nonCrit, 1, info, 1, remind, 1, rsvd, 1, muted, 1, rqstMute, 1);
};
WIRE_RECORD(AudibleAlarmElementStat_t, 4);

// ---- element control records ----

struct DeviceElementCont_t {
    U8_t commonControl;
    U8_t reserved1;
    WIRE_BYTE7(reserved2, 1, rqstIdent, 1, rqstRemove, 1, rqstInsert, 1, reserved3, 2, doNotRemove,
               1, rqstActive, 1);
    WIRE_BYTE6(reserved4, 2, enableBypB, 1, enableBypA, 1, deviceOff, 1, rqstFault, 1, reserved5,
               2);
};
WIRE_RECORD(DeviceElementCont_t, 4);

struct PowerSupplyElementCont_t {
    U8_t commonControl;
    WIRE_BYTE2(reserved1, 7, rqstIdent, 1);
    U8_t reserved2;
    WIRE_BYTE4(reserved3, 5, rqstOn, 1, rqstFail, 1, rsvd, 1);
};
WIRE_RECORD(PowerSupplyElementCont_t, 4);

struct CoolingElementCont_t {
    U8_t commonControl;
    WIRE_BYTE2(reserved1, 7, rqstIdent, 1);
    U8_t reserved2;
    WIRE_BYTE5(requestedSpeedCode, 3, reserved3, 2, rqstOn, 1, rqstFail, 1, rsvd, 1);
};
WIRE_RECORD(CoolingElementCont_t, 4);

struct TemperatureSensorElementCont_t {
    U8_t commonControl;
    WIRE_BYTE2(reserved1, 7, rqstIdent, 1);
    U8_t reserved2[2];
};
WIRE_RECORD(TemperatureSensorElementCont_t, 4);

struct AudibleAlarmElementCont_t {
    U8_t commonControl;
    WIRE_BYTE2(reserved1, 7, rqstIdent, 1);
    U8_t reserved2;
    WIRE_BYTE8(unrecov, 1, crit, 1, nonCrit, 1, info, 1, setRemind, 1, rsvd1, 1, setMute, 1, rsvd2,
               1);
};
WIRE_RECORD(AudibleAlarmElementCont_t, 4);
