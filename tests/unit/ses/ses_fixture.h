// SPDX-License-Identifier: Apache-2.0
// A service with a made-up chassis: every entry of the row notes that it was called, and answers
// what the test tells it to. The switch is the other end of the link.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "backend/chassis.h"
#include "core/esa_control.h"
#include "tests/support/hex.h"
#include "tests/support/switch_peer.h"
#include "tests/support/trace_capture.h"

// What the row's entries do; calls are noted as "led on 3", "fan 0", "sound 4".
struct FakeChassis {
    enum Row { FULL, GROUPED, NO_BACKEND, UNKNOWN_TYPE };
    Row row = FULL;
    std::vector<std::string> calls;
    std::map<int, ESA_CODE_e> drives;         // presence; ESA_E_OK where not named
    std::map<int, ESA_CODE_e> ledResults;     // of LED set and clear; ESA_E_OK where not named
    std::map<int, U16_t> rpms;                // speeds of readable fans
    ESA_CODE_e unreadableFan = ESA_E_GENERR;  // result for the others
    std::vector<S16_t> temperatures;          // put into temperatureSensor[]
    U32_t alarmState = 0;
    // Further doings of entries, run after the call was noted.
    std::function<void(int, PowerSupplyElementStat_t*, EsaPageChange_t*)> supply;
    std::function<void(int, U16_t, CoolingElementStat_t*, EsaPageChange_t*)> fanMark;
    std::function<void()> onTemperatures;

    std::vector<std::string> takeCalls();
};
extern FakeChassis fake;

// Clears the service's state in front of everything else a test builds.
struct CleanControl {
    CleanControl();
};

class SesTest : public testing::Test {
  protected:
    static constexpr U8_t REQUESTOR = 29;
    static constexpr U32_t HANDLE = 0xA1B2C3D4;

    SesTest() { counts(16, 2, 4, 4, 1); }

    static void counts(U8_t devices, U8_t supplies, U8_t fans, U8_t sensors, U8_t alarms);
    // A request of SES type `type` in the receive buffer, behind it the rest of an older message.
    static MMSG_t* request(U32_t type, const Bytes& userData, U8_t requestor = REQUESTOR);

    // The one message sent, with the link fields, which are an address, blanked.
    Bytes takeOne();

    CleanControl clean_;
    SwitchPeer peer_;
    TraceCapture trace_;
};

Bytes part(const Bytes& bytes, std::size_t from, std::size_t count);
bool contains(const std::vector<std::string>& lines, const std::string& line);
long countOf(const std::vector<std::string>& lines, const std::string& line);
