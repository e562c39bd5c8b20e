// SPDX-License-Identifier: Apache-2.0
#include "tools/sesctl/control_page.h"

#include <fmt/format.h>

#include "tools/chassis/service_chassis.h"
#include "tools/sesctl/failure.h"

namespace sesctl {

namespace {

constexpr std::size_t LENGTH_EXCLUDES = 4;  // page code to page length
constexpr std::uint8_t DISABLE = 0x20;
constexpr std::size_t OVERALL_FLAGS = 3;  // the service looks into an overall word's last byte

// A supply in order shows `fail` only because that was requested. One that is not shows it anyway,
// and repeating it as a request would keep it after the repair.
bool faultRequested(const PowerSupply& supply) {
    return supply.fail && supply.code == SES_E_ELEMENT_STATUS_CODE_OK && !supply.acFail;
}

}  // namespace

ControlPage::ControlPage(const Configuration& configuration, const Status& status) {
    std::size_t size = sizeof(EncContDiagPageHdr_t);
    for (std::size_t kind = 0; kind < offsets_.size(); kind++) {
        offsets_[kind] = size;
        size += SES_K_ELEMENT_SIZE * (1 + configuration.counts[kind]);
    }
    page_.resize(size);
    auto* const header = wireView<EncContDiagPageHdr_t>(page_.data());
    header->pageCode = SES_K_ENCLOSURE_CONTROL_DIAGNOSTIC_PAGE;
    header->pageLength = static_cast<std::uint16_t>(size - LENGTH_EXCLUDES);
    header->generationCode = configuration.generation;

    for (unsigned i = 0; i < status.devices.size(); i++) {
        record<DeviceElementCont_t>(devices, i).rqstFault = status.devices[i].faultRequested;
    }
    for (unsigned i = 0; i < status.powerSupplies.size(); i++) {
        auto& supply = record<PowerSupplyElementCont_t>(powerSupplies, i);
        supply.rqstOn = status.powerSupplies[i].requestedOn;
        supply.rqstFail = faultRequested(status.powerSupplies[i]);
    }
    for (unsigned i = 0; i < status.fans.size(); i++) {
        record<CoolingElementCont_t>(fans, i).rqstOn = status.fans[i].requestedOn;
    }
    overall(alarms)[OVERALL_FLAGS] = status.alarmsDisabled ? DISABLE : 0;
    for (unsigned i = 0; i < status.alarms.size(); i++) {
        record<AudibleAlarmElementCont_t>(alarms, i).commonControl =
            status.alarms[i].disabled ? DISABLE : 0;
    }
}

std::uint8_t* ControlPage::overall(Kind kind) {
    return page_.data() + offsets_[kind];
}

template <typename Record>
Record& ControlPage::record(Kind kind, unsigned index) {
    return *wireView<Record>(overall(kind) + SES_K_ELEMENT_SIZE * (1 + index));
}

template <typename Record>
Record& ControlPage::select(Kind kind, unsigned index) {
    overall(kind)[OVERALL_FLAGS] |= SES_K_CONTROL_SELECT;
    auto& selected = record<Record>(kind, index);
    selected.commonControl |= SES_K_CONTROL_SELECT;
    return selected;
}

void ControlPage::driveFault(unsigned slot, bool on) {
    select<DeviceElementCont_t>(devices, slot).rqstFault = on;
}

void ControlPage::powerSupplyFault(unsigned supply, bool on) {
    select<PowerSupplyElementCont_t>(powerSupplies, supply).rqstFail = on;
}

void ControlPage::fan(unsigned fan, bool on) {
    select<CoolingElementCont_t>(fans, fan).rqstOn = on;
}

void ControlPage::alarm(unsigned alarm, AlarmRequest request) {
    auto& selected = select<AudibleAlarmElementCont_t>(alarms, alarm);
    selected.setMute = request == AlarmRequest::mute;
    selected.info = request == AlarmRequest::information;
    selected.crit = request == AlarmRequest::critical;
}

void checkFanOff(unsigned fan, const Configuration& configuration) {
    const auto rows =
        service::chassisLike(configuration.counts[devices], configuration.counts[powerSupplies]);
    for (const EsaChassis_t* row : rows) {
        const EsaFansStayOff_t& stay = row->facts.fansStayOff;
        if (stay.until != nullptr && fan >= stay.first) {
            throw Failure(ExitCode::usage,
                          fmt::format("this may be a {} chassis, where fan {}, switched off, stays "
                                      "off until {}; --force does it all the same",
                                      row->facts.title, fan, stay.until));
        }
    }
}

}  // namespace sesctl
