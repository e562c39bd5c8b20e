// SPDX-License-Identifier: Apache-2.0
// The records that leave the process: bytes that are the same on every machine.
#include <gtest/gtest.h>

#include <cstring>

#include "esa_evl.h"
#include "ses_mesgs.h"
#include "tests/support/hex.h"
#include "tests/support/laws.h"

namespace {

// The fields of a record in their order, and how many bits they have, the most significant one
// first; several layouts mirror the published standard's, as all peers share them.
struct Field {
    std::size_t bits;
    const char* name;
    std::uint64_t (*read)(const void*);  // null: a gap
};
constexpr Field gap(std::size_t bits) {
    return {bits, "", nullptr};
}
#define F(bits, field)                                                                           \
    {                                                                                            \
        bits, #field, [](const void* bytes) { return raw(static_cast<const R*>(bytes)->field); } \
    }

template <typename Value>
std::uint64_t raw(const Value& value) {
    if constexpr (std::is_same_v<Value, BeDouble>) {
        return std::bit_cast<std::uint64_t>(static_cast<double>(value));
    } else {
        return static_cast<std::uint64_t>(value);
    }
}

std::uint64_t bitsOf(const Bytes& bytes, std::size_t from, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t bit = from; bit < from + count; ++bit) {
        value = value << 1 | (bytes.at(bit / 8) >> (7 - bit % 8) & 1);
    }
    return value;
}

// Any bytes read as the fields that stand there.
template <typename Record>
void layoutCheck(const std::vector<Field>& fields) {
    Random random(1);
    for (int n = 0; n < 20; ++n) {
        const Bytes bytes = random.bytes(sizeof(Record));
        std::size_t at = 0;
        for (const Field& field : fields) {
            const std::uint64_t unused = field.bits < 64 ? ~std::uint64_t{0} << field.bits : 0;
            if (field.read != nullptr) {
                EXPECT_EQ(field.read(bytes.data()) & ~unused, bitsOf(bytes, at, field.bits))
                    << field.name << " at bit " << at << " of\n"
                    << hexText(bytes);
            }
            at += field.bits;
        }
        EXPECT_EQ(at, 8 * sizeof(Record));
    }
}
#define LAYOUT(type, ...)              \
    TEST(Layout, Of_##type) {          \
        using R = type;                \
        layoutCheck<R>({__VA_ARGS__}); \
    }

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

LAYOUT(EsaEvent_t, gap(1024), F(32, header.evSlotId), F(32, header.evInstanceNumber),
       F(32, header.evSequenceId), F(32, header.evTime), F(16, header.evStructLength),
       F(8, header.evSource), F(8, header.evType), F(8, header.evCategory),
       F(8, header.evIdVersion), F(16, header.evId), F(8, data.enclosureType), gap(24),
       F(32, data.numberOfDrive), F(32, data.numberOfPowerSupply), F(32, data.numberOfFan),
       F(32, data.numberOfTemperatureSensor), F(32, data.numberOfAlarm),
       F(32, data.driveFaultLedStatus0), F(32, data.driveFaultLedStatus1),
       F(32, data.powerSupplyStatus), F(32, data.fanFaultStatus), F(32, data.temperatureStatus),
       F(32, data.temperatureSensorPosition), F(16, data.temperature), gap(16),
       F(32, data.alarmState), F(32, data.information), gap(32), F(64, data.powerSupplyVoltage5V),
       F(64, data.powerSupplyVoltage12V), F(16, data.fanRpmSpeed[0]), F(16, data.fanRpmSpeed[1]),
       gap(96), F(16, data.temperatureSensor[0]), F(16, data.temperatureSensor[1]), gap(96),
       F(32, data.general_use1), F(32, data.general_use2), F(32, data.general_use3),
       F(32, data.general_use4), F(32, data.general_use5), gap(96))
LAYOUT(SndDiagCommand_t, F(8, operationCode), F(1, unitOffL), F(1, devOffL), F(1, selfTest), gap(1),
       F(1, pf), F(3, selfTestCode), gap(16), F(16, parameterListLength), F(8, control), gap(8))
LAYOUT(SenseData_t, F(7, responseCode), F(1, valid), F(8, obsolete), F(4, senseKey), gap(1),
       F(1, ili), F(1, eom), F(1, filemark), gap(8), F(32, information),
       F(8, additionalSenseLength), gap(24), F(32, commandSpecificInformation),
       F(8, additionalSenseCode), F(8, additionalSenseCodeQualifier),
       F(8, fieldReplaceableUnitCode), F(7, senseKeySpecific7Bits), F(1, sksv),
       F(16, senseKeySpecific16Bits), gap(16))
LAYOUT(ConfDiagPage_t, F(8, header.pageCode), F(8, header.numberSubEnclosure),
       F(16, header.pageLength), F(32, header.generationCode),
       F(3, enclosureDesc.numberESProcesses), gap(1), F(3, enclosureDesc.relESProcessId), gap(1),
       F(8, enclosureDesc.subEnclosureId), F(8, enclosureDesc.numberElementTypeDescHdrs),
       F(8, enclosureDesc.enclosureDescLength), F(8, enclosureDesc.enclosureLogId[0]), gap(56),
       F(8, enclosureDesc.enclosureVendorId[0]), gap(56), F(8, enclosureDesc.productId[0]),
       gap(120), F(8, enclosureDesc.productRevLevel[0]), gap(24), F(8, typeDescHdrs[0].elementType),
       F(8, typeDescHdrs[0].numberPossibleElements), F(8, typeDescHdrs[0].subEnclosureId),
       F(8, typeDescHdrs[0].typeDescTextLength))
LAYOUT(EncStatDiagPage_t, F(8, header.pageCode), F(1, header.unrecov), F(1, header.crit),
       F(1, header.nonCrit), F(1, header.info), F(1, header.invop), gap(3),
       F(16, header.pageLength), F(32, header.generationCode), F(8, statusList[0]))
LAYOUT(EncContDiagPage_t, F(8, header.pageCode), F(1, header.unrecov), F(1, header.crit),
       F(1, header.nonCrit), F(1, header.info), gap(4), F(16, header.pageLength),
       F(32, header.generationCode), F(8, controlList[0]))
LAYOUT(DeviceElementStat_t, F(8, commonStatus), F(8, slotAddress), F(1, report), F(1, ident),
       F(1, rmv), F(1, readyToInsert), F(1, enclosureBypB), F(1, enclosureBypA), F(1, doNotRemove),
       F(1, appClientBypA), F(1, deviceBypB), F(1, deviceBypA), F(1, BypB), F(1, BypA),
       F(1, deviceOff), F(1, faultReqstd), F(1, faultSensed), F(1, appClientBypB))
LAYOUT(PowerSupplyElementStat_t, F(8, commonStatus), gap(7), F(1, ident), gap(1),
       F(1, dcOverCurrent), F(1, dcUnderVoltage), F(1, dcOverVoltage), gap(4), F(1, dcFail),
       F(1, acFail), F(1, tempWarn), F(1, ovrtmpFail), F(1, off), F(1, rqstedOn), F(1, fail),
       gap(1))
LAYOUT(CoolingElementStat_t, F(8, commonStatus), F(2, actualFanSpeedMsb), gap(5), F(1, ident),
       F(8, actualFanSpeed), F(3, actualSpeedCode), gap(1), F(1, off), F(1, rqstedOn), F(1, fail),
       gap(1))
LAYOUT(TemperatureSensorElementStat_t, F(8, commonStatus), gap(7), F(1, ident), F(8, temperature),
       F(1, utWarning), F(1, utFailure), F(1, otWarning), F(1, otFailure), gap(4))
LAYOUT(AudibleAlarmElementStat_t, F(8, commonStatus), gap(7), F(1, ident), gap(8), F(1, unrecov),
       F(1, crit), F(1, nonCrit), F(1, info), F(1, remind), gap(1), F(1, muted), F(1, rqstMute))
LAYOUT(DeviceElementCont_t, F(8, commonControl), gap(9), F(1, rqstIdent), F(1, rqstRemove),
       F(1, rqstInsert), gap(2), F(1, doNotRemove), F(1, rqstActive), gap(2), F(1, enableBypB),
       F(1, enableBypA), F(1, deviceOff), F(1, rqstFault), gap(2))
LAYOUT(PowerSupplyElementCont_t, F(8, commonControl), gap(7), F(1, rqstIdent), gap(13),
       F(1, rqstOn), F(1, rqstFail), gap(1))
LAYOUT(CoolingElementCont_t, F(8, commonControl), gap(7), F(1, rqstIdent), gap(8),
       F(3, requestedSpeedCode), gap(2), F(1, rqstOn), F(1, rqstFail), gap(1))
LAYOUT(TemperatureSensorElementCont_t, F(8, commonControl), gap(7), F(1, rqstIdent), gap(16))
LAYOUT(AudibleAlarmElementCont_t, F(8, commonControl), gap(7), F(1, rqstIdent), gap(8),
       F(1, unrecov), F(1, crit), F(1, nonCrit), F(1, info), F(1, setRemind), gap(1), F(1, setMute),
       gap(1))

TEST(Wire, NumbersAreBigEndianAndKeepTheirSign) {
    checkNumber<Be16>(std::uint16_t{0xFE02}, "FE 02");
    checkNumber<Be24>(std::uint32_t{0xFEDC03}, "FE DC 03");
    EXPECT_EQ(Be24(0xAB010203), 0x010203U) << "the top byte is cut";
    checkNumber<Be32>(std::uint32_t{0xFEDCBA04}, "FE DC BA 04");
    checkNumber<Be64>(std::uint64_t{0xFEDCBA9876543208}, "FE DC BA 98 76 54 32 08");
    checkNumber<BeS16>(std::int16_t{-25}, "FF E7");
    checkNumber<BeS16>(std::int16_t{-32768}, "80 00");
    checkNumber<BeDouble>(12.05, "40 28 19 99 99 99 99 9A");
}

TEST(Wire, TextIsPaddedCutAndNeverRunsIntoTheNextField) {
    const char unterminated[8] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
    EXPECT_EQ(filled(""), hexText("00 00 00 00 00 00 00 00 EE"));
    EXPECT_EQ(filled("abc"), hexText("61 62 63 00 00 00 00 00 EE"));
    for (const char* text : {"abcdefgh", "abcdefghi", unterminated}) {
        EXPECT_EQ(filled(text), hexText("61 62 63 64 65 66 67 68 EE"));
    }
}

}  // namespace
