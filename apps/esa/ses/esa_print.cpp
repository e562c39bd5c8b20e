// SPDX-License-Identifier: Apache-2.0
// Message printer: header, command, status and sense data.
#include "ses/esa_print.h"

#include <algorithm>
#include <cstddef>

#include "ses/esa_mmsg_read.h"
#include "ses/print_page.h"
#include "ses_mesgs.h"
#include "startup.h"
#include "state/esa_control.h"

namespace {

using Row = PrintField;
constexpr auto DECIMAL = PrintNotation::DECIMAL;
constexpr auto HEX = PrintNotation::HEX;

// The header's fields do not stand in the order of their lines: each says which one it is.
#define MEMBER(name, member, notation)    \
    printAt(8 * offsetof(MMCH_t, member), \
            Row(name, 8 * sizeof(static_cast<const MMCH_t*>(nullptr)->member), notation))
constexpr PrintField HEADER_FIELDS[] = {
    MEMBER("protocol", opcode.request.protocol, DECIMAL),
    MEMBER("type", opcode.request.type, DECIMAL),
    MEMBER("requestor", requestor, DECIMAL),
    MEMBER("mmsg_cont", mmsg_cont, DECIMAL),
    MEMBER("recipient_ob_bm", recipient_ob_bm[1], HEX),  // the word that can name the service
    MEMBER("dest_ep", dest_ep, DECIMAL),
    MEMBER("handle", handle, DECIMAL),
    MEMBER("general_use1", general_use1, HEX),
    MEMBER("mmsg_length", mmsg_length, DECIMAL),
    MEMBER("return_code", return_code, DECIMAL),
};
#undef MEMBER

constexpr auto RECEIVE_COMMAND_FIELDS = printTable<RcvDiagResCommand_t>({
    Row("operation code", 8),
    printGap(1),
    Row("reserved", 7),
    Row("page code", 8),
    printGap(8),
    Row("allocation length", 16),
    Row("control", 8, HEX),
    printGap(8),
});

constexpr auto SEND_COMMAND_FIELDS = printTable<SndDiagCommand_t>(
    {
        Row("operation code", 8),
        Row("self test code", 3),
        Row("pf", 1),
        Row("reserved bit", 1),
        Row("self test", 1),
        Row("devOffL", 1),
        Row("unitOffL", 1),
        Row("reserved", 8),
        printGap(8),
        Row("parameterListLength", 16),
        Row("control", 8, HEX),
        printGap(8),
    },
    PrintOrder::LOW_BITS_FIRST);

constexpr auto SENSE_DATA_FIELDS = printTable<SenseData_t>({
    Row("responseCode", 7),
    Row("valid", 1),
    Row("obsolete", 8),
    Row("senseKey", 4),
    Row("reserved", 1),
    Row("ili", 1),
    Row("eom", 1),
    Row("filemark", 1),
    printGap(8),
    Row("information", 32),
    Row("additionalSenseLength", 8),
    printGap(24),
    Row("commandSpecificInformation", 32),
    Row("additionalSenseCode", 8),
    Row("additionalSenseCodeQualifier", 8),
    Row("fieldReplaceableUnitCode", 8),
    Row("senseKeySpecific7Bits", 7),
    Row("sksv", 1),
    Row("senseKeySpecific16Bits", 16),
    printGap(16),
});

constexpr PrintGroup HEADER = {"MMCH", PRINT_K_HEADER_COLUMN, HEADER_FIELDS};
constexpr PrintGroup RECEIVE_COMMAND = {"RCV DIAG RES Cmd", 35, RECEIVE_COMMAND_FIELDS};
constexpr PrintGroup SEND_COMMAND = {"SND DIAG Cmd", PRINT_K_HEADER_COLUMN, SEND_COMMAND_FIELDS};
constexpr PrintGroup SENSE_DATA = {"Sense Data", 40, SENSE_DATA_FIELDS};

// ---- messages; `data` is the user data behind the header ----

void commandNamePrint(U32_t type) {
    if (type == SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND) {
        printName("Command", "SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND");
    } else if (type == SES_K_SEND_DIAGNOSTIC_COMMAND) {
        printName("Command", "SES_K_SEND_DIAGNOSTIC_COMMAND");
    } else {
        PRINT("Un-supported SES Command [%d].", static_cast<int>(type));
    }
}

void statusPrint(U32_t type, U8_t status, PrintBytes payload) {
    if (status == SES_K_SCSI_STATUS_CODE_GOOD) {
        printName("Status", "SES_K_SCSI_STATUS_CODE_GOOD");
        if (type == SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND) {
            printReceivedPage(payload);
        }
    } else if (status == SES_K_SCSI_STATUS_CODE_CHECK_CONDITION) {
        printName("Status", "SES_K_SCSI_STATUS_CODE_CHECK_CONDITION");
        printGroup(SENSE_DATA, payload);
    }
}

void responsePrint(const MMCH_t& header, PrintBytes data) {
    PRINT("This is a Response Message.");
    if (header.requestor == MMSG_E_EPID_STARTUPMP) {
        PRINT("Startup Response MMSG with returned code [%s].",
              header.return_code == SUS_E_MMSG_RESP_OK ? "OK" : "REJECTED");
        return;
    }
    commandNamePrint(header.opcode.request.type);
    if (!data.empty()) {
        statusPrint(header.opcode.request.type, data[0],
                    printBehind(data, offsetof(SesStatus_t, payloadList)));
    }
}

void requestPrint(const MMCH_t& header, PrintBytes data) {
    PRINT("This is a Request Message.");
    const U32_t type = header.opcode.request.type;
    if (type == SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND) {
        printGroup(RECEIVE_COMMAND, data);
    } else if (type == SES_K_SEND_DIAGNOSTIC_COMMAND) {
        printGroup(SEND_COMMAND, data);
        printSentPage(printBehind(data, sizeof(SndDiagCommand_t)));
    }
}

// What lies in the buffer of the message; of a reply in esaWorkSpace also the last byte of its
// page, which is built but not counted in mmsg_length.
PrintBytes messageBytes(const MMSG_t* mmsgPtr) {
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
    const PrintBytes message = messageBytes(mmsgPtr);
    printGroup(HEADER, message);
    const PrintBytes data = printBehind(message, MMSG_K_HEADER_SIZE);
    if ((mmsgPtr->mmch.mmsg_cont & MMSG_K_CONT_RESPONSE) != 0) {
        responsePrint(mmsgPtr->mmch, data);
    } else {
        requestPrint(mmsgPtr->mmch, data);
    }
}
