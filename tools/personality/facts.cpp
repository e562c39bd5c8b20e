// SPDX-License-Identifier: Apache-2.0
#include "tools/personality/facts.h"

namespace personality {

const EsaChassis_t& chassis() {
    return esaChassisOrNone();
}

SurplusSensors surplusSensors(EsaSurplusSensors_e fate) {
    switch (fate) {
        case EsaSurplusSensors_e::COUNT_AS_ZERO:
            return {Severity::warning, "count as 0 degrees and pull the average down"};
        case EsaSurplusSensors_e::NO_START:
            return {Severity::unusable,
                    "have no address: the enclosure does not start up and is never polled"};
        case EsaSurplusSensors_e::LEFT_OUT:
            return {Severity::warning, "are unreadable and left out of the average"};
        case EsaSurplusSensors_e::NOT_ASKED:
            break;
    }
    return {Severity::note, ""};
}

}  // namespace personality
