// SPDX-License-Identifier: Apache-2.0
// What the Xyratex chassis has of its own: presence, status LEDs, the alarm that moves by itself.
#include "backend/xyratex.h"

#include "tests/support/enclosure_rig.h"

namespace {

class Xyratex : public EnclosureRig {
  protected:
    Xyratex() { running(KORVO_E_CHASSIS_XYRATEX_2U12ATX); }

    Lines poll() {
        bus.takeLog();
        takeLines();
        xyratexEsaPollTimeoutProcess();
        return sentTake();
    }
    // The alarm answers with the state, `times` over, and then is idle.
    void alarmAnswers(U8_t state, int times) {
        std::vector<U8_t> bits;
        for (int n = 0; n < 3 * times; ++n) {
            bits.push_back((state & (1 << (n % 3))) != 0 ? 0x10 : 0x00);
        }
        bus.script(0x63, 0x05, bits);
    }
    Lines linesWith(const char* word) {
        Lines lines = takeLines();
        std::erase_if(lines, [=](const std::string& line) { return line.find(word) == line.npos; });
        return lines;
    }
    // Writes to `number`, e.g. "06".
    Lines writesTo(const std::string& number) {
        Lines log = bus.takeLog();
        std::erase_if(
            log, [&](const std::string& entry) { return !entry.starts_with("W 63 " + number); });
        return log;
    }
};

// ---- drives and LEDs ----

TEST_F(Xyratex, DriveLedsAreActiveLowBitsOfPortsSevenAndSix) {
    const struct {
        int drive;
        bool lit;
        ESA_CODE_e code;
        Lines log;
    } cases[] = {
        {0, true, ESA_E_OK, {"W 63 07=FE"}},  {7, true, ESA_E_OK, {"W 63 07=7E"}},
        {8, true, ESA_E_OK, {"W 63 06=2E"}},  {11, true, ESA_E_OK, {"W 63 06=26"}},
        {0, false, ESA_E_OK, {"W 63 07=7F"}}, {8, false, ESA_E_OK, {"W 63 06=27"}},
        {12, true, ESA_E_GENERR, {}},         {-1, false, ESA_E_GENERR, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "drive " << c.drive << (c.lit ? " on" : " off"));
        EXPECT_EQ(c.lit ? xyratexDriveFaultLEDSet(c.drive) : xyratexDriveFaultLEDClear(c.drive),
                  c.code);
        EXPECT_EQ(bus.takeLog(), c.log);
        const std::string number = "[" + std::to_string(c.drive) + "]";
        Lines lines = {(c.lit ? "Set Fault LED on Drive " : "Clear Fault LED on Drive ") + number};
        if (c.code != ESA_E_OK) {
            lines.push_back("Un-supported Drive Number = " + number);
        }
        EXPECT_EQ(takeLines(), lines);
    }
}

TEST_F(Xyratex, PresenceInputsAreLowWhereADriveIs) {
    bus.reg(0x63, 0x00) = 0x7E;
    bus.reg(0x63, 0x03) = 0xF7;
    const struct {
        int slot;
        ESA_CODE_e code;
        Lines log;
        Lines lines;
    } cases[] = {
        {0, ESA_E_OK, {"R 63 00=7E"}, {"Drive in Slot [0] is present."}},
        {1, ESA_E_GENERR, {"R 63 00=7E"}, {"Drive in Slot [1] is NOT present."}},
        {7, ESA_E_OK, {"R 63 00=7E"}, {"Drive in Slot [7] is present."}},
        {8, ESA_E_GENERR, {"R 63 03=F7"}, {"Drive in Slot [8] is NOT present."}},
        {11, ESA_E_OK, {"R 63 03=F7"}, {"Drive in Slot [11] is present."}},
        {12, ESA_E_GENERR, {}, {}},
        {-1, ESA_E_GENERR, {}, {}},
    };
    Lines all;
    for (const auto& c : cases) {
        EXPECT_EQ(xyratexIsDrivePresent(c.slot), c.code);
        EXPECT_EQ(bus.takeLog(), c.log);
        EXPECT_EQ(takeLines(), c.lines);
    }
    xyratexDrivePresenceRead();
    EXPECT_EQ(bus.takeLog(), (Lines{"R 63 00=7E", "R 63 03=F7"}));
    const Lines lines = takeLines();
    ASSERT_EQ(lines.size(), 12u);
    for (int slot = 0; slot < 12; ++slot) {
        const bool present = slot == 0 || slot == 7 || slot == 11;
        EXPECT_EQ(lines[static_cast<std::size_t>(slot)],
                  "Drive in Slot [" + std::to_string(slot) +
                      (present ? "] is present." : "] is NOT present."));
    }
    bus.cut(0x63);
    EXPECT_EQ(xyratexIsDrivePresent(3), ESA_E_GENERR_I2C_UNAVAILABLE);
}

TEST_F(Xyratex, StatusLedsAreBitsOfTheDrivesPort) {
    const struct {
        void (*write)();
        const char* entry;
        const char* line;
    } cases[] = {
        {xyratexPsuOkLEDClear, "W 63 06=0F", "Turn [OFF] PSU_OK LED."},
        {xyratexPowerRedundancyFailLEDSet, "W 63 06=4F", "Turn [ON] Power Redundancy Fail LED."},
        {xyratexFanFailLEDSet, "W 63 06=CF", "Turn [ON] FAN_FAIL LED."},
        {xyratexPowerRedundancyFailLEDClear, "W 63 06=8F", "Turn [OFF] Power Redundancy Fail LED."},
        {xyratexPsuOkLEDSet, "W 63 06=AF", "Turn [ON] PSU_OK LED."},
        {xyratexFanFailLEDClear, "W 63 06=2F", "Turn [OFF] FAN_FAIL LED."},
    };
    for (const auto& c : cases) {
        c.write();
        EXPECT_EQ(bus.takeLog(), (Lines{c.entry}));
        EXPECT_EQ(takeLines(), (Lines{c.line}));
    }
}

TEST_F(Xyratex, FanLedFollowsThePollWithTheRoutinesLineFirst) {
    const struct {
        U8_t count;
        Lines lines;
        Lines writes;
        Lines sent;
    } polls[] = {
        {0xFF,
         {"Turn [ON] FAN_FAIL LED.", "Turn [ON] FAN Fail LED."},
         {"W 63 06=AF"},
         {"event 7/2 enclosureType=2 numberOfFan=8 fanFaultStatus=0x80", "led on", "mail"}},
        {0xFF, {"FAN Fail LED already [ON]."}, {}, {}},
        {0xF0,
         {"Turn [OFF] FAN_FAIL LED.", "Turn [OFF] FAN Fail LED."},
         {"W 63 06=2F"},
         {"event 7/2 enclosureType=2 numberOfFan=8", "led off"}},
        {0xF0, {"FAN Fail LED already [OFF]."}, {}, {}},
    };
    for (const auto& p : polls) {
        bus.reg(0x63, 0x4E) = p.count;
        EXPECT_EQ(poll(), p.sent);
        EXPECT_EQ(linesWith("L LED."), Lines(p.lines.begin(), p.lines.end() - 1));
        EXPECT_EQ(writesTo("06"), p.writes);
    }
}

TEST_F(Xyratex, FailedFanSendsTheTwoGroupsToFullLoad) {
    bus.reg(0x63, 0x4E) = 0xFF;
    poll();
    EXPECT_EQ(writesTo("9"), (Lines{"W 63 98=3F", "W 63 99=3F"}));
    EXPECT_EQ(esaControl.fanPwmLoad[1], 100);
    EXPECT_EQ(esaControl.fanPwmLoad[2], 0);
}

TEST_F(Xyratex, PageMarksFansFromFiveHundredRpmDown) {
    const struct {
        U16_t rpm;
        bool fail;
        bool changed;
        Lines lines;
        Lines log;
    } reads[] = {
        {501, false, false, {"Already marked OK on Fan [3].", "FAN Fail LED already [OFF]."}, {}},
        {500,
         true,
         true,
         {"Now marking Fault on Fan [3].", "Turn [ON] FAN_FAIL LED.", "Turn [ON] FAN Fail LED."},
         {"W 63 06=AF"}},
        {0, true, false, {"Already marked Fault on Fan [3].", "FAN Fail LED already [ON]."}, {}},
        {501,
         false,
         true,
         {"Now marking OK on Fan [3].", "Turn [OFF] FAN_FAIL LED.", "Turn [OFF] FAN Fail LED."},
         {"W 63 06=2F"}},
    };
    for (const auto& r : reads) {
        SCOPED_TRACE(testing::Message() << r.rpm << " RPM");
        CoolingElementStat_t element = {};
        EsaPageChange_t change = {};
        esaChassis()->fanPageStatus(3, r.rpm, &element, &change);
        EXPECT_EQ(element.fail, r.fail);
        EXPECT_EQ(change.fan, r.changed);
        EXPECT_EQ(esaControl.fanFaultStatus, r.fail ? 0x8u : 0u);
        EXPECT_EQ(takeLines(), r.lines);
        EXPECT_EQ(bus.takeLog(), r.log);
    }
    EXPECT_EQ(sentTake(), Lines{});
}

TEST_F(Xyratex, UnreadableSensorIsSaidWithTheConfiguredAddress) {
    esaControl.i2cAddressLM75[0] = 0x11;
    esaControl.i2cAddressLM75[1] = 0x12;
    bus.cut(0x4D);
    poll();
    EXPECT_EQ(linesWith("temperatureSensor[").size(), 2u);
    poll();
    const Lines lines = takeLines();
    const auto at = std::find(lines.begin(), lines.end(),
                              "temperatureSensor[ESA_K_TEMPERATURE_SENSOR_LHS] = [25] degrees "
                              "Celsius.");
    ASSERT_LT(at - lines.begin(), static_cast<std::ptrdiff_t>(lines.size()) - 2);
    EXPECT_EQ(at[1],
              "Read I2C fails with LM75 Address [0x12]. I2C cable is not connected or wrong "
              "enclosure type.");
    EXPECT_EQ(at[2], "temperatureSensor[ESA_K_TEMPERATURE_SENSOR_RHS] = [32767] degrees Celsius.");
}

// ---- alarm ----

TEST_F(Xyratex, AlarmIsSetWithTheStrobeAndReadBitByBit) {
    const struct {
        U32_t state;
        const char* name;
        Lines set;
    } cases[] = {
        {0, "[IDEL_S0].", {"W 63 05=A8", "W 63 05=A0"}},
        {1, "[FAULT_S1].", {"W 63 05=A9", "W 63 05=A1"}},
        {2, "[REMIND_S2].", {"W 63 05=AA", "W 63 05=A2"}},
        {3, "[MUTE_S3].", {"W 63 05=AB", "W 63 05=A3"}},
        {4, "[CRITICAL_S4].", {"W 63 05=AC", "W 63 05=A4"}},
        {5, "[INVALID_S5].", {"W 63 05=AD", "W 63 05=A5"}},
        {6, "[INVALID_S6].", {"W 63 05=AE", "W 63 05=A6"}},
        {7, "[INVALID_S7].", {"W 63 05=AF", "W 63 05=A7"}},
    };
    esaControl.vitesse.vsc055GPD[5] = 0xAF;
    for (const auto& c : cases) {
        xyratexAlarmStateSet(static_cast<EsaXyratexAlarmState_e>(c.state));
        EXPECT_EQ(bus.takeLog(), c.set);
        EXPECT_EQ(takeLines(), (Lines{std::string("Set the Alarm State to ") + c.name}));
        alarmAnswers(static_cast<U8_t>(c.state), 1);
        EXPECT_EQ(xyratexAlarmStateRead(), c.state);
        EXPECT_EQ(takeLines(), (Lines{std::string("Read the Alarm State as ") + c.name}));
        EXPECT_EQ(writesTo("05"), (Lines{"W 63 05=A0", "W 63 05=A1", "W 63 05=A2"}));
    }
    xyratexAlarmStateSet(static_cast<EsaXyratexAlarmState_e>(8));
    EXPECT_EQ(takeLines(), (Lines{"Set the Alarm State to un-supported value [8]."}));
    EXPECT_EQ(bus.takeLog(), Lines{});
    // Reading changes the selector alone.
    esaControl.vitesse.vsc055GPD[5] = 0x5D;
    xyratexAlarmStateRead();
    EXPECT_EQ(writesTo("05"), (Lines{"W 63 05=58", "W 63 05=59", "W 63 05=5A"}));
    EXPECT_EQ(esaControl.vitesse.vsc055GPD[5], 0x5A);
}

TEST_F(Xyratex, FailedAlarmReadGivesSevenAndAllStepsRun) {
    for (int n = 1; n <= 6; ++n) {
        SCOPED_TRACE(testing::Message() << "transfer " << n << " fails");
        alarmAnswers(0, 1);
        bus.failTransfer(n);
        EXPECT_EQ(xyratexAlarmStateRead(), n % 2 == 0 ? 7u : 0u);
        EXPECT_EQ(bus.takeLog().size(), 6u);
    }
}

TEST_F(Xyratex, PollReportsWhereTheAlarmHasGone) {
    const struct {
        U8_t state;
        const char* type;
    } cases[] = {{1, "2"}, {3, "1"}, {4, "2"}, {5, "1"}, {6, "1"}, {7, "1"}};
    for (const auto& c : cases) {
        const std::string state = std::to_string(c.state);
        alarmAnswers(c.state, 4);
        EXPECT_EQ(poll(), (Lines{std::string("event 9/") + c.type +
                                 " enclosureType=2 numberOfAlarm=1 alarmState=" + state}));
        EXPECT_EQ(esaControl.alarmState, c.state);
        EXPECT_EQ(poll(), Lines{});
    }
    EXPECT_EQ(poll(), (Lines{"event 9/1 enclosureType=2 numberOfAlarm=1"}));
}

TEST_F(Xyratex, ReminderEndsWhenRedundancyIsGood) {
    const Lines idle = {"event 9/1 enclosureType=2 numberOfAlarm=1"};
    const Lines reading = {"W 63 05=00", "W 63 05=01", "W 63 05=02"};
    const Lines ended = {"W 63 05=00", "W 63 05=01", "W 63 05=02", "W 63 05=08", "W 63 05=00"};
    const struct {
        U8_t alarm;        // as the controller says
        U32_t alarmState;  // as last known
        Lines writes;
        Lines sent;
    } cases[] = {
        {2, 2, ended, idle},
        {2, 1, ended, idle},
        {2, 0, ended, {}},  // nothing new
        {1, 2, reading, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "alarm " << int{c.alarm} << " was " << c.alarmState);
        running(KORVO_E_CHASSIS_XYRATEX_2U12ATX);
        alarmAnswers(c.alarm, 1);
        esaControl.alarmState = c.alarmState;
        PowerSupplyElementStat_t element = {};
        EsaPageChange_t change = {};
        esaChassis()->supplyPageStatus(0, &element, &change);
        EXPECT_EQ(writesTo("05"), c.writes);
        EXPECT_EQ(sentTake(), c.sent);
        EXPECT_EQ(esaControl.alarmState, c.alarm == 2 ? 0u : c.alarmState);
    }
    // A poll does the same in front of its own look at the alarm.
    alarmAnswers(2, 1);
    esaControl.alarmState = 2;
    EXPECT_EQ(poll(), idle);
    Lines writes = ended;
    writes.insert(writes.end(), reading.begin(), reading.end());
    EXPECT_EQ(writesTo("05"), writes);
    // Where redundancy comes back just now, the alarm is left alone until the next look.
    esaControl.powerSupplyStatus = 0x1;
    alarmAnswers(2, 1);
    EXPECT_EQ(poll(),
              (Lines{"event 6/1 enclosureType=2 numberOfPowerSupply=2 powerSupplyStatus=0x3",
                     "event 9/1 enclosureType=2 numberOfAlarm=1 alarmState=2"}));
    EXPECT_EQ(writesTo("05"), reading);
}

}  // namespace
