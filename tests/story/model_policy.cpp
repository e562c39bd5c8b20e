// SPDX-License-Identifier: Apache-2.0
// Start-up and poll.
#include <algorithm>
#include <cmath>

#include "tests/story/model_say.h"

namespace {

constexpr const char* FANS_KEY = "coolingMaxNumber";
constexpr const char* SENSORS_KEY = "temperatureSensorMaxNumber";
constexpr const char* LIMIT = "overheatTemperatureLimit";
constexpr const char* RPM_LIMIT = "fanFaultRpmLimit";
// From 25, 50 and 75 percent up, and down to them.
constexpr const char* UP[] = {"fanPwm25To50TemperatureThreshold",
                              "fanPwm50To75TemperatureThreshold",
                              "fanPwm75To100TemperatureThreshold"};
constexpr const char* DOWN[] = {"fanPwm50To25TemperatureThreshold",
                                "fanPwm75To50TemperatureThreshold",
                                "fanPwm100To75TemperatureThreshold"};

}  // namespace

// ---- start-up ----

void Model::start() {
    const auto pair = [this](const char* low, const char* high) {
        return static_cast<U32_t>(key(low) | key(high) << 16);
    };
    type_ = row_.selected;
    event(10, 1,
          {{164, static_cast<U32_t>(fans())},
           {168, static_cast<U32_t>(sensors())},
           {208, 11},
           {264, pair("fanSpeedDivisor", LIMIT)},
           {268, pair(UP[0], UP[1])},
           {272, pair(UP[2], DOWN[2])},
           {276, pair(DOWN[1], DOWN[0])},
           {280, pair(RPM_LIMIT, "fanPwmLoadMinimum")}});
    startupSend(12, 1, 0, 0);
    type_ = row_.type;
    supplies_ = row_.selected == KORVO_E_CHASSIS_NONE ? 3 : row_.supplies;
    slots_ = row_.selected == KORVO_E_CHASSIS_NONE ? 16 : row_.slots;
    if (is(Board::none)) {
        event(10, 1, {{208, 8}});
    } else if (bringUp()) {
        event(10, 1, {{208, 2}});
    }
}

// A device that is asked for before any transfer.
bool Model::probe(bool answers, U32_t information, U32_t bit) {
    if (answers) {
        connected_ = true;
        return true;
    }
    devices_ |= bit;
    if (bit == 0) {
        busEvent(information, 0, false);
        fault(0x10, -1);
    } else {
        fault(0x10, -1);
        busEvent(information, 0, false);
    }
    return false;
}

// False when it ends early.
bool Model::bringUp() {
    switch (row_.board) {
        case Board::vsc055:
            return vsc055Up();
        case Board::xyratex:
            return xyratexUp();
        case Board::w83792ad:
            return w83792adUp();
        case Board::w83782d:
            return w83782dUp();
        default:
            return chenbroUp();
    }
}

void Model::fansUp() {
    for (int fan = 0; fan < policyFans(); ++fan) {
        load(fan, row_.loadAtStart);
    }
}

bool Model::vsc055Up() {
    if (!probe(answers(0), 2, 0x001)) {
        return false;
    }
    alarm_ = 3;
    for (int sensor = 0; sensor < sensorsRead(); ++sensor) {
        const bool answers =
            sensor < static_cast<int>(degrees_.size()) && this->answers(1 + sensor);
        if (!probe(answers, 2, U32_t{2} << sensor)) {
            connected_ = false;
            return false;
        }
    }
    fansUp();
    supply_ |= 3;
    return true;
}

bool Model::xyratexUp() {
    if (!probe(answers(0), 3, 0x001)) {
        return false;
    }
    fansUp();
    ledsBooked_ = ledsLit_ = PSU_OK;
    supply_ |= 3;
    hardAlarm(0);
    return true;
}

bool Model::w83792adUp() {
    if (!probe(answers(0), 6, 0)) {
        return false;
    }
    supply_ |= 1;
    fansUp();
    alarm_ = 3;
    if (!reach(1)) {
        return false;
    }
    ledsDriven_ = true;
    ledsLit_ = 0xFFFF;
    return true;
}

bool Model::w83782dUp() {
    if (!probe(answers(0), 5, 0)) {
        return false;
    }
    slots_ = 16;
    supplies_ = 2;
    tuning_[FANS_KEY] = 3;
    tuning_[SENSORS_KEY] = 3;
    tuning_[LIMIT] = 60;
    tuning_[RPM_LIMIT] = 500;
    static constexpr int UPWARD[] = {35, 38, 40}, DOWNWARD[] = {32, 34, 35};
    for (int step = 0; step < 3; ++step) {
        tuning_[UP[step]] = UPWARD[step];
        tuning_[DOWN[step]] = DOWNWARD[step];
    }
    fansUp();
    supply_ |= 1;
    alarmSet(3);
    alarm_ = 3;
    return true;
}

bool Model::chenbroUp() {
    for (int n = 0; n < 4; ++n) {
        if (!probe(monitorAnswers(false, n), 5, 0)) {
            return false;
        }
    }
    tuning_[FANS_KEY] = 6;
    tuning_[SENSORS_KEY] = 4;
    tuning_[RPM_LIMIT] = 500;
    fansUp();
    supply_ |= 1;
    for (int n = 0; n < 4; ++n) {
        reachMonitor(n);
    }
    alarmSet(3);
    alarm_ = 3;
    return true;
}

// ---- supplies ----

// 0: good, -1: not, 1: nobody answers.
int Model::supplyRead(U32_t bit) {
    for (int n = 0; n < (is(Board::chenbro) ? 4 : 1); ++n) {
        if (!reachMonitor(n)) {
            return 1;
        }
        const bool measured = !is(Board::w83792ad);  // the others of its bits count only
        if (!(bit == REDUNDANCY ? redundant_ : measured && railsGood(monitorAt(n)))) {
            return -1;
        }
    }
    return 0;
}

void Model::supplySay(U32_t bit, bool good, bool changed, bool page) {
    const auto said = [this](const char* text, const char* state) {
        say("esaSupplyConditionUpdate", text, state);
    };
    const char* state = good ? "OK" : "NOT OK";
    if (is(Board::xyratex)) {
        if (page && !changed) {
            said(bit == VOLTAGE ? "PSU OK LED already [{}]."
                                : "Power Redundancy Fail LED already [{}].",
                 (bit == VOLTAGE) == good ? "ON" : "OFF");
        }
    } else if (changed && bit == VOLTAGE && !page) {
        said(good ? "Power Voltage Tolerance Status changed from [NOT OK] to [{}]."
                  : "Power Voltage Tolerance Status changed from [OK] to [{}].",
             state);
    } else if (!changed) {
        // A page says a lasting voltage fault in the words of redundancy.
        said(bit == VOLTAGE && (good || !page) ? "Power Voltage Tolerance Status already [{}]."
                                               : "Power Redundancy Status already [{}].",
             state);
    }
}

// The LEDs of the Xyratex chassis, and the end of a reminder of what is over.
void Model::supplyShow(U32_t bit, bool good, bool changed) {
    if (changed) {
        ledWrite(bit == VOLTAGE ? PSU_OK : REDUNDANCY_FAIL, good == (bit == VOLTAGE));
    } else if (good && bit == REDUNDANCY && alarmRead() == 2) {
        alarmSet(0);
        if (alarm_ != 0) {
            alarm_ = 0;
            alarmEvent(1);
        }
    }
}

// A page tells the fault manager of the Xyratex chassis nothing. Whether it changed, by `changed`.
bool Model::supplyCheck(U32_t bit, bool page, bool* changed) {
    const int code = supplyRead(bit);
    *changed = false;
    if (code == 1 && isVitesse() && !page) {
        return false;
    }
    const bool good = code == 0;
    if (!page || !is(Board::xyratex)) {
        fault(bit, good ? 0 : -1);
    }
    *changed = ((supply_ & bit) != 0) != good;
    supplySay(bit, good, *changed, page);
    supply_ = good ? supply_ | bit : supply_ & ~bit;
    if (is(Board::xyratex)) {
        supplyShow(bit, good, *changed);
    }
    if (*changed && !page) {
        supplyEvent(good ? 1 : 2);
    }
    return good;
}

// ---- fans ----

// RPM as read.
int Model::fanSpeed(int fan) {
    static constexpr int CHANNELS[] = {0, 8, 8, 3, 6, 6};  // tachometers, by board
    const bool has = fan < CHANNELS[static_cast<int>(row_.board)];
    if (!has || !reachFan(fan)) {
        return has ? UNREACHED : NO_PULSES;
    }
    const int place = fanPlace(fan);
    const double duty = place < fitted_ && !pulled_.contains(place) && powered_ ? duty_[place] : 0;
    if (duty == 0) {
        return isVitesse() ? NO_PULSES : 0;
    }
    const int divisor = row_.fanSpeedDivisor;
    const double periods = row_.clock / (row_.fullRpm * duty / 100 * divisor);
    const int counted = std::clamp(static_cast<int>(std::lround(periods)), 1, 254);
    return row_.clock / (counted * divisor);
}

bool Model::fanMark(int fan, bool failed) {
    const U32_t bit = U32_t{1} << fan;
    const bool changed = ((failedFans_ & bit) != 0) != failed;
    say("esaFanFaultMark",
        changed ? "Now marking {} on Fan [{}]." : "Already marked {} on Fan [{}].",
        failed ? "Fault" : "OK", fan);
    failedFans_ = failed ? failedFans_ | bit : failedFans_ & ~bit;
    return changed;
}

// 0: all turn, -1: one has failed, 1: the controller is gone, and what was found is not told.
int Model::fanSweep() {
    int result = 0;
    bool changed = false;
    for (int fan = 0; fan < std::min(fans(), FANS); ++fan) {
        const int speed = fanSpeed(fan);
        if (speed == UNREACHED && isVitesse()) {
            return 1;
        }
        const int rpm = std::max(speed, 0);
        say("esaFanFailStatusRead", "Fan [{}] has speed [{}] RPM.", fan, rpm);
        const bool failed = rpm < key(RPM_LIMIT);
        if (failed) {
            say("esaFanFailStatusRead", "Return Fans Status [ERROR].");
            result = -1;
        }
        changed |= fanMark(fan, failed);
    }
    if (changed) {
        fanEvent();
    }
    return result;
}

void Model::fanLed(bool failed) {
    const char* state = failed ? "ON" : "OFF";
    if (((ledsBooked_ & FAN_FAIL) != 0) == failed) {
        say("fanFailLedFollow", "FAN Fail LED already [{}].", state);
        return;
    }
    ledWrite(FAN_FAIL, failed);
    say("fanFailLedFollow", "Turn [{}] FAN Fail LED.", state);
}

// ---- temperatures ----

int Model::sensorsRead() const {
    const int counted = std::min(sensors(), SENSORS);
    return is(Board::none) ? 0 : is(Board::xyratex) ? 2 : is(Board::chenbro) ? 4 : counted;
}

// Degrees as the chip gives them and the service takes them.
int Model::temperature(int sensor) {
    const int place = is(Board::chenbro) ? monitorAt(sensor) : sensor;
    const bool isFitted = place >= 0 && place < static_cast<int>(degrees_.size());
    const double degrees = isFitted ? degrees_[static_cast<std::size_t>(place)] : 0;
    if (isVitesse()) {
        // Without the half degree; below zero its sign makes up for it.
        const int whole = static_cast<int>(std::floor(degrees));
        return reach(1 + sensor) ? whole + (whole < 0) : UNREADABLE;
    }
    if ((!isFitted && !is(Board::chenbro)) || !reachMonitor(sensor)) {
        return UNREADABLE;
    }
    const int rounded = static_cast<int>(std::round(degrees));
    if (is(Board::w83792ad)) {
        return sensor == 0 ? std::max(rounded, 0) : static_cast<int>(degrees);
    }
    return rounded;
}

void Model::temperaturesRead() {
    for (int sensor = 0; sensor < sensorsRead(); ++sensor) {
        reading_[sensor] = temperature(sensor);
    }
}

// False: no sensor is readable, and the old one stands.
bool Model::average() {
    int sum = 0;
    int readable = 0;
    for (int sensor = 0; sensor < std::min(sensors(), SENSORS); ++sensor) {
        if (reading_[sensor] != UNREADABLE) {
            sum += reading_[sensor];
            ++readable;
        }
    }
    if (readable == 0) {
        say("temperatureAverage",
            "No readable temperature sensor, temperatureSensorAverage stays [{}].", average_);
        return false;
    }
    average_ = static_cast<std::int16_t>(sum) / readable;
    say("temperatureAverage", "temperatureSensorAverage = [{}] degrees Celsius.", average_);
    return true;
}

// Booked whether the chip takes it or not.
void Model::load(int fan, int percent) {
    if (reachFan(fan)) {
        chipLoad(fan, chipDuty(percent));
    }
    load_[fan] = percent;
}

// A step at most; between two neighbours a band in which a fan stays, and a floor for the way down.
// Below zero counts as very hot.
void Model::ladder(int fan) {
    const int step = load_[fan] / 25 - 1;
    const auto degrees = static_cast<U32_t>(average_);
    int next = step;
    if (load_[fan] % 25 != 0 || step < 0 || step > 3) {
        say("ladderStep", "ESA never set this PWM Load [{}] on Fan [{}]?", load_[fan], fan);
        return;
    }
    if (step < 3 && degrees > static_cast<U32_t>(key(UP[step]))) {
        next = step + 1;
    } else if (step > 0 && degrees < static_cast<U32_t>(key(DOWN[step - 1])) &&
               key("fanPwmLoadMinimum") <= 25 * step) {
        next = step - 1;
    }
    if (next != step) {
        load(fan, 25 * (next + 1));
        say("ladderMove", "Temperature = [{}], Fan [{}] set to {} percent PWM", average_, fan,
            25 * (next + 1));
    }
}

void Model::fanPolicy() {
    if (failedFans_ == 0) {
        const bool known = average();
        for (int fan = 0; known && fan < policyFans(); ++fan) {
            ladder(fan);
        }
        return;
    }
    for (int fan = 0; fan < policyFans(); ++fan) {
        if (load_[fan] != 100) {
            say("fansToFullLoad", "At least 1 Fan Fault, FanFaultStatus = [{:#x}]", failedFans_);
            say("fansToFullLoad", "Fan [{}] sets to 100 percent PWM Load", fan);
            load(fan, 100);
        }
    }
}

// Bands 0 to 3: up to 35, 45, 55 degrees and above.
void Model::band(int sensor) {
    static constexpr int OVER[] = {0, 35, 45, 55};
    const int degrees = reading_[sensor];
    const int now = degrees > 55 ? 3 : degrees > 45 ? 2 : degrees > 35 ? 1 : 0;
    int& reported = reported_[sensor];
    if (degrees == UNREADABLE || (now == 0 && reported == 0)) {
        return;
    }
    if (now == 0) {
        say("coolReport", "temperatureReportStatus[{}] reset all Temperature Events.", sensor);
    } else {
        say("bandReport",
            now == reported ? "temperatureReportStatus[{}] already reported over {} degrees Event."
                            : "temperatureReportStatus[{}] reporting over {} degrees Event.",
            sensor, OVER[now]);
    }
    if (now != reported) {
        event(8, now > 1 ? 2 : 1,
              {{168, static_cast<U32_t>(sensors())},
               {192, static_cast<U32_t>(now + 1)},
               {196, static_cast<U32_t>(sensor)},
               {200, static_cast<U32_t>(degrees) << 16}});
    }
    reported = now;
}

void Model::overheat() {
    if (static_cast<U32_t>(average_) <= static_cast<U32_t>(key(LIMIT))) {
        fault(0x8, 0);
        return;
    }
    say("esaTemperatureOverheatCheck", "Temperature average over 60 degrees!");
    fault(0x8, -1);
    event(10, 3, {{208, 1}});
    startupSend(13, 1, 0, 1);
}

// ---- alarm, LEDs ----

void Model::alarmSet(int state) {
    if (is(Board::xyratex)) {
        if (reach(0)) {
            hardAlarm(state);
        }
    } else if (is(Board::w83782d) || is(Board::chenbro)) {
        for (int n = 0; n < static_cast<int>(degrees_.size()) && (state == 1 || state == 3); ++n) {
            if (reachMonitor(n)) {
                state == 3 ? void(quiet_.insert(monitorAt(n))) : void(quiet_.erase(monitorAt(n)));
            }
        }
    }
}

int Model::alarmRead() {
    return reach(0) ? hardAlarm_ : 7;
}

void Model::alarmFollow() {
    const auto state = static_cast<U32_t>(alarmRead());
    if (state != alarm_) {
        alarm_ = state;
        alarmEvent(state == 1 || state == 4 ? 2 : 1);
    }
}

// A LED goes to the chip with the others of its port: drives 0 to 7, and all else.
void Model::ledWrite(U32_t bit, bool lit) {
    static constexpr U32_t LOW = 0xFF;
    const U32_t port = (bit & LOW) != 0 ? LOW : ~LOW;
    const int device = isVitesse() ? 0 : is(Board::w83792ad) ? 1 : -1;
    ledsBooked_ = lit ? ledsBooked_ | bit : ledsBooked_ & ~bit;
    if (device >= 0 && reach(device) && (ledsDriven_ || device == 0)) {
        ledsLit_ = (ledsLit_ & ~port) | (ledsBooked_ & port);
    }
}

// ---- poll ----

void Model::poll() {
    if (!connected_) {
        return;
    }
    bool changed = false;
    for (const U32_t bit : supplyOrder()) {
        supplyCheck(bit, false, &changed);
    }
    const int swept = fanSweep();
    if (swept != 1) {
        fault(0x4, swept);
    }
    if (swept != 1 && is(Board::xyratex)) {
        fanLed(swept != 0);
    }
    temperaturesRead();
    fanPolicy();
    for (int sensor = 0; sensor < std::min(sensors(), SENSORS); ++sensor) {
        band(sensor);
    }
    overheat();
    if (is(Board::xyratex)) {
        alarmFollow();
    }
}

// As a poll reads them.
std::vector<U32_t> Model::supplyOrder() const {
    switch (row_.board) {
        case Board::vsc055:
            return {REDUNDANCY};
        case Board::xyratex:
            return {VOLTAGE, REDUNDANCY};
        case Board::w83792ad:
            return {REDUNDANCY, VOLTAGE};
        default:
            return {VOLTAGE};
    }
}
