// SPDX-License-Identifier: Apache-2.0
// Message printer: a table row per field, one routine that walks rows. A field that does not lie
// wholly inside the message has no line.
#include "ses/esa_print.h"

#include <cstdio>
#include <span>

#include "ses/esa_mmsg_read.h"
#include "ses_mesgs.h"
#include "startup.h"
#include "state/esa_control.h"
#include "state/esa_trace.h"

// Every line is a statement of esaMmsgPrint, which asks once for all of them whether they are on;
// log readers find the dump by that name, whichever helper writes the line.
#define PRINT(...) \
    TRACE__statement(ESA_K_TRACE_MODULE, ESA_K_TRACE_FILE, "esaMmsgPrint", __LINE__, __VA_ARGS__)

namespace {

// What of a record lies inside the message, at most all of it.
using Bytes = std::span<const U8_t>;

Bytes behind(Bytes bytes, std::size_t count) {
    return count < bytes.size() ? bytes.subspan(count) : Bytes();
}

// ---- rows ----

enum class Notation : U8_t { DECIMAL, HEX };

// `width` bits, big-endian, above `shift` bits of the last byte they share; `offset` is their first
// byte in the record.
struct Field {
    const char* name;
    U8_t offset;
    U8_t shift;
    U8_t width;
    Notation notation = Notation::DECIMAL;
};

// Fields of one record; lines read "label name = [value]" with the equals sign in `column`.
struct Group {
    const char* label = "";
    int column = 0;
    std::span<const Field> fields;
};

constexpr Field HEADER_FIELDS[] = {
    {"protocol", 12, 0, 8},
    {"type", 13, 0, 24},
    {"requestor", 16, 0, 8},
    {"mmsg_cont", 17, 0, 8},
    {"recipient_ob_bm", 32, 0, 32, Notation::HEX},  // second word: it can name the service
    {"dest_ep", 18, 0, 8},
    {"handle", 40, 0, 32},
    {"general_use1", 44, 0, 32, Notation::HEX},
    {"mmsg_length", 10, 0, 16},
    {"return_code", 36, 0, 32},
};

constexpr Field RECEIVE_COMMAND_FIELDS[] = {
    {"operation code", 0, 0, 8},
    {"reserved", 1, 0, 7},
    {"page code", 2, 0, 8},
    {"allocation length", 4, 0, 16},
    {"control", 6, 0, 8, Notation::HEX},
};

constexpr Field SEND_COMMAND_FIELDS[] = {
    {"operation code", 0, 0, 8},
    {"self test code", 1, 0, 3},
    {"pf", 1, 3, 1},
    {"reserved bit", 1, 4, 1},
    {"self test", 1, 5, 1},
    {"devOffL", 1, 6, 1},
    {"unitOffL", 1, 7, 1},
    {"reserved", 2, 0, 8},
    {"parameterListLength", 4, 0, 16},
    {"control", 6, 0, 8, Notation::HEX},
};

constexpr Field SENSE_DATA_FIELDS[] = {
    {"responseCode", 0, 1, 7},
    {"valid", 0, 0, 1},
    {"obsolete", 1, 0, 8},
    {"senseKey", 2, 4, 4},
    {"reserved", 2, 3, 1},
    {"ili", 2, 2, 1},
    {"eom", 2, 1, 1},
    {"filemark", 2, 0, 1},
    {"information", 4, 0, 32},
    {"additionalSenseLength", 8, 0, 8},
    {"commandSpecificInformation", 12, 0, 32},
    {"additionalSenseCode", 16, 0, 8},
    {"additionalSenseCodeQualifier", 17, 0, 8},
    {"fieldReplaceableUnitCode", 18, 0, 8},
    {"senseKeySpecific7Bits", 19, 1, 7},
    {"sksv", 19, 0, 1},
    {"senseKeySpecific16Bits", 20, 0, 16},
};

constexpr Field CONFIGURATION_HEADER_FIELDS[] = {
    {"code", 0, 0, 8},
    {"numberSubEnclosure", 1, 0, 8},
    {"pageLength", 2, 0, 16},
    {"generationCode", 4, 0, 32},
};

// The identifications are empty texts; their first byte shows it.
constexpr Field ENCLOSURE_DESCRIPTOR_FIELDS[] = {
    {"numberESProcesses", 0, 5, 3},   {"reserved1", 0, 4, 1},
    {"relESProcessId", 0, 1, 3},      {"reserved2", 0, 0, 1},
    {"subEnclosureId", 1, 0, 8},      {"numberElementTypeDescHdrs", 2, 0, 8},
    {"enclosureDescLength", 3, 0, 8}, {"enclosureLogId", 4, 0, 8},
    {"enclosureVendorId", 12, 0, 8},  {"productId", 20, 0, 8},
    {"productRevLevel", 36, 0, 32},
};

constexpr Field TYPE_DESCRIPTOR_FIELDS[] = {
    {"elementType", 0, 0, 8},
    {"numberPossibleElements", 1, 0, 8},
    {"subEnclosureId", 2, 0, 8},
    {"typeDescTextLength", 3, 0, 8},
};

constexpr Field STATUS_HEADER_FIELDS[] = {
    {"code", 0, 0, 8},     {"unrecov", 1, 7, 1},      {"crit", 1, 6, 1},
    {"non crit", 1, 5, 1}, {"info", 1, 4, 1},         {"invop", 1, 3, 1},
    {"reserved", 1, 0, 3}, {"page length", 2, 0, 16}, {"generation code", 4, 0, 32},
};

constexpr Field CONTROL_HEADER_FIELDS[] = {
    {"code", 0, 0, 8},         {"unrecov", 1, 7, 1},
    {"crit", 1, 6, 1},         {"non crit", 1, 5, 1},
    {"info", 1, 4, 1},         {"reserved", 1, 0, 4},
    {"page length", 2, 0, 16}, {"generation code", 4, 0, 32},
};

constexpr Field DEVICE_STATUS_FIELDS[] = {
    {"commonStatus", 0, 0, 8},  {"slotAddress", 1, 0, 8},   {"report", 2, 7, 1},
    {"ident", 2, 6, 1},         {"rmv", 2, 5, 1},           {"readyToInsert", 2, 4, 1},
    {"enclosureBypB", 2, 3, 1}, {"enclosureBypA", 2, 2, 1}, {"doNotRemove", 2, 1, 1},
    {"appClientBypA", 2, 0, 1}, {"deviceBypB", 3, 7, 1},    {"deviceBypA", 3, 6, 1},
    {"BypB", 3, 5, 1},          {"BypA", 3, 4, 1},          {"deviceOff", 3, 3, 1},
    {"faultReqstd", 3, 2, 1},   {"faultSensed", 3, 1, 1},   {"appClientBypB", 3, 0, 1},
};

constexpr Field POWER_SUPPLY_STATUS_FIELDS[] = {
    {"commonStatus", 0, 0, 8},  {"reserved1", 1, 1, 7},     {"ident", 1, 0, 1},
    {"rsvd1", 2, 7, 1},         {"dcOverCurrent", 2, 6, 1}, {"dcUnderVoltage", 2, 5, 1},
    {"dcOverVoltage", 2, 4, 1}, {"reserved2", 2, 0, 4},     {"dcFail", 3, 7, 1},
    {"acFail", 3, 6, 1},        {"tempWarn", 3, 5, 1},      {"ovrtmpFail", 3, 4, 1},
    {"off", 3, 3, 1},           {"rqstedOn", 3, 2, 1},      {"fail", 3, 1, 1},
    {"rsvd2", 3, 0, 1},
};

constexpr Field COOLING_STATUS_FIELDS[] = {
    {"commonStatus", 0, 0, 8},   {"actualFanSpeedMsb", 1, 6, 2},
    {"reserved", 1, 1, 5},       {"ident", 1, 0, 1},
    {"actualFanSpeed", 2, 0, 8}, {"actualSpeedCode", 3, 5, 3},
    {"rsvd1", 3, 4, 1},          {"off", 3, 3, 1},
    {"rqstedOn", 3, 2, 1},       {"fail", 3, 1, 1},
    {"rsvd2", 3, 0, 1},
};

constexpr Field ALARM_STATUS_FIELDS[] = {
    {"commonStatus", 0, 0, 8}, {"reserved1", 1, 1, 7}, {"ident", 1, 0, 1},   {"reserved2", 2, 0, 8},
    {"unrecov", 3, 7, 1},      {"crit", 3, 6, 1},      {"nonCrit", 3, 5, 1}, {"info", 3, 4, 1},
    {"remind", 3, 3, 1},       {"rsvd", 3, 2, 1},      {"muted", 3, 1, 1},   {"rqstMute", 3, 0, 1},
};

constexpr Field DEVICE_CONTROL_FIELDS[] = {
    {"commonControl", 0, 0, 8}, {"reserved1", 1, 0, 8},   {"reserved2", 2, 7, 1},
    {"rqstIdent", 2, 6, 1},     {"rqstRemove", 2, 5, 1},  {"rqstInsert", 2, 4, 1},
    {"reserved3", 2, 2, 2},     {"doNotRemove", 2, 1, 1}, {"rqstActive", 2, 0, 1},
    {"reserved4", 3, 6, 2},     {"enableBypB", 3, 5, 1},  {"enableBypA", 3, 4, 1},
    {"deviceOff", 3, 3, 1},     {"rqstFault", 3, 2, 1},   {"reserved5", 3, 0, 2},
};

constexpr Field POWER_SUPPLY_CONTROL_FIELDS[] = {
    {"commonControl", 0, 0, 8}, {"reserved1", 1, 1, 7}, {"rqstIdent", 1, 0, 1},
    {"reserved2", 2, 0, 8},     {"reserved3", 3, 3, 5}, {"rqstOn", 3, 2, 1},
    {"rqstFail", 3, 1, 1},      {"rsvd", 3, 0, 1},
};

constexpr Field COOLING_CONTROL_FIELDS[] = {
    {"commonControl", 0, 0, 8}, {"reserved1", 1, 1, 7},          {"rqstIdent", 1, 0, 1},
    {"reserved2", 2, 0, 8},     {"requestedSpeedCode", 3, 5, 3}, {"reserved3", 3, 3, 2},
    {"rqstOn", 3, 2, 1},        {"rqstFail", 3, 1, 1},           {"rsvd", 3, 0, 1},
};

constexpr Field ALARM_CONTROL_FIELDS[] = {
    {"commonControl", 0, 0, 8}, {"reserved1", 1, 1, 7}, {"rqstIdent", 1, 0, 1},
    {"reserved2", 2, 0, 8},     {"unrecov", 3, 7, 1},   {"crit", 3, 6, 1},
    {"nonCrit", 3, 5, 1},       {"info", 3, 4, 1},      {"setRemind", 3, 3, 1},
    {"rsvd1", 3, 2, 1},         {"setMute", 3, 1, 1},   {"rsvd2", 3, 0, 1},
};

constexpr int HEADER_COLUMN = 33;
constexpr int ELEMENT_COLUMN = 32;
constexpr int SENSE_COLUMN = 40;
constexpr int DESCRIPTOR_COLUMN = 52;

constexpr Group HEADER = {"MMCH", HEADER_COLUMN, HEADER_FIELDS};
constexpr Group RECEIVE_COMMAND = {"RCV DIAG RES Cmd", 35, RECEIVE_COMMAND_FIELDS};
constexpr Group SEND_COMMAND = {"SND DIAG Cmd", HEADER_COLUMN, SEND_COMMAND_FIELDS};
constexpr Group SENSE_DATA = {"Sense Data", SENSE_COLUMN, SENSE_DATA_FIELDS};
constexpr Group CONFIGURATION_HEADER = {"ENC CONF Page", HEADER_COLUMN,
                                        CONFIGURATION_HEADER_FIELDS};
constexpr Group ENCLOSURE_DESCRIPTOR = {"ENC Descriptor", 41, ENCLOSURE_DESCRIPTOR_FIELDS};
constexpr Group STATUS_HEADER = {"ENC STAT Page", HEADER_COLUMN, STATUS_HEADER_FIELDS};
constexpr Group CONTROL_HEADER = {"ENC CONT Page", HEADER_COLUMN, CONTROL_HEADER_FIELDS};

// Type descriptors in page order; by design the temperature sensors' is not printed.
constexpr Group TYPE_DESCRIPTORS[SES_K_ELEMENT_TYPES] = {
    {"ENC Device Descriptor", DESCRIPTOR_COLUMN, TYPE_DESCRIPTOR_FIELDS},
    {"ENC Power Supply Descriptor", DESCRIPTOR_COLUMN, TYPE_DESCRIPTOR_FIELDS},
    {"ENC Cooling Descriptor", DESCRIPTOR_COLUMN, TYPE_DESCRIPTOR_FIELDS},
    {},
    {"ENC Audible Alarm Descriptor", DESCRIPTOR_COLUMN, TYPE_DESCRIPTOR_FIELDS},
};

// Elements of one type on a status or control page: overall word, then a record per element.
struct Section {
    U8_t EsaControl_t::*count;
    Field overall;  // without a name: by design nothing of this type is printed
    Group element;
};

constexpr Section STATUS_SECTIONS[SES_K_ELEMENT_TYPES] = {
    {&EsaControl_t::deviceMaxNumber,
     {"Device      overallStatus", 0, 0, 32, Notation::HEX},
     {"Device", ELEMENT_COLUMN, DEVICE_STATUS_FIELDS}},
    {&EsaControl_t::powerSupplyMaxNumber,
     {"PowerSupply overallStatus", 0, 0, 32, Notation::HEX},
     {"PowerSupply", ELEMENT_COLUMN, POWER_SUPPLY_STATUS_FIELDS}},
    {&EsaControl_t::coolingMaxNumber,
     {"Cooling overallStatus", 0, 0, 32, Notation::HEX},
     {"Cooling", ELEMENT_COLUMN, COOLING_STATUS_FIELDS}},
    {&EsaControl_t::temperatureSensorMaxNumber, {}, {}},
    {&EsaControl_t::audibleAlarmMaxNumber,
     {"Audible Alarm overallStatus", 0, 0, 32, Notation::HEX},
     {"Audible Alarm", ELEMENT_COLUMN, ALARM_STATUS_FIELDS}},
};

constexpr Section CONTROL_SECTIONS[SES_K_ELEMENT_TYPES] = {
    {&EsaControl_t::deviceMaxNumber,
     {"Device      overallControl", 0, 0, 32},
     {"Device", ELEMENT_COLUMN, DEVICE_CONTROL_FIELDS}},
    {&EsaControl_t::powerSupplyMaxNumber,
     {"PowerSupply overallControl", 0, 0, 32},
     {"PowerSupply", ELEMENT_COLUMN, POWER_SUPPLY_CONTROL_FIELDS}},
    {&EsaControl_t::coolingMaxNumber,
     {"Cooling overallControl", 0, 0, 32},
     {"Cooling", ELEMENT_COLUMN, COOLING_CONTROL_FIELDS}},
    {&EsaControl_t::temperatureSensorMaxNumber, {}, {}},
    {&EsaControl_t::audibleAlarmMaxNumber,
     {"Audible Alarm overallControl", 0, 0, 32},
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

// ---- lines ----

constexpr std::size_t fieldBytes(const Field& field) {
    return (field.shift + field.width + 7u) / 8u;
}

U32_t fieldValue(const Field& field, Bytes record) {
    U32_t value = 0;
    for (const U8_t byte : record.subspan(field.offset, fieldBytes(field))) {
        value = (value << 8) | byte;
    }
    return (value >> field.shift) & (~U32_t{0} >> (32 - field.width));
}

void fieldPrint(const char* label, int column, const Field& field, Bytes record) {
    if (field.offset + fieldBytes(field) > record.size()) {
        return;
    }
    const U32_t value = fieldValue(field, record);
    if (field.notation == Notation::HEX) {
        PRINT("%-*s= [0x%x]", column, label, value);
    } else {
        PRINT("%-*s= [%d]", column, label, static_cast<S32_t>(value));
    }
}

void namePrint(const char* label, const char* name) {
    PRINT("%-*s= [%s]", HEADER_COLUMN, label, name);
}

void groupPrint(const Group& group, Bytes record) {
    for (const Field& field : group.fields) {
        char label[64];
        std::snprintf(label, sizeof label, "%s %s", group.label, field.name);
        fieldPrint(label, group.column, field, record);
    }
}

void elementPrint(const Group& element, int index, Bytes record) {
    char label[32];
    std::snprintf(label, sizeof label, "%s [%d]", element.label, index);
    groupPrint({label, element.column, element.fields}, record);
}

// ---- pages ----

void sectionsPrint(std::span<const Section> sections, Bytes list) {
    for (const Section& section : sections) {
        const int count = esaControl.*section.count;
        if (section.overall.name != nullptr) {
            fieldPrint(section.overall.name, section.element.column, section.overall, list);
        }
        list = behind(list, SES_K_ELEMENT_SIZE);
        for (int index = 0; index < count && !list.empty(); ++index) {
            elementPrint(section.element, index, list);
            list = behind(list, SES_K_ELEMENT_SIZE);
        }
    }
}

void configurationPagePrint(Bytes page) {
    groupPrint(CONFIGURATION_HEADER, page);
    groupPrint(ENCLOSURE_DESCRIPTOR, behind(page, offsetof(ConfDiagPage_t, enclosureDesc)));
    Bytes descriptors = behind(page, offsetof(ConfDiagPage_t, typeDescHdrs));
    for (const Group& descriptor : TYPE_DESCRIPTORS) {
        groupPrint(descriptor, descriptors);
        descriptors = behind(descriptors, sizeof(TypeDescHdr_t));
    }
}

void pageNamePrint(U8_t pageCode, bool sent) {
    if (pageCode >= std::size(PAGE_NAMES)) {
        PRINT("Un-supported SES Page [%d].", pageCode);
        return;
    }
    const PageName& names = PAGE_NAMES[pageCode];
    namePrint("Page", sent && names.sent != nullptr ? names.sent : names.name);
}

void receivedPagePrint(Bytes page) {
    if (page.empty()) {
        return;
    }
    pageNamePrint(page[0], false);
    if (page[0] == SES_K_CONFIGURATION_DIAGNOSTIC_PAGE) {
        configurationPagePrint(page);
    } else if (page[0] == SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE) {
        groupPrint(STATUS_HEADER, page);
        sectionsPrint(STATUS_SECTIONS, behind(page, sizeof(EncStatDiagPageHdr_t)));
    }
}

void sentPagePrint(Bytes page) {
    if (page.empty()) {
        return;
    }
    pageNamePrint(page[0], true);
    if (page[0] == SES_K_ENCLOSURE_CONTROL_DIAGNOSTIC_PAGE) {
        groupPrint(CONTROL_HEADER, page);
        sectionsPrint(CONTROL_SECTIONS, behind(page, sizeof(EncContDiagPageHdr_t)));
    }
}

// ---- messages; `data` is the user data behind the header ----

void commandNamePrint(U32_t type) {
    if (type == SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND) {
        namePrint("Command", "SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND");
    } else if (type == SES_K_SEND_DIAGNOSTIC_COMMAND) {
        namePrint("Command", "SES_K_SEND_DIAGNOSTIC_COMMAND");
    } else {
        PRINT("Un-supported SES Command [%d].", static_cast<int>(type));
    }
}

void statusPrint(U32_t type, U8_t status, Bytes payload) {
    if (status == SES_K_SCSI_STATUS_CODE_GOOD) {
        namePrint("Status", "SES_K_SCSI_STATUS_CODE_GOOD");
        if (type == SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND) {
            receivedPagePrint(payload);
        }
    } else if (status == SES_K_SCSI_STATUS_CODE_CHECK_CONDITION) {
        namePrint("Status", "SES_K_SCSI_STATUS_CODE_CHECK_CONDITION");
        groupPrint(SENSE_DATA, payload);
    }
}

void responsePrint(const MMCH_t& header, Bytes data) {
    PRINT("This is a Response Message.");
    if (header.requestor == MMSG_E_EPID_STARTUPMP) {
        PRINT("Startup Response MMSG with returned code [%s].",
              header.return_code == SUS_E_MMSG_RESP_OK ? "OK" : "REJECTED");
        return;
    }
    commandNamePrint(header.opcode.request.type);
    if (!data.empty()) {
        statusPrint(header.opcode.request.type, data[0],
                    behind(data, offsetof(SesStatus_t, payloadList)));
    }
}

void requestPrint(const MMCH_t& header, Bytes data) {
    PRINT("This is a Request Message.");
    const U32_t type = header.opcode.request.type;
    if (type == SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND) {
        groupPrint(RECEIVE_COMMAND, data);
    } else if (type == SES_K_SEND_DIAGNOSTIC_COMMAND) {
        groupPrint(SEND_COMMAND, data);
        sentPagePrint(behind(data, sizeof(SndDiagCommand_t)));
    }
}

// What lies in the buffer of the message; of a reply in esaWorkSpace also the last byte of its
// page, which is built but not counted in mmsg_length.
Bytes messageBytes(const MMSG_t* mmsgPtr) {
    const U8_t* begin = wireView<U8_t>(mmsgPtr);
    const bool reply =
        begin == esaControl.esaWorkSpace && (mmsgPtr->mmch.mmsg_cont & MMSG_K_CONT_RESPONSE) != 0;
    return {begin, std::min(esaMmsgSize(mmsgPtr) + (reply ? 1 : 0), MMSG_K_MESSAGE_MAX)};
}

}  // namespace

void esaMmsgPrint(const MMSG_t* mmsgPtr) {
    if (!TRACE_IS_ON(ESA_K_TRACE_MODULE, ESA_K_TRACE_LEVEL)) {
        return;
    }
    const Bytes message = messageBytes(mmsgPtr);
    groupPrint(HEADER, message);
    const Bytes data = behind(message, MMSG_K_HEADER_SIZE);
    if ((mmsgPtr->mmch.mmsg_cont & MMSG_K_CONT_RESPONSE) != 0) {
        responsePrint(mmsgPtr->mmch, data);
    } else {
        requestPrint(mmsgPtr->mmch, data);
    }
}
