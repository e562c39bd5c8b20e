// SPDX-License-Identifier: Apache-2.0
// An enclosure and its service by their rules, written from the documents and apart from the
// service's code: what must come of a command in messages, log lines and states. It knows steps,
// not transfers: a device answers all through a command or not at all. What hands do it takes from
// the lab's enclosure, before the service has seen it.
#pragma once

#include "tests/story/model_policy.h"

struct Model : ModelPolicy {
    using ModelPolicy::ModelPolicy;
    using Page = std::vector<U32_t>;

    // What the latest control page said of an element.
    U32_t asked(Section section, int n) const {
        const auto record = requests.find({section, n});
        return record == requests.end() ? 0 : record->second;
    }

    bool isAnswerable() {
        if (requestor >= 64) {
            say("MMSG requestor [{}] can not be a recipient, no reply.", requestor);
        }
        return requestor < 64;
    }

    // With a status byte in front, so that a page's last byte is not sent: here it stands behind.
    void reply(U32_t command, const Page& page) {
        say("Send out a Diagnostic Page.");
        const std::size_t size = 64 + 4 * std::max<std::size_t>(page.size(), 1);
        enclab::Message& message = send(18, command, requestor, size);
        message.header().mmsg_cont = 0x40;
        message.header().dest_ep = requestor;
        message.header().handle = handle;
        Bytes bytes = message.bytes();
        bytes.resize(size + (page.empty() ? 0 : 1));
        for (std::size_t n = 0; n < page.size(); ++n) {
            *wireView<Be32>(&bytes[65 + 4 * n]) = page[n];
        }
        message = enclab::Message(bytes);
    }

    // ---- pages ----

    // The status page reads the enclosure as it is asked for, and tells at once what is new. Each
    // type has an overall word in front.
    void page(U8_t code, int room) {
        if (!isAnswerable()) {
            return;
        }
        if (code == 1) {
            configurationPage(room);
            return;
        }
        Page page(2);
        drivesPage(&page);
        suppliesPage(&page);
        fansPage(&page);
        sensorsPage(&page);
        alarmPage(&page);
        page[0] = 0x02000000 | narrowTo<U32_t>(4 * page.size() - 4);
        reply(0x1C, page);
    }

    // The types with their counts. It needs room for all of it.
    void configurationPage(int room) {
        const int types[][2] = {{1, slots},
                                {2, supplies},
                                {3, key.coolingMaxNumber},
                                {4, key.temperatureSensorMaxNumber},
                                {6, 1}};
        Page page = {0x01000040, 0, 0x20000524, 0, 0, 0, 0, 0, 0, 0, 0, 0};
        for (const auto& [type, count] : types) {
            page.push_back(static_cast<U32_t>(type << 24 | count << 16));
        }
        if (room >= 68) {
            reply(0x1C, page);
        }
    }

    void drivesPage(Page* page) {
        page->push_back(0);
        for (int slot = 0; slot < slots; ++slot) {
            const bool isOut = is(Board::xyratex) && (!reach(0) || !chassis.drivePresent(slot));
            page->push_back((isOut ? 0x05000000U : 0x01000000U) | static_cast<U32_t>(slot) << 16 |
                            (asked(DRIVES, slot) & 4));
        }
    }

    // Conditions are one for all supplies. Where there are two, the one read last stands; the
    // Xyratex chassis shows both, and reads them the other way round.
    U32_t supplyPage() {
        if (is(Board::xyratex)) {
            const bool isRedundant = supplyCheck(REDUNDANCY, true);
            const bool isMains = supplyCheck(VOLTAGE, true);
            return (isRedundant ? 0x01000000U : 0x05000000U) | (isMains ? 0U : 0x40U) |
                   (isRedundant && isMains ? 0U : 2U);
        }
        U32_t word = 0x01000000;
        for (const U32_t condition : row.conditions) {
            const bool good = supplyCheck(condition, true);
            word = good ? 0x01000000 : condition == VOLTAGE ? 0x05000042 : 0x05000002;
        }
        return word;
    }

    void suppliesPage(Page* page) {
        page->push_back(0);
        for (int n = 0; n < supplies; ++n) {
            const U32_t word = supplyPage();
            page->push_back(word | (asked(SUPPLIES, n) & 6) | 1);
        }
        if (std::exchange(changed, false)) {
            supplyEvent(2);
        }
    }

    // Tens of RPM in ten bits. A fan that cannot be read is shown as running.
    U32_t fanPage(int fan) {
        const int speed = fan < ARRAY ? fanRead(fan) : NO_PULSES;
        if (speed < 0) {
            return 0xE0;
        }
        say("Fan [{}] has RPM [{}] divided by a factor of 10.", fan, speed);
        const auto tens = static_cast<U32_t>(speed / 10);
        const U32_t word = (tens & 0x300) << 14 | (tens & 0xFF) << 8 | (tens == 0 ? 0x08 : 0xE0);
        if (!is(Board::xyratex)) {
            return word;
        }
        changed |= fanMark(fan, speed <= 500);
        fanLed(failed != 0);
        return word | (speed <= 500 ? 2 : 0);
    }

    void fansPage(Page* page) {
        page->push_back(0);
        for (int fan = 0; fan < key.coolingMaxNumber; ++fan) {
            const U32_t word = fanPage(fan);
            page->push_back(word | (fan < ARRAY ? asked(FANS, fan) & 4 : 0));
        }
        if (std::exchange(changed, false)) {
            fanEvent();
        }
    }

    void sensorsPage(Page* page) {
        page->push_back(0);
        temperaturesRead();
        for (int sensor = 0; sensor < key.temperatureSensorMaxNumber; ++sensor) {
            const int now = sensor < ARRAY ? readings[sensor] : UNREADABLE;
            const U32_t flags = (now > 55 ? 0x20U : 0U) | (now > 60 ? 0x10U : 0U) |
                                (now < 1 ? 0x80U : 0U) | (now < 0 ? 0x40U : 0U);
            const U32_t shifted = static_cast<U32_t>(now + 20) & 0xFF;
            page->push_back(now == UNREADABLE ? 0 : shifted << 8 | flags);
        }
    }

    void alarmPage(Page* page) {
        const U32_t request = asked(ALARMS, 0);
        const U32_t now = is(Board::xyratex) ? alarmRead() : alarm;
        const bool isMuted = is(Board::none) ? (request & 2) != 0 : now == 0;
        page->push_back(0);
        page->push_back((request & 0x200000F8) | (isMuted ? 2 : 0) | (request >> 1 & 1));
    }

    // ---- control page ----

    // That of the volume manager is for drives, and gets no reply.
    void put(const Records& records) {
        const bool isVolumeManager = requestor == MMSG_E_EPID_VOLMGRMP;
        const auto isTaken = [=](const auto& request) {
            return !isVolumeManager || request.first.first == DRIVES;
        };
        std::erase_if(requests, isTaken);
        std::ranges::copy_if(records, std::inserter(requests, requests.end()), isTaken);
        drivesControl();
        if (isVolumeManager) {
            return;
        }
        suppliesControl();
        for (int fan = 0; fan < ARRAY; ++fan) {
            if ((asked(FANS, fan) & SELECT) != 0) {
                fanControl(fan, (asked(FANS, fan) & 4) != 0);
            }
        }
        alarmControl(asked(ALARMS, 0));
        if (isAnswerable()) {
            reply(0x1D, {});
        }
    }

    // Selected or not.
    void drivesControl() {
        const U32_t before = leds;
        for (int slot = 0; slot < slots; ++slot) {
            const U32_t bit = U32_t{1} << slot;
            const bool isLit = (asked(DRIVES, slot) & 4) != 0;
            if (((leds & bit) != 0) != isLit) {
                ledWrite(bit, isLit);
            }
        }
        if (leds != before) {
            event(5, 2,
                  {{&Data::numberOfDrive, slots}, {&Data::driveFaultLedStatus0, leds & 0xFFFF}});
        }
    }

    // One indication for all, booked as the chassis's own fault. Bit 2: there is none.
    void suppliesControl() {
        for (int n = 0; n < supplies; ++n) {
            const bool fails = (asked(SUPPLIES, n) & 2) != 0;
            if ((asked(SUPPLIES, n) & SELECT) == 0 || fails != ((supply & 4) != 0)) {
                continue;
            }
            if (is(Board::xyratex)) {
                ledWrite(PSU_OK, !fails);
            } else if (!is(Board::none)) {
                fault(row.conditions[0], fails ? -1 : 0);
            }
            supply ^= 4;
            changed = true;
        }
        if (std::exchange(changed, false)) {
            supplyEvent(2);
        }
    }

    // Xyratex fans are switched in fours, and booked each. Off takes the power of all VSC055 fans.
    // On is 100 of 255 to a W83782D.
    void fanControl(int fan, bool on) {
        const int size = is(Board::xyratex) ? 4 : 1;
        if (!is(Board::none) && reachFan(fan)) {
            powered = powered && (on || !is(Board::vsc055));
            for (int other = 0; !powered && other < chassis.fans(); ++other) {
                chipLoad(other, 0);
            }
            chipLoad(fan / size, on && is(Board::w83782d) ? 100 * 100 / 255.0 : chipDuty(on * 100));
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

    Records requests;
};
