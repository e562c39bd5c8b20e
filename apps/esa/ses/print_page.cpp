// SPDX-License-Identifier: Apache-2.0
// Pages in the trace log. Elements are printed by the service's own counts.
#include "ses/print_page.h"

#include <cstddef>
#include <iterator>

#include "ses_mesgs.h"
#include "state/esa_control.h"

namespace {

using Row = PrintField;
constexpr auto HEX = PrintNotation::HEX;

constexpr int ELEMENT_COLUMN = 32;
constexpr int DESCRIPTOR_COLUMN = 52;

constexpr auto CONFIGURATION_HEADER_FIELDS = printTable<ConfDiagPageHdr_t>({
    Row("code", 8),
    Row("numberSubEnclosure", 8),
    Row("pageLength", 16),
    Row("generationCode", 32),
});

// The identifications are empty texts; their first byte shows it.
constexpr auto ENCLOSURE_DESCRIPTOR_FIELDS = printTable<EnclosureDescHdr_t>({
    Row("numberESProcesses", 3),
    Row("reserved1", 1),
    Row("relESProcessId", 3),
    Row("reserved2", 1),
    Row("subEnclosureId", 8),
    Row("numberElementTypeDescHdrs", 8),
    Row("enclosureDescLength", 8),
    Row("enclosureLogId", 8),
    printGap(56),
    Row("enclosureVendorId", 8),
    printGap(56),
    Row("productId", 8),
    printGap(120),
    Row("productRevLevel", 32),
});

constexpr auto TYPE_DESCRIPTOR_FIELDS = printTable<TypeDescHdr_t>({
    Row("elementType", 8),
    Row("numberPossibleElements", 8),
    Row("subEnclosureId", 8),
    Row("typeDescTextLength", 8),
});

constexpr auto STATUS_HEADER_FIELDS = printTable<EncStatDiagPageHdr_t>({
    Row("code", 8),
    Row("unrecov", 1),
    Row("crit", 1),
    Row("non crit", 1),
    Row("info", 1),
    Row("invop", 1),
    Row("reserved", 3),
    Row("page length", 16),
    Row("generation code", 32),
});

constexpr auto CONTROL_HEADER_FIELDS = printTable<EncContDiagPageHdr_t>({
    Row("code", 8),
    Row("unrecov", 1),
    Row("crit", 1),
    Row("non crit", 1),
    Row("info", 1),
    Row("reserved", 4),
    Row("page length", 16),
    Row("generation code", 32),
});

constexpr auto DEVICE_STATUS_FIELDS = printTable<DeviceElementStat_t>({
    Row("commonStatus", 8),
    Row("slotAddress", 8),
    Row("report", 1),
    Row("ident", 1),
    Row("rmv", 1),
    Row("readyToInsert", 1),
    Row("enclosureBypB", 1),
    Row("enclosureBypA", 1),
    Row("doNotRemove", 1),
    Row("appClientBypA", 1),
    Row("deviceBypB", 1),
    Row("deviceBypA", 1),
    Row("BypB", 1),
    Row("BypA", 1),
    Row("deviceOff", 1),
    Row("faultReqstd", 1),
    Row("faultSensed", 1),
    Row("appClientBypB", 1),
});

constexpr auto POWER_SUPPLY_STATUS_FIELDS = printTable<PowerSupplyElementStat_t>({
    Row("commonStatus", 8),
    Row("reserved1", 7),
    Row("ident", 1),
    Row("rsvd1", 1),
    Row("dcOverCurrent", 1),
    Row("dcUnderVoltage", 1),
    Row("dcOverVoltage", 1),
    Row("reserved2", 4),
    Row("dcFail", 1),
    Row("acFail", 1),
    Row("tempWarn", 1),
    Row("ovrtmpFail", 1),
    Row("off", 1),
    Row("rqstedOn", 1),
    Row("fail", 1),
    Row("rsvd2", 1),
});

constexpr auto COOLING_STATUS_FIELDS = printTable<CoolingElementStat_t>({
    Row("commonStatus", 8),
    Row("actualFanSpeedMsb", 2),
    Row("reserved", 5),
    Row("ident", 1),
    Row("actualFanSpeed", 8),
    Row("actualSpeedCode", 3),
    Row("rsvd1", 1),
    Row("off", 1),
    Row("rqstedOn", 1),
    Row("fail", 1),
    Row("rsvd2", 1),
});

constexpr auto ALARM_STATUS_FIELDS = printTable<AudibleAlarmElementStat_t>({
    Row("commonStatus", 8),
    Row("reserved1", 7),
    Row("ident", 1),
    Row("reserved2", 8),
    Row("unrecov", 1),
    Row("crit", 1),
    Row("nonCrit", 1),
    Row("info", 1),
    Row("remind", 1),
    Row("rsvd", 1),
    Row("muted", 1),
    Row("rqstMute", 1),
});

constexpr auto DEVICE_CONTROL_FIELDS = printTable<DeviceElementCont_t>({
    Row("commonControl", 8),
    Row("reserved1", 8),
    Row("reserved2", 1),
    Row("rqstIdent", 1),
    Row("rqstRemove", 1),
    Row("rqstInsert", 1),
    Row("reserved3", 2),
    Row("doNotRemove", 1),
    Row("rqstActive", 1),
    Row("reserved4", 2),
    Row("enableBypB", 1),
    Row("enableBypA", 1),
    Row("deviceOff", 1),
    Row("rqstFault", 1),
    Row("reserved5", 2),
});

constexpr auto POWER_SUPPLY_CONTROL_FIELDS = printTable<PowerSupplyElementCont_t>({
    Row("commonControl", 8),
    Row("reserved1", 7),
    Row("rqstIdent", 1),
    Row("reserved2", 8),
    Row("reserved3", 5),
    Row("rqstOn", 1),
    Row("rqstFail", 1),
    Row("rsvd", 1),
});

constexpr auto COOLING_CONTROL_FIELDS = printTable<CoolingElementCont_t>({
    Row("commonControl", 8),
    Row("reserved1", 7),
    Row("rqstIdent", 1),
    Row("reserved2", 8),
    Row("requestedSpeedCode", 3),
    Row("reserved3", 2),
    Row("rqstOn", 1),
    Row("rqstFail", 1),
    Row("rsvd", 1),
});

constexpr auto ALARM_CONTROL_FIELDS = printTable<AudibleAlarmElementCont_t>({
    Row("commonControl", 8),
    Row("reserved1", 7),
    Row("rqstIdent", 1),
    Row("reserved2", 8),
    Row("unrecov", 1),
    Row("crit", 1),
    Row("nonCrit", 1),
    Row("info", 1),
    Row("setRemind", 1),
    Row("rsvd1", 1),
    Row("setMute", 1),
    Row("rsvd2", 1),
});

constexpr PrintGroup CONFIGURATION_HEADER = {"ENC CONF Page", PRINT_K_HEADER_COLUMN,
                                             CONFIGURATION_HEADER_FIELDS};
constexpr PrintGroup ENCLOSURE_DESCRIPTOR = {"ENC Descriptor", 41, ENCLOSURE_DESCRIPTOR_FIELDS};
constexpr PrintGroup STATUS_HEADER = {"ENC STAT Page", PRINT_K_HEADER_COLUMN, STATUS_HEADER_FIELDS};
constexpr PrintGroup CONTROL_HEADER = {"ENC CONT Page", PRINT_K_HEADER_COLUMN,
                                       CONTROL_HEADER_FIELDS};

// Type descriptors in page order; by design the temperature sensors' is not printed.
constexpr PrintGroup TYPE_DESCRIPTORS[SES_K_ELEMENT_TYPES] = {
    {"ENC Device Descriptor", DESCRIPTOR_COLUMN, TYPE_DESCRIPTOR_FIELDS},
    {"ENC Power Supply Descriptor", DESCRIPTOR_COLUMN, TYPE_DESCRIPTOR_FIELDS},
    {"ENC Cooling Descriptor", DESCRIPTOR_COLUMN, TYPE_DESCRIPTOR_FIELDS},
    {},
    {"ENC Audible Alarm Descriptor", DESCRIPTOR_COLUMN, TYPE_DESCRIPTOR_FIELDS},
};

// Elements of one type on a status or control page: overall word, then a record per element.
struct Section {
    U8_t EsaControl_t::*count;
    PrintField overall;  // without a name: by design nothing of this type is printed
    PrintGroup element;
};

constexpr Section STATUS_SECTIONS[SES_K_ELEMENT_TYPES] = {
    {&EsaControl_t::deviceMaxNumber,
     Row("Device      overallStatus", 32, HEX),
     {"Device", ELEMENT_COLUMN, DEVICE_STATUS_FIELDS}},
    {&EsaControl_t::powerSupplyMaxNumber,
     Row("PowerSupply overallStatus", 32, HEX),
     {"PowerSupply", ELEMENT_COLUMN, POWER_SUPPLY_STATUS_FIELDS}},
    {&EsaControl_t::coolingMaxNumber,
     Row("Cooling overallStatus", 32, HEX),
     {"Cooling", ELEMENT_COLUMN, COOLING_STATUS_FIELDS}},
    {&EsaControl_t::temperatureSensorMaxNumber, printGap(32), {}},
    {&EsaControl_t::audibleAlarmMaxNumber,
     Row("Audible Alarm overallStatus", 32, HEX),
     {"Audible Alarm", ELEMENT_COLUMN, ALARM_STATUS_FIELDS}},
};

constexpr Section CONTROL_SECTIONS[SES_K_ELEMENT_TYPES] = {
    {&EsaControl_t::deviceMaxNumber,
     Row("Device      overallControl", 32),
     {"Device", ELEMENT_COLUMN, DEVICE_CONTROL_FIELDS}},
    {&EsaControl_t::powerSupplyMaxNumber,
     Row("PowerSupply overallControl", 32),
     {"PowerSupply", ELEMENT_COLUMN, POWER_SUPPLY_CONTROL_FIELDS}},
    {&EsaControl_t::coolingMaxNumber,
     Row("Cooling overallControl", 32),
     {"Cooling", ELEMENT_COLUMN, COOLING_CONTROL_FIELDS}},
    {&EsaControl_t::temperatureSensorMaxNumber, printGap(32), {}},
    {&EsaControl_t::audibleAlarmMaxNumber,
     Row("Audible Alarm overallControl", 32),
     {"Audible Alarm", ELEMENT_COLUMN, ALARM_CONTROL_FIELDS}},
};

// Page-code names; `sent` where a page sent to the service is named otherwise. The odd spellings
// are the log's.
struct PageName {
    const char* name;
    const char* sent = nullptr;
};
constexpr PageName PAGE_NAMES[] = {
    {"SES_K_SUPPORTED_DIAGNOSTIC_PAGE"},
    {"SES_K_CONFIGURATION_DIAGNOSTIC_PAGE"},
    {"SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE"},
    {"SES_K_HELP_TEXT_DIAGNOSTIC_PAGE"},
    {"SES_K_STRING_IN_DIAGNOSTIC_PAGE", "SES_K_STRING_OUT_DIAGNOSTIC_PAGE"},
    {"SES_K_THRESHOLD_IN_DIAGNOSTIC_PAGE", "SES_K_THRESHOLD_OUT_DIAGNOSTIC_PAGE"},
    {"SES_K_OBSOLETE_DIAGNOSTIC_PAGE"},
    {"SES_K_ELEMENT_DESCRIPTOR_DIAGNOSTIC_PAGE"},
    {"SES_K_SHORT_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE"},
    {"SES_K_ENCLOSURE_BUSY_DIAGNOSTIC_PAGE"},
    {"SES_K_ADDITIONAL_ELEMENT_STATUS_DIAGNOSTIC_PAGE"},
    {"SES_K_SUBENCLOSURE_HELP_TEXT_DIAGNOSTIC_PAGE"},
    {"SES_K_SUBENCLOSURE_STRING_IN_DIAGNOSTIC_PAGE",
     "SES_K_SUBENCLOSURE_STRING_OUT_DIAGNOSTIC_PAGE"},
    {"SES_K_SUPPORTED_SES_DIAGNOTSTIC_PAGES_DIAGNOSTIC_PAGE"},
    {"SES_K_DOWNLOAD_MICROCODE_STATUS_DIAGNOSTIC_PAGE",
     "SES_K_DOWNLOAD_MICROCODE_CONTROL_DIAGNOSTIC_PAGE"},
    {"SES_K_SUNENCLOSURE_NICKNAME_STATUS_DIAGNOSTIC_PAGE",
     "SES_K_SUBENCLOSURE_NICKNAME_CONTROL_DIAGNOSTIC_PAGE"},
};
static_assert(std::size(PAGE_NAMES) == 16);

void sectionsPrint(std::span<const Section> sections, PrintBytes list) {
    for (const Section& section : sections) {
        const int count = esaControl.*section.count;
        if (section.overall.name != nullptr) {
            printField(section.overall.name, section.element.column, section.overall, list);
        }
        list = printBehind(list, SES_K_ELEMENT_SIZE);
        for (int index = 0; index < count && !list.empty(); ++index) {
            printElement(section.element, index, list);
            list = printBehind(list, SES_K_ELEMENT_SIZE);
        }
    }
}

void configurationPagePrint(PrintBytes page) {
    printGroup(CONFIGURATION_HEADER, page);
    printGroup(ENCLOSURE_DESCRIPTOR, printBehind(page, offsetof(ConfDiagPage_t, enclosureDesc)));
    PrintBytes descriptors = printBehind(page, offsetof(ConfDiagPage_t, typeDescHdrs));
    for (const PrintGroup& descriptor : TYPE_DESCRIPTORS) {
        printGroup(descriptor, descriptors);
        descriptors = printBehind(descriptors, sizeof(TypeDescHdr_t));
    }
}

void pageNamePrint(U8_t pageCode, bool sent) {
    if (pageCode >= std::size(PAGE_NAMES)) {
        PRINT("Un-supported SES Page [%d].", pageCode);
        return;
    }
    const PageName& names = PAGE_NAMES[pageCode];
    printName("Page", sent && names.sent != nullptr ? names.sent : names.name);
}

}  // namespace

void printReceivedPage(PrintBytes page) {
    if (page.empty()) {
        return;
    }
    pageNamePrint(page[0], false);
    if (page[0] == SES_K_CONFIGURATION_DIAGNOSTIC_PAGE) {
        configurationPagePrint(page);
    } else if (page[0] == SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE) {
        printGroup(STATUS_HEADER, page);
        sectionsPrint(STATUS_SECTIONS, printBehind(page, sizeof(EncStatDiagPageHdr_t)));
    }
}

void printSentPage(PrintBytes page) {
    if (page.empty()) {
        return;
    }
    pageNamePrint(page[0], true);
    if (page[0] == SES_K_ENCLOSURE_CONTROL_DIAGNOSTIC_PAGE) {
        printGroup(CONTROL_HEADER, page);
        sectionsPrint(CONTROL_SECTIONS, printBehind(page, sizeof(EncContDiagPageHdr_t)));
    }
}
