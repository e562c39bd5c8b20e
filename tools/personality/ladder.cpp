// SPDX-License-Identifier: Apache-2.0
#include "tools/personality/ladder.h"

#include "policy/esa_policy.h"
#include "tools/personality/facts.h"

namespace personality {

static Step stepOf(std::size_t n, U32_t hottest) {
    const EsaLadderStep_t& row = ESA_K_LADDER[n];
    Step step{};
    step.load = row.load.percent;
    if (row.stepUp != nullptr) {
        step.up = esaControl.*row.stepUp;
        step.goesUp = *step.up < hottest;
    }
    if (row.stepDown != nullptr) {
        step.down = esaControl.*row.stepDown;
        step.floorBlocks = esaControl.fanPwmLoadMinimum > ESA_K_LADDER[n - 1].load.percent;
        // Nothing is below 0: a negative average counts as very hot.
        step.goesDown = !step.floorBlocks && *step.down != 0;
    }
    return step;
}

static void reachedMark(std::vector<Step>& steps, U8_t startLoad) {
    for (std::size_t n = steps.size(); n-- > 0;) {
        const bool fromAbove =
            n + 1 == steps.size() || (steps[n + 1].reached && steps[n + 1].goesDown);
        steps[n].reached = fromAbove || steps[n].load == startLoad;
    }
    for (std::size_t n = 1; n < steps.size(); n++) {
        steps[n].reached = steps[n].reached || (steps[n - 1].reached && steps[n - 1].goesUp);
    }
}

Ladder ladder() {
    const U32_t hottest = chassis().facts.hottest;
    const U8_t startLoad = chassis().loadAtStart.percent;
    Ladder ladder{
        startLoad, esaControl.fanPwmLoadMinimum, esaControl.overheatTemperatureLimit, hottest, {}};
    for (std::size_t n = 0; n < std::size(ESA_K_LADDER); n++) {
        ladder.steps.push_back(stepOf(n, hottest));
    }
    reachedMark(ladder.steps, startLoad);
    return ladder;
}

bool staysNowhere(const Step& step) {
    return step.goesUp && step.goesDown && *step.down > *step.up;
}

}  // namespace personality
