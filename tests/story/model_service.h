// SPDX-License-Identifier: Apache-2.0
// What the model's service sends and says; its transfers, composite faults, alarm and LEDs.
#pragma once

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cmath>

#include "tests/story/service.h"

// Fans and sensors at most.
constexpr int ARRAY = 8;

// What an engineer sees of an enclosure.
struct StoryView {
    explicit StoryView(const enclab::Chassis& chassis) {
        for (int fan = 0; fan < chassis.fans(); ++fan) {
            duties[fan] = chassis.fanLoadPercent(fan);
        }
        for (int slot = 0; chassis.parts().driveLeds && slot < chassis.slots(); ++slot) {
            lit |= U32_t{chassis.driveFaultLed(slot)} << slot;
        }
        int bit = 16;
        for (const enclab::ChassisLed& led : chassis.statusLeds()) {
            lit |= U32_t{led.lit} << bit++;
        }
        for (const char c : chassis.alarm()) {  // "S3 mute", "sounding on monitor 0 2"
            sound |= '0' <= c && c <= '9' ? 1U << (c - '0') : 0U;
        }
    }
    std::string text() const {
        return fmt::format("fans at {:.0f}, LEDs {:#x}, alarm {:#x}\n", fmt::join(duties, " "), lit,
                           sound);
    }

    double duties[ARRAY] = {};  // of the fans, percent
    U32_t lit = 0;              // bit = drive, then status LED
    U32_t sound = 0;            // bit = state of the alarm, or monitor
};

struct ModelService {
    static constexpr U32_t PSU_OK = 0x10000, REDUNDANCY_FAIL = 0x20000, FAN_FAIL = 0x40000;
    static constexpr U32_t FAN_FAULT = 0x04, OVERHEAT = 0x08, BUS_FAULT = 0x10;
    using Data = EsaEventData_t;

    explicit ModelService(const StoryService& service)
        : row(service.row), chassis(*service.chassis), key(service.personality) {}

    bool is(Board board) const { return row.board == board; }
    bool isVitesse() const { return is(Board::vsc055) || is(Board::xyratex); }
    int monitors() const { return is(Board::chenbro) ? 4 : 1; }

    // In front of each command of the service.
    void observe(const StoryService& service) {
        seen = StoryView(chassis);
        requestor = service.requestor;
        handle = service.handle;
        messages.clear();
        log.clear();
    }

    // ---- the log and messages ----

    template <typename... Arguments>
    void say(const char* text, const Arguments&... arguments) {
        log.push_back(fmt::format(fmt::runtime(text), arguments...));
    }

    enclab::Message& send(U8_t protocol, U32_t command, U8_t recipient, std::size_t size = 64) {
        messages.push_back(
            enclab::Message::make(protocol, command, MMSG_E_EPID_ES_ADAPTERMP, size));
        messages.back().addRecipient(recipient);
        return messages.back();
    }

    void startupSend(U8_t protocol, U32_t request, U32_t use1, U32_t use2) {
        MMCH_t& header = send(protocol, request, MMSG_E_EPID_STARTUPMP).header();
        header.general_use1 = use1;
        header.general_use2 = use2;
    }

    // Type 1 informs, 2 warns, 3 is an error.
    Data& event(U16_t id, U8_t eventType,
                std::initializer_list<std::pair<Be32 Data::*, std::int64_t>> fields) {
        enclab::Message& message = send(8, 1, MMSG_E_EPID_EVENTLOGMP, 64 + sizeof(EsaEvent_t));
        auto& event = *wireView<EsaEvent_t>(&message.header() + 1);
        event.header.evType = eventType;
        event.header.evCategory = 3;
        event.header.evIdVersion = 1;
        event.header.evId = id;
        event.data.enclosureType = row.type;
        for (const auto& [field, value] : fields) {
            event.data.*field = static_cast<U32_t>(value);
        }
        return event.data;
    }
    void informationEvent(U8_t eventType, U32_t information, U32_t sensor = 0, int result = 0) {
        event(10, eventType,
              {{&Data::information, information},
               {&Data::temperatureSensorPosition, sensor},
               {&Data::general_use1, result}});
    }
    void supplyEvent(U8_t eventType) {
        event(6, eventType,
              {{&Data::numberOfPowerSupply, supplies}, {&Data::powerSupplyStatus, supply}});
    }
    void fanEvent() {
        event(7, 2, {{&Data::numberOfFan, key.coolingMaxNumber}, {&Data::fanFaultStatus, failed}});
    }
    void alarmFollow(U32_t state) {
        if (std::exchange(alarm, state) != state) {
            event(9, state == 1 || state == 4 ? 2 : 1,
                  {{&Data::numberOfAlarm, 1}, {&Data::alarmState, alarm}});
        }
    }

    // ---- transfers ----

    // A Chenbro monitor has an address of the rule for fans, and one of another for all else. At
    // 0x2A there are two, each for its rule.
    bool answers(int device, bool forFans = false) const {
        const auto isCut = [&](int n) {
            return chassis.bus().isCut(
                chassis.addressOf(row.devices[static_cast<std::size_t>(n)].name));
        };
        const bool isShared = is(Board::chenbro) && device == (forFans ? 2 : 1);
        return !isCut(device) && !(isShared && isCut(4));
    }

    // A device's first failure and its first answer after it are told; the bus fault ends with the
    // last device that had failed.
    bool reach(int n, bool forFans = false) {
        const StoryDevice& device = row.devices[static_cast<std::size_t>(n)];
        const bool answered = answers(n, forFans);
        if (((devices & device.bit) != 0) == answered) {
            devices ^= device.bit;
            if (!answered || devices == 0) {
                fault(BUS_FAULT, answered ? 0 : -1);
            }
            informationEvent(2, device.information, device.sensor, answered ? 0 : -1);
        }
        return answered;
    }
    bool reachFan(int fan) {
        static constexpr int MONITOR[] = {0, 0, 1, 2, 3, 3, 3, 3};
        return reach(is(Board::chenbro) ? MONITOR[fan] : 0, true);
    }
    bool reachSensor(int sensor) {
        return reach(isVitesse() ? 1 + sensor : is(Board::chenbro) ? sensor : 0);
    }

    // ---- composite faults ----

    // `status`: 0 gone, -1 present. The first one lights the LED and sounds a muted alarm, each is
    // mailed, and the last one puts the LED out and mutes the alarm.
    void fault(U32_t bit, int status) {
        static constexpr const char* NAMES[] = {"POWER_SUPPLY_VOLTAGE_TOLERANCE",
                                                "POWER_SUPPLY_REDUNDANCY", "FAN",
                                                "TEMPERATURE_OVERHEAT", "I2C_BUS_FAULT"};
        const bool was = (faults & bit) != 0;
        say("This Fault bit is [{}]", NAMES[std::countr_zero(bit)]);
        say("This Fault bit [{:#x}] {} currently.", bit, was ? "exists" : "does NOT exist");
        if (was == (status != 0)) {
            say("The Fault bit [{:#x}] is already {}.", bit, was ? "set" : "clear");
        } else if (was) {
            say("Clear the current Fault bit [{:#x}].", bit);
            faults &= ~bit;
            ledFollow(faults == 0, 1, 3);
        } else {
            say("Set the new Fault bit [{:#x}].", bit);
            say(faults == 0 ? "Turn on the Composite Fault LED."
                            : "The Composite Fault LED is currently ON for other Faults.");
            faults |= bit;
            ledFollow(faults == bit, 2, 1);
            startupSend(12, 16, 0, 0);
        }
    }

    // To set the alarm may fail on the bus and come back here: then it is left alone.
    void ledFollow(bool changed, U32_t color, U32_t state) {
        if (!changed) {
            return;
        }
        startupSend(12, 14, 2, color);
        if ((alarm == 3) == (state == 1) && !moving && !is(Board::xyratex)) {
            moving = true;
            alarmSet(state);
            moving = false;
            alarm = state;
        }
    }

    // ---- alarm ----

    // W83782D monitors know sound and silence; VSC055 and W83792AD chassis have no alarm. That of
    // the Xyratex chassis is idle only while its supplies are good.
    void alarmSet(U32_t state) {
        if (is(Board::xyratex) && reach(0)) {
            seen.sound = state == 0 && !(chassis.redundancy() && railsGood(0)) ? 2 : 1U << state;
        }
        const bool isSet = is(Board::w83782d) || is(Board::chenbro);
        for (int n = 0; isSet && (state == 1 || state == 3) && n < monitors(); ++n) {
            if (answers(n)) {
                seen.sound = (seen.sound & ~(1U << n)) | (state == 1) << n;
            }
            reach(n);  // what comes of it may move the alarm, too
        }
    }
    U32_t alarmRead() { return reach(0) ? static_cast<U32_t>(std::countr_zero(seen.sound)) : 7; }

    // ---- supplies ----

    // The Xyratex supplies judge both rails themselves, elsewhere they are measured. Of those of a
    // W83792AD a few bits are left: never good.
    bool railsGood(int monitor) const {
        bool isGood = !is(Board::w83792ad);
        for (const auto& [name, volts] : chassis.rails()) {
            const int nominal = name.starts_with("5") ? 5 : name.starts_with("12") ? 12 : 0;
            const bool isMeant = !is(Board::chenbro) || name.back() == '0' + monitor;
            isGood &= !isMeant || nominal == 0 || std::abs(volts - nominal) <= nominal / 10.0;
        }
        return isGood;
    }

    // ---- LEDs ----

    // Booked whatever comes of it. A port goes to the chip whole: drives 0 to 7, and all others.
    void ledWrite(U32_t bit, bool on) {
        const U32_t port = bit <= 0xFF ? 0xFF : ~U32_t{0xFF};
        const int device = isVitesse() ? 0 : is(Board::w83792ad) ? 1 : -1;
        leds = on ? leds | bit : leds & ~bit;
        if (device >= 0 && reach(device)) {
            seen.lit = (seen.lit & ~port) | (leds & port);
        }
    }

    // Of the Xyratex chassis.
    void fanLed(bool isFailed) {
        const char* now = isFailed ? "ON" : "OFF";
        const bool isNew = ((leds & FAN_FAIL) != 0) != isFailed;
        if (isNew) {
            ledWrite(FAN_FAIL, isFailed);
        }
        say(isNew ? "Turn [{}] FAN Fail LED." : "FAN Fail LED already [{}].", now);
    }

    const StoryRow& row;
    const enclab::Chassis& chassis;  // as it is in front of the command
    enclab::Personality key;
    std::vector<enclab::Message> messages;
    std::vector<std::string> log;  // "FUNCTION:  TEXT"

    U8_t requestor = 0;  // of the command, as the handle
    U32_t handle = 0;
    StoryView seen{chassis};
    int slots = 16, supplies = 3;
    U32_t faults = 0, devices = 0, alarm = 0;
    bool moving = false;  // the alarm
    U32_t failed = 0;     // bit = fan
    U32_t supply = 0;     // voltage, redundancy, no fault requested
    U32_t leds = 0;       // as lit
};
