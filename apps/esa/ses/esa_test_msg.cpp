// SPDX-License-Identifier: Apache-2.0
// A test command to the service itself. Its control page has no temperature sensor section, and the
// length and generation code of the page's header stay 0.
#include "ses/esa_test_msg.h"

#include "link/esa_mmsg.h"
#include "mmsg.h"
#include "ses/esa_print.h"
#include "state/esa_control.h"
#include "state/esa_trace.h"

namespace {

// Only the fans' count may exceed its array; the page still fits the work space.
constexpr U32_t PAGE_SIZE_MAX =
    sizeof(EncContDiagPageHdr_t) +
    SES_K_ELEMENT_SIZE *
        (4 + SES_K_DEVICES_MAX + SES_K_POWER_SUPPLIES_MAX + 255 + SES_K_ALARMS_MAX);
static_assert(MMSG_K_HEADER_SIZE + sizeof(SndDiagCommand_t) + PAGE_SIZE_MAX <= MMSG_K_MESSAGE_MAX);

U8_t* userData() {
    return esaControl.esaWorkSpace + MMSG_K_HEADER_SIZE;
}

void lengthSet(const U8_t* end) {
    wireView<MMCH_t>(esaControl.esaWorkSpace)->mmsg_length =
        static_cast<U16_t>(end - esaControl.esaWorkSpace);
}

void receiveDiagnosticBuild(U8_t pageCode) {
    RcvDiagResCommand_t* command = wireView<RcvDiagResCommand_t>(userData());
    *command = {};
    command->operationCode = SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND;
    command->pcv = 1;
    command->pageCode = pageCode;
    // The 17 is no size of anything; a status page is sent whatever the requester can take.
    // (compatibility: test-message)
    command->allocationLength =
        static_cast<U16_t>(SES_K_ELEMENT_SIZE * esaControl.powerSupplyMaxNumber + 17 +
                           SES_K_ELEMENT_SIZE * esaControl.deviceMaxNumber + SES_K_ELEMENT_SIZE +
                           SES_K_ELEMENT_SIZE * esaControl.coolingMaxNumber);
    lengthSet(userData() + sizeof *command);
}

// Writes an overall word of 0 and the `count` records of `request`. Returns the section's end.
template <typename Record>
U8_t* sectionBuild(U8_t* at, int count, Record (*request)(int index)) {
    *wireView<Be32>(at) = 0;
    at += SES_K_ELEMENT_SIZE;
    for (int index = 0; index < count; ++index) {
        *wireView<Record>(at) = request(index);
        at += SES_K_ELEMENT_SIZE;
    }
    return at;
}

DeviceElementCont_t driveFaultRequest(int slot) {
    DeviceElementCont_t record = {};
    record.rqstFault = slot == 0 || slot == 3 || slot == 7 || slot == 12;
    return record;
}

template <typename Record>
Record onRequest(int) {
    Record record = {};
    record.rqstOn = 1;
    return record;
}

AudibleAlarmElementCont_t muteRequest(int) {
    AudibleAlarmElementCont_t record = {};
    record.setMute = 1;
    return record;
}

void controlPageBuild(SndDiagCommand_t* command) {
    U8_t* const page = userData() + sizeof *command;
    EncContDiagPageHdr_t* header = wireView<EncContDiagPageHdr_t>(page);
    *header = {};
    header->pageCode = SES_K_ENCLOSURE_CONTROL_DIAGNOSTIC_PAGE;
    U8_t* end = page + sizeof *header;
    end = sectionBuild(end, esaBounded(esaControl.deviceMaxNumber, SES_K_DEVICES_MAX),
                       driveFaultRequest);
    end = sectionBuild(end, esaBounded(esaControl.powerSupplyMaxNumber, SES_K_POWER_SUPPLIES_MAX),
                       onRequest<PowerSupplyElementCont_t>);
    end = sectionBuild(end, esaControl.coolingMaxNumber, onRequest<CoolingElementCont_t>);
    end = sectionBuild(end, esaBounded(esaControl.audibleAlarmMaxNumber, SES_K_ALARMS_MAX),
                       muteRequest);
    command->parameterListLength = static_cast<U16_t>(end - page);
    lengthSet(end);
}

void sendDiagnosticBuild(U8_t pageCode) {
    SndDiagCommand_t* command = wireView<SndDiagCommand_t>(userData());
    *command = {};
    command->operationCode = SES_K_SEND_DIAGNOSTIC_COMMAND;
    command->pf = 1;
    if (pageCode != SES_K_ENCLOSURE_CONTROL_DIAGNOSTIC_PAGE) {
        ESA_TRACE("Un-supported SES Page [%d].", pageCode);
        return;
    }
    controlPageBuild(command);
    const int length = wireView<MMCH_t>(esaControl.esaWorkSpace)->mmsg_length;
    ESA_TRACE("mmsg_length = [%d], sizeof(MMCH_t) = [%d]", length,
              static_cast<int>(sizeof(MMCH_t)));
}

}  // namespace

S32_t esaTestMsg(U8_t commandType, U8_t pageCode) {
    MMCH_t* header = wireView<MMCH_t>(esaControl.esaWorkSpace);
    esaMmsgHeaderInit(header, MMSG_E_PROTOCOL_SES, commandType, 0);
    ESA_TRACE("This test SES Command Message is from Local Blade.");
    esaMmsgRecipientAdd(header, MMSG_E_EPID_ES_ADAPTERMP);
    header->dest_ep = MMSG_E_EPID_ES_ADAPTERMP;
    switch (commandType) {
        case SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND:
            receiveDiagnosticBuild(pageCode);
            break;
        case SES_K_SEND_DIAGNOSTIC_COMMAND:
            sendDiagnosticBuild(pageCode);
            break;
        default:
            ESA_TRACE("Un-supported SES Command [%d].", commandType);
            break;
    }
    ESA_TRACE("Send out a Test SES Command MMSG from the ESA to ESA.");
    esaMmsgPrint(wireView<MMSG_t>(esaControl.esaWorkSpace));
    return esaMmsgSend(ESA_SENDER(esaTestMsg));
}
