// SPDX-License-Identifier: Apache-2.0
// Band events per sensor, and the overheat check on the average.
#include "policy/esa_policy.h"
#include "tests/unit/policy/policy_rig.h"

namespace {

class TemperatureEvents : public PolicyRig {
  protected:
    TemperatureEvents() { esaControl.temperatureSensorMaxNumber = 1; }

    Lines pollAt(S16_t degrees, int sensor = 0) {
        esaControl.temperatureSensor[sensor] = degrees;
        esaTemperatureEventLog();
        return sentTake();
    }
};

const char* const EVENT_OF_STATE[] = {
    "",
    "event 8/1 enclosureType=5 numberOfTemperatureSensor=1 temperatureStatus=1 temperature=",
    "event 8/1 enclosureType=5 numberOfTemperatureSensor=1 temperatureStatus=2 temperature=",
    "event 8/2 enclosureType=5 numberOfTemperatureSensor=1 temperatureStatus=3 temperature=",
    "event 8/2 enclosureType=5 numberOfTemperatureSensor=1 temperatureStatus=4 temperature=",
};

TEST_F(TemperatureEvents, EachCrossingOfABandIsReportedOnce) {
    const struct {
        S16_t degrees;
        int state;  // of the event, 0: none
        U32_t reported;
        const char* line;
    } polls[] = {
        {30, 0, 0, ""},
        {35, 0, 0, ""},
        {36, 2, 1, "temperatureReportStatus[0] reporting over 35 degrees Event."},
        {40, 0, 1, "temperatureReportStatus[0] already reported over 35 degrees Event."},
        {45, 0, 1, "temperatureReportStatus[0] already reported over 35 degrees Event."},
        {46, 3, 2, "temperatureReportStatus[0] reporting over 45 degrees Event."},
        {55, 0, 2, "temperatureReportStatus[0] already reported over 45 degrees Event."},
        {56, 4, 4, "temperatureReportStatus[0] reporting over 55 degrees Event."},
        {120, 0, 4, "temperatureReportStatus[0] already reported over 55 degrees Event."},
        {32767, 0, 4, ""},  // unreadable: left as it was
        {50, 3, 2, "temperatureReportStatus[0] reporting over 45 degrees Event."},
        {40, 2, 1, "temperatureReportStatus[0] reporting over 35 degrees Event."},
        {60, 4, 4, "temperatureReportStatus[0] reporting over 55 degrees Event."},
        {35, 1, 0, "temperatureReportStatus[0] reset all Temperature Events."},
        {-5, 0, 0, ""},
        {36, 2, 1, "temperatureReportStatus[0] reporting over 35 degrees Event."},
        {-7, 1, 0, "temperatureReportStatus[0] reset all Temperature Events."},
    };
    for (const auto& p : polls) {
        SCOPED_TRACE(p.degrees);
        const Lines event = {EVENT_OF_STATE[p.state] + std::to_string(p.degrees)};
        EXPECT_EQ(pollAt(p.degrees), p.state == 0 ? Lines{} : event);
        EXPECT_EQ(esaControl.temperatureReportStatus[0], p.reported);
        EXPECT_EQ(trace.take(), *p.line == 0 ? Lines{} : Lines{p.line});
    }
}

TEST_F(TemperatureEvents, EverySensorHasItsOwnBand) {
    esaControl.temperatureSensorMaxNumber = 2;
    esaControl.temperatureSensor[0] = 30;
    EXPECT_EQ(pollAt(50, 1),
              (Lines{"event 8/2 enclosureType=5 numberOfTemperatureSensor=2 temperatureStatus=3 "
                     "temperatureSensorPosition=1 temperature=50"}));
}

TEST_F(TemperatureEvents, CountsAboveTheArrayReportTheArrayOnly) {
    for (U8_t count : {U8_t{44}, U8_t{255}}) {
        esaControl.temperatureSensorMaxNumber = count;
        for (int n = 0; n < 8; ++n) {
            esaControl.temperatureSensor[n] = 40;
            esaControl.temperatureReportStatus[n] = 0;
        }
        esaTemperatureEventLog();
        EXPECT_EQ(sentTake().size(), 8u);
    }
}

class Overheat : public PolicyRig {
  protected:
    Lines pollAt(S16_t average) {
        esaControl.temperatureSensorAverage = average;
        esaTemperatureOverheatCheck();
        return sentTake();
    }
};

TEST_F(Overheat, AboveTheLimitAsksForShutdownOnEachPoll) {
    esaControl.overheatTemperatureLimit = 60;
    EXPECT_EQ(pollAt(60), Lines{});
    EXPECT_EQ(pollAt(61),
              (Lines{"led on", "mail", "event 10/3 enclosureType=5 information=1", "shutdown"}));
    EXPECT_EQ(esaControl.compositeFaultStatus, 0x80000008u);
    EXPECT_EQ(pollAt(61), (Lines{"event 10/3 enclosureType=5 information=1", "shutdown"}));
    EXPECT_EQ(pollAt(60), (Lines{"led off"}));
    EXPECT_EQ(esaControl.compositeFaultStatus, 0u);
}

TEST_F(Overheat, LineSaysSixtyWhateverTheLimit) {
    esaControl.overheatTemperatureLimit = 50;
    pollAt(55);
    EXPECT_EQ(trace.take()[0], "Temperature average over 60 degrees!");
}

TEST_F(Overheat, AverageBelowZeroCountsAsOverTheLimit) {
    esaControl.overheatTemperatureLimit = 60;
    EXPECT_EQ(pollAt(-1).back(), "shutdown");
    EXPECT_EQ(pollAt(0), (Lines{"led off"}));
}

}  // namespace
