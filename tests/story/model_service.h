// SPDX-License-Identifier: Apache-2.0
// What the model's service sends and says, its transfers, composite faults, alarm and LEDs.
#pragma once

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <vector>

#include "lab/chassis/chassis.h"
#include "lab/peers/message.h"
#include "tests/story/rows.h"

// What an engineer sees of the enclosure, and what the service remembers.
struct StoryState {
    std::vector<double> duties;                            // of the fans, percent
    U32_t lit = 0;                                         // LEDs: bit = drive, then status LEDs
    std::string sound;                                     // of the alarm
    U32_t faults = 0, devices = 0, alarm = 0, failed = 0;  // failed: bit = fan
    U32_t supply = 0;  // voltage, redundancy, no fault requested
    int average = 0;   // degrees
    std::vector<int> loads = std::vector<int>(8), bands = std::vector<int>(8);

    std::string text() const {
        return fmt::format(
            "fans at {:.0f}, LEDs {:#x}, alarm {}, faults {:#x}, devices {:#x}, state {}, fans "
            "{:#x}, supplies {}, average {}, loads {}, bands {}\n",
            fmt::join(duties, " "), lit, sound, faults, devices, alarm, failed, supply, average,
            fmt::join(loads, " "), fmt::join(bands, " "));
    }
};

struct ModelService : StoryState {
    static constexpr U32_t PSU_OK = 0x10000, REDUNDANCY_FAIL = 0x20000, FAN_FAIL = 0x40000;
    static constexpr U32_t FAN_FAULT = 0x04, OVERHEAT = 0x08, BUS_FAULT = 0x10, ALL_FAULTS = 0x1F;
    static constexpr U32_t LED_ON = 0x80000000;

    ModelService(const StoryRow& facts, const enclab::Chassis& enclosure,
                 const enclab::Personality& tuning)
        : row(facts), chassis(enclosure), key(tuning) {
        for (int fan = 0; fan < chassis.fans(); ++fan) {
            duties.push_back(chassis.fanLoadPercent(fan));
        }
        for (int n = 0; n < monitors(); ++n) {
            sounding.insert(n);
        }
    }

    bool is(Board board) const { return row.board == board; }
    bool isVitesse() const { return is(Board::vsc055) || is(Board::xyratex); }
    bool isMonitor() const { return is(Board::w83782d) || is(Board::chenbro); }
    int monitors() const { return is(Board::chenbro) ? 4 : 1; }

    // In front of each command; the alarm of a Xyratex chassis runs by itself.
    void observe() {
        messages.clear();
        log.clear();
        ownAlarm = is(Board::xyratex) ? static_cast<U32_t>(chassis.alarm()[1] - '0') : 0;
    }

    // ---- the log and messages ----

    template <typename... Arguments>
    void say(const char* function, const char* text, const Arguments&... arguments) {
        log.push_back(std::string(function) + ":  " +
                      fmt::format(fmt::runtime(text), arguments...));
    }

    enclab::Message& send(U8_t protocol, U32_t command, int recipient, std::size_t size = 64) {
        messages.push_back(
            enclab::Message::make(protocol, command, MMSG_E_EPID_ES_ADAPTERMP, size));
        messages.back().addRecipient(static_cast<U8_t>(recipient));
        return messages.back();
    }

    void startupSend(U8_t protocol, U32_t request, U32_t use1, U32_t use2) {
        MMCH_t& header = send(protocol, request, MMSG_E_EPID_STARTUPMP).header();
        header.general_use1 = use1;
        header.general_use2 = use2;
    }

    // Type 1 informs, 2 warns, 3 is an error. The caller fills the data in.
    EsaEventData_t& event(U16_t id, U8_t eventType) {
        enclab::Message& message = send(8, 1, MMSG_E_EPID_EVENTLOGMP, 64 + sizeof(EsaEvent_t));
        auto& event = *wireView<EsaEvent_t>(const_cast<U8_t*>(message.bytes().data()) + 64);
        event.header.evType = eventType;
        event.header.evCategory = 3;
        event.header.evIdVersion = 1;
        event.header.evId = id;
        event.data.enclosureType = row.type;
        return event.data;
    }
    void informationEvent(U8_t eventType, U32_t information, U32_t sensor = 0, int result = 0) {
        EsaEventData_t& data = event(10, eventType);
        data.information = information;
        data.temperatureSensorPosition = sensor;
        data.general_use1 = static_cast<U32_t>(result);
    }
    void supplyEvent(U8_t eventType) {
        EsaEventData_t& data = event(6, eventType);
        data.numberOfPowerSupply = static_cast<U32_t>(supplies);
        data.powerSupplyStatus = supply;
    }
    void fanEvent() {
        EsaEventData_t& data = event(7, 2);
        data.numberOfFan = static_cast<U32_t>(key.coolingMaxNumber);
        data.fanFaultStatus = failed;
    }
    void alarmEvent(U8_t eventType) {
        EsaEventData_t& data = event(9, eventType);
        data.numberOfAlarm = 1;
        data.alarmState = alarm;
    }

    // ---- transfers ----

    bool answers(int device) const {
        const char* name = row.devices[static_cast<std::size_t>(device)].name;
        return !chassis.bus().isCut(chassis.addressOf(name));
    }
    // Of a Chenbro chassis: monitor `n` at the address of the rule for fans, or of the other one.
    // At 0x2A there are two, each for its rule.
    bool monitorAnswers(int n, bool forFans) const {
        const bool isShared = is(Board::chenbro) && n == (forFans ? 2 : 1);
        return answers(n) && !(isShared && !answers(4));
    }

    // A device's first failure and its first answer after it are told; the bus fault ends with the
    // last device that had failed.
    bool transfer(const StoryDevice& device, bool answered) {
        if (connected && ((devices & device.bit) != 0) == answered) {
            devices ^= device.bit;
            if (!answered) {
                fault(BUS_FAULT, -1);
            } else if (devices == 0) {
                fault(BUS_FAULT, 0);
            }
            informationEvent(2, device.information, device.sensor, answered ? 0 : -1);
        }
        return connected && answered;
    }
    bool reach(int device) {
        return transfer(row.devices[static_cast<std::size_t>(device)], answers(device));
    }
    // The monitor or controller; on a Chenbro chassis that of a backplane or a fan.
    bool reachMonitor(int n, bool forFans = false) {
        return transfer(row.devices[0], monitorAnswers(n, forFans));
    }
    bool reachFan(int fan) {
        static constexpr int MONITOR[] = {0, 0, 1, 2, 3, 3, 3, 3};
        return reachMonitor(is(Board::chenbro) ? MONITOR[fan] : 0, true);
    }

    // ---- composite faults ----

    // `status`: 0 gone, -1 present, 1 bus unavailable, which is no new fault and no end of one.
    void fault(U32_t bit, int status) {
        static constexpr const char* NAMES[] = {"POWER_SUPPLY_VOLTAGE_TOLERANCE",
                                                "POWER_SUPPLY_REDUNDANCY", "FAN",
                                                "TEMPERATURE_OVERHEAT", "I2C_BUS_FAULT"};
        const bool isKnown = (faults & bit) != 0;
        say("faultNameTrace", "This Fault bit is [{}]", NAMES[std::countr_zero(bit)]);
        say("esaCompositeFaultManage", "This Fault bit [{:#x}] {} currently.", bit,
            isKnown ? "exists" : "does NOT exist");
        if (isKnown && status == 0) {
            faultEnd(bit);
        } else if (!isKnown && status == -1) {
            faultBegin(bit);
        } else {
            say("esaCompositeFaultManage", "The Fault bit [{:#x}] is already {}.", bit,
                isKnown ? "set" : "clear");
        }
    }

    // The first one lights the LED and sounds a muted alarm; each is mailed.
    void faultBegin(U32_t bit) {
        say("faultSet", "Set the new Fault bit [{:#x}].", bit);
        const bool isFirst = (faults & LED_ON) == 0;
        faults |= bit | LED_ON;
        if (isFirst) {
            say("ledOn", "Turn on the Composite Fault LED.");
            startupSend(12, 14, 2, 2);
            alarmMove(alarm == 3, 1);
        } else {
            say("faultSet", "The Composite Fault LED is currently ON for other Faults.");
        }
        startupSend(12, 16, 0, 0);
    }

    // The last one puts the LED out and mutes the alarm.
    void faultEnd(U32_t bit) {
        say("faultClear", "Clear the current Fault bit [{:#x}].", bit);
        faults &= ~bit;
        if ((faults & (LED_ON | ALL_FAULTS)) == LED_ON) {
            faults &= ~LED_ON;
            startupSend(12, 14, 2, 1);
            alarmMove(alarm != 3, 3);
        }
    }

    // ---- alarm ----

    // To set it may fail on the bus and come back here: then it is left alone.
    void alarmMove(bool wanted, U32_t state) {
        if (wanted && !moving && !is(Board::none) && !is(Board::xyratex)) {
            moving = true;
            alarmSet(state);
            moving = false;
            alarm = state;
        }
    }

    // Winbond monitors know sound and silence; VSC055 and W83792AD chassis have no alarm. That of
    // the Xyratex chassis is idle only while its supplies are good.
    void alarmSet(U32_t state) {
        if (is(Board::xyratex) && reach(0)) {
            ownAlarm = state == 0 && !(chassis.redundancy() && railsGood(0)) ? 1 : state;
        }
        for (int n = 0; isMonitor() && (state == 1 || state == 3) && n < monitors(); ++n) {
            if (connected && monitorAnswers(n, false)) {
                state == 1 ? sounding.insert(n), void() : void(sounding.erase(n));
            }
            reachMonitor(n);  // what comes of it may move the alarm, too
        }
    }
    U32_t alarmRead() { return reach(0) ? ownAlarm : 7; }

    std::string soundText() const {
        const auto loud = fmt::format("sounding on monitor {}", fmt::join(sounding, " "));
        return is(Board::xyratex) ? fmt::format("S{}", ownAlarm)
               : !isMonitor()     ? ""
               : sounding.empty() ? "muted"
                                  : loud;
    }

    // ---- supplies ----

    // The Xyratex supplies judge both rails themselves, elsewhere they are measured. Of those of a
    // W83792AD a few bits are left: never good.
    bool railsGood(int monitor) const {
        const std::string at = is(Board::chenbro) ? fmt::format("@{}", monitor) : "";
        return std::ranges::all_of(chassis.rails(),
                                   [&](const enclab::ChassisRail& rail) {
                                       const double nominal = rail.name == "5" + at    ? 5
                                                              : rail.name == "12" + at ? 12
                                                                                       : 0;
                                       return nominal == 0 ||
                                              std::abs(rail.volts - nominal) <= nominal / 10;
                                   }) &&
               !is(Board::w83792ad);
    }

    // ---- LEDs ----

    // Booked whatever comes of it. A port goes to the chip whole: drives 0 to 7, and all others.
    void ledWrite(U32_t bit, bool on) {
        const U32_t port = bit <= 0xFF ? 0xFF : ~U32_t{0xFF};
        const int device = isVitesse() ? 0 : is(Board::w83792ad) ? 1 : -1;
        leds = on ? leds | bit : leds & ~bit;
        if (device >= 0 && reach(device) && (device == 0 || ledsDriven)) {
            lit = (lit & ~port) | (leds & port);
        }
    }

    // Of the Xyratex chassis.
    void fanLed(bool isFailed) {
        const char* now = isFailed ? "ON" : "OFF";
        if (((leds & FAN_FAIL) != 0) == isFailed) {
            say("fanFailLedFollow", "FAN Fail LED already [{}].", now);
            return;
        }
        ledWrite(FAN_FAIL, isFailed);
        say("fanFailLedFollow", "Turn [{}] FAN Fail LED.", now);
    }

    const StoryRow& row;
    const enclab::Chassis& chassis;  // as it is before what is modelled
    enclab::Personality key;
    std::vector<enclab::Message> messages;
    std::vector<std::string> log;  // "FUNCTION:  TEXT"

    int slots = 16, supplies = 3;
    bool connected = false;
    bool moving = false;      // the alarm
    U32_t ownAlarm = 0;       // of a Xyratex chassis, which runs by itself
    std::set<int> sounding;   // monitors, from power-on
    U32_t leds = 0;           // as lit
    bool ledsDriven = false;  // by the expander
};
