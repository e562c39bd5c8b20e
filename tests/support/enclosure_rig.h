// SPDX-License-Identifier: Apache-2.0
// An enclosure of registers below the real chassis table, back-ends and policies.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "backend/chassis.h"
#include "tests/support/fake_bus.h"
#include "tests/support/sent_log.h"
#include "tests/support/trace_capture.h"

using Lines = std::vector<std::string>;

// Sleeps asked for, as entries of the bus log's place in it: {transfers before, seconds}.
struct Sleep {
    int transfersBefore;
    unsigned seconds;
    bool operator==(const Sleep&) const = default;
};

class EnclosureRig : public ::testing::Test {
  public:
    EnclosureRig();
    ~EnclosureRig() override;

    // A clean control block for a VSC055 chassis of 3 fans, 2 sensors and 16 drives, and registers
    // of a healthy one: fans at 5000 RPM, 25 degrees, redundant supplies.
    void healthyVsc055();

    // Trace lines since the last look, without the transfers' own.
    Lines takeLines();

    FakeBus bus;
    TraceCapture trace;
    std::vector<Sleep> sleeps;
};
