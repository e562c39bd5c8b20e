// SPDX-License-Identifier: Apache-2.0
// Enclosures of registers below the real chassis table, back-ends and policies.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "backend/chassis.h"
#include "tests/support/fake_bus.h"
#include "tests/support/sent_log.h"
#include "tests/support/trace_capture.h"

using Lines = std::vector<std::string>;

// Folder of the chassis under tests/golden.
std::string goldenFolder(KORVO_E_CHASSIS_t type);

class EnclosureRig : public ::testing::Test {
  public:
    EnclosureRig();
    ~EnclosureRig() override;

    // A clean control block as initialisation leaves it for the chassis, and registers of a healthy
    // one: fans at 5000 RPM, 25 degrees and a little more, good supplies.
    void healthy(KORVO_E_CHASSIS_t type);
    void healthyVsc055() { healthy(KORVO_E_CHASSIS_KORVO_VSC055); }
    // The same, brought up; nothing of it is left in the logs.
    void running(KORVO_E_CHASSIS_t type);

    // Trace lines since the last look, without the transfers' own.
    Lines takeLines();

    // Transfers, with sleeps ("sleep 3") between them.
    FakeBus bus;
    TraceCapture trace;
};
