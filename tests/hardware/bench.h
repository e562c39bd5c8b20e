// SPDX-License-Identifier: Apache-2.0
// The service's chassis, chips and policies on a bus of plain registers, its link cut off. All that
// comes of a call is text, a line each: transfers ("W 41 98=27", "R 41 04=80", "R 41 04 fails"),
// "sleep 3", the log's lines, and what peers are told ("event 10/3 information=4 sensor=1", "led
// on", "mail"). The composite fault manager's own log lines are left out.
#pragma once

#include <fmt/format.h>

#include <array>
#include <bitset>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "state/chassis.h"
#include "tests/support/trace_capture.h"

constexpr U8_t u8(int value) {
    return static_cast<U8_t>(value);
}

class Bench {
  public:
    // A service of this type that knows no more than its type, and a bus where every address
    // answers.
    explicit Bench(KORVO_E_CHASSIS_t type);
    ~Bench();
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;

    // Everything as it was after the constructor, the registers and the random numbers apart.
    void restart(KORVO_E_CHASSIS_t type);
    // Carries out the lines of tests/golden/FOLDER/registers.txt.
    void use(const std::string& folder);

    // A message with this control list, `lost` bytes short, in front of the rest of an older one.
    ESA_CODE_e controlPage(const std::vector<U8_t>& list, int lost = 0, U8_t requestor = 2);

    // What came of the calls since the last take.
    std::string take();

    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    U8_t byte() { return u8(below(256)); }
    template <typename T>
    void randomize(T* value) {
        for (std::size_t n = 0; n < sizeof *value; ++n) {
            reinterpret_cast<U8_t*>(value)[n] = byte();
        }
    }

    U8_t registers[128][256] = {};
    U8_t inputs[128][256] = {};             // bits of a register that writes leave alone
    std::map<int, std::vector<U8_t>> next;  // by 256 x address + number: what reads give first
    std::bitset<128> cut;                   // addresses that do not answer
    int failing = 0;                        // the n-th transfer from now fails; 0: none
    bool log = true, traffic = true;        // said or not

    // The platform's side.
    int transfer(bool isWrite, U8_t address, U8_t number, U8_t* value);
    void say(const std::string& line);

  private:
    void traceTake();

    std::unique_ptr<TraceCapture> trace_;
    std::string lines_;
    std::mt19937 random_{1};
};

// Folder in tests/golden of each type that has a back-end.
inline const std::map<KORVO_E_CHASSIS_t, const char*> FOLDERS = {
    {KORVO_E_CHASSIS_XYRATEX_2U12ATX, "xyratex"}, {KORVO_E_CHASSIS_PELTO_TOLVEX, "vsc055"},
    {KORVO_E_CHASSIS_CHENBRO_3U16ATX, "chenbro"}, {KORVO_E_CHASSIS_KORVO_VSC055, "vsc055"},
    {KORVO_E_CHASSIS_KORVO_W83782D, "w83782d"},   {KORVO_E_CHASSIS_KORVO_W83792AD, "w83792ad"}};

// The lines of `text` that hold one of the words.
std::string linesWith(const std::string& text, std::initializer_list<const char*> words);
// "W 41 98=27\n"
std::string wrote(int address, int number, int value);
std::string readGave(int address, int number, int value);
