// SPDX-License-Identifier: Apache-2.0
// The process: start-up sequence, the loop and its two timers. Timers count passes, not time: a
// pass takes a whole selectTimeout off them even when a message ended it early.
#include "esamain.h"

#include <sys/select.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "chassis/table.h"
#include "link/esa_event.h"
#include "link/esa_mmsg.h"
#include "link/esa_receive.h"
#include "link/esa_startup.h"
#include "notify.h"
#include "osdep.h"
#include "ses/esa_dispatch.h"
#include "start/esa_init.h"
#include "start/esa_manager.h"
#include "start/esa_number.h"
#include "state/chassis.h"
#include "state/esa_fault.h"
#include "state/esa_trace.h"

const char* ProgName = "";
S32_t shmKey;

namespace {

constexpr U16_t TRACE_LEVEL_VERBOSE = 0xC0FF;
constexpr int RCP_WAIT_TRIES = 18;
constexpr unsigned RCP_WAIT_SEC = 10;

enum ExitStatus : int {
    EXIT_ARGUMENTS = 1,
    EXIT_KEY = 2,
    EXIT_PARAMETERS = 3,
};

// ---- start-up ----

const char* programName(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

void traceOpen(const MPU_PARAMS_t* params) {
    static const char* const trc_modNames[] = {"ESA"};
    TRACE__init(params, "esa_%02d.log", 1, trc_modNames);
    if ((mpuFlags(params) & MPU_K_FLAG_TRACE_VERBOSE) != 0) {
        TRACE__setTraceLevel(ESA_K_TRACE_MODULE, TRACE_LEVEL_VERBOSE);
    }
}

void backendEventSend(EMP_TYPE type, EsaEventInfo_e information, S32_t result) {
    EsaEventData_t data = {};
    data.enclosureType = esaControl.enclosureType;
    data.information = information;
    data.general_use1 = static_cast<U32_t>(result);
    esaEventMmsgToEmpSend(ESA_E_ID_ES_ADAPTERMP_INFORMATION, type, &data);
}

// ---- the loop ----

void selectFailed() {
    const int error = errno;
    ESA_FAULT(main, "Linux select function fails");
    if (error != EINTR) {
        esaLinkDown();
    }
}

// Waits one selectTimeout for the link to become readable: milliseconds left of it when it did,
// else -1. While the link is down nothing is watched and the wait alone keeps the rhythm.
int messageAwait() {
    const bool watched = esaLinkIsUp();
    fd_set ready;
    FD_ZERO(&ready);
    if (watched) {
        FD_SET(esaControl.socketFdMSM, &ready);
    }
    struct timeval timeout = {};
    timeout.tv_sec = static_cast<time_t>(esaControl.selectTimeout.sec);
    timeout.tv_usec = static_cast<suseconds_t>(esaControl.selectTimeout.usec);
    const int descriptors = watched ? esaControl.socketFdMSM + 1 : 0;
    if (select(descriptors, &ready, nullptr, nullptr, &timeout) == -1) {
        selectFailed();
        return -1;
    }
    // Linux leaves in the time-out what was not waited.
    const auto leftMs = static_cast<int>(timeout.tv_sec * 1000 + timeout.tv_usec / 1000);
    return watched && FD_ISSET(esaControl.socketFdMSM, &ready) ? leftMs : -1;
}

// What the start-up process must know and did not get while the link was down. The LED is asked
// for as it should be now, one e-mail stands for all.
void undeliveredSend() {
    if (esaMmsgIsUndelivered(SUS_E_MMSG_NOTIFY_INIT_COMPLETE)) {
        esaInitCompleteSend();
    }
    if (esaMmsgIsUndelivered(SUS_E_MMSG_CHANGE_LED_COLOR)) {
        const bool lit = (esaControl.compositeFaultStatus & ESA_K_FAULT_LED_ON) != 0;
        esaCompositeFaultMmsgToStartupSend(lit ? ESA_E_GENERR : ESA_E_OK);
    }
    if (esaMmsgIsUndelivered(SUS_E_MMSG_SEND_EMAIL_NOTIFICATION)) {
        esaEmailNotificationMmsgToStartupSend();
    }
}

// ---- the timers ----

// Takes one pass off `countdown`. False, and nothing taken, when less than a pass is left: due.
bool passTaken(MPU_TIME_t* countdown) {
    const MPU_TIME_t& pass = esaControl.selectTimeout;
    if (countdown->sec < pass.sec || (countdown->sec == pass.sec && countdown->usec < pass.usec)) {
        return false;
    }
    if (countdown->usec < pass.usec) {
        countdown->usec += 1000000;
        --countdown->sec;
    }
    countdown->usec -= pass.usec;
    countdown->sec -= pass.sec;
    return true;
}

void backendPoll() {
    const EsaChassis_t* chassis = esaChassis();
    if (chassis != nullptr && chassis->poll) {
        chassis->poll();
    }
}

}  // namespace

// ---- start-up ----

void esaInitCompleteSend() {
    auto* message = wireView<MMCH_t>(esaControl.esaWorkSpace);
    esaMmsgHeaderInit(message, MMSG_E_PROTOCOL_STARTUP, SUS_E_MMSG_NOTIFY_INIT_COMPLETE,
                      MMSG_K_HEADER_SIZE);
    esaMmsgRecipientAdd(message, MMSG_E_EPID_STARTUPMP);
    esaMmsgSend(ESA_SENDER(main));
}

void esaRcpCompleteWait(const MPU_PARAMS_t* params) {
    int rcpWaitRetryCount = 0;
    for (; rcpWaitRetryCount < RCP_WAIT_TRIES; ++rcpWaitRetryCount) {
        if ((mpuFlags(params) & MPU_K_FLAG_RCP_COMPLETE) != 0) {
            ESA_TRACE("RCP Complete flag is marked now.");
            break;
        }
        esaManagerTell();
        sleep(RCP_WAIT_SEC);
    }
    ESA_TRACE("rcpWaitRetryCount = [%d]", rcpWaitRetryCount);
}

void esaBackendInit() {
    const EsaChassis_t* chassis = esaChassis();
    if (chassis == nullptr) {
        backendEventSend(EMP_E_TYPE_WARNING, ESA_E_EVENT_INFO_I2C_BUS_STATUS, -1);
    } else if (!chassis->init) {
        backendEventSend(EMP_E_TYPE_INFORMATION, ESA_E_EVENT_INFO_NO_ENCLOSURE_SERVICES, 0);
    } else if (chassis->init() == ESA_E_OK) {
        ESA_TRACE("%s", chassis->initSuccessText);
        backendEventSend(EMP_E_TYPE_INFORMATION, ESA_E_EVENT_INFO_I2C_BUS_STATUS, 0);
    } else {
        ESA_TRACE("%s", chassis->initFailureText);
    }
}

int esaMain(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    std::printf("main(): Start the Enclosure Services Adapter.");
    std::fflush(stdout);
    ProgName = argc > 0 ? programName(argv[0]) : "";
    if (argc < 2) {
        std::printf("main(): Arguments few than 2.\n");
        return EXIT_ARGUMENTS;
    }
    shmKey = esaNumberOf(argv[1], 0);
    if (shmKey < MPU_K_PARAMS_KEY_MIN) {
        std::printf("main(): shared memory key less than 100.\n");
        return EXIT_KEY;
    }
    const MPU_PARAMS_t* params = MPU_getMpuParams(shmKey);
    if (params == nullptr) {
        std::fprintf(stderr, "%s: Unable to share parameters.", ProgName);
        std::fprintf(stderr, "%s: Giving up.", ProgName);
        return EXIT_PARAMETERS;
    }
    traceOpen(params);
    handleUnexpectedSignals();
    esaChassisTableUse(esaChassisTable());
    esaInit();
    ESA_TRACE("Finish initializing the Enclosure Services Adapter internal data structures.");
    esaInitCompleteSend();
    ESA_TRACE("ESA finishes initialization and sends the message to the Startup process.");
    notifyOpen();
    notifyReady();
    esaRcpCompleteWait(params);
    esaBackendInit();
    esaControl.selectTimeout = {ESA_K_SELECT_TIMEOUT_SEC, 0};
    for (;;) {
        esaLoopPass();
    }
}

// ---- the loop ----

void esaLoopPass() {
    const int leftMs = messageAwait();
    if (leftMs >= 0 && esaMmsgReceive(leftMs)) {
        esaMmsgMsgProc(wireView<MMSG_t>(esaControl.esaInMsg));
    }
    esaPollTimeoutProcess();
    if (esaLinkPass()) {
        undeliveredSend();
    }
    esaManagerTell();
}

// ---- the timers ----

void esaPollTimeoutProcess() {
    if (!passTaken(&esaControl.pollTimeout)) {
        if (esaControl.i2cConnected == 1) {
            backendPoll();
        }
        esaControl.pollTimeout = {ESA_K_POLL_PERIOD_SEC, 0};
    }
    if (esaControl.reportTimeoutUserInput != 0 && !passTaken(&esaControl.reportTimeout)) {
        esaReportTimeoutProcess();
        esaControl.reportTimeout = {esaControl.reportTimeoutUserInput, 0};
    }
}
