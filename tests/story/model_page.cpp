// SPDX-License-Identifier: Apache-2.0
// Status page and control page.
#include "tests/story/model_say.h"
#include "tests/support/hex.h"

namespace {

Bytes record(U32_t word) {
    return {static_cast<U8_t>(word >> 24), static_cast<U8_t>(word >> 16),
            static_cast<U8_t>(word >> 8), static_cast<U8_t>(word)};
}

void append(Bytes* page, const Bytes& bytes) {
    page->insert(page->end(), bytes.begin(), bytes.end());
}

constexpr U32_t SELECT = 0x80000000;

}  // namespace

U32_t Model::asked(const char* section, int n) const {
    const auto records = put_.find(section);
    const auto found = records == put_.end() ? Records::const_iterator() : records->second.find(n);
    return records == put_.end() || found == records->second.end() ? 0 : found->second;
}

// Reads the enclosure as it is asked for, and tells what is new at once.
void Model::page() {
    std::vector<U32_t> words;
    drivesPage(&words);
    suppliesPage(&words);
    fansPage(&words);
    sensorsPage(&words);
    alarmPage(&words);
    Bytes page{2, 0, 0, 0, 0, 0, 0, 0};
    for (const U32_t word : words) {
        append(&page, record(word));
    }
    page[2] = static_cast<U8_t>((page.size() - 4) >> 8);
    page[3] = static_cast<U8_t>(page.size() - 4);
    reply(0x1C, page);
}

void Model::drivesPage(std::vector<U32_t>* words) {
    words->push_back(0);
    for (int slot = 0; slot < slots_; ++slot) {
        const bool asks = is(Board::xyratex);
        const U32_t code = asks && (!reach(0) || absent_.contains(slot)) ? 5 : 1;
        words->push_back(code << 24 | static_cast<U32_t>(slot) << 16 | (asked("drives", slot) & 4));
    }
}

// Inputs are one for all supplies; an input asked for later overrides.
U32_t Model::supplyPage(bool* changed) {
    const bool isXyratex = is(Board::xyratex);
    U32_t word = 0x01000000;
    std::vector<U32_t> order = supplyOrder();
    if (isXyratex) {
        std::swap(order[0], order[1]);
    }
    for (const U32_t bit : order) {
        bool isNew = false;
        const bool good = supplyCheck(bit, true, &isNew);
        const bool failed = isXyratex ? !good || (word & 2) != 0 : (faults_ & bit) != 0;
        const U32_t code = isXyratex && bit == VOLTAGE ? word >> 24 : good ? 1 : 5;
        word = code << 24 | (bit == VOLTAGE && !good ? 0x40 : 0) | (failed ? 2 : 0);
        *changed |= isNew;
    }
    return word;
}

void Model::suppliesPage(std::vector<U32_t>* words) {
    bool changed = false;
    words->push_back(0);
    for (int supply = 0; supply < supplies_; ++supply) {
        const U32_t found = is(Board::none) ? 0x01000000 : supplyPage(&changed);
        words->push_back(found | (asked("supply", supply) & 6) | 1);
    }
    if (changed) {
        supplyEvent(2);
    }
}

// A fan that cannot be read is shown as running.
U32_t Model::fanPage(int fan, bool* changed) {
    const int rpm = fan < FANS ? fanSpeed(fan) : NO_PULSES;
    if (rpm < 0) {
        return 0xE0;
    }
    say("fanRead", "Fan [{}] has RPM [{}] divided by a factor of 10.", fan, rpm);
    const auto tens = static_cast<U32_t>(rpm / 10);
    const U32_t word = (tens & 0x300) << 14 | (tens & 0xFF) << 8 | (tens == 0 ? 0x08 : 0xE0);
    if (!is(Board::xyratex)) {
        return word;
    }
    *changed |= fanMark(fan, rpm <= 500);
    fanLed(failedFans_ != 0);
    return word | (rpm <= 500 ? 2 : 0);
}

void Model::fansPage(std::vector<U32_t>* words) {
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

void Model::sensorsPage(std::vector<U32_t>* words) {
    words->push_back(0);
    temperaturesRead();
    for (int sensor = 0; sensor < sensors(); ++sensor) {
        const int degrees = sensor < SENSORS ? reading_[sensor] : UNREADABLE;
        const U32_t flags = (degrees > 55 ? 0x20U : 0) | (degrees > 60 ? 0x10U : 0) |
                            (degrees < 1 ? 0x80U : 0) | (degrees < 0 ? 0x40U : 0);
        words->push_back(
            degrees == UNREADABLE ? 0 : (static_cast<U32_t>(degrees + 20) & 0xFF) << 8 | flags);
    }
}

void Model::alarmPage(std::vector<U32_t>* words) {
    const U32_t request = asked("alarms", 0);
    const int state = is(Board::xyratex) ? alarmRead() : static_cast<int>(alarm_);
    const bool muted = is(Board::none) ? (request & 2) != 0 : state == 0;
    words->push_back(0);
    words->push_back((request & 0x200000F8) | (muted ? 2 : 0) | (request >> 1 & 1));
}

// A request names records, "fans 2 80000004, leds 3": all others of the page are 0, but the drives'
// LEDs stay as last named.
void Model::put(const Words& words) {
    put_.clear();
    std::istringstream list(words.from(1));
    for (std::string text; std::getline(list, text, ',');) {
        const Words request(text);
        if (request[0] == "leds") {
            lit_.clear();
            for (std::size_t n = 1; n < request.all.size(); ++n) {
                lit_[request.number(n)] = 4;
            }
        } else {
            put_[request[0]][request.number(1)] =
                static_cast<U32_t>(std::stoul(request[2], nullptr, 16));
        }
    }
    Records lit = lit_;
    put_["drives"].merge(lit);
    drivesPut();
    suppliesPut();
    for (const auto& [fan, request] : put_["fans"]) {
        if ((request & SELECT) != 0 && fan < FANS) {
            fanPut(fan, (request & 4) != 0);
        }
    }
    if ((asked("alarms", 0) & SELECT) != 0) {
        alarmPut(asked("alarms", 0));
    }
    reply(0x1D, Bytes(4));
    messages.back().pop_back();
}

void Model::drivesPut() {
    U32_t changed = 0;
    for (int slot = 0; slot < slots_; ++slot) {
        const U32_t bit = U32_t{1} << slot;
        const bool lit = (asked("drives", slot) & 4) != 0;
        if (((ledsBooked_ & bit) != 0) != lit) {
            ledWrite(bit, lit);
            changed |= bit;
        }
    }
    if (changed != 0) {
        event(5, 2, {{156, static_cast<U32_t>(slots_)}, {176, ledsBooked_ & 0xFFFF}});
    }
}

// One indication for all; bit 2 is set while there is none.
void Model::suppliesPut() {
    bool changed = false;
    for (const auto& [supply, request] : put_["supply"]) {
        const bool fails = (request & 2) != 0;
        if ((request & SELECT) == 0 || fails == ((supply_ & 4) == 0)) {
            continue;
        }
        if (is(Board::xyratex)) {
            ledWrite(PSU_OK, !fails);
        } else if (!is(Board::none)) {
            fault(isVitesse() || is(Board::w83792ad) ? REDUNDANCY : VOLTAGE, fails ? -1 : 0);
        }
        supply_ ^= 4;
        changed = true;
    }
    if (changed) {
        supplyEvent(2);
    }
}

// Xyratex fans are switched in fours, and booked each. Off takes the power of all VSC055 fans. On
// is no full duty of a W83782D.
void Model::fanPut(int fan, bool on) {
    const int size = is(Board::xyratex) ? 4 : 1;
    const int first = fan / size * size;
    const double duty = on && is(Board::w83782d) ? 100 * 100 / 255.0 : chipDuty(on ? 100 : 0);
    if (!is(Board::none) && reachFan(fan)) {
        chipLoad(first / size, duty);
        powered_ = powered_ && (on || !is(Board::vsc055));
    }
    std::fill_n(load_ + first, size, on ? 100 : 0);
}

void Model::alarmPut(U32_t request) {
    const int loud = is(Board::xyratex) ? 4 : 1;
    const int state = (request & 0x02) != 0   ? 3
                      : (request & 0xC0) != 0 ? loud
                      : (request & 0x30) != 0 ? 1
                                              : -1;
    if (state < 0) {
        return;
    }
    alarmSet(state);
    alarm_ = static_cast<U32_t>(state);
    if (state == 3 && is(Board::vsc055)) {
        reach(0);  // clears the supply's alarm
    }
}
