// SPDX-License-Identifier: Apache-2.0
// The Chenbro chassis on a bus where something is missing. Its two address rules share one fault
// bit, so a wiring that lacks one set of addresses makes the bus fault flap; operators know it.
#include "backend/chenbro.h"

#include "tests/support/enclosure_rig.h"

namespace {

const std::string LOST = "event 10/2 enclosureType=4 general_use1=0xffffffff";
const std::string BACK = "event 10/2 enclosureType=4";

class Chenbro : public EnclosureRig {
  protected:
    Chenbro() { healthy(KORVO_E_CHASSIS_CHENBRO_3U16ATX); }
    void start() { running(KORVO_E_CHASSIS_CHENBRO_3U16ATX); }
    Lines poll() {
        bus.takeLog();
        takeLines();
        chenbroEsaPollTimeoutProcess();
        return sentTake();
    }
};

TEST_F(Chenbro, UnsupportedLoadsAndFansAreTracedOnly) {
    start();
    const struct {
        U8_t fan;
        U8_t percent;
        Lines lines;
    } cases[] = {
        {6, 50, {"Load PWM Esa[50] Percent to Fan [6]", "Unsupported Fan Index = [6]."}},
        {2, 30, {"Load PWM Esa[30] Percent to Fan [2]", "Unsupported ESA PWM Percentage = [30]."}},
        {9, 30, {"Load PWM Esa[30] Percent to Fan [9]", "Unsupported ESA PWM Percentage = [30]."}},
    };
    for (const auto& c : cases) {
        chenbroW83782dFanPwmLoad(c.fan, c.percent);
        EXPECT_EQ(takeLines(), c.lines);
    }
    U16_t rpm = 4711;
    EXPECT_EQ(chenbroW83782dFanSpeedRead(6, &rpm), ESA_E_GENERR);
    EXPECT_EQ(takeLines(),
              (Lines{"Read speed with Fan, chenbroFanInx = [6].", "Unsupported Fan Index = [6]."}));
    EXPECT_EQ(bus.takeLog(), Lines{});
}

TEST_F(Chenbro, UnreachableMonitorIsAnOrdinaryErrorToItsCallers) {
    start();
    bus.cut(0x2A);
    U16_t rpm = 4711;
    EXPECT_EQ(chenbroW83782dFanSpeedRead(3, &rpm), ESA_E_GENERR);
    bus.takeLog();
    EXPECT_EQ(chenbroPowerVoltageToleranceStatusRead(), ESA_E_GENERR);
    EXPECT_EQ(bus.takeLog().size(), 8u);  // the backplanes behind it are not read
}

TEST_F(Chenbro, AlarmBitMovesOnEachBackplaneInItsOwnShadow) {
    start();
    for (U8_t n = 0; n < 4; ++n) {
        esaControl.winbond[n].configurationRegister = static_cast<U8_t>(0x40 + n);
    }
    chenbroAlarmStateSet(ESA_E_ALARM_STATE_FAULT_S1);
    EXPECT_EQ(bus.takeLog(), (Lines{"W 28 40=00", "W 2A 40=01", "W 2C 40=02", "W 30 40=03"}));
    chenbroAlarmStateSet(ESA_E_ALARM_STATE_REMIND_S2);
    EXPECT_EQ(bus.takeLog(), Lines{});
    chenbroAlarmStateSet(ESA_E_ALARM_STATE_MUTE_S3);
    EXPECT_EQ(bus.takeLog(), (Lines{"W 28 40=40", "W 2A 40=41", "W 2C 40=42", "W 30 40=43"}));
}

TEST_F(Chenbro, WithoutTheFansAddressesTheBusFaultFlaps) {
    bus.cut(0x29);
    bus.cut(0x2B);
    EXPECT_EQ(chenbroInit(), ESA_E_OK);
    EXPECT_EQ(sentTake(),
              (Lines{"led on", "mail", LOST,                   // fan 2
                     "led off", BACK,                          // fan 3
                     "led on", "led off", BACK, "mail", LOST,  // fan 4; the alarm finds a monitor
                     "led on", "mail", LOST, "led off", BACK}));  // fan 5; the limits behind it
    EXPECT_EQ(esaControl.alarmState, 3u);
    EXPECT_EQ(esaControl.compositeFaultStatus, 0u);

    const std::string fans = "event 7/2 enclosureType=4 numberOfFan=6 fanFaultStatus=0x34";
    EXPECT_EQ(poll(), (Lines{"led on", "led off", BACK, "mail", LOST,  // fan 2
                             "led on", "mail", LOST,                   // fans 4 and 5
                             fans, "mail", BACK,                       // temperatures
                             "mail", LOST, BACK, "mail", LOST}));      // all fans to full load
    EXPECT_EQ(poll(), (Lines{BACK, "mail", LOST, BACK, "mail", LOST, BACK}));
    EXPECT_EQ(esaControl.compositeFaultStatus, 0x80000004u);
    EXPECT_EQ(esaControl.fanFaultStatus, 0x34u);
}

TEST_F(Chenbro, WithoutTheSensorsAddressesItDoesNotStart) {
    bus.cut(0x2C);
    bus.cut(0x30);
    EXPECT_EQ(chenbroInit(), ESA_E_GENERR_I2C_UNAVAILABLE);
    EXPECT_EQ(bus.takeLog(), (Lines{"R 28 48=28", "R 2A 48=2A", "R 2C 48 fails"}));
    // Two have answered, so it is polled; it has no fan yet.
    EXPECT_EQ(esaControl.i2cConnected, 1);
    EXPECT_EQ(esaControl.coolingMaxNumber, 0);
    poll();
    EXPECT_EQ(bus.takeLog().size(), 7u + 7u + 1u + 4u);
}

TEST_F(Chenbro, DeadBackplaneNestsOneFaultInTheOtherAndNoDeeper) {
    start();
    bus.cut(0x2C);
    EXPECT_EQ(poll(),
              (Lines{"led on",                // the alarm is set:
                     "led off", BACK,         //   0x28 answers
                     "led on", "mail", LOST,  //   0x2C does not
                     "led off", BACK,         //   0x30 does
                     "mail", LOST,            // the first fault's own
                     "led on", "mail",        // voltage
                     "event 6/2 enclosureType=4 numberOfPowerSupply=3", "mail", LOST,
                     BACK}));  // temperatures
    EXPECT_EQ(bus.takeLog().size(), 15u + 4u + 6u + 4u);
    EXPECT_EQ(esaControl.alarmState, 1u);
    EXPECT_EQ(esaControl.compositeFaultStatus, 0x80000001u);
    EXPECT_EQ(esaControl.temperatureSensor[2], 32767);
    EXPECT_EQ(esaControl.temperatureSensor[3], 28);
    EXPECT_EQ(esaControl.temperatureSensorAverage, 26);
}

TEST_F(Chenbro, RecoversFromTheLossOfAnyAddress) {
    for (const U8_t address :
         {U8_t{0x28}, U8_t{0x29}, U8_t{0x2A}, U8_t{0x2B}, U8_t{0x2C}, U8_t{0x30}}) {
        SCOPED_TRACE(testing::Message() << "address " << int{address});
        start();
        bus.cut(address);
        poll();
        poll();
        EXPECT_NE(esaControl.compositeFaultStatus, 0u);
        bus.mend(address);
        poll();
        poll();
        EXPECT_EQ(esaControl.compositeFaultStatus, 0u);
        EXPECT_EQ(esaControl.i2cDeviceFaultStatus, 0u);
        EXPECT_EQ(esaControl.powerSupplyStatus, 0x1u);
        EXPECT_EQ(esaControl.alarmState, 3u);
        EXPECT_EQ(poll(), Lines{});
    }
}

}  // namespace
