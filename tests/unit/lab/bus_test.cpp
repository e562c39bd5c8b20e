// SPDX-License-Identifier: Apache-2.0
// The enclosure bus: addresses, faults and what the log says about transfers.
#include "lab/bus/bus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace enclab {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Messages = std::vector<BusMessage>;
using Log = std::vector<std::string>;

// Registers with a pointer; refuses writes to register 0xEE.
class TestChip : public Chip {
  public:
    bool write(std::span<const std::uint8_t> bytes) override {
        if (!bytes.empty()) {
            pointer = bytes[0];
        }
        if (bytes.size() > 1) {
            registers[pointer] = bytes[1];
        }
        return pointer != 0xEE;
    }
    void read(std::span<std::uint8_t> bytes) override {
        for (std::uint8_t& byte : bytes) {
            byte = registers[pointer];
        }
    }

    std::array<std::uint8_t, 256> registers{};
    std::uint8_t pointer = 0;
};

class BusTest : public testing::Test {
  protected:
    BusTest() {
        bus.attach(0x41, first);
        bus.attach(0x4C, second);
        first.registers[4] = 0x80;
        second.registers[0] = 0x1E;
    }

    int run(Messages messages) { return bus.transfer(messages).error; }

    Log takeLog() {
        Log lines;
        for (const BusTransfer& transfer : bus.log()) {
            lines.push_back(describe(transfer));
        }
        bus.clearLog();
        return lines;
    }

    TestChip first;
    TestChip second;
    Bus bus;
};

TEST_F(BusTest, TransfersReachTheChipOfTheirAddress) {
    EXPECT_EQ(bus.readRegister(0x41, 4), 0x80);
    EXPECT_EQ(bus.readRegister(0x4C, 0), 0x1E);
    EXPECT_TRUE(bus.writeRegister(0x4C, 3, 0x55));
    EXPECT_EQ(second.registers[3], 0x55);
    EXPECT_EQ(first.registers[3], 0);
    EXPECT_EQ(bus.readRegister(0x42, 0), std::nullopt);
    EXPECT_EQ(takeLog(), (Log{"R 41 04=80", "R 4c 00=1e", "W 4c 03=55", "R 42 00 ENXIO"}));
}

TEST_F(BusTest, LogDescribesEveryKindOfTransfer) {
    EXPECT_EQ(run({{0x41, false, {}}}), 0);
    EXPECT_EQ(run({{0x41, false, {4}}}), 0);
    EXPECT_EQ(run({{0x41, true, {0}}}), 0);
    EXPECT_EQ(run({{0x41, false, {4}}, {0x41, true, {0, 0}}}), 0);
    EXPECT_EQ(run({{0x41, false, {4, 1, 2}}}), 0);
    EXPECT_EQ(run({{0x41, false, {4}}, {0x4C, true, {0}}}), 0);
    EXPECT_EQ(run({{0x41, false, {0xEE, 1}}}), ENXIO);
    EXPECT_EQ(run({{0x42, true, {0}}}), ENXIO);
    EXPECT_EQ(takeLog(), (Log{"W 41", "W 41 04", "R 41 =80", "R 41 04=80 80", "W 41 04=01 02",
                              "W 41 04 + R 4c =1e", "W 41 ee ENXIO", "R 42 =00 ENXIO"}));
    EXPECT_EQ(run({}), EINVAL);
    EXPECT_EQ(takeLog(), Log{});
}

TEST_F(BusTest, CutAddressWithoutAChipIsMendedAlone) {
    bus.cut(0x50);
    bus.cut(0x51);
    bus.mend(0x50);
    EXPECT_FALSE(bus.isCut(0x50));
    EXPECT_TRUE(bus.isCut(0x51));
}

TEST_F(BusTest, MessagesBeforeOneThatFailsHaveHappened) {
    EXPECT_EQ(run({{0x41, false, {7, 0x11}}, {0x42, false, {0}}, {0x4C, false, {7, 0x22}}}), ENXIO);
    EXPECT_EQ(first.registers[7], 0x11);
    EXPECT_EQ(second.registers[7], 0);
}

TEST_F(BusTest, ObserversSeeTransfersUntilTheyAreRemoved) {
    Log seen;
    const int one = bus.observe([&](const BusTransfer& t) {
        seen.push_back(std::to_string(t.number) + " " + describe(t));
    });
    bus.observe([&](const BusTransfer& t) { seen.push_back("second " + describe(t)); });
    bus.readRegister(0x41, 4);
    bus.unobserve(one);
    bus.cut(0x41);
    bus.readRegister(0x41, 4);
    EXPECT_EQ(seen, (Log{"1 R 41 04=80", "second R 41 04=80", "second R 41 04 ENXIO"}));
}

TEST_F(BusTest, LogKeepsTheLastTransfers) {
    for (std::size_t n = 0; n < Bus::kLogLength + 5; ++n) {
        bus.readRegister(0x41, 4);
    }
    EXPECT_EQ(bus.log().size(), Bus::kLogLength);
    EXPECT_EQ(bus.log().front().number, 6U);
}

}  // namespace
}  // namespace enclab
