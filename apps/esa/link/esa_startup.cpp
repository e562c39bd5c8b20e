// SPDX-License-Identifier: Apache-2.0
// Requests to the start-up process: bare headers that carry their arguments in general_use words.
#include "link/esa_startup.h"

#include "link/esa_mmsg.h"
#include "mmsg.h"
#include "startup.h"
#include "state/esa_trace.h"

namespace {

struct Request {
    MMSG_PROTOCOL protocol;
    U32_t type;
    U32_t generalUse1;
    U32_t generalUse2;
};

S32_t requestSend(const Request& request, const EsaSender_t& sender) {
    MMCH_t* header = wireView<MMCH_t>(esaControl.esaWorkSpace);
    esaMmsgHeaderInit(header, request.protocol, request.type, MMSG_K_HEADER_SIZE);
    esaMmsgRecipientAdd(header, MMSG_E_EPID_STARTUPMP);
    header->general_use1 = request.generalUse1;
    header->general_use2 = request.generalUse2;
    return esaMmsgSend(sender);
}

}  // namespace

S32_t esaEmailNotificationMmsgToStartupSend() {
    ESA_TRACE("Send Email Notification MMSG To Startup.");
    return requestSend({MMSG_E_PROTOCOL_STARTUP, SUS_E_MMSG_SEND_EMAIL_NOTIFICATION, 0, 0},
                       ESA_SENDER(esaEmailNotificationMmsgToStartupSend));
}

S32_t esaCompositeFaultMmsgToStartupSend(ESA_CODE_e status) {
    const bool lit = status != ESA_E_OK;
    ESA_TRACE("[%s] Composite Fault LED in Startup.", lit ? "Set" : "Clear");
    return requestSend({MMSG_E_PROTOCOL_STARTUP, SUS_E_MMSG_CHANGE_LED_COLOR,
                        SUS_K_LED_COMPOSITE_FAULT, lit ? SUS_K_LED_ON : SUS_K_LED_OFF},
                       ESA_SENDER(esaCompositeFaultMmsgToStartupSend));
}

S32_t esaOrderlyShutdownMmsgToStartupSend() {
    ESA_TRACE("Send request of Orderly Shutdown to Startup");
    // Log readers know a lost shutdown request by the event sender's name.
    // (compatibility: shutdown-sender)
    return requestSend(
        {MMSG_E_PROTOCOL_SHUTDOWN, SHDN_E_MMSG_REQ_ORDRLY_SHUTDOWN, 0, SHDN_K_ORDERLY},
        ESA_SENDER(esaEventMmsgToEmpSend));
}
