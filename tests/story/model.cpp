// SPDX-License-Identifier: Apache-2.0
// The enclosure, its bus and what is sent.
#include "tests/story/model.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>

#include "tests/story/model_say.h"

namespace {

constexpr std::size_t HEADER = 64;
constexpr std::size_t EVENT = 360;
constexpr int SHARED = 4;  // the Chenbro device at 0x2A

void bytesSet(Bytes* bytes, std::size_t at, U32_t value, int size) {
    for (int n = 0; n < size; ++n) {
        bytes->at(at + static_cast<std::size_t>(n)) =
            static_cast<U8_t>(value >> 8 * (size - 1 - n));
    }
}

Bytes header(U8_t protocol, U32_t type, U8_t recipient, std::size_t size) {
    Bytes bytes(size);
    bytes[8] = 14;
    bytes[9] = 1;
    bytesSet(&bytes, 10, static_cast<U32_t>(size), 2);
    bytesSet(&bytes, 12, U32_t{protocol} << 24 | type, 4);
    bytes[16] = 33;
    bytesSet(&bytes, 20, U32_t{1} << recipient, 4);
    return bytes;
}

}  // namespace

// ---- messages ----

void Model::startupSend(U8_t protocol, U32_t type, U32_t use1, U32_t use2) {
    messages.push_back(header(protocol, type, 18, HEADER));
    bytesSet(&messages.back(), 44, use1, 4);
    bytesSet(&messages.back(), 48, use2, 4);
}

void Model::event(U32_t id, U32_t type, const Fields& fields) {
    Bytes bytes = header(8, 1, 27, EVENT);
    bytesSet(&bytes, HEADER + 147, type << 8 | 3, 2);
    bytesSet(&bytes, HEADER + 149, 1, 1);
    bytesSet(&bytes, HEADER + 150, id, 2);
    bytesSet(&bytes, HEADER + 152, type_, 1);
    for (const auto& [at, value] : fields) {
        bytesSet(&bytes, HEADER + at, value, 4);
    }
    messages.push_back(bytes);
}

// `page` with its last byte, which is not counted.
void Model::reply(U32_t command, const Bytes& page) {
    Bytes bytes = header(18, command, 26, HEADER);
    bytes[17] = 0x40;
    bytes[18] = 26;
    bytes.push_back(0);  // GOOD
    bytes.insert(bytes.end(), page.begin(), page.end());
    bytesSet(&bytes, 10, static_cast<U32_t>(bytes.size() - 1), 2);
    messages.push_back(bytes);
}

void Model::supplyEvent(U32_t type) {
    event(6, type, {{160, static_cast<U32_t>(supplies_)}, {184, supply_}});
}

void Model::fanEvent() {
    event(7, 2, {{164, static_cast<U32_t>(fans())}, {188, failedFans_}});
}

void Model::alarmEvent(U32_t type) {
    event(9, type, {{172, 1}, {204, alarm_}});
}

void Model::busEvent(U32_t information, U32_t sensor, bool answers) {
    event(10, 2, {{196, sensor}, {208, information}, {264, answers ? 0 : 0xFFFFFFFF}});
}

// ---- the enclosure ----

Model::Model(const StoryRow& row, std::map<std::string, int> tuning)
    : row_(row), tuning_(std::move(tuning)) {
    const auto chassis = row.chassis();
    fitted_ = chassis->fans();
    degrees_.assign(static_cast<std::size_t>(chassis->sensors()), 30);
    for (const enclab::ChassisRail& rail : chassis->rails()) {
        rails_[rail.name] = rail.volts;
    }
    std::fill_n(duty_, FANS, row.loadAtPowerOn);
}

void Model::run(const std::string& command) {
    const Words words(command);
    if (words[0] == "start") {
        start();
    } else if (words[0] == "page") {
        page();
    } else if (words[0] == "put") {
        put(words);
    } else if (words[0] == "poll") {
        for (int n = std::max(words.number(1), 1); n > 0; --n) {
            poll();
        }
    } else {
        touch(words[0], words);
        supplyTouched();
    }
}

template <typename Value>
static void memberSet(std::set<Value>* all, const Value& value, bool isMember) {
    isMember ? void(all->insert(value)) : void(all->erase(value));
}

void Model::touch(const std::string& verb, const Words& words) {
    const auto isMeant = [&](const std::string& name) {
        return words[1] == "all" || words[1] == name || words[1] == name.substr(0, name.find('@'));
    };
    for (std::size_t n = 0; verb == "temp" && n < degrees_.size(); ++n) {
        degrees_[n] = isMeant(std::to_string(n)) ? std::stod(words[2]) : degrees_[n];
    }
    for (auto& [name, volts] : rails_) {
        volts = verb == "rail" && isMeant(name) ? std::stod(words[2]) : volts;
    }
    for (const StoryDevice& device : row_.devices) {
        if ((verb == "cut" || verb == "mend") && isMeant(device.name)) {
            memberSet(&cut_, std::string(device.name), verb == "cut");
        }
    }
    if (verb == "fan") {
        memberSet(&pulled_, words.number(1), words[2] == "pull");
    } else if (verb == "drive") {
        memberSet(&absent_, words.number(1), words[2] == "out");
    } else if (verb == "psu") {
        redundant_ = words[1] == "good";
    } else if (verb == "wait") {
        wait(words.number(1));
    } else if (verb == "tune") {
        tuning_.at(words[1]) = words.number(2);
    }
}

// The Xyratex supplies judge both rails by themselves; elsewhere +5 and +12 are measured.
bool Model::railsGood(int monitor) const {
    const std::string at = is(Board::chenbro) ? fmt::format("@{}", monitor) : "";
    return std::abs(rails_.at("5" + at) - 5) <= 0.5 && std::abs(rails_.at("12" + at) - 12) <= 1.2;
}

// The alarm controller of the Xyratex chassis hears both supply inputs.
void Model::supplyTouched() {
    const bool fault = is(Board::xyratex) && !(redundant_ && railsGood(0));
    if (fault && !supplyFault_ && hardAlarm_ <= 3) {
        hardAlarm_ = 1;
    } else if (!fault && supplyFault_ && hardAlarm_ == 1) {
        hardAlarm_ = 0;
    }
    supplyFault_ = fault;
}

void Model::hardAlarm(int state) {
    hardAlarm_ = state == 0 && supplyFault_ ? 1 : state;
    muted_ = 0;
}

void Model::wait(int seconds) {
    muted_ += seconds;
    if (hardAlarm_ == 3 && muted_ >= 60) {
        hardAlarm(supplyFault_ ? 2 : 0);
    }
}

// What the chip makes of a load, percent.
double Model::chipDuty(int percent) const {
    if (is(Board::w83792ad)) {
        return std::min(percent * 16 / 100, 15) * 100 / 16.0;
    }
    return isVitesse() ? percent : std::min(percent * 256 / 100, 255) * 100 / 255.0;
}

// Drives a fan, of a Xyratex chassis a group, of a Chenbro chassis the one that is wired there.
void Model::chipLoad(int fan, double duty) {
    if (is(Board::xyratex)) {
        std::fill_n(duty_ + 4 * fan, 4, duty);
    } else if (const int place = fanPlace(fan); place >= 0) {
        duty_[place] = duty;
    }
}

std::string Model::state() const {
    std::vector<long> loads;
    std::vector<int> leds;
    std::vector<const char*> status;
    for (int fan = 0; fan < fitted_; ++fan) {
        loads.push_back(powered_ ? std::lround(duty_[fan]) : 0);
    }
    for (int slot = 0; slot < row_.slots; ++slot) {
        if ((ledsLit_ >> slot & 1) != 0) {
            leds.push_back(slot);
        }
    }
    static constexpr const char* STATUS[] = {"psu-ok", "redundancy-fail", "fan-fail"};
    for (int led = 0; led < 3; ++led) {
        if ((ledsLit_ >> (16 + led) & 1) != 0) {
            status.push_back(STATUS[led]);
        }
    }
    return fmt::format("loads {}\nleds {}\nstatus {}\nalarm {}{}\nfaults {:#x}\ndevices {:#x}\n",
                       fmt::join(loads, " "), fmt::join(leds, " "), fmt::join(status, " "), alarm_,
                       alarmText(), faults_, devices_);
}

std::string Model::alarmText() const {
    static constexpr const char* STATES[] = {"idle",     "fault",   "remind",  "mute",
                                             "critical", "invalid", "invalid", "invalid"};
    if (is(Board::xyratex)) {
        return fmt::format(", S{} {}", hardAlarm_, STATES[hardAlarm_]);
    }
    if (!is(Board::w83782d) && !is(Board::chenbro)) {
        return "";
    }
    std::string sounding;
    for (int monitor = 0; monitor < static_cast<int>(degrees_.size()); ++monitor) {
        sounding += quiet_.contains(monitor) ? "" : fmt::format(" {}", monitor);
    }
    return sounding.empty() ? ", muted" : ", sounding on monitor" + sounding;
}

// ---- the bus ----

// A device's first failure and its first answer after it are a change; the bus fault ends with the
// last device that failed.
bool Model::transfer(const StoryDevice& device, bool answers) {
    if (!connected_) {
        return false;
    }
    if (((devices_ & device.bit) != 0) == answers) {
        devices_ ^= device.bit;
        if (!answers) {
            fault(0x10, -1);
        } else if (devices_ == 0) {
            fault(0x10, 0);
        }
        busEvent(device.information, device.sensor, answers);
    }
    return answers;
}

bool Model::answers(int device) const {
    return !cut_.contains(row_.devices.at(static_cast<std::size_t>(device)).name);
}

bool Model::reach(int device) {
    return transfer(row_.devices[static_cast<std::size_t>(device)], answers(device));
}

// The monitor found at the n-th address for all but fans, -1: none.
int Model::monitorAt(int n) const {
    return is(Board::chenbro) ? row_.wiring.ofOthers[n] : 0;
}

bool Model::monitorAnswers(bool forFan, int n) const {
    const int monitor = forFan ? row_.wiring.ofFans[n] : monitorAt(n);
    const bool isShared = n == (forFan ? 2 : 1) && row_.wiring.isBoth;  // 0x2A, in front of two
    return monitor >= 0 && answers(monitor) && !(isShared && !answers(SHARED));
}

bool Model::reachMonitor(int n) {
    return is(Board::chenbro) ? transfer(row_.devices[0], monitorAnswers(false, n)) : reach(0);
}

// Which address a Chenbro fan is sought at.
constexpr int FAN_ADDRESS[] = {0, 0, 1, 2, 3, 3};

bool Model::reachFan(int fan) {
    return is(Board::chenbro) ? transfer(row_.devices[0], monitorAnswers(true, FAN_ADDRESS[fan]))
                              : reach(0);
}

// The fan that is found where fan `fan` is sought, -1: none.
int Model::fanPlace(int fan) const {
    static constexpr int FIRST_OF[] = {0, 2, 3, 4};  // fan of a monitor
    if (!is(Board::chenbro) || fan == 1) {
        return fan;
    }
    const int monitor = row_.wiring.ofFans[FAN_ADDRESS[fan]];
    return monitor < 0 ? -1 : FIRST_OF[monitor] + (fan == 5 ? 1 : 0);
}

// ---- composite faults ----

// The alarm goes from mute to fault with the first fault, to mute with the last one's end. Setting
// it may fail on the bus and come back here: then it is left alone.
void Model::alarmMove(int state) {
    const bool has = row_.board != Board::none && row_.board != Board::xyratex;
    if (moving_ || !has) {
        return;
    }
    moving_ = true;
    alarmSet(state);
    moving_ = false;
    alarm_ = static_cast<U32_t>(state);
}

// `status`: 0 gone, -1 present, 1 bus unavailable.
void Model::fault(U32_t bits, int status) {
    static constexpr const char* NAMES[] = {"POWER_SUPPLY_VOLTAGE_TOLERANCE",
                                            "POWER_SUPPLY_REDUNDANCY", "FAN",
                                            "TEMPERATURE_OVERHEAT", "I2C_BUS_FAULT"};
    for (std::size_t n = 0; n < 5; ++n) {
        if ((bits >> n & 1) != 0) {
            say("faultNameTrace", "This Fault bit is [{}]", NAMES[n]);
            break;
        }
    }
    const bool known = (faults_ & bits) != 0;
    say("esaCompositeFaultManage", "This Fault bit [{:#x}] {} currently.", bits,
        known ? "exists" : "does NOT exist");
    if (known && status == 0) {
        faultEnd(bits);
    } else if (!known && status == -1) {
        faultBegin(bits);
    } else {
        say("esaCompositeFaultManage", "The Fault bit [{:#x}] is already {}.", bits,
            known ? "set" : "clear");
    }
}

void Model::faultBegin(U32_t bits) {
    say("faultSet", "Set the new Fault bit [{:#x}].", bits);
    const bool isFirst = (faults_ & LED_ON) == 0;
    faults_ |= bits;
    if (isFirst) {
        say("ledOn", "Turn on the Composite Fault LED.");
        faults_ |= LED_ON;
        startupSend(12, 14, 2, 2);
        if (alarm_ == 3) {
            alarmMove(1);
        }
    } else {
        say("faultSet", "The Composite Fault LED is currently ON for other Faults.");
    }
    startupSend(12, 16, 0, 0);
}

void Model::faultEnd(U32_t bits) {
    say("faultClear", "Clear the current Fault bit [{:#x}].", bits);
    faults_ &= ~bits;
    if ((faults_ & (LED_ON | 0x1F)) == LED_ON) {
        faults_ &= ~LED_ON;
        startupSend(12, 14, 2, 1);
        if (alarm_ != 3) {
            alarmMove(3);
        }
    }
}
