// SPDX-License-Identifier: Apache-2.0
#include "tools/personality/judge.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "policy/esa_policy.h"
#include "start/personality.h"
#include "tools/personality/facts.h"
#include "tools/personality/ladder.h"
#include "tools/personality/quoted.h"

namespace personality {

namespace {

constexpr U32_t SLOWEST_COUNT = 254;  // 255 is no speed
constexpr U32_t FASTEST_RPM = 65535;  // what the service can hold

void warn(Findings& findings, const char* check, std::string text) {
    findings.push_back({Severity::warning, check, std::move(text)});
}

// The key that sets `field`.
std::string keyOf(U32_t EsaControl_t::*field) {
    const auto keys = esaPersonalityKeys();
    const auto key = std::ranges::find(keys, field, &EsaPersonalityKey_t::wide);
    return bare(key->quoted);
}

// ---- values of 0 ----

constexpr std::array<std::pair<const char*, const char*>, 12> ZERO_MEANS = {{
    {"fanSpeedDivisor", "every fan reads 0 RPM and counts as failed, all run at 100 percent"},
    {"coolingMaxNumber", "no fan is shown or watched, nor regulated where fans are not in groups"},
    {"temperatureSensorMaxNumber",
     "no temperature is known, the fans stay at their start load and no overheat is noticed"},
    {"overheatTemperatureLimit", "every average above 0 degrees asks for a shutdown"},
    {"fanPwm25To50TemperatureThreshold",
     "every average above 0 degrees leads from 25 to 50 percent"},
    {"fanPwm50To75TemperatureThreshold",
     "every average above 0 degrees leads from 50 to 75 percent"},
    {"fanPwm75To100TemperatureThreshold",
     "every average above 0 degrees leads from 75 to 100 percent"},
    {"fanPwm100To75TemperatureThreshold", "nothing leads from 100 down to 75 percent"},
    {"fanPwm75To50TemperatureThreshold", "nothing leads from 75 down to 50 percent"},
    {"fanPwm50To25TemperatureThreshold", "nothing leads from 50 down to 25 percent"},
    {"fanFaultRpmLimit", "no fan ever counts as failed, not even one that stands still"},
    {"fanPwmLoadMinimum", "no floor, the fans may go down to 25 percent"},
}};

struct ZeroReason {
    Reading reading;
    Severity severity;
    const char* check;
    const char* words;
};
constexpr ZeroReason ZERO_REASONS[] = {
    {Reading::number, Severity::warning, "value-zero", "is 0"},
    {Reading::noNumber, Severity::unusable, "value-no-number", "has no number to read, so it is 0"},
    {Reading::noValue, Severity::unusable, "value-missing", "has no value behind it and stays 0"},
    {Reading::missing, Severity::warning, "key-missing", "is missing and means 0"},
};

void zeroCheck(const Key& key, Findings& findings) {
    const bool noFloor = key.name == "fanPwmLoadMinimum" && key.reading == Reading::number;
    const bool unused = key.name == "fanSpeedDivisor" && chassis().fanSpeedDivisor != 0;
    if (key.stored != 0 || noFloor || unused) {
        return;
    }
    const auto& reason = *std::ranges::find(ZERO_REASONS, key.reading, &ZeroReason::reading);
    const auto& [name, means] =
        *std::ranges::find(ZERO_MEANS, key.name, [](const auto& row) { return row.first; });
    const std::string line = key.line != 0 ? fmt::format(" (line {})", key.line) : "";
    findings.push_back(
        {reason.severity, reason.check,
         fmt::format("{}{} {}: {}{}", name, line, reason.words, means, key.nearMiss)});
}

// ---- counts ----

void countsCheck(Findings& findings) {
    for (const EsaPersonalityKey_t& key : esaPersonalityKeys()) {
        if (key.narrow != nullptr && esaControl.*key.narrow > key.arraySize) {
            warn(findings, "count-above-array",
                 fmt::format("{} {}: the service keeps {}, the others are answered as unreadable "
                             "and never acted on",
                             bare(key.quoted), esaControl.*key.narrow, key.arraySize));
        }
    }
    const EsaChassisFacts_t& facts = chassis().facts;
    if (esaControl.temperatureSensorMaxNumber > facts.sensors) {
        const SurplusSensors surplus = surplusSensors(facts.surplusSensors);
        findings.push_back(
            {surplus.severity, "sensors-above-chassis",
             fmt::format("temperatureSensorMaxNumber {}: sensors {} and up {}",
                         esaControl.temperatureSensorMaxNumber, facts.sensors, surplus.text)});
    }
    if (std::min<int>(esaControl.coolingMaxNumber, SES_K_FANS_MAX) > facts.fans) {
        warn(findings, "fans-above-chassis",
             fmt::format("coolingMaxNumber {}: fans {} and up have no tachometer and count as "
                         "failed, so that all fans run at 100 percent",
                         esaControl.coolingMaxNumber, facts.fans));
    }
}

// ---- fan speeds ----

void divisorCheck(Findings& findings) {
    const U8_t divisor = esaControl.fanSpeedDivisor;
    const U8_t ownDivisor = chassis().fanSpeedDivisor;
    if (ownDivisor != 0 && divisor != ownDivisor) {
        findings.push_back({Severity::note, "divisor-unused",
                            fmt::format("fanSpeedDivisor has no effect: on this chassis the "
                                        "service takes {}",
                                        ownDivisor)});
    }
    const U8_t highest = chassis().facts.divisorHighest;
    if (divisor > highest) {
        warn(findings, "divisor-above-chip",
             fmt::format("fanSpeedDivisor {}: the chip takes only its low three bits, {}; speeds "
                         "come out wrong",
                         divisor, divisor & highest));
    }
}

std::string slowFanText(U32_t limit, int divisor, U32_t slowest) {
    return fmt::format(
        "fanFaultRpmLimit {}: with divisor {} the slowest speed that can be measured is {} RPM, {}",
        limit, divisor, slowest,
        chassis().facts.slowLooksStopped
            ? "every slower fan counts as stopped and failed"
            : "a slower fan looks like that and only one that stands still counts as failed");
}

void fanLimitCheck(Findings& findings) {
    const EsaChassisFacts_t& facts = chassis().facts;
    const U32_t limit = esaControl.fanFaultRpmLimit;
    const U8_t divisor =
        chassis().fanSpeedDivisor != 0 ? chassis().fanSpeedDivisor : esaControl.fanSpeedDivisor;
    if (limit == 0 || divisor == 0) {
        return;
    }
    const U32_t fastest = std::min(FASTEST_RPM, facts.tachometerClock / divisor);
    const U32_t slowest = facts.tachometerClock / (SLOWEST_COUNT * divisor);
    if (limit > fastest) {
        warn(findings, "fan-limit-too-high",
             fmt::format("fanFaultRpmLimit {}: no reading is above {} RPM, so every fan counts as "
                         "failed and runs at 100 percent",
                         limit, fastest));
    } else if (limit <= slowest) {
        warn(findings, "fan-limit-unreachable", slowFanText(limit, divisor, slowest));
    }
}

// ---- the ladder ----

void tooHotCheck(Findings& findings) {
    const U32_t hottest = chassis().facts.hottest;
    for (const EsaPersonalityKey_t& key : esaPersonalityKeys()) {
        const bool isTemperature =
            std::string_view(key.quoted).find("Temperature") != std::string_view::npos;
        if (isTemperature && key.wide != nullptr && esaControl.*key.wide >= hottest) {
            warn(findings, "temperature-unreachable",
                 fmt::format("{} {}: no reading is above {} degrees", keyOf(key.wide),
                             esaControl.*key.wide, hottest));
        }
    }
}

// Thresholds of 0 are told elsewhere, those no fan goes by are of no interest.
void orderCheck(Findings& findings) {
    const std::vector<Step> steps = ladder().steps;
    for (std::size_t n = 1; n + 1 < steps.size(); n++) {
        const Step& below = steps[n - 1];
        const Step& step = steps[n];
        const Step& above = steps[n + 1];
        if (below.goesUp && step.goesUp && *step.up != 0 && *below.up >= *step.up) {
            warn(findings, "steps-up-out-of-order",
                 fmt::format("{} {} is not below {} {}: warming up, the fans do not stay at {} "
                             "percent",
                             keyOf(ESA_K_LADDER[n - 1].stepUp), *below.up,
                             keyOf(ESA_K_LADDER[n].stepUp), *step.up, step.load));
        }
        if (step.goesDown && above.goesDown && *step.down >= *above.down) {
            warn(findings, "steps-down-out-of-order",
                 fmt::format("{} {} is not below {} {}: cooling down, the fans do not stay at {} "
                             "percent",
                             keyOf(ESA_K_LADDER[n].stepDown), *step.down,
                             keyOf(ESA_K_LADDER[n + 1].stepDown), *above.down, step.load));
        }
    }
}

// What a fan does between two steps when the way down begins above the way up.
std::string inversionText(const Step& low, const Step& high) {
    // At the upper step the way up comes first.
    const U32_t last = high.goesUp ? std::min(*high.down - 1, *high.up) : *high.down - 1;
    const U32_t first = *low.up + 1;
    const std::string range =
        first <= last ? fmt::format(", at {} to {} degrees on every poll", first, last) : "";
    return fmt::format("inverted, the fans go to and fro between {} and {} percent{}", low.load,
                       high.load, range);
}

void hysteresisCheck(Findings& findings) {
    const std::vector<Step> steps = ladder().steps;
    for (std::size_t n = 0; n + 1 < steps.size(); n++) {
        const Step& low = steps[n];
        const Step& high = steps[n + 1];
        if (!low.goesUp || !high.goesDown || *low.up == 0 || *high.down < *low.up) {
            continue;
        }
        const bool isInverted = *high.down > *low.up;
        warn(findings, isInverted ? "hysteresis-inverted" : "hysteresis-none",
             fmt::format("{} {} is not below {} {}: {}", keyOf(ESA_K_LADDER[n + 1].stepDown),
                         *high.down, keyOf(ESA_K_LADDER[n].stepUp), *low.up,
                         isInverted ? inversionText(low, high) : "no hysteresis between them"));
    }
}

void floorCheck(Findings& findings) {
    const Ladder ladder = personality::ladder();
    for (std::size_t n = 1; n < ladder.steps.size(); n++) {
        if (ladder.steps[n].floorBlocks) {
            warn(findings, "floor-blocks-step",
                 fmt::format("fanPwmLoadMinimum {} blocks the step from {} down to {} percent: {} "
                             "has no effect",
                             ladder.floor, ESA_K_LADDER[n].load.percent,
                             ESA_K_LADDER[n - 1].load.percent, keyOf(ESA_K_LADDER[n].stepDown)));
        }
    }
    if (ladder.startLoad < ladder.floor) {
        warn(findings, "floor-above-start",
             fmt::format("fanPwmLoadMinimum {}: the fans start at {} percent all the same and stay "
                         "there until they first step up",
                         ladder.floor, ladder.startLoad));
    }
}

void overheatCheck(Findings& findings) {
    const U32_t EsaControl_t::*const last = ESA_K_LADDER[std::size(ESA_K_LADDER) - 2].stepUp;
    const U32_t limit = esaControl.overheatTemperatureLimit;
    if (limit != 0 && limit <= esaControl.*last) {
        warn(findings, "overheat-below-ladder",
             fmt::format("overheatTemperatureLimit {} is not above the last step up at {}: the "
                         "shutdown is asked for before the fans run at 100 percent",
                         limit, esaControl.*last));
    }
}

using Check = void (*)(Findings&);
constexpr Check CHECKS[] = {countsCheck, divisorCheck,    fanLimitCheck, tooHotCheck,
                            orderCheck,  hysteresisCheck, floorCheck,    overheatCheck};

}  // namespace

void judge(const std::vector<Key>& keys, Findings& findings) {
    if (esaControl.enclosureType == KORVO_E_CHASSIS_NONE) {
        findings.push_back({Severity::note, "no-back-end",
                            "without a back-end the values are only reported, none is judged"});
        return;
    }
    for (const Key& key : keys) {
        zeroCheck(key, findings);
    }
    for (const Check check : CHECKS) {
        check(findings);
    }
}

}  // namespace personality
