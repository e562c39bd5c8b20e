// SPDX-License-Identifier: Apache-2.0
// The poll of a VSC055 chassis: traffic, what changes from poll to poll, and each transfer failing.
#include <gmock/gmock.h>

#include "backend/vsc055.h"
#include "tests/support/enclosure_rig.h"

namespace {

const Lines POLL = {"R 41 04=80", "R 41 32=78", "R 41 36=78", "R 41 3A=78",
                    "R 4C 00=19", "R 4C 00=19", "R 4B 00=19", "R 4B 00=19"};

class Vsc055Poll : public EnclosureRig {
  protected:
    Vsc055Poll() { running(); }

    // As bring-up leaves it, but without its traffic.
    void running() {
        healthyVsc055();
        esaControl.i2cConnected = 1;
        esaControl.powerSupplyStatus = 0x3;
        esaControl.alarmState = 3;
        std::fill_n(esaControl.fanPwmLoad, 3, U8_t{50});
    }

    Lines poll() {
        bus.takeLog();
        takeLines();
        esaVsc055PollTimeoutProcess();
        return sentTake();
    }
};

TEST_F(Vsc055Poll, HealthyEnclosureCostsEightReadsAndSendsNothing) {
    EXPECT_EQ(poll(), Lines{});
    EXPECT_EQ(bus.takeLog(), POLL);
    EXPECT_EQ(takeLines(), (Lines{"Return Power Fail Status [OK].",
                                  "This Fault bit is [POWER_SUPPLY_REDUNDANCY]",
                                  "This Fault bit [0x2] does NOT exist currently.",
                                  "The Fault bit [0x2] is already clear.",
                                  "Power Redundancy Status already [OK].",
                                  "Fan [0] has Vitesse Fan Speed value = [120].",
                                  "Fan [0] has speed [5000] RPM.",
                                  "Already marked OK on Fan [0].",
                                  "Fan [1] has Vitesse Fan Speed value = [120].",
                                  "Fan [1] has speed [5000] RPM.",
                                  "Already marked OK on Fan [1].",
                                  "Fan [2] has Vitesse Fan Speed value = [120].",
                                  "Fan [2] has speed [5000] RPM.",
                                  "Already marked OK on Fan [2].",
                                  "This Fault bit is [FAN]",
                                  "This Fault bit [0x4] does NOT exist currently.",
                                  "The Fault bit [0x4] is already clear.",
                                  "temperatureSensor[0] = [25] degrees Celsius.",
                                  "temperatureSensor[1] = [25] degrees Celsius.",
                                  "temperatureSensorAverage = [25] degrees Celsius.",
                                  "This Fault bit is [TEMPERATURE_OVERHEAT]",
                                  "This Fault bit [0x8] does NOT exist currently.",
                                  "The Fault bit [0x8] is already clear.",
                                  "Read the Alarm State as [MUTE_S3].",
                                  "Alarm State is set to [MUTE_S3]."}));
}

TEST_F(Vsc055Poll, PulledFanSendsTheOthersToFullLoadAndBackStepByStep) {
    bus.reg(0x41, 0x36) = 0xFF;  // no tachometer pulses
    EXPECT_EQ(poll(), (Lines{"event 7/2 enclosureType=5 numberOfFan=3 fanFaultStatus=0x2", "led on",
                             "mail"}));
    Lines log = bus.takeLog();
    EXPECT_EQ(Lines(log.end() - 3, log.end()), (Lines{"W 41 98=3F", "W 41 99=3F", "W 41 9A=3F"}));
    EXPECT_EQ(poll(), Lines{});

    bus.reg(0x41, 0x36) = 120;
    EXPECT_EQ(poll(), (Lines{"event 7/2 enclosureType=5 numberOfFan=3", "led off"}));
    EXPECT_EQ(esaControl.fanPwmLoad[1], 75);
    poll();
    EXPECT_EQ(esaControl.fanPwmLoad[1], 50);
    log = bus.takeLog();
    EXPECT_EQ(Lines(log.end() - 3, log.end()), (Lines{"W 41 98=2F", "W 41 99=2F", "W 41 9A=2F"}));
}

TEST_F(Vsc055Poll, HeatGivesBandEventsAndShutdownRequestsOnEachPoll) {
    bus.reg(0x4C, 0x00) = 62;
    bus.reg(0x4B, 0x00) = 62;
    EXPECT_EQ(poll(),
              (Lines{"event 8/2 enclosureType=5 numberOfTemperatureSensor=2 "
                     "temperatureStatus=4 temperature=62",
                     "event 8/2 enclosureType=5 numberOfTemperatureSensor=2 "
                     "temperatureStatus=4 temperatureSensorPosition=1 temperature=62",
                     "led on", "mail", "event 10/3 enclosureType=5 information=1", "shutdown"}));
    EXPECT_EQ(poll(), (Lines{"event 10/3 enclosureType=5 information=1", "shutdown"}));
}

TEST_F(Vsc055Poll, CutSensorIsReportedOnceAndLeftOutOfTheAverage) {
    bus.reg(0x4C, 0x00) = 35;
    bus.cut(0x4B);
    EXPECT_EQ(poll(), (Lines{"led on", "mail",
                             "event 10/2 enclosureType=5 temperatureSensorPosition=1 "
                             "information=4 general_use1=0xffffffff"}));
    EXPECT_EQ(esaControl.temperatureSensor[1], 32767);
    EXPECT_EQ(esaControl.temperatureSensorAverage, 35);
    const Lines lines = takeLines();
    const auto at = std::find(lines.begin(), lines.end(),
                              "Read I2C fails with LM75 Address [0x4b]. I2C cable is not connected "
                              "or wrong enclosure type.");
    ASSERT_NE(at, lines.end());
    EXPECT_EQ(at[1], "temperatureSensor[1] = [32767] degrees Celsius.");
    EXPECT_EQ(poll(), Lines{});
    bus.mend(0x4B);
    EXPECT_EQ(poll(), (Lines{"led off",
                             "event 10/2 enclosureType=5 temperatureSensorPosition=1 "
                             "information=4"}));
}

TEST_F(Vsc055Poll, DeadBusMarksTheControllerAndKeepsTheBooks) {
    bus.cut(0x41);
    bus.cut(0x4C);
    bus.cut(0x4B);
    esaControl.temperatureSensorAverage = 33;
    esaControl.fanRpmSpeed[0] = 4000;
    poll();
    EXPECT_EQ(bus.takeLog(),
              (Lines{"R 41 04 fails", "R 41 32 fails", "R 4C 00 fails", "R 4B 00 fails"}));
    EXPECT_EQ(esaControl.i2cDeviceFaultStatus, 0x7u);
    EXPECT_EQ(esaControl.compositeFaultStatus, 0x80000010u);
    EXPECT_EQ(esaControl.powerSupplyStatus, 0x3u);
    EXPECT_EQ(esaControl.fanFaultStatus, 0u);
    EXPECT_EQ(esaControl.fanRpmSpeed[0], 4000);
    EXPECT_EQ(esaControl.fanPwmLoad[0], 50);
    EXPECT_EQ(esaControl.temperatureSensorAverage, 33);
    // Nothing is said about fans that nobody could read.
    EXPECT_THAT(takeLines(), testing::Not(testing::Contains("This Fault bit is [FAN]")));
}

TEST_F(Vsc055Poll, EveryTransferMayFailAndTheNextPollRecovers) {
    // Transfers made, and what the failed one left behind.
    const struct {
        std::size_t transfers;
        S16_t sensor0;
        S16_t sensor1;
        U16_t fan2;
    } cases[] = {
        {8, 25, 25, 5000},     // redundancy: skipped
        {6, 25, 25, 0},        // fan 0: the sweep ends
        {7, 25, 25, 0},        // fan 1
        {8, 25, 25, 0},        // fan 2
        {7, 32767, 25, 5000},  // sensor 0, first byte
        {8, 32767, 25, 5000},  // sensor 0, second byte
        {7, 25, 32767, 5000},  // sensor 1, first byte
        {8, 25, 32767, 5000},  // sensor 1, second byte
    };
    for (int n = 1; n <= 8; ++n) {
        SCOPED_TRACE(testing::Message() << "transfer " << n << " fails");
        const auto& c = cases[n - 1];
        running();
        bus.failTransfer(n);
        const Lines sent = poll();
        ASSERT_GE(sent.size(), 3u);
        EXPECT_EQ(sent[0], "led on");
        EXPECT_EQ(bus.takeLog().size(), c.transfers);
        EXPECT_EQ(esaControl.temperatureSensor[0], c.sensor0);
        EXPECT_EQ(esaControl.temperatureSensor[1], c.sensor1);
        EXPECT_EQ(esaControl.temperatureSensorAverage, 25);
        EXPECT_EQ(esaControl.fanRpmSpeed[2], c.fan2);
        EXPECT_EQ(esaControl.powerSupplyStatus, 0x3u);
        EXPECT_EQ(esaControl.fanFaultStatus, 0u);
        EXPECT_EQ(esaControl.fanPwmLoad[0], 50);

        poll();
        EXPECT_EQ(bus.takeLog(), POLL);
        EXPECT_EQ(esaControl.i2cDeviceFaultStatus, 0u);
        EXPECT_EQ(esaControl.compositeFaultStatus, 0u);
        EXPECT_EQ(esaControl.alarmState, 3u);
    }
}

TEST_F(Vsc055Poll, AlarmOutsideItsStatesIsReadTwiceForTheLine) {
    esaControl.alarmState = 9;
    poll();
    const Lines lines = takeLines();
    EXPECT_EQ(Lines(lines.end() - 3, lines.end()),
              (Lines{"Read the Alarm State as un-supported value [9].",
                     "Read the Alarm State as un-supported value [9].",
                     "Alarm State is set to un-supported value [9]."}));
}

}  // namespace
