// SPDX-License-Identifier: Apache-2.0
// Configuration page: header, one enclosure descriptor without identification texts, one descriptor
// per element type. Counts are reported as they stand, whatever the arrays hold.
// (compatibility: counts-believed)
#include "ses/config_page.h"

#include <cstddef>
#include <cstring>

#include "state/esa_control.h"

namespace {

// Bytes at the head of the enclosure descriptor that its length does not count.
constexpr U8_t DESCRIPTOR_LENGTH_EXCLUDES = 4;

void typeDescriptorsBuild(U8_t* at) {
    const TypeDescHdr_t all[SES_K_ELEMENT_TYPES] = {
        {SES_E_ELEMENT_TYPE_DEVICE, esaControl.deviceMaxNumber, 0, 0},
        {SES_E_ELEMENT_TYPE_POWER_SUPPLY, esaControl.powerSupplyMaxNumber, 0, 0},
        {SES_E_ELEMENT_TYPE_COOLING, esaControl.coolingMaxNumber, 0, 0},
        {SES_E_ELEMENT_TYPE_TEMPERATURE_SENSOR, esaControl.temperatureSensorMaxNumber, 0, 0},
        {SES_E_ELEMENT_TYPE_AUDIBLE_ALARM, esaControl.audibleAlarmMaxNumber, 0, 0},
    };
    const int known = esaBounded(esaControl.elementTypeMaxNumber, SES_K_ELEMENT_TYPES);
    std::memcpy(at, all, sizeof(TypeDescHdr_t) * static_cast<std::size_t>(known));
}

}  // namespace

U32_t configPageSize() {
    return U32_t{offsetof(ConfDiagPage_t, typeDescHdrs)} +
           U32_t{sizeof(TypeDescHdr_t)} * esaControl.elementTypeMaxNumber;
}

void configPageBuild(U8_t* page) {
    std::memset(page, 0, configPageSize());
    auto* conf = wireView<ConfDiagPage_t>(page);
    conf->header.pageCode = SES_K_CONFIGURATION_DIAGNOSTIC_PAGE;
    conf->header.pageLength = static_cast<U16_t>(configPageSize() - SES_K_PAGE_LENGTH_EXCLUDES);
    conf->enclosureDesc.numberESProcesses = 1;
    conf->enclosureDesc.numberElementTypeDescHdrs = esaControl.elementTypeMaxNumber;
    conf->enclosureDesc.enclosureDescLength =
        sizeof(EnclosureDescHdr_t) - DESCRIPTOR_LENGTH_EXCLUDES;
    typeDescriptorsBuild(page + offsetof(ConfDiagPage_t, typeDescHdrs));
}
