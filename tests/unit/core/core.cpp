// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/core/core.h"

#include <algorithm>
#include <array>
#include <csignal>

#include "chassis/table.h"
#include "link/esa_mmsg.h"
#include "notify.h"
#include "ses/esa_dispatch.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/fake_system_calls.h"

Stage stage;
MPU_PARAMS_t area;

const MPU_PARAMS_t* pMpuParams = nullptr;
const MPU_PARAMS_t* MPU_getMpuParams(int key) {
    stage.calls.push_back(text("area of key ", key));
    pMpuParams = stage.areaAttaches ? &area : nullptr;
    return pMpuParams;
}

void esaMmsgMsgProc(MMSG_t* message) {
    stage.calls.push_back(text("dispatched ", U16_t{message->mmch.mmsg_length}));
}

void notifyOpen() {}
void notifyReady() {
    stage.calls.push_back("ready");
}
bool notifyIsOn() {
    return stage.isManaged;
}
void notifyStatus(const char* state) {
    stage.calls.push_back(state);
}
void notifyAlive() {
    stage.calls.push_back("alive");
}

// The shipped rows, but what they bring up and poll only says so.
EsaChassisTable_t esaChassisTable() {
    static const auto watched = [](EsaChassis_t row) {
        if (row.init) {
            row.init = +[] {
                stage.calls.push_back("bring-up");
                return stage.initResult;
            };
            row.poll = +[] { stage.calls.push_back("poll"); };
        }
        return row;
    };
#define WATCHED(type, row) watched(row),
    static const EsaChassis_t rows[] = {ESA_CHASSIS_TABLE(WATCHED)};
#undef WATCHED
    static std::array<const EsaChassis_t*, std::size(rows)> table;
    std::ranges::transform(rows, table.begin(), [](const auto& row) { return &row; });
    return table;
}

Core::Core() {
    std::signal(SIGPIPE, SIG_IGN);
    systemCalls = {};
    systemCalls.enclosureDevice = "/dev/null";
    stage = {};
    area = {};
    area.flags = MPU_K_FLAG_RCP_COMPLETE;
    wireTextSet(area.mmsgDirectory, listener.directory().c_str());
    wireTextSet(area.logDirectory, listener.directory().c_str());
    pMpuParams = &area;
    esaChassisTableUse(esaChassisTable());
    esaControl = {};
    esaControl.socketFdMSM = -1;
    listener.open();
    takeAltRecords();
}

Core::~Core() {
    esaLinkDown();
    pMpuParams = nullptr;
}
