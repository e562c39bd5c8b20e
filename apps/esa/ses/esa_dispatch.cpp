// SPDX-License-Identifier: Apache-2.0
// Dispatch of inbound messages. A message that cannot be used is traced and dropped; the only
// negative answer is the CHECK CONDITION for a page-format command without a parameter list.
#include "ses/esa_dispatch.h"

#include "ses/esa_control_page.h"
#include "ses/esa_mmsg_read.h"
#include "ses/esa_print.h"
#include "ses/esa_status.h"
#include "startup.h"
#include "state/esa_control.h"
#include "state/esa_trace.h"
#include "sys_msg.h"

namespace {

// The service's endpoint in the second word of a recipient map.
constexpr U32_t RECIPIENT_WORD = MMSG_E_EPID_ES_ADAPTERMP / 32;
constexpr U32_t RECIPIENT_BIT = 1u << (MMSG_E_EPID_ES_ADAPTERMP % 32);

bool lengthIsGood(const MMCH_t& header) {
    const int length = header.mmsg_length;
    if (length >= static_cast<int>(MMSG_K_HEADER_SIZE) &&
        length <= static_cast<int>(MMSG_K_MESSAGE_MAX)) {
        return true;
    }
    ESA_TRACE("MMSG mmsh_length [%d] is out of range", length);
    ESA_TRACE("MMSG requestor [%d] sends wrong mmsg_length!!!", header.requestor);
    return false;
}

// Messages of other types deliberately pass whatever their recipient maps say.
// (compatibility: other-types-pass)
bool isForUs(const MMCH_t& header) {
    const U32_t recipients =
        header.recipient_loc_bm[RECIPIENT_WORD] | header.recipient_ob_bm[RECIPIENT_WORD];
    if (header.message_type != MSG_E_TYPE_MMSG || (recipients & RECIPIENT_BIT) != 0) {
        return true;
    }
    ESA_TRACE("Received a MMSG but it isn't for us?");
    return false;
}

bool protocolIsKnown(const MMCH_t& header) {
    const U8_t protocol = header.opcode.request.protocol;
    if (protocol == MMSG_E_PROTOCOL_SES || protocol == MMSG_E_PROTOCOL_STARTUP) {
        return true;
    }
    ESA_TRACE("Invalid MMSG protocol [%d]", protocol);
    return false;
}

// Responses are only traced: the service waits for none.
bool isKnownResponse(const MMCH_t& header) {
    if ((header.mmsg_cont & MMSG_K_CONT_RESPONSE) == 0) {
        return false;
    }
    if (header.requestor == MMSG_E_EPID_ES_ADAPTERMP) {
        ESA_TRACE("Receive a Response MMSG for a Test Message.");
        return true;
    }
    if (header.requestor == MMSG_E_EPID_STARTUPMP) {
        ESA_TRACE("Receive a Response MMSG from Startup with returned code [%s].",
                  header.return_code == SUS_E_MMSG_RESP_OK ? "OK" : "REJECTED");
        return true;
    }
    return false;
}

void goodStatusSend(const MMSG_t* mmsgPtr, U8_t pageCode) {
    esaStatusSend(mmsgPtr, SES_K_SCSI_STATUS_CODE_GOOD, pageCode, 0, 0, 0);
}

void receiveDiagnosticProc(const MMSG_t* mmsgPtr) {
    ESA_TRACE("ESA receives RCV DIAG Cmd.");
    const auto command = esaMmsgRecord<RcvDiagResCommand_t>(mmsgPtr, MMSG_K_HEADER_SIZE);
    if (command.operationCode != SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND ||
        command.allocationLength == 0) {
        return;
    }
    goodStatusSend(mmsgPtr, command.pcv ? command.pageCode : esaControl.pageCodeInRecentSndDiagCmd);
}

void emptyParameterListProc(const MMSG_t* mmsgPtr, bool pageFormat) {
    if (pageFormat) {
        esaStatusSend(mmsgPtr, SES_K_SCSI_STATUS_CODE_CHECK_CONDITION, 0,
                      SES_K_SENSE_KEY_ILLEGAL_REQUEST, SES_K_ASC_INVALID_FIELD_IN_CDB, 0);
    } else {
        goodStatusSend(mmsgPtr, 0);
    }
}

void controlPageProc(const MMSG_t* mmsgPtr) {
    esaEncContPageProc(mmsgPtr);
    if (mmsgPtr->mmch.requestor == MMSG_E_EPID_VOLMGRMP) {
        ESA_TRACE("Rx Drive Fault LED SES msg from VM. No returning Status msg.");
    } else {
        goodStatusSend(mmsgPtr, 0);
    }
}

void sendDiagnosticProc(const MMSG_t* mmsgPtr) {
    ESA_TRACE("ESA receives SND DIAG Cmd.");
    const auto message = esaMmsgRecord<SndDiagCommandMsg_t>(mmsgPtr, MMSG_K_HEADER_SIZE);
    const U8_t pageCode = message.sndDiagCommandList[0];
    // Remembered before anything is tested: peers ask for an unsupported page back in this way.
    // (compatibility: page-remembered)
    esaControl.pageCodeInRecentSndDiagCmd = pageCode;
    if (message.sndDiagCommand.parameterListLength == 0) {
        emptyParameterListProc(mmsgPtr, message.sndDiagCommand.pf);
    } else if (pageCode == SES_K_ENCLOSURE_CONTROL_DIAGNOSTIC_PAGE) {
        controlPageProc(mmsgPtr);
    } else {
        ESA_TRACE("Un-supported SES Page [%d].", pageCode);
    }
}

void commandProc(const MMSG_t* mmsgPtr) {
    const U32_t type = mmsgPtr->mmch.opcode.request.type;
    switch (type) {
        case SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND:
            receiveDiagnosticProc(mmsgPtr);
            break;
        case SES_K_SEND_DIAGNOSTIC_COMMAND:
            sendDiagnosticProc(mmsgPtr);
            break;
        default:
            ESA_TRACE("Un-supported SES Command [%d].", static_cast<int>(type));
            break;
    }
}

}  // namespace

void esaMmsgMsgProc(MMSG_t* mmsgPtr) {
    const MMCH_t& header = mmsgPtr->mmch;
    const bool usable = lengthIsGood(header) && isForUs(header) && protocolIsKnown(header);
    if (usable) {
        ESA_TRACE("Receive a MMSG to the Enclosure Services Adapter");
    }
    esaMmsgPrint(mmsgPtr);
    if (usable && !isKnownResponse(header)) {
        commandProc(mmsgPtr);
    }
}
