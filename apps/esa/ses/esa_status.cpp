// SPDX-License-Identifier: Apache-2.0
// Answers to SES commands: what to answer, the reply's header, and sending it. The status byte that
// stands in front of a page is left out of mmsg_length, so a page's last byte is not sent: peers
// expect it to be left out. (compatibility: last-byte)
#include "ses/esa_status.h"

#include <cstring>

#include "link/esa_mmsg.h"
#include "ses/config_page.h"
#include "ses/esa_mmsg_read.h"
#include "ses/esa_print.h"
#include "ses/status_page.h"
#include "state/esa_control.h"
#include "state/esa_trace.h"

namespace {

// A reply in esaWorkSpace: header, SCSI status, then the page or the sense data.
constexpr U32_t STATUS_OFFSET = MMSG_K_HEADER_SIZE;
constexpr U32_t PAYLOAD_OFFSET = STATUS_OFFSET + 1;
constexpr U32_t PAGE_MAX = MMSG_K_MESSAGE_MAX - PAYLOAD_OFFSET;

// mmsg_length of the replies without a page, as peers know them. (compatibility: reply-lengths)
constexpr U32_t BARE_STATUS_LENGTH = 68;
constexpr U32_t SENSE_DATA_LENGTH = 92;

// A page that is answered: `size` bytes, which `build` writes. Building may send events, so never
// into esaWorkSpace.
struct SesPage {
    U8_t code;
    bool needsRoom;  // goes only to a requester that can take all of it
    U32_t (*size)();
    void (*build)(U8_t* page);
};
constexpr SesPage SES_PAGES[] = {
    {SES_K_CONFIGURATION_DIAGNOSTIC_PAGE, true, configPageSize, configPageBuild},
    {SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE, false, statusPageSize, statusPageBuild},
};

// Starts the reply to `request`, `length` bytes long; all behind the status byte is zero. Returns
// the place of the payload.
U8_t* replyBegin(const MMCH_t& request, U8_t statusCode, U32_t length) {
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
void esaSndDiagPage() {
    ESA_TRACE("Send out a Diagnostic Page.");
    esaMmsgPrint(wireView<MMSG_t>(esaControl.esaWorkSpace));
    esaMmsgSend(ESA_SENDER(esaSndDiagPage));
}

void senseDataSend(const MMCH_t& request, U8_t senseKey, U8_t asc, U8_t ascq) {
    U8_t* payload = replyBegin(request, SES_K_SCSI_STATUS_CODE_CHECK_CONDITION, SENSE_DATA_LENGTH);
    SenseData_t sense = {};
    sense.responseCode = SES_K_SENSE_RESPONSE_CODE_CURRENT;
    sense.senseKey = senseKey & 0xF;
    sense.additionalSenseCode = asc;
    sense.additionalSenseCodeQualifier = ascq;
    *wireView<SenseData_t>(payload) = sense;
    esaSndDiagPage();
}

void goodStatusSend(const MMCH_t& request) {
    replyBegin(request, SES_K_SCSI_STATUS_CODE_GOOD, BARE_STATUS_LENGTH);
    esaSndDiagPage();
}

U32_t allocationOf(const MMSG_t* rcvMmsgPtr) {
    return esaMmsgRecord<RcvDiagResCommand_t>(rcvMmsgPtr, MMSG_K_HEADER_SIZE).allocationLength;
}

void knownPageSend(const MMSG_t* rcvMmsgPtr, const SesPage& page) {
    const U32_t size = page.size();
    if (page.needsRoom && allocationOf(rcvMmsgPtr) < size) {
        return;
    }
    if (size > PAGE_MAX) {
        ESA_TRACE("Enclosure status page of [%u] bytes does not fit a message.", size);
        return;
    }
    U8_t bytes[PAGE_MAX];
    page.build(bytes);
    std::memcpy(
        replyBegin(rcvMmsgPtr->mmch, SES_K_SCSI_STATUS_CODE_GOOD, MMSG_K_HEADER_SIZE + size), bytes,
        size);
    esaSndDiagPage();
}

void pageSend(const MMSG_t* rcvMmsgPtr, U8_t pageCode) {
    for (const SesPage& page : SES_PAGES) {
        if (page.code == pageCode) {
            knownPageSend(rcvMmsgPtr, page);
            return;
        }
    }
    // Peers expect no word about that one. (compatibility: no-answer)
    if (pageCode != SES_K_SUPPORTED_DIAGNOSTIC_PAGE) {
        ESA_TRACE("Un-supported SES Page [%d].", pageCode);
    }
}

}  // namespace

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
