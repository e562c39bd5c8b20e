// SPDX-License-Identifier: Apache-2.0
// The service's chassis, chips and policies on a bus of plain registers, its link cut off. All that
// comes of a call is text, a line each: transfers ("W 41 98=27", "R 41 04=80", "R 41 04 fails"),
// "sleep 3", the log's lines, and what peers are told ("event 10/3", "led on", "mail").
#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "state/chassis.h"
#include "tests/support/laws.h"
#include "tests/support/script.h"
#include "tests/support/trace_capture.h"

constexpr U8_t u8(int value) {
    return static_cast<U8_t>(value);
}

// The types that have a back-end, with what a personality file counts.
struct Enclosure {
    KORVO_E_CHASSIS_t type;
    const char* folder;  // in tests/golden
    U8_t drives, supplies, fans, sensors;
};
constexpr Enclosure ENCLOSURES[] = {
    {KORVO_E_CHASSIS_XYRATEX_2U12ATX, "xyratex", 12, 2, 8, 2},
    {KORVO_E_CHASSIS_KORVO_VSC055, "vsc055", 16, 2, 3, 2},
    {KORVO_E_CHASSIS_CHENBRO_3U16ATX, "chenbro", 0, 0, 0, 0},
    {KORVO_E_CHASSIS_KORVO_W83782D, "w83782d", 0, 0, 0, 0},
    {KORVO_E_CHASSIS_KORVO_W83792AD, "w83792ad", 16, 2, 6, 3},
    {KORVO_E_CHASSIS_PELTO_TOLVEX, "vsc055", 16, 2, 3, 2},
};

// Sections of status and control pages; elements at most.
struct Section {
    const char* name;
    U8_t EsaControl_t::*count;
    int most;
};
constexpr Section SECTIONS[] = {{"drives", &EsaControl_t::deviceMaxNumber, 16},
                                {"supply", &EsaControl_t::powerSupplyMaxNumber, 3},
                                {"fans", &EsaControl_t::coolingMaxNumber, 8},
                                {"sensors", &EsaControl_t::temperatureSensorMaxNumber, 8},
                                {"alarms", &EsaControl_t::audibleAlarmMaxNumber, 1}};

// ---- what is typed in tests/golden ----

struct Transfer {
    std::string text;  // "W 41 98=27", "R 41 98 fails", "sleep 3"
    int position = 0;  // among the transfers, from 1 on
    int address = 0, number = 0;
    std::optional<U8_t> value = {};
    char mark = ' ';
    std::size_t goesOn = std::string::npos;  // behind which one, after a loss marked '!'
    std::string failed = {};                 // said then
};
struct Typed {
    std::vector<Transfer> transfers;
    Lines lines;  // transfers, and what is said between them
    std::string result = "good";
    int count = 0;  // of transfers that are no waits
};
Typed typedBy(const Lines& lines);
const std::vector<ScriptChapter>& goldenOf(const std::string& folder);

// ---- the bench ----

class Bench {
  public:
    explicit Bench(KORVO_E_CHASSIS_t type);
    ~Bench();

    // A service of this type that knows no more than its personality file, and its enclosure in
    // good health; every other address answers, too.
    void restart(KORVO_E_CHASSIS_t type);

    // A message with this control list, `lost` bytes short, in front of the rest of an older one.
    ESA_CODE_e controlPage(const Bytes& list, int lost = 0, U8_t requestor = 2);

    // What came of the calls since the last take.
    Lines take();

    int below(int limit) { return static_cast<int>(random.below(static_cast<std::size_t>(limit))); }
    template <typename T>
    void randomize(T* value) {
        std::ranges::copy(random.bytes(sizeof *value), reinterpret_cast<U8_t*>(value));
    }

    Random random{1};
    U8_t registers[128][256] = {};
    U8_t inputs[128][256] = {};               // bits of a register that writes leave alone
    std::deque<std::optional<U8_t>> answers;  // to the next transfers; none: it fails
    int failing = 0;                          // the n-th transfer from now fails; 0: none

    // The platform's side.
    int transfer(bool isWrite, U8_t address, U8_t number, U8_t* value);
    S32_t say(const std::string& line);

  private:
    void traceTake();

    std::unique_ptr<TraceCapture> trace_;
    Lines lines_;
};

// "W 41 98=27"; without a value it fails.
std::string transferText(char direction, int address, int number, std::optional<U8_t> value);
