// SPDX-License-Identifier: Apache-2.0
// The process with its surroundings in the test's hands: parameter area, back-ends, the service
// manager, the switch, and what a message is dispatched to.
#pragma once

#include <gtest/gtest.h>

#include "esamain.h"
#include "tests/support/laws.h"
#include "tests/support/personality_dir.h"
#include "tests/support/switch_listener.h"

// What the stand-ins give, and what they were called for.
struct Stage {
    bool areaAttaches = true;
    ESA_CODE_e initResult = ESA_E_OK;
    bool isManaged = false;
    Lines calls;
};
extern Stage stage;
extern MPU_PARAMS_t area;

// An enclosure device, an area, and a switch that listens.
class Core : public testing::Test {
  protected:
    Core();
    ~Core() override;

    // The service's messages since the last call, by name.
    Lines sent() { return messageNames(listener.take()); }

    SwitchListener listener;
    PersonalityDir dir;
    Random random{1};
};
