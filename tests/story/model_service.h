// SPDX-License-Identifier: Apache-2.0
// What the model's service sends and says, its transfers, composite faults, alarm and LEDs.
#pragma once

#include "tests/story/model_enclosure.h"
#include "tests/support/laws.h"

struct ModelService : ModelEnclosure {
    using Fields = std::vector<std::pair<std::size_t, std::int64_t>>;  // offset, word
    static constexpr U32_t LED_ON = 0x80000000, ALL_FAULTS = 0x1F;
    static constexpr U32_t FAN_FAULT = 0x04, OVERHEAT = 0x08, BUS_FAULT = 0x10;
    static constexpr std::size_t HEADER = 64;

    // `tuning`: keys of the personality file.
    ModelService(const StoryRow& enclosure, std::map<std::string, int> tuning)
        : ModelEnclosure(enclosure), key(std::move(tuning)) {}

    int fans() const { return key.at("coolingMaxNumber"); }
    int sensors() const { return key.at("temperatureSensorMaxNumber"); }

    // ---- the log and messages ----

    template <typename... Arguments>
    void say(const char* function, const char* text, const Arguments&... arguments) {
        log.push_back(std::string(function) + ":  " +
                      fmt::format(fmt::runtime(text), arguments...));
    }

    static void put(Bytes* bytes, std::size_t at, std::size_t size, std::int64_t value) {
        for (std::size_t n = 0; n < size; ++n) {
            bytes->at(at + n) = static_cast<U8_t>(value >> 8 * (size - 1 - n));
        }
    }

    static Bytes header(U8_t protocol, U32_t command, int recipient, std::size_t size) {
        Bytes bytes(size);
        put(&bytes, 8, 4, 0x0E010000 | static_cast<std::int64_t>(size));
        put(&bytes, 12, 4, U32_t{protocol} << 24 | command);
        bytes[16] = 33;
        put(&bytes, 20, 4, U32_t{1} << recipient);
        return bytes;
    }

    void startupSend(U8_t protocol, U32_t request, U32_t use1, U32_t use2) {
        messages.push_back(header(protocol, request, 18, HEADER));
        put(&messages.back(), 44, 4, use1);
        put(&messages.back(), 48, 4, use2);
    }

    // Type 1 informs, 2 warns, 3 is an error.
    void event(U32_t id, U32_t eventType, const Fields& fields) {
        Bytes bytes = header(8, 1, 27, HEADER + 296);
        put(&bytes, HEADER + 147, 3, eventType << 16 | 0x0301);
        put(&bytes, HEADER + 150, 2, id);
        put(&bytes, HEADER + 152, 1, type);
        for (const auto& [at, value] : fields) {
            put(&bytes, HEADER + at, 4, value);
        }
        messages.push_back(bytes);
    }

    void supplyEvent(U32_t eventType) { event(6, eventType, {{160, supplies}, {184, supply}}); }
    void fanEvent() { event(7, 2, {{164, fans()}, {188, failed}}); }
    void alarmEvent(U32_t eventType) { event(9, eventType, {{172, 1}, {204, alarm}}); }
    void busEvent(U32_t information, U32_t sensor, bool isBack) {
        event(10, 2, {{196, sensor}, {208, information}, {264, isBack ? 0 : -1}});
    }

    // A page ends in a byte that is not counted.
    void reply(U32_t command, const Bytes& page) {
        say("esaSndDiagPage", "Send out a Diagnostic Page.");
        Bytes bytes = header(18, command, 26, HEADER + 1);
        put(&bytes, 17, 2, 0x401A);
        bytes.insert(bytes.end(), page.begin(), page.end());
        put(&bytes, 10, 2, static_cast<std::int64_t>(bytes.size() - 1));
        messages.push_back(bytes);
    }

    // ---- transfers ----

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
            busEvent(device.information, device.sensor, answered);
        }
        return connected && answered;
    }
    bool reach(int device) {
        return transfer(row.devices[static_cast<std::size_t>(device)], answers(device));
    }
    // The monitor or controller; on a Chenbro chassis that of a backplane or a fan.
    bool reachMonitor(int n) {
        return is(Board::chenbro) ? transfer(row.devices[0], monitorAnswers(n, false)) : reach(0);
    }
    bool reachFan(int fan) {
        static constexpr int MONITOR[] = {0, 0, 1, 2, 3, 3, 3, 3};
        return is(Board::chenbro) ? transfer(row.devices[0], monitorAnswers(MONITOR[fan], true))
                                  : reach(0);
    }

    // ---- composite faults ----

    // `status`: 0 gone, -1 present, 1 bus unavailable, which is no new fault and no end of one.
    void fault(U32_t bits, int status) {
        static constexpr const char* NAMES[] = {"POWER_SUPPLY_VOLTAGE_TOLERANCE",
                                                "POWER_SUPPLY_REDUNDANCY", "FAN",
                                                "TEMPERATURE_OVERHEAT", "I2C_BUS_FAULT"};
        if ((bits & ALL_FAULTS) != 0) {
            say("faultNameTrace", "This Fault bit is [{}]", NAMES[std::countr_zero(bits)]);
        }
        const bool isKnown = (faults & bits) != 0;
        say("esaCompositeFaultManage", "This Fault bit [{:#x}] {} currently.", bits,
            isKnown ? "exists" : "does NOT exist");
        if (isKnown && status == 0) {
            faultEnd(bits);
        } else if (!isKnown && status == -1) {
            faultBegin(bits);
        } else {
            say("esaCompositeFaultManage", "The Fault bit [{:#x}] is already {}.", bits,
                isKnown ? "set" : "clear");
        }
    }

    // The first one lights the LED and sounds a muted alarm; each is mailed.
    void faultBegin(U32_t bits) {
        say("faultSet", "Set the new Fault bit [{:#x}].", bits);
        const bool isFirst = (faults & LED_ON) == 0;
        faults |= bits | LED_ON;
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
    void faultEnd(U32_t bits) {
        say("faultClear", "Clear the current Fault bit [{:#x}].", bits);
        faults &= ~bits;
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

    // Winbond monitors know sound and silence; VSC055 and W83792AD chassis have no alarm.
    void alarmSet(U32_t state) {
        if (is(Board::xyratex) && reach(0)) {
            alarmEnter(static_cast<int>(state));
        }
        const bool has = is(Board::w83782d) || is(Board::chenbro);
        for (int n = 0; has && (state == 1 || state == 3) && n < monitors(); ++n) {
            if (connected && monitorAnswers(n, false)) {
                setMember(&quiet, n, state == 3);  // before what may come of the answer
            }
            reachMonitor(n);
        }
    }

    // That of the Xyratex chassis runs by itself.
    U32_t alarmRead() { return reach(0) ? static_cast<U32_t>(alarmState) : 7; }

    void alarmPoll() {
        const U32_t found = alarmRead();
        if (std::exchange(alarm, found) != found) {
            alarmEvent(found == 1 || found == 4 ? 2 : 1);
        }
    }

    // ---- LEDs ----

    // Booked whatever comes of it. A port goes to the chip whole: drives 0 to 7, and all others.
    void ledWrite(U32_t bit, bool lit) {
        const U32_t port = bit <= 0xFF ? 0xFF : ~U32_t{0xFF};
        const int device = isVitesse() ? 0 : is(Board::w83792ad) ? 1 : -1;
        leds = lit ? leds | bit : leds & ~bit;
        if (device >= 0 && reach(device) && (device == 0 || ledsDriven)) {
            ledsLit = (ledsLit & ~port) | (leds & port);
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

    std::map<std::string, int> key;
    std::vector<Bytes> messages;   // links 0, and a page's last byte, which is not sent
    std::vector<std::string> log;  // "FUNCTION:  TEXT"

    U32_t type = KORVO_E_CHASSIS_NONE;
    int slots = 16, supplies = 3;
    bool connected = false;
    bool moving = false;  // the alarm
    U32_t faults = 0, devices = 0, alarm = 0;
    U32_t failed = 0;  // bit = fan
    U32_t supply = 0;  // voltage, redundancy, no fault requested
    U32_t leds = 0;    // as ledsLit
};
