// SPDX-License-Identifier: Apache-2.0
// The lab's enclosure bus in the place of the platform's transfers, for as long as it lives: one
// read or write of the service is one transfer to the chip models.
#pragma once

#include "lab/bus/bus.h"

class LabBus {
  public:
    explicit LabBus(enclab::Bus& bus);
    ~LabBus();
    LabBus(const LabBus&) = delete;
    LabBus& operator=(const LabBus&) = delete;
};
