// SPDX-License-Identifier: Apache-2.0
// Single operations of the W83792AD and the W83782D: speeds, loads, temperatures, voltages, alarm.
#include "backend/winbond.h"

#include "backend/w83782d.h"
#include "backend/w83792ad.h"
#include "tests/support/enclosure_rig.h"

namespace {

constexpr auto W83792AD = KORVO_E_CHASSIS_KORVO_W83792AD;  // at 0x2C
constexpr auto W83782D = KORVO_E_CHASSIS_KORVO_W83782D;    // at 0x2D

class Winbond : public EnclosureRig {
  protected:
    void SetUp() override { running(W83792AD); }
};

// ---- fans ----

TEST_F(Winbond, SpeedIsTheClockByCountAndDivisor) {
    const struct {
        KORVO_E_CHASSIS_e type;
        int fan;
        U8_t number;
        U8_t count;
        U8_t divisor;
        U16_t rpm;
        Lines lines;
    } cases[] = {
        // clang-format off
        {W83792AD, 0, 0x28, 254, 2, 2657,
         {"Read speed with Fan Inx = [0].",
          "Fan with W83792AD, fanSpeedReading Reg [0x28], read speed value = [254].",
          "Fan with W83792AD, fanSpeedReading Reg [0x28] has RPM [2657]."}},
        {W83792AD, 3, 0xB8, 255, 2, 0,
         {"Read speed with Fan Inx = [3].",
          "Fan with W83792AD, fanSpeedReading Reg [0xb8], read speed value = [255].",
          "Fan with W83792AD, fanSpeedReading Reg [0xb8] has Speed value = [0]."}},
        {W83792AD, 4, 0xB9, 1, 2, 19640, {}},  // 675000 cut to 16 bits
        {W83792AD, 5, 0xBA, 135, 0, 0,
         {"Read speed with Fan Inx = [5].",
          "Fan with W83792AD, fanSpeedReading Reg [0xba], read speed value = [135].",
          "Fan [5] has count [135] and divisor [0], taken as [0] RPM.",
          "Fan with W83792AD, fanSpeedReading Reg [0xba] has RPM [0]."}},
        {W83782D, 0, 0x28, 254, 2, 2657,
         {"Read speed with Fan, I2C address = [0x2d], w83782dFanInx = [0].",
          "Fan with I2C address [0x2d], fanSpeedReading Reg [0x28], read speed value = [254].",
          "Fan with I2C address [0x2d], fanSpeedReading Reg [0x28] has RPM [2657]."}},
        {W83782D, 2, 0x2A, 255, 4, 0,
         {"Read speed with Fan, I2C address = [0x2d], w83782dFanInx = [2].",
          "Fan with I2C address [0x2d], fanSpeedReading Reg [0x2a], read speed value = [255].",
          "Fan with I2C address [0x2d], fanSpeedReading Reg [0x2a] has Speed value = [0]."}},
        {W83782D, 1, 0x29, 0, 2, 0, {}},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "type " << c.type << ", fan " << c.fan);
        running(c.type);
        const U8_t address = c.type == W83792AD ? 0x2C : 0x2D;
        bus.reg(address, c.number) = c.count;
        esaControl.fanSpeedDivisor = c.divisor;
        U16_t rpm = 4711;
        EXPECT_EQ(esaChassis()->fanSpeedRead(c.fan, &rpm), ESA_E_OK);
        EXPECT_EQ(rpm, c.rpm);
        const Lines lines = takeLines();
        if (!c.lines.empty()) {
            EXPECT_EQ(lines, c.lines);
        }
        bus.cut(address);
        EXPECT_EQ(esaChassis()->fanSpeedRead(c.fan, &rpm), ESA_E_GENERR_I2C_UNAVAILABLE);
        EXPECT_EQ(rpm, c.rpm);
    }
}

TEST_F(Winbond, FansBeyondTheChipAreTracedOnly) {
    U16_t rpm = 4711;
    EXPECT_EQ(esaW83792adFanSpeedRead(6, &rpm), ESA_E_GENERR);
    EXPECT_EQ(takeLines().back(), "Unsupported W83792AD Fan Index = [6].");
    EXPECT_EQ(esaW83782dFanSpeedRead(0x2D, 3, &rpm), ESA_E_GENERR);
    EXPECT_EQ(takeLines().back(), "Unsupported Winbond Fan Index = [3].");
    EXPECT_EQ(rpm, 4711);
    esaW83792adFanPwmLoad(6, 8);
    EXPECT_EQ(takeLines(), (Lines{"Load PWM Winbond[8] Percent to Fan [6]",
                                  "The Fan index [6] is not supported."}));
    esaW83782dFanPwmLoad(3, 64);
    EXPECT_EQ(takeLines(), (Lines{"Load PWM Winbond[64] Percent to Fan [3]",
                                  "Unsupported Winbond Fan Index = [3]."}));
    winbondFanPwmLoad(0x2D, 0, 4, 64);
    EXPECT_EQ(takeLines(), (Lines{"Load PWM Winbond[64] Percent to Fan [4]",
                                  "Unsupported Winbond Fan Index = [4]."}));
    EXPECT_EQ(bus.takeLog(), Lines{});
}

TEST_F(Winbond, W83792adTakesTheLowFourBitsOfALoad) {
    const struct {
        U8_t fan;
        U8_t load;
        Lines log;
    } cases[] = {
        {0, 0x00, {"W 2C 81=80"}}, {1, 0x08, {"W 2C 83=88"}}, {2, 0x64, {"W 2C 94=84"}},
        {3, 0x0F, {"W 2C A3=8F"}}, {4, 0x1F, {"W 2C A4=8F"}}, {5, 0xF0, {"W 2C A5=80"}},
    };
    for (const auto& c : cases) {
        esaW83792adFanPwmLoad(c.fan, c.load);
        EXPECT_EQ(bus.takeLog(), c.log);
    }
}

TEST_F(Winbond, TwoRoutinesNumberTheOutputsOfAW83782dDifferently) {
    running(W83782D);
    bus.reg(0x30, 0x5B) = 0;
    for (U8_t fan = 0; fan < 3; ++fan) {
        esaW83782dFanPwmLoad(fan, static_cast<U8_t>(0x11 + fan));
    }
    EXPECT_EQ(bus.takeLog(), (Lines{"W 2D 5B=11", "W 2D 5E=12", "W 2D 5F=13"}));
    for (U8_t fan = 0; fan < 3; ++fan) {
        winbondFanPwmLoad(0x30, 3, fan, static_cast<U8_t>(0x21 + fan));
    }
    EXPECT_EQ(bus.takeLog(), (Lines{"W 30 5B=21", "W 30 5A=22", "W 30 5E=23"}));
    // The fourth output's value goes into the first one's shadow; its own old one is sent.
    WinbondControl_t& shadows = esaControl.winbond[3];
    shadows.pwmOut4ControlRegister = 0x77;
    winbondFanPwmLoad(0x30, 3, 3, 200);
    EXPECT_EQ(bus.takeLog(), (Lines{"W 30 5F=77"}));
    EXPECT_EQ(shadows.pwmOut1ControlRegister, 200);
    EXPECT_EQ(shadows.pwmOut2ControlRegister, 0x22);
    EXPECT_EQ(shadows.pwmOut3ControlRegister, 0x23);
    EXPECT_EQ(shadows.pwmOut4ControlRegister, 0x77);
    EXPECT_EQ(esaControl.winbond[0].pwmOut1ControlRegister, 0x11);
}

TEST_F(Winbond, LadderStepsInTheValuesOfTheChip) {
    const struct {
        KORVO_E_CHASSIS_e type;
        Lines log;  // of 25, 50, 75 and 100 percent
    } cases[] = {
        {W83792AD, {"W 2C 83=84", "W 2C 83=88", "W 2C 83=8C", "W 2C 83=8F"}},
        {W83782D, {"W 2D 5E=40", "W 2D 5E=80", "W 2D 5E=C0", "W 2D 5E=FF"}},
        {KORVO_E_CHASSIS_CHENBRO_3U16ATX, {"W 28 5A=40", "W 28 5A=80", "W 28 5A=C0", "W 28 5A=FF"}},
    };
    for (const auto& c : cases) {
        running(c.type);
        for (const U8_t percent : {U8_t{25}, U8_t{50}, U8_t{75}, U8_t{100}}) {
            esaChassis()->fanLoad(1, percent);
        }
        EXPECT_EQ(bus.takeLog(), c.log);
    }
}

// ---- temperatures ----

TEST_F(Winbond, W83792adTemperaturesAreWholeUnsignedOrHalfSignedDegrees) {
    const struct {
        U8_t sensor;
        U8_t high;  // of sensor 0 all there is
        U8_t low;
        S16_t degrees;
        Lines log;
    } cases[] = {
        {0, 0x00, 0, 0, {"R 2C 27=00"}},
        {0, 0x80, 0, 128, {"R 2C 27=80"}},
        {0, 0xFF, 0, 255, {"R 2C 27=FF"}},
        {1, 0xFF, 0x80, 0, {"R 2C C1=80", "R 2C C0=FF"}},
        {1, 0x19, 0x80, 25, {"R 2C C1=80", "R 2C C0=19"}},
        {1, 0x19, 0x7F, 25, {"R 2C C1=7F", "R 2C C0=19"}},
        {2, 0xFF, 0x00, -1, {"R 2C C9=00", "R 2C C8=FF"}},
        {2, 0x80, 0x00, -128, {"R 2C C9=00", "R 2C C8=80"}},
        {2, 0x7F, 0x80, 127, {"R 2C C9=80", "R 2C C8=7F"}},
        {2, 0xFE, 0x80, -1, {"R 2C C9=80", "R 2C C8=FE"}},
    };
    const struct {
        U8_t high;
        U8_t low;
    } registers[] = {{0x27, 0x00}, {0xC0, 0xC1}, {0xC8, 0xC9}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "sensor " << int{c.sensor} << ", " << c.degrees);
        bus.reg(0x2C, registers[c.sensor].high) = c.high;
        bus.reg(0x2C, registers[c.sensor].low) = c.low;
        EXPECT_EQ(esaW83792adTemperatureRead(c.sensor), c.degrees);
        EXPECT_EQ(bus.takeLog(), c.log);
        EXPECT_EQ(takeLines(), (Lines{"Temperature Sensor [" + std::to_string(c.sensor) +
                                      "] for I2C address [0x2c] = [" + std::to_string(c.degrees) +
                                      "] degrees Celsius."}));
    }
}

TEST_F(Winbond, W83792adUnreadableTemperatureIsNotSaid) {
    const struct {
        U8_t sensor;
        int failing;
        std::size_t transfers;
    } cases[] = {{0, 1, 1}, {1, 1, 1}, {1, 2, 2}, {2, 2, 2}, {3, 0, 0}, {255, 0, 0}};
    for (const auto& c : cases) {
        bus.failTransfer(c.failing);
        EXPECT_EQ(esaW83792adTemperatureRead(c.sensor), 32767);
        EXPECT_EQ(bus.takeLog().size(), c.transfers);
        for (const std::string& line : takeLines()) {
            EXPECT_FALSE(line.starts_with("Temperature Sensor")) << line;
        }
    }
}

TEST_F(Winbond, W83782dTemperatureIsSignedAndSaidUnderTheDesignsOwnAddress) {
    running(W83782D);
    const struct {
        U8_t address;
        U8_t sensor;
        U8_t value;
        S16_t degrees;
        Lines log;
    } cases[] = {
        {0x2D, 0, 0xF6, -10, {"R 2D 27=F6"}},
        {0x30, 0, 0x19, 25, {"R 30 27=19"}},
        {0x2D, 0, 0x80, -128, {"R 2D 27=80"}},
        {0x2D, 0, 0x7F, 127, {"R 2D 27=7F"}},
        {0x2D, 1, 0x19, 32767, {}},

        // The fault sounds the alarm.
        {0x29, 0, 0x00, 32767, {"R 29 27 fails", "W 2D 40=00"}},
    };
    for (const auto& c : cases) {
        if (c.address != 0x29) {
            bus.reg(c.address, 0x27) = c.value;
        }
        EXPECT_EQ(esaW83782dTemperatureRead(c.address, c.sensor), c.degrees);
        EXPECT_EQ(bus.takeLog(), c.log);
        EXPECT_EQ(takeLines().back(), "Temperature Sensor [" + std::to_string(c.sensor) +
                                          "] for I2C address [0x2d] = [" +
                                          std::to_string(c.degrees) + "] degrees Celsius.");
    }
}

// ---- voltages ----

TEST_F(Winbond, W83792adSaysAllChannelsAndLosesTheTolerance) {
    EXPECT_EQ(esaW83792adPowerVoltageToleranceStatusRead(), ESA_E_GENERR);
    EXPECT_EQ(
        takeLines(),
        (Lines{"Read Voltage Tolerance, I2C address = [0x2c].",
               "Vcorea = [160].",
               "Converted Vcorea = [1.280000]V.",
               "Low Bits 1 = [0].",
               "Converted Vcorea = [1.280000]V.",
               "Vcoreb = [161].",
               "Converted Vcoreb = [1.288000]V.",
               "Low Bits 1 = [1].",
               "Converted Vcoreb = [1.290000]V.",
               "Vin0 = [162]",
               "Converted Vinr0 = [2.592000]V.",
               "Low Bits 1 = [2]",
               "Converted Vin0 = [0.008000]V.",
               "Vin1 = [163]",
               "Converted Vin1 = [2.608000]V.",
               "Low Bits 1 = [3]",
               "Converted Vin1 = [0.012000]V.",
               "Vin2 = [164]",
               "Converted Vin2 = [2.624000]V.",
               "Low Bits 2 = [3]",
               "Converted Vin2 = [0.012000]V.",
               "Vin3 = [165]",
               "Converted Vin3 = [2.640000]V.",
               "Low Bits 2 = [2]",
               "Converted Vin3 = [0.008000]V.",
               "+5Vcc = [208]",
               "Low Bits 2 = [1]",
               "Converted =5Vcc = [0.006000]V.",
               "+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].",
               "Return Power Voltage Tolerance Status [ERROR] because of +5Vin measurement."}));
    EXPECT_DOUBLE_EQ(esaControl.powerSupplyVoltage5V, 0.006);
    bus.reg(0x2C, 0x3F) = 0xFF;
    EXPECT_EQ(esaW83792adPowerVoltageToleranceStatusRead(), ESA_E_GENERR);
    EXPECT_DOUBLE_EQ(esaControl.powerSupplyVoltage5V, 0.018);
}

TEST_F(Winbond, W83782dSaysAllChannels) {
    running(W83782D);
    EXPECT_EQ(esaW83782dPowerVoltageToleranceStatusRead(0x2D), ESA_E_OK);
    EXPECT_EQ(
        takeLines(),
        (Lines{"Read Voltage Tolerance, I2C address = [0x2d].", "Vcorea = [80].",
               "Converted Vcorea = [1.280000]V.", "Vinr0 = [81]", "Converted Vinr0 = [1.296000]V.",
               "+3.3Vin = [206]", "Converted +3.3Vin = [3.296000]V.", "+5Vin = [186]",
               "Converted +5Vin = [4.999680]V.",
               "+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].", "+12Vin = [198]",
               "Converted +12Vin = [12.038400]V.",
               "+12Vin low limit = [10.800000]V. +12Vin high limit = [13.200000].", "-12Vin = [33]",
               "Converted -12Vin = [-12.198857]V.", "-5Vin = [53]",
               "Converted -5Vin = [-5.049143]V."}));
}

TEST_F(Winbond, W83782dJudgesTwoRailsAsItReadsThem) {
    running(W83782D);
    const std::string bad = "Return Power Voltage Tolerance Status [ERROR] because of ";
    const struct {
        U8_t reading5V;
        U8_t reading12V;
        ESA_CODE_e code;
        std::size_t reads;
        double volts5;
        double volts12;
        std::string line;
    } cases[] = {
        {0xA7, 0xC6, ESA_E_GENERR, 4, 4.48896, 0, bad + "+5Vin measurement."},
        {0xA8, 0xC6, ESA_E_OK, 7, 4.51584, 12.0384, ""},
        {0xCC, 0xC6, ESA_E_OK, 7, 5.48352, 12.0384, ""},
        {0xCD, 0xC6, ESA_E_GENERR, 4, 5.5104, 0, bad + "+5Vin measurement."},
        {0xBA, 0xB1, ESA_E_GENERR, 5, 4.99968, 10.7616, bad + "+12Vin measurement."},
        {0xBA, 0xB2, ESA_E_OK, 7, 4.99968, 10.8224, ""},
        {0xBA, 0xD9, ESA_E_OK, 7, 4.99968, 13.1936, ""},
        {0xBA, 0xDA, ESA_E_GENERR, 5, 4.99968, 13.2544, bad + "+12Vin measurement."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.volts5 << " V, " << c.volts12 << " V");
        bus.reg(0x2D, 0x23) = c.reading5V;
        bus.reg(0x2D, 0x24) = c.reading12V;
        esaControl.powerSupplyVoltage12V = 0;
        EXPECT_EQ(esaW83782dPowerVoltageToleranceStatusRead(0x2D), c.code);
        EXPECT_EQ(bus.takeLog().size(), c.reads);
        EXPECT_NEAR(esaControl.powerSupplyVoltage5V, c.volts5, 1e-9);
        EXPECT_NEAR(esaControl.powerSupplyVoltage12V, c.volts12, 1e-9);
        const Lines lines = takeLines();
        if (!c.line.empty()) {
            EXPECT_EQ(lines.back(), c.line);
        }
    }
    EXPECT_TRUE(winbondRailIsGood(4.5, 4.5, 5.5, "rail"));
    EXPECT_TRUE(winbondRailIsGood(5.5, 4.5, 5.5, "rail"));
}

TEST_F(Winbond, FailedVoltageReadEndsTheReadingWithItsCode) {
    const struct {
        KORVO_E_CHASSIS_e type;
        std::size_t reads;
    } cases[] = {{W83792AD, 14}, {W83782D, 7}};
    for (const auto& c : cases) {
        for (std::size_t n = 1; n <= c.reads; ++n) {
            running(c.type);
            bus.failTransfer(static_cast<int>(n));
            EXPECT_EQ(c.type == W83792AD ? esaW83792adPowerVoltageToleranceStatusRead()
                                         : esaW83782dPowerVoltageToleranceStatusRead(0x2D),
                      ESA_E_GENERR_I2C_UNAVAILABLE);
            Lines log = bus.takeLog();
            // The fault moves the alarm of the one chip that has one.
            std::erase(log, "W 2D 40=00");
            EXPECT_EQ(log.size(), n);
        }
    }
}

// ---- alarm ----

TEST_F(Winbond, OnlyFaultAndMuteMoveTheAlarm) {
    const struct {
        U32_t state;
        const char* line;
        Lines log;  // of the W83782D
    } cases[] = {
        {0, "No action on setting Backplane Alarm State to [IDEL_S0].", {}},
        {1, "Set Backplane Alarm State to [FAULT_S1].", {"W 2D 40=A3"}},
        {2, "No action on setting Backplane Alarm State to [REMIND_S2].", {}},
        {3, "Set Backplane Alarm State to [MUTE_S3].", {"W 2D 40=E3"}},
        {4, "No action on setting Backplane Alarm State to [CRITICAL_S4].", {}},
        {5, "No action on setting Backplane Alarm State to [STATE_S5].", {}},
        {6, "No action on setting Backplane Alarm State to [STATE_S6].", {}},
        {7, "No action on setting Backplane Alarm State to [STATE_S7].", {}},
        {9, "Set Backplane Alarm State to un-supported value [9].", {}},
    };
    running(W83782D);
    esaControl.winbond[2].configurationRegister = 0xE3;
    for (const auto& c : cases) {
        const auto state = static_cast<EsaAlarmState_e>(c.state);
        esaW83782dAlarmStateSet(0x2D, 2, state);
        EXPECT_EQ(bus.takeLog(), c.log);
        EXPECT_EQ(takeLines(), (Lines{c.line}));
        esaW83792adAlarmStateBackplaneSet(state);
        EXPECT_EQ(bus.takeLog(), Lines{});
        EXPECT_EQ(takeLines(), (Lines{c.line}));
    }
}

}  // namespace
