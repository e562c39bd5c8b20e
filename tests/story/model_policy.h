// SPDX-License-Identifier: Apache-2.0
// The model's start-up and poll.
#pragma once

#include "tests/story/model_service.h"

struct ModelPolicy : ModelService {
    static constexpr int NO_PULSES = -1, UNREACHED = -2;  // in place of RPM
    static constexpr int UNREADABLE = 32767;

    using ModelService::ModelService;

    // Fans, or groups of them, whose load is chosen.
    int policyFans() const {
        return is(Board::xyratex) ? 2 : std::min(key.coolingMaxNumber, ARRAY);
    }
    int policySensors() const { return std::min(key.temperatureSensorMaxNumber, ARRAY); }

    // ---- start-up ----

    void start() {
        if (is(Board::none)) {
            const bool isKnown = row.type == KORVO_E_CHASSIS_NONE;
            informationEvent(isKnown ? 1 : 2, isKnown ? 8 : 2, 0, isKnown ? 0 : -1);
            return;
        }
        slots = row.slots;
        supplies = row.supplies;
        row.bringUp(&key);
        for (int fan = 0; fan < policyFans(); ++fan) {
            load(fan, row.loadAtStart);
        }
        supply = isVitesse() ? VOLTAGE | REDUNDANCY : VOLTAGE;
        leds = is(Board::xyratex) ? PSU_OK : 0;
        seen.lit = is(Board::w83792ad) ? 0xFFFF : leds;  // an expander wakes with its LEDs lit
        alarm = is(Board::xyratex) ? 0 : 3;
        alarmSet(alarm);
        informationEvent(1, 2);
    }

    // ---- supplies ----

    // 0: good, -1: not, 1: not to be had. The first monitor that is not good ends it.
    int supplyRead(U32_t condition) {
        for (int n = 0; n < monitors(); ++n) {
            if (!reach(n)) {
                return 1;
            }
            if (!(condition == REDUNDANCY ? chassis.redundancy() : railsGood(n))) {
                return -1;
            }
        }
        return 0;
    }

    // False unless good. An unreachable VSC055 changes nothing in a poll. A page tells the fault
    // manager of the Xyratex chassis nothing, and its event comes when all supplies are read.
    bool supplyCheck(U32_t condition, bool forPage) {
        const int code = supplyRead(condition);
        const bool good = code == 0;
        if (code == 1 && isVitesse() && !forPage) {
            return false;
        }
        if (!forPage || !is(Board::xyratex)) {
            fault(condition, good ? 0 : -1);
        }
        const bool isNew = ((supply & condition) != 0) != good;
        supply = good ? supply | condition : supply & ~condition;
        is(Board::xyratex) ? supplyShow(condition, good, isNew, forPage)
                           : supplySay(condition, good, isNew, forPage);
        if (isNew && !forPage) {
            supplyEvent(good ? 1 : 2);
        }
        changed |= isNew && forPage;
        return good;
    }

    // A page says a lasting voltage fault in the words of redundancy.
    void supplySay(U32_t condition, bool good, bool isNew, bool forPage) {
        const bool isVoltage = condition == VOLTAGE;
        if (!isNew) {
            say("Power {} Status already [{}].",
                isVoltage && (good || !forPage) ? "Voltage Tolerance" : "Redundancy",
                good ? "OK" : "NOT OK");
        } else if (isVoltage && !forPage) {
            say("Power Voltage Tolerance Status changed from [{}] to [{}].", good ? "NOT OK" : "OK",
                good ? "OK" : "NOT OK");
        }
    }

    // The LEDs of a Xyratex chassis; and it ends a reminder of what is over.
    void supplyShow(U32_t condition, bool good, bool isNew, bool forPage) {
        const bool on = (condition == VOLTAGE) == good;
        if (isNew) {
            ledWrite(condition == VOLTAGE ? PSU_OK : REDUNDANCY_FAIL, on);
        } else if (forPage) {
            say("{} LED already [{}].", condition == VOLTAGE ? "PSU OK" : "Power Redundancy Fail",
                on ? "ON" : "OFF");
        }
        if (!isNew && good && condition == REDUNDANCY && alarmRead() == 2) {
            alarmSet(0);
            alarmFollow(0);
        }
    }

    // ---- fans ----

    // RPM as it reads, by whole counts of the tachometer.
    int fanRead(int fan) {
        if (fan >= row.tachometers) {
            return NO_PULSES;
        }
        if (!reachFan(fan)) {
            return UNREACHED;
        }
        const double real = fan < chassis.fans() ? chassis.fanRpm(fan) : 0;
        if (real == 0) {
            return isVitesse() ? NO_PULSES : 0;
        }
        const int clock = isVitesse() ? 1200000 : 1350000;
        const auto count = std::lround(clock / (real * row.fanSpeedDivisor));
        return clock / (std::clamp(static_cast<int>(count), 1, 254) * row.fanSpeedDivisor);
    }

    bool fanMark(int fan, bool isFailed) {
        const U32_t bit = U32_t{1} << fan;
        const bool isNew = ((failed & bit) != 0) != isFailed;
        say("{} {} on Fan [{}].", isNew ? "Now marking" : "Already marked",
            isFailed ? "Fault" : "OK", fan);
        failed = isFailed ? failed | bit : failed & ~bit;
        return isNew;
    }

    // 0: all turn, -1: not all, 1: the VSC055 is gone, and what was found till then is not told.
    int fanSweep() {
        int result = 0;
        for (int fan = 0; fan < std::min(key.coolingMaxNumber, ARRAY); ++fan) {
            const int found = fanRead(fan);
            if (found == UNREACHED && isVitesse()) {
                changed = false;
                return 1;
            }
            const int speed = std::max(found, 0);
            const bool isFailed = speed < key.fanFaultRpmLimit;
            say("Fan [{}] has speed [{}] RPM.", fan, speed);
            if (isFailed) {
                say("Return Fans Status [ERROR].");
                result = -1;
            }
            changed |= fanMark(fan, isFailed);
        }
        if (std::exchange(changed, false)) {
            fanEvent();
        }
        return result;
    }

    // ---- loads ----

    // What the chip makes of a load, percent.
    double chipDuty(int percent) const {
        return isVitesse()           ? percent
               : is(Board::w83792ad) ? std::min(percent * 16 / 100, 15) * 100 / 16.0
                                     : std::min(percent * 256 / 100, 255) * 100 / 255.0;
    }

    // A Xyratex output drives four fans.
    void chipLoad(int output, double percent) {
        const int size = is(Board::xyratex) ? 4 : 1;
        for (int fan = output * size; fan < std::min(output * size + size, chassis.fans()); ++fan) {
            seen.duties[fan] = powered ? percent : 0;
        }
    }

    // Booked whatever comes of it.
    void load(int fan, int percent) {
        loads[fan] = percent;
        if (reachFan(fan)) {
            chipLoad(fan, chipDuty(percent));
        }
    }

    // A step at most, with a band between two in which a fan stays, and a floor for the way down.
    // Below zero counts as very hot.
    void ladder(int fan) {
        const int up[] = {key.fanPwm25To50TemperatureThreshold,
                          key.fanPwm50To75TemperatureThreshold,
                          key.fanPwm75To100TemperatureThreshold, UNREADABLE};
        const int down[] = {0, key.fanPwm50To25TemperatureThreshold,
                            key.fanPwm75To50TemperatureThreshold,
                            key.fanPwm100To75TemperatureThreshold};
        const int now = loads[fan], step = now / 25 - 1;
        const int degrees = average < 0 ? UNREADABLE - 1 : average;
        if (now == 0) {
            say("ESA never set this PWM Load [{}] on Fan [{}]?", now, fan);
            return;
        }
        const bool falls = degrees < down[step] && key.fanPwmLoadMinimum <= now - 25;
        if (degrees > up[step] || falls) {
            const int next = degrees > up[step] ? now + 25 : now - 25;
            load(fan, next);
            say("Temperature = [{}], Fan [{}] set to {} percent PWM", average, fan, next);
        }
    }

    // A failed fan sends all to full load, and nothing is averaged.
    void fanPolicy() {
        const bool climbs = failed == 0 && averaged();
        for (int fan = 0; fan < policyFans(); ++fan) {
            if (climbs) {
                ladder(fan);
            } else if (failed != 0 && loads[fan] != 100) {
                say("At least 1 Fan Fault, FanFaultStatus = [{:#x}]", failed);
                say("Fan [{}] sets to 100 percent PWM Load", fan);
                load(fan, 100);
            }
        }
    }

    // ---- temperatures ----

    // Half degrees are lost; of an LM75 the sign makes up for the half.
    int reading(int sensor) const {
        const double real = chassis.temperature(sensor);
        const bool isDiode = is(Board::w83792ad) && sensor > 0;
        return static_cast<int>(isVitesse()           ? std::floor(real) + (real < 0)
                                : isDiode             ? real
                                : is(Board::w83792ad) ? std::max(std::round(real), 0.0)
                                                      : std::round(real));
    }
    void temperaturesRead() {
        const int count = row.sensors != 0 ? row.sensors : policySensors();
        for (int sensor = 0; !is(Board::none) && sensor < count; ++sensor) {
            const bool isThere = sensor < chassis.sensors() && reachSensor(sensor);
            readings[sensor] = isThere ? reading(sensor) : UNREADABLE;
        }
    }

    // Without the unreadable ones; false when there is no other.
    bool averaged() {
        int sum = 0, count = 0;
        for (int sensor = 0; sensor < policySensors(); ++sensor) {
            sum += readings[sensor] != UNREADABLE ? readings[sensor] : 0;
            count += readings[sensor] != UNREADABLE ? 1 : 0;
        }
        average = count == 0 ? average : sum / count;
        say(count == 0 ? "No readable temperature sensor, temperatureSensorAverage stays [{}]."
                       : "temperatureSensorAverage = [{}] degrees Celsius.",
            average);
        return count != 0;
    }

    // Up to 35, 45, 55 degrees, and above. Each change is told.
    void band(int sensor) {
        static constexpr int OVER[] = {0, 35, 45, 55};
        const int now = readings[sensor], before = bands[sensor];
        const int found = now > 55 ? 3 : now > 45 ? 2 : now > 35 ? 1 : 0;
        if (now == UNREADABLE || (found == 0 && before == 0)) {
            return;
        }
        say(found == 0 ? "temperatureReportStatus[{}] reset all Temperature Events."
                       : "temperatureReportStatus[{}] {} over {} degrees Event.",
            sensor, found == before ? "already reported" : "reporting", OVER[found]);
        if (found != before) {
            event(8, found > 1 ? 2 : 1,
                  {{&Data::numberOfTemperatureSensor, key.temperatureSensorMaxNumber},
                   {&Data::temperatureStatus, found + 1},
                   {&Data::temperatureSensorPosition, sensor}})
                .temperature = static_cast<S16_t>(now);
        }
        bands[sensor] = found;
    }

    // Asked for anew each time, and said as 60 whatever the limit.
    void overheat() {
        if (average >= 0 && average <= key.overheatTemperatureLimit) {
            fault(OVERHEAT, 0);
            return;
        }
        say("Temperature average over 60 degrees!");
        fault(OVERHEAT, -1);
        informationEvent(3, 1);
        startupSend(13, 1, 0, 1);
    }

    // ---- poll ----

    void poll() {
        if (is(Board::none)) {
            return;
        }
        for (const U32_t condition : row.conditions) {
            supplyCheck(condition, false);
        }
        if (const int code = fanSweep(); code != 1) {
            fault(FAN_FAULT, code);
            if (is(Board::xyratex)) {
                fanLed(code != 0);
            }
        }
        temperaturesRead();
        fanPolicy();
        for (int sensor = 0; sensor < policySensors(); ++sensor) {
            band(sensor);
        }
        overheat();
        if (is(Board::xyratex)) {
            alarmFollow(alarmRead());
        }
    }

    bool powered = true;  // the fans
    int loads[ARRAY] = {}, readings[ARRAY] = {}, bands[ARRAY] = {};
    int average = 0;
    bool changed = false;  // what an event will tell
};
