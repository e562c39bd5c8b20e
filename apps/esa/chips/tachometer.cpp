// SPDX-License-Identifier: Apache-2.0
#include "chips/tachometer.h"

#include "state/esa_trace.h"

U16_t esaTachometerRpm(int fan, U32_t clock, U8_t count) {
    const U32_t scaled = U32_t{count} * esaControl.fanSpeedDivisor;
    if (scaled == 0) {
        ESA_TRACE("Fan [%d] has count [%d] and divisor [%d], taken as [0] RPM.", fan, count,
                  esaControl.fanSpeedDivisor);
        return 0;
    }
    return static_cast<U16_t>(clock / scaled);
}
