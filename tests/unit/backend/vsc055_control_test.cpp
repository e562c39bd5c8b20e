// SPDX-License-Identifier: Apache-2.0
// Single operations of the VSC055: loads, speeds, LEDs, alarm, and what the SES pages call.
#include "backend/vsc055.h"
#include "tests/support/enclosure_rig.h"

namespace {

class Vsc055Control : public EnclosureRig {
  protected:
    Vsc055Control() {
        healthyVsc055();
        esaControl.i2cConnected = 1;
        esaControl.powerSupplyStatus = 0x3;
        esaControl.vitesse.vsc055GPD[1] = 0xFF;
        esaControl.vitesse.vsc055GPD[4] = 0x50;
        esaControl.vitesse.vsc055GPD[6] = 0xFF;
        esaControl.vitesse.vsc055GPD[7] = 0xFF;
    }
    const EsaChassis_t& row = *esaChassisOf(KORVO_E_CHASSIS_KORVO_VSC055);
};

TEST_F(Vsc055Control, LoadsAreWrittenAsDutyCodes) {
    const struct {
        U8_t fan;
        U8_t percent;
        Lines log;
    } cases[] = {
        {0, 25, {"W 41 98=27"}},
        {1, 50, {"W 41 99=2F"}},
        {2, 75, {"W 41 9A=37"}},
        {7, 100, {"W 41 9F=3F"}},
        {2, 0, {"W 41 9A=00", "W 41 01=FB"}},  // takes the power, too
        {2, 100, {"W 41 9A=3F"}},              // and does not give it back
        {7, 0, {"W 41 9F=00", "W 41 01=7B"}},
        {2, 60, {}},
        {8, 50, {}},
        {255, 0, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << int{c.percent} << " to " << int{c.fan});
        esaVsc055FanPwmLoad(c.fan, c.percent);
        EXPECT_EQ(bus.takeLog(), c.log);
    }
}

TEST_F(Vsc055Control, UnsupportedLoadsAndFansAreTraced) {
    esaVsc055FanPwmLoad(2, 60);
    EXPECT_EQ(takeLines(),
              (Lines{"Load PWM [60] Percent to Fan [2]", "Un-supported PWM Percentage [60]"}));
    esaVsc055FanPwmLoad(8, 50);
    EXPECT_EQ(takeLines(),
              (Lines{"Load PWM [50] Percent to Fan [8]", "Un-supported Fan Number = [8]"}));
}

TEST_F(Vsc055Control, SpeedIsTheClockByCountAndDivisor) {
    const struct {
        U8_t value;
        U8_t divisor;
        U16_t rpm;
        ESA_CODE_e code;
        Lines lines;  // behind the first
    } cases[] = {
        {120, 2, 5000, ESA_E_OK, {}},
        {254, 4, 1181, ESA_E_OK, {}},
        {1, 2, 10176, ESA_E_OK, {}},  // 600000 cut to 16 bits
        {0, 2, 0, ESA_E_OK, {"Fan [1] has speed [0]."}},
        {120, 0, 0, ESA_E_OK, {"Fan [1] has count [120] and divisor [0], taken as [0] RPM."}},
        {255,
         2,
         4711,
         ESA_E_GENERR,
         {"No tachometer pulses present, NOT able to read speed for Fan [1].",
          "Return read error for Fan [1]."}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << int{c.value} << " by " << int{c.divisor});
        bus.reg(0x41, 0x36) = c.value;
        esaControl.fanSpeedDivisor = c.divisor;
        U16_t rpm = 4711;
        EXPECT_EQ(esaVsc055FanSpeedRead(1, &rpm), c.code);
        EXPECT_EQ(rpm, c.rpm);
        Lines lines = {"Fan [1] has Vitesse Fan Speed value = [" + std::to_string(c.value) + "]."};
        lines.insert(lines.end(), c.lines.begin(), c.lines.end());
        EXPECT_EQ(takeLines(), lines);
    }
}

TEST_F(Vsc055Control, FailedSpeedReadPassesItsCodeAndLeavesTheSpeed) {
    bus.cut(0x41);
    U16_t rpm = 4711;
    EXPECT_EQ(esaVsc055FanSpeedRead(1, &rpm), ESA_E_GENERR_I2C_UNAVAILABLE);
    EXPECT_EQ(rpm, 4711);
    for (int fan : {-1, 8, 254}) {
        bus.takeLog();
        EXPECT_EQ(esaVsc055FanSpeedRead(fan, &rpm), ESA_E_GENERR);
        EXPECT_EQ(bus.takeLog(), Lines{});
    }
}

TEST_F(Vsc055Control, DriveLedsAreActiveLowBitsOfTwoPorts) {
    esaControl.deviceMaxNumber = 12;
    const struct {
        int drive;
        bool lit;
        ESA_CODE_e code;
        Lines log;
        Lines lines;
    } cases[] = {
        // clang-format off
        {0, true, ESA_E_OK, {"W 41 06=FE"},
         {"Set Fault LED on Drive [0]", "vsc055GPD[6] = [0xfe]"}},
        {7, true, ESA_E_OK, {"W 41 06=7E"},
         {"Set Fault LED on Drive [7]", "vsc055GPD[6] = [0x7e]"}},
        {9, true, ESA_E_OK, {"W 41 07=FD"},
         {"Set Fault LED on Drive [9]", "vsc055GPD[7] = [0xfd]"}},
        {11, true, ESA_E_OK, {"W 41 07=F5"},
         {"Set Fault LED on Drive [11]", "vsc055GPD[7] = [0xf5]"}},
        {0, false, ESA_E_OK, {"W 41 06=7F"},
         {"Clear Fault LED on Drive [0]", "vsc055GPD[6] = [0x7f]"}},
        {9, false, ESA_E_OK, {"W 41 07=F7"},
         {"Clear Fault LED on Drive [9]", "vsc055GPD[7] = [0xf7]"}},
        {12, true, ESA_E_GENERR, {},
         {"Set Fault LED on Drive [12]", "Un-supported Drive Number = [12]"}},
        {-1, false, ESA_E_GENERR, {},
         {"Clear Fault LED on Drive [-1]", "Un-supported Drive Number = [-1]"}},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "drive " << c.drive << (c.lit ? " on" : " off"));
        EXPECT_EQ(c.lit ? row.driveLedSet(c.drive) : row.driveLedClear(c.drive), c.code);
        EXPECT_EQ(bus.takeLog(), c.log);
        EXPECT_EQ(takeLines(), c.lines);
    }
}

TEST_F(Vsc055Control, FirstPortOfLedsDoesNotDependOnTheNumberOfDrives) {
    esaControl.deviceMaxNumber = 4;
    EXPECT_EQ(esaVsc055DriveFaultLEDSet(7), ESA_E_OK);
    EXPECT_EQ(esaVsc055DriveFaultLEDSet(8), ESA_E_GENERR);
    esaControl.deviceMaxNumber = 255;
    EXPECT_EQ(esaVsc055DriveFaultLEDSet(15), ESA_E_OK);
    EXPECT_EQ(esaVsc055DriveFaultLEDSet(16), ESA_E_GENERR);
}

TEST_F(Vsc055Control, ControlPageSwitchesFansAndSilencesTheSupplies) {
    row.fanSwitch(1, true);
    row.fanSwitch(1, false);
    EXPECT_EQ(bus.takeLog(), (Lines{"W 41 99=3F", "W 41 99=00", "W 41 01=FD"}));
    takeLines();
    row.alarmSilence();
    EXPECT_EQ(bus.takeLog(), (Lines{"W 41 04=10", "W 41 04=50"}));
    EXPECT_EQ(takeLines(), (Lines{"Set Backplane Alarm State to [MUTE_S3].",
                                  "Clear the Alarm on the Power Supply."}));
    row.alarmSound(ESA_E_ALARM_STATE_FAULT_S1);
    EXPECT_EQ(bus.takeLog(), Lines{});
    EXPECT_EQ(takeLines(), (Lines{"Set Backplane Alarm State to [FAULT_S1]."}));
    row.supplyFaultIndicate(ESA_E_GENERR);
    EXPECT_EQ(esaControl.compositeFaultStatus, 0x80000002u);
    row.supplyFaultIndicate(ESA_E_OK);
    EXPECT_EQ(esaControl.compositeFaultStatus, 0u);
}

TEST_F(Vsc055Control, AlarmStatesHaveTheirNames) {
    const struct {
        U32_t state;
        const char* set;
        const char* read;
    } cases[] = {
        {0, "[IDEL_S0]", "[IDEL_S0]"},
        {1, "[FAULT_S1]", "[FAULT_S1]"},
        {2, "[REMIND_S2]", "[REMIND_S2]"},
        {3, "[MUTE_S3]", "[MUTE_S3]"},
        {4, "[CRITICAL_S4]", "[CRITICAL_S4]"},
        {5, "[STATE_S5]", "[INVALID_S5]"},
        {6, "[STATE_S6]", "[INVALID_S6]"},
        {7, "[STATE_S7]", "[INVALID_S7]"},
        {8, "un-supported value [8]", "un-supported value [8]"},
        {0x101, "un-supported value [257]", "[FAULT_S1]"},  // reading takes the low byte
    };
    for (const auto& c : cases) {
        esaVsc055AlarmStateBackplaneSet(static_cast<EsaAlarmState_e>(c.state));
        esaControl.alarmState = c.state;
        EXPECT_EQ(esaVsc055AlarmStateRead(), c.state & 0xFF);
        EXPECT_EQ(takeLines(), (Lines{std::string("Set Backplane Alarm State to ") + c.set + ".",
                                      std::string("Read the Alarm State as ") + c.read + "."}));
    }
    EXPECT_EQ(bus.transfers(), 0);
}

TEST_F(Vsc055Control, StatusPageReadsTheSensorsAndTracesEitherValueOrFailure) {
    bus.cut(0x4C);
    bus.reg(0x4B, 0x00) = 0xE7;
    row.temperaturesPageRead();
    EXPECT_EQ(bus.takeLog(), (Lines{"R 4C 00 fails", "R 4B 00=E7", "R 4B 00=E7"}));
    EXPECT_EQ(esaControl.temperatureSensor[0], 32767);
    EXPECT_EQ(esaControl.temperatureSensor[1], -24);
    const Lines lines = takeLines();
    EXPECT_EQ(Lines(lines.end() - 2, lines.end()),
              (Lines{"Read I2C fails with LM75 Address [0x4c]. I2C cable is not connected or wrong "
                     "enclosure type.",
                     "temperatureSensor[1] = [-24] degrees Celsius."}));
}

}  // namespace
