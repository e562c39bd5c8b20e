// SPDX-License-Identifier: Apache-2.0
// Fault tracking of the devices on the enclosure bus, by the rows of the real chassis table.
#include "i2c/esa_i2c.h"

#include "tests/support/enclosure_rig.h"

namespace {

constexpr U8_t ON_THE_BUS[] = {0x28, 0x2C, 0x41, 0x4A, 0x4B, 0x4C, 0x4D, 0x4E, 0x4F, 0x63, 0x74};

class I2c : public EnclosureRig {
  protected:
    I2c() { select(KORVO_E_CHASSIS_KORVO_VSC055); }

    void select(KORVO_E_CHASSIS_e type) {
        esaControl = {};
        esaControl.enclosureType = type;
        esaControl.i2cConnected = 1;
        for (U8_t address : ON_THE_BUS) {
            bus.reg(address, 0x00) = address;
        }
        trace.take();
        sentTake();
    }

    ESA_CODE_e readFrom(U8_t address) {
        U8_t value = 0;
        return esaI2CDataRead(address, 0x00, &value, 1);
    }
};

TEST_F(I2c, TransfersOneByteToTheRegisterGiven) {
    const U8_t sent = 0x5A;
    U8_t received = 0;
    EXPECT_EQ(esaI2CDataWrite(0x41, 0x17, &sent, 1), ESA_E_OK);
    EXPECT_EQ(esaI2CDataRead(0x41, 0x17, &received, 1), ESA_E_OK);
    EXPECT_EQ(received, 0x5A);
    EXPECT_EQ(bus.takeLog(), (Lines{"W 41 17=5A", "R 41 17=5A"}));
}

TEST_F(I2c, NothingHappensWhileTheEnclosureIsNotConnected) {
    esaControl.i2cConnected = 0;
    const U8_t value = 0;
    EXPECT_EQ(esaI2CDataWrite(0x41, 0x00, &value, 1), 1);
    EXPECT_EQ(readFrom(0x41), 1);
    EXPECT_EQ(bus.transfers(), 0);
    EXPECT_EQ(esaControl.i2cDeviceFaultStatus, 0u);
    EXPECT_EQ(trace.take(), Lines{});
}

TEST_F(I2c, EveryDeviceHasItsBitAndItsEvent) {
    const struct {
        KORVO_E_CHASSIS_e type;
        U8_t address;
        U32_t bit;
        const char* fields;  // of the event, behind its enclosure type
    } cases[] = {
        {KORVO_E_CHASSIS_XYRATEX_2U12ATX, 0x63, 0x001, " information=3"},
        {KORVO_E_CHASSIS_XYRATEX_2U12ATX, 0x4C, 0x002, " information=4"},
        {KORVO_E_CHASSIS_XYRATEX_2U12ATX, 0x4D, 0x004,
         " temperatureSensorPosition=1 information=4"},
        {KORVO_E_CHASSIS_PELTO_TOLVEX, 0x41, 0x001, " information=3"},
        {KORVO_E_CHASSIS_PELTO_TOLVEX, 0x4F, 0x040, " temperatureSensorPosition=5 information=4"},
        {KORVO_E_CHASSIS_KORVO_VSC055, 0x41, 0x001, " information=3"},
        {KORVO_E_CHASSIS_KORVO_VSC055, 0x4C, 0x002, " information=4"},
        {KORVO_E_CHASSIS_KORVO_VSC055, 0x4B, 0x004, " temperatureSensorPosition=1 information=4"},
        {KORVO_E_CHASSIS_KORVO_VSC055, 0x4A, 0x008, " temperatureSensorPosition=2 information=4"},
        {KORVO_E_CHASSIS_KORVO_VSC055, 0x4D, 0x010, " temperatureSensorPosition=3 information=4"},
        {KORVO_E_CHASSIS_KORVO_VSC055, 0x4E, 0x020, " temperatureSensorPosition=4 information=4"},
        {KORVO_E_CHASSIS_KORVO_VSC055, 0x4F, 0x040, " temperatureSensorPosition=5 information=4"},
        {KORVO_E_CHASSIS_KORVO_W83792AD, 0x2C, 0x100, " information=6"},
        {KORVO_E_CHASSIS_KORVO_W83792AD, 0x74, 0x200, " information=7"},
        // Addresses without a row share the first bit.
        {KORVO_E_CHASSIS_KORVO_VSC055, 0x63, 0x001, ""},
        {KORVO_E_CHASSIS_KORVO_W83792AD, 0x41, 0x001, ""},
        {KORVO_E_CHASSIS_NONE, 0x41, 0x001, ""},
        {KORVO_E_CHASSIS_CHENBRO_3U16ATX, 0x28, 0x001, ""},
        {KORVO_E_CHASSIS_KORVO_W83782D, 0x2C, 0x001, ""},
    };
    // Where the alarm hangs on the bus, too: it follows the last fault.
    for (const U8_t monitor : {U8_t{0x28}, U8_t{0x2A}, U8_t{0x2C}, U8_t{0x30}}) {
        bus.reg(monitor, 0x40);
    }
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << "type " << int{c.type} << ", address " << int{c.address});
        select(c.type);
        esaControl.i2cAddressW83782d = 0x2C;
        const std::string event = "event 10/2 enclosureType=" + std::to_string(c.type) + c.fields;
        bus.cut(c.address);
        EXPECT_EQ(readFrom(c.address), ESA_E_GENERR_I2C_UNAVAILABLE);
        EXPECT_EQ(esaControl.i2cDeviceFaultStatus, c.bit);
        EXPECT_EQ(sentTake(), (Lines{"led on", "mail", event + " general_use1=0xffffffff"}));
        bus.mend(c.address);
        EXPECT_EQ(readFrom(c.address), ESA_E_OK);
        EXPECT_EQ(esaControl.i2cDeviceFaultStatus, 0u);
        EXPECT_EQ(sentTake(), (Lines{"led off", event}));
    }
}

TEST_F(I2c, UndefinedAddressIsTransferredAndTracedAsAReadEvenWhenWritten) {
    const U8_t value = 0x11;
    EXPECT_EQ(esaI2CDataWrite(0x28, 0x05, &value, 1), ESA_E_OK);
    EXPECT_EQ(bus.takeLog(), (Lines{"W 28 05=11"}));
    EXPECT_EQ(trace.take(), (Lines{"I2C Bus Read with undefined address [0x28].",
                                   "Already marked OK on I2C Device with Address [0x28]."}));
    // Where no table applies, no address is undefined.
    select(KORVO_E_CHASSIS_KORVO_W83782D);
    EXPECT_EQ(readFrom(0x28), ESA_E_OK);
    EXPECT_EQ(trace.take(), (Lines{"Already marked OK on I2C Device with Address [0x28]."}));
}

TEST_F(I2c, OnlyTheFirstFailureIsReported) {
    bus.cut(0x4B);
    readFrom(0x4B);
    sentTake();
    EXPECT_EQ(readFrom(0x4B), ESA_E_GENERR_I2C_UNAVAILABLE);
    EXPECT_EQ(sentTake(), Lines{});
    const Lines lines = trace.take();
    EXPECT_EQ(lines[0], "Detect I2C Bus Status [ERROR] with Address [0x4b].");
    EXPECT_EQ(lines[1], "Now marking Fault on I2C Device with Address [0x4b].");
    EXPECT_EQ(lines.end()[-2], "Detect I2C Bus Status [ERROR] with Address [0x4b].");
    EXPECT_EQ(lines.end()[-1], "Already marked Fault on I2C Device with Address [0x4b].");
    bus.mend(0x4B);
    readFrom(0x4B);
    EXPECT_EQ(trace.take()[0], "Now marking OK on I2C Device with Address [0x4b].");
}

TEST_F(I2c, BusFaultLastsUntilTheLastDeviceRecovers) {
    bus.cut(0x4C);
    bus.cut(0x4B);
    readFrom(0x4C);
    EXPECT_EQ(sentTake().size(), 3u);  // LED, mail and event
    readFrom(0x4B);
    EXPECT_EQ(sentTake(), (Lines{"event 10/2 enclosureType=5 temperatureSensorPosition=1 "
                                 "information=4 general_use1=0xffffffff"}));
    EXPECT_EQ(esaControl.i2cDeviceFaultStatus, 0x6u);
    bus.mend(0x4C);
    readFrom(0x4C);
    EXPECT_EQ(sentTake(), (Lines{"event 10/2 enclosureType=5 information=4"}));
    EXPECT_EQ(esaControl.compositeFaultStatus, 0x80000010u);
    bus.mend(0x4B);
    readFrom(0x4B);
    EXPECT_EQ(sentTake(), (Lines{"led off",
                                 "event 10/2 enclosureType=5 "
                                 "temperatureSensorPosition=1 information=4"}));
    EXPECT_EQ(esaControl.compositeFaultStatus, 0u);
}

}  // namespace
