// SPDX-License-Identifier: Apache-2.0
// A chassis made of test doubles in place of the chassis table, and a clean control block.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "backend/chassis.h"
#include "tests/support/sent_log.h"
#include "tests/support/trace_capture.h"

struct FanReading {
    ESA_CODE_e code;
    U16_t rpm;
};

using Lines = std::vector<std::string>;

class PolicyRig : public ::testing::Test {
  public:
    PolicyRig();
    ~PolicyRig() override;

    EsaChassis_t chassis;
    bool chassisKnown = true;          // false: the type has no row
    std::map<int, FanReading> fans;    // a fan not named here turns at 5000 RPM
    void (*whenAlarmSet)() = nullptr;  // what the alarm setter runs into
    TraceCapture trace;

    // Calls into the chassis since the last look: "fan 0", "load 2=75", "alarm 3".
    Lines takeCalls();
};
