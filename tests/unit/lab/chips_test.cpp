// SPDX-License-Identifier: Apache-2.0
// The chip models against the facts of their register descriptions (docs/chips), by random traffic.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "lab/chips/pca9539.h"
#include "lab/chips/vsc055.h"
#include "lab/chips/w83782d.h"
#include "lab/chips/w83792ad.h"
#include "tests/support/hex.h"
#include "tests/support/script.h"
#include "tests/unit/lab/random.h"

namespace enclab {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Register numbers with a value, hexadecimal: "10-17 30-4C/4=FF" counts in fours.
std::map<unsigned, unsigned> registersIn(const std::string& text) {
    std::map<unsigned, unsigned> found;
    for (const std::string& word : Words(text).all) {
        unsigned first = 0, last = 0, stride = 1, value = 0;
        const int read = std::sscanf(word.c_str(), "%x-%x/%x", &first, &last, &stride);
        std::sscanf(word.c_str() + std::min(word.find('='), word.size()), "=%x", &value);
        for (last = read < 2 ? first : last; first <= last; first += stride) {
            found[first] = value;
        }
    }
    return found;
}

// By its register description, but for ports, which the service reads and drives.
struct Facts {
    const char* kept;                          // registers that store what is written
    const char* powerOn;                       // registers that are not 0 then
    std::function<unsigned(unsigned)> behind;  // the register of the next byte
    const char* ports;
};

void expectFacts(RegisterChip&& chip, const Facts& facts) {
    const auto kept = registersIn(facts.kept), ports = registersIn(facts.ports);
    auto stored = registersIn(facts.powerOn);
    unsigned pointer = 0;
    for (int step = 0; step < 1000; ++step) {
        Bytes written(numbers() % 5);
        std::ranges::generate(written, [] { return byteOf(numbers()); });
        chip.write(written);
        pointer = written.empty() ? pointer : written[0];
        for (std::size_t n = 1; n < written.size(); ++n, pointer = facts.behind(pointer)) {
            kept.contains(pointer) ? void(stored[pointer] = written[n]) : void();
        }
        const Bytes shown = chip.registers();
        for (unsigned number = 0; number < 256; ++number) {
            ASSERT_TRUE(shown[number] == stored[number] || ports.contains(number))
                << number << " of " << facts.kept << " after " << hexLine(written);
        }
        Bytes bytes(numbers() % 4);
        chip.read(bytes);
        for (const unsigned byte : bytes) {
            ASSERT_EQ(byte, shown[pointer]) << facts.kept << " in step " << step;
            pointer = facts.behind(pointer);
        }
    }
}

TEST(Chips, StoreAndShowWhatTheirRegisterDescriptionSays) {
    expectFacts(Vsc055(), {"10-17 30-4C/4 98-9F", "10-17=FF 32-4E/4=FF 98-9F=3F",
                           [](unsigned n) { return (n + 1) % 256; }, "0-7"});
    expectFacts(Pca9539(), {"2-7", "2-3=FF 6-7=FF", [](unsigned n) { return n ^ 1; }, "0-1"});
    const auto stays = [](unsigned n) { return n; };
    expectFacts(W83782d(0x2D),
                {"2B-3D 40 48 4D 5A 5B 5E 5F",
                 "27=19 28-2A=FF 40=01 48=2D 4D=15 5A=FF 5B=FF 5E=FF 5F=FF", stays, ""});
    expectFacts(
        W83792ad(0x2C),
        {"1A 1B 1D 2B-3D 47 48 4A-4C 59 5B 5C 80-83 93 94 A0-A5",
         "27=19 28-2A=FF 48=2C 81=8F 83=8F 94=8F A3-A5=8F B8-BA=FF C0=19 C8=19", stays, "1C 1E"});
}

}  // namespace
}  // namespace enclab
