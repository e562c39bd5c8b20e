// SPDX-License-Identifier: Apache-2.0
#include "tools/sesctl/codec.h"

#include <fmt/format.h>

#include "sys_msg.h"
#include "tools/sesctl/failure.h"

namespace sesctl {

namespace {

constexpr std::uint16_t ALLOCATION_LENGTH = MMSG_K_MESSAGE_MAX - MMSG_K_HEADER_SIZE;
constexpr std::size_t PAGE_HEADER_SIZE = 4;  // page code, one more byte, page length
constexpr std::uint8_t STATUS_CODE_BITS = 0x0F;
constexpr std::uint8_t STATUS_DISABLED = 0x20;
constexpr int TEMPERATURE_OFFSET = 20;

[[noreturn]] void malformed(const std::string& text) {
    throw Failure(ExitCode::malformedReply, "malformed reply: " + text);
}

// A page or message taken record by record; never past its end.
class Walk {
  public:
    explicit Walk(View bytes) : rest_(bytes) {}

    template <typename Record>
    Record take() {
        return *wireView<Record>(take(sizeof(Record)).data());
    }
    View take(std::size_t size) {
        if (rest_.size() < size) {
            malformed("it ends inside a record");
        }
        const View taken = rest_.first(size);
        rest_ = rest_.subspan(size);
        return taken;
    }
    bool atEnd() const { return rest_.empty(); }
    void expectEnd() const {
        if (!atEnd()) {
            malformed(fmt::format("{} bytes too many", rest_.size()));
        }
    }

  private:
    View rest_;
};

struct OverallWord {
    std::uint8_t bytes[SES_K_ELEMENT_SIZE];
};

Bytes command(std::uint8_t operation, std::size_t length) {
    Bytes message(length);
    MMCH_t header = {};
    header.message_type = MSG_E_TYPE_MMSG;
    header.mmch_version = MMSG_K_VERSION;
    header.mmsg_length = static_cast<std::uint16_t>(length);
    header.opcode.request.protocol = MMSG_E_PROTOCOL_SES;
    header.opcode.request.type = operation;
    header.requestor = MMSG_E_EPID_ENVIRONMP;
    header.dest_ep = MMSG_E_EPID_ES_ADAPTERMP;
    header.recipient_loc_bm[MMSG_E_EPID_ES_ADAPTERMP / 32] = std::uint32_t{1}
                                                             << (MMSG_E_EPID_ES_ADAPTERMP % 32);
    *wireView<MMCH_t>(message.data()) = header;
    return message;
}

// Printable text of a field padded with zeros or blanks.
std::string fieldText(View field) {
    std::string text;
    for (const std::uint8_t byte : field) {
        if (byte == 0) {
            break;
        }
        text += byte >= ' ' && byte <= '~' ? static_cast<char>(byte) : '.';
    }
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

// A new element with what its first byte says.
template <typename T>
T begin(std::uint8_t commonStatus) {
    T element;
    element.code = commonStatus & STATUS_CODE_BITS;
    element.disabled = (commonStatus & STATUS_DISABLED) != 0;
    return element;
}

Device decode(const DeviceElementStat_t& record) {
    auto device = begin<Device>(record.commonStatus);
    device.slot = record.slotAddress;
    device.ident = record.ident;
    device.doNotRemove = record.doNotRemove;
    device.off = record.deviceOff;
    device.faultRequested = record.faultReqstd;
    device.faultSensed = record.faultSensed;
    return device;
}

PowerSupply decode(const PowerSupplyElementStat_t& record) {
    auto supply = begin<PowerSupply>(record.commonStatus);
    supply.ident = record.ident;
    supply.dcOverCurrent = record.dcOverCurrent;
    supply.dcUnderVoltage = record.dcUnderVoltage;
    supply.dcOverVoltage = record.dcOverVoltage;
    supply.dcFail = record.dcFail;
    supply.acFail = record.acFail;
    supply.temperatureWarning = record.tempWarn;
    supply.overTemperature = record.ovrtmpFail;
    supply.off = record.off;
    supply.requestedOn = record.rqstedOn;
    supply.fail = record.fail;
    return supply;
}

Fan decode(const CoolingElementStat_t& record) {
    auto fan = begin<Fan>(record.commonStatus);
    fan.ident = record.ident;
    fan.off = record.off;
    fan.requestedOn = record.rqstedOn;
    fan.fail = record.fail;
    fan.speedCode = record.actualSpeedCode;
    const unsigned tensOfRpm = record.actualFanSpeedMsb * 256U + record.actualFanSpeed;
    // A fan that stands still is marked off; speed 0 without the mark is a failed read.
    if (tensOfRpm != 0 || fan.off) {
        fan.rpm = tensOfRpm * 10;
    }
    return fan;
}

Sensor decode(const TemperatureSensorElementStat_t& record) {
    auto sensor = begin<Sensor>(record.commonStatus);
    sensor.ident = record.ident;
    sensor.underTemperatureWarning = record.utWarning;
    sensor.underTemperatureFailure = record.utFailure;
    sensor.overTemperatureWarning = record.otWarning;
    sensor.overTemperatureFailure = record.otFailure;
    // 0 stands for no reading, unless the flags say that it is really that cold.
    if (record.temperature != 0 || record.utFailure) {
        sensor.celsius = record.temperature - TEMPERATURE_OFFSET;
    }
    return sensor;
}

Alarm decode(const AudibleAlarmElementStat_t& record) {
    auto alarm = begin<Alarm>(record.commonStatus);
    alarm.ident = record.ident;
    alarm.flags = AlarmFlags{
        .unrecoverable = record.unrecov != 0,
        .critical = record.crit != 0,
        .nonCritical = record.nonCrit != 0,
        .information = record.info != 0,
        .remind = record.remind != 0,
        .muted = record.muted != 0,
        .requestedMute = record.rqstMute != 0,
    };
    return alarm;
}

PageFlags decode(const EncStatDiagPageHdr_t& header) {
    return {
        .unrecoverable = header.unrecov != 0,
        .critical = header.crit != 0,
        .nonCritical = header.nonCrit != 0,
        .information = header.info != 0,
        .invalidOperation = header.invop != 0,
    };
}

// The overall word and the elements of one type.
template <typename Record, typename Out>
OverallWord takeElements(Walk& walk, unsigned count, std::vector<Out>& elements) {
    const auto overall = walk.take<OverallWord>();
    for (unsigned i = 0; i < count; i++) {
        elements.push_back(decode(walk.take<Record>()));
    }
    return overall;
}

}  // namespace

Bytes receiveDiagnostic(std::uint8_t pageCode) {
    Bytes message = command(SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND,
                            MMSG_K_HEADER_SIZE + sizeof(RcvDiagResCommand_t));
    RcvDiagResCommand_t block = {};
    block.operationCode = SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND;
    block.pcv = 1;
    block.pageCode = pageCode;
    block.allocationLength = ALLOCATION_LENGTH;
    *wireView<RcvDiagResCommand_t>(message.data() + MMSG_K_HEADER_SIZE) = block;
    return message;
}

Bytes sendDiagnostic(View page) {
    constexpr std::size_t pageOffset = MMSG_K_HEADER_SIZE + sizeof(SndDiagCommand_t);
    Bytes message = command(SES_K_SEND_DIAGNOSTIC_COMMAND, pageOffset);
    SndDiagCommand_t block = {};
    block.operationCode = SES_K_SEND_DIAGNOSTIC_COMMAND;
    block.pf = 1;
    block.parameterListLength = static_cast<std::uint16_t>(page.size());
    *wireView<SndDiagCommand_t>(message.data() + MMSG_K_HEADER_SIZE) = block;
    message.insert(message.end(), page.begin(), page.end());
    wireView<MMCH_t>(message.data())->mmsg_length = static_cast<std::uint16_t>(message.size());
    return message;
}

bool answers(View message, View request) {
    const auto& reply = *wireView<MMCH_t>(message.data());
    const auto& asked = *wireView<MMCH_t>(request.data());
    return (reply.mmsg_cont & MMSG_K_CONT_RESPONSE) != 0 &&
           reply.requestor == MMSG_E_EPID_ES_ADAPTERMP && reply.handle == asked.handle &&
           reply.opcode.whole == asked.opcode.whole;
}

Reply decodeReply(View message) {
    Walk walk(message);
    walk.take<MMCH_t>();
    const std::uint8_t status = walk.take(1)[0];
    if (status == SES_K_SCSI_STATUS_CODE_CHECK_CONDITION) {
        const auto sense = walk.take<SenseData_t>();
        return {
            Sense{sense.senseKey, sense.additionalSenseCode, sense.additionalSenseCodeQualifier},
            {}};
    }
    if (status != SES_K_SCSI_STATUS_CODE_GOOD) {
        malformed(fmt::format("SCSI status 0x{:02X}", status));
    }
    const View payload = message.subspan(MMSG_K_HEADER_SIZE + 1);
    return {std::nullopt, Bytes(payload.begin(), payload.end())};
}

Bytes completePage(View payload, std::uint8_t pageCode) {
    Walk walk(payload);
    const View header = walk.take(PAGE_HEADER_SIZE);
    if (header[0] != pageCode) {
        malformed(fmt::format("page 0x{:02X} instead of page 0x{:02X}", header[0], pageCode));
    }
    const std::size_t size = PAGE_HEADER_SIZE + *wireView<Be16>(header.data() + 2);
    if (payload.size() + 1 != size) {
        malformed(fmt::format("{} bytes of a page of {}", payload.size(), size));
    }
    Bytes page(payload.begin(), payload.end());
    page.push_back(0);
    return page;
}

Configuration decodeConfiguration(View page) {
    Walk walk(page);
    const auto header = walk.take<ConfDiagPageHdr_t>();
    const auto enclosure = walk.take<EnclosureDescHdr_t>();
    constexpr std::size_t descriptorLength = sizeof enclosure - PAGE_HEADER_SIZE;
    if (header.numberSubEnclosure != 0 || enclosure.enclosureDescLength != descriptorLength ||
        enclosure.numberElementTypeDescHdrs != SES_K_ELEMENT_TYPES) {
        malformed("not one enclosure of five element types");
    }
    Configuration configuration;
    configuration.generation = header.generationCode;
    configuration.vendor = fieldText(enclosure.enclosureVendorId);
    configuration.product = fieldText(enclosure.productId);
    configuration.revision = fieldText(enclosure.productRevLevel);
    std::size_t textLength = 0;
    for (std::size_t kind = 0; kind < ELEMENT_TYPES.size(); kind++) {
        const auto type = walk.take<TypeDescHdr_t>();
        if (type.elementType != ELEMENT_TYPES[kind]) {
            malformed(fmt::format("element type {} in place {}", type.elementType, kind));
        }
        configuration.counts[kind] = type.numberPossibleElements;
        textLength += type.typeDescTextLength;
    }
    walk.take(textLength);
    walk.expectEnd();
    return configuration;
}

Status decodeStatus(View page, const Configuration& configuration) {
    Walk walk(page);
    const auto header = walk.take<EncStatDiagPageHdr_t>();
    if (header.generationCode != configuration.generation) {
        malformed("the configuration changed while it was read");
    }
    const auto& counts = configuration.counts;
    Status status;
    status.page = decode(header);
    takeElements<DeviceElementStat_t>(walk, counts[devices], status.devices);
    takeElements<PowerSupplyElementStat_t>(walk, counts[powerSupplies], status.powerSupplies);
    takeElements<CoolingElementStat_t>(walk, counts[fans], status.fans);
    takeElements<TemperatureSensorElementStat_t>(walk, counts[sensors], status.sensors);
    const auto overall =
        takeElements<AudibleAlarmElementStat_t>(walk, counts[alarms], status.alarms);
    walk.expectEnd();
    status.alarmsDisabled = (overall.bytes[3] & STATUS_DISABLED) != 0;
    if (!status.alarms.empty()) {
        status.alarms.back().flags.reset();  // the byte that was left out
    }
    return status;
}

}  // namespace sesctl
