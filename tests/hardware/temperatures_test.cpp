// SPDX-License-Identifier: Apache-2.0
// What sensors hold, as degrees Celsius.
#include <gtest/gtest.h>

#include "chips/lm75.h"
#include "chips/w83782d.h"
#include "chips/w83792ad.h"
#include "tests/hardware/bench.h"

namespace {

using fmt::format;

constexpr int UNREADABLE = 32767;

// Nine bits of two's complement half degrees, toward zero.
int halfDegrees(int whole, int half) {
    const int nine = whole * 2 + half / 128;
    return (nine < 256 ? nine : nine - 512) / 2;
}

// The second read gives the whole degrees, the first one the half.
TEST(Temperatures, Lm75) {
    Bench bench(KORVO_E_CHASSIS_KORVO_VSC055);
    for (int n = 0; n < 2000; ++n) {
        const U8_t first = bench.byte(), second = u8(n);
        bench.next[0x4C00] = {first, second};
        EXPECT_EQ(lm75TemperatureRead(0x4C), halfDegrees(second, first)) << n;
        EXPECT_EQ(bench.take(), readGave(0x4C, 0, first) + readGave(0x4C, 0, second));
    }
    for (bench.failing = 1; bench.failing < 3; ++bench.failing) {
        const int lost = bench.failing;
        EXPECT_EQ(lm75TemperatureRead(0x4C), UNREADABLE);
        bench.failing = lost;
    }
}

// One whole and unsigned, two of half degrees, the low byte read first.
TEST(Temperatures, W83792ad) {
    Bench bench(KORVO_E_CHASSIS_KORVO_W83792AD);
    auto& registers = bench.registers[0x2C];
    for (int n = 0; n < 4000; ++n) {
        bench.restart(KORVO_E_CHASSIS_KORVO_W83792AD);
        esaControl.i2cAddressW83792ad = 0x2C;
        const int sensor = n % 5, high = sensor == 1 ? 0xC0 : 0xC8;
        bench.randomize(&registers);
        const int lost = bench.failing = n % 7 == 0 ? 1 + n % 2 : 0;
        int degrees =
            sensor == 0 ? registers[0x27] : halfDegrees(registers[high], registers[high + 1]);
        const int reads = sensor > 2 ? 0 : sensor > 0 ? 2 : 1;
        if (sensor > 2 || (lost != 0 && lost <= reads)) {
            degrees = UNREADABLE;
        }
        EXPECT_EQ(esaW83792adTemperatureRead(u8(sensor)), degrees);
        if (lost == 0) {
            std::string expected = sensor == 0 ? readGave(0x2C, 0x27, registers[0x27])
                                               : readGave(0x2C, high + 1, registers[high + 1]) +
                                                     readGave(0x2C, high, registers[high]);
            expected += format(
                "Temperature Sensor [{}] for I2C address [0x2c] = [{}] degrees "
                "Celsius.\n",
                sensor, degrees);
            EXPECT_EQ(bench.take(), sensor > 2 ? "" : expected);
        }
    }
}

// One signed byte, said under the design's own address whichever was read.
TEST(Temperatures, W83782d) {
    Bench bench(KORVO_E_CHASSIS_KORVO_W83782D);
    esaControl.i2cAddressW83782d = 0x2D;
    for (int value = 0; value < 256; ++value) {
        const int degrees = value < 128 ? value : value - 256;
        bench.registers[0x30][0x27] = u8(value);
        EXPECT_EQ(esaW83782dTemperatureRead(0x30, 0), degrees);
        EXPECT_EQ(bench.take(), readGave(0x30, 0x27, value) +
                                    format("Temperature Sensor [0] for I2C address [0x2d] = [{}] "
                                           "degrees Celsius.\n",
                                           degrees));
    }
    EXPECT_EQ(esaW83782dTemperatureRead(0x30, 1), UNREADABLE);
    EXPECT_EQ(bench.take(),
              "Temperature Sensor [1] for I2C address [0x2d] = [32767] degrees Celsius.\n");
    bench.failing = 1;
    EXPECT_EQ(esaW83782dTemperatureRead(0x30, 0), UNREADABLE);
}

// ---- all sensors of a chassis ----

struct Sensors {
    KORVO_E_CHASSIS_t type;
    int count;            // 0: as many as the personality file says, eight at most
    const char* text[2];  // of sensor {0} at {1}, its LM75 at {2}, by a poll: unreadable, readable
    const char* page[2];
};

constexpr char SAID[] = "temperatureSensor[{0}] = [{1}] degrees Celsius.\n";
#define LM75_UNREADABLE                                                                         \
    "Read I2C fails with LM75 Address [{2:#x}]. I2C cable is not connected or wrong enclosure " \
    "type.\n"
constexpr char XYRATEX_SAID[] =
    "temperatureSensor[ESA_K_TEMPERATURE_SENSOR_{3}] = [{1}] degrees Celsius.\n";

const Sensors SENSORS[] = {
    {KORVO_E_CHASSIS_XYRATEX_2U12ATX,
     2,
     {LM75_UNREADABLE "temperatureSensor[ESA_K_TEMPERATURE_SENSOR_{3}] = [{1}] degrees Celsius.\n",
      XYRATEX_SAID},
     {"", ""}},
    {KORVO_E_CHASSIS_KORVO_VSC055,
     0,
     {LM75_UNREADABLE "temperatureSensor[{0}] = [{1}] degrees Celsius.\n", SAID},
     {LM75_UNREADABLE, SAID}},
    {KORVO_E_CHASSIS_CHENBRO_3U16ATX, 4, {SAID, SAID}, {"", ""}},
    {KORVO_E_CHASSIS_KORVO_W83782D, 0, {SAID, SAID}, {"", ""}},
    {KORVO_E_CHASSIS_KORVO_W83792AD, 0, {SAID, SAID}, {"", ""}},
};

TEST(Temperatures, PollsAndPagesKeepEverySensorOfTheChassis) {
    constexpr int LM75[2][8] = {{0x4C, 0x4D}, {0x4C, 0x4B, 0x4A, 0x4D, 0x4E, 0x4F, 0, 0}};
    constexpr int MONITORS[] = {0x28, 0x2A, 0x2C, 0x30};
    for (const Sensors& row : SENSORS) {
        const bool hasLm75 = row.type == KORVO_E_CHASSIS_KORVO_VSC055 || row.count == 2;
        const auto& lm75 = LM75[row.count == 0];
        Bench bench(row.type);
        for (int n = 0; n < 200; ++n) {
            bench.restart(row.type);
            bench.use(FOLDERS.at(row.type));
            std::ranges::copy(lm75, esaControl.i2cAddressLM75);
            const int claimed = esaControl.temperatureSensorMaxNumber = u8(bench.below(12));
            for (const int address : {0x4A, 0x4B, 0x4C, 0x4D, 0x28, 0x2A, 0x30}) {
                bench.cut[static_cast<std::size_t>(address)] = bench.below(4) == 0;
            }
            for (auto& device : bench.registers) {
                device[hasLm75 ? 0 : 0x27] = u8(bench.below(128));
            }
            const int sensors = row.count != 0 ? row.count : std::min(claimed, 8);
            const bool page = n % 2 == 1;
            (page ? esaChassis()->temperaturesPageRead : esaChassis()->temperaturesPoll)();
            std::string expected;
            for (int sensor = 0; sensor < sensors; ++sensor) {
                const auto address = static_cast<std::size_t>(hasLm75          ? lm75[sensor]
                                                              : row.count == 4 ? MONITORS[sensor]
                                                                               : 0);
                const S16_t degrees = esaControl.temperatureSensor[sensor];
                if (hasLm75 || row.count == 4) {
                    EXPECT_EQ(degrees, bench.cut[address]
                                           ? UNREADABLE
                                           : bench.registers[address][hasLm75 ? 0 : 0x27]);
                }
                expected +=
                    format(fmt::runtime((page ? row.page : row.text)[degrees != UNREADABLE]),
                           sensor, degrees, address, sensor == 0 ? "LHS" : "RHS");
            }
            EXPECT_EQ(linesWith(bench.take(), {"temperatureSensor[", "LM75"}), expected);
            for (int sensor = sensors; sensor < 8; ++sensor) {
                EXPECT_EQ(esaControl.temperatureSensor[sensor], 0) << "not one of the chassis";
            }
        }
    }
}

}  // namespace
