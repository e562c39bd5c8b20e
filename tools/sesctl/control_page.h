// SPDX-License-Identifier: Apache-2.0
// The enclosure control page for one change. The service stores every record of it and switches
// every drive fault LED, selected or not, so the page begins as a copy of what is requested now.
#pragma once

#include "tools/sesctl/codec.h"

namespace sesctl {

enum class AlarmRequest { mute, information, critical };

class ControlPage {
  public:
    // Changes nothing, as far as the status page shows what is requested: drive fault LEDs, fans
    // and supplies on, a supply's fault, alarms disabled. It does not show the alarm's flags,
    // which are therefore requested as clear.
    ControlPage(const Configuration& configuration, const Status& status);

    // Indices must be below the configuration's counts.
    void driveFault(unsigned slot, bool on);
    void powerSupplyFault(unsigned supply, bool on);
    void fan(unsigned fan, bool on);
    void alarm(unsigned alarm, AlarmRequest request);

    const Bytes& bytes() const { return page_; }

  private:
    template <typename Record>
    Record& record(Kind kind, unsigned index);
    std::uint8_t* overall(Kind kind);
    // Marks the type and the record as to be acted on.
    template <typename Record>
    Record& select(Kind kind, unsigned index);

    std::array<std::size_t, SES_K_ELEMENT_TYPES> offsets_ = {};  // of each overall word
    Bytes page_;
};

// Throws Failure, usage, where `fan` may stay off once it is switched off. The pages do not name
// the chassis: it is any that has so many slots and supplies.
void checkFanOff(unsigned fan, const Configuration& configuration);

}  // namespace sesctl
