// SPDX-License-Identifier: Apache-2.0
// The service's state at a critical fault, field by field in the order of the record.
#include <fmt/format.h>

#include "esa_evl.h"
#include "tools/altevent/record.h"
#include "tools/chassis/service_chassis.h"

namespace altevent {

namespace {

// A bit-field of an element record.
template <typename Element>
struct Part {
    const char* name;
    bool isFlag;
    U8_t (*of)(const Element&);
};

}  // namespace

#define NUMBER(Element, field)                                                      \
    {                                                                               \
#field, false, [](const Element& element) -> U8_t { return element.field; } \
    }
#define FLAG(Element, field)                                                       \
    {                                                                              \
#field, true, [](const Element& element) -> U8_t { return element.field; } \
    }

static const Part<DeviceElementCont_t> deviceControl[] = {
    NUMBER(DeviceElementCont_t, commonControl), FLAG(DeviceElementCont_t, rqstIdent),
    FLAG(DeviceElementCont_t, rqstRemove),      FLAG(DeviceElementCont_t, rqstInsert),
    FLAG(DeviceElementCont_t, doNotRemove),     FLAG(DeviceElementCont_t, rqstActive),
    FLAG(DeviceElementCont_t, enableBypB),      FLAG(DeviceElementCont_t, enableBypA),
    FLAG(DeviceElementCont_t, deviceOff),       FLAG(DeviceElementCont_t, rqstFault),
};
static const Part<DeviceElementStat_t> deviceStatus[] = {
    NUMBER(DeviceElementStat_t, commonStatus),
    NUMBER(DeviceElementStat_t, slotAddress),
    FLAG(DeviceElementStat_t, report),
    FLAG(DeviceElementStat_t, ident),
    FLAG(DeviceElementStat_t, rmv),
    FLAG(DeviceElementStat_t, readyToInsert),
    FLAG(DeviceElementStat_t, enclosureBypB),
    FLAG(DeviceElementStat_t, enclosureBypA),
    FLAG(DeviceElementStat_t, doNotRemove),
    FLAG(DeviceElementStat_t, appClientBypA),
    FLAG(DeviceElementStat_t, deviceBypB),
    FLAG(DeviceElementStat_t, deviceBypA),
    FLAG(DeviceElementStat_t, BypB),
    FLAG(DeviceElementStat_t, BypA),
    FLAG(DeviceElementStat_t, deviceOff),
    FLAG(DeviceElementStat_t, faultReqstd),
    FLAG(DeviceElementStat_t, faultSensed),
    FLAG(DeviceElementStat_t, appClientBypB),
};
static const Part<PowerSupplyElementCont_t> powerSupplyControl[] = {
    NUMBER(PowerSupplyElementCont_t, commonControl),
    FLAG(PowerSupplyElementCont_t, rqstIdent),
    FLAG(PowerSupplyElementCont_t, rqstOn),
    FLAG(PowerSupplyElementCont_t, rqstFail),
};
static const Part<PowerSupplyElementStat_t> powerSupplyStatus[] = {
    NUMBER(PowerSupplyElementStat_t, commonStatus), FLAG(PowerSupplyElementStat_t, ident),
    FLAG(PowerSupplyElementStat_t, dcOverCurrent),  FLAG(PowerSupplyElementStat_t, dcUnderVoltage),
    FLAG(PowerSupplyElementStat_t, dcOverVoltage),  FLAG(PowerSupplyElementStat_t, dcFail),
    FLAG(PowerSupplyElementStat_t, acFail),         FLAG(PowerSupplyElementStat_t, tempWarn),
    FLAG(PowerSupplyElementStat_t, ovrtmpFail),     FLAG(PowerSupplyElementStat_t, off),
    FLAG(PowerSupplyElementStat_t, rqstedOn),       FLAG(PowerSupplyElementStat_t, fail),
};
static const Part<CoolingElementCont_t> coolingControl[] = {
    NUMBER(CoolingElementCont_t, commonControl),
    FLAG(CoolingElementCont_t, rqstIdent),
    NUMBER(CoolingElementCont_t, requestedSpeedCode),
    FLAG(CoolingElementCont_t, rqstOn),
    FLAG(CoolingElementCont_t, rqstFail),
};
static const Part<CoolingElementStat_t> coolingStatus[] = {
    NUMBER(CoolingElementStat_t, commonStatus),
    NUMBER(CoolingElementStat_t, actualFanSpeedMsb),
    FLAG(CoolingElementStat_t, ident),
    NUMBER(CoolingElementStat_t, actualFanSpeed),
    NUMBER(CoolingElementStat_t, actualSpeedCode),
    FLAG(CoolingElementStat_t, off),
    FLAG(CoolingElementStat_t, rqstedOn),
    FLAG(CoolingElementStat_t, fail),
};
static const Part<AudibleAlarmElementCont_t> alarmControl[] = {
    NUMBER(AudibleAlarmElementCont_t, commonControl), FLAG(AudibleAlarmElementCont_t, rqstIdent),
    FLAG(AudibleAlarmElementCont_t, unrecov),         FLAG(AudibleAlarmElementCont_t, crit),
    FLAG(AudibleAlarmElementCont_t, nonCrit),         FLAG(AudibleAlarmElementCont_t, info),
    FLAG(AudibleAlarmElementCont_t, setRemind),       FLAG(AudibleAlarmElementCont_t, setMute),
};
static const Part<AudibleAlarmElementStat_t> alarmStatus[] = {
    NUMBER(AudibleAlarmElementStat_t, commonStatus), FLAG(AudibleAlarmElementStat_t, ident),
    FLAG(AudibleAlarmElementStat_t, unrecov),        FLAG(AudibleAlarmElementStat_t, crit),
    FLAG(AudibleAlarmElementStat_t, nonCrit),        FLAG(AudibleAlarmElementStat_t, info),
    FLAG(AudibleAlarmElementStat_t, remind),         FLAG(AudibleAlarmElementStat_t, muted),
    FLAG(AudibleAlarmElementStat_t, rqstMute),
};

#undef NUMBER
#undef FLAG

// Values with one line each, equal neighbours on one: "[0..3] off", "[4] on".
static std::vector<std::string> indexed(const std::vector<std::string>& texts) {
    std::vector<std::string> lines;
    for (std::size_t first = 0; first < texts.size();) {
        std::size_t next = first + 1;
        while (next < texts.size() && texts[next] == texts[first]) {
            ++next;
        }
        const std::string range =
            next == first + 1 ? std::to_string(first) : fmt::format("{}..{}", first, next - 1);
        lines.push_back(fmt::format("{:<8} {}", "[" + range + "]", texts[first]));
        first = next;
    }
    return lines;
}

template <typename Element>
static std::string elementText(const Element& element, std::span<const Part<Element>> parts) {
    std::vector<std::string> set;
    for (const Part<Element>& part : parts) {
        if (const U8_t value = part.of(element); value != 0) {
            set.push_back(part.isFlag ? part.name : fmt::format("{}={}", part.name, value));
        }
    }
    const auto* const bytes = reinterpret_cast<const U8_t*>(&element);
    const std::string meaning = set.empty() ? "" : "  " + joined(set);
    return hexRow({bytes, sizeof element}) + meaning;
}

template <typename Element, std::size_t N, std::size_t P>
static Field elements(const char* name, const Element (&array)[N],
                      const Part<Element> (&parts)[P]) {
    Field field = {name, Json::array(), {}};
    std::vector<std::string> texts;
    for (const Element& element : array) {
        Json values = Json::object();
        for (const Part<Element>& part : parts) {
            values[part.name] = part.of(element);
        }
        field.value.push_back(std::move(values));
        texts.push_back(elementText<Element>(element, parts));
    }
    field.lines = indexed(texts);
    return field;
}

// An array of numbers, each with its name where it has one.
template <typename Value, std::size_t N>
static Field numbers(const char* name, const Value (&array)[N], Names names) {
    Field field = {name, Json::array(), {}};
    std::vector<std::string> texts;
    for (const Value& item : array) {
        const std::int64_t value = item;
        const std::string meaning = nameOf(names, static_cast<U32_t>(value));
        field.value.push_back(value);
        texts.push_back(meaning.empty() ? std::to_string(value)
                                        : fmt::format("{} ({})", value, meaning));
    }
    field.lines = indexed(texts);
    return field;
}

static Field signedNumber(const char* name, U32_t value) {
    return number(name, static_cast<S32_t>(value));
}

static Field socketAddress(const EsaSockAddr_t& address) {
    return group("socketAddressMSM",
                 {number("sun_family", address.sun_family), text("sun_path", address.sun_path)});
}

static Field registerShadows(const VitesseControl_t& vitesse) {
    return group("vitesse", {
                                byteRow("vsc055GPD", vitesse.vsc055GPD),
                                byteRow("vsc055DDP", vitesse.vsc055DDP),
                                byteRow("vsc055FSC", vitesse.vsc055FSC),
                                byteRow("vsc055PWMC", vitesse.vsc055PWMC),
                            });
}

#define OVERALL(field) hexNumber(#field, info.field)
#define ELEMENTS(field, parts) elements(#field, info.field, parts)
#define COUNT(field) number(#field, info.field)

Fields serviceStateFields(ByteSpan payload) {
    const auto& info = view<EsaInfo_t>(payload);
    return {
        signedNumber("socketFdMSM", info.socketFdMSM),
        socketAddress(info.socketAddressMSM),
        signedNumber("i2cFileFd", info.i2cFileFd),
        named("enclosureType", info.enclosureType, service::chassisTitle(info.enclosureType)),
        COUNT(elementTypeMaxNumber),
        COUNT(deviceMaxNumber),
        COUNT(powerSupplyMaxNumber),
        COUNT(coolingMaxNumber),
        COUNT(temperatureSensorMaxNumber),
        COUNT(audibleAlarmMaxNumber),
        COUNT(pageCodeInRecentSndDiagCmd),
        numbers("sesTypeDescriptorList", info.sesTypeDescriptorList, ELEMENT_TYPES),
        OVERALL(deviceElementControlOverall),
        ELEMENTS(deviceElementControl, deviceControl),
        OVERALL(deviceElementStatusOverall),
        ELEMENTS(deviceElementStatus, deviceStatus),
        numberedBits("driveFaultLedStatus0", info.driveFaultLedStatus0, "drive"),
        hexNumber("driveFaultLedStatus1", info.driveFaultLedStatus1),
        OVERALL(powerSupplyElementControlOverall),
        ELEMENTS(powerSupplyElementControl, powerSupplyControl),
        OVERALL(powerSupplyElementStatusOverall),
        ELEMENTS(powerSupplyElementStatus, powerSupplyStatus),
        bitMap("powerSupplyStatus", info.powerSupplyStatus, POWER_SUPPLY_BITS),
        OVERALL(coolingElementControlOverall),
        ELEMENTS(coolingElementControl, coolingControl),
        OVERALL(coolingElementStatusOverall),
        ELEMENTS(coolingElementStatus, coolingStatus),
        numbers("coolingElementOnOff", info.coolingElementOnOff, FAN_SWITCHES),
        numberedBits("fanFaultStatus", info.fanFaultStatus, "fan"),
        numbers("temperatureSensor", info.temperatureSensor, TEMPERATURES),
        numbers("temperatureReportStatus", info.temperatureReportStatus, TEMPERATURE_BANDS),
        OVERALL(audibleAlarmElementControlOverall),
        ELEMENTS(audibleAlarmElementControl, alarmControl),
        OVERALL(audibleAlarmElementStatusOverall),
        ELEMENTS(audibleAlarmElementStatus, alarmStatus),
        named("alarmState", info.alarmState, ALARM_STATES),
        bitMap("compositeFaultStatus", info.compositeFaultStatus, COMPOSITE_FAULTS),
        COUNT(esaDebug),
        registerShadows(info.vitesse),
        seconds("selectTimeout", info.selectTimeout.sec, info.selectTimeout.usec),
        seconds("pollTimeout", info.pollTimeout.sec, info.pollTimeout.usec),
    };
}

}  // namespace altevent
