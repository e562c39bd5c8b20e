// SPDX-License-Identifier: Apache-2.0
// Answers to SES commands: what to answer, the reply's header, and sending it. The status byte that
// stands in front of a page is left out of mmsg_length, so a page's last byte is not sent: peers
// expect it to be left out.
#include "ses/esa_status.h"

#include "link/esa_mmsg.h"
#include "ses/config_page.h"
#include "ses/esa_mmsg_read.h"
#include "ses/esa_print.h"
#include "ses/status_page.h"
#include "state/esa_control.h"
#include "state/esa_trace.h"

// A reply in esaWorkSpace: header, SCSI status, then the page or the sense data.
constexpr U32_t STATUS_OFFSET = MMSG_K_HEADER_SIZE;
constexpr U32_t PAYLOAD_OFFSET = STATUS_OFFSET + 1;
constexpr U32_t PAGE_MAX = MMSG_K_MESSAGE_MAX - PAYLOAD_OFFSET;

// mmsg_length of the replies without a page, as peers know them.
constexpr U32_t BARE_STATUS_LENGTH = 68;
constexpr U32_t SENSE_DATA_LENGTH = 92;

// Starts the reply to `request`, `length` bytes long; all behind the status byte is zero.
static U8_t* replyBegin(const MMCH_t& request, U8_t statusCode, U32_t length) {
    auto* reply = wireView<MMCH_t>(esaControl.esaWorkSpace);
    esaMmsgHeaderInit(reply, static_cast<MMSG_PROTOCOL>(request.opcode.request.protocol),
                      request.opcode.request.type, length);
    esaMmsgRecipientAdd(reply, request.requestor);
    reply->dest_ep = request.requestor;
    reply->handle = request.handle;
    reply->return_code = statusCode;
    reply->mmsg_cont |= MMSG_K_CONT_RESPONSE;
    esaControl.esaWorkSpace[STATUS_OFFSET] = statusCode;
    return esaControl.esaWorkSpace + PAYLOAD_OFFSET;
}

// Bears the name that log readers know of whoever sends a reply.
static void esaSndDiagPage() {
    ESA_TRACE("Send out a Diagnostic Page.");
    esaMmsgPrint(wireView<MMSG_t>(esaControl.esaWorkSpace));
    esaMmsgSend(ESA_SENDER(esaSndDiagPage));
}

static void senseDataSend(const MMCH_t& request, U8_t senseKey, U8_t asc, U8_t ascq) {
    U8_t* payload = replyBegin(request, SES_K_SCSI_STATUS_CODE_CHECK_CONDITION, SENSE_DATA_LENGTH);
    SenseData_t sense = {};
    sense.responseCode = SES_K_SENSE_RESPONSE_CODE_CURRENT;
    sense.senseKey = senseKey & 0xF;
    sense.additionalSenseCode = asc;
    sense.additionalSenseCodeQualifier = ascq;
    *wireView<SenseData_t>(payload) = sense;
    esaSndDiagPage();
}

static void goodStatusSend(const MMCH_t& request) {
    replyBegin(request, SES_K_SCSI_STATUS_CODE_GOOD, BARE_STATUS_LENGTH);
    esaSndDiagPage();
}

static void configPageSend(const MMSG_t* rcvMmsgPtr) {
    const U32_t size = configPageSize();
    const auto command = esaMmsgRecord<RcvDiagResCommand_t>(rcvMmsgPtr, MMSG_K_HEADER_SIZE);
    if (command.allocationLength < size) {
        return;
    }
    configPageBuild(
        replyBegin(rcvMmsgPtr->mmch, SES_K_SCSI_STATUS_CODE_GOOD, MMSG_K_HEADER_SIZE + size));
    esaSndDiagPage();
}

static void statusPageSend(const MMCH_t& request) {
    const U32_t size = statusPageSize();
    if (size > PAGE_MAX) {
        ESA_TRACE("Enclosure status page of [%u] bytes does not fit a message.", size);
        return;
    }
    // The reading sends its events from esaWorkSpace, so the reply begins only after it.
    StatusPageElements_t elements = {};
    statusPageRead(&elements);
    statusPageBuild(elements,
                    replyBegin(request, SES_K_SCSI_STATUS_CODE_GOOD, MMSG_K_HEADER_SIZE + size));
    esaSndDiagPage();
}

static void pageSend(const MMSG_t* rcvMmsgPtr, U8_t pageCode) {
    switch (pageCode) {
        case SES_K_SUPPORTED_DIAGNOSTIC_PAGE:
            break;  // peers expect no answer to this one
        case SES_K_CONFIGURATION_DIAGNOSTIC_PAGE:
            configPageSend(rcvMmsgPtr);
            break;
        case SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE:
            statusPageSend(rcvMmsgPtr->mmch);
            break;
        default:
            ESA_TRACE("Un-supported SES Page [%d].", pageCode);
            break;
    }
}

void esaStatusSend(const MMSG_t* rcvMmsgPtr, U8_t statusCode, U8_t pageCode, U8_t senseKey,
                   U8_t asc, U8_t ascq) {
    const MMCH_t& request = rcvMmsgPtr->mmch;
    const U32_t command = request.opcode.request.type;
    if (request.requestor >= MMSG_K_RECIPIENTS_MAX) {
        ESA_TRACE("MMSG requestor [%d] can not be a recipient, no reply.", request.requestor);
        return;
    }
    if (command != SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND &&
        command != SES_K_SEND_DIAGNOSTIC_COMMAND) {
        ESA_TRACE("Un-supported SES Command [%d].", static_cast<int>(command));
        return;
    }
    if (statusCode == SES_K_SCSI_STATUS_CODE_CHECK_CONDITION) {
        senseDataSend(request, senseKey, asc, ascq);
    } else if (statusCode != SES_K_SCSI_STATUS_CODE_GOOD) {
        return;
    } else if (command == SES_K_SEND_DIAGNOSTIC_COMMAND) {
        goodStatusSend(request);
    } else {
        pageSend(rcvMmsgPtr, pageCode);
    }
}
