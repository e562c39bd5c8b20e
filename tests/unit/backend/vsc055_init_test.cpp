// SPDX-License-Identifier: Apache-2.0
// What bring-up of the VSC055 has of its own.
#include "backend/vsc055.h"
#include "tests/support/enclosure_rig.h"
#include "tests/support/golden_traffic.h"

namespace {

class Vsc055Init : public EnclosureRig {
  protected:
    Vsc055Init() { healthyVsc055(); }
    const Lines bringUp = goldenTraffic("vsc055/bring-up");
};

TEST_F(Vsc055Init, ShadowsHoldWhatWasWrittenAndNothingRead) {
    bus.reg(0x41, 0x02) = 0xAA;
    esaVsc055Init();
    const VitesseControl_t shadows = {
        {0x00, 0x00, 0x00, 0x00, 0x50, 0x00, 0xFF, 0xFF},
        {0xFF, 0x00, 0xFF, 0xFF, 0x80, 0x00, 0x00, 0x00},
        {0x81, 0x81, 0x81},
        {0x2F, 0x2F, 0x2F},
    };
    EXPECT_EQ(std::memcmp(&esaControl.vitesse, &shadows, sizeof shadows), 0);
}

TEST_F(Vsc055Init, LampTestDrivesAllLedsOfASmallChassisToo) {
    esaControl.deviceMaxNumber = 4;
    esaVsc055Init();
    EXPECT_EQ(bus.takeLog(), bringUp);
}

TEST_F(Vsc055Init, MissingSensorStopsBringUpBeforeTheFans) {
    bus.cut(0x4B);
    EXPECT_EQ(esaVsc055Init(), ESA_E_GENERR_I2C_UNAVAILABLE);
    Lines expected(bringUp.begin(), bringUp.begin() + 27);
    expected.push_back("R 4B 00 fails");
    EXPECT_EQ(bus.takeLog(), expected);
    EXPECT_EQ(esaControl.i2cConnected, 0);
    EXPECT_EQ(esaControl.i2cDeviceFaultStatus, 0x4u);
    EXPECT_EQ(esaControl.fanPwmLoad[0], 0);
    // The fault unmutes the alarm that bring-up has just muted.
    EXPECT_EQ(esaControl.alarmState, 1u);
    EXPECT_EQ(sentTake(),
              (Lines{"led on", "mail",
                     "event 10/2 enclosureType=5 information=2 general_use1=0xffffffff"}));
    Lines lines = takeLines();
    lines.erase(lines.begin(), lines.end() - 7);
    EXPECT_EQ(lines, (Lines{"Read I2C fails with LM75 Address [0x4b]. I2C cable is not connected "
                            "or wrong enclosure type.",
                            "This Fault bit is [I2C_BUS_FAULT]",
                            "This Fault bit [0x10] does NOT exist currently.",
                            "Set the new Fault bit [0x10].", "Turn on the Composite Fault LED.",
                            "Set Backplane Alarm State to [FAULT_S1].",
                            "Now marking Fault on I2C Device with Address [0x4b]."}));
}

}  // namespace
