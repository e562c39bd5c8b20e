// SPDX-License-Identifier: Apache-2.0
// Requests to the start-up process, byte for byte.
#include "msg/esa_startup.h"

#include <gmock/gmock.h>

#include "tests/unit/msg/sender.h"

using testing::ElementsAre;

namespace {

struct Request {
    const char* rule;
    S32_t (*send)();
    const char* trace;
    const char* opcode;      // protocol and type
    const char* generalUse;  // words 1 and 2
    const char* blamed;      // named when the send falls short
};

void PrintTo(const Request& request, std::ostream* out) {
    *out << request.rule;
}

class StartupRequest : public Sender, public testing::WithParamInterface<Request> {};

TEST_P(StartupRequest, IsABareHeader) {
    const Request& request = GetParam();
    EXPECT_EQ(request.send(), 64);
    EXPECT_EQ(sent(), hexText(std::string("00000000 00000000 0E010040") + request.opcode +
                              "21000000 00040000 00000000 00000000 00000000 00000000 00000000" +
                              request.generalUse + "00000000 00000000 00000000"));
    EXPECT_THAT(trace_.take(), ElementsAre(request.trace));
}

TEST_P(StartupRequest, NamesItsSenderWhenLost) {
    EXPECT_THAT(faultOf(GetParam().send),
                ElementsAre(std::string("| Function:  ") + GetParam().blamed,
                            "| Message:   Linux send function fails, sendSize = [64] is wrong"));
}

template <ESA_CODE_e STATUS>
S32_t led() {
    return esaCompositeFaultMmsgToStartupSend(STATUS);
}

INSTANTIATE_TEST_SUITE_P(
    All, StartupRequest,
    testing::Values(Request{"mail", esaEmailNotificationMmsgToStartupSend,
                            "Send Email Notification MMSG To Startup.", "0C000010",
                            "00000000 00000000", "esaEmailNotificationMmsgToStartupSend()"},
                    Request{"LED off", led<ESA_E_OK>, "[Clear] Composite Fault LED in Startup.",
                            "0C00000E", "00000002 00000001",
                            "esaCompositeFaultMmsgToStartupSend()"},
                    Request{"LED on for a fault", led<ESA_E_GENERR>,
                            "[Set] Composite Fault LED in Startup.", "0C00000E",
                            "00000002 00000002", "esaCompositeFaultMmsgToStartupSend()"},
                    Request{"LED on for any other status", led<ESA_E_GENERR_I2C_UNAVAILABLE>,
                            "[Set] Composite Fault LED in Startup.", "0C00000E",
                            "00000002 00000002", "esaCompositeFaultMmsgToStartupSend()"},
                    // Deliberately blamed on another sender.
                    Request{"shutdown", esaOrderlyShutdownMmsgToStartupSend,
                            "Send request of Orderly Shutdown to Startup", "0D000001",
                            "00000000 00000001", "esaEventMmsgToEmpSend()"}));

}  // namespace
