// SPDX-License-Identifier: Apache-2.0
// Bring-up of the VSC055: the register traffic in order, and each transfer failing once.
#include "backend/vsc055.h"
#include "tests/support/enclosure_rig.h"

namespace {

const Lines BRING_UP = {
    "R 41 10=00",  // probe
    "W 41 04=50",
    // directions, each read back
    "W 41 10=FF", "R 41 10=FF", "W 41 11=00", "R 41 11=00", "W 41 12=FF", "R 41 12=FF",
    "W 41 13=FF", "R 41 13=FF", "W 41 14=80", "R 41 14=80", "W 41 15=00", "R 41 15=00",
    "W 41 16=00", "R 41 16=00", "W 41 17=00", "R 41 17=00",
    // ports, only looked at
    "R 41 00=00", "R 41 01=00", "R 41 02=00", "R 41 03=00", "R 41 04=50", "R 41 05=00",
    "R 41 06=00", "R 41 07=00",
    // sensors
    "R 4C 00=19", "R 4B 00=19",
    // fans at 50 percent
    "W 41 98=2F", "W 41 99=2F", "W 41 9A=2F",
    // lamp test: off, lit, off again
    "W 41 06=FF", "W 41 07=FF", "W 41 06=00", "W 41 07=00", "W 41 06=FF", "W 41 07=FF",
    // fan control
    "W 41 30=81", "W 41 34=81", "W 41 38=81"};

constexpr int LAMPS_LIT = 35;  // transfers until then

class Vsc055Init : public EnclosureRig {
  protected:
    Vsc055Init() { healthyVsc055(); }
};

TEST_F(Vsc055Init, WritesTheRegistersInOrder) {
    EXPECT_EQ(esaVsc055Init(), ESA_E_OK);
    EXPECT_EQ(bus.takeLog(), BRING_UP);
    EXPECT_EQ(sleeps, (std::vector<Sleep>{{LAMPS_LIT, 3}}));
    EXPECT_EQ(sentTake(), Lines{});
}

TEST_F(Vsc055Init, LeavesTheServiceReadyToPoll) {
    esaVsc055Init();
    EXPECT_EQ(esaControl.i2cConnected, 1);
    EXPECT_EQ(esaControl.alarmState, 3u);
    EXPECT_EQ(esaControl.powerSupplyStatus, 0x3u);
    EXPECT_EQ(esaControl.i2cDeviceFaultStatus, 0u);
    const U8_t loads[8] = {50, 50, 50};
    const U8_t on[8] = {2, 2, 2};
    EXPECT_TRUE(std::equal(loads, loads + 8, esaControl.fanPwmLoad));
    EXPECT_TRUE(std::equal(on, on + 8, esaControl.coolingElementOnOff));
    const VitesseControl_t shadows = {
        {0x00, 0x00, 0x00, 0x00, 0x50, 0x00, 0xFF, 0xFF},
        {0xFF, 0x00, 0xFF, 0xFF, 0x80, 0x00, 0x00, 0x00},
        {0x81, 0x81, 0x81},
        {0x2F, 0x2F, 0x2F},
    };
    EXPECT_EQ(std::memcmp(&esaControl.vitesse, &shadows, sizeof shadows), 0);
}

TEST_F(Vsc055Init, SaysWhatItDoes) {
    esaControl.coolingMaxNumber = 1;
    esaControl.temperatureSensorMaxNumber = 1;
    esaVsc055Init();
    Lines expected = {"Read I2C succeeds. I2C cable is connected",
                      "Set Backplane Alarm State to [MUTE_S3].",
                      "Setup the data direction for all VSC055 ports."};
    const char* const directions[] = {"ff", "0", "ff", "ff", "80", "0", "0", "0"};
    for (int n = 0; n < 8; ++n) {
        const std::string port = std::to_string(n);
        const std::string value = directions[n];
        expected.push_back("ESA internal database, esaControl.vitesse.vsc055DDP[" + port +
                           "] = [0x" + value + "]");
        expected.push_back("Read VSC055_DDP[" + port + "] Register, returned value = [0x" + value +
                           "]");
    }
    expected.push_back("Read VSC055_GPD Register");
    for (int n = 0; n < 8; ++n) {
        expected.push_back("Read VSC055_GPD[" + std::to_string(n) +
                           "] Register, returned value = [0x" + (n == 4 ? "50]" : "0]"));
    }
    expected.insert(expected.end(), {"Read I2C succeeds. I2C cable is connected",
                                     "Load PWM [50] Percent to Fan [0]",
                                     "Initialize vsc055FSC[0] Register with value = [0x81]"});
    EXPECT_EQ(takeLines(), expected);
}

TEST_F(Vsc055Init, LampTestDrivesAllLedsOfASmallChassisToo) {
    esaControl.deviceMaxNumber = 4;
    esaVsc055Init();
    EXPECT_EQ(bus.takeLog(), BRING_UP);
}

TEST_F(Vsc055Init, MissingControllerIsReportedAndNothingWritten) {
    bus.cut(0x41);
    EXPECT_EQ(esaVsc055Init(), ESA_E_GENERR_I2C_UNAVAILABLE);
    EXPECT_EQ(bus.takeLog(), (Lines{"R 41 10 fails"}));
    EXPECT_EQ(esaControl.i2cConnected, 0);
    EXPECT_EQ(esaControl.i2cDeviceFaultStatus, 0x1u);
    EXPECT_EQ(esaControl.compositeFaultStatus, 0x80000010u);
    EXPECT_EQ(sentTake(),
              (Lines{"led on", "mail",
                     "event 10/2 enclosureType=5 information=2 general_use1=0xffffffff"}));
    const Lines lines = takeLines();
    EXPECT_EQ(lines[0], "Read I2C fails. I2C cable is not connected or wrong enclosure type.");
    EXPECT_EQ(lines[1], "Now marking Fault on I2C Device with Address [0x41].");
}

TEST_F(Vsc055Init, MissingSensorStopsBringUpBeforeTheFans) {
    bus.cut(0x4B);
    EXPECT_EQ(esaVsc055Init(), ESA_E_GENERR_I2C_UNAVAILABLE);
    Lines expected(BRING_UP.begin(), BRING_UP.begin() + 27);
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

TEST_F(Vsc055Init, EveryTransferMayFail) {
    for (int n = 1; n <= static_cast<int>(BRING_UP.size()); ++n) {
        SCOPED_TRACE(testing::Message() << "transfer " << n << " fails");
        healthyVsc055();
        bus.failTransfer(n);
        const ESA_CODE_e code = esaVsc055Init();
        const Lines log = bus.takeLog();
        const bool read = BRING_UP[static_cast<std::size_t>(n) - 1][0] == 'R';
        // A failed read stops bring-up, a failed write does not.
        EXPECT_EQ(code, read ? ESA_E_GENERR_I2C_UNAVAILABLE : ESA_E_OK);
        EXPECT_EQ(log.size(), read ? static_cast<std::size_t>(n) : BRING_UP.size());
        // Probes mark a device as not connected; reads through the fault tracking do not.
        const bool probe = n == 1 || n == 27 || n == 28;
        EXPECT_EQ(esaControl.i2cConnected, probe ? 0 : 1);
        const bool last = n == static_cast<int>(BRING_UP.size());
        const U32_t sensorFault = n == 27 ? 0x2 : 0x4;
        const U32_t stoppedFault = n == 27 || n == 28 ? sensorFault : 0x1;
        EXPECT_EQ(esaControl.i2cDeviceFaultStatus, read || last ? stoppedFault : 0);
        EXPECT_EQ(esaControl.fanPwmLoad[2], read ? 0 : 50);
        EXPECT_EQ(esaControl.powerSupplyStatus, read ? 0u : 0x3u);
    }
}

TEST_F(Vsc055Init, CountsAboveTheArraysStayInsideThem) {
    for (U8_t address : {U8_t{0x4A}, U8_t{0x4D}, U8_t{0x4E}, U8_t{0x4F}, U8_t{0x00}}) {
        bus.reg(address, 0x00) = 25;
    }
    for (U8_t count : {U8_t{44}, U8_t{255}}) {
        esaControl.coolingMaxNumber = count;
        esaControl.temperatureSensorMaxNumber = count;
        EXPECT_EQ(esaVsc055Init(), ESA_E_OK);
        const Lines log = bus.takeLog();
        EXPECT_EQ(std::count(log.begin(), log.end(), "W 41 9F=2F"), 1);
        EXPECT_EQ(std::count(log.begin(), log.end(), "W 41 4C=81"), 1);
        // One more of each fan's two registers than of 3 fans, and 8 sensors instead of 2.
        EXPECT_EQ(log.size(), BRING_UP.size() + 2 * 5 + 6);
    }
}

}  // namespace
