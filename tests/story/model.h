// SPDX-License-Identifier: Apache-2.0
// An enclosure and its service by their rules, written from the documents and apart from the
// service's code: what must come of a command in messages, log lines and states. It knows steps,
// not transfers: a device answers all through a command or not at all.
#pragma once

#include "tests/story/model_policy.h"

struct Model : ModelPolicy {
    using Records = std::map<int, U32_t>;
    static constexpr U32_t SELECT = 0x80000000;

    using ModelPolicy::ModelPolicy;

    // A command of StoryService, but for "link" and "send".
    void run(const std::string& command) {
        const Words words(command);
        if (words[0] == "start") {
            start();
        } else if (words[0] == "poll") {
            poll();
        } else if (words[0] == "page") {
            page();
        } else if (words[0] == "put") {
            control(words);
        } else if (words[0] == "tune") {
            key.at(words[1]) = words.number(2);
        } else {
            touch(words);
        }
    }

    // What the latest control page said of an element.
    U32_t asked(const char* section, int n) const {
        const auto records = controls.find(section);
        return records != controls.end() && records->second.contains(n) ? records->second.at(n) : 0;
    }

    // ---- status page ----

    // Reads the enclosure as it is asked for, and tells at once what is new.
    void page() {
        std::vector<U32_t> words;
        drivesPage(&words);
        suppliesPage(&words);
        fansPage(&words);
        sensorsPage(&words);
        alarmPage(&words);
        Bytes bytes(8 + 4 * words.size());
        put(&bytes, 0, 4, 0x02000000 | static_cast<std::int64_t>(4 + 4 * words.size()));
        for (std::size_t n = 0; n < words.size(); ++n) {
            put(&bytes, 8 + 4 * n, 4, words[n]);
        }
        reply(0x1C, bytes);
    }

    void drivesPage(std::vector<U32_t>* words) {
        words->push_back(0);
        for (int slot = 0; slot < slots; ++slot) {
            const bool isOut = is(Board::xyratex) && (!reach(0) || absent.contains(slot));
            words->push_back((isOut ? 0x05000000U : 0x01000000U) | static_cast<U32_t>(slot) << 16 |
                             (asked("drives", slot) & 4));
        }
    }

    // Conditions are one for all supplies. Where there are two, the one read last stands; the
    // Xyratex chassis shows both.
    U32_t supplyPage(bool* changed) {
        U32_t word = 0x01000000;
        if (is(Board::xyratex)) {
            const bool isRedundant = supplyCheck(REDUNDANCY, true, changed);
            const bool isMains = supplyCheck(VOLTAGE, true, changed);
            return (isRedundant ? 0x01000000U : 0x05000000U) | (isMains ? 0U : 0x40U) |
                   (isRedundant && isMains ? 0U : 2U);
        }
        for (const U32_t condition : supplyOrder()) {
            const bool good = supplyCheck(condition, true, changed);
            word = (good ? 0x01000000U : 0x05000000U) |
                   (condition == VOLTAGE && !good ? 0x40U : 0U) |
                   ((faults & condition) != 0 ? 2U : 0U);
        }
        return word;
    }

    void suppliesPage(std::vector<U32_t>* words) {
        bool changed = false;
        words->push_back(0);
        for (int n = 0; n < supplies; ++n) {
            const U32_t word = is(Board::none) ? 0x01000000 : supplyPage(&changed);
            words->push_back(word | (asked("supply", n) & 6) | 1);
        }
        if (changed) {
            supplyEvent(2);
        }
    }

    // Tens of RPM in ten bits. A fan that cannot be read is shown as running.
    U32_t fanPage(int fan, bool* changed) {
        const int speed = fan < FANS ? fanRead(fan) : NO_PULSES;
        if (speed < 0) {
            return 0xE0;
        }
        say("fanRead", "Fan [{}] has RPM [{}] divided by a factor of 10.", fan, speed);
        const auto tens = static_cast<U32_t>(speed / 10);
        const U32_t word = (tens & 0x300) << 14 | (tens & 0xFF) << 8 | (tens == 0 ? 0x08 : 0xE0);
        if (!is(Board::xyratex)) {
            return word;
        }
        *changed |= fanMark(fan, speed <= 500);
        fanLed(failed != 0);
        return word | (speed <= 500 ? 2 : 0);
    }

    void fansPage(std::vector<U32_t>* words) {
        bool changed = false;
        words->push_back(0);
        for (int fan = 0; fan < fans(); ++fan) {
            const U32_t word = fanPage(fan, &changed);
            words->push_back(word | (fan < FANS ? asked("fans", fan) & 4 : 0));
        }
        if (changed) {
            fanEvent();
        }
    }

    void sensorsPage(std::vector<U32_t>* words) {
        words->push_back(0);
        temperaturesRead();
        for (int sensor = 0; sensor < sensors(); ++sensor) {
            const int now = sensor < SENSORS ? readings[sensor] : UNREADABLE;
            const U32_t flags = (now > 55 ? 0x20U : 0U) | (now > 60 ? 0x10U : 0U) |
                                (now < 1 ? 0x80U : 0U) | (now < 0 ? 0x40U : 0U);
            const U32_t shifted = static_cast<U32_t>(now + 20) & 0xFF;
            words->push_back(now == UNREADABLE ? 0 : shifted << 8 | flags);
        }
    }

    void alarmPage(std::vector<U32_t>* words) {
        const U32_t request = asked("alarms", 0);
        const U32_t now = is(Board::xyratex) ? alarmRead() : alarm;
        const bool isMuted = is(Board::none) ? (request & 2) != 0 : now == 0;
        words->push_back(0);
        words->push_back((request & 0x200000F8) | (isMuted ? 2 : 0) | (request >> 1 & 1));
    }

    // ---- control page ----

    // "fans 2 80000004, leds 3 9": records the page does not name are 0, but lit LEDs stay.
    void control(const Words& words) {
        controls.clear();
        std::istringstream list(words.from(1));
        for (std::string text; std::getline(list, text, ',');) {
            const Words request(text);
            if (request[0] == "leds") {
                lit.clear();
            }
            for (std::size_t n = 1; request[0] == "leds" && n < request.all.size(); ++n) {
                lit[request.number(n)] = 4;
            }
            if (request[0] != "leds") {
                controls[request[0]][request.number(1)] =
                    static_cast<U32_t>(std::stoul(request[2], nullptr, 16));
            }
        }
        controls["drives"].insert(lit.begin(), lit.end());
        drivesControl();
        suppliesControl();
        for (const auto& [fan, request] : controls["fans"]) {
            if ((request & SELECT) != 0) {
                fanControl(fan, (request & 4) != 0);
            }
        }
        alarmControl(asked("alarms", 0));
        reply(0x1D, Bytes(4));
        messages.back().pop_back();  // no page
    }

    // Selected or not.
    void drivesControl() {
        const U32_t before = leds;
        for (int slot = 0; slot < slots; ++slot) {
            const U32_t bit = U32_t{1} << slot;
            const bool isLit = (asked("drives", slot) & 4) != 0;
            if (((leds & bit) != 0) != isLit) {
                ledWrite(bit, isLit);
            }
        }
        if (leds != before) {
            event(5, 2, {{156, slots}, {176, leds & 0xFFFF}});
        }
    }

    // One indication for all, booked as the chassis's own fault. Bit 2: there is none.
    void suppliesControl() {
        bool changed = false;
        for (const auto& [n, request] : controls["supply"]) {
            const bool fails = (request & 2) != 0;
            if ((request & SELECT) == 0 || fails != ((supply & 4) != 0)) {
                continue;
            }
            if (is(Board::xyratex)) {
                ledWrite(PSU_OK, !fails);
            } else if (!is(Board::none)) {
                fault(is(Board::vsc055) || is(Board::w83792ad) ? REDUNDANCY : VOLTAGE,
                      fails ? -1 : 0);
            }
            supply ^= 4;
            changed = true;
        }
        if (changed) {
            supplyEvent(2);
        }
    }

    // Xyratex fans are switched in fours, and booked each. Off takes the power of all VSC055 fans.
    // On is 100 of 255 to a W83782D.
    void fanControl(int fan, bool on) {
        const int size = is(Board::xyratex) ? 4 : 1;
        if (!is(Board::none) && reachFan(fan)) {
            chipLoad(fan / size, on && is(Board::w83782d) ? 100 * 100 / 255.0 : chipDuty(on * 100));
            powered = powered && (on || !is(Board::vsc055));
        }
        std::fill_n(loads + fan / size * size, size, on * 100);
    }

    // Mute wins, then unrecoverable and critical.
    void alarmControl(U32_t request) {
        const U32_t loud = is(Board::xyratex) ? 4 : 1;
        const U32_t wanted = (request & 0x02) != 0 ? 3 : (request & 0xC0) != 0 ? loud : 1;
        if ((request & SELECT) != 0 && (request & 0xF2) != 0) {
            alarmSet(wanted);
            alarm = wanted;
            if (wanted == 3 && is(Board::vsc055)) {
                reach(0);  // clears the supply's alarm
            }
        }
    }

    std::map<std::string, Records> controls;
    Records lit;  // drives of "leds"
};
