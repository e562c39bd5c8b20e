// SPDX-License-Identifier: Apache-2.0
// The model's start-up and poll.
#pragma once

#include "tests/story/model_service.h"

struct ModelPolicy : ModelService {
    static constexpr int SENSORS = 8;  // at most
    static constexpr int UNREADABLE = 32767;
    static constexpr int UNREACHED = -2;  // in place of RPM
    // Up from 25, 50 and 75 percent, and down to them.
    static constexpr const char* UP[] = {"fanPwm25To50TemperatureThreshold",
                                         "fanPwm50To75TemperatureThreshold",
                                         "fanPwm75To100TemperatureThreshold"};
    static constexpr const char* DOWN[] = {"fanPwm50To25TemperatureThreshold",
                                           "fanPwm75To50TemperatureThreshold",
                                           "fanPwm100To75TemperatureThreshold"};

    using ModelService::ModelService;

    // Fans, or groups of them, whose load is chosen.
    int policyFans() const { return is(Board::xyratex) ? 2 : std::min(fans(), FANS); }
    int policySensors() const { return std::min(sensors(), SENSORS); }

    // ---- start-up ----

    void start() {
        const auto pair = [this](const char* low, const char* high) {
            return key.at(low) | key.at(high) << 16;
        };
        type = row.selected;
        event(10, 1,
              {{164, fans()},
               {168, sensors()},
               {208, 11},
               {264, pair("fanSpeedDivisor", "overheatTemperatureLimit")},
               {268, pair(UP[0], UP[1])},
               {272, pair(UP[2], DOWN[2])},
               {276, pair(DOWN[1], DOWN[0])},
               {280, pair("fanFaultRpmLimit", "fanPwmLoadMinimum")}});
        startupSend(12, 1, 0, 0);
        type = row.type;
        slots = row.selected == KORVO_E_CHASSIS_NONE ? 16 : row.slots;
        supplies = row.selected == KORVO_E_CHASSIS_NONE ? 3 : row.supplies;
        if (is(Board::none)) {
            event(10, 1, {{208, 8}});
        } else if (bringUp()) {
            event(10, 1, {{208, 2}});
        }
    }

    // The first device that does not answer ends it, of a VSC055 chassis for good.
    bool missing(U32_t bit, U32_t information) {
        connected = connected && !is(Board::vsc055);
        devices |= bit;
        if (isVitesse()) {
            fault(BUS_FAULT, -1);
        }
        busEvent(information, 0, false);
        if (!isVitesse()) {
            fault(BUS_FAULT, -1);
        }
        return false;
    }

    // Only a VSC055 chassis looks for its sensors.
    bool devicesFound() {
        for (int n = 0; n < monitors(); ++n) {
            if (!monitorAnswers(n, false)) {
                return missing(isVitesse() ? 0x001 : 0, row.informationAtStart);
            }
            connected = true;
        }
        alarm = is(Board::vsc055) ? 3 : 0;
        for (int sensor = 0; is(Board::vsc055) && sensor < policySensors(); ++sensor) {
            if (sensor >= sensorsFitted() || !answers(1 + sensor)) {
                return missing(U32_t{2} << sensor, row.informationAtStart);
            }
        }
        return true;
    }

    bool bringUp() {
        if (!devicesFound()) {
            return false;
        }
        slots = row.slots;
        supplies = row.supplies;
        for (const auto& [name, value] : row.ownTuning) {
            key[name] = value;
        }
        for (int fan = 0; fan < policyFans(); ++fan) {
            load(fan, row.loadAtStart);
        }
        for (int n = 0; n < monitors(); ++n) {
            reachMonitor(n);
        }
        supply = isVitesse() ? VOLTAGE | REDUNDANCY : VOLTAGE;
        leds = ledsLit = is(Board::xyratex) ? PSU_OK : 0;
        alarmSet(is(Board::xyratex) ? 0 : 3);
        alarm = is(Board::xyratex) ? 0 : 3;
        if (is(Board::w83792ad)) {  // its LEDs wake lit
            ledsDriven = reach(1);
            ledsLit = ledsDriven ? 0xFFFF : 0;
        }
        return !is(Board::w83792ad) || ledsDriven;
    }

    // ---- supplies ----

    // Conditions as a poll reads them.
    std::vector<U32_t> supplyOrder() const {
        return is(Board::vsc055)     ? std::vector{REDUNDANCY}
               : is(Board::xyratex)  ? std::vector{VOLTAGE, REDUNDANCY}
               : is(Board::w83792ad) ? std::vector{REDUNDANCY, VOLTAGE}
                                     : std::vector{VOLTAGE};
    }

    // 0: good, -1: not, 1: not to be had. The first monitor that is not good ends it.
    int supplyRead(U32_t condition) {
        for (int n = 0; n < monitors(); ++n) {
            if (!reachMonitor(n)) {
                return 1;
            }
            if (!(condition == REDUNDANCY ? redundant : railsGood(n))) {
                return -1;
            }
        }
        return 0;
    }

    // False unless good. An unreachable VSC055 changes nothing in a poll. A page tells the fault
    // manager of the Xyratex chassis nothing, and its event comes when all supplies are read.
    bool supplyCheck(U32_t condition, bool forPage, bool* changed) {
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
        is(Board::xyratex) ? xyratexSupplySay(condition, good, isNew, forPage)
                           : supplySay(condition, good, isNew, forPage);
        if (isNew && !forPage) {
            supplyEvent(good ? 1 : 2);
        }
        *changed |= isNew;
        return good;
    }

    // A page says a lasting voltage fault in the words of redundancy.
    void supplySay(U32_t condition, bool good, bool isNew, bool forPage) {
        const char* now = good ? "OK" : "NOT OK";
        if (!isNew) {
            say("esaSupplyConditionUpdate", "Power {} Status already [{}].",
                condition == VOLTAGE && (good || !forPage) ? "Voltage Tolerance" : "Redundancy",
                now);
        } else if (condition == VOLTAGE && !forPage) {
            say("esaSupplyConditionUpdate",
                "Power Voltage Tolerance Status changed from [{}] to [{}].", good ? "NOT OK" : "OK",
                now);
        }
    }

    // Its LEDs; and it ends a reminder of what is over.
    void xyratexSupplySay(U32_t condition, bool good, bool isNew, bool forPage) {
        const bool lit = condition == VOLTAGE ? good : !good;
        if (!isNew && forPage) {
            say("esaSupplyConditionUpdate", "{} LED already [{}].",
                condition == VOLTAGE ? "PSU OK" : "Power Redundancy Fail", lit ? "ON" : "OFF");
        }
        if (isNew) {
            ledWrite(condition == VOLTAGE ? PSU_OK : REDUNDANCY_FAIL, lit);
        } else if (good && condition == REDUNDANCY && alarmRead() == 2) {
            alarmSet(0);
            if (std::exchange(alarm, 0) != 0) {
                alarmEvent(1);
            }
        }
    }

    // ---- fans ----

    int fanRead(int fan) {
        static constexpr int TACHOMETERS[] = {0, 8, 8, 3, 6, 6};  // by board
        if (fan >= TACHOMETERS[static_cast<int>(row.board)]) {
            return NO_PULSES;
        }
        return reachFan(fan) ? rpm(fan) : UNREACHED;
    }

    bool fanMark(int fan, bool isFailed) {
        const U32_t bit = U32_t{1} << fan;
        const bool isNew = ((failed & bit) != 0) != isFailed;
        say("esaFanFaultMark", "{} {} on Fan [{}].", isNew ? "Now marking" : "Already marked",
            isFailed ? "Fault" : "OK", fan);
        failed = isFailed ? failed | bit : failed & ~bit;
        return isNew;
    }

    // 0: all turn, -1: not all, 1: the VSC055 is gone, and what was found till then is not told.
    int fanSweep() {
        int result = 0;
        bool changed = false;
        for (int fan = 0; fan < std::min(fans(), FANS); ++fan) {
            const int found = fanRead(fan);
            if (found == UNREACHED && isVitesse()) {
                return 1;
            }
            const int speed = std::max(found, 0);
            const bool isFailed = speed < key.at("fanFaultRpmLimit");
            say("esaFanFailStatusRead", "Fan [{}] has speed [{}] RPM.", fan, speed);
            if (isFailed) {
                say("esaFanFailStatusRead", "Return Fans Status [ERROR].");
                result = -1;
            }
            changed |= fanMark(fan, isFailed);
        }
        if (changed) {
            fanEvent();
        }
        return result;
    }

    // ---- loads ----

    // Booked whatever comes of it. A Xyratex output drives four fans.
    void load(int fan, int percent) {
        loads[fan] = percent;
        if (reachFan(fan)) {
            chipLoad(fan, chipDuty(percent));
        }
    }
    void chipLoad(int output, double percent) {
        const int size = is(Board::xyratex) ? 4 : 1;
        std::fill_n(duty + output * size, size, percent);
    }

    // A step at most, with a band between two in which a fan stays, and a floor for the way down.
    // Below zero counts as very hot.
    void ladder(int fan) {
        const int load = loads[fan];
        const auto isHotter = [this](const char* threshold) {
            return static_cast<U32_t>(average) > static_cast<U32_t>(key.at(threshold));
        };
        const auto isCooler = [this](const char* threshold) {
            return static_cast<U32_t>(average) < static_cast<U32_t>(key.at(threshold));
        };
        const int step = load / 25 - 1;
        if (load % 25 != 0 || load == 0) {
            say("ladderStep", "ESA never set this PWM Load [{}] on Fan [{}]?", load, fan);
        } else if (step < 3 && isHotter(UP[step])) {
            ladderMove(fan, load + 25);
        } else if (step > 0 && isCooler(DOWN[step - 1]) &&
                   key.at("fanPwmLoadMinimum") <= load - 25) {
            ladderMove(fan, load - 25);
        }
    }
    void ladderMove(int fan, int percent) {
        load(fan, percent);
        say("ladderMove", "Temperature = [{}], Fan [{}] set to {} percent PWM", average, fan,
            percent);
    }

    // A failed fan sends all to full load, and nothing is averaged.
    void fanPolicy() {
        const bool climbs = failed == 0 && averaged();
        for (int fan = 0; fan < policyFans(); ++fan) {
            if (climbs) {
                ladder(fan);
            } else if (failed != 0 && loads[fan] != 100) {
                say("fansToFullLoad", "At least 1 Fan Fault, FanFaultStatus = [{:#x}]", failed);
                say("fansToFullLoad", "Fan [{}] sets to 100 percent PWM Load", fan);
                load(fan, 100);
            }
        }
    }

    // ---- temperatures ----

    void temperaturesRead() {
        const int count = is(Board::none)      ? 0
                          : is(Board::xyratex) ? 2
                          : is(Board::chenbro) ? 4
                                               : policySensors();
        for (int sensor = 0; sensor < count; ++sensor) {
            const bool isThere = sensor < sensorsFitted() &&
                                 (isVitesse() ? reach(1 + sensor) : reachMonitor(sensor));
            readings[sensor] = isThere ? reading(sensor) : UNREADABLE;
        }
    }

    // In 16 bits, without the unreadable ones; false when there is no other.
    bool averaged() {
        std::int16_t sum = 0;
        int count = 0;
        for (int sensor = 0; sensor < policySensors(); ++sensor) {
            if (readings[sensor] != UNREADABLE) {
                sum = static_cast<std::int16_t>(sum + readings[sensor]);
                ++count;
            }
        }
        average = count == 0 ? average : sum / count;
        say("temperatureAverage",
            count == 0 ? "No readable temperature sensor, temperatureSensorAverage stays [{}]."
                       : "temperatureSensorAverage = [{}] degrees Celsius.",
            average);
        return count != 0;
    }

    // Up to 35, 45, 55 degrees, and above. Each change is told.
    void band(int sensor) {
        static constexpr int OVER[] = {0, 35, 45, 55};
        const int now = readings[sensor];
        const int found = now > 55 ? 3 : now > 45 ? 2 : now > 35 ? 1 : 0;
        if (now == UNREADABLE || (found == 0 && bands[sensor] == 0)) {
            return;
        }
        if (found == 0) {
            say("coolReport", "temperatureReportStatus[{}] reset all Temperature Events.", sensor);
        } else {
            say("bandReport", "temperatureReportStatus[{}] {} over {} degrees Event.", sensor,
                found == bands[sensor] ? "already reported" : "reporting", OVER[found]);
        }
        if (found != bands[sensor]) {
            event(8, found > 1 ? 2 : 1,
                  {{168, sensors()}, {192, found + 1}, {196, sensor}, {200, now * 0x10000}});
        }
        bands[sensor] = found;
    }

    // Asked for anew each time, and said as 60 whatever the limit.
    void overheat() {
        const auto limit = static_cast<U32_t>(key.at("overheatTemperatureLimit"));
        if (static_cast<U32_t>(average) <= limit) {
            fault(OVERHEAT, 0);
            return;
        }
        say("esaTemperatureOverheatCheck", "Temperature average over 60 degrees!");
        fault(OVERHEAT, -1);
        event(10, 3, {{208, 1}});
        startupSend(13, 1, 0, 1);
    }

    // ---- poll ----

    void fansPoll() {
        const int code = fanSweep();
        if (code != 1) {
            fault(FAN_FAULT, code);
        }
        if (code != 1 && is(Board::xyratex)) {
            fanLed(code != 0);
        }
    }

    void poll() {
        if (!connected) {
            return;
        }
        bool changed = false;
        for (const U32_t condition : supplyOrder()) {
            supplyCheck(condition, false, &changed);
        }
        fansPoll();
        temperaturesRead();
        fanPolicy();
        for (int sensor = 0; sensor < policySensors(); ++sensor) {
            band(sensor);
        }
        overheat();
        if (is(Board::xyratex)) {
            alarmPoll();
        }
    }

    std::string state() const {
        return enclosureState() +
               fmt::format(
                   "faults {:#x}, devices {:#x}, fans {:#x}, supplies {}, alarm {}, average "
                   "{}, loads {}, bands {}\n",
                   faults, devices, failed, supply, alarm, average, fmt::join(loads, " "),
                   fmt::join(bands, " "));
    }

    int loads[FANS] = {};
    int readings[SENSORS] = {}, bands[SENSORS] = {};
    int average = 0;
};
