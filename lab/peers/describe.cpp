// SPDX-License-Identifier: Apache-2.0
// The readable line of a message. Field meanings are those of the shared message headers; what a
// message does not say is not shown.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

#include "lab/peers/message.h"
#include "ses_mesgs.h"
#include "startup.h"
#include "tools/chassis/service_chassis.h"

namespace {
// Wire integers print as the number they hold.
template <typename Wire, typename Value>
struct WireFormatter : fmt::formatter<Value> {
    template <typename Context>
    auto format(const Wire& wire, Context& context) const {
        return fmt::formatter<Value>::format(static_cast<Value>(wire), context);
    }
};
}  // namespace
template <>
struct fmt::formatter<Be16> : WireFormatter<Be16, std::uint16_t> {};
template <>
struct fmt::formatter<Be24> : WireFormatter<Be24, std::uint32_t> {};
template <>
struct fmt::formatter<Be32> : WireFormatter<Be32, std::uint32_t> {};
template <>
struct fmt::formatter<BeS16> : WireFormatter<BeS16, std::int16_t> {};

namespace enclab {
namespace {

// Element `index` of a table, or "NUMBER" for one without a name.
template <std::size_t N>
std::string nameOf(const std::array<std::string_view, N>& names, std::uint32_t index) {
    return index < N && !names[index].empty() ? std::string(names[index]) : std::to_string(index);
}

constexpr std::array<std::string_view, 4> kEventTypes = {"", "information", "warning", "error"};
constexpr std::array<std::string_view, 5> kBands = {"", "below 35", "over 35", "over 45",
                                                    "over 55"};
constexpr std::array<std::string_view, 5> kAlarmStates = {"idle", "fault", "remind", "mute",
                                                          "critical"};
constexpr std::array<std::string_view, 16> kStatusPages = {"supported pages",
                                                           "configuration page",
                                                           "enclosure status page",
                                                           "help text page",
                                                           "string-in page",
                                                           "threshold-in page",
                                                           "obsolete page",
                                                           "element descriptor page",
                                                           "short status page",
                                                           "enclosure busy page",
                                                           "additional element status page",
                                                           "subenclosure help text page",
                                                           "subenclosure string-in page",
                                                           "supported SES pages",
                                                           "download microcode status page",
                                                           "subenclosure nickname status page"};

std::string enclosureName(KORVO_E_CHASSIS_t type) {
    const std::string title = service::chassisTitle(type);
    return title.empty() ? std::to_string(type) : title;
}

std::string endpointName(std::uint8_t endpoint) {
    switch (endpoint) {
        case MMSG_E_EPID_STARTUPMP:
            return "start-up process";
        case MMSG_E_EPID_VOLMGRMP:
            return "volume manager";
        case MMSG_E_EPID_ENVIRONMP:
            return "environment manager";
        case MMSG_E_EPID_EVENTLOGMP:
            return "event manager";
        case MMSG_E_EPID_ES_ADAPTERMP:
            return "adapter";
        default:
            return fmt::format("endpoint {}", endpoint);
    }
}

std::string pageName(std::uint8_t page) {
    return page < kStatusPages.size() ? std::string(kStatusPages[page])
                                      : fmt::format("page 0x{:02x}", page);
}

// "none", "fan 1", "fans 1, 3": the bits set in a map.
std::string bitList(std::string_view what, std::uint32_t bits) {
    std::vector<int> set;
    for (int n = 0; n < 32; ++n) {
        if ((bits >> n & 1) != 0) {
            set.push_back(n);
        }
    }
    if (set.empty()) {
        return "none";
    }
    return fmt::format("{}{} {}", what, set.size() > 1 ? "s" : "", fmt::join(set, ", "));
}

// `Entry` by `Entry` of a record's array, no more than the record holds.
template <typename Value, typename Entry, std::size_t N>
std::string valueList(const Entry (&entries)[N], std::uint32_t count) {
    std::vector<Value> values;
    for (std::size_t n = 0; n < N && n < count; ++n) {
        values.push_back(static_cast<Value>(entries[n]));
    }
    return fmt::format("{}", fmt::join(values, " "));
}

std::uint32_t low(const Be32& word) {
    return word & 0xFFFF;
}
std::uint32_t high(const Be32& word) {
    return word >> 16;
}

std::string personalityText(const EsaEventData_t& d) {
    return fmt::format(
        "fans {}, sensors {}, divisor {}, overheat limit {}, loads up at {} {} {}, down at {} {} "
        "{}, fan limit {} RPM, least load {} %",
        d.numberOfFan, d.numberOfTemperatureSensor, low(d.general_use1), high(d.general_use1),
        low(d.general_use2), high(d.general_use2), low(d.general_use3), high(d.general_use3),
        low(d.general_use4), high(d.general_use4), low(d.general_use5), high(d.general_use5));
}

std::string statisticsText(const EsaEventData_t& d) {
    return fmt::format("{:.2f} V, {:.2f} V, fans {} RPM, temperatures {} degrees",
                       static_cast<double>(d.powerSupplyVoltage5V),
                       static_cast<double>(d.powerSupplyVoltage12V),
                       valueList<std::uint16_t>(d.fanRpmSpeed, d.numberOfFan),
                       valueList<std::int16_t>(d.temperatureSensor, d.numberOfTemperatureSensor));
}

std::string deviceText(const EsaEventData_t& d) {
    return d.general_use1 == 0 ? "answers" : "does not answer";
}

std::string informationText(const std::string& type, const EsaEventData_t& d) {
    const std::string enclosure =
        fmt::format("{}, enclosure {}", type, enclosureName(d.enclosureType));
    switch (d.information) {
        case ESA_E_EVENT_INFO_REQUEST_ORDERLY_SHUTDOWN:
            return fmt::format("overheated, shutdown requested: {}", enclosure);
        case ESA_E_EVENT_INFO_I2C_BUS_STATUS:
            return fmt::format("enclosure bus: {}, {}", enclosure, deviceText(d));
        case ESA_E_EVENT_INFO_I2C_BUS_STATUS_VSC055:
            return fmt::format("device VSC055: {}, {}", enclosure, deviceText(d));
        case ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75:
            return fmt::format("device LM75 of sensor {}: {}, {}", d.temperatureSensorPosition,
                               enclosure, deviceText(d));
        case ESA_E_EVENT_INFO_I2C_BUS_STATUS_W83782D:
            return fmt::format("device W83782D: {}, {}", enclosure, deviceText(d));
        case ESA_E_EVENT_INFO_I2C_BUS_STATUS_W83792AD:
            return fmt::format("device W83792AD: {}, {}", enclosure, deviceText(d));
        case ESA_E_EVENT_INFO_I2C_BUS_STATUS_PCA9539:
            return fmt::format("device PCA9539: {}, {}", enclosure, deviceText(d));
        case ESA_E_EVENT_INFO_NO_ENCLOSURE_SERVICES:
            return fmt::format("no enclosure services: {}", enclosure);
        case ESA_E_EVENT_INFO_REPORT_STATISTICS:
            return fmt::format("statistics: {}, {}", enclosure, statisticsText(d));
        case ESA_E_EVENT_INFO_NO_PERSONALITY_TOOLKIT_INFO:
            return fmt::format("no personality file: {}", enclosure);
        case ESA_E_EVENT_INFO_PERSONALITY_TOOLKIT_INFO:
            return fmt::format("personality: {}, {}", enclosure, personalityText(d));
        default:
            return fmt::format("information {}: {}, argument 0x{:x}", d.information, enclosure,
                               d.general_use1);
    }
}

std::string supplyText(std::uint32_t status) {
    return fmt::format("voltage {}, redundancy {}", (status & 1) != 0 ? "good" : "bad",
                       (status & 2) != 0 ? "good" : "lost");
}

std::string eventText(const EsaEvent_t& event) {
    const EsaEventData_t& d = event.data;
    const std::string type = nameOf(kEventTypes, event.header.evType);
    switch (event.header.evId) {
        case ESA_E_ID_ES_ADAPTERMP_DRIVE_FAULT_LED_STATUS:
            return fmt::format("drive fault LEDs: {}, drives {}, lit 0x{:04x} ({})", type,
                               d.numberOfDrive, d.driveFaultLedStatus0,
                               bitList("drive", d.driveFaultLedStatus0));
        case ESA_E_ID_ES_ADAPTERMP_POWER_SUPPLY_STATUS:
            return fmt::format("power supply status: {}, supplies {}, status 0x{:02x} ({})", type,
                               d.numberOfPowerSupply, d.powerSupplyStatus,
                               supplyText(d.powerSupplyStatus));
        case ESA_E_ID_ES_ADAPTERMP_FAN_FAULT_STATUS:
            return fmt::format("fan fault status: {}, fans {}, failed 0x{:02x} ({})", type,
                               d.numberOfFan, d.fanFaultStatus, bitList("fan", d.fanFaultStatus));
        case ESA_E_ID_ES_ADAPTERMP_TEMPERATURE_SENSOR_STATUS:
            return fmt::format("temperature: {}, sensor {} of {} at {} degrees, {}", type,
                               d.temperatureSensorPosition, d.numberOfTemperatureSensor,
                               d.temperature, nameOf(kBands, d.temperatureStatus));
        case ESA_E_ID_ES_ADAPTERMP_ALARM_STATUS:
            return fmt::format("alarm status: {}, alarms {}, state {}", type, d.numberOfAlarm,
                               nameOf(kAlarmStates, d.alarmState));
        case ESA_E_ID_ES_ADAPTERMP_INFORMATION:
            return informationText(type, d);
        default:
            return fmt::format("id {}: {}", event.header.evId, type);
    }
}

std::string ledText(const MMCH_t& header) {
    const std::string led = header.general_use1 == SUS_K_LED_COMPOSITE_FAULT
                                ? "composite fault LED"
                                : fmt::format("LED {}", header.general_use1);
    switch (header.general_use2) {
        case SUS_K_LED_ON:
            return led + " on";
        case SUS_K_LED_OFF:
            return led + " off";
        default:
            return fmt::format("{} to state {}", led, header.general_use2);
    }
}

std::string addressed(const Message& message) {
    const MMCH_t& header = message.header();
    return fmt::format("{} bytes, handle {}", message.bytes().size(), header.handle);
}

std::string replyText(const Message& message) {
    const std::uint8_t status = message.bytes()[MMSG_K_HEADER_SIZE];
    const std::string to = endpointName(message.header().dest_ep);
    const std::uint32_t command = message.header().opcode.request.type;
    if (status == SES_K_SCSI_STATUS_CODE_CHECK_CONDITION &&
        message.bytes().size() > MMSG_K_HEADER_SIZE + sizeof(SenseData_t)) {
        const auto& sense = *wireView<SenseData_t>(message.bytes().data() + MMSG_K_HEADER_SIZE + 1);
        return fmt::format("to {}: CHECK CONDITION, key {}, code 0x{:02x}/0x{:02x}, {}", to,
                           static_cast<int>(sense.senseKey), sense.additionalSenseCode,
                           sense.additionalSenseCodeQualifier, addressed(message));
    }
    if (status != SES_K_SCSI_STATUS_CODE_GOOD) {
        return fmt::format("to {}: status {}, {}", to, status, addressed(message));
    }
    if (command == SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND &&
        message.bytes().size() > MMSG_K_HEADER_SIZE + 1) {
        return fmt::format("to {}: GOOD, {}, {}", to,
                           pageName(message.bytes()[MMSG_K_HEADER_SIZE + 1]), addressed(message));
    }
    return fmt::format("to {}: GOOD, {}", to, addressed(message));
}

std::string commandText(const Message& message) {
    const std::string from = endpointName(message.header().requestor);
    const std::uint32_t type = message.header().opcode.request.type;
    if (const auto* get = message.userData<RcvDiagResCommand_t>();
        get != nullptr && type == SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND) {
        return fmt::format("from {}: get {}, at most {} bytes, {}", from,
                           get->pcv != 0 ? pageName(get->pageCode) : "the page last sent",
                           get->allocationLength, addressed(message));
    }
    if (const auto* put = message.userData<SndDiagCommand_t>();
        put != nullptr && type == SES_K_SEND_DIAGNOSTIC_COMMAND) {
        const std::size_t page = MMSG_K_HEADER_SIZE + sizeof(SndDiagCommand_t);
        const std::string name = message.bytes().size() <= page ? "no page"
                                 : message.bytes()[page] == SES_K_ENCLOSURE_CONTROL_DIAGNOSTIC_PAGE
                                     ? "enclosure control page"
                                     : fmt::format("page 0x{:02x}", message.bytes()[page]);
        return fmt::format("from {}: put {}, {} bytes of parameters, {}", from, name,
                           put->parameterListLength, addressed(message));
    }
    return fmt::format("from {}: command 0x{:02x}, {}", from, type, addressed(message));
}

std::string answerText(const MMCH_t& header) {
    switch (header.return_code) {
        case SUS_E_MMSG_RESP_OK:
            return "start-up process: OK";
        case SUS_E_MMSG_RESP_REJECTED:
            return "start-up process: REJECTED";
        default:
            return fmt::format("start-up process: {}", header.return_code);
    }
}

std::string headerText(const Message& message) {
    const MMCH_t& h = message.header();
    return fmt::format(
        "protocol {}, type {}, from {}, recipients 0x{:08x} 0x{:08x}, return code {}, {}",
        h.opcode.request.protocol, h.opcode.request.type, endpointName(h.requestor),
        h.recipient_loc_bm[0], h.recipient_loc_bm[1], h.return_code, addressed(message));
}

struct Line {
    Kind kind;
    const char* tag;
    std::string (*text)(const Message&);
};
constexpr Line kLines[] = {
    {Kind::initComplete, "startup",
     [](const Message&) -> std::string { return "initialisation complete"; }},
    {Kind::event, "event", [](const Message& message) { return eventText(*message.event()); }},
    {Kind::compositeLed, "led", [](const Message& message) { return ledText(message.header()); }},
    {Kind::mail, "mail", [](const Message&) -> std::string { return "e-mail notification"; }},
    {Kind::shutdown, "stop", [](const Message&) -> std::string { return "orderly shutdown"; }},
    {Kind::reply, "reply", replyText},
    {Kind::sesCommand, "ses", commandText},
    {Kind::answer, "answer", [](const Message& message) { return answerText(message.header()); }},
    {Kind::broken, "broken", headerText},
    {Kind::other, "other", headerText},
};

}  // namespace

std::string describe(const Message& message) {
    const Line& line = *std::ranges::find(kLines, message.kind(), &Line::kind);
    return fmt::format("{:<8}{}", line.tag, line.text(message));
}

std::vector<std::string> messageTags() {
    std::vector<std::string> tags;
    std::ranges::transform(kLines, std::back_inserter(tags), &Line::tag);
    return tags;
}

}  // namespace enclab
