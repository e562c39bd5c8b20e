// SPDX-License-Identifier: Apache-2.0
// The records that leave the process, against golden bytes typed into records.txt: where each field
// stands and which bytes it must read.
#include <cstdio>
#include <cstring>

#include "esa_evl.h"
#include "mmsg.h"
#include "ses_mesgs.h"
#include "tests/support/hex.h"
#include "tests/support/script.h"

using Bytes = std::vector<std::uint8_t>;

namespace {

// The fields of a record; each reads the record in a buffer, as a double, which holds every integer
// used exactly.
struct Field {
    std::string name;
    double (*read)(const void*);
};
struct Record {
    std::string name;
    std::size_t size;
    std::vector<Field> fields;
};

#define EXPAND3(...) EXPAND2(EXPAND2(EXPAND2(EXPAND2(__VA_ARGS__))))
#define EXPAND2(...) EXPAND1(EXPAND1(EXPAND1(EXPAND1(__VA_ARGS__))))
#define EXPAND1(...) __VA_ARGS__
#define PARENS ()
#define EACH_AGAIN() EACH
#define EACH(type, field, ...)                                                               \
    {#field,                                                                                 \
     [](const void* r) { return static_cast<double>(static_cast<const type*>(r)->field); }}, \
        __VA_OPT__(EACH_AGAIN PARENS(type, __VA_ARGS__))
#define FIELDS(type, ...)                                      \
    {                                                          \
#type, sizeof(type), {                                 \
            EXPAND3(EXPAND3(EXPAND3(EACH(type, __VA_ARGS__)))) \
        }                                                      \
    }

const Record RECORDS[] = {
    FIELDS(EsaEvent_t, header.evEnclosureId[0], header.evBladeId[0], header.evSlotId,
           header.evInstanceNumber, header.evSequenceId, header.evTime, header.evStructLength,
           header.evSource, header.evType, header.evCategory, header.evIdVersion, header.evId,
           data.enclosureType, data.numberOfDrive, data.numberOfPowerSupply, data.numberOfFan,
           data.numberOfTemperatureSensor, data.numberOfAlarm, data.driveFaultLedStatus0,
           data.driveFaultLedStatus1, data.powerSupplyStatus, data.fanFaultStatus,
           data.temperatureStatus, data.temperatureSensorPosition, data.temperature,
           data.alarmState, data.information, data.powerSupplyVoltage5V, data.powerSupplyVoltage12V,
           data.fanRpmSpeed[0], data.fanRpmSpeed[1], data.temperatureSensor[0],
           data.temperatureSensor[1], data.general_use1, data.general_use2, data.general_use3,
           data.general_use4, data.general_use5, data.reserved5, data.reserved6),
    FIELDS(SndDiagCommand_t, operationCode, unitOffL, devOffL, selfTest, reservedBit, pf,
           selfTestCode, reserved, parameterListLength, control),
    FIELDS(SenseData_t, responseCode, valid, obsolete, senseKey, reserved, ili, eom, filemark,
           information, additionalSenseLength, commandSpecificInformation, additionalSenseCode,
           additionalSenseCodeQualifier, fieldReplaceableUnitCode, senseKeySpecific7Bits, sksv,
           senseKeySpecific16Bits),
    FIELDS(ConfDiagPage_t, header.pageCode, header.numberSubEnclosure, header.pageLength,
           header.generationCode, enclosureDesc.numberESProcesses, enclosureDesc.reserved1,
           enclosureDesc.relESProcessId, enclosureDesc.reserved2, enclosureDesc.subEnclosureId,
           enclosureDesc.numberElementTypeDescHdrs, enclosureDesc.enclosureDescLength,
           enclosureDesc.enclosureLogId[0], enclosureDesc.enclosureVendorId[0],
           enclosureDesc.productId[0], enclosureDesc.productRevLevel[0],
           typeDescHdrs[0].elementType, typeDescHdrs[0].numberPossibleElements,
           typeDescHdrs[0].subEnclosureId, typeDescHdrs[0].typeDescTextLength),
    FIELDS(EncStatDiagPage_t, header.pageCode, header.unrecov, header.crit, header.nonCrit,
           header.info, header.invop, header.reserved, header.pageLength, header.generationCode,
           statusList[0]),
    FIELDS(EncContDiagPage_t, header.pageCode, header.unrecov, header.crit, header.nonCrit,
           header.info, header.reserved, header.pageLength, header.generationCode, controlList[0]),
    FIELDS(DeviceElementStat_t, commonStatus, slotAddress, report, ident, rmv, readyToInsert,
           enclosureBypB, enclosureBypA, doNotRemove, appClientBypA, deviceBypB, deviceBypA, BypB,
           BypA, deviceOff, faultReqstd, faultSensed, appClientBypB),
    FIELDS(PowerSupplyElementStat_t, commonStatus, reserved1, ident, rsvd1, dcOverCurrent,
           dcUnderVoltage, dcOverVoltage, reserved2, dcFail, acFail, tempWarn, ovrtmpFail, off,
           rqstedOn, fail, rsvd2),
    FIELDS(CoolingElementStat_t, commonStatus, actualFanSpeedMsb, reserved, ident, actualFanSpeed,
           actualSpeedCode, rsvd1, off, rqstedOn, fail, rsvd2),
    FIELDS(TemperatureSensorElementStat_t, commonStatus, reserved1, ident, temperature, utWarning,
           utFailure, otWarning, otFailure, reserved2),
    FIELDS(AudibleAlarmElementStat_t, commonStatus, reserved1, ident, reserved2, unrecov, crit,
           nonCrit, info, remind, rsvd, muted, rqstMute),
    FIELDS(DeviceElementCont_t, commonControl, reserved1, reserved2, rqstIdent, rqstRemove,
           rqstInsert, reserved3, doNotRemove, rqstActive, reserved4, enableBypB, enableBypA,
           deviceOff, rqstFault, reserved5),
    FIELDS(PowerSupplyElementCont_t, commonControl, reserved1, rqstIdent, reserved2, reserved3,
           rqstOn, rqstFail, rsvd),
    FIELDS(CoolingElementCont_t, commonControl, reserved1, rqstIdent, reserved2, requestedSpeedCode,
           reserved3, rqstOn, rqstFail, rsvd),
    FIELDS(TemperatureSensorElementCont_t, commonControl, reserved1, rqstIdent, reserved2[0],
           reserved2[1]),
    FIELDS(AudibleAlarmElementCont_t, commonControl, reserved1, rqstIdent, reserved2, unrecov, crit,
           nonCrit, info, setRemind, rsvd1, setMute, rsvd2),
};

// RECORD OFFSET BYTES: the fields that are not 0 in a record of zeros with these bytes.
class RecordPlayer : public Player {
  public:
    RecordPlayer() {
        for (const Record& record : RECORDS) {
            commands[record.name] = [&record, this](auto& w) {
                const Bytes typed = hexBytes(w.from(2));
                Bytes bytes(w.u32(1));
                bytes.insert(bytes.end(), typed.begin(), typed.end());
                bytes.resize(record.size);
                for (const Field& field : record.fields) {
                    char value[32];
                    std::snprintf(value, sizeof value, " %.15g", field.read(bytes.data()));
                    say(value == std::string(" 0") ? "" : field.name + value);
                }
            };
        }
    }
};

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
    scriptPlay<RecordPlayer>(RECORDS_FILE);
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
