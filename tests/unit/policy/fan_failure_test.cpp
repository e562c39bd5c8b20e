// SPDX-License-Identifier: Apache-2.0
// The fan sweep: marks, the one event of a change, and where it ends early.
#include "policy/esa_policy.h"
#include "tests/unit/policy/policy_rig.h"

namespace {

class FanFailure : public PolicyRig {
  protected:
    FanFailure() {
        esaControl.coolingMaxNumber = 3;
        esaControl.fanFaultRpmLimit = 1000;
    }
};

TEST_F(FanFailure, FailedFanIsReportedOnceAndOnceWhenItComesBack) {
    fans[2] = {ESA_E_OK, 900};
    EXPECT_EQ(esaFanFailStatusRead(), ESA_E_GENERR);
    EXPECT_EQ(esaControl.fanFaultStatus, 0x4u);
    EXPECT_EQ(esaControl.fanRpmSpeed[2], 900);
    EXPECT_EQ(sentTake(), (Lines{"event 7/2 enclosureType=5 numberOfFan=3 fanFaultStatus=0x4"}));
    EXPECT_EQ(trace.take(), (Lines{"Fan [0] has speed [5000] RPM.", "Already marked OK on Fan [0].",
                                   "Fan [1] has speed [5000] RPM.", "Already marked OK on Fan [1].",
                                   "Fan [2] has speed [900] RPM.", "Return Fans Status [ERROR].",
                                   "Now marking Fault on Fan [2]."}));

    EXPECT_EQ(esaFanFailStatusRead(), ESA_E_GENERR);
    EXPECT_EQ(sentTake(), Lines{});
    EXPECT_EQ(trace.take().back(), "Already marked Fault on Fan [2].");

    fans[2] = {ESA_E_OK, 1000};  // equal to the limit is good
    EXPECT_EQ(esaFanFailStatusRead(), ESA_E_OK);
    EXPECT_EQ(esaControl.fanFaultStatus, 0u);
    EXPECT_EQ(sentTake(), (Lines{"event 7/2 enclosureType=5 numberOfFan=3"}));
    EXPECT_EQ(trace.take().back(), "Now marking OK on Fan [2].");
}

TEST_F(FanFailure, ChangesOfOneSweepMakeOneEvent) {
    fans[0] = {ESA_E_OK, 0};
    fans[1] = {ESA_E_OK, 999};
    EXPECT_EQ(esaFanFailStatusRead(), ESA_E_GENERR);
    EXPECT_EQ(sentTake(), (Lines{"event 7/2 enclosureType=5 numberOfFan=3 fanFaultStatus=0x3"}));
    // The last fans have nothing new to say.
    fans[0] = {ESA_E_OK, 1000};
    EXPECT_EQ(esaFanFailStatusRead(), ESA_E_GENERR);
    EXPECT_EQ(sentTake(), (Lines{"event 7/2 enclosureType=5 numberOfFan=3 fanFaultStatus=0x2"}));
}

TEST_F(FanFailure, FanThatCannotBeReadCountsAsStandingStill) {
    fans[1] = {ESA_E_GENERR, 4711};
    EXPECT_EQ(esaFanFailStatusRead(), ESA_E_GENERR);
    EXPECT_EQ(esaControl.fanRpmSpeed[1], 0);
    EXPECT_EQ(esaControl.fanFaultStatus, 0x2u);
}

TEST_F(FanFailure, UnreachableBusEndsTheSweepWithoutEvent) {
    fans[0] = {ESA_E_OK, 10};
    fans[1] = {ESA_E_GENERR_I2C_UNAVAILABLE, 0};
    esaControl.fanRpmSpeed[1] = 77;
    EXPECT_EQ(esaFanFailStatusRead(), ESA_E_GENERR_I2C_UNAVAILABLE);
    EXPECT_EQ(takeCalls(), (Lines{"fan 0", "fan 1"}));
    EXPECT_EQ(esaControl.fanRpmSpeed[0], 10);
    EXPECT_EQ(esaControl.fanRpmSpeed[1], 77);
    EXPECT_EQ(esaControl.fanFaultStatus, 0x1u);
    EXPECT_EQ(sentTake(), Lines{});
}

TEST_F(FanFailure, UnreachableBusIsAStandingFanWhereTheChassisSaysSo) {
    chassis.fanSweepEndsWhenUnavailable = false;
    fans[1] = {ESA_E_GENERR_I2C_UNAVAILABLE, 4711};
    EXPECT_EQ(esaFanFailStatusRead(), ESA_E_GENERR);
    EXPECT_EQ(takeCalls(), (Lines{"fan 0", "fan 1", "fan 2"}));
    EXPECT_EQ(esaControl.fanFaultStatus, 0x2u);
}

TEST_F(FanFailure, FansAboveTheArraysAreNeitherReadNorFailed) {
    for (U8_t count : {U8_t{44}, U8_t{255}}) {
        esaControl.coolingMaxNumber = count;
        EXPECT_EQ(esaFanFailStatusRead(), ESA_E_OK);
        EXPECT_EQ(takeCalls(),
                  (Lines{"fan 0", "fan 1", "fan 2", "fan 3", "fan 4", "fan 5", "fan 6", "fan 7"}));
        EXPECT_EQ(sentTake(), Lines{});
    }
    fans[7] = {ESA_E_OK, 0};
    EXPECT_EQ(esaFanFailStatusRead(), ESA_E_GENERR);
    EXPECT_EQ(sentTake(), (Lines{"event 7/2 enclosureType=5 numberOfFan=255 fanFaultStatus=0x80"}));
}

TEST_F(FanFailure, NoFansAreNoFault) {
    esaControl.coolingMaxNumber = 0;
    EXPECT_EQ(esaFanFailStatusRead(), ESA_E_OK);
    EXPECT_EQ(takeCalls(), Lines{});
    EXPECT_EQ(sentTake(), Lines{});
}

TEST_F(FanFailure, ChassisWithoutFanReaderIsAnError) {
    chassis.fanSpeedRead = ESA_NOT_FITTED;
    EXPECT_EQ(esaFanFailStatusRead(), ESA_E_GENERR);
    chassisKnown = false;
    EXPECT_EQ(esaFanFailStatusRead(), ESA_E_GENERR);
    EXPECT_EQ(trace.take(), Lines{});
}

}  // namespace
